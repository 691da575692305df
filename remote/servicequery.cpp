#include "remote/servicequery.h"

#include "common/jsonread.h"
#include "registration/serviceforms.h"
#include "remote/requestrules.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrlQuery>

namespace {

/// A text that is an item of a form even when there is none.
QString formText(const QString &text)
{
    return text.isNull() ? QString(QLatin1String("")) : text;
}

QString qrCode(const QJsonObject &code)
{
    QJsonObject passed;
    passed.insert(QLatin1String("action"), code.value(QLatin1String("action")));
    for (const char *key : {"data", "iv"})
        passed.insert(QLatin1String(key), ServiceForms::twiceEncoded(code.value(QLatin1String(key)).toString()));
    return QString::fromUtf8(QJsonDocument(passed).toJson(QJsonDocument::Compact));
}

} // namespace

std::optional<QByteArray> ServiceQuery::racerByNumber(const QJsonObject &search, const QString &apiKey,
                                                      const QJsonValue &link)
{
    const QString type = search.value(QLatin1String("type")).toString();
    const QJsonValue value = search.value(QLatin1String("value"));
    QUrlQuery query = ServiceForms::query(formText(apiKey));
    if (type == QLatin1String("phone"))
        query.addQueryItem(QStringLiteral("searchString"), formText(RequestRules::looseText(value)));
    else if (type == QLatin1String("qrCode"))
        query.addQueryItem(QStringLiteral("qrcode"), qrCode(value.toObject()));
    else
        return std::nullopt;
    query.addQueryItem(QStringLiteral("linkGuid"), formText(RequestRules::looseText(link)));
    return ServiceForms::body(query);
}

std::optional<ServiceQuery::Found> ServiceQuery::oneClient(const QByteArray &bytes)
{
    const auto reply = JsonRead::object(bytes);
    if (!reply || reply->value(QLatin1String("status")).toString() != QLatin1String("ok"))
        return std::nullopt;
    const QJsonArray results = reply->value(QLatin1String("results")).toArray();
    if (results.size() != 1)
        return std::nullopt;
    return Found{reply->value(QLatin1String("code")).toString(), results.first().toObject(), *reply};
}

QJsonObject ServiceQuery::publicReply(const Found &found)
{
    QJsonObject client = found.client;
    for (const char *key : {"birthDate", "tel", "email"})
        client.remove(QLatin1String(key));
    QJsonObject reply = found.reply;
    reply.insert(QLatin1String("results"), QJsonArray{client});
    return reply;
}
