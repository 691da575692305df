#include "gateway/clientframe.h"

#include <QJsonDocument>
#include <QJsonParseError>

namespace {

// A client asks; all other events are the host's own to send.
const char *const admitted[] = {"local_request", "remote_control_data"};

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

bool isAdmitted(const QString &event)
{
    for (const char *name : admitted) {
        if (event == QLatin1String(name))
            return true;
    }
    return false;
}

} // namespace

bool ClientFrame::parse(const QString &text, ClientFrame *frame, QString *error)
{
    QJsonParseError parsing;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &parsing);
    if (document.isNull()) {
        *error = tr("неверный JSON: %1").arg(parsing.errorString());
        return false;
    }
    if (!document.isObject()) {
        *error = tr("нужен объект с ключами event и data");
        return false;
    }
    const QJsonValue event = document.object().value(QStringLiteral("event"));
    const QJsonValue content = document.object().value(QStringLiteral("data"));
    if (!event.isString()) {
        *error = tr("event: нужно имя события");
        return false;
    }
    if (!isAdmitted(event.toString())) {
        *error = tr("event: клиентам можно только local_request и remote_control_data");
        return false;
    }
    if (!content.isObject()) {
        *error = tr("data: нужен объект");
        return false;
    }
    frame->event = event.toString();
    frame->data = content.toObject();
    return true;
}

QString ClientFrame::toText() const
{
    return compact({{QStringLiteral("event"), event}, {QStringLiteral("data"), data}});
}

QString ClientFrame::hello(const QString &sinkId)
{
    return compact({{QStringLiteral("event"), QStringLiteral("hello")}, {QStringLiteral("sinkId"), sinkId}});
}

QString ClientFrame::error(const QString &message)
{
    return compact({{QStringLiteral("event"), QStringLiteral("error")}, {QStringLiteral("message"), message}});
}
