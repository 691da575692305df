#include "pitlane/qpitlanewidget.h"

#include "pitlane/pitlanecarsmodel.h"
#include "pitlane/pitlanerules.h"

#include <QMouseEvent>
#include <QPainter>
#include <QTextOption>

QPitlaneWidget::QPitlaneWidget(QWidget *parent)
    : QWidget(parent)
{
}

void QPitlaneWidget::setModel(PitLaneCarsModel *newModel)
{
    if (model)
        model->disconnect(this);
    model = newModel;
    if (model)
        connect(model, &PitLaneCarsModel::pitLaneChanged, this, [this] { update(); });
    update();
}

QSize QPitlaneWidget::sizeHint() const
{
    return QSize(100, 150);
}

void QPitlaneWidget::mousePressEvent(QMouseEvent *event)
{
    if (model && model->selectAt(event->pos()))
        update();
}

void QPitlaneWidget::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setBrush(QBrush(Qt::transparent, Qt::SolidPattern));
    painter.setPen(QPen(Qt::gray, 0, Qt::SolidLine));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
    if (!model)
        return;
    QRect cell(spacing, spacing, cellWidth, cellHeight);
    const QMap<QString, QList<int>> columns = PitLaneRules::columns(model->cars());
    for (const QList<int> &column : columns) {
        for (const int index : column) {
            model->setCarRect(index, cell);
            paintTile(painter, model->cars().at(index), cell);
            cell.translate(0, cellHeight + spacing);
        }
        cell.translate(cellWidth + spacing, 0);
        cell.moveTop(spacing);
    }
}

void QPitlaneWidget::paintTile(QPainter &painter, const PitLaneCar &car, const QRect &cell)
{
    QColor color;
    color.setNamedColor(car.color);
    painter.setBrush(QBrush(color, Qt::SolidPattern));
    painter.setPen(QPen(Qt::black, car.selected ? 2 : 1));
    painter.drawRect(cell);
    painter.setPen(PitLaneRules::textColor(color));
    const QRectF label(cell.adjusted(2, 2, -2, -2));
    painter.drawText(label, car.num, QTextOption(Qt::AlignTop | Qt::AlignHCenter));
    painter.drawText(label, car.model, QTextOption(Qt::AlignBottom | Qt::AlignHCenter));
}
