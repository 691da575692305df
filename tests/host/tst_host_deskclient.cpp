#include "client/clientoptions.h"
#include "deskpluginloader.h"
#include "gateway/clientgateway.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

/// The client for the shell: its words, and the program itself against a host with a made-up module.
class TestDeskClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void understands();
    void defaults();
    void refuses_data();
    void refuses();
    void helpNamesEverything();

    void asks_data();
    void asks();
    void readsStandardInput();
    void readsAFile();
    void prettyPrints();
    void asksRemotely();
    void wantsNoRemoteAnswer();
    void noAnswerInTime();
    void noHost();
    void silentHost();
    void hostRefuses();
    void usageError();
    void tellsItsVersion();
    void follows();
    void followsOnlyTheKey();
    void followsUntilInterrupted();
    void followsUntilTheHostGoes();

private:
    struct Outcome
    {
        int code = -1;
        QByteArray output;
        QByteArray error;
        QJsonObject json() const { return QJsonDocument::fromJson(output).object(); }
    };

    void start(QProcess *program, const QStringList &arguments) const;
    static Outcome outcome(QProcess *program);
    Outcome run(const QStringList &arguments, const QByteArray &input = QByteArray());
    void publish(const QJsonObject &publication);
    QString url() const { return QStringLiteral("ws://127.0.0.1:%1").arg(m_gateway->port()); }

    DeskPluginLoader m_desk;
    std::unique_ptr<ClientGateway> m_gateway;
    QVector<QJsonObject> m_asked;
};

namespace {

bool parse(const QStringList &arguments, ClientOptions *options, const QByteArray &input = QByteArray())
{
    QBuffer buffer;
    buffer.setData(input);
    buffer.open(QIODevice::ReadOnly);
    QString error;
    const bool ok = ClientOptions::parse(QStringList(QStringLiteral("client")) + arguments, &buffer, options, &error);
    if (ok == !error.isEmpty())
        qWarning("an error is told exactly when there is one");
    return ok;
}

QStringList words(const char *text)
{
    QStringList list = QString::fromUtf8(text).split(QLatin1Char(' '));
    list.removeAll(QString());
    return list;
}

} // namespace

void TestDeskClient::initTestCase()
{
    m_desk.setFileName(QStringLiteral(FAKE_DESK_FILE));
    QVERIFY2(m_desk.load(), qPrintable(m_desk.errorText()));
    m_gateway = std::make_unique<ClientGateway>(&m_desk);
    QVERIFY(m_gateway->listen(0));
    connect(&m_desk, &DeskPluginLoader::sending, this,
            [this](const QString &, const QString &, const QJsonObject &payload) { m_asked.append(payload); });
}

void TestDeskClient::understands()
{
    ClientOptions options;
    QVERIFY(parse(words("request add_new_run {\"runsCount\":2} --link L1 --timeout 0.25 --pretty --url ws://[::1]:99"),
                  &options));
    QCOMPARE(options.command, ClientOptions::Request);
    QCOMPARE(options.name, QStringLiteral("add_new_run"));
    QCOMPARE(options.payload, QJsonObject({{QStringLiteral("runsCount"), 2}}));
    QCOMPARE(options.link.value_or(QString()), QStringLiteral("L1"));
    QCOMPARE(options.timeoutMs, 250);
    QVERIFY(options.pretty);
    QCOMPARE(options.url, QUrl(QStringLiteral("ws://[::1]:99")));

    ClientOptions remote;
    QVERIFY(parse(words("remote --track трасса checkTicket -"), &remote, "{\"pinCode\":\"7\"}"));
    QCOMPARE(remote.command, ClientOptions::Remote);
    QCOMPARE(remote.payload, QJsonObject({{QStringLiteral("pinCode"), QStringLiteral("7")},
                                          {QStringLiteral("trackId"), QStringLiteral("трасса")}}));

    ClientOptions follow;
    QVERIFY(parse(words("follow --only runQueue --count 3"), &follow));
    QCOMPARE(follow.command, ClientOptions::Follow);
    QCOMPARE(follow.only, QStringLiteral("runQueue"));
    QCOMPARE(follow.count, 3);
    QCOMPARE(follow.timeoutMs, -1);
    QVERIFY(parse(words("follow --timeout 2"), &follow));
    QCOMPARE(follow.timeoutMs, 2000);
}

