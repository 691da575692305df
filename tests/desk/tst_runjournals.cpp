#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "trackoffice.h"

#include <QAction>
#include <QDateTime>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QUuid>

/// The files that keep the runs over a restart: their bytes, the moments at which they are written and not written, and
/// what is left of them after damage or a kill.
class TestRunJournals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void firstStart();
    void queueRoundTrip();
    void queueWithMovingTimes();
    void lostTimes();
    void emptyRunsComeBack();
    void restoringTellsNobody();
    void writes_data();
    void writes();
    void eachChangeIsWritten_data();
    void eachChangeIsWritten();
    void writtenWithoutAHost();
    void fileBehindTheNews();

    void damagedQueue_data();
    void damagedQueue();
    void damagedItemKeepsWhatNewRunsHave();
    void damagedItemWithFixedTimes();
    void emptyItemHasTheJournalsValues();
    void seatsBeforeAnyRun();
    void manyRuns();
    void twinRuns();
    void twinCars();
    void restoredNumbers();
    void hugeNumbers();
    void pinCodesOfSeats();

    void historyBytes();
    void historyForgets();
    void historyOrder();
    void historyOfManyRuns();
    void historyIsCutWhenTheQueueLeaves();
    void historyWithoutRacers();
    void damagedHistory_data();
    void damagedHistory();
    void damagedNeighbours();
    void missingFolder();
    void filesThatCannotBeWritten();

    void orderlyRestart();
    void killInMidDay();

private:
    std::unique_ptr<TrackOffice> m_office;

    HostProbe &desk() { return m_office->desk(); }
    TempTrack &track() { return m_office->track(); }
    void fixTimes() { track().setSetting(QStringLiteral("fixedRunStartTimeInQueue"), true); }
    QByteArray queueFile() { return track().readJournal(QStringLiteral("runslist.state")); }
    QByteArray historyFile() { return track().readJournal(QStringLiteral("runshistory.state")); }
    QStringList written();
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

const QString Answer = QStringLiteral("local_request_answer");
const QString Tickets = QStringLiteral("tickets.state");
const QString Runs = QStringLiteral("runslist.state");
const QString History = QStringLiteral("runshistory.state");

/// A line of the queue as the desk itself writes it.
QByteArray item(const char *guid, qint64 startTime, const char *runNum = "1")
{
    return QByteArray("RUNITEM:{\"finishMode\":1,\"finishParam\":600,\"lastCompetitorId\":-1000,"
                      "\"maxRacersInRun\":10,\"nameForced\":false,\"pauseTime\":180,\"runColor\":\"#ffffff\","
                      "\"runLocked\":false,\"runName\":\"\",\"runNum\":")
           + runNum + ",\"sortMode\":0,\"startTime\":" + QByteArray::number(startTime) + ",\"uuid\":\"" + guid
           + "\"}\n";
}

QByteArray competitor(const char *uuid, int id)
{
    return "COMPETITOR:{\"carId\":-1,\"carModel\":\"Sodi\",\"carNum\":\"\",\"clientId\":-1,\"competitorId\":"
           + QByteArray::number(id) + ",\"name\":\"" + uuid + "\",\"pinCodes\":[\"0101\"],\"uuid\":\"" + uuid + "\"}\n";
}

QByteArray past(const char *guid, qint64 start, const char *racers = R"({"-1001": {"uuid": "{x}", "name": "X"}})")
{
    return QByteArray("{\"runQueueGuid\": \"") + guid + "\", \"runNum\": 1, \"runName\": \"" + guid
           + "\", \"runStartTime\": " + QByteArray::number(start) + ", \"runCompetitors\": " + racers + "}";
}

/// What the journal holds, a line for a run: its identity or "fresh", then its racers.
QStringList shape(const QByteArray &journal)
{
    QStringList all;
    const QList<QByteArray> lines = journal.split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("RUNITEM:")) {
            const QString guid = object(line.mid(8).constData()).value(QLatin1String("uuid")).toString();
            const bool own = QUuid(guid).isNull();
            all.append(own ? guid : QStringLiteral("fresh"));
        } else if (line.startsWith("COMPETITOR:")) {
            if (all.isEmpty())
                return {QStringLiteral("a seat without a run")};
            all.last() += QLatin1Char(' ') + object(line.mid(11).constData()).value(QLatin1String("name")).toString();
        } else if (!line.isEmpty()) {
            return {QStringLiteral("a line of neither kind")};
        }
    }
    return all;
}

QStringList guids(const QByteArray &history)
{
    QStringList all;
    const QJsonArray runs = array(history.constData());
    for (const QJsonValue &run : runs)
        all.append(run[QLatin1String("runQueueGuid")].toString());
    return all;
}

} // namespace

void TestRunJournals::init()
{
    m_office = std::make_unique<TrackOffice>();
}

void TestRunJournals::cleanup()
{
    m_office.reset();
}

/// Names of the journals that are there.
QStringList TestRunJournals::written()
{
    return track().journals();
}

void TestRunJournals::firstStart()
{
    QVERIFY2(desk().load(), qPrintable(desk().errorString()));
    QCOMPARE(written(), (QStringList{Runs, Tickets}));
    QCOMPARE(queueFile(), QByteArray(""));
    desk().send(QStringLiteral("load_complete"));
    QCOMPARE(m_office->queue()->count(), 0);
    QCOMPARE(m_office->history()->count(), 0);
    track().removeJournal(Runs);
    QVERIFY(desk().unload());
    QCOMPARE(written(), (QStringList{QStringLiteral("operators.state"), History, Runs, Tickets}));
    QCOMPARE(queueFile(), QByteArray(""));
    QCOMPARE(historyFile(), QByteArray("[\n]\n"));
}

