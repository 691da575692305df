#ifndef CLIENTGATEWAY_H
#define CLIENTGATEWAY_H

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QVector>
#include <QWebSocketServer>

class DeskPluginLoader;

/// The way in for other programs of the track: a WebSocket endpoint on loopback. Requests of its clients go to the desk
/// as events, answers come back to the client that asked, publications go to all. The frames are told in
/// docs/bench-host.md. GUI thread only.
class ClientGateway : public QObject
{
    Q_OBJECT

public:
    /// What a client may cost the host.
    struct Limits
    {
        /// Clients at a time; one more is turned away.
        int clients = 64;
        /// Bytes of one message of a client; a longer one ends its connection (before Qt 5.15 there is no such limit).
        quint64 messageBytes = Q_UINT64_C(4) * 1024 * 1024;
        /// Bytes that may wait for a client that does not read; with more, the next frame for it ends its connection.
        qint64 pendingBytes = Q_INT64_C(32) * 1024 * 1024;
    };

    /// `desk` outlives the gateway.
    explicit ClientGateway(DeskPluginLoader *desk, QObject *parent = nullptr);
    ClientGateway(DeskPluginLoader *desk, const Limits &limits, QObject *parent = nullptr);
    ~ClientGateway() override;

    /// Opens the endpoint; port 0 means any that is free. False when the port can't be had; `errorText()` says why.
    bool listen(quint16 port);
    /// The port that is listened on, 0 while there is none.
    quint16 port() const { return m_server.serverPort(); }
    QString errorText() const { return m_server.errorString(); }
    int clientCount() const { return m_clients.size(); }

private:
    struct Client
    {
        qint64 id = 0;
        QString sinkId;
        QWebSocket *socket = nullptr;
    };

    void admit();
    void take(qint64 id, const QString &text);
    void onReceived(const QString &module, const QString &event, const QJsonObject &payload);
    void onLocalAnswer(const QJsonObject &answer);
    void onRemoteAnswer(const QJsonObject &wrapper);
    void send(qint64 id, const QString &text);
    void sendToAll(const QString &text);
    void forget(qint64 id);

    DeskPluginLoader *m_desk;
    const Limits m_limits;
    QWebSocketServer m_server;
    QVector<Client> m_clients;
    qint64 m_lastId = 0;
};

#endif // CLIENTGATEWAY_H
