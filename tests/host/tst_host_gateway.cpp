#include "deskpluginloader.h"
#include "gateway/clientgateway.h"
#include "gateway/clientlink.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QUuid>
#include <QWebSocket>

#include <memory>

/// The way in for client programs, over real sockets, with a module that answers as the test wants it.
class TestGateway : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void saysHello();
    void answerGoesToTheOneWhoAsked();
    void givesTheOwnLinkBack_data();
    void givesTheOwnLinkBack();
    void deskSeesATextOfEachClient();
    void noLinkNoEmptyAnswer();
    void lateAnswer();
    void answerAfterItsClientLeft();
    void clientThatLeavesIsStillHeard();
    void publicationGoesToAll();
    void answerToAStrangerGoesToNobody();
    void remoteAnswerFindsItsSink();
    void remoteAnswerWithoutSinkGoesToAll_data();
    void remoteAnswerWithoutSinkGoesToAll();
    void sinkOfAnother();
    void passesRequestsUntouched();
    void badFrameReachesNobody();
    void bytesReachNobody();
    void answersWithADialogOpen();
    void noDesk();
    void deskRestarted();

    void tooLongAMessage();
    void tooManyClients();
    void slowClient();
    void pagesFromElsewhere_data();
    void pagesFromElsewhere();
    void busyPort();
    void onlyOnLoopback();
    void leavesNothingBehind();

private:
    /// A client program; `frames` is what it has got, the hello first.
    struct Client
    {
        QWebSocket socket;
        QString sinkId;
        QVector<QJsonObject> frames;

        void sendText(const QString &text) { socket.sendTextMessage(text); }
        void send(const QString &event, const QJsonObject &data);
        void request(const QString &name, const QJsonObject &data = {},
                     const QJsonValue &link = QJsonValue(QJsonValue::Undefined));
        void remote(const QJsonObject &data) { send(QStringLiteral("remote_control_data"), data); }
        bool isConnected() const { return socket.state() == QAbstractSocket::ConnectedState; }
        /// What came behind the hello.
        QVector<QJsonObject> news() const { return frames.mid(1); }
        QJsonObject lastData() const { return frames.constLast().value(QStringLiteral("data")).toObject(); }
    };
    using ClientPtr = std::unique_ptr<Client>;

    ClientPtr connectClient(const QString &origin = QString());
    /// A client that has been greeted.
    ClientPtr client();
    void useLimits(const ClientGateway::Limits &limits);
    /// Whatever is under way has come: a question that was asked later is answered.
    bool settle(Client *client);
    /// The events that reached the desk, without the questions for them.
    QJsonArray seen();

    std::unique_ptr<DeskPluginLoader> m_desk;
    std::unique_ptr<ClientGateway> m_gateway;
};

namespace {

QJsonObject answerFrame(const QJsonObject &data)
{
    return {{QStringLiteral("event"), QStringLiteral("local_request_answer")}, {QStringLiteral("data"), data}};
}

QJsonObject one(const char *key, const QJsonValue &value)
{
    return {{QLatin1String(key), value}};
}

} // namespace

void TestGateway::Client::send(const QString &event, const QJsonObject &data)
{
    const QJsonObject frame{{QStringLiteral("event"), event}, {QStringLiteral("data"), data}};
    sendText(QString::fromUtf8(QJsonDocument(frame).toJson()));
}

void TestGateway::Client::request(const QString &name, const QJsonObject &data, const QJsonValue &link)
{
    QJsonObject envelope{{QStringLiteral("request"), name}, {QStringLiteral("requestData"), data}};
    if (!link.isUndefined())
        envelope.insert(QStringLiteral("linkGuid"), link);
    send(QStringLiteral("local_request"), envelope);
}

void TestGateway::init()
{
    m_desk = std::make_unique<DeskPluginLoader>();
    m_desk->setFileName(QStringLiteral(FAKE_DESK_FILE));
    QVERIFY2(m_desk->load(), qPrintable(m_desk->errorText()));
    useLimits({});
}

void TestGateway::cleanup()
{
    m_gateway.reset();
    m_desk.reset();
}

void TestGateway::useLimits(const ClientGateway::Limits &limits)
{
    m_gateway = std::make_unique<ClientGateway>(m_desk.get(), limits);
    QVERIFY2(m_gateway->listen(0), qPrintable(m_gateway->errorText()));
}

