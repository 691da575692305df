#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "modal.h"
#include "trackoffice.h"

#include <QAction>
#include <QDateTime>

/// The dialogue about runs with the host: starts, reports, ends, and the history that remains.
class TestRunControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startButton_data();
    void startButton();
    void onlyTheHeadCanStart();
    void newRunStarted();
    void newRunStartedWithFrozenTimes();
    void newRunStartedUnknown_data();
    void newRunStartedUnknown();
    void newRunStartedEndsFormerRuns();
    void newRunStartedOddly();
    void lastRunNumber();
    void firstRunInfoFindsTheCurrentRun();
    void laterRunInfo();
    void runInfoWithoutAStart();
    void runInfoWithFrozenTimes();
    void oddRunInfo_data();
    void oddRunInfo();
    void finishWordMustMatch();
    void runResults();
    void oddRunResults_data();
    void oddRunResults();
    void runClosed();
    void runClosedUnknown_data();
    void runClosedUnknown();
    void closeButton_data();
    void closeButton();
    void closingAnEmptyRun();
    void queueStartOfAnEmptyQueue();
    void queueStart_data();
    void queueStart();
    void archiveEvents();
    void historyOrderAndLimit();
    void historyFromTheJournal();
    void historyRowLooksArchived();
    void historyKeepsRacersAndLosesParameters();
    void clearHistory_data();
    void clearHistory();
    void clearEmptyHistory();
    void historyIsStoredAtTheEndOnly();
    void restartInMidRun();
    void startAnsweredAtOnce();
    void closeAnsweredAtOnce_data();
    void closeAnsweredAtOnce();
    void queueStartAnsweredWithTheEnd();
    void closeQuestionOutlivesItsRun_data();
    void closeQuestionOutlivesItsRun();
    void removalQuestionOutlivesItsRun_data();
    void removalQuestionOutlivesItsRun();
    void racerQuestionOutlivesItsRun();
    void clearQuestionWhileARunCloses();
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString RunC = QStringLiteral("{run-c}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");

const QString Start = QStringLiteral("start_run");
const QString Close = QStringLiteral("close_run");
const QString Preset = QStringLiteral("replace_run_preset");
const QString Started = QStringLiteral("new_run_started");
const QString Info = QStringLiteral("refresh_run_info");
const QString Closed = QStringLiteral("run_closed");
const QString QueueStart = QStringLiteral("request_queue_start");

qint64 now()
{
    return QDateTime::currentSecsSinceEpoch();
}

qint64 startOf(const QJsonObject &run)
{
    return qint64(run.value(QLatin1String("runStartTime")).toDouble());
}

// Seconds of a run's start behind a moment; a test may take a moment of its own.
bool near(qint64 time, qint64 expected)
{
    if (qAbs(time - expected) <= 5)
        return true;
    qWarning("the time is %lld s off", static_cast<long long>(time - expected));
    return false;
}

QJsonObject named(const QString &guid)
{
    return {{QStringLiteral("runQueueGuid"), guid}};
}

QJsonObject closeCommand(const QString &guid)
{
    return {{QStringLiteral("command"), Close}, {QStringLiteral("runQueueGuid"), guid}};
}

// Anna in the first run, Boris on a car in the second, nobody in the third.
void seedThreeRuns(TrackOffice &office, bool frozen = false)
{
    office.seedQueue(
        {{RunA, {TrackOffice::seat(Anna, -1001)}, {{QStringLiteral("runNum"), 5}, {QStringLiteral("startTime"), 1000}}},
         {RunB,
          {TrackOffice::seat(Boris, -1001, object(R"({"carId": 4, "carNum": "9", "clientId": 12})"))},
          {{QStringLiteral("runNum"), 6}, {QStringLiteral("startTime"), 2000}}},
         {RunC, {}, {{QStringLiteral("runNum"), 7}, {QStringLiteral("startTime"), 3000}}}},
        frozen);
}

QJsonObject startPayload(const QString &guid, const QString &name, const QJsonArray &preparation)
{
    return {{QStringLiteral("autoFinishParam"), 600}, {QStringLiteral("useAutoFinish"), QStringLiteral("TIME")},
            {QStringLiteral("sortMode"), 0},          {QStringLiteral("preparation"), preparation},
            {QStringLiteral("runQueueGuid"), guid},   {QStringLiteral("runName"), name}};
}

const char AnnasRow[] = R"([{"name": "{anna}", "carId": -1, "clientId": -1, "competitorId": -1001}])";
const char BorisRow[] =
    R"([{"name": "{boris}", "carId": 4, "clientId": 12, "competitorId": -1001, "sourceSet": true}])";

bool isCurrent(TrackOffice &office, int row)
{
    return TrackOffice::hasIcon(TrackOffice::startButton(office.run(row)), "closeIcon");
}

bool isWaiting(TrackOffice &office, int row)
{
    return TrackOffice::hasIcon(TrackOffice::startButton(office.run(row)), "startRun");
}

// The run on the track, as the host tells it.
void letRun(TrackOffice &office, const QString &guid, const QString &state)
{
    office.desk().send(Started, named(guid));
    office.desk().send(Info, {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("runState"), state}});
    office.desk().clear();
}

ModalAnswer closeQuestion(QMessageBox::StandardButton answer)
{
    return ModalAnswer::messageBox(
        QString(), text("Заезд еще не завершен. При закрытии он будет перенесен в архив.\r\nТочно закрыть?"),
        QMessageBox::Yes | QMessageBox::No, answer);
}

// Makes the desk plan its queue anew: the host tells the number of its next run.
void plan(TrackOffice &office)
{
    office.desk().send(QStringLiteral("next_run_info"), object(R"({"nextRunNum": 50})"));
    office.desk().clear();
}

} // namespace

