#ifndef DRAGBADGE_H
#define DRAGBADGE_H

#include <QColor>
#include <QJsonArray>
#include <QPixmap>
#include <QString>

/// The picture that follows the mouse while records are dragged.
struct DragBadge
{
    QString text;
    QColor color = Qt::white;
    /// A stack of three sheets instead of one.
    bool stacked = false;

    /// The badge of these records: the name and colour of a single one, the count of several.
    static DragBadge forRecords(const QJsonArray &records);

    /// The badge as a picture of 64 by 64 pixels. Needs a GUI application.
    QPixmap pixmap() const;
};

#endif // DRAGBADGE_H
