#include "onlineservice.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QtTest>

OnlineService::OnlineService()
{
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::readyRead, &m_server, [this, socket] { read(socket); });
            QObject::connect(socket, &QTcpSocket::disconnected, &m_server, [this, socket] {
                m_input.remove(socket);
                socket->deleteLater();
            });
        }
    });
}

OnlineService::~OnlineService()
{
    const QList<QTcpSocket *> sockets = m_server.findChildren<QTcpSocket *>();
    for (QTcpSocket *socket : sockets)
        socket->disconnect(&m_server);
}

bool OnlineService::listen(quint16 port)
{
    return m_server.listen(QHostAddress::LocalHost, port);
}

QString OnlineService::url() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort());
}

void OnlineService::answerAll(const QByteArray &body, int status)
{
    m_body = body;
    m_status = status;
}

void OnlineService::answerNone()
{
    m_status = 0;
}

bool OnlineService::waitFor(int count, int milliseconds) const
{
    return QTest::qWaitFor([&] { return m_requests.size() >= count; }, milliseconds);
}

bool OnlineService::answer(int request, const QByteArray &body, int status)
{
    const QByteArray head = "HTTP/1.1 " + QByteArray::number(status)
                            + " X\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: "
                            + QByteArray::number(body.size()) + "\r\n\r\n";
    if (!send(request, head + body))
        return false;
    m_callers.at(request)->disconnectFromHost();
    return true;
}

bool OnlineService::send(int request, const QByteArray &bytes)
{
    if (!isWaiting(request))
        return false;
    m_callers.at(request)->write(bytes);
    return true;
}

void OnlineService::hangUp(int request)
{
    if (isWaiting(request))
        m_callers.at(request)->abort();
}

bool OnlineService::isWaiting(int request) const
{
    const QPointer<QTcpSocket> caller = m_callers.value(request);
    return caller && caller->state() == QAbstractSocket::ConnectedState;
}

QByteArray OnlineService::results(const QJsonArray &clients)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("results"), clients}}).toJson(QJsonDocument::Compact);
}

void OnlineService::read(QTcpSocket *socket)
{
    QByteArray &input = m_input[socket];
    input += socket->readAll();
    const int headEnd = input.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return;
    const QList<QByteArray> lines = input.left(headEnd).split('\n');
    Request request;
    request.method = lines.first().split(' ').value(0);
    request.path = lines.first().split(' ').value(1);
    int length = 0;
    for (const QByteArray &line : lines) {
        const int colon = line.indexOf(':');
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-length")
            length = value.toInt();
        else if (name == "content-type")
            request.contentType = value;
    }
    if (input.size() < headEnd + 4 + length)
        return;
    request.body = input.mid(headEnd + 4, length);
    input.clear();
    m_requests.append(request);
    m_callers.append(socket);
    if (m_status != 0)
        answer(m_requests.size() - 1, m_body, m_status);
}