void TestRunControl::startButton_data()
{
    QTest::addColumn<QJsonObject>("item");
    QTest::addColumn<bool>("racers");
    QTest::addColumn<QJsonObject>("expected");

    const QString five = text("Заезд №5");
    QTest::newRow("plain") << object(R"({"runNum": 5})") << true << startPayload(RunA, five, array(AnnasRow));
    QTest::newRow("empty run") << object(R"({"runNum": 5})") << false << startPayload(RunA, five, {});
    QTest::newRow("named") << object(R"({"runNum": 5, "runName": "Кубок"})") << true
                           << startPayload(RunA, text("Кубок"), array(AnnasRow));
    QJsonObject laps = startPayload(RunA, five, array(AnnasRow));
    laps.insert(QStringLiteral("autoFinishParam"), 20);
    laps.insert(QStringLiteral("useAutoFinish"), QStringLiteral("LAPS"));
    laps.insert(QStringLiteral("sortMode"), 1);
    QTest::newRow("laps") << object(R"({"runNum": 5, "finishMode": 2, "finishParam": 20, "sortMode": 1})") << true
                          << laps;
    QJsonObject other = startPayload(RunA, five, array(AnnasRow));
    other.insert(QStringLiteral("autoFinishParam"), -3);
    QTest::newRow("unknown mode") << object(R"({"runNum": 5, "finishMode": 7, "finishParam": -3})") << true << other;
}

void TestRunControl::startButton()
{
    QFETCH(QJsonObject, item);
    QFETCH(bool, racers);
    QFETCH(QJsonObject, expected);
    TrackOffice office;
    office.seedQueue(
        {{RunA, racers ? QVector<QJsonObject>{TrackOffice::seat(Anna, -1001)} : QVector<QJsonObject>(), item}});
    QVERIFY(office.open());
    TrackOffice::startButton(office.run(0))->click();
    QCOMPARE(office.desk().names(), QStringList{Start});
    JSON_COMPARE(office.desk().last(Start), expected);
    // Until the host says so, nothing has begun.
    QVERIFY(isWaiting(office, 0));
    QCOMPARE(office.guids(), QStringList{RunA});
    TrackOffice::startButton(office.run(0))->click();
    QCOMPARE(office.heard(), QStringList{Start});
}

void TestRunControl::onlyTheHeadCanStart()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    QVERIFY(TrackOffice::startButton(office.run(0))->isEnabled());
    QVERIFY(!TrackOffice::startButton(office.run(1))->isEnabled());
    QVERIFY(!TrackOffice::startButton(office.run(2))->isEnabled());
    QVERIFY(isWaiting(office, 0) && isWaiting(office, 1) && isWaiting(office, 2));
}

void TestRunControl::newRunStarted()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    const qint64 begin = now();
    office.desk().send(Started, object(R"({"runNum": 31, "finishType": 1, "finishParam": 600, "runQueueGuid": "{run-a}",
                                           "runName": "Пробный"})"));
    QCOMPARE(office.heard(), publication());
    const QVector<QJsonObject> runs = office.runs();
    QCOMPARE(runs.size(), 3);
    // The number is the host's business until it reports the run.
    JSON_CONTAINS(runs.at(0), object(R"({"runNum": 5, "runName": "Пробный", "runState": "unknown"})"));
    JSON_CONTAINS(runs.at(1), object(R"({"runNum": 6, "runName": "Заезд №6"})"));
    QVERIFY(isCurrent(office, 0) && isWaiting(office, 1) && isWaiting(office, 2));
    QVERIFY(near(startOf(runs.at(0)), begin));
    QCOMPARE(startOf(runs.at(1)), startOf(runs.at(0)) + 600 + 180);
    QCOMPARE(startOf(runs.at(2)), startOf(runs.at(1)) + 600 + 180);
    JSON_CONTAINS(office.journalItems().at(0), object(R"({"runName": "Пробный", "nameForced": false})"));
}

void TestRunControl::newRunStartedWithFrozenTimes()
{
    TrackOffice office;
    seedThreeRuns(office, true);
    QVERIFY(office.open());
    office.desk().send(Started, named(RunB));
    QCOMPARE(office.heard(), publication());
    const QVector<QJsonObject> runs = office.runs();
    QCOMPARE(startOf(runs.at(0)), 1000);
    QCOMPARE(startOf(runs.at(1)), 2000);
    QCOMPARE(startOf(runs.at(2)), 3000);
    QVERIFY(isWaiting(office, 0) && isCurrent(office, 1));
}

void TestRunControl::newRunStartedUnknown_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::addColumn<int>("delay");
    // A run on the track that the queue doesn't know pushes the queue: by its planned end if that counts, and by the
    // default duration's number in any case.
    QTest::newRow("by time") << object(R"({"runQueueGuid": "{x}", "finishType": 1, "finishParam": 900})") << 900 + 180;
    QTest::newRow("by time, short") << object(R"({"runQueueGuid": "{x}", "finishType": 1, "finishParam": 2})")
                                    << 10 + 180;
    QTest::newRow("by laps") << object(R"({"runQueueGuid": "{x}", "finishType": 2, "finishParam": 900})") << 10 + 180;
    QTest::newRow("none") << object(R"({"runQueueGuid": "{x}", "finishType": 0, "finishParam": 900})") << 10 + 180;
    QTest::newRow("type absent") << object(R"({"runQueueGuid": "{x}", "finishParam": 900})") << 10 + 180;
    QTest::newRow("type as text") << object(R"({"finishType": "1", "finishParam": 900})") << 10 + 180;
    QTest::newRow("parameter absent") << object(R"({"finishType": 1})") << 10 + 180;
    QTest::newRow("nothing") << QJsonObject() << 10 + 180;
}

void TestRunControl::newRunStartedUnknown()
{
    QFETCH(QJsonObject, payload);
    QFETCH(int, delay);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Started, payload);
    QCOMPARE(office.heard(), publication());
    QVERIFY(near(startOf(office.runs().at(0)), now() + delay));
    QVERIFY(isWaiting(office, 0) && isWaiting(office, 1) && isWaiting(office, 2));
}

void TestRunControl::newRunStartedEndsFormerRuns()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Started, named(RunA));
    QVERIFY(isCurrent(office, 0));
    office.desk().send(Started, named(RunB));
    QVERIFY(isWaiting(office, 0) && isCurrent(office, 1));
    // A start of nobody's leaves the present one alone, a start of a stranger does not.
    office.desk().send(Started, {});
    QVERIFY(isWaiting(office, 0) && isCurrent(office, 1));
    office.desk().send(Started, named(QStringLiteral("{x}")));
    QVERIFY(isWaiting(office, 0) && isWaiting(office, 1));
}

