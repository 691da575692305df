#ifndef JSONREAD_H
#define JSONREAD_H

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <optional>

/// Reads of JSON that other programs, or a crash in the middle of a write, may have left in any shape.
namespace JsonRead {

/// The object in `bytes`, or nothing if they hold anything else.
std::optional<QJsonObject> object(const QByteArray &bytes);

/// The array in `bytes`, or nothing if they hold anything else.
std::optional<QJsonArray> array(const QByteArray &bytes);

/// The object in one line of a journal. The line's last byte, its line feed, is dropped unread.
std::optional<QJsonObject> journalLine(const QByteArray &line);

/// A whole number that may also arrive as a text; `fallback` if it is neither or out of range.
qint32 looseInt(const QJsonValue &value, qint32 fallback);

/// As looseInt, but tells apart a number that is `fallback` from none at all.
std::optional<qint32> looseInt(const QJsonValue &value);

/// A whole number of 64 bits; 0 if it is none, or beyond every time of the desk.
qint64 int64(const QJsonValue &value);

/// The texts of an array, one for each element; anything but a text reads as an empty one.
QStringList texts(const QJsonArray &array);

} // namespace JsonRead

#endif // JSONREAD_H