void TestRunJournals::queueRoundTrip()
{
    const QByteArray file =
        "RUNITEM:{\"finishMode\":2,\"finishParam\":20,\"lastCompetitorId\":-1005,\"maxRacersInRun\":6,"
        "\"nameForced\":true,\"pauseTime\":240,\"runColor\":\"#ff8000\",\"runLocked\":true,"
        "\"runName\":\"Финал \\\"А\\\"\",\"runNum\":12,\"sortMode\":1,\"startTime\":1770000000,\"uuid\":\"{a}\"}\n"
        "COMPETITOR:{\"carId\":3,\"carModel\":\"Sodi\",\"carNum\":\"7\",\"clientId\":17,\"color\":\"#ff8000\","
        "\"competitorId\":-1005,\"competitorState\":2,\"name\":\"Ёж\",\"own\":[1,{\"b\":null}],"
        "\"pinCodes\":[\"0101\",\"0101\"],\"uuid\":\"{x}\"}\n"
        + competitor("{y}", -1001) + item("{b}", 1770000999) + item("{c}", 5000000000, "-3") + competitor("{x}", -1002);
    // The counter of the last run has to be that of its seats.
    QByteArray expected = file;
    expected.replace(expected.lastIndexOf("-1000"), 5, "-1002");
    track().writeJournal(Runs, file);
    fixTimes();
    QVERIFY2(desk().load(), qPrintable(desk().errorString()));
    QCOMPARE(queueFile(), expected);
    desk().send(QStringLiteral("load_complete"));
    track().removeJournal(Runs);
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "runQueueChanged"));
    QCOMPARE(queueFile(), expected);
    QVERIFY(desk().unload());
    QCOMPARE(queueFile(), expected);
    // And once more from what was written.
    QVERIFY(m_office->open());
    QCOMPARE(queueFile(), expected);
}

void TestRunJournals::queueWithMovingTimes()
{
    track().writeJournal(Runs, item("{a}", 1000) + competitor("{x}", -1001) + item("{b}", 5000000000));
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    QVERIFY(m_office->open());
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    const QVector<QJsonObject> items = m_office->journalItems();
    const qint64 head = items.at(0).value(QLatin1String("startTime")).toVariant().toLongLong();
    QVERIFY(head >= before + 180 && head <= after + 180);
    QByteArray expected = item("{a}", head) + competitor("{x}", -1001) + item("{b}", head + 780);
    expected.replace(expected.indexOf("-1000"), 5, "-1001");
    QCOMPARE(queueFile(), expected);
}

void TestRunJournals::lostTimes()
{
    fixTimes();
    track().writeJournal(Runs, "RUNITEM:{\"uuid\":\"{a}\"}\nRUNITEM:{\"uuid\":\"{b}\",\"startTime\":[1000]}\n");
    QVERIFY(m_office->open());
    QCOMPARE(queueFile(), item("{a}", 0) + item("{b}", 0));
}

void TestRunJournals::emptyRunsComeBack()
{
    track().writeJournal(Runs, item("{a}", 1) + item("{b}", 2));
    QVERIFY(m_office->open());
    QCOMPARE(m_office->queue()->count(), 2);
    QCOMPARE(shape(queueFile()), (QStringList{QStringLiteral("{a}"), QStringLiteral("{b}")}));
    const QVector<QJsonObject> runs = m_office->runs();
    for (const QJsonObject &run : runs)
        QVERIFY(run.value(QLatin1String("runCompetitors")).toObject().isEmpty());
}

void TestRunJournals::restoringTellsNobody()
{
    track().writeJournal(Runs, item("{a}", 1) + competitor("{x}", -1001) + competitor("{y}", -1002) + item("{b}", 2));
    track().writeJournal(History, "[" + past("{old}", 100) + "]");
    QVERIFY2(desk().load(), qPrintable(desk().errorString()));
    HostProbe::settle();
    QCOMPARE(desk().names(), QStringList());
    desk().send(QStringLiteral("load_complete"));
    HostProbe::settle();
    QCOMPARE(desk().count(QStringLiteral("replace_run_preset")), 0);
    QCOMPARE(desk().count(QStringLiteral("start_run")), 0);
    QCOMPARE(desk().count(QStringLiteral("close_run")), 0);
    // Nor is the history written before its time.
    QCOMPARE(historyFile(), "[" + past("{old}", 100) + "]");
}

void TestRunJournals::writes_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QJsonObject>("payload");
    QTest::addColumn<bool>("due");
    const auto row = [](const char *event, const char *payload, bool due) {
        QTest::addRow("%s %s", event, payload) << QString::fromLatin1(event) << object(payload) << due;
    };
    row("next_run_info", R"({"nextRunNum": 3})", true);
    row("race_mode", R"({"isRaceMode": false})", true);
    row("race_mode", R"({"isRaceMode": true})", false);
    row("new_run_started", R"({"runQueueGuid": "{a}", "runNum": 3})", true);
    row("new_run_started", R"({"runQueueGuid": "{unknown}"})", true);
    row("client_account_data", R"({"clientId": 17})", false);
    row("run_closed", R"({"runQueueGuid": "{a}"})", false);
    row("run_closed", R"({"runQueueGuid": "{unknown}"})", false);
    row("refresh_run_results", R"({"runQueueGuid": "{a}", "results": [{"competitorId": -1001, "state": 1}]})", false);
    row("runs_archive_list", R"({"runs": [1]})", false);
    row("run_saved_to_db", R"({})", false);
    row("cars_list_changed", R"({"cars": []})", false);
    row("load_complete", R"({})", false);
    row("local_client_data", R"({"clientId": 17, "lastName": "X"})", false);
    row("no_such_event", R"({})", false);
}

