#include "gateway/clientlink.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

QString ClientLink::toText() const
{
    // In an array, so that "none given" differs from null.
    QJsonArray given;
    if (!original.isUndefined())
        given.append(original);
    const QByteArray json = QJsonDocument(given).toJson(QJsonDocument::Compact);
    const QByteArray coded = json.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    return QStringLiteral("c%1-%2").arg(client).arg(QString::fromLatin1(coded));
}

bool ClientLink::fromValue(const QJsonValue &linkGuid, ClientLink *link)
{
    static const QRegularExpression form(QStringLiteral("^c([1-9][0-9]{0,17})-([A-Za-z0-9_-]+)\\z"));
    const QRegularExpressionMatch match = form.match(linkGuid.toString());
    if (!match.hasMatch())
        return false;
    const QByteArray json = QByteArray::fromBase64(match.captured(2).toLatin1(), QByteArray::Base64UrlEncoding);
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray() || document.array().size() > 1)
        return false;
    link->client = match.captured(1).toLongLong();
    link->original = document.array().isEmpty() ? QJsonValue(QJsonValue::Undefined) : document.array().at(0);
    return true;
}
