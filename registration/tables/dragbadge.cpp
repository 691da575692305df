#include "registration/tables/dragbadge.h"

#include <QJsonObject>
#include <QPainter>

DragBadge DragBadge::forRecords(const QJsonArray &records)
{
    DragBadge badge;
    if (records.size() > 1) {
        badge.text = QStringLiteral("x %1").arg(records.size());
        badge.stacked = true;
    } else if (records.size() == 1) {
        const QJsonObject record = records.first().toObject();
        badge.text = record.value(QLatin1String("name")).toString();
        const QColor color(record.value(QLatin1String("color")).toString());
        if (color.isValid())
            badge.color = color;
    }
    return badge;
}

QPixmap DragBadge::pixmap() const
{
    QPixmap picture(64, 64);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setBrush(color);
    painter.setPen(Qt::black);
    const QRect area = picture.rect();
    if (stacked) {
        painter.drawRect(area.adjusted(0, 0, -17, -17));
        painter.drawRect(area.adjusted(4, 4, -9, -9));
        painter.drawRect(area.adjusted(8, 8, -1, -1));
    } else {
        painter.drawRect(area.adjusted(0, 0, -1, -1));
    }
    painter.drawText(area, Qt::AlignCenter, text);
    return picture;
}