void TestRunControl::newRunStartedOddly()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    // An unknown number of the finish type leaves the word that stood before.
    office.desk().send(Started, object(R"({"runQueueGuid": "{x}", "finishType": 1, "finishParam": 900})"));
    office.desk().send(Started, object(R"({"runQueueGuid": "{x}", "finishType": 9, "finishParam": 700})"));
    QVERIFY(near(startOf(office.runs().at(0)), now() + 700 + 180));
    office.desk().clear();
    office.desk().send(Started,
                       object(R"({"runQueueGuid": "{run-a}", "runNum": "x", "finishType": {}, "finishParam": "y",
                                           "runName": 7})"));
    QCOMPARE(office.heard(), publication());
    QVERIFY(isCurrent(office, 0));
    JSON_CONTAINS(office.runs().at(0), object(R"({"runName": "Заезд №5", "runNum": 5})"));
    office.desk().send(Started, object(R"({"runQueueGuid": 12})"));
    QCOMPARE(office.heard(), publication());
    QVERIFY(isCurrent(office, 0));
}

void TestRunControl::lastRunNumber()
{
    for (const QString &event : {Started, Info}) {
        TrackOffice office;
        QVERIFY(office.open());
        office.desk().send(event, object(R"({"runNum": 31})"));
        const ModalAnswer add = ModalAnswer::dialog(text("Добавить заезды"), [](QDialog *dialog) { dialog->accept(); });
        office.desk().find<QPushButton *>(QStringLiteral("bAddRun"))->click();
        MODAL_VERIFY(add);
        QCOMPARE(office.runs().value(0).value(QLatin1String("runNum")).toInt(), 32);
    }
}

void TestRunControl::firstRunInfoFindsTheCurrentRun()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Info,
                       object(R"({"runQueueGuid": "{run-a}", "runNum": 40, "runStartTs": 1700000000999, "runId": 8,
                                        "finishParam": 600, "finishType": "finishByTime", "runName": "Первый",
                                        "runState": "running"})"));
    QCOMPARE(office.desk().names(), publication() + QStringList{Preset} + publication());
    JSON_COMPARE(office.desk().last(Preset),
                 QJsonObject({{QStringLiteral("runQueueGuid"), RunA}, {QStringLiteral("preset"), array(AnnasRow)}}));
    office.desk().clear();
    QVERIFY(isCurrent(office, 0) && isWaiting(office, 1));
    JSON_CONTAINS(office.runs().at(0),
                  object(R"({"runNum": 40, "runName": "Первый", "runState": "running", "runStartTime": 1700000000})"));
    // Only the first report decides which run is on the track.
    office.desk().send(Info, object(R"({"runQueueGuid": "{run-b}", "runNum": 41, "runState": "running"})"));
    QCOMPARE(office.heard(), QStringList{Preset} + publication());
    QVERIFY(isCurrent(office, 0) && isWaiting(office, 1));
}

void TestRunControl::laterRunInfo()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Info, {});
    QCOMPARE(office.heard(), publication());
    QVERIFY(isWaiting(office, 0) && isWaiting(office, 1) && isWaiting(office, 2));

    const QJsonObject report = object(R"({"runQueueGuid": "{run-b}", "runNum": 41, "runStartTs": 5999, "runId": 8,
                                          "runName": "Заезд", "runState": "prepared"})");
    office.desk().send(Info, report);
    QCOMPARE(office.desk().names(), QStringList{Preset} + publication());
    JSON_COMPARE(office.desk().last(Preset),
                 QJsonObject({{QStringLiteral("runQueueGuid"), RunB}, {QStringLiteral("preset"), array(BorisRow)}}));
    office.desk().clear();
    JSON_CONTAINS(office.runs().at(1),
                  object(R"({"runNum": 41, "runName": "Заезд", "runState": "prepared", "runStartTime": 5})"));
    JSON_CONTAINS(office.runs().at(0), object(R"({"runNum": 5, "runName": "Заезд №5", "runState": "unknown"})"));
    // The same word again is no news.
    office.desk().send(Info, report);
    QCOMPARE(office.heard(), QStringList());
    // A run that the queue doesn't know is followed, but nothing is told.
    office.desk().send(Info, object(R"({"runQueueGuid": "{x}", "runStartTs": 1000, "runState": "running"})"));
    QCOMPARE(office.heard(), QStringList());
    QVERIFY(isWaiting(office, 1));
}

void TestRunControl::runInfoWithoutAStart()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Info, {});
    for (const char *report :
         {R"({"runQueueGuid": "{run-b}", "runStartTs": 0})", R"({"runQueueGuid": "{run-b}"})",
          R"({"runQueueGuid": "{run-b}", "runStartTs": {}})", R"({"runQueueGuid": "{run-b}", "runStartTs": 999})"}) {
        office.desk().send(Info, object(R"({"runQueueGuid": "{run-b}", "runStartTs": 5000})"));
        QCOMPARE(startOf(office.runs().at(1)), 5);
        office.desk().send(Info, object(report));
        QVERIFY2(near(startOf(office.runs().at(1)), now()), report);
    }
    office.desk().send(Info, object(R"({"runQueueGuid": "{run-b}", "runStartTs": -1500})"));
    QCOMPARE(startOf(office.runs().at(1)), -1);
    office.desk().send(Info, object(R"({"runQueueGuid": "{run-b}", "runStartTs": 8589934592000})"));
    QCOMPARE(startOf(office.runs().at(1)), Q_INT64_C(8589934592));
}

void TestRunControl::runInfoWithFrozenTimes()
{
    TrackOffice office;
    seedThreeRuns(office, true);
    QVERIFY(office.open());
    office.desk().send(Info, object(R"({"runQueueGuid": "{run-a}", "runStartTs": 5000, "runState": "running"})"));
    QCOMPARE(startOf(office.runs().at(0)), 1000);
    QVERIFY(isCurrent(office, 0));
}

void TestRunControl::oddRunInfo_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("identity only") << object(R"({"runQueueGuid": "{run-a}"})");
    QTest::newRow("wrong types") << object(R"({"runQueueGuid": "{run-a}", "runNum": "7", "runStartTs": [], "runId": {},
        "finishParam": "600", "finishType": 1, "runName": 5, "runState": true})");
    QTest::newRow("nulls") << object(R"({"runQueueGuid": "{run-a}", "runNum": null, "runStartTs": null, "runId": null,
        "finishParam": null, "finishType": null, "runName": null, "runState": null})");
}

void TestRunControl::oddRunInfo()
{
    QFETCH(QJsonObject, payload);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Info,
                       object(R"({"runQueueGuid": "{run-a}", "runNum": 9, "runName": "Имя", "runState": "running"})"));
    office.desk().clear();
    office.desk().send(Info, payload);
    QCOMPARE(office.heard(), QStringList{Preset} + publication());
    JSON_CONTAINS(office.runs().at(0), object(R"({"runNum": 0, "runName": "Заезд №0", "runState": ""})"));
    QVERIFY(near(startOf(office.runs().at(0)), now()));
    QVERIFY(isCurrent(office, 0));
}

