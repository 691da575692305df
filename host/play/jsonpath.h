#ifndef JSONPATH_H
#define JSONPATH_H

#include <QJsonValue>
#include <QString>

/// Finds a value inside another, as a script names it: `checkInList/lastName~Орлова/kidsList/0/pinCode`.
namespace JsonPath {

/// Parts are divided by slashes. In an object a part is a key; in an array it is a position, counted from 0, or
/// `key~text` for the first object whose value of that key contains the text. Undefined when it leads nowhere.
QJsonValue value(const QJsonValue &root, const QString &path);

} // namespace JsonPath

#endif // JSONPATH_H