void TestRunJournals::writes()
{
    QFETCH(QString, event);
    QFETCH(QJsonObject, payload);
    QFETCH(bool, due);
    track().writeJournal(Runs, item("{a}", 1) + competitor("{x}", -1001) + item("{b}", 2));
    track().writeJournal(Tickets, "{\"uuid\":\"{t}\",\"clientId\":17,\"regTime\":0}\n");
    QVERIFY(m_office->open());
    track().removeJournal(Runs);
    desk().send(event, payload);
    HostProbe::settle(20);
    QCOMPARE(track().hasJournal(Runs), due);
    QVERIFY(!track().hasJournal(History));
    if (due)
        QCOMPARE(shape(queueFile()), (QStringList{QStringLiteral("{a} {x}"), QStringLiteral("{b}")}));
}

void TestRunJournals::eachChangeIsWritten_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QStringList>("expected");
    const QString a = QStringLiteral("{a} {x} {y}");
    const QString b = QStringLiteral("{b}");
    QTest::newRow("remove") << QStringLiteral("remove") << QStringList{a};
    QTest::newRow("lock") << QStringLiteral("lock") << QStringList{a, b};
    QTest::newRow("rows moved") << QStringLiteral("move") << QStringList{b, a};
    QTest::newRow("the list of racers") << QStringLiteral("list") << QStringList{a, b};
    QTest::newRow("a seat given up") << QStringLiteral("seat") << QStringList{QStringLiteral("{a} {y}"), b};
    QTest::newRow("add") << QStringLiteral("add") << QStringList{a, b, QStringLiteral("fresh")};
    QTest::newRow("history cleared") << QStringLiteral("clear") << QStringList{a, b};
    QTest::newRow("parameters") << QStringLiteral("params") << QStringList{a, b};
}

// Each of them rewrites the list and the queue, and leaves the history alone.
void TestRunJournals::eachChangeIsWritten()
{
    QFETCH(QString, change);
    QFETCH(QStringList, expected);
    const QByteArray history = "[" + past("{old}", 100) + "]";
    track().writeJournal(Runs, item("{a}", 1) + competitor("{x}", -1001) + competitor("{y}", -1002) + item("{b}", 2));
    track().writeJournal(History, history);
    QVERIFY(m_office->open());
    track().removeJournal(Runs);
    track().removeJournal(Tickets);
    BoxFacts facts;
    if (change == QLatin1String("remove")) {
        m_office->queue()->item(1)->setSelected(true);
        desk().find<QAction *>(QStringLiteral("actionRemoveRun"))->trigger();
    } else if (change == QLatin1String("lock")) {
        TrackOffice::lockButton(m_office->run(1))->click();
        QVERIFY(queueFile().contains("\"runLocked\":true"));
    } else if (change == QLatin1String("move")) {
        m_office->queue()->model()->moveRow({}, 1, {}, 0);
    } else if (change == QLatin1String("list")) {
        QMetaObject::invokeMethod(desk().tab(), "checkInListUpdated", Q_ARG(QJsonArray, QJsonArray()));
    } else if (change == QLatin1String("seat")) {
        m_office->queue()->setCurrentRow(0);
        TrackOffice::clickCell(m_office->run(0), 0);
        const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
        desk().find<QAction *>(QStringLiteral("actionRemoveFromRun"))->trigger();
        MODAL_VERIFY(box);
    } else if (change == QLatin1String("add")) {
        const ModalAnswer dialog =
            ModalAnswer::dialog(text("Добавить заезды"), [](QDialog *opened) { opened->accept(); });
        desk().find<QPushButton *>(QStringLiteral("bAddRun"))->click();
        MODAL_VERIFY(dialog);
    } else if (change == QLatin1String("clear")) {
        const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
        desk().find<QPushButton *>(QStringLiteral("pbClearRunsHistory"))->click();
        MODAL_VERIFY(box);
        QCOMPARE(m_office->history()->count(), 0);
    } else {
        const ModalAnswer dialog =
            ModalAnswer::dialog(text("Параметры заезда"), [](QDialog *opened) { opened->accept(); });
        QTest::mouseDClick(m_office->run(0), Qt::LeftButton, Qt::NoModifier, TrackOffice::title().center());
        MODAL_VERIFY(dialog);
    }
    QCOMPARE(shape(queueFile()), expected);
    QVERIFY(track().hasJournal(Tickets));
    QCOMPARE(historyFile(), history);
}

void TestRunJournals::writtenWithoutAHost()
{
    // The queue is written once the journals are read, when nobody has been told of the desk yet.
    track().writeJournal(Runs, "noise\n" + item("{a}", 1));
    QVERIFY2(desk().load(), qPrintable(desk().errorString()));
    QCOMPARE(shape(queueFile()), QStringList{QStringLiteral("{a}")});
}

