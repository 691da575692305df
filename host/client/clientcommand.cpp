#include "client/clientcommand.h"

#include <QJsonDocument>
#include <QUuid>

namespace {

const QLatin1String linkKey("linkGuid");
const QLatin1String sinkKey("sinkId");

} // namespace

ClientCommand::ClientCommand(const ClientOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
{
    connect(&m_client, &DeskClient::ready, this, &ClientCommand::ask);
    connect(&m_client, &DeskClient::answered, this, &ClientCommand::onAnswered);
    connect(&m_client, &DeskClient::remoteAnswered, this, &ClientCommand::onRemoteAnswered);
    connect(&m_client, &DeskClient::published, this, &ClientCommand::onPublished);
    connect(&m_client, &DeskClient::refused, this,
            [this](const QString &message) { finish(tr("отказ: %1").arg(message)); });
    connect(&m_client, &DeskClient::failed, this,
            [this](const QString &reason) { finish(tr("%1: %2").arg(m_options.url.toString(), reason)); });
    connect(&m_client, &DeskClient::closed, this, [this] { finish(QString()); });
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this,
            [this] { finish(tr("время вышло: %1 с").arg(m_options.timeoutMs / 1000.0)); });
}

void ClientCommand::start()
{
    if (m_options.timeoutMs >= 0)
        m_limit.start(m_options.timeoutMs);
    m_client.open(m_options.url);
}

void ClientCommand::ask()
{
    switch (m_options.command) {
    case ClientOptions::Request:
        m_address = m_options.link.value_or(QUuid::createUuid().toString());
        m_client.request(m_options.name, m_options.payload, m_address);
        break;
    case ClientOptions::Remote:
        m_address = m_options.payload.value(sinkKey).toString(m_client.sinkId());
        m_client.remote(m_options.name, m_options.payload);
        // Whoever wants no answer gets none to wait for.
        if (m_options.payload.value(QStringLiteral("skipAnswer")).toBool())
            m_client.close();
        break;
    case ClientOptions::Follow:
        break;
    }
}

void ClientCommand::onAnswered(const QJsonObject &answer)
{
    if (m_options.command != ClientOptions::Request || answer.value(linkKey) != QJsonValue(m_address))
        return;
    QJsonObject own = answer;
    if (!m_options.link)
        own.remove(linkKey);
    print(own);
    finish(QString());
}

void ClientCommand::onRemoteAnswered(const QJsonObject &wrapper)
{
    const QJsonObject answer = wrapper.value(QStringLiteral("req_answ")).toObject();
    // The desk also publishes the queue to a single receiver; what answers a request names it.
    if (m_options.command != ClientOptions::Remote || wrapper.value(sinkKey) != QJsonValue(m_address)
        || answer.value(QStringLiteral("srcRequest")) != QJsonValue(m_options.name))
        return;
    print(answer);
    finish(QString());
}

void ClientCommand::onPublished(const QJsonObject &publication)
{
    const bool wanted = m_options.only.isEmpty() || publication.contains(m_options.only);
    if (m_options.command != ClientOptions::Follow || !wanted || m_over)
        return;
    print(publication);
    ++m_printed;
    if (m_options.count > 0 && m_printed >= m_options.count)
        finish(QString());
}

void ClientCommand::print(const QJsonObject &object)
{
    const QJsonDocument document(object);
    Q_EMIT said(m_options.pretty ? document.toJson(QJsonDocument::Indented)
                                 : document.toJson(QJsonDocument::Compact) + '\n');
}

void ClientCommand::finish(const QString &error)
{
    if (m_over)
        return;
    m_over = true;
    m_limit.stop();
    Q_EMIT finished(error);
}