void TestDeskClient::defaults()
{
    ClientOptions options;
    QVERIFY(parse(words("request cash_data"), &options));
    QVERIFY(options.payload.isEmpty());
    QVERIFY(!options.link);
    QCOMPARE(options.timeoutMs, 5000);
    QCOMPARE(options.url, QUrl(QStringLiteral("ws://127.0.0.1:9185")));
    QVERIFY(!options.pretty);
}

void TestDeskClient::refuses_data()
{
    QTest::addColumn<QString>("arguments");
    const auto row = [](const char *name, const char *arguments) {
        QTest::newRow(name) << QString::fromUtf8(arguments);
    };
    row("nothing", "");
    row("unknown command", "ask cash_data");
    row("no name", "request");
    row("too much", "request a {} b");
    row("a name to follow", "follow runQueue");
    row("unknown option", "follow --all");
    row("bad JSON", "request a {");
    row("no object", "request a []");
    row("missing file", "request a @/nowhere/at-all.json");
    row("empty input", "request a -");
    row("no time", "request a --timeout soon");
    row("time of nought", "request a --timeout 0");
    row("endless time", "request a --timeout inf");
    row("a number without sense", "request a --timeout nan");
    row("a day and more", "request a --timeout 86401");
    row("no count", "follow --count 0");
    row("a link to follow", "follow --link a");
    row("a track for a local request", "request a --track b");
    row("a count of answers", "request a --count 2");
    row("another scheme", "request a --url http://127.0.0.1:9185");
    row("no url", "request a --url 9185");
}

void TestDeskClient::refuses()
{
    QFETCH(QString, arguments);
    ClientOptions options;
    QVERIFY(!parse(words(arguments.toUtf8().constData()), &options));
}

void TestDeskClient::helpNamesEverything()
{
    const QString help = ClientOptions::helpText();
    for (const char *name :
         {"request", "remote", "follow", "--url", "--timeout", "--pretty", "--link", "--track", "--only", "--count"})
        QVERIFY2(help.contains(QLatin1String(name)), name);
}

void TestDeskClient::start(QProcess *program, const QStringList &arguments) const
{
    QStringList all = arguments;
    if (!all.contains(QStringLiteral("--url")))
        all += {QStringLiteral("--url"), url()};
    QVERIFY2(QTest::qWaitFor([this] { return m_gateway->clientCount() == 0; }), "the client before is still there");
    program->start(QStringLiteral(DESK_CLIENT_FILE), all);
}

TestDeskClient::Outcome TestDeskClient::outcome(QProcess *program)
{
    // The host lives in this process: its events have to be worked while the program runs.
    if (!QTest::qWaitFor([program] { return program->state() == QProcess::NotRunning; }, 15000)) {
        program->kill();
        program->waitForFinished();
        return {};
    }
    return {program->exitStatus() == QProcess::NormalExit ? program->exitCode() : -1, program->readAllStandardOutput(),
            program->readAllStandardError()};
}

TestDeskClient::Outcome TestDeskClient::run(const QStringList &arguments, const QByteArray &input)
{
    m_asked.clear();
    QProcess program;
    start(&program, arguments);
    program.write(input);
    program.closeWriteChannel();
    return outcome(&program);
}

void TestDeskClient::publish(const QJsonObject &publication)
{
    m_desk.send(QStringLiteral("local_request"),
                {{QStringLiteral("request"), QStringLiteral("publish")}, {QStringLiteral("requestData"), publication}});
}