// The host hears first; the file follows.
void TestRunJournals::fileBehindTheNews()
{
    track().writeJournal(Runs, item("{a}", 1));
    QVERIFY(m_office->open());
    track().removeJournal(Runs);
    track().removeJournal(Tickets);
    const auto seen = std::make_shared<QStringList>();
    auto watch = std::make_unique<QObject>();
    connect(desk().plugin(), &VanePluginInterface::pluginSignal, watch.get(),
            [this, seen](const QString &, const QString &, const QJsonObject &) {
                seen->append(written().join(QLatin1Char(' ')));
            });
    m_office->publish();
    watch.reset();
    QCOMPARE(*seen, (QStringList{QString(), QString()}));
    QCOMPARE(written(), (QStringList{Runs, Tickets}));
}

void TestRunJournals::damagedQueue_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("kept");
    const QByteArray a = item("{a}", 1);
    const QByteArray x = competitor("{x}", -1001);
    const QByteArray y = competitor("{y}", -1002);
    const QByteArray b = item("{b}", 2);
    const QString ax = QStringLiteral("{a} {x}");
    const QString axy = QStringLiteral("{a} {x} {y}");
    const QString bOnly = QStringLiteral("{b}");
    const QString fresh = QStringLiteral("fresh");
    const auto row = [](const char *name, const QByteArray &file, const QStringList &kept) {
        QTest::newRow(name) << file << kept;
    };
    row("whole", a + x + y + b, {axy, bOnly});
    row("item cut short", a.left(40) + "\n" + x + b, {fresh + QStringLiteral(" {x}"), bOnly});
    row("item that is an array", a + "RUNITEM:[1,2]\n" + x + b,
        {QStringLiteral("{a}"), fresh + QStringLiteral(" {x}"), bOnly});
    row("item with nothing", a + "RUNITEM:\n" + x + b, {QStringLiteral("{a}"), fresh + QStringLiteral(" {x}"), bOnly});
    row("item with text", a + "RUNITEM:hello\n" + b, {QStringLiteral("{a}"), fresh, bOnly});
    row("item with binary noise", a + QByteArray("RUNITEM:\xff\xfe\x00\x01\n", 13) + x + b,
        {QStringLiteral("{a}"), fresh + QStringLiteral(" {x}"), bOnly});
    row("seat cut short", a + x.left(40) + "\n" + y + b, {QStringLiteral("{a} {y}"), bOnly});
    row("seat that is an array", a + "COMPETITOR:[1]\n" + x + b, {ax, bOnly});
    row("seat with nothing", a + "COMPETITOR:\n" + x + b, {ax, bOnly});
    row("seat with null", a + "COMPETITOR:null\n" + x + b, {ax, bOnly});
    row("seat with binary noise", a + QByteArray("COMPETITOR:\xff\x00\n", 14) + x + b, {ax, bOnly});
    row("other lines", "hello\n" + a + "\n{}\n" + x + "RUNITEM\nCOMPETITOR\nRUNITE:{}\n" + b, {ax, bOnly});
    row("other spellings", a + "runitem:{}\n" + x + "Competitor:{\"name\":\"z\"}\n" + b, {ax, bOnly});
    row("blanks before the tag", a + " " + b + x + "\t" + y, {ax});
    row("blanks behind the tag", "RUNITEM: " + a.mid(8) + "COMPETITOR:  " + x.mid(11), {ax});
    row("carriage returns", a.left(a.size() - 1) + "\r\n" + x.left(x.size() - 1) + "\r\n" + b, {ax, bOnly});
    row("no newline at the end", a + x + y.left(y.size() - 1), {axy});
    row("cut at the end", a + x + y.left(y.size() / 2), {ax});
    row("item cut at the end", a + x + b.left(b.size() / 2), {ax, fresh});
    row("tag alone at the end", a + x + "RUNI", {ax});
    row("nothing but noise", QByteArray("\0\0\0\n\xff", 5), {});
    row("empty", "", {});
}

void TestRunJournals::damagedQueue()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, kept);
    track().writeJournal(Runs, file);
    QVERIFY(m_office->open());
    QCOMPARE(shape(queueFile()), kept);
    QCOMPARE(m_office->queue()->count(), kept.size());
    QVERIFY(desk().unload());
    QCOMPARE(shape(queueFile()), kept);
}

void TestRunJournals::damagedItemKeepsWhatNewRunsHave()
{
    track().setSetting(QStringLiteral("defaultRunDuration"), 7);
    track().setSetting(QStringLiteral("pauseDuration"), 2);
    track().setSetting(QStringLiteral("maxInRunCount"), 5);
    track().writeJournal(Runs, item("{a}", 1, "30") + "RUNITEM:{\"finishParam\":\n" + competitor("{x}", -1009));
    QVERIFY(m_office->open());
    const QVector<QJsonObject> items = m_office->journalItems();
    QCOMPARE(items.size(), 2);
    JSON_CONTAINS(items.at(1), object(R"({"runNum": 31, "finishParam": 420, "pauseTime": 120, "maxRacersInRun": 5,
        "finishMode": 1, "sortMode": 0, "runName": "", "nameForced": false, "runLocked": false,
        "runColor": "#ffffff", "lastCompetitorId": -1009})"));
    QCOMPARE(m_office->runs().at(1).value(QLatin1String("runName")).toString(), text("Заезд №31"));
}

