#ifndef BOUNDEDHTTPSERVER_H
#define BOUNDEDHTTPSERVER_H

#include <QHttpEngine/QHttpHandler>
#include <QHttpEngine/QHttpServer>

#include <functional>

/// The library's HTTP server, with limits: how many connections there may be, how much each may send, how long it may
/// last. A connection beyond a limit is dropped.
class BoundedHttpServer : public QHttpServer
{
    Q_OBJECT

public:
    static constexpr int maxConnections = 64;
    static constexpr int maxRequestBytes = 128 * 1024;
    static constexpr int maxConnectionMs = 60 * 1000;

    using Process = std::function<void(QHttpSocket *socket, const QString &path)>;

    /// `process` is called with each request whose headers are complete, and with its path and query.
    BoundedHttpServer(Process process, QObject *parent);

    /// Stops listening and drops all connections.
    void shutDown();

protected:
    void incomingConnection(qintptr handle) override;
};

#endif // BOUNDEDHTTPSERVER_H