TestGateway::ClientPtr TestGateway::connectClient(const QString &origin)
{
    ClientPtr made(new Client{QWebSocket(origin), QString(), {}});
    Client *raw = made.get();
    connect(&raw->socket, &QWebSocket::textMessageReceived, &raw->socket, [raw](const QString &text) {
        raw->frames.append(QJsonDocument::fromJson(text.toUtf8()).object());
        if (raw->frames.size() == 1)
            raw->sinkId = raw->frames.constFirst().value(QStringLiteral("sinkId")).toString();
    });
    raw->socket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(m_gateway->port())));
    return made;
}

TestGateway::ClientPtr TestGateway::client()
{
    ClientPtr made = connectClient();
    if (!QTest::qWaitFor([&made] { return !made->sinkId.isEmpty(); }))
        qWarning("the host says no hello");
    return made;
}

bool TestGateway::settle(Client *client)
{
    const QString link = QUuid::createUuid().toString();
    client->request(QStringLiteral("echo"), {}, link);
    const bool answered = QTest::qWaitFor([client, &link] {
        return !client->frames.isEmpty() && client->lastData().value(QStringLiteral("linkGuid")) == QJsonValue(link);
    });
    if (answered)
        client->frames.removeLast();
    return answered;
}

QJsonArray TestGateway::seen()
{
    const QSignalSpy said(m_desk.get(), &DeskPluginLoader::received);
    // With a link that is no client's, so that nobody but this test hears the answer.
    m_desk->send(QStringLiteral("local_request"), {{QStringLiteral("request"), QStringLiteral("seen")},
                                                   {QStringLiteral("linkGuid"), QStringLiteral("test")}});
    QJsonArray events;
    const QJsonArray all = said.constLast().at(2).toJsonObject().value(QStringLiteral("seen")).toArray();
    for (const QJsonValue &event : all) {
        const QString name =
            event.toObject().value(QStringLiteral("data")).toObject().value(QStringLiteral("request")).toString();
        if (name != QLatin1String("seen"))
            events.append(event);
    }
    return events;
}

void TestGateway::saysHello()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    QCOMPARE(kiosk->frames, QVector<QJsonObject>({QJsonObject{{QStringLiteral("event"), QStringLiteral("hello")},
                                                              {QStringLiteral("sinkId"), kiosk->sinkId}}}));
    QVERIFY(!kiosk->sinkId.isEmpty());
    QVERIFY(kiosk->sinkId != gate->sinkId);
    QCOMPARE(m_gateway->clientCount(), 2);
}

void TestGateway::answerGoesToTheOneWhoAsked()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    // The same link from both: each is a client's own affair.
    kiosk->request(QStringLiteral("echo"), one("n", 1), QStringLiteral("same"));
    gate->request(QStringLiteral("echo"), one("n", 2), QStringLiteral("same"));
    QVERIFY(settle(kiosk.get()));
    QVERIFY(settle(gate.get()));
    const auto expected = [](int n) {
        return QVector<QJsonObject>({answerFrame(
            {{QStringLiteral("linkGuid"), QStringLiteral("same")}, {QStringLiteral("got"), one("n", n)}})});
    };
    QCOMPARE(kiosk->news(), expected(1));
    QCOMPARE(gate->news(), expected(2));
}

void TestGateway::givesTheOwnLinkBack_data()
{
    QTest::addColumn<QJsonValue>("link");
    QTest::newRow("text") << QJsonValue(QStringLiteral("Ёж-1"));
    QTest::newRow("empty text") << QJsonValue(QString());
    QTest::newRow("number") << QJsonValue(17.25);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("object") << QJsonValue(QJsonObject{{QStringLiteral("window"), 3}});
    QTest::newRow("array") << QJsonValue(QJsonArray{1, 2});
}

void TestGateway::givesTheOwnLinkBack()
{
    QFETCH(QJsonValue, link);
    const ClientPtr kiosk = client();
    kiosk->request(QStringLiteral("bare"), {}, link);
    QVERIFY(settle(kiosk.get()));
    QCOMPARE(kiosk->news(), QVector<QJsonObject>({answerFrame(one("linkGuid", link))}));
}

