#include "documents/documentprinter.h"
#include "hosttrack.h"
#include "playedday.h"

#include <QtTest>

/// Days played on the bench host's own widgets, without a desk.
class TestPlayRunner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void plays_data();
    void plays();
    void answersADialogFromInsideIt();
    void leavesAPicture();
    void expectsADocument();
    void unreadableScript();

private:
    bool play(const QString &text);

    HostOnTrack m_host;
    QScopedPointer<DocumentPrinter> m_documents;
};

void TestPlayRunner::initTestCase()
{
    QVERIFY(m_host.open());
    m_documents.reset(new DocumentPrinter(m_host.home->templatesDirectory(), m_host.home->printedDirectory()));
    m_host.window->resize(900, 600);
    QVERIFY(m_host.show());
}

bool TestPlayRunner::play(const QString &text)
{
    PlayRunner::Stage stage = m_host.stage();
    stage.documents = m_documents.data();
    return playDay(stage, text);
}

void TestPlayRunner::plays_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("ok");
    const auto row = [](const char *name, const char *script, bool ok) {
        QTest::newRow(name) << QString::fromUtf8(script) << ok;
    };
    row("nothing", "# ничего\n", true);
    row("a text typed", "fill leEventSearch \"Ёлка Q7 -заезд\"\nexpect leEventSearch text is \"Ёлка Q7 -заезд\"", true);
    row("a text filled over another",
        "fill leEventSearch abc\nfill leEventSearch d\ntype leEventSearch e\n"
        "expect leEventSearch text is de",
        true);
    row("another text", "fill leEventSearch abc\nexpect leEventSearch text is abd within=100", false);
    row("a key", "fill leEventSearch abc\nkey Backspace\nexpect leEventSearch text is ab", true);
    row("a click",
        "expect cbEventFollow checked is true\nclick cbEventFollow\nexpect cbEventFollow checked is false\n"
        "click cbEventFollow\nexpect cbEventFollow checked is true",
        true);
    row("a click at a point", "click cbEventFollow at=5,5\nclick cbEventFollow at=10,8 within=100", true);
    row("a point outside", "click cbEventFollow at=5000,5000 within=100", false);
    row("no point", "click cbEventFollow at=middle", false);
    row("a choice in a list",
        "click cbEventSide\nchoose Кассе\nexpect cbEventSide currentText is Кассе\n"
        "click cbEventSide\nchoose \"Все события\"\nexpect cbEventSide currentText contains Все",
        true);
    row("a choice that is not there", "click cbEventSide\nchoose Чужие within=200", false);
    row("after it the list can be left", "key Escape\nexpect cbEventSide currentText is \"Все события\"", true);
    row("no such widget", "click bAddRacer within=100", false);
    row("no such property", "expect leEventSearch colour is red", false);
    row("a query", "expectSql \"SELECT id, name FROM price_types\" is \"-1|Основные\"", true);
    row("another answer", "expectSql \"SELECT 1\" is 2 within=100", false);
    row("a bad query", "expectSql \"SELECT\" is 1", false);
    row("no such file", "expectNoFile Documents/none", true);
    row("a missing file", "expectFile Documents/none contains a within=100", false);
    row("lines of a file", "expectLines test.play 1", true);
    row("no run", "expectRun queue 0 within=100 {\"runNum\": 1}", false);
    row("no list of runs", "clickRacer pit 0 Орлова", false);
    row("no event", "mark\nexpectNoEvent insert_tab\nexpectEvents", true);
    row("an event that never comes", "mark\nexpectEvent insert_tab within=100", false);
    row("a scan without a scanner", "scan 17", false);
    row("answer without a dialog", "answer Yes within=100", false);
    row("a wait", "timeout 50\nwait 200", true);
}

void TestPlayRunner::plays()
{
    QFETCH(QString, script);
    QTEST(play(script), "ok");
}

void TestPlayRunner::answersADialogFromInsideIt()
{
    QVERIFY(play(QStringLiteral("trigger hostTrack\n"
                                "expectDialog Трасса\n"
                                "fill leTrackName \"Картинг-центр\"\n"
                                "answer Ok\n"
                                "expectNoDialog\n")));
    QCOMPARE(m_host.services->state().trackName, QStringLiteral("Картинг-центр"));
    QVERIFY(play(QStringLiteral("trigger hostTrack\nfill leTrackName x\nanswer Cancel\nexpectNoDialog\n")));
    QCOMPARE(m_host.services->state().trackName, QStringLiteral("Картинг-центр"));
    QVERIFY2(!play(QStringLiteral("trigger hostTrack\nclick leEventSearch within=200\n")),
             "a widget behind the dialog takes no click");
}

void TestPlayRunner::leavesAPicture()
{
    QVERIFY(play(QStringLiteral("screenshot pictures/log.png\n")));
    const QImage picture(m_host.home->path(QStringLiteral("pictures/log.png")));
    QCOMPARE(picture.size(), m_host.window->size());
    QVERIFY(!play(QStringLiteral("click nobody within=50\n")));
    QVERIFY(QFile::exists(m_host.home->path(QStringLiteral("failed.png"))));
}

void TestPlayRunner::expectsADocument()
{
    const auto print = [this](const char *name) {
        m_documents->take(QStringLiteral("ticket_plugin"), QStringLiteral("print_document"),
                          {{QStringLiteral("templateName"), QStringLiteral("pos_ticket")},
                           {QStringLiteral("printParams"),
                            QJsonObject{{QStringLiteral("CLIENTNAME"), QString::fromUtf8(name)},
                                        {QStringLiteral("PINCODE"), QStringLiteral("4821")}}}});
    };
    QVERIFY(!play(QStringLiteral("expectDocument pos_ticket contains ПИН within=100\n")));
    QTimer::singleShot(200, this, [print] {
        print("Орлова");
        print("Белов");
    });
    QVERIFY(play(QStringLiteral("mark\nexpectDocument pos_ticket contains \"ПИН: 4821\"\n"
                                "expectDocument pos_ticket contains Орлова\n"
                                "expectDocument pos_ticket contains Белов\n")));
    QVERIFY(!play(QStringLiteral("expectDocument safety contains Орлова within=100\n")));
    QVERIFY(!play(QStringLiteral("expectDocument pos_ticket contains Морозова within=100\n")));
    QVERIFY(!play(QStringLiteral("mark\nexpectDocument pos_ticket contains Орлова within=100\n")));
}

void TestPlayRunner::unreadableScript()
{
    PlayRunner runner(m_host.stage());
    QString error;
    QVERIFY(!runner.load(m_host.home->path(QStringLiteral("none.play")), &error));
    QVERIFY(!error.isEmpty());
}

QTEST_MAIN(TestPlayRunner)
#include "tst_host_playrunner.moc"
