#ifndef DESKCLIENT_H
#define DESKCLIENT_H

#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QWebSocket>

/// A client program's end of the way into the desk: one connection to the endpoint of the host.
class DeskClient : public QObject
{
    Q_OBJECT

public:
    explicit DeskClient(QObject *parent = nullptr);
    ~DeskClient() override;

    /// Begins to connect; `ready` or `failed` follows.
    void open(const QUrl &url);
    /// Ends the connection when all that was asked is on its way; `closed` follows.
    void close();
    /// Whether the host has said hello, and requests can be sent.
    bool isReady() const { return !m_sinkId.isEmpty(); }
    /// By this name remote answers find this client; empty until it is ready.
    QString sinkId() const { return m_sinkId; }

    /// Sends a local request. Its answer carries `linkGuid`, which must be given: an answer without one can't be told
    /// from a publication.
    void request(const QString &name, const QJsonObject &requestData, const QJsonValue &linkGuid);
    /// Sends a remote control's request. `keys` stand beside the name; `sinkId` is added unless it is among them.
    void remote(const QString &name, const QJsonObject &keys);

Q_SIGNALS:
    void ready();
    /// An answer to a local request of this client.
    void answered(const QJsonObject &answer);
    /// An answer to a remote request, of this client or one that is meant for all: `req_answ`, and `sinkId` if it is
    /// meant for one.
    void remoteAnswered(const QJsonObject &wrapper);
    /// What the desk tells all clients.
    void published(const QJsonObject &publication);
    /// The host did not pass a frame on.
    void refused(const QString &message);
    /// There is no connection, or none any more.
    void failed(const QString &reason);
    /// The connection has ended as it was asked to.
    void closed();

private:
    void send(const QString &event, const QJsonObject &payload);
    void take(const QString &text);
    void onDisconnected();

    QWebSocket m_socket;
    QString m_sinkId;
    bool m_closing = false;
};

#endif // DESKCLIENT_H