void TestGateway::deskSeesATextOfEachClient()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    kiosk->request(QStringLiteral("bare"), {}, 5);
    gate->request(QStringLiteral("bare"), {}, 5);
    gate->request(QStringLiteral("bare"));
    QTRY_COMPARE(seen().size(), 3);
    QStringList links;
    const QJsonArray events = seen();
    for (const QJsonValue &event : events) {
        const QJsonValue link =
            event.toObject().value(QStringLiteral("data")).toObject().value(QStringLiteral("linkGuid"));
        QVERIFY(link.isString());
        links.append(link.toString());
    }
    QCOMPARE(links.removeDuplicates(), 0);
}

void TestGateway::noLinkNoEmptyAnswer()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    kiosk->request(QStringLiteral("bare"));
    kiosk->request(QStringLiteral("echo"), one("n", 1));
    QVERIFY(settle(kiosk.get()));
    QVERIFY(settle(gate.get()));
    QCOMPARE(kiosk->news(), QVector<QJsonObject>({answerFrame(one("got", one("n", 1)))}));
    QVERIFY(gate->news().isEmpty());
}

void TestGateway::lateAnswer()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    const QJsonValue link = QJsonObject{{QStringLiteral("a"), 1}};
    kiosk->request(QStringLiteral("late"), {}, link);
    QTRY_COMPARE(kiosk->news().size(), 1);
    QCOMPARE(kiosk->lastData(), QJsonObject({{QStringLiteral("linkGuid"), link},
                                             {QStringLiteral("code"), QStringLiteral("racer_db_data")}}));
    QVERIFY(settle(gate.get()));
    QVERIFY(gate->news().isEmpty());
}

void TestGateway::answerAfterItsClientLeft()
{
    ClientPtr kiosk = client();
    kiosk->request(QStringLiteral("late"), {}, 1);
    QVERIFY(settle(kiosk.get()));
    kiosk.reset();
    QTRY_COMPARE(m_gateway->clientCount(), 0);
    // The next client is somebody else.
    const ClientPtr gate = client();
    QTest::qWait(150);
    QVERIFY(settle(gate.get()));
    QVERIFY(gate->news().isEmpty());
}

void TestGateway::clientThatLeavesIsStillHeard()
{
    const ClientPtr kiosk = client();
    kiosk->request(QStringLiteral("bare"), {}, 1);
    kiosk->socket.close();
    QTRY_COMPARE(m_gateway->clientCount(), 0);
    QTRY_COMPARE(seen().size(), 1);
}

void TestGateway::publicationGoesToAll()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    const QJsonObject publication = one("checkInList", QJsonArray{one("lastName", QStringLiteral("Орлова"))});
    kiosk->request(QStringLiteral("publish"), publication, 1);
    QVERIFY(settle(kiosk.get()));
    QVERIFY(settle(gate.get()));
    QCOMPARE(kiosk->news(), QVector<QJsonObject>({answerFrame(publication), answerFrame(one("linkGuid", 1))}));
    QCOMPARE(gate->news(), QVector<QJsonObject>({answerFrame(publication)}));
}

void TestGateway::answerToAStrangerGoesToNobody()
{
    const ClientPtr kiosk = client();
    m_desk->send(QStringLiteral("local_request"),
                 {{QStringLiteral("request"), QStringLiteral("echo")}, {QStringLiteral("linkGuid"), QString()}});
    m_desk->send(QStringLiteral("local_request"), {{QStringLiteral("request"), QStringLiteral("echo")},
                                                   {QStringLiteral("linkGuid"), QStringLiteral("by hand")}});
    QVERIFY(settle(kiosk.get()));
    QVERIFY(kiosk->news().isEmpty());
}

void TestGateway::remoteAnswerFindsItsSink()
{
    const ClientPtr control = client();
    const ClientPtr gate = client();
    control->remote({{QStringLiteral("request"), QStringLiteral("newRunControlConnected")},
                     {QStringLiteral("sinkId"), control->sinkId}});
    QVERIFY(settle(control.get()));
    QVERIFY(settle(gate.get()));
    QCOMPARE(control->news().size(), 2);
    QCOMPARE(control->news().at(0),
             QJsonObject({{QStringLiteral("event"), QStringLiteral("remote_control_answer")},
                          {QStringLiteral("data"), QJsonObject{{QStringLiteral("sinkId"), control->sinkId},
                                                               {QStringLiteral("req_answ"),
                                                                one("request", QStringLiteral("runQueueUpdate"))}}}}));
    QCOMPARE(control->lastData().value(QStringLiteral("req_answ")).toObject().value(QStringLiteral("status")),
             QJsonValue(QStringLiteral("ok")));
    QVERIFY(gate->news().isEmpty());
}

