#include "service/onlineservice.h"

#include "service/boundedhttpserver.h"

#include <QHttpEngine/QHttpSocket>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>

namespace {

constexpr int hugeCount = 20000;

void writeReply(QHttpSocket *socket, const QByteArray &reply, int length)
{
    socket->setHeader("Content-Type", "application/json; charset=utf-8");
    socket->setHeader("Content-Length", QByteArray::number(length));
    socket->write(reply);
    socket->close();
}

// The length that a request announces; -1 when it does not say it properly. Looked up here because the names of headers
// may be spelled in any case.
int announcedLength(const QHttpSocket *socket)
{
    const QHttpHeaderMap headers = socket->headers();
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (header.key().toLower() != "content-length")
            continue;
        bool ok = false;
        const qint64 length = header.value().toLongLong(&ok);
        return ok && length >= 0 ? static_cast<int>(qMin<qint64>(length, OnlineService::maxBodyBytes + 1)) : -1;
    }
    return -1;
}

} // namespace

QStringList OnlineService::troubleNames()
{
    return {QStringLiteral("none"),  QStringLiteral("slow"),  QStringLiteral("uneven"),
            QStringLiteral("error"), QStringLiteral("empty"), QStringLiteral("garbage"),
            QStringLiteral("wrong"), QStringLiteral("huge"),  QStringLiteral("cut")};
}

OnlineService::OnlineService(QObject *parent)
    : QObject(parent)
    , m_lookup(&m_clients)
{
}

bool OnlineService::open(quint16 port)
{
    if (isOpen() && port == m_askedPort)
        return true;
    close();
    m_askedPort = port;
    m_requests = 0;
    m_server = new BoundedHttpServer([this](QHttpSocket *socket, const QString &path) { process(socket, path); }, this);
    if (!m_server->listen(QHostAddress::LocalHost, port)) {
        m_errorText = tr("Порт %1 онлайн-сервиса не открыт: %2").arg(port).arg(m_server->errorString());
        close();
        return false;
    }
    m_errorText.clear();
    return true;
}

void OnlineService::close()
{
    if (!m_server)
        return;
    m_server->shutDown();
    // Later, because this may be a reaction to one of its own requests.
    m_server->deleteLater();
    m_server = nullptr;
}

bool OnlineService::isOpen() const
{
    return m_server && m_server->isListening();
}

quint16 OnlineService::port() const
{
    return isOpen() ? m_server->serverPort() : m_askedPort;
}

void OnlineService::setTrouble(Trouble trouble)
{
    m_trouble = trouble;
    m_requests = 0;
}

void OnlineService::setTrouble(const QString &name)
{
    setTrouble(static_cast<Trouble>(qMax(0, troubleNames().indexOf(name))));
}

void OnlineService::process(QHttpSocket *socket, const QString &path)
{
    if (path.section(QLatin1Char('?'), 0, 0) != QLatin1String("findracer.php")) {
        socket->writeError(QHttpSocket::NotFound);
        return;
    }
    if (socket->method() != "POST") {
        socket->setHeader("Allow", "POST");
        socket->writeError(QHttpSocket::MethodNotAllowed);
        return;
    }
    const int length = announcedLength(socket);
    if (length < 0) {
        socket->writeError(411, "LENGTH REQUIRED");
        return;
    }
    if (length > maxBodyBytes) {
        socket->writeError(413, "PAYLOAD TOO LARGE");
        return;
    }
    connect(socket, &QIODevice::readyRead, this, [this, socket, length] { readBody(socket, length); });
    readBody(socket, length);
}

void OnlineService::readBody(QHttpSocket *socket, int length)
{
    if (socket->bytesAvailable() < length)
        return;
    disconnect(socket, &QIODevice::readyRead, this, nullptr);
    const QByteArray body = socket->read(length);
    ++m_requests;
    const BoundedHttpServer *server = m_server;
    Q_EMIT requestReceived(body);
    // Who hears of a request may close the service on it.
    if (m_server != server)
        return;

    const bool isLate = m_trouble == Slow || (m_trouble == Uneven && m_requests % 2 == 1);
    if (!isLate) {
        answer(socket, body);
        return;
    }
    // A client that has gone in the meantime has taken the socket along.
    QTimer::singleShot(m_delayMs, socket, [this, socket, body] { answer(socket, body); });
}

void OnlineService::answer(QHttpSocket *socket, const QByteArray &body)
{
    if (m_trouble == Error) {
        socket->writeError(QHttpSocket::InternalServerError);
        return;
    }
    const QByteArray reply = replyTo(body);
    if (m_trouble == Cut)
        writeReply(socket, reply.left(reply.size() / 2), reply.size());
    else
        writeReply(socket, reply, reply.size());
}

QByteArray OnlineService::replyTo(const QByteArray &body) const
{
    switch (m_trouble) {
    case Empty:
        return QByteArray();
    case Garbage:
        return QByteArrayLiteral("<!DOCTYPE html><html><body>\xff\xfe{\"results\":[{\"id\":</body></html>");
    case WrongTypes:
        return QByteArrayLiteral("{\"code\":7,\"status\":\"ok\",\"results\":[5,\"x\",null,[],{\"id\":\"seven\"},"
                                 "{\"id\":{},\"name\":[]},{\"id\":1,\"name\":12,\"photo\":true,"
                                 "\"additionalData\":\"none\"}]}");
    case Huge:
        return hugeReply();
    case NoTrouble:
    case Slow:
    case Uneven:
    case Error:
    case Cut:
        break;
    }
    return QJsonDocument(m_lookup.reply(ClientLookup::parse(body))).toJson(QJsonDocument::Compact);
}

QByteArray OnlineService::hugeReply() const
{
    QJsonArray results;
    for (int i = 0; i < hugeCount; ++i) {
        QJsonObject record = m_clients.record(*m_clients.client(1 + i % m_clients.count()), false);
        record.insert(QStringLiteral("id"), i + 1);
        record.insert(QStringLiteral("clientId"), i + 1);
        results.append(record);
    }
    return QJsonDocument({{QStringLiteral("code"), QStringLiteral("racer_db_data")},
                          {QStringLiteral("status"), QStringLiteral("ok")},
                          {QStringLiteral("results"), results}})
        .toJson(QJsonDocument::Compact);
}