void TestDeskClient::asks_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("an answer") << QStringList{QStringLiteral("echo"), QStringLiteral("{\"имя\":\"Ёж\"}")}
                               << QByteArray("{\"got\":{\"имя\":\"Ёж\"}}\n");
    QTest::newRow("a bare answer") << QStringList{QStringLiteral("bare")} << QByteArray("{}\n");
    QTest::newRow("with a link") << QStringList{QStringLiteral("bare"), QStringLiteral("--link"), QStringLiteral("Ё 1")}
                                 << QByteArray("{\"linkGuid\":\"Ё 1\"}\n");
    QTest::newRow("with an empty link") << QStringList{QStringLiteral("bare"), QStringLiteral("--link"), QString()}
                                        << QByteArray("{\"linkGuid\":\"\"}\n");
    QTest::newRow("a late answer") << QStringList{QStringLiteral("late")}
                                   << QByteArray("{\"code\":\"racer_db_data\"}\n");
    // What is told to everybody meanwhile is no answer.
    QTest::newRow("behind a publication")
        << QStringList{QStringLiteral("publish"), QStringLiteral("{\"trackName\":\"x\"}")} << QByteArray("{}\n");
}

void TestDeskClient::asks()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, output);
    const Outcome result = run(QStringList(QStringLiteral("request")) + arguments);
    QCOMPARE(result.error, QByteArray());
    QCOMPARE(result.output, output);
    QCOMPARE(result.code, 0);
}

void TestDeskClient::readsStandardInput()
{
    const Outcome result = run(words("request echo -"), "{\"n\":\n 1}\n");
    QCOMPARE(result.output, QByteArray("{\"got\":{\"n\":1}}\n"));
    QCOMPARE(result.code, 0);
}

void TestDeskClient::readsAFile()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("вопрос.json")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{\"n\": 2}");
    file.close();
    const Outcome result = run({QStringLiteral("request"), QStringLiteral("echo"), QLatin1Char('@') + file.fileName()});
    QCOMPARE(result.output, QByteArray("{\"got\":{\"n\":2}}\n"));
    QCOMPARE(result.code, 0);
}

void TestDeskClient::prettyPrints()
{
    const Outcome result = run(words("request echo {\"n\":1} --pretty"));
    QCOMPARE(result.output, QByteArray("{\n    \"got\": {\n        \"n\": 1\n    }\n}\n"));
}

void TestDeskClient::asksRemotely()
{
    // Before its answer this one gets the queue, by the same way.
    const Outcome result = run(words("remote newRunControlConnected {\"x\":1} --track bench-track"));
    QCOMPARE(result.error, QByteArray());
    QCOMPARE(result.code, 0);
    QCOMPARE(result.json(), QJsonObject({{QStringLiteral("status"), QStringLiteral("ok")},
                                         {QStringLiteral("trackId"), QStringLiteral("bench-track")},
                                         {QStringLiteral("srcRequest"), QStringLiteral("newRunControlConnected")}}));
    QCOMPARE(m_asked.size(), 1);
    QCOMPARE(m_asked.at(0).value(QStringLiteral("x")), QJsonValue(1));
    QVERIFY(!m_asked.at(0).value(QStringLiteral("sinkId")).toString().isEmpty());
}

void TestDeskClient::wantsNoRemoteAnswer()
{
    const Outcome result = run(words("remote doStartQueue {\"skipAnswer\":true}"));
    QCOMPARE(result.error, QByteArray());
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(result.code, 0);
    QTRY_COMPARE(m_asked.size(), 1);
}

void TestDeskClient::noAnswerInTime()
{
    QElapsedTimer time;
    time.start();
    const Outcome result = run(words("request silent --timeout 0.5"));
    QCOMPARE(result.code, 1);
    QVERIFY(result.output.isEmpty());
    QVERIFY2(result.error.contains("0.5"), result.error.constData());
    QVERIFY(time.elapsed() >= 450);
    QCOMPARE(m_asked.size(), 1);
}

