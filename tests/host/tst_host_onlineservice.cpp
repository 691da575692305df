#include "service/democode.h"
#include "service/onlineservice.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QUrl>

/// The stand-in of the online service over real sockets.
class TestOnlineService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void answersASearch();
    void handsTheBodyOnAsItCame();
    void refusesByStatus_data();
    void refusesByStatus();
    void takesARequestInPieces();
    void headersInAnyCase();
    void bytesThatAreNoHttp();
    void endlessHeadersAreCut();
    void tooLongABodyIsRefused();
    void takenPort();
    void closesAndOpensAgain();
    void closingCutsThoseWhoWait();
    void closedFromItsOwnSignal();
    void slowReplies();
    void unevenRepliesOvertake();
    void clientThatDoesNotWait();
    void error();
    void empty();
    void garbage();
    void wrongTypes();
    void huge();
    void cut();
    void troubleByName();
    void manyConnectionsLeaveNothing();
    void tooManyAtOnce();

private:
    QNetworkReply *post(const QByteArray &body);
    QNetworkReply *finished(QNetworkReply *reply);
    QJsonArray search(const char *text);
    QByteArray raw(const QList<QByteArray> &pieces);

    QScopedPointer<QNetworkAccessManager> m_network;
    QScopedPointer<OnlineService> m_service;
};

namespace {

constexpr int patienceMs = 10000;

int status(const QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

QJsonArray results(QNetworkReply *reply)
{
    return QJsonDocument::fromJson(reply->readAll()).object().value(QStringLiteral("results")).toArray();
}

int openFiles()
{
    return static_cast<int>(QDir(QStringLiteral("/proc/self/fd")).count());
}

} // namespace

void TestOnlineService::init()
{
    m_network.reset(new QNetworkAccessManager);
    m_service.reset(new OnlineService);
    m_service->setApiKey(QStringLiteral("bench-key"));
    m_service->setDelay(400);
    QVERIFY2(m_service->open(0), qPrintable(m_service->errorText()));
    QVERIFY(m_service->port() != 0);
}

void TestOnlineService::cleanup()
{
    m_network.reset();
    m_service.reset();
}

QNetworkReply *TestOnlineService::post(const QByteArray &body)
{
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/findracer.php").arg(m_service->port())));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/x-www-form-urlencoded"));
    return m_network->post(request, body);
}

QNetworkReply *TestOnlineService::finished(QNetworkReply *reply)
{
    QSignalSpy spy(reply, &QNetworkReply::finished);
    if (!reply->isFinished())
        spy.wait(patienceMs);
    return reply;
}

QJsonArray TestOnlineService::search(const char *text)
{
    return results(finished(
        post("apiKey=bench-key&fullData=true&searchString=" + QUrl::toPercentEncoding(QString::fromUtf8(text)))));
}

// What comes back for bytes sent with pauses, until the service ends the connection.
QByteArray TestOnlineService::raw(const QList<QByteArray> &pieces)
{
    QTcpSocket socket;
    QSignalSpy gone(&socket, &QTcpSocket::disconnected);
    socket.connectToHost(QHostAddress::LocalHost, m_service->port());
    if (!socket.waitForConnected(patienceMs))
        return "not connected";
    for (const QByteArray &piece : pieces) {
        socket.write(piece);
        QTest::qWait(20);
    }
    if (gone.isEmpty() && !gone.wait(patienceMs))
        return "still open";
    return socket.readAll();
}

void TestOnlineService::answersASearch()
{
    QNetworkReply *reply = finished(post("apiKey=bench-key&fullData=true&searchString=1234567"));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QCOMPARE(status(reply), 200);
    QCOMPARE(reply->header(QNetworkRequest::ContentTypeHeader).toString(),
             QStringLiteral("application/json; charset=utf-8"));
    const QJsonArray found = results(reply);
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.at(0).toObject(), m_service->clients().record(*m_service->clients().client(1), true));
    QCOMPARE(search("кузнецов иван").size(), 2);

    // A key that was changed counts at once.
    m_service->setApiKey(QStringLiteral("another"));
    QCOMPARE(search("кузнецов иван").size(), 0);
}

