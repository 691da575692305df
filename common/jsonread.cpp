#include "common/jsonread.h"

#include <QJsonDocument>
#include <QVariant>

std::optional<QJsonObject> JsonRead::object(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

std::optional<QJsonArray> JsonRead::array(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isArray())
        return std::nullopt;
    return document.array();
}

std::optional<QJsonObject> JsonRead::journalLine(const QByteArray &line)
{
    return object(line.chopped(qMin(1, line.size())));
}

std::optional<qint32> JsonRead::looseInt(const QJsonValue &value)
{
    bool ok = false;
    const int number = value.toVariant().toInt(&ok);
    if (!ok)
        return std::nullopt;
    return number;
}

qint32 JsonRead::looseInt(const QJsonValue &value, qint32 fallback)
{
    return looseInt(value).value_or(fallback);
}

QStringList JsonRead::texts(const QJsonArray &array)
{
    QStringList result;
    result.reserve(array.size());
    for (const QJsonValue &value : array)
        result.append(value.toString());
    return result;
}