void TestDeskClient::noHost()
{
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const QString nowhere = QStringLiteral("ws://127.0.0.1:%1").arg(closed.serverPort());
    closed.close();
    const Outcome result = run({QStringLiteral("follow"), QStringLiteral("--url"), nowhere});
    QCOMPARE(result.code, 1);
    QVERIFY(result.output.isEmpty());
    QVERIFY2(result.error.startsWith(nowhere.toUtf8() + ": "), result.error.constData());
}

void TestDeskClient::silentHost()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    const Outcome result =
        run({QStringLiteral("request"), QStringLiteral("bare"), QStringLiteral("--timeout"), QStringLiteral("0.5"),
             QStringLiteral("--url"), QStringLiteral("ws://127.0.0.1:%1").arg(silent.serverPort())});
    QCOMPARE(result.code, 1);
    QVERIFY(!result.error.isEmpty());
}

void TestDeskClient::hostRefuses()
{
    m_desk.unload();
    const Outcome result = run(words("request bare"));
    QVERIFY(m_desk.load());
    QCOMPARE(result.code, 1);
    QVERIFY(result.output.isEmpty());
    QVERIFY(!result.error.isEmpty());
}

void TestDeskClient::usageError()
{
    const Outcome result = run(words("request echo {"));
    QCOMPARE(result.code, 2);
    QVERIFY(result.output.isEmpty());
    QVERIFY(!result.error.isEmpty());
    QVERIFY(m_asked.isEmpty());
}

void TestDeskClient::tellsItsVersion()
{
    const Outcome result = run(words("--version"));
    QCOMPARE(result.code, 0);
    QVERIFY(!result.output.isEmpty());
}

void TestDeskClient::follows()
{
    QProcess program;
    start(&program, words("follow --count 2"));
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    publish({{QStringLiteral("trackName"), QStringLiteral("Ёлки")}});
    // Every line comes at once, not at the end.
    QTRY_VERIFY(program.canReadLine());
    QCOMPARE(program.readAllStandardOutput(), QByteArray("{\"trackName\":\"Ёлки\"}\n"));
    QCOMPARE(program.state(), QProcess::Running);
    publish({{QStringLiteral("runsArchive"), 1}});
    publish({{QStringLiteral("runsArchive"), 2}});
    const Outcome result = outcome(&program);
    QCOMPARE(result.output, QByteArray("{\"runsArchive\":1}\n"));
    QCOMPARE(result.code, 0);
}

void TestDeskClient::followsOnlyTheKey()
{
    QProcess program;
    start(&program, words("follow --only checkInList --count 1"));
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    publish({{QStringLiteral("trackName"), QStringLiteral("checkInList")}});
    publish({{QStringLiteral("checkInList"), QStringLiteral("a")}});
    const Outcome result = outcome(&program);
    QCOMPARE(result.output, QByteArray("{\"checkInList\":\"a\"}\n"));
    QCOMPARE(result.code, 0);
}

void TestDeskClient::followsUntilInterrupted()
{
    QProcess program;
    start(&program, words("follow"));
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    publish({{QStringLiteral("trackName"), QStringLiteral("a")}});
    QTRY_VERIFY(program.bytesAvailable() > 0);
    QCOMPARE(::kill(static_cast<pid_t>(program.processId()), SIGINT), 0);
    QTRY_COMPARE(program.state(), QProcess::NotRunning);
    QCOMPARE(program.readAllStandardOutput(), QByteArray("{\"trackName\":\"a\"}\n"));
    QTRY_COMPARE(m_gateway->clientCount(), 0);
}

void TestDeskClient::followsUntilTheHostGoes()
{
    QProcess program;
    start(&program, words("follow"));
    QTRY_COMPARE(m_gateway->clientCount(), 1);
    m_gateway = std::make_unique<ClientGateway>(&m_desk);
    QVERIFY(m_gateway->listen(0));
    const Outcome result = outcome(&program);
    QCOMPARE(result.code, 1);
    QVERIFY(!result.error.isEmpty());
}

QTEST_GUILESS_MAIN(TestDeskClient)
#include "tst_host_deskclient.moc"