void TestRunControl::finishWordMustMatch()
{
    const QList<QPair<QJsonValue, int>> words{{QStringLiteral("finishByTime"), 900},
                                              {QStringLiteral("TIME"), 10},
                                              {QStringLiteral("finishByLaps"), 10},
                                              {1, 10}};
    for (const auto &word : words) {
        TrackOffice office;
        seedThreeRuns(office);
        QVERIFY(office.open());
        office.desk().send(Info, {{QStringLiteral("runQueueGuid"), QStringLiteral("{x}")},
                                  {QStringLiteral("runStartTs"), now() * 1000.0},
                                  {QStringLiteral("finishParam"), 900},
                                  {QStringLiteral("finishType"), word.first}});
        QVERIFY2(near(startOf(office.runs().at(0)), now() + word.second + 180),
                 qPrintable(JsonMatch::text(word.first)));
    }
}

void TestRunControl::runResults()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001), TrackOffice::seat(Boris, -1002)}},
                      {RunB, {TrackOffice::seat(Boris, -1001)}}});
    QVERIFY(office.open());
    const QByteArray journal = office.track().readJournal(QStringLiteral("runslist.state"));
    office.desk().send(QStringLiteral("refresh_run_results"), object(R"({"runQueueGuid": "{run-a}", "results": [
        {"competitorId": -1002, "state": 3, "laps": 4}, {"competitorId": -1009, "state": 5}, {"competitorId": -1001}]})"));
    QCOMPARE(office.heard(), QStringList());
    QCOMPARE(office.track().readJournal(QStringLiteral("runslist.state")), journal);
    QCOMPARE(office.racer(0, Boris).value(QLatin1String("competitorState")), QJsonValue(3));
    QVERIFY(!office.racer(0, Boris).contains(QLatin1String("laps")));
    QVERIFY(!office.racer(1, Boris).contains(QLatin1String("competitorState")));
    office.desk().send(QStringLiteral("refresh_run_results"),
                       object(R"({"runQueueGuid": "{run-a}", "results": [{"competitorId": -1002, "state": 0}]})"));
    QCOMPARE(office.racer(0, Boris).value(QLatin1String("competitorState")), QJsonValue(0));
}

void TestRunControl::oddRunResults_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("no identity") << object(R"({"results": [{"competitorId": -1001, "state": 5}]})");
    QTest::newRow("empty identity") << object(
        R"({"runQueueGuid": "", "results": [{"competitorId": -1001, "state": 5}]})");
    QTest::newRow("unknown run") << object(
        R"({"runQueueGuid": "{x}", "results": [{"competitorId": -1001, "state": 5}]})");
    QTest::newRow("current is no identity")
        << object(R"({"runQueueGuid": "current", "results": [{"competitorId": -1001, "state": 5}]})");
    QTest::newRow("identity as list") << object(
        R"({"runQueueGuid": ["{run-a}"], "results": [{"competitorId": -1001, "state": 5}]})");
    QTest::newRow("no results") << object(R"({"runQueueGuid": "{run-a}"})");
    QTest::newRow("results as object") << object(
        R"({"runQueueGuid": "{run-a}", "results": {"competitorId": -1001, "state": 5}})");
    QTest::newRow("junk") << object(R"({"runQueueGuid": "{run-a}", "results": [1, null, "x", [], {},
        {"competitorId": "-1001", "state": 5}, {"state": 5}]})");
}

void TestRunControl::oddRunResults()
{
    QFETCH(QJsonObject, payload);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(QStringLiteral("refresh_run_results"), payload);
    QCOMPARE(office.heard(), QStringList());
    QVERIFY(!office.racer(0, Anna).contains(QLatin1String("competitorState")));
    QVERIFY(!office.racer(1, Boris).contains(QLatin1String("competitorState")));
}

void TestRunControl::runClosed()
{
    TrackOffice office;
    seedThreeRuns(office, true);
    QVERIFY(office.open());
    office.desk().send(Started, named(RunA));
    office.desk().clear();
    office.desk().send(Closed, named(RunA));
    // Neither planned nor published: the timer or the next change does that.
    QCOMPARE(office.heard(), QStringList());
    QCOMPARE(office.queue()->count(), 2);
    QCOMPARE(office.history()->count(), 1);
    QVERIFY(!TrackOffice::startButton(office.run(0))->isEnabled());
    QCOMPARE(office.guids(), QStringList({RunB, RunC}));
    QCOMPARE(office.pastGuids(), QStringList{RunA});
    plan(office);
    QVERIFY(TrackOffice::startButton(office.run(0))->isEnabled());
    // A second word about the same run does nothing more.
    office.desk().send(Closed, named(RunA));
    QCOMPARE(office.pastGuids(), QStringList{RunA});
    // A run without racers leaves no trace.
    office.desk().send(Closed, named(RunC));
    QCOMPARE(office.guids(), QStringList{RunB});
    QCOMPARE(office.pastGuids(), QStringList{RunA});
}

void TestRunControl::runClosedUnknown_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("unknown") << named(QStringLiteral("{x}"));
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("number") << object(R"({"runQueueGuid": 3})");
    QTest::newRow("current is no identity") << object(R"({"runQueueGuid": "current"})");
}

void TestRunControl::runClosedUnknown()
{
    QFETCH(QJsonObject, payload);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Started, object(R"({"runQueueGuid": "{x}", "finishType": 1, "finishParam": 900})"));
    QVERIFY(near(startOf(office.runs().at(0)), now() + 900 + 180));
    office.desk().send(Closed, payload);
    QCOMPARE(office.heard(), QStringList());
    QCOMPARE(office.guids(), QStringList({RunA, RunB, RunC}));
    QCOMPARE(office.pastGuids(), QStringList());
    plan(office);
    QVERIFY(near(startOf(office.runs().at(0)), now() + 180));
}

void TestRunControl::closeButton_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closes");
    QTest::newRow("running, yes") << "running" << int(QMessageBox::Yes) << true;
    QTest::newRow("running, no") << "running" << int(QMessageBox::No) << false;
    QTest::newRow("unknown, yes") << "unknown" << int(QMessageBox::Yes) << true;
    QTest::newRow("unknown, no") << "unknown" << int(QMessageBox::No) << false;
    QTest::newRow("finished") << "finished" << int(QMessageBox::NoButton) << true;
}

