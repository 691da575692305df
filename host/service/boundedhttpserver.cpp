#include "service/boundedhttpserver.h"

#include <QTcpSocket>
#include <QTimer>

#include <utility>

namespace {

class Handler : public QHttpHandler
{
    Q_OBJECT

public:
    Handler(BoundedHttpServer::Process process, QObject *parent)
        : QHttpHandler(parent)
        , m_process(std::move(process))
    {
    }

protected:
    void process(QHttpSocket *socket, const QString &path) override { m_process(socket, path); }

private:
    BoundedHttpServer::Process m_process;
};

} // namespace

BoundedHttpServer::BoundedHttpServer(Process process, QObject *parent)
    : QHttpServer(parent)
{
    setHandler(new Handler(std::move(process), this));
}

void BoundedHttpServer::shutDown()
{
    close();
    // An HTTP socket owns its TCP socket; dropping the one takes the other along later.
    const QList<QTcpSocket *> sockets = findChildren<QTcpSocket *>();
    for (QTcpSocket *socket : sockets)
        socket->abort();
}

void BoundedHttpServer::incomingConnection(qintptr handle)
{
    auto *socket = new QTcpSocket(this);
    const bool isWelcome = socket->setSocketDescriptor(handle) && findChildren<QTcpSocket *>().size() <= maxConnections;
    // The library is told of every connection and takes it for granted that there is one, and it is not ready for a
    // socket that ends under its hands. So sockets that are not wanted end a little later, by the event loop.
    QTimer::singleShot(isWelcome ? maxConnectionMs : 0, socket, &QTcpSocket::abort);
    // This slot is connected before the library's own, so it sees all bytes before they are taken.
    connect(socket, &QTcpSocket::readyRead, socket, [socket, received = qint64(0)]() mutable {
        received += socket->bytesAvailable();
        if (received > maxRequestBytes)
            QTimer::singleShot(0, socket, &QTcpSocket::abort);
    });
    addPendingConnection(socket);
}

#include "boundedhttpserver.moc"
