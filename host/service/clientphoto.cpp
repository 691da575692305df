#include "service/clientphoto.h"

#include <QBuffer>
#include <QPainter>

namespace {

const QSize photoSize(180, 220);

} // namespace

QImage ClientPhoto::draw(int clientId, bool woman)
{
    QImage photo(photoSize, QImage::Format_RGB32);
    photo.fill(QColor::fromHsv(clientId * 47 % 360, 70, 235));
    const QColor clothes = QColor::fromHsv(clientId * 83 % 360, 150, 150);
    const QColor hair = QColor::fromHsv(25, 120 + clientId * 29 % 100, 60 + clientId * 31 % 120);
    const QColor skin(0xf0, 0xcf, 0xb0);

    QPainter painter(&photo);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(hair);
    painter.drawEllipse(QRect(44, 26, 92, 100));
    if (woman)
        painter.drawRoundedRect(QRect(44, 76, 92, 84), 20, 20);
    painter.setBrush(clothes);
    painter.drawEllipse(QRect(20, 158, 140, 120));
    painter.setBrush(skin);
    painter.drawRect(QRect(76, 128, 28, 40));
    painter.drawEllipse(QRect(52, 48, 76, 96));
    painter.setBrush(QColor(0x30, 0x30, 0x38));
    painter.drawEllipse(QRect(70, 86, 10, 10));
    painter.drawEllipse(QRect(100, 86, 10, 10));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0xb0, 0x50, 0x50), 4, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(QRect(74, 96, 32, 28), 200 * 16, 140 * 16);
    return photo;
}

QString ClientPhoto::dataUri(int clientId, bool woman)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    draw(clientId, woman).save(&buffer, "PNG");
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(bytes.toBase64());
}
