#include "gateway/clientgateway.h"
#include "hosttrack.h"
#include "playedday.h"

#include <QJsonArray>
#include <QtTest>

/// Days played by client programs, through the host's endpoint, with a made-up module.
class TestPlayClients : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void plays_data();
    void plays();
    void comesInBySockets();
    void keepsForLaterSteps();
    void asksWhileADialogIsOpen();
    void noEndpoint();

private:
    bool play(const QString &text, const ClientGateway *gateway);
    bool play(const QString &text) { return play(text, m_gateway.data()); }

    HostOnTrack m_host;
    QScopedPointer<ClientGateway> m_gateway;
};

void TestPlayClients::initTestCase()
{
    QVERIFY(m_host.open());
    m_gateway.reset(new ClientGateway(&m_host.desk));
    QVERIFY(m_gateway->listen(0));
    m_host.desk.setFileName(QStringLiteral(FAKE_DESK_FILE));
    QVERIFY(m_host.window->startDesk(false));
    QVERIFY(m_host.show());
}

void TestPlayClients::cleanupTestCase()
{
    m_host.window->stopDesk();
}

bool TestPlayClients::play(const QString &text, const ClientGateway *gateway)
{
    PlayRunner::Stage stage = m_host.stage();
    stage.gateway = gateway;
    return playDay(stage, text);
}

void TestPlayClients::plays_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("ok");
    const auto row = [](const char *name, const char *script, bool ok) {
        QTest::newRow(name) << QString::fromUtf8(script) << ok;
    };
    row("a request and its answer", "request kiosk echo {\"n\": 1}\nexpectAnswer kiosk {\"got\": {\"n\": 1}}", true);
    row("another answer", "request kiosk echo {\"n\": 1}\nexpectAnswer kiosk {\"got\": {\"n\": 2}}", false);
    row("any answer", "request kiosk bare\nexpectAnswer kiosk", true);
    row("a late answer", "request kiosk late\nexpectAnswer kiosk {\"code\": \"racer_db_data\"}", true);
    row("no answer", "request kiosk silent\nexpectAnswer kiosk within=100", false);
    row("the answer before is none",
        "request kiosk echo\nexpectAnswer kiosk\nrequest kiosk silent\nexpectAnswer kiosk within=100", false);
    row("a publication is none",
        "request kiosk silent\nrequest gate publish {\"trackName\": \"x\"}\n"
        "expectAnswer gate\nexpectAnswer kiosk within=100",
        false);
    row("two clients",
        "request kiosk echo {\"n\": 1}\nrequest gate echo {\"n\": 2}\n"
        "expectAnswer kiosk {\"got\": {\"n\": 1}}\nexpectAnswer gate {\"got\": {\"n\": 2}}",
        true);
    row("a stranger's answer", "request kiosk echo\nexpectAnswer gate within=100", false);
    row("a remote request",
        "remote gate checkTicket {\"trackId\": \"t\"}\n"
        "expectAnswer gate {\"status\": \"ok\", \"trackId\": \"t\", \"srcRequest\": \"checkTicket\"}",
        true);
    row("a remote control", "remote control newRunControlConnected\nexpectAnswer control {\"status\": \"ok\"}", true);
    row("no remote answer", "remote gate notify {\"skipAnswer\": true}\nexpectAnswer gate within=100", false);
    row("a value that is not in the answer", "request kiosk echo\nletAnswer pin kiosk got/pin", false);
    row("a value of no answer", "letAnswer pin kiosk got/pin within=100", false);
    row("a value that no event has", "mark\nletEvent pin local_request_answer pinCode within=100", false);
    row("a value before the mark",
        "request kiosk publish {\"pin\": 1}\nexpectAnswer kiosk\nmark\nletEvent p local_request_answer pin within=100",
        false);
    row("a name without a value", "request kiosk echo {\"n\": \"${nobody}\"}", false);
}

void TestPlayClients::plays()
{
    QFETCH(QString, script);
    QTEST(play(script), "ok");
}

void TestPlayClients::comesInBySockets()
{
    QVector<int> clients;
    const auto count = [this, seen = &clients] { seen->append(m_gateway->clientCount()); };
    const auto keep = connect(&m_host.desk, &DeskPluginLoader::sending, this, count);
    QVERIFY(play(QStringLiteral("request kiosk bare\nexpectAnswer kiosk\nrequest gate bare\nexpectAnswer gate\n"
                                "request kiosk bare\nexpectAnswer kiosk\n")));
    disconnect(keep);
    QCOMPARE(clients, QVector<int>({1, 2, 2}));
    QTRY_COMPARE(m_gateway->clientCount(), 0);
}

void TestPlayClients::keepsForLaterSteps()
{
    QVERIFY(
        play(QStringLiteral("mark\n"
                            "request kiosk publish {\"checkInList\": [{\"lastName\": \"Лебедев\", \"uuid\": \"u1\"}, "
                            "{\"lastName\": \"Орлова\", \"uuid\": \"u2\", \"pinCode\": 42}]}\n"
                            "expectAnswer kiosk\n"
                            "letEvent racer local_request_answer checkInList/lastName~Орлова/uuid\n"
                            "letEvent pin local_request_answer checkInList/1/pinCode\n"
                            "request kiosk echo {\"uuidList\": [\"${racer}\"], \"pin\": \"${pin}\"}\n"
                            "expectAnswer kiosk {\"got\": {\"uuidList\": [\"u2\"], \"pin\": 42}}\n"
                            "letAnswer back kiosk got/uuidList/0\n"
                            "remote gate ${back}\n"
                            "expectAnswer gate {\"srcRequest\": \"u2\"}\n"
                            "fill leEventSearch ${racer}-${pin}\n"
                            "expect leEventSearch text is u2-42\n"
                            "fill leEventSearch \"\"\n")));
}

void TestPlayClients::asksWhileADialogIsOpen()
{
    QVERIFY(play(QStringLiteral("trigger hostTrack\n"
                                "expectDialog Трасса\n"
                                "request kiosk echo {\"n\": 1}\n"
                                "expectAnswer kiosk {\"got\": {\"n\": 1}}\n"
                                "answer Cancel\n"
                                "expectNoDialog\n"
                                "request kiosk dialog\n"
                                "expectDialog Вопрос\n"
                                "request gate echo {\"n\": 2}\n"
                                "expectAnswer gate {\"got\": {\"n\": 2}}\n"
                                "key Escape\n"
                                "expectNoDialog\n"
                                "expectAnswer kiosk\n")));
}

void TestPlayClients::noEndpoint()
{
    QVERIFY(!play(QStringLiteral("request kiosk bare within=100\n"), nullptr));
    const ClientGateway closed(&m_host.desk);
    QVERIFY(!play(QStringLiteral("request kiosk bare within=100\n"), &closed));
}

QTEST_MAIN(TestPlayClients)
#include "tst_host_playclients.moc"