void TestRunJournals::damagedItemWithFixedTimes()
{
    fixTimes();
    track().writeJournal(Runs, item("{a}", 1770000000) + "RUNITEM:5\n" + item("{b}", 1000));
    QVERIFY(m_office->open());
    const QVector<QJsonObject> runs = m_office->runs();
    QCOMPARE(runs.at(0).value(QLatin1String("runStartTime")).toInt(), 1770000000);
    QCOMPARE(runs.at(1).value(QLatin1String("runStartTime")).toInt(), 1770000780);
    QCOMPARE(runs.at(2).value(QLatin1String("runStartTime")).toInt(), 1000);
}

void TestRunJournals::emptyItemHasTheJournalsValues()
{
    track().setSetting(QStringLiteral("defaultRunDuration"), 7);
    track().setSetting(QStringLiteral("pauseDuration"), 2);
    track().setSetting(QStringLiteral("maxInRunCount"), 5);
    track().writeJournal(Runs, item("{a}", 1, "30") + "RUNITEM:{}\n");
    QVERIFY(m_office->open());
    const QJsonObject second = m_office->journalItems().at(1);
    JSON_CONTAINS(second, object(R"({"runNum": 1, "finishParam": 600, "pauseTime": 180, "maxRacersInRun": 10,
        "finishMode": 1, "sortMode": 0, "runName": "", "nameForced": false, "runLocked": false,
        "runColor": "#ffffff", "lastCompetitorId": -1000})"));
    const QString guid = second.value(QLatin1String("uuid")).toString();
    QVERIFY(!QUuid(guid).isNull() && QUuid(guid).toString() == guid);
}

void TestRunJournals::seatsBeforeAnyRun()
{
    track().writeJournal(Runs, competitor("{x}", -1001) + competitor("{y}", -1002));
    QVERIFY(m_office->open());
    QCOMPARE(m_office->queue()->count(), 0);
    QVERIFY(desk().unload());
    track().writeJournal(Runs, competitor("{x}", -1001) + item("{a}", 1) + competitor("{y}", -1002));
    QVERIFY(m_office->open());
    QCOMPARE(shape(queueFile()), QStringList{QStringLiteral("{a} {y}")});
}

// The file is rewritten while it is read; nothing behind the first run may get lost.
void TestRunJournals::manyRuns()
{
    QByteArray file;
    QStringList expected;
    for (int run = 0; run < 60; ++run) {
        const QByteArray guid = "{run" + QByteArray::number(run) + "}";
        file += item(guid.constData(), run + 1, QByteArray::number(run + 1).constData());
        expected.append(QString::fromLatin1(guid));
        for (int seat = 0; seat < 8; ++seat) {
            const QByteArray uuid = "{" + QByteArray::number(run) + "-" + QByteArray::number(seat) + "}";
            file += competitor(uuid.constData(), -1001 - seat);
            expected.last() += QLatin1Char(' ') + QString::fromLatin1(uuid);
        }
    }
    track().writeJournal(Runs, file);
    QVERIFY(m_office->open());
    QCOMPARE(shape(queueFile()), expected);
    for (int row = 0; row < 60; ++row) {
        QCOMPARE(m_office->queue()->item(row)->sizeHint(), QSize(0, m_office->run(row)->height()));
        QVERIFY(m_office->run(row)->height() >= 72);
    }
}

void TestRunJournals::twinRuns()
{
    track().writeJournal(Runs, item("{a}", 1) + competitor("{x}", -1001) + item("{a}", 2) + competitor("{y}", -1001)
                                   + item("{b}", 3) + item("{a}", 4));
    QVERIFY(m_office->open());
    QCOMPARE(shape(queueFile()), (QStringList{QStringLiteral("{a} {x}"), QStringLiteral("fresh {y}"),
                                              QStringLiteral("{b}"), QStringLiteral("fresh")}));
    const QStringList all = m_office->guids();
    QCOMPARE(QSet<QString>(all.begin(), all.end()).size(), 4);
}

void TestRunJournals::twinCars()
{
    track().writeJournal(Runs,
                         item("{a}", 1)
                             + "COMPETITOR:{\"uuid\":\"{x}\",\"carId\":3,\"carNum\":\"7\",\"competitorId\":-1}\n"
                               "COMPETITOR:{\"uuid\":\"{y}\",\"carId\":3,\"carNum\":\"7\",\"competitorId\":-2}\n"
                             + item("{b}", 2)
                             + "COMPETITOR:{\"uuid\":\"{z}\",\"carId\":3,\"carNum\":\"7\",\"competitorId\":-1}\n");
    QVERIFY(m_office->open());
    JSON_CONTAINS(m_office->racer(0, QStringLiteral("{x}")), object(R"({"carId": 3, "carNum": "7"})"));
    JSON_CONTAINS(m_office->racer(0, QStringLiteral("{y}")), object(R"({"carId": -1, "carNum": "7"})"));
    JSON_CONTAINS(m_office->racer(1, QStringLiteral("{z}")), object(R"({"carId": 3})"));
}

void TestRunJournals::restoredNumbers()
{
    track().writeJournal(Runs, "RUNITEM:{\"uuid\":\"{a}\"}\n" + competitor("{x}", -1001) + competitor("{y}", -1005));
    QVERIFY(m_office->open());
    QCOMPARE(m_office->journalItems().at(0).value(QLatin1String("lastCompetitorId")).toInt(), -1005);
    // Who comes next gets the next number.
    track().writeJournal(Tickets, "{\"uuid\":\"{t}\",\"lastName\":\"T\",\"salesItem\":\"S\",\"payState\":true,"
                                  "\"runCount\":1,\"pinCodes\":[\"0007\"]}\n");
    QVERIFY(desk().unload());
    track().writeJournal(Tickets, "{\"uuid\":\"{t}\",\"lastName\":\"T\",\"salesItem\":\"S\",\"payState\":true,"
                                  "\"runCount\":1,\"pinCodes\":[\"0007\"]}\n");
    QVERIFY(m_office->open());
    desk().find<QTreeView *>(QStringLiteral("tvCheckIn"))->selectAll();
    desk().find<QAction *>(QStringLiteral("actionMoveToRuns"))->trigger();
    JSON_CONTAINS(m_office->racer(0, QStringLiteral("{t}")), object(R"({"competitorId": -1006})"));
}