void TestGateway::remoteAnswerWithoutSinkGoesToAll_data()
{
    QTest::addColumn<QJsonObject>("keys");
    QTest::newRow("absent") << QJsonObject();
    QTest::newRow("empty") << one("sinkId", QString());
}

void TestGateway::remoteAnswerWithoutSinkGoesToAll()
{
    QFETCH(QJsonObject, keys);
    const ClientPtr control = client();
    const ClientPtr gate = client();
    keys.insert(QStringLiteral("request"), QStringLiteral("doStartQueue"));
    control->remote(keys);
    QVERIFY(settle(control.get()));
    QVERIFY(settle(gate.get()));
    QCOMPARE(control->news().size(), 1);
    QCOMPARE(control->news(), gate->news());
    QCOMPARE(control->lastData().contains(QStringLiteral("sinkId")), keys.contains(QStringLiteral("sinkId")));
}

void TestGateway::sinkOfAnother()
{
    const ClientPtr control = client();
    const ClientPtr gate = client();
    const QJsonObject question = one("request", QStringLiteral("doStartQueue"));
    for (const QJsonValue &sink : {QJsonValue(QStringLiteral("gone")), QJsonValue(QJsonValue::Null), QJsonValue(1)}) {
        QJsonObject keys = question;
        keys.insert(QStringLiteral("sinkId"), sink);
        control->remote(keys);
    }
    QJsonObject keys = question;
    keys.insert(QStringLiteral("sinkId"), gate->sinkId);
    control->remote(keys);
    QVERIFY(settle(control.get()));
    QVERIFY(settle(gate.get()));
    QVERIFY(control->news().isEmpty());
    QCOMPARE(gate->news().size(), 1);
}

void TestGateway::passesRequestsUntouched()
{
    const ClientPtr control = client();
    const QJsonObject remote{{QStringLiteral("request"), QStringLiteral("checkTicket")},
                             {QStringLiteral("trackId"), QStringLiteral("трасса")},
                             {QStringLiteral("pinCode"), QStringLiteral("007")},
                             {QStringLiteral("deep"), QJsonArray{one("n", 1.5), QJsonValue(QJsonValue::Null)}}};
    control->remote(remote);
    const QJsonObject local{{QStringLiteral("requestData"), QStringLiteral("no object")}, {QStringLiteral("x"), true}};
    control->send(QStringLiteral("local_request"), local);
    QTRY_COMPARE(seen().size(), 2);
    const QJsonArray events = seen();
    QCOMPARE(events.at(0).toObject(), QJsonObject({{QStringLiteral("module"), QStringLiteral("bench_host")},
                                                   {QStringLiteral("event"), QStringLiteral("remote_control_data")},
                                                   {QStringLiteral("data"), remote}}));
    QCOMPARE(events.at(1).toObject().value(QStringLiteral("event")).toString(), QStringLiteral("local_request"));
    QJsonObject received = events.at(1).toObject().value(QStringLiteral("data")).toObject();
    received.remove(QStringLiteral("linkGuid"));
    QCOMPARE(received, local);
}

void TestGateway::badFrameReachesNobody()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    kiosk->sendText(QStringLiteral("cash_data"));
    kiosk->send(QStringLiteral("run_closed"), one("runQueueGuid", QStringLiteral("r")));
    QTRY_COMPARE(kiosk->news().size(), 2);
    const QVector<QJsonObject> news = kiosk->news();
    for (const QJsonObject &frame : news) {
        QCOMPARE(frame.keys(), QStringList({QStringLiteral("event"), QStringLiteral("message")}));
        QCOMPARE(frame.value(QStringLiteral("event")).toString(), QStringLiteral("error"));
        QVERIFY(!frame.value(QStringLiteral("message")).toString().isEmpty());
    }
    QVERIFY(seen().isEmpty());
    QVERIFY2(settle(kiosk.get()), "the client may go on");
    QVERIFY(settle(gate.get()));
    QVERIFY(gate->news().isEmpty());
}

