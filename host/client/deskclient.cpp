#include "client/deskclient.h"

#include <QJsonDocument>

namespace {

const QLatin1String sinkKey("sinkId");
const QLatin1String linkKey("linkGuid");

} // namespace

DeskClient::DeskClient(QObject *parent)
    : QObject(parent)
{
    connect(&m_socket, &QWebSocket::textMessageReceived, this, &DeskClient::take);
    connect(&m_socket, &QWebSocket::disconnected, this, &DeskClient::onDisconnected);
}

DeskClient::~DeskClient()
{
    m_socket.disconnect(this);
}

void DeskClient::open(const QUrl &url)
{
    m_closing = false;
    m_socket.open(url);
}

void DeskClient::close()
{
    m_closing = true;
    m_socket.close();
}

void DeskClient::request(const QString &name, const QJsonObject &requestData, const QJsonValue &linkGuid)
{
    send(QStringLiteral("local_request"), {
                                              {QStringLiteral("request"), name},
                                              {QStringLiteral("requestData"), requestData},
                                              {linkKey, linkGuid},
                                          });
}

void DeskClient::remote(const QString &name, const QJsonObject &keys)
{
    QJsonObject payload = keys;
    payload.insert(QStringLiteral("request"), name);
    if (!payload.contains(sinkKey))
        payload.insert(sinkKey, m_sinkId);
    send(QStringLiteral("remote_control_data"), payload);
}

void DeskClient::send(const QString &event, const QJsonObject &payload)
{
    const QJsonObject frame{{QStringLiteral("event"), event}, {QStringLiteral("data"), payload}};
    m_socket.sendTextMessage(QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)));
}

void DeskClient::take(const QString &text)
{
    const QJsonObject frame = QJsonDocument::fromJson(text.toUtf8()).object();
    const QString event = frame.value(QStringLiteral("event")).toString();
    const QJsonObject payload = frame.value(QStringLiteral("data")).toObject();
    if (event == QLatin1String("hello")) {
        m_sinkId = frame.value(sinkKey).toString();
        Q_EMIT ready();
    } else if (event == QLatin1String("error")) {
        Q_EMIT refused(frame.value(QStringLiteral("message")).toString());
    } else if (event == QLatin1String("remote_control_answer")) {
        Q_EMIT remoteAnswered(payload);
    } else if (event == QLatin1String("local_request_answer")) {
        if (payload.contains(linkKey))
            Q_EMIT answered(payload);
        else
            Q_EMIT published(payload);
    }
}

void DeskClient::onDisconnected()
{
    m_sinkId.clear();
    if (m_closing)
        Q_EMIT closed();
    else
        Q_EMIT failed(m_socket.closeReason().isEmpty() ? m_socket.errorString() : m_socket.closeReason());
}