void TestRunJournals::hugeNumbers()
{
    fixTimes();
    track().writeJournal(
        Runs, item("{a}", 1)
                  + "RUNITEM:{\"uuid\":\"{h}\",\"runNum\":1e300,\"finishParam\":-1e300,\"finishMode\":1e18,"
                    "\"pauseTime\":9e99,\"maxRacersInRun\":1e10,\"lastCompetitorId\":-1e300,\"startTime\":1e300,"
                    "\"sortMode\":99999999999}\n"
                    "COMPETITOR:{\"uuid\":\"{x}\",\"name\":\"{x}\",\"carId\":1e300,\"clientId\":-1e300,"
                    "\"competitorId\":-1e300,\"runCount\":1e300}\n"
                    "RUNITEM:{\"uuid\":\"{l}\",\"finishParam\":2147483647,\"pauseTime\":2147483647,"
                    "\"lastCompetitorId\":-2147483648,\"startTime\":9007199254740991}\n"
                    "COMPETITOR:{\"uuid\":\"{y}\",\"name\":\"{y}\",\"competitorId\":-2147483648}\n"
                  + item("{b}", 2) + competitor("{z}", -1001));
    track().writeJournal(History, "[" + past("{p}", Q_INT64_C(9007199254740991))
                                      + ","
                                        "{\"runQueueGuid\":\"{q}\",\"runNum\":1e300,\"runStartTime\":-1e300,"
                                        "\"runCompetitors\":{\"x\":{\"competitorId\":1e300}}}]");
    QVERIFY(m_office->open());
    QCOMPARE(shape(queueFile()), (QStringList{QStringLiteral("{a}"), QStringLiteral("{h} {x}"),
                                              QStringLiteral("{l} {y}"), QStringLiteral("{b} {z}")}));
    QCOMPARE(m_office->history()->count(), 2);
    desk().send(QStringLiteral("next_run_info"), object(R"({"nextRunNum": 1e300})"));
    desk().send(QStringLiteral("next_run_info"), object(R"({"nextRunNum": -2147483648})"));
    QVERIFY(!desk().tab()->grab().isNull());
    QVERIFY(desk().unload());
    QCOMPARE(shape(queueFile()).size(), 4);
    QCOMPARE(guids(historyFile()).size(), 2);
}

// A code that stands in a seat is not given to anybody else.
void TestRunJournals::pinCodesOfSeats()
{
    QByteArray codes;
    for (int code = 0; code < 9995; ++code)
        codes += (code ? ",\"" : "\"") + QByteArray::number(code).rightJustified(4, '0') + "\"";
    track().writeJournal(Runs, item("{a}", 1) + "COMPETITOR:{\"uuid\":\"{x}\",\"name\":\"x\",\"pinCodes\":[" + codes
                                   + "]}\n");
    QVERIFY(m_office->open());
    for (int i = 0; i < 5; ++i) {
        const ModalAnswer form =
            ModalAnswer::dialog(text("Запись на заезд"), [](QDialog *dialog) { dialog->accept(); });
        desk().find<QPushButton *>(QStringLiteral("bAddRacer"))->click();
        MODAL_VERIFY(form);
        const QString code =
            desk().last(Answer).value(QLatin1String("checkInList"))[0][QLatin1String("pinCodes")][0].toString();
        QVERIFY2(code.toInt() >= 9995, qPrintable(code));
    }
}

void TestRunJournals::historyBytes()
{
    track().writeJournal(Runs, "RUNITEM:{\"uuid\":\"{run}\",\"runNum\":12}\n"
                               "COMPETITOR:{\"uuid\":\"{x}\",\"name\":\"Ёж\",\"competitorId\":-1001,\"carId\":3}\n");
    QVERIFY(m_office->open());
    desk().send(QStringLiteral("refresh_run_info"),
                object(R"({"runQueueGuid": "{run}", "runNum": 12, "runStartTs": 1770000000999, "runState": "finished",
                    "runId": 4})"));
    desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{run}"})"));
    QVERIFY(!track().hasJournal(History));
    QVERIFY(desk().unload());
    const QByteArray expected = "[\n"
                                "    {\n"
                                "        \"finishMode\": 1,\n"
                                "        \"finishParam\": 600,\n"
                                "        \"finishType\": 1,\n"
                                "        \"runCompetitors\": {\n"
                                "            \"-1001\": {\n"
                                "                \"carId\": 3,\n"
                                "                \"competitorId\": -1001,\n"
                                "                \"name\": \"Ёж\",\n"
                                "                \"uuid\": \"{x}\"\n"
                                "            }\n"
                                "        },\n"
                                "        \"runDuration\": 600,\n"
                                "        \"runLocked\": false,\n"
                                "        \"runName\": \"Заезд №12\",\n"
                                "        \"runNum\": 12,\n"
                                "        \"runQueueGuid\": \"{run}\",\n"
                                "        \"runStartTime\": 1770000000,\n"
                                "        \"runState\": \"unknown\",\n"
                                "        \"sortMode\": 0,\n"
                                "        \"sortType\": 0\n"
                                "    }\n"
                                "]\n";
    QCOMPARE(historyFile(), expected);
    QCOMPARE(queueFile(), QByteArray(""));
    // Once more, from the file.
    QVERIFY(m_office->reopen());
    QVERIFY(desk().unload());
    QCOMPARE(historyFile(), expected);
}