void TestOnlineService::handsTheBodyOnAsItCame()
{
    QSignalSpy requests(m_service.data(), &OnlineService::requestReceived);
    const QByteArray body = "qrcode={\"data\":\"a%252Bb\",\"fullData\":true,\"iv\":\"%253D\"}";
    finished(post(body));
    QCOMPARE(requests.count(), 1);
    QCOMPARE(requests.at(0).at(0).toByteArray(), body);
}

void TestOnlineService::refusesByStatus_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<int>("code");
    const auto row = [](const char *name, const char *path, const char *method, int code) {
        QTest::newRow(name) << QString::fromLatin1(path) << QByteArray(method) << code;
    };
    row("with a query", "/findracer.php?a=1", "POST", 200);
    row("root", "/", "POST", 404);
    row("another page", "/findracer", "POST", 404);
    row("deeper", "/app/findracer.php", "POST", 404);
    row("upwards", "/../findracer.php", "POST", 404);
    row("read", "/findracer.php", "GET", 405);
    row("put", "/findracer.php", "PUT", 405);
    row("delete", "/findracer.php", "DELETE", 405);
    row("invented", "/findracer.php", "DANCE", 405);
}

void TestOnlineService::refusesByStatus()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, method);
    const QByteArray reply =
        raw({method + ' ' + path.toLatin1() + " HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n"});
    QTEST(reply.mid(9, 3).toInt(), "code");
}

void TestOnlineService::takesARequestInPieces()
{
    const QByteArray reply = raw({"PO", "ST /findracer.php HTT", "P/1.1\r\nContent-Length: 37\r", "\n\r",
                                  "\napiKey=bench", "-key&searchString", "=1234", "567"});
    QVERIFY2(reply.startsWith("HTTP/1.0 200 OK\r\n"), reply.constData());
    QVERIFY(reply.contains("\"clientId\":1,"));
}

void TestOnlineService::headersInAnyCase()
{
    const QByteArray reply =
        raw({"POST /findracer.php HTTP/1.1\r\ncontent-LENGTH:  37 \r\n\r\napiKey=bench-key&searchString=1234567"});
    QVERIFY2(reply.contains("\"clientId\":1,"), reply.constData());
    for (const char *length : {"", "Content-Length: many\r\n", "Content-Length: -1\r\n"}) {
        const QByteArray refusal = raw({QByteArray("POST /findracer.php HTTP/1.1\r\n") + length + "\r\n"});
        QVERIFY2(refusal.startsWith("HTTP/1.0 411 "), refusal.constData());
    }
}

void TestOnlineService::bytesThatAreNoHttp()
{
    QVERIFY(raw({"\r\n\r\n"}).startsWith("HTTP/1.0 400 "));
    QVERIFY(raw({"hello\r\n\r\n"}).startsWith("HTTP/1.0 400 "));
    QVERIFY(raw({QByteArray("\0\xff\x01 {\r\n\r\n", 9)}).startsWith("HTTP/1.0 400 "));
    QCOMPARE(search("1234567").size(), 1);
}

void TestOnlineService::endlessHeadersAreCut()
{
    const QByteArray line = "X: " + QByteArray(1000, 'x') + "\r\n";
    QCOMPARE(raw({"POST /findracer.php HTTP/1.1\r\n", line.repeated(200)}), QByteArray());
    QCOMPARE(search("1234567").size(), 1);
}

void TestOnlineService::tooLongABodyIsRefused()
{
    const QByteArray head = "POST /findracer.php HTTP/1.1\r\nContent-Length: ";
    QVERIFY(raw({head + "65537\r\n\r\n"}).startsWith("HTTP/1.0 413 "));
    QVERIFY(raw({head + "99999999999999\r\n\r\n"}).startsWith("HTTP/1.0 413 "));
    QSignalSpy requests(m_service.data(), &OnlineService::requestReceived);
    QVERIFY(finished(post(QByteArray(200000, 'a')))->error() != QNetworkReply::NoError);
    QCOMPARE(requests.count(), 0);
    const QByteArray longest = "apiKey=bench-key&searchString=" + QByteArray(OnlineService::maxBodyBytes - 30, 'a');
    QCOMPARE(finished(post(longest))->error(), QNetworkReply::NoError);
    QCOMPARE(requests.count(), 1);
}