void TestGateway::bytesReachNobody()
{
    const ClientPtr kiosk = client();
    kiosk->socket.sendBinaryMessage("{\"event\":\"local_request\",\"data\":{\"request\":\"bare\"}}");
    QTRY_COMPARE(kiosk->news().size(), 1);
    QCOMPARE(kiosk->frames.constLast().value(QStringLiteral("event")).toString(), QStringLiteral("error"));
    QVERIFY(seen().isEmpty());
}

void TestGateway::answersWithADialogOpen()
{
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    const auto dialog = [] { return QApplication::activeModalWidget(); };

    // The test goes on inside the dialog's loop, as everything at the desk does.
    bool kioskAnswered = false;
    bool gateAnswered = false;
    QTimer inside;
    connect(&inside, &QTimer::timeout, this, [&] {
        if (!dialog())
            return;
        inside.stop();
        // The client whose request opened the dialog is not held up either.
        kiosk->request(QStringLiteral("echo"), one("n", 1), 1);
        kiosk->request(QStringLiteral("echo"), one("n", 2), 2);
        kioskAnswered = QTest::qWaitFor([&kiosk] { return kiosk->news().size() == 2; });
        gateAnswered = settle(gate.get()) && dialog();
        dialog()->close();
    });
    inside.start(10);
    kiosk->request(QStringLiteral("dialog"), {}, QStringLiteral("opens"));
    QTRY_VERIFY(gateAnswered);
    QVERIFY(kioskAnswered);
    QTRY_COMPARE(kiosk->news().size(), 3);
    QCOMPARE(kiosk->news().at(0), answerFrame({{QStringLiteral("linkGuid"), 1}, {QStringLiteral("got"), one("n", 1)}}));
    QCOMPARE(kiosk->news().at(1), answerFrame({{QStringLiteral("linkGuid"), 2}, {QStringLiteral("got"), one("n", 2)}}));
    QCOMPARE(kiosk->news().at(2), answerFrame(one("linkGuid", QStringLiteral("opens"))));
    QVERIFY(!dialog());
}

void TestGateway::noDesk()
{
    const ClientPtr kiosk = client();
    m_desk->unload();
    kiosk->request(QStringLiteral("bare"), {}, 1);
    QTRY_COMPARE(kiosk->news().size(), 1);
    QCOMPARE(kiosk->frames.constLast().value(QStringLiteral("event")).toString(), QStringLiteral("error"));
}

void TestGateway::deskRestarted()
{
    const ClientPtr kiosk = client();
    m_desk->unload();
    QVERIFY(m_desk->load());
    kiosk->request(QStringLiteral("bare"), {}, 1);
    QTRY_COMPARE(kiosk->news(), QVector<QJsonObject>({answerFrame(one("linkGuid", 1))}));
}

void TestGateway::tooLongAMessage()
{
    ClientGateway::Limits limits;
    limits.messageBytes = 1000;
    useLimits(limits);
    const ClientPtr kiosk = client();
    const ClientPtr gate = client();
    gate->request(QStringLiteral("echo"), one("text", QString(800, QLatin1Char('x'))), 1);
    QTRY_COMPARE(gate->news().size(), 1);
    kiosk->request(QStringLiteral("echo"), one("text", QString(1000, QLatin1Char('x'))), 1);
    QTRY_VERIFY(!kiosk->isConnected());
    QCOMPARE(kiosk->socket.closeCode(), QWebSocketProtocol::CloseCodeTooMuchData);
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    QCOMPARE(seen().size(), 1);
}

void TestGateway::tooManyClients()
{
    ClientGateway::Limits limits;
    limits.clients = 2;
    useLimits(limits);
    ClientPtr kiosk = client();
    const ClientPtr gate = client();
    const ClientPtr third = connectClient();
    QSignalSpy turnedAway(&third->socket, &QWebSocket::disconnected);
    QVERIFY(turnedAway.wait());
    QCOMPARE(third->socket.closeCode(), QWebSocketProtocol::CloseCodePolicyViolated);
    QVERIFY(third->frames.isEmpty());
    QVERIFY(settle(kiosk.get()));
    // Whoever leaves makes room.
    kiosk.reset();
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    const ClientPtr fourth = client();
    QVERIFY(settle(fourth.get()));
}

