#include "gateway/clientgateway.h"

#include "deskpluginloader.h"
#include "gateway/clientframe.h"
#include "gateway/clientlink.h"

#include <QHostAddress>
#include <QUrl>
#include <QUuid>
#include <QWebSocket>
#include <QWebSocketCorsAuthenticator>

#include <algorithm>

namespace {

const QLatin1String localRequest("local_request");
const QLatin1String localAnswer("local_request_answer");
const QLatin1String remoteAnswer("remote_control_answer");
const QLatin1String linkKey("linkGuid");
const QLatin1String sinkKey("sinkId");

// A page that a browser on this machine has loaded from somewhere else must not work the desk. Programs name no origin.
bool isOwnOrigin(const QString &origin)
{
    if (origin.isEmpty())
        return true;
    const QUrl url(origin);
    return url.isLocalFile() || url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback();
}

} // namespace

ClientGateway::ClientGateway(DeskPluginLoader *desk, QObject *parent)
    : ClientGateway(desk, Limits(), parent)
{
}

ClientGateway::ClientGateway(DeskPluginLoader *desk, const Limits &limits, QObject *parent)
    : QObject(parent)
    , m_desk(desk)
    , m_limits(limits)
    , m_server(QStringLiteral("lapvane-bench-host"), QWebSocketServer::NonSecureMode)
{
    connect(&m_server, &QWebSocketServer::originAuthenticationRequired, this,
            [](QWebSocketCorsAuthenticator *caller) { caller->setAllowed(isOwnOrigin(caller->origin())); });
    connect(&m_server, &QWebSocketServer::newConnection, this, &ClientGateway::admit);
    connect(m_desk, &DeskPluginLoader::received, this, &ClientGateway::onReceived);
}

ClientGateway::~ClientGateway()
{
    // The server owns no socket that it has handed out. They say goodbye when they go, and have to while the server
    // still keeps their connections; nobody is here any more to hear of it.
    const QList<QWebSocket *> sockets = findChildren<QWebSocket *>(QString(), Qt::FindDirectChildrenOnly);
    for (QWebSocket *socket : sockets) {
        socket->disconnect(this);
        delete socket;
    }
}

bool ClientGateway::listen(quint16 port)
{
    return m_server.listen(QHostAddress::LocalHost, port);
}

void ClientGateway::admit()
{
    while (QWebSocket *socket = m_server.nextPendingConnection()) {
        socket->setParent(this);
        if (m_clients.size() >= m_limits.clients) {
            connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
            socket->close(QWebSocketProtocol::CloseCodePolicyViolated, tr("слишком много клиентов"));
            continue;
        }
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
        socket->setMaxAllowedIncomingFrameSize(m_limits.messageBytes);
        socket->setMaxAllowedIncomingMessageSize(m_limits.messageBytes);
#endif
        const qint64 id = ++m_lastId;
        const QString sinkId = QUuid::createUuid().toString(QUuid::WithoutBraces);
        m_clients.append({id, sinkId, socket});
        connect(socket, &QWebSocket::disconnected, this, [this, id] { forget(id); });
        // From the event loop, and on the gateway's account: while the desk works a request with a dialog open, the
        // socket has to be free to bring the next one, and a client may leave before its request was worked.
        connect(
            socket, &QWebSocket::textMessageReceived, this, [this, id](const QString &text) { take(id, text); },
            Qt::QueuedConnection);
        connect(socket, &QWebSocket::binaryMessageReceived, this,
                [this, id] { send(id, ClientFrame::error(tr("нужен текст, а не байты"))); });
        send(id, ClientFrame::hello(sinkId));
    }
}

void ClientGateway::take(qint64 id, const QString &text)
{
    ClientFrame frame;
    QString error;
    if (!ClientFrame::parse(text, &frame, &error)) {
        send(id, ClientFrame::error(error));
        return;
    }
    if (!m_desk->isLoaded()) {
        send(id, ClientFrame::error(tr("модуль кассы не загружен")));
        return;
    }
    if (frame.event == localRequest)
        frame.data.insert(linkKey, ClientLink{id, frame.data.value(linkKey)}.toText());
    m_desk->send(frame.event, frame.data);
}

void ClientGateway::onReceived(const QString &module, const QString &event, const QJsonObject &payload)
{
    Q_UNUSED(module)
    if (m_clients.isEmpty())
        return;
    if (event == localAnswer)
        onLocalAnswer(payload);
    else if (event == remoteAnswer)
        onRemoteAnswer(payload);
}

void ClientGateway::onLocalAnswer(const QJsonObject &answer)
{
    const QJsonValue linkGuid = answer.value(linkKey);
    if (linkGuid.isUndefined()) {
        sendToAll(ClientFrame{localAnswer, answer}.toText());
        return;
    }
    ClientLink link;
    if (!ClientLink::fromValue(linkGuid, &link))
        return;
    QJsonObject own = answer;
    if (link.original.isUndefined())
        own.remove(linkKey);
    else
        own.insert(linkKey, link.original);
    // Without a link of its own a client gets no empty answers, as it would get none from the desk.
    if (!own.isEmpty())
        send(link.client, ClientFrame{localAnswer, own}.toText());
}

void ClientGateway::onRemoteAnswer(const QJsonObject &wrapper)
{
    const QString text = ClientFrame{remoteAnswer, wrapper}.toText();
    const QJsonValue sink = wrapper.value(sinkKey);
    if (sink.isUndefined() || sink == QJsonValue(QString())) {
        sendToAll(text);
        return;
    }
    const auto named = std::find_if(m_clients.cbegin(), m_clients.cend(),
                                    [&sink](const Client &client) { return sink == QJsonValue(client.sinkId); });
    if (named != m_clients.cend())
        send(named->id, text);
}

void ClientGateway::send(qint64 id, const QString &text)
{
    const auto found =
        std::find_if(m_clients.cbegin(), m_clients.cend(), [id](const Client &client) { return client.id == id; });
    if (found == m_clients.cend())
        return;
    QWebSocket *socket = found->socket;
    // What the system still takes is no sign of a slow client, however much the desk says in one breath.
    if (socket->bytesToWrite() > m_limits.pendingBytes)
        socket->flush();
    if (socket->bytesToWrite() > m_limits.pendingBytes)
        socket->abort();
    else
        socket->sendTextMessage(text);
}

void ClientGateway::sendToAll(const QString &text)
{
    // A copy: sending may find out that a client has gone.
    const QVector<Client> clients = m_clients;
    for (const Client &client : clients)
        send(client.id, text);
}

void ClientGateway::forget(qint64 id)
{
    const auto found =
        std::find_if(m_clients.begin(), m_clients.end(), [id](const Client &client) { return client.id == id; });
    if (found == m_clients.end())
        return;
    found->socket->deleteLater();
    m_clients.erase(found);
}