void TestOnlineService::takenPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    OnlineService service;
    QVERIFY(!service.open(other.serverPort()));
    QVERIFY(!service.isOpen());
    QVERIFY2(service.errorText().contains(QString::number(other.serverPort())), qPrintable(service.errorText()));
    QCOMPARE(service.port(), other.serverPort());
    other.close();
    QVERIFY(service.open(service.port()));
    QVERIFY(service.errorText().isEmpty());
}

void TestOnlineService::closesAndOpensAgain()
{
    const quint16 port = m_service->port();
    m_service->close();
    QVERIFY(!m_service->isOpen());
    QCOMPARE(finished(m_network->post(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port))), "a"))
                 ->error(),
             QNetworkReply::ConnectionRefusedError);
    QVERIFY(m_service->open(port));
    QVERIFY(m_service->open(port));
    QCOMPARE(search("1234567").size(), 1);
}

void TestOnlineService::closingCutsThoseWhoWait()
{
    m_service->setTrouble(OnlineService::Slow);
    QSignalSpy requests(m_service.data(), &OnlineService::requestReceived);
    QNetworkReply *reply = post("apiKey=bench-key&searchString=1234567");
    QVERIFY(requests.wait(patienceMs));
    m_service->close();
    QVERIFY(finished(reply)->error() != QNetworkReply::NoError);
    // The late reply's time comes, and nobody is hurt.
    QTest::qWait(500);
}

void TestOnlineService::closedFromItsOwnSignal()
{
    connect(m_service.data(), &OnlineService::requestReceived, m_service.data(), [this] { m_service->close(); });
    QVERIFY(finished(post("a=1"))->error() != QNetworkReply::NoError);
    QVERIFY(!m_service->isOpen());
}

void TestOnlineService::slowReplies()
{
    m_service->setTrouble(OnlineService::Slow);
    QElapsedTimer time;
    time.start();
    QCOMPARE(search("1234567").size(), 1);
    QVERIFY2(time.elapsed() >= 395, qPrintable(QString::number(time.elapsed())));
}

void TestOnlineService::unevenRepliesOvertake()
{
    m_service->setTrouble(OnlineService::Uneven);
    QSignalSpy requests(m_service.data(), &OnlineService::requestReceived);
    QNetworkReply *first = post("apiKey=bench-key&searchString=%D0%BA");
    QSignalSpy firstReply(first, &QNetworkReply::finished);
    QVERIFY(requests.wait(patienceMs));
    QNetworkReply *second = post("apiKey=bench-key&searchString=%D0%BA%D1%83");
    finished(second);
    QVERIFY(second->isFinished());
    QCOMPARE(firstReply.count(), 0);
    finished(first);
    QCOMPARE(firstReply.count(), 1);
    QVERIFY(results(second).size() < results(first).size());
}

void TestOnlineService::clientThatDoesNotWait()
{
    m_service->setTrouble(OnlineService::Slow);
    QSignalSpy requests(m_service.data(), &OnlineService::requestReceived);
    QNetworkReply *reply = post("apiKey=bench-key&searchString=1234567");
    QVERIFY(requests.wait(patienceMs));
    reply->abort();
    QTest::qWait(500);
    m_service->setTrouble(OnlineService::NoTrouble);
    QCOMPARE(search("1234567").size(), 1);
}

void TestOnlineService::error()
{
    m_service->setTrouble(OnlineService::Error);
    QNetworkReply *reply = finished(post("apiKey=bench-key&searchString=1234567"));
    QCOMPARE(reply->error(), QNetworkReply::InternalServerError);
    QCOMPARE(status(reply), 500);
}