void TestRunControl::closeButton()
{
    QFETCH(QString, state);
    QFETCH(int, answer);
    QFETCH(bool, closes);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    letRun(office, RunA, state);
    QVERIFY(isCurrent(office, 0));
    if (answer == QMessageBox::NoButton) {
        TrackOffice::startButton(office.run(0))->click();
    } else {
        const ModalAnswer question = closeQuestion(QMessageBox::StandardButton(answer));
        TrackOffice::startButton(office.run(0))->click();
        MODAL_VERIFY(question);
    }
    if (!closes) {
        QCOMPARE(office.heard(), QStringList());
        QVERIFY(isCurrent(office, 0));
        QCOMPARE(office.guids(), QStringList({RunA, RunB, RunC}));
        return;
    }
    QCOMPARE(office.desk().names(), QStringList{Close} + publication());
    JSON_COMPARE(office.desk().last(Close), closeCommand(RunA));
    const QJsonObject told = office.desk().last(QStringLiteral("local_request_answer"));
    QCOMPARE(told.value(QLatin1String("runHistory")).toObject().value(QLatin1String("runHistoryList")).toArray().size(),
             1);
    QCOMPARE(office.guids(), QStringList({RunB, RunC}));
    QCOMPARE(office.pastGuids(), QStringList{RunA});
    QVERIFY(TrackOffice::startButton(office.run(0))->isEnabled());
    QVERIFY(near(startOf(office.runs().at(0)), now() + 180));
    // The host's own word comes afterwards and finds nothing.
    office.desk().send(Closed, named(RunA));
    QCOMPARE(office.heard(), QStringList());
    QCOMPARE(office.pastGuids(), QStringList{RunA});
}

void TestRunControl::closingAnEmptyRun()
{
    TrackOffice office;
    office.seedQueue({{RunC, {}}});
    QVERIFY(office.open());
    letRun(office, RunC, QStringLiteral("finished"));
    TrackOffice::startButton(office.run(0))->click();
    QCOMPARE(office.desk().names(), QStringList{Close} + publication());
    JSON_COMPARE(office.desk().last(Close), closeCommand(RunC));
    QCOMPARE(office.queue()->count(), 0);
    QCOMPARE(office.history()->count(), 0);
}

void TestRunControl::queueStartOfAnEmptyQueue()
{
    TrackOffice office;
    QVERIFY(office.open());
    const QJsonObject payload = object(R"({"startingHits": [1, 2], "anything": {"a": null}})");
    office.desk().send(QueueStart, payload);
    QCOMPARE(office.desk().names(), QStringList{Start});
    JSON_COMPARE(office.desk().last(Start), payload);
    office.desk().clear();
    office.desk().send(QueueStart);
    QCOMPARE(office.desk().names(), QStringList{Start});
    JSON_COMPARE(office.desk().last(Start), QJsonObject());
}

void TestRunControl::queueStart_data()
{
    QTest::addColumn<QStringList>("queue"); // a: Anna, b: Boris, c: nobody
    QTest::addColumn<bool>("current");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QJsonObject>("payload");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("started");
    QTest::addColumn<QStringList>("left");

    const QStringList starts{Start};
    const QStringList closes = QStringList{Close} + publication();
    QTest::newRow("waiting head") << QStringList{RunA, RunB} << false << "" << QJsonObject() << starts << RunA
                                  << QStringList{RunA, RunB};
    QTest::newRow("waiting head with hits")
        << QStringList{RunA} << false << "" << object(R"({"startingHits": [{"id": 5}], "other": 1})") << starts << RunA
        << QStringList{RunA};
    QTest::newRow("hits of another type") << QStringList{RunA} << false << "" << object(R"({"startingHits": "x"})")
                                          << starts << RunA << QStringList{RunA};
    QTest::newRow("hits null") << QStringList{RunA} << false << "" << object(R"({"startingHits": null})") << starts
                               << RunA << QStringList{RunA};
    QTest::newRow("empty head") << QStringList{RunC, RunA} << false << "" << QJsonObject() << QStringList() << ""
                                << QStringList{RunC, RunA};
    QTest::newRow("running") << QStringList{RunA, RunB} << true << "running" << QJsonObject() << QStringList() << ""
                             << QStringList{RunA, RunB};
    QTest::newRow("running with hits") << QStringList{RunA, RunB} << true << "running"
                                       << object(R"({"startingHits": [1]})") << QStringList() << ""
                                       << QStringList{RunA, RunB};
    QTest::newRow("finished") << QStringList{RunA, RunB} << true << "finished" << object(R"({"startingHits": [1]})")
                              << closes + starts << RunB << QStringList{RunB};
    QTest::newRow("prepared") << QStringList{RunA, RunB} << true << "prepared" << QJsonObject() << closes + starts
                              << RunB << QStringList{RunB};
    QTest::newRow("finished and empty next")
        << QStringList{RunA, RunC} << true << "finished" << QJsonObject() << closes << "" << QStringList{RunC};
    QTest::newRow("finished and alone") << QStringList{RunA} << true << "finished" << object(R"({"startingHits": [1]})")
                                        << closes << "" << QStringList();
    QTest::newRow("waiting, said to be finished")
        << QStringList{RunA, RunB} << false << "finished" << QJsonObject() << starts << RunA << QStringList{RunA, RunB};
    QTest::newRow("waiting, said to be running") << QStringList{RunA, RunB} << false << "running" << QJsonObject()
                                                 << QStringList() << "" << QStringList{RunA, RunB};
}