// What the journal says of a run's finish is not read.
void TestRunJournals::historyForgets()
{
    track().writeJournal(History, R"([{"runQueueGuid": "{q}", "runNum": 4, "runName": "Q", "runStartTime": 7,
        "finishMode": 2, "finishType": 2, "finishParam": 20, "runDuration": 20, "sortMode": 1, "sortType": 1,
        "runState": "finished", "runLocked": true, "more": 1, "runIndex": 5,
        "runCompetitors": {"-1001": {"uuid": "{x}", "competitorId": -1001}}}])");
    QVERIFY(m_office->open());
    QVERIFY(desk().unload());
    JSON_COMPARE(array(historyFile().constData()), array(R"([{"runQueueGuid": "{q}", "runNum": 4, "runName": "Q",
        "runStartTime": 7, "finishMode": 1, "finishType": 1, "finishParam": 600, "runDuration": 600, "sortMode": 0,
        "sortType": 0, "runState": "unknown", "runLocked": false,
        "runCompetitors": {"-1001": {"uuid": "{x}", "competitorId": -1001}}}])"));
}

void TestRunJournals::historyOrder()
{
    track().writeJournal(History, "[" + past("{2}", 200) + "," + past("{5}", 1770000000) + "," + past("{1}", 100) + ","
                                      + past("{4}", 300) + "," + past("{0}", -100) + "]");
    QVERIFY(m_office->open());
    const QStringList newestFirst{QStringLiteral("{5}"), QStringLiteral("{4}"), QStringLiteral("{2}"),
                                  QStringLiteral("{1}"), QStringLiteral("{0}")};
    QCOMPARE(m_office->pastGuids(), newestFirst);
    QCOMPARE(m_office->history()->currentRow(), 0);
    QVERIFY(desk().unload());
    QCOMPARE(guids(historyFile()), newestFirst);
}

void TestRunJournals::historyOfManyRuns()
{
    QByteArray file = "[";
    QStringList expected;
    // In the file they stand in an order of their own.
    for (int i = 0; i < 130; ++i) {
        const int start = (i * 37) % 130;
        file += (i ? "," : "") + past(("{" + QByteArray::number(start) + "}").constData(), 1000 + start);
    }
    for (int start = 129; start >= 30; --start)
        expected.append(QStringLiteral("{%1}").arg(start));
    track().writeJournal(History, file + "]");
    QVERIFY(m_office->open());
    QCOMPARE(m_office->pastGuids(), expected);
    QCOMPARE(m_office->history()->count(), 100);
    QVERIFY(desk().unload());
    QCOMPARE(guids(historyFile()), expected);
}

void TestRunJournals::historyIsCutWhenTheQueueLeaves()
{
    QByteArray file = "[";
    for (int i = 0; i < 100; ++i)
        file += (i ? "," : "") + past(("{" + QByteArray::number(i) + "}").constData(), i);
    track().writeJournal(History, file + "]");
    track().writeJournal(Runs, item("{a}", 1) + competitor("{x}", -1001) + item("{empty}", 2));
    QVERIFY(m_office->open());
    desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{empty}"})"));
    QCOMPARE(m_office->history()->count(), 100);
    QCOMPARE(m_office->pastGuids().last(), QStringLiteral("{0}"));
    desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{a}"})"));
    const QStringList kept = m_office->pastGuids();
    QCOMPARE(kept.size(), 100);
    QCOMPARE(kept.first(), QStringLiteral("{a}"));
    QCOMPARE(kept.last(), QStringLiteral("{1}"));
}

void TestRunJournals::historyWithoutRacers()
{
    track().writeJournal(History, "[" + past("{1}", 1, "{}") + "," + past("{2}", 2) + "," + past("{3}", 3, "[]") + ","
                                      + "{\"runQueueGuid\":\"{4}\",\"runStartTime\":4}]");
    QVERIFY(m_office->open());
    QCOMPARE(m_office->pastGuids(), QStringList{QStringLiteral("{2}")});
}

void TestRunJournals::damagedHistory_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("kept");
    const QByteArray one = past("{1}", 1);
    const QByteArray two = past("{2}", 2);
    const QStringList both{QStringLiteral("{2}"), QStringLiteral("{1}")};
    QTest::newRow("object") << one << QStringList();
    QTest::newRow("cut short") << "[" + one + "," + two.left(30) << QStringList();
    QTest::newRow("noise") << QByteArray("\0\xff\xfe[]", 5) << QStringList();
    QTest::newRow("empty") << QByteArray("") << QStringList();
    QTest::newRow("text") << QByteArray("hello") << QStringList();
    QTest::newRow("elements of other types") << "[5," + one + ",null,\"x\",[]," + two + ",{},true]" << both;
    QTest::newRow("compact") << "[" + one + "," + two + "]" << both;
    QTest::newRow("seats of other types")
        << "[" + past("{1}", 1, R"({"-1001": 5, "-1002": {"uuid": 7}})") + "," + two + "]" << both;
}

