#include "play/jsonpath.h"

#include "play/playmatch.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

namespace {

QJsonValue element(const QJsonArray &array, const QString &part)
{
    const int tilde = part.indexOf(QLatin1Char('~'));
    if (tilde < 0) {
        bool ok = false;
        const int position = part.toInt(&ok);
        return ok && position >= 0 ? array.at(position) : QJsonValue(QJsonValue::Undefined);
    }
    const QString key = part.left(tilde);
    const QString text = part.mid(tilde + 1);
    for (const QJsonValue &candidate : array) {
        const QJsonValue value = candidate.toObject().value(key);
        if (!value.isUndefined() && PlayMatch::text(value.toVariant()).contains(text))
            return candidate;
    }
    return QJsonValue(QJsonValue::Undefined);
}

} // namespace

QJsonValue JsonPath::value(const QJsonValue &root, const QString &path)
{
    QJsonValue found = root;
    const QStringList parts = path.split(QLatin1Char('/'));
    for (const QString &part : parts) {
        if (found.isArray())
            found = element(found.toArray(), part);
        else
            found = found.toObject().value(part);
    }
    return found;
}