void TestRunControl::queueStart()
{
    QFETCH(QStringList, queue);
    QFETCH(bool, current);
    QFETCH(QString, state);
    QFETCH(QJsonObject, payload);
    QFETCH(QStringList, names);
    QFETCH(QString, started);
    QFETCH(QStringList, left);
    TrackOffice office;
    QVector<TrackOffice::Run> runs;
    for (const QString &guid : qAsConst(queue)) {
        QVector<QJsonObject> seats;
        if (guid == RunA)
            seats = {TrackOffice::seat(Anna, -1001)};
        else if (guid == RunB)
            seats = {TrackOffice::seat(Boris, -1001, object(R"({"carId": 4, "carNum": "9", "clientId": 12})"))};
        runs.append({guid, seats, object(R"({"runName": "Имя"})")});
    }
    office.seedQueue(runs);
    QVERIFY(office.open());
    office.desk().send(Info, {}); // the first report would make its run the current one
    if (current)
        office.desk().send(Started,
                           {{QStringLiteral("runQueueGuid"), queue.first()}, {QStringLiteral("runName"), text("Имя")}});
    if (!state.isEmpty())
        office.desk().send(Info, {{QStringLiteral("runQueueGuid"), queue.first()},
                                  {QStringLiteral("runName"), text("Имя")},
                                  {QStringLiteral("runState"), state}});
    office.desk().clear();
    office.desk().send(QueueStart, payload);
    QCOMPARE(office.desk().names(), names);
    if (names.contains(Close))
        JSON_COMPARE(office.desk().last(Close), closeCommand(queue.first()));
    if (!started.isEmpty()) {
        QJsonObject expected = startPayload(started, text("Имя"), array(started == RunA ? AnnasRow : BorisRow));
        if (payload.contains(QLatin1String("startingHits")))
            expected.insert(QStringLiteral("startingHits"), payload.value(QLatin1String("startingHits")));
        JSON_COMPARE(office.desk().last(Start), expected);
    }
    QCOMPARE(office.guids(), left);
    QCOMPARE(office.pastGuids(), names.contains(Close) ? QStringList{queue.first()} : QStringList());
}

void TestRunControl::archiveEvents()
{
    TrackOffice office;
    QVERIFY(office.open());
    office.desk().send(QStringLiteral("run_saved_to_db"));
    QCOMPARE(office.desk().names(), QStringList{QStringLiteral("reload_runs_archive")});
    JSON_COMPARE(office.desk().last(QStringLiteral("reload_runs_archive")), object(R"({"limitHours": 24})"));
    office.desk().clear();
    office.desk().send(QStringLiteral("runs_archive_list"), object(R"({"runs": [{"id": 3}], "more": 1})"));
    QCOMPARE(office.desk().names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_COMPARE(office.desk().last(QStringLiteral("local_request_answer")), object(R"({"runsArchive": [{"id": 3}]})"));
}

void TestRunControl::historyOrderAndLimit()
{
    TrackOffice office;
    seedThreeRuns(office);
    QJsonArray past;
    for (int i = 0; i < 99; ++i)
        past.append(TrackOffice::pastRun(QStringLiteral("{past-%1}").arg(i), 1000 + i));
    office.seedHistory(past);
    QVERIFY(office.open());
    QCOMPARE(office.history()->count(), 99);
    office.desk().send(Closed, named(RunA));
    QCOMPARE(office.history()->count(), 100);
    QCOMPARE(office.history()->currentRow(), 0);
    QStringList guids = office.pastGuids();
    QCOMPARE(guids.mid(0, 3), QStringList({RunA, QStringLiteral("{past-98}"), QStringLiteral("{past-97}")}));
    QCOMPARE(guids.last(), QStringLiteral("{past-0}"));
    office.desk().send(Closed, named(RunB));
    QCOMPARE(office.history()->count(), 100);
    QCOMPARE(office.history()->currentRow(), 0);
    guids = office.pastGuids();
    QCOMPARE(guids.mid(0, 2), QStringList({RunB, RunA}));
    QCOMPARE(guids.last(), QStringLiteral("{past-1}"));
    const QVector<QJsonObject> runs = office.pastRuns();
    for (int row = 0; row < runs.size(); ++row)
        QCOMPARE(runs.at(row).value(QLatin1String("runIndex")).toInt(-1), row);
}

void TestRunControl::historyFromTheJournal()
{
    TrackOffice office;
    QJsonObject empty = TrackOffice::pastRun(QStringLiteral("{empty}"), 5000);
    empty.insert(QStringLiteral("runCompetitors"), QJsonObject());
    QJsonArray past{TrackOffice::pastRun(QStringLiteral("{20}"), 20),
                    empty,
                    TrackOffice::pastRun(QStringLiteral("{30}"), 30),
                    TrackOffice::pastRun(QStringLiteral("{10}"), 10),
                    7,
                    QJsonValue(),
                    QStringLiteral("x")};
    office.seedHistory(past);
    QVERIFY(office.open());
    QCOMPARE(office.pastGuids(), QStringList({QStringLiteral("{30}"), QStringLiteral("{20}"), QStringLiteral("{10}")}));
}

void TestRunControl::historyRowLooksArchived()
{
    TrackOffice office;
    office.seedQueue(
        {{RunA, {TrackOffice::seat(Anna, -1001)}, object(R"({"runLocked": true, "runColor": "#0000ff"})")}});
    QVERIFY(office.open());
    letRun(office, RunA, QStringLiteral("finished"));
    office.desk().send(Closed, named(RunA));
    QWidget *past = office.pastRun(0);
    QVERIFY(past);
    const QList<QPushButton *> buttons = past->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 2);
    for (const QPushButton *button : buttons)
        QVERIFY(button->isHidden());
    QCOMPARE(office.history()->item(0)->sizeHint(), QSize(0, past->height()));
    const QImage picture = TrackOffice::picture(past);
    const QRect cell = TrackOffice::cell(past, 0);
    QCOMPARE(QColor(picture.pixel(cell.left() + 2, cell.center().y())), QColor(Qt::gray));
    // No lock pattern, no tint, no checkerboard: outside of the cell and the texts the row is plain.
    const QRgb plain = picture.pixel(past->width() - 4, past->height() - 4);
    for (int x = 3; x < 30; ++x) {
        for (int y = 3; y < past->height() - 3; ++y)
            QCOMPARE(picture.pixel(x, y), plain);
    }
    QVERIFY(!office.pastRuns().at(0).value(QLatin1String("runLocked")).toBool(true));
}

void TestRunControl::historyKeepsRacersAndLosesParameters()
{
    TrackOffice office;
    office.seedQueue(
        {{RunA,
          {TrackOffice::seat(Anna, -1001), TrackOffice::seat(Boris, -1002)},
          object(R"({"runNum": 12, "finishMode": 2, "finishParam": 20, "sortMode": 1, "runLocked": true})")}});
    QVERIFY(office.open());
    letRun(office, RunA, QStringLiteral("finished"));
    office.desk().send(QStringLiteral("refresh_run_info"),
                       object(
                           R"({"runQueueGuid": "{run-a}", "runNum": 44, "runStartTs": 7000, "runState": "finished"})"));
    office.desk().send(Closed, named(RunA));
    QJsonObject run = office.pastRuns().value(0);
    const QJsonObject racers = run.take(QStringLiteral("runCompetitors")).toObject();
    // An archived run has a name of its own: its title, if it had none.
    JSON_COMPARE(run, object(R"({"runQueueGuid": "{run-a}", "runName": "Заезд №44", "runNum": 44, "runState": "unknown",
        "runDuration": 600, "finishParam": 600, "finishMode": 1, "finishType": 1, "sortMode": 0, "sortType": 0,
        "runStartTime": 7, "runLocked": false, "runIndex": 0})"));
    QCOMPARE(racers.keys(), QStringList({QStringLiteral("-1001"), QStringLiteral("-1002")}));
    JSON_CONTAINS(racers,
                  object(R"({"-1001": {"uuid": "{anna}", "pinCodes": ["0101"]}, "-1002": {"uuid": "{boris}"}})"));
}

void TestRunControl::clearHistory_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("yes") << int(QMessageBox::Yes);
    QTest::newRow("no") << int(QMessageBox::No);
}

void TestRunControl::clearHistory()
{
    QFETCH(int, answer);
    TrackOffice office;
    office.seedHistory(
        {TrackOffice::pastRun(QStringLiteral("{10}"), 10), TrackOffice::pastRun(QStringLiteral("{20}"), 20)});
    QVERIFY(office.open());
    const ModalAnswer question =
        ModalAnswer::messageBox(text("Подтверждение"),
                                text("Точно удалить?\nДанные истории заездов будут более недоступны."),
                                QMessageBox::Yes | QMessageBox::No, QMessageBox::StandardButton(answer));
    office.desk().find<QPushButton *>(QStringLiteral("pbClearRunsHistory"))->click();
    MODAL_VERIFY(question);
    if (answer == QMessageBox::Yes) {
        QCOMPARE(office.heard(), publication());
        QCOMPARE(office.history()->count(), 0);
    } else {
        QCOMPARE(office.heard(), QStringList());
        QCOMPARE(office.history()->count(), 2);
    }
}

void TestRunControl::clearEmptyHistory()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    auto *button = office.desk().find<QPushButton *>(QStringLiteral("pbClearRunsHistory"));
    QCOMPARE(button->text(), text("Очистить\nисторию"));
    bool asked = false;
    const ModalAnswer question = ModalAnswer::widget([&](QWidget *) { asked = true; });
    button->click();
    HostProbe::settle();
    QVERIFY(!asked);
    QCOMPARE(office.heard(), QStringList());
    QCOMPARE(office.queue()->count(), 3);
}

void TestRunControl::historyIsStoredAtTheEndOnly()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    const QString file = QStringLiteral("runshistory.state");
    office.desk().send(Closed, named(RunA));
    office.publish();
    QVERIFY(!office.track().hasJournal(file));
    QVERIFY(office.reopen());
    QVERIFY(office.track().hasJournal(file));
    QCOMPARE(office.pastGuids(), QStringList{RunA});
    QCOMPARE(office.guids(), QStringList({RunB, RunC}));
}

void TestRunControl::restartInMidRun()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    TrackOffice::startButton(office.run(0))->click();
    office.desk().send(Started,
                       object(R"({"runQueueGuid": "{run-a}", "runNum": 5, "finishType": 1, "finishParam": 600})"));
    const qint64 began = now() - 100;
    const QJsonObject report{{QStringLiteral("runQueueGuid"), RunA},
                             {QStringLiteral("runNum"), 5},
                             {QStringLiteral("runId"), 8},
                             {QStringLiteral("runStartTs"), began * 1000.0},
                             {QStringLiteral("finishParam"), 600},
                             {QStringLiteral("finishType"), QStringLiteral("finishByTime")},
                             {QStringLiteral("runName"), text("Заезд №5")},
                             {QStringLiteral("runState"), QStringLiteral("running")}};
    office.desk().send(Info, report);
    QVERIFY(isCurrent(office, 0));

    QVERIFY(office.reopen());
    QCOMPARE(office.guids(), QStringList({RunA, RunB, RunC}));
    QVERIFY(isWaiting(office, 0));
    office.desk().send(Info, report);
    QCOMPARE(office.heard(), publication() + QStringList{Preset} + publication());
    QVERIFY(isCurrent(office, 0) && isWaiting(office, 1));
    QCOMPARE(startOf(office.runs().at(0)), began);
    plan(office);
    QCOMPARE(startOf(office.runs().at(0)), began);
    QCOMPARE(startOf(office.runs().at(1)), began + 600 + 180);
    // The run is asked about once more when the host would go on, and closed as ever.
    office.desk().send(QueueStart);
    QCOMPARE(office.heard(), QStringList());
    office.desk().send(Closed, named(RunA));
    QCOMPARE(office.pastGuids(), QStringList{RunA});
    QCOMPARE(office.guids(), QStringList({RunB, RunC}));
}

