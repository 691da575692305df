#include "registration/serviceforms.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

namespace {

/// An empty value still has its sign: the query would leave it out behind a null text.
void add(QUrlQuery *form, const QString &key, const QString &value)
{
    form->addQueryItem(key, value.isNull() ? QLatin1String("") : value);
}

} // namespace

QByteArray ServiceForms::search(const QString &apiKey, const QString &text)
{
    QUrlQuery form = query(apiKey);
    add(&form, QStringLiteral("searchString"), text);
    return body(form);
}

QByteArray ServiceForms::scannedCode(const QJsonObject &code)
{
    QJsonObject form;
    for (const QLatin1String key : {QLatin1String("iv"), QLatin1String("data")})
        form.insert(key, twiceEncoded(code.value(key).toString()));
    form.insert(QLatin1String("fullData"), true);
    return "qrcode=" + QJsonDocument(form).toJson(QJsonDocument::Compact);
}

QByteArray ServiceForms::checkIn(const QString &apiKey, qint32 clientId)
{
    QUrlQuery form = query(apiKey);
    add(&form, QStringLiteral("clientId"), QString::number(clientId));
    add(&form, QStringLiteral("code"), QStringLiteral("add_to_checkin"));
    return body(form);
}

QUrlQuery ServiceForms::query(const QString &apiKey)
{
    QUrlQuery form;
    add(&form, QStringLiteral("apiKey"), apiKey);
    add(&form, QStringLiteral("fullData"), QStringLiteral("true"));
    return form;
}

QByteArray ServiceForms::body(const QUrlQuery &query)
{
    return query.toString(QUrl::FullyEncoded).toUtf8();
}

QString ServiceForms::twiceEncoded(const QString &value)
{
    const QString once = QString::fromLatin1(QUrl::toPercentEncoding(value));
    return QString::fromLatin1(QUrl::toPercentEncoding(once));
}

QNetworkReply *ServiceForms::post(QNetworkAccessManager *manager, const QString &serviceAppUrl, const QString &suffix,
                                  const QByteArray &form)
{
    QNetworkRequest request(QUrl(serviceAppUrl + QLatin1String("/findracer.php") + suffix));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/x-www-form-urlencoded"));
    QNetworkReply *reply = manager->post(request, form);
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply] {
        if (reply->bytesAvailable() > MaxReply)
            reply->abort();
    });
    return reply;
}
