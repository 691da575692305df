#include "common/jsonread.h"

#include <QJsonDocument>
#include <QVariant>

#include <limits>

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
    // A number that does not fit would turn into somebody else's.
    const auto fits = [](double wide) {
        return wide >= std::numeric_limits<qint32>::min() && wide <= std::numeric_limits<qint32>::max();
    };
    const QVariant variant = value.toVariant();
    bool ok = false;
    const qint64 number = value.isDouble() && !fits(value.toDouble()) ? 0 : variant.toLongLong(&ok);
    if (!ok || !fits(static_cast<double>(number)))
        return std::nullopt;
    return static_cast<qint32>(number);
}

qint32 JsonRead::looseInt(const QJsonValue &value, qint32 fallback)
{
    return looseInt(value).value_or(fallback);
}

qint64 JsonRead::int64(const QJsonValue &value)
{
    // Far enough from the ends of 64 bits to reckon with, also in milliseconds.
    constexpr double Limit = 9.0e15;
    const double number = value.toDouble(0.0);
    return number > -Limit && number < Limit ? static_cast<qint64>(number) : 0;
}

QStringList JsonRead::texts(const QJsonArray &array)
{
    QStringList result;
    result.reserve(array.size());
    for (const QJsonValue &value : array)
        result.append(value.toString());
    return result;
}