// The host answers the start before the start has returned.
void TestRunControl::startAnsweredAtOnce()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    connect(office.desk().plugin(), &VanePluginInterface::pluginSignal, this,
            [&](const QString &, const QString &name, const QJsonObject &data) {
                if (name == Start)
                    office.desk().send(Started, named(data.value(QLatin1String("runQueueGuid")).toString()));
            });
    TrackOffice::startButton(office.run(0))->click();
    QCOMPARE(office.heard(), QStringList{Start} + publication());
    QVERIFY(isCurrent(office, 0) && isWaiting(office, 1));
    QVERIFY(near(startOf(office.runs().at(0)), now()));
    QCOMPARE(office.pastGuids(), QStringList());
}

void TestRunControl::closeAnsweredAtOnce_data()
{
    QTest::addColumn<QString>("by");
    QTest::newRow("button") << "button";
    QTest::newRow("host's next start") << "request_queue_start";
}

// The host answers the end before the end has returned: the run goes into the history once.
void TestRunControl::closeAnsweredAtOnce()
{
    QFETCH(QString, by);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    letRun(office, RunA, QStringLiteral("finished"));
    connect(office.desk().plugin(), &VanePluginInterface::pluginSignal, this,
            [&](const QString &, const QString &name, const QJsonObject &data) {
                if (name == Close)
                    office.desk().send(Closed, named(data.value(QLatin1String("runQueueGuid")).toString()));
            });
    if (by == QLatin1String("button")) {
        TrackOffice::startButton(office.run(0))->click();
        QCOMPARE(office.heard(), QStringList{Close} + publication());
    } else {
        office.desk().send(QueueStart);
        QCOMPARE(office.desk().names(), QStringList{Close} + publication() + QStringList{Start});
        QCOMPARE(office.desk().last(Start).value(QLatin1String("runQueueGuid")).toString(), RunB);
    }
    QCoreApplication::processEvents();
    QCOMPARE(office.guids(), QStringList({RunB, RunC}));
    QCOMPARE(office.pastGuids(), QStringList{RunA});
    QVERIFY(TrackOffice::startButton(office.run(0))->isEnabled());
}

