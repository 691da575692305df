#include "registration/racerphoto.h"

#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>
#include <QUrl>

RacerPhoto::RacerPhoto(QWidget *parent)
    : QLabel(parent)
{
}

QSize RacerPhoto::sizeHint() const
{
    return {320, 320};
}

QSize RacerPhoto::minimumSizeHint() const
{
    return {120, 120};
}

void RacerPhoto::readPicture()
{
    source = text();
    picture = QImage();
    QTextDocument document;
    document.setHtml(source);
    for (auto part = document.begin().begin(); !part.atEnd(); ++part) {
        const QTextImageFormat format = part.fragment().charFormat().toImageFormat();
        if (!format.isValid())
            continue;
        const QVariant content = document.resource(QTextDocument::ImageResource, QUrl(format.name()));
        picture =
            content.type() == QVariant::ByteArray ? QImage::fromData(content.toByteArray()) : content.value<QImage>();
        return;
    }
}

void RacerPhoto::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    if (source != text())
        readPicture();
    if (picture.isNull())
        return;
    QRect area(QPoint(), picture.size().scaled(contentsRect().size(), Qt::KeepAspectRatio));
    area.moveCenter(contentsRect().center());
    const QSize pixels = area.size() * devicePixelRatioF();
    QPainter painter(this);
    painter.drawImage(area, picture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}