void TestGateway::slowClient()
{
    ClientGateway::Limits limits;
    limits.pendingBytes = 1000000;
    useLimits(limits);
    // Shakes hands and reads nothing any more.
    QTcpSocket slow;
    slow.setReadBufferSize(1024);
    slow.connectToHost(QStringLiteral("127.0.0.1"), m_gateway->port());
    slow.write("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
               "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    const ClientPtr kiosk = client();
    QCOMPARE(m_gateway->clientCount(), 2);
    const QJsonObject megabyte{{QStringLiteral("chars"), 1024 * 1024}, {QStringLiteral("count"), 1}};
    int sent = 0;
    while (m_gateway->clientCount() == 2 && sent < 100) {
        kiosk->request(QStringLiteral("flood"), megabyte, ++sent);
        QTRY_COMPARE(kiosk->news().size(), 2 * sent);
    }
    QCOMPARE(m_gateway->clientCount(), 1);
    QVERIFY2(sent > 1, "what is under way does not count as slow");
    QVERIFY2(settle(kiosk.get()), "the others go on");
}

void TestGateway::pagesFromElsewhere_data()
{
    QTest::addColumn<QString>("origin");
    QTest::addColumn<bool>("welcome");
    QTest::newRow("a program") << QString() << true;
    QTest::newRow("a page of this machine") << QStringLiteral("http://localhost:8080") << true;
    QTest::newRow("by its address") << QStringLiteral("http://127.0.0.1") << true;
    QTest::newRow("by its other address") << QStringLiteral("http://[::1]:8080") << true;
    QTest::newRow("a file") << QStringLiteral("file://") << true;
    QTest::newRow("a page from elsewhere") << QStringLiteral("https://karting.example") << false;
    QTest::newRow("a name that looks like here") << QStringLiteral("https://localhost.example") << false;
    QTest::newRow("nobody's page") << QStringLiteral("null") << false;
}

void TestGateway::pagesFromElsewhere()
{
    QFETCH(QString, origin);
    QFETCH(bool, welcome);
    const ClientPtr page = connectClient(origin);
    QSignalSpy over(&page->socket, &QWebSocket::disconnected);
    QTRY_VERIFY(!page->sinkId.isEmpty() || !over.isEmpty());
    QCOMPARE(!page->sinkId.isEmpty(), welcome);
    QCOMPARE(m_gateway->clientCount(), welcome ? 1 : 0);
}

void TestGateway::busyPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    ClientGateway gateway(m_desk.get());
    QVERIFY(!gateway.listen(other.serverPort()));
    QVERIFY(!gateway.errorText().isEmpty());
    QCOMPARE(gateway.port(), quint16(0));
    const quint16 wanted = other.serverPort();
    other.close();
    QVERIFY2(gateway.listen(wanted), qPrintable(gateway.errorText()));
    QCOMPARE(gateway.port(), wanted);
}

void TestGateway::onlyOnLoopback()
{
    QTcpSocket outside;
    outside.connectToHost(QStringLiteral("127.0.0.2"), m_gateway->port());
    QVERIFY(!outside.waitForConnected(1000));
}

void TestGateway::leavesNothingBehind()
{
    const auto openFiles = [] { return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System).size(); };
    const int before = openFiles();
    for (int i = 0; i < 50; ++i) {
        const ClientPtr kiosk = client();
        QVERIFY(kiosk->isConnected());
        QVERIFY(openFiles() > before);
        kiosk->socket.abort();
    }
    QTRY_COMPARE(m_gateway->clientCount(), 0);
    QTRY_COMPARE(openFiles(), before);
    const ClientPtr gate = client();
    QVERIFY(settle(gate.get()));
    // A host that ends says goodbye.
    QSignalSpy over(&gate->socket, &QWebSocket::disconnected);
    m_gateway.reset();
    QVERIFY(!over.isEmpty() || over.wait());
    QCOMPARE(gate->socket.closeCode(), QWebSocketProtocol::CloseCodeGoingAway);
}

QTEST_MAIN(TestGateway)
#include "tst_host_gateway.moc"