// The host takes every run away when it hears of an end.
void TestRunControl::queueStartAnsweredWithTheEnd()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    letRun(office, RunA, QStringLiteral("finished"));
    connect(office.desk().plugin(), &VanePluginInterface::pluginSignal, this,
            [&](const QString &, const QString &name, const QJsonObject &) {
                if (name != Close)
                    return;
                for (const QString &guid : {RunC, RunB, RunA})
                    office.desk().send(Closed, named(guid));
            });
    office.desk().send(QueueStart);
    QCOMPARE(office.desk().count(Start), 0);
    QCOMPARE(office.guids(), QStringList());
    QStringList past = office.pastGuids();
    past.sort();
    QCOMPARE(past, QStringList({RunA, RunB}));
}

void TestRunControl::closeQuestionOutlivesItsRun_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<int>("answer");
    for (const auto answer : {QMessageBox::Yes, QMessageBox::No}) {
        const char *name = answer == QMessageBox::Yes ? "yes" : "no";
        QTest::addRow("its run, %s", name) << RunA << int(answer);
        QTest::addRow("a neighbour, %s", name) << RunB << int(answer);
    }
}

void TestRunControl::closeQuestionOutlivesItsRun()
{
    QFETCH(QString, closed);
    QFETCH(int, answer);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    letRun(office, RunA, QStringLiteral("running"));
    BoxFacts facts;
    const ModalAnswer question = answerBox(&facts, QMessageBox::StandardButton(answer), [&] {
        office.desk().send(Closed, named(closed));
        HostProbe::settle(20);
        office.desk().clear();
    });
    TrackOffice::startButton(office.run(0))->click();
    MODAL_VERIFY(question);
    QCoreApplication::processEvents();
    if (closed == RunA) {
        QCOMPARE(office.desk().count(Close), 0);
        QCOMPARE(office.desk().count(Start), 0);
        QCOMPARE(office.guids(), QStringList({RunB, RunC}));
        QCOMPARE(office.pastGuids(), QStringList{RunA});
    } else if (answer == QMessageBox::Yes) {
        QCOMPARE(office.heard(), QStringList{Close} + publication());
        QCOMPARE(office.guids(), QStringList{RunC});
        QCOMPARE(office.pastGuids(), QStringList({RunA, RunB}));
    } else {
        QCOMPARE(office.heard(), QStringList());
        QCOMPARE(office.guids(), QStringList({RunA, RunC}));
        QCOMPARE(office.pastGuids(), QStringList{RunB});
    }
}

void TestRunControl::removalQuestionOutlivesItsRun_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<QStringList>("past");
    QTest::newRow("its run, yes") << RunA << int(QMessageBox::Yes) << QStringList{RunB, RunC} << QStringList{RunA};
    QTest::newRow("its run, no") << RunA << int(QMessageBox::No) << QStringList{RunB, RunC} << QStringList{RunA};
    QTest::newRow("a neighbour, yes") << RunB << int(QMessageBox::Yes) << QStringList{RunC} << QStringList{RunA, RunB};
    QTest::newRow("a neighbour, no") << RunB << int(QMessageBox::No) << QStringList{RunA, RunC} << QStringList{RunB};
}

void TestRunControl::removalQuestionOutlivesItsRun()
{
    QFETCH(QString, closed);
    QFETCH(int, answer);
    QFETCH(QStringList, left);
    QFETCH(QStringList, past);
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.queue()->clearSelection();
    office.queue()->setCurrentRow(0);
    office.queue()->item(0)->setSelected(true);
    BoxFacts facts;
    const ModalAnswer question = answerBox(&facts, QMessageBox::StandardButton(answer), [&] {
        office.desk().send(Closed, named(closed));
        HostProbe::settle(20);
    });
    office.desk().find<QAction *>(QStringLiteral("actionRemoveRun"))->trigger();
    MODAL_VERIFY(question);
    QCOMPARE(facts.title, text("Подтверждение"));
    QCOMPARE(facts.text, text("Точно удалить?"));
    QCOMPARE(office.guids(), left);
    QCOMPARE(office.pastGuids(), past);
}

void TestRunControl::racerQuestionOutlivesItsRun()
{
    TrackOffice office;
    seedThreeRuns(office);
    QVERIFY(office.open());
    office.desk().send(Closed, named(RunB));
    TrackOffice::clickCell(office.run(0), 0);
    BoxFacts facts;
    const ModalAnswer question = answerBox(&facts, QMessageBox::Yes, [&] {
        office.desk().send(Closed, named(RunA));
        HostProbe::settle(20);
    });
    office.desk().find<QAction *>(QStringLiteral("actionRemoveFromRun"))->trigger();
    MODAL_VERIFY(question);
    QCOMPARE(office.guids(), QStringList{RunC});
    const QVector<QJsonObject> past = office.pastRuns();
    QCOMPARE(past.size(), 2);
    for (const QJsonObject &run : past)
        QCOMPARE(run.value(QLatin1String("runCompetitors")).toObject().size(), 1);
}

void TestRunControl::clearQuestionWhileARunCloses()
{
    TrackOffice office;
    seedThreeRuns(office);
    office.seedHistory({TrackOffice::pastRun(QStringLiteral("{10}"), 10)});
    QVERIFY(office.open());
    BoxFacts facts;
    const ModalAnswer question = answerBox(&facts, QMessageBox::Yes, [&] {
        office.desk().send(Closed, named(RunA));
        HostProbe::settle(20);
        office.desk().clear();
    });
    office.desk().find<QPushButton *>(QStringLiteral("pbClearRunsHistory"))->click();
    MODAL_VERIFY(question);
    QCOMPARE(office.heard(), publication());
    QCOMPARE(office.history()->count(), 0);
    QCOMPARE(office.guids(), QStringList({RunB, RunC}));
}

DESK_TEST_MAIN(TestRunControl)

#include "tst_runcontrol.moc"