void TestOnlineService::empty()
{
    m_service->setTrouble(OnlineService::Empty);
    QNetworkReply *reply = finished(post("apiKey=bench-key&searchString=1234567"));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QCOMPARE(reply->readAll(), QByteArray());
}

void TestOnlineService::garbage()
{
    m_service->setTrouble(OnlineService::Garbage);
    QNetworkReply *reply = finished(post("apiKey=bench-key&searchString=1234567"));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    const QByteArray bytes = reply->readAll();
    QVERIFY(!bytes.isEmpty());
    QVERIFY(QJsonDocument::fromJson(bytes).isNull());
}

void TestOnlineService::wrongTypes()
{
    m_service->setTrouble(OnlineService::WrongTypes);
    QNetworkReply *reply = finished(post("apiKey=bench-key&searchString=1234567"));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    const QJsonObject object = QJsonDocument::fromJson(reply->readAll()).object();
    QVERIFY(!object.value(QStringLiteral("code")).isString());
    QCOMPARE(object.value(QStringLiteral("results")).toArray().size(), 7);
}

void TestOnlineService::huge()
{
    m_service->setTrouble(OnlineService::Huge);
    QNetworkReply *reply = finished(post("apiKey=bench-key&searchString=1234567"));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    const QJsonArray all = results(reply);
    QCOMPARE(all.size(), 20000);
    QCOMPARE(all.last().toObject().value(QStringLiteral("id")), QJsonValue(20000));
}

void TestOnlineService::cut()
{
    m_service->setTrouble(OnlineService::Cut);
    QVERIFY(finished(post("apiKey=bench-key&searchString=1234567"))->error() != QNetworkReply::NoError);
}

void TestOnlineService::troubleByName()
{
    const QStringList names = OnlineService::troubleNames();
    QCOMPARE(names.size(), OnlineService::Cut + 1);
    m_service->setTrouble(QStringLiteral("uneven"));
    QCOMPARE(m_service->trouble(), OnlineService::Uneven);
    m_service->setTrouble(QStringLiteral("cut"));
    QCOMPARE(m_service->trouble(), OnlineService::Cut);
    m_service->setTrouble(QStringLiteral("cheerful"));
    QCOMPARE(m_service->trouble(), OnlineService::NoTrouble);
}

void TestOnlineService::manyConnectionsLeaveNothing()
{
    QCOMPARE(search("1234567").size(), 1);
    const int before = openFiles();
    for (int i = 0; i < 300; ++i) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_service->port());
        QVERIFY(socket.waitForConnected(patienceMs));
        if (i % 3 == 1)
            socket.write("POST /findracer.php HTTP/1.1\r\nContent-Length: 9\r\n\r\nab");
        if (i % 3 == 2)
            socket.write("POST /find");
        socket.waitForBytesWritten(100);
        QCoreApplication::processEvents();
        socket.abort();
        QCoreApplication::processEvents();
    }
    QCOMPARE(search("1234567").size(), 1);
    m_network->clearConnectionCache();
    QTRY_VERIFY(openFiles() <= before);
}

void TestOnlineService::tooManyAtOnce()
{
    QVector<QSharedPointer<QTcpSocket>> sockets;
    for (int i = 0; i < 80; ++i) {
        QSharedPointer<QTcpSocket> socket(new QTcpSocket);
        socket->connectToHost(QHostAddress::LocalHost, m_service->port());
        sockets.append(socket);
        QCoreApplication::processEvents();
    }
    const auto open = [&sockets] {
        return std::count_if(sockets.cbegin(), sockets.cend(), [](const QSharedPointer<QTcpSocket> &socket) {
            return socket->state() == QTcpSocket::ConnectedState;
        });
    };
    QTRY_COMPARE(static_cast<int>(open()), 64);
    sockets.clear();
    QTRY_COMPARE(search("1234567").size(), 1);
}

QTEST_GUILESS_MAIN(TestOnlineService)
#include "tst_host_onlineservice.moc"
