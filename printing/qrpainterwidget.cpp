#include "printing/qrpainterwidget.h"

#include "common/clock.h"
#include "printing/qrdrawing.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextOption>

QRPainterWidget::QRPainterWidget(QWidget *parent)
    : QWidget(parent)
{
}

void QRPainterWidget::setQrText(const QString &text)
{
    qrText = text;
    update();
}

void QRPainterWidget::setTicketData(const QJsonObject &ticket)
{
    ticketData = ticket;
    update();
}

void QRPainterWidget::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    const auto text = [this](const char *key) { return ticketData.value(QLatin1String(key)).toString(); };
    QPainter painter(this);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRect(rect());

    QFont font = painter.font();
    font.setPixelSize(qMax(1, width() / 10));
    painter.setFont(font);
    QTextOption option(Qt::AlignCenter);
    const qreal lineHeight = QFontMetricsF(font).height();
    painter.setBrush(Qt::black);
    painter.setPen(Qt::black);

    qreal y = 0.0;
    QRectF line(rect());
    line.setHeight(lineHeight);
    const QString caption = text("ticketCaption");
    if (!caption.isEmpty()) {
        painter.drawText(line, caption, option);
        y = line.height() * 1.5;
        line.moveTop(y);
    }
    painter.drawText(line, tr("Посадочный талон"), option);
    y += lineHeight;
    line.moveTop(y);

    const QDateTime now = Clock::local();
    option.setAlignment(Qt::AlignLeft);
    painter.drawText(line, now.toString(QStringLiteral("hh:mm")), option);
    option.setAlignment(Qt::AlignRight);
    painter.drawText(line, now.toString(QStringLiteral("dd.MM.yyyy")), option);
    y += line.height();
    line.moveTop(y);

    option.setAlignment(Qt::AlignCenter);
    painter.drawText(line, text("model"), option);
    y += line.height() * 1.5;

    painter.setPen(Qt::NoPen);
    if (const auto code = QrDrawing::encode(qrText, qrcodegen::QrCode::Ecc::MEDIUM))
        QrDrawing::draw(painter, *code, QPointF(0.0, y), line.width() / code->getSize());
    y += width();
    y += lineHeight * 0.5;
    line.moveTop(y);

    painter.setPen(Qt::black);
    painter.drawText(line, text("lastName") + QLatin1Char(' ') + text("firstName"), option);
    painter.drawText(line, QStringLiteral(" "), option);
}