void TestRunJournals::damagedHistory()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, kept);
    track().writeJournal(History, file);
    track().writeJournal(Runs, item("{a}", 1));
    QVERIFY(m_office->open());
    QCOMPARE(m_office->pastGuids(), kept);
    QCOMPARE(m_office->guids(), QStringList{QStringLiteral("{a}")});
    QVERIFY(desk().unload());
    QCOMPARE(guids(historyFile()), kept);
}

// Whatever is wrong with one journal, the others still load.
void TestRunJournals::damagedNeighbours()
{
    track().writeJournal(Tickets, "{\n[]\n{\"uuid\":\"{t}\",\"regTime\":0}\n");
    track().writeJournal(Runs, "RUNITEM:{\n" + competitor("{x}", -1001));
    track().writeJournal(History, "{");
    track().writeJournal(QStringLiteral("operators.state"), R"([{"token":"{t}","id":1,"name":"A"}])");
    QVERIFY(m_office->open());
    QCOMPARE(desk().checkIn()->rowCount(), 1);
    QCOMPARE(shape(queueFile()), QStringList{QStringLiteral("fresh {x}")});
    QCOMPARE(m_office->history()->count(), 0);
    QVERIFY(desk().unload());
    JSON_CONTAINS(array(track().readJournal(QStringLiteral("operators.state")).constData()),
                  array(R"([{"token": "{t}"}])"));
}

void TestRunJournals::missingFolder()
{
    QVERIFY(QDir().rmdir(track().journalsFolder()));
    QVERIFY(m_office->open());
    const ModalAnswer dialog = ModalAnswer::dialog(text("Добавить заезды"), [](QDialog *opened) { opened->accept(); });
    desk().find<QPushButton *>(QStringLiteral("bAddRun"))->click();
    MODAL_VERIFY(dialog);
    QCOMPARE(m_office->queue()->count(), 1);
    QVERIFY(desk().unload());
    QVERIFY(!QFile::exists(track().journalsFolder()));
}

// A folder stands where the file should be: nobody can open it, not even the superuser.
void TestRunJournals::filesThatCannotBeWritten()
{
    track().writeJournal(History, "[" + past("{1}", 1) + "]");
    QVERIFY(QDir().mkdir(track().journal(Runs)));
    QVERIFY(m_office->open());
    m_office->publish();
    QCOMPARE(desk().names(), ::publication());
    QVERIFY(desk().unload());
    QVERIFY(QFileInfo(track().journal(Runs)).isDir());
    // The file behind it is written all the same.
    QVERIFY(historyFile().startsWith("[\n    {\n"));
    QCOMPARE(guids(historyFile()), QStringList{QStringLiteral("{1}")});
}

void TestRunJournals::orderlyRestart()
{
    fixTimes();
    track().writeJournal(Runs, item("{a}", 100) + competitor("{x}", -1001) + item("{b}", 900) + competitor("{y}", -1001)
                                   + item("{c}", 1700));
    QVERIFY(m_office->open());
    TrackOffice::lockButton(m_office->run(2))->click();
    desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{a}"})"));
    const QVector<QJsonObject> runs = m_office->runs();
    const QVector<QJsonObject> history = m_office->pastRuns();
    QCOMPARE(runs.size(), 2);
    QCOMPARE(history.size(), 1);
    QVERIFY(m_office->reopen());
    QCOMPARE(m_office->runs(), runs);
    QCOMPARE(m_office->pastRuns(), history);
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(m_office->run(1)), "runLocked"));
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(m_office->run(0)), "runUnlocked"));
}

void TestRunJournals::killInMidDay()
{
    track().writeJournal(Runs, item("{a}", 100) + competitor("{x}", -1001) + item("{b}", 900) + competitor("{y}", -1001)
                                   + item("{c}", 1700));
    const QByteArray history = "[" + past("{old}", 100) + "]";
    track().writeJournal(History, history);
    ChildDesk child(QStringLiteral("day"));
    QVERIFY(child.start());
    QVERIFY2(child.waitForLine("worked"), child.output().constData());
    child.kill();
    QVERIFY(!child.finish());
    // The queue is as it was a moment ago; of the history only what the last orderly end left.
    QCOMPARE(historyFile(), history);
    QCOMPARE(shape(queueFile()), (QStringList{QStringLiteral("{b} {y}"), QStringLiteral("{c}")}));
    QVERIFY(m_office->open());
    const QVector<QJsonObject> runs = m_office->runs();
    QCOMPARE(runs.size(), 2);
    QCOMPARE(runs.at(1).value(QLatin1String("runLocked")), QJsonValue(true));
    QCOMPARE(runs.at(0).value(QLatin1String("runNum")).toInt(), 1);
    QCOMPARE(m_office->pastGuids(), QStringList{QStringLiteral("{old}")});
}

namespace {

int runChild(const QString &role, const QStringList &)
{
    const auto track = TempTrack::fromEnvironment();
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (role != QLatin1String("day") || !desk.start())
        return 3;
    const auto *queue = desk.find<QListWidget *>(QStringLiteral("lwRunsList"));
    desk.send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{a}"})"));
    if (queue->count() != 2)
        return 4;
    TrackOffice::lockButton(queue->itemWidget(queue->item(1)))->click();
    ChildDesk::say("worked");
    QTest::qWait(60000);
    return 5;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestRunJournals, runChild)

#include "tst_runjournals.moc"
