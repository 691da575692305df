#include "racesimulation.h"

#include <QtTest>

namespace {

const QString guid = QStringLiteral("{a1}");

QJsonObject seat(int competitorId, int carId)
{
    return {{QStringLiteral("name"), QStringLiteral("Racer %1").arg(competitorId)},
            {QStringLiteral("carId"), carId},
            {QStringLiteral("clientId"), -1},
            {QStringLiteral("competitorId"), competitorId}};
}

QJsonObject startPayload(const QString &finish, int param)
{
    return {{QStringLiteral("runQueueGuid"), guid},
            {QStringLiteral("runName"), QStringLiteral("Заезд №7")},
            {QStringLiteral("useAutoFinish"), finish},
            {QStringLiteral("autoFinishParam"), param},
            {QStringLiteral("sortMode"), 0},
            {QStringLiteral("preparation"), QJsonArray{seat(-1001, 3), seat(-1002, 4)}}};
}

} // namespace

/// The simulated track without a desk: events in, events out, and a clock in the test's hand.
class TestRaceSimulation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tellsOfTheStart_data();
    void tellsOfTheStart();
    void namesARunWithoutName();
    void reportsOnceASecond();
    void reportHasTheRunInIt();
    void resultsTellWhoWasSeen();
    void finishesByTime();
    void finishesByTimeAtSpeed();
    void finishesByLaps();
    void runWithoutFinishGoesOn_data();
    void runWithoutFinishGoesOn();
    void emptyRunEndsByTime();
    void finishRunEndsItNow();
    void redFlagStopsTheClock();
    void redFlagForAnotherRun();
    void redFlagAgainLetsItGoOn();
    void closingClearsTheTrack();
    void closingAnotherRunDoesNothing();
    void startWhileDriving();
    void startBehindAFinishedRun();
    void numbersGoOn();
    void presetOfTheRunningRun();
    void presetOfAnotherRun();
    void brokenCarIsReplaced();
    void finishParamsOfTheRunningRun();
    void paramsFromTheDialog_data();
    void paramsFromTheDialog();
    void paramsFromAWholeRecord();
    void finishedRunKeepsItsParams();
    void sameRunGoesTheSameWay();
    void clockSetBack();
    void junkDoesNoHarm_data();
    void junkDoesNoHarm();
    void otherEventsAreNotTaken();

private:
    void start(const QString &finish = QStringLiteral("TIME"), int param = 600);
    void pass(qint64 ms);
    QStringList names() const;
    QJsonObject last(const QString &event) const;
    QJsonObject result(int competitorId) const;

    qint64 m_now = 0;
    QScopedPointer<RaceSimulation> m_track;
    QVector<QPair<QString, QJsonObject>> m_said;
    QVector<QJsonObject> m_closed;
};

void TestRaceSimulation::init()
{
    m_now = Q_INT64_C(1767225600000);
    m_said.clear();
    m_closed.clear();
    m_track.reset(new RaceSimulation([this] { return m_now; }));
    connect(m_track.data(), &RaceSimulation::said, this,
            [this](const QString &event, const QJsonObject &payload) { m_said.append(qMakePair(event, payload)); });
    connect(m_track.data(), &RaceSimulation::runClosed, this,
            [this](const QJsonObject &record) { m_closed.append(record); });
}

void TestRaceSimulation::start(const QString &finish, int param)
{
    QVERIFY(m_track->take(QStringLiteral("start_run"), startPayload(finish, param)));
}

void TestRaceSimulation::pass(qint64 ms)
{
    m_now += ms;
    m_track->advance();
}

QStringList TestRaceSimulation::names() const
{
    QStringList list;
    for (const auto &event : m_said)
        list.append(event.first);
    return list;
}

QJsonObject TestRaceSimulation::last(const QString &event) const
{
    QJsonObject found;
    for (const auto &said : m_said) {
        if (said.first == event)
            found = said.second;
    }
    return found;
}

QJsonObject TestRaceSimulation::result(int competitorId) const
{
    const QJsonArray results = last(QStringLiteral("refresh_run_results")).value(QStringLiteral("results")).toArray();
    for (const QJsonValue &value : results) {
        if (value.toObject().value(QStringLiteral("competitorId")).toInt() == competitorId)
            return value.toObject();
    }
    return QJsonObject();
}

void TestRaceSimulation::tellsOfTheStart_data()
{
    QTest::addColumn<QString>("useAutoFinish");
    QTest::addColumn<int>("finishType");
    QTest::newRow("time") << QStringLiteral("TIME") << 1;
    QTest::newRow("laps") << QStringLiteral("LAPS") << 2;
    QTest::newRow("none") << QString() << 0;
}

void TestRaceSimulation::tellsOfTheStart()
{
    QFETCH(QString, useAutoFinish);
    QFETCH(int, finishType);
    m_track->setNextRunNumber(12);
    m_said.clear();
    start(useAutoFinish, 15);
    QCOMPARE(names(), QStringList(QStringLiteral("new_run_started")));
    const QJsonObject expected{{QStringLiteral("runNum"), 12},
                               {QStringLiteral("finishType"), finishType},
                               {QStringLiteral("finishParam"), 15},
                               {QStringLiteral("runQueueGuid"), guid},
                               {QStringLiteral("runName"), QStringLiteral("Заезд №7")}};
    QCOMPARE(m_said.constFirst().second, expected);
    QCOMPARE(m_track->state(), RaceSimulation::Running);
}

void TestRaceSimulation::namesARunWithoutName()
{
    m_track->setNextRunNumber(5);
    QVERIFY(m_track->take(QStringLiteral("start_run"), QJsonObject()));
    const QJsonObject started = last(QStringLiteral("new_run_started"));
    QCOMPARE(started.value(QStringLiteral("runName")).toString(), QStringLiteral("Заезд №5"));
    QCOMPARE(started.value(QStringLiteral("runQueueGuid")).toString(), QString());
    QCOMPARE(started.value(QStringLiteral("finishType")).toInt(-1), 0);
}

void TestRaceSimulation::reportsOnceASecond()
{
    start();
    m_said.clear();
    for (int i = 0; i < 30; ++i)
        pass(100);
    const QStringList expected = {QStringLiteral("refresh_run_info"), QStringLiteral("refresh_run_results"),
                                  QStringLiteral("refresh_run_info"), QStringLiteral("refresh_run_results"),
                                  QStringLiteral("refresh_run_info"), QStringLiteral("refresh_run_results")};
    QCOMPARE(names(), expected);
}

void TestRaceSimulation::reportHasTheRunInIt()
{
    m_track->setNextRunNumber(3);
    m_track->setNextRunId(40);
    const qint64 startTs = m_now;
    start(QStringLiteral("LAPS"), 20);
    pass(10);
    const QJsonObject expected{{QStringLiteral("runNum"), 3},
                               {QStringLiteral("runId"), 40},
                               {QStringLiteral("runName"), QStringLiteral("Заезд №7")},
                               {QStringLiteral("runQueueGuid"), guid},
                               {QStringLiteral("runStartTs"), startTs},
                               {QStringLiteral("runState"), QStringLiteral("running")},
                               {QStringLiteral("finishParam"), 20},
                               {QStringLiteral("finishType"), QStringLiteral("finishByLaps")}};
    QCOMPARE(last(QStringLiteral("refresh_run_info")), expected);
    QCOMPARE(last(QStringLiteral("refresh_run_results")).value(QStringLiteral("runQueueGuid")).toString(), guid);
}

void TestRaceSimulation::resultsTellWhoWasSeen()
{
    start();
    pass(1000);
    QCOMPARE(result(-1001).value(QStringLiteral("state")).toInt(-1), 0);
    QCOMPARE(result(-1002).value(QStringLiteral("state")).toInt(-1), 0);
    pass(2500);
    QCOMPARE(result(-1001).value(QStringLiteral("state")).toInt(-1), 1);
    QCOMPARE(result(-1002).value(QStringLiteral("state")).toInt(-1), 0);
    pass(60000);
    for (const int id : {-1001, -1002}) {
        QCOMPARE(result(id).value(QStringLiteral("state")).toInt(-1), 1);
        QVERIFY(result(id).value(QStringLiteral("laps")).toInt() >= 1);
        QVERIFY(result(id).value(QStringLiteral("bestLapMs")).toInt() >= 29000);
        QVERIFY(result(id).value(QStringLiteral("lastLapMs")).toInt()
                >= result(id).value(QStringLiteral("bestLapMs")).toInt());
    }
    QCOMPARE(result(-1001).value(QStringLiteral("carId")).toInt(), 3);
    QVERIFY(result(-1001).value(QStringLiteral("position")) != result(-1002).value(QStringLiteral("position")));
}

void TestRaceSimulation::finishesByTime()
{
    start(QStringLiteral("TIME"), 600);
    pass(599900);
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runState")).toString(),
             QStringLiteral("running"));
    pass(100);
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(600000));
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runState")).toString(),
             QStringLiteral("finished"));
    QCOMPARE(result(-1001).value(QStringLiteral("state")).toInt(), 2);
    const int laps = result(-1001).value(QStringLiteral("laps")).toInt();
    QVERIFY(laps > 15 && laps < 21);
    pass(100000);
    QCOMPARE(result(-1001).value(QStringLiteral("laps")).toInt(), laps);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(600000));
}

void TestRaceSimulation::finishesByTimeAtSpeed()
{
    m_track->setSpeed(120);
    start(QStringLiteral("TIME"), 600);
    pass(4999);
    QCOMPARE(m_track->state(), RaceSimulation::Running);
    pass(1);
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
}

void TestRaceSimulation::finishesByLaps()
{
    m_track->setSpeed(1000);
    start(QStringLiteral("LAPS"), 5);
    pass(100000);
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
    QCOMPARE(qMax(result(-1001).value(QStringLiteral("laps")).toInt(),
                  result(-1002).value(QStringLiteral("laps")).toInt()),
             5);
    QVERIFY(m_track->elapsed() > 145000);
    QVERIFY(m_track->elapsed() < 180000);
}

void TestRaceSimulation::runWithoutFinishGoesOn_data()
{
    QTest::addColumn<QString>("useAutoFinish");
    QTest::addColumn<int>("param");
    QTest::newRow("none") << QString() << 600;
    QTest::newRow("no time") << QStringLiteral("TIME") << 0;
    QTest::newRow("no laps") << QStringLiteral("LAPS") << -1;
}

void TestRaceSimulation::runWithoutFinishGoesOn()
{
    QFETCH(QString, useAutoFinish);
    QFETCH(int, param);
    start(useAutoFinish, param);
    pass(7200000);
    QCOMPARE(m_track->state(), RaceSimulation::Running);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(7200000));
}

void TestRaceSimulation::emptyRunEndsByTime()
{
    QJsonObject payload = startPayload(QStringLiteral("TIME"), 60);
    payload.insert(QStringLiteral("preparation"), QJsonArray());
    m_track->take(QStringLiteral("start_run"), payload);
    pass(60000);
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
    QCOMPARE(last(QStringLiteral("refresh_run_results")).value(QStringLiteral("results")), QJsonValue(QJsonArray()));
}

void TestRaceSimulation::finishRunEndsItNow()
{
    start();
    pass(30000);
    m_track->take(QStringLiteral("finish_run"), QJsonObject());
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
    pass(10);
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runState")).toString(),
             QStringLiteral("finished"));
    QCOMPARE(m_track->elapsed(), Q_INT64_C(30000));
}

void TestRaceSimulation::redFlagStopsTheClock()
{
    m_track->setNextRunId(8);
    start();
    pass(20000);
    const QJsonObject hit{{QStringLiteral("runId"), 8},
                          {QStringLiteral("flag"), QStringLiteral("RED")},
                          {QStringLiteral("doRestartIfNeeded"), true},
                          {QStringLiteral("timestamp"), m_now}};
    m_track->take(QStringLiteral("insert_hit"), hit);
    pass(3600000);
    QCOMPARE(m_track->state(), RaceSimulation::RedFlag);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(20000));
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runState")).toString(),
             QStringLiteral("redFlag"));
}

void TestRaceSimulation::redFlagForAnotherRun()
{
    m_track->setNextRunId(8);
    start();
    m_track->take(QStringLiteral("insert_hit"),
                  {{QStringLiteral("runId"), 9}, {QStringLiteral("flag"), QStringLiteral("RED")}});
    QCOMPARE(m_track->state(), RaceSimulation::Running);
    m_track->take(QStringLiteral("insert_hit"),
                  {{QStringLiteral("runId"), 8}, {QStringLiteral("flag"), QStringLiteral("GREEN")}});
    QCOMPARE(m_track->state(), RaceSimulation::Running);
}

void TestRaceSimulation::redFlagAgainLetsItGoOn()
{
    start();
    QJsonObject hit{{QStringLiteral("runId"), 1}, {QStringLiteral("flag"), QStringLiteral("RED")}};
    m_track->take(QStringLiteral("insert_hit"), hit);
    m_track->take(QStringLiteral("insert_hit"), hit);
    QCOMPARE(m_track->state(), RaceSimulation::RedFlag);
    hit.insert(QStringLiteral("doRestartIfNeeded"), true);
    m_track->take(QStringLiteral("insert_hit"), hit);
    QCOMPARE(m_track->state(), RaceSimulation::Running);
    pass(5000);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(5000));
}

void TestRaceSimulation::closingClearsTheTrack()
{
    m_track->setNextRunNumber(4);
    const qint64 startTs = m_now;
    start();
    pass(90000);
    m_said.clear();
    m_track->take(QStringLiteral("close_run"),
                  {{QStringLiteral("command"), QStringLiteral("close_run")}, {QStringLiteral("runQueueGuid"), guid}});
    QCOMPARE(names(), QStringList({QStringLiteral("run_closed"), QStringLiteral("next_run_info")}));
    QCOMPARE(last(QStringLiteral("run_closed")), QJsonObject({{QStringLiteral("runQueueGuid"), guid}}));
    QCOMPARE(last(QStringLiteral("next_run_info")), QJsonObject({{QStringLiteral("nextRunNum"), 5}}));
    QCOMPARE(m_track->state(), RaceSimulation::NoRun);
    QCOMPARE(m_closed.size(), 1);
    const QJsonObject record = m_closed.constFirst();
    QCOMPARE(record.value(QStringLiteral("runNum")).toInt(), 4);
    QCOMPARE(record.value(QStringLiteral("runQueueGuid")).toString(), guid);
    QCOMPARE(record.value(QStringLiteral("runStartTs")).toDouble(), double(startTs));
    QCOMPARE(record.value(QStringLiteral("durationMs")).toInt(), 90000);
    QCOMPARE(record.value(QStringLiteral("results")).toArray().size(), 2);
    m_said.clear();
    pass(60000);
    QVERIFY2(m_said.isEmpty(), "an empty track has nothing to report");
}

void TestRaceSimulation::closingAnotherRunDoesNothing()
{
    start();
    m_said.clear();
    m_track->take(QStringLiteral("close_run"), {{QStringLiteral("runQueueGuid"), QStringLiteral("{b2}")}});
    QCOMPARE(m_track->state(), RaceSimulation::Running);
    QVERIFY(m_said.isEmpty());
    QVERIFY(m_closed.isEmpty());
}

void TestRaceSimulation::startWhileDriving()
{
    start();
    m_said.clear();
    QJsonObject other = startPayload(QStringLiteral("TIME"), 60);
    other.insert(QStringLiteral("runQueueGuid"), QStringLiteral("{b2}"));
    m_track->take(QStringLiteral("start_run"), other);
    QVERIFY(m_said.isEmpty());
    pass(100);
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runQueueGuid")).toString(), guid);
}

void TestRaceSimulation::startBehindAFinishedRun()
{
    start();
    m_track->finishRun();
    m_said.clear();
    QJsonObject other = startPayload(QStringLiteral("TIME"), 60);
    other.insert(QStringLiteral("runQueueGuid"), QStringLiteral("{b2}"));
    m_track->take(QStringLiteral("start_run"), other);
    QCOMPARE(names(), QStringList({QStringLiteral("run_closed"), QStringLiteral("next_run_info"),
                                   QStringLiteral("new_run_started")}));
    QCOMPARE(last(QStringLiteral("new_run_started")).value(QStringLiteral("runQueueGuid")).toString(),
             QStringLiteral("{b2}"));
    QCOMPARE(m_closed.size(), 1);
}

void TestRaceSimulation::numbersGoOn()
{
    m_track->setNextRunId(20);
    m_track->setNextRunNumber(100);
    for (int i = 0; i < 3; ++i) {
        start();
        pass(10);
        QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runNum")).toInt(), 100 + i);
        QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("runId")).toInt(), 20 + i);
        m_track->closeRun();
    }
    QCOMPARE(m_track->nextRunNumber(), 103);
}

void TestRaceSimulation::presetOfTheRunningRun()
{
    start();
    pass(100000);
    const int laps = result(-1002).value(QStringLiteral("laps")).toInt();
    QVERIFY(laps > 0);
    m_track->take(QStringLiteral("replace_run_preset"),
                  {{QStringLiteral("runQueueGuid"), guid},
                   {QStringLiteral("preset"), QJsonArray{seat(-1002, 9), seat(-1003, 5)}}});
    pass(1000);
    QVERIFY(result(-1001).isEmpty());
    QCOMPARE(result(-1002).value(QStringLiteral("carId")).toInt(), 9);
    QCOMPARE(result(-1002).value(QStringLiteral("laps")).toInt(), laps);
    QCOMPARE(result(-1003).value(QStringLiteral("state")).toInt(-1), 0);
    pass(10000);
    QCOMPARE(result(-1003).value(QStringLiteral("state")).toInt(-1), 1);
}

void TestRaceSimulation::presetOfAnotherRun()
{
    start();
    m_track->take(QStringLiteral("replace_run_preset"),
                  {{QStringLiteral("runQueueGuid"), QStringLiteral("{b2}")}, {QStringLiteral("preset"), QJsonArray()}});
    pass(10);
    QCOMPARE(result(-1001).value(QStringLiteral("carId")).toInt(), 3);
}

void TestRaceSimulation::brokenCarIsReplaced()
{
    m_track->setNextRunId(6);
    start();
    QJsonObject change{{QStringLiteral("switchReason"), QStringLiteral("malfunction")},
                       {QStringLiteral("competitorId"), -1002},
                       {QStringLiteral("carId"), 8},
                       {QStringLiteral("runId"), 5}};
    m_track->take(QStringLiteral("switch_car"), change);
    pass(10);
    QCOMPARE(result(-1002).value(QStringLiteral("carId")).toInt(), 4);
    change.insert(QStringLiteral("runId"), 6);
    m_track->take(QStringLiteral("switch_car"), change);
    pass(1000);
    QCOMPARE(result(-1002).value(QStringLiteral("carId")).toInt(), 8);
    QCOMPARE(result(-1001).value(QStringLiteral("carId")).toInt(), 3);
}

void TestRaceSimulation::finishParamsOfTheRunningRun()
{
    start(QStringLiteral("TIME"), 600);
    pass(100000);
    m_track->take(QStringLiteral("current_run_finish_params"),
                  {{QStringLiteral("autoFinishParam"), 120},
                   {QStringLiteral("useAutoFinish"), QStringLiteral("TIME")}});
    pass(20000);
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("finishParam")).toInt(), 120);
}

void TestRaceSimulation::paramsFromTheDialog_data()
{
    QTest::addColumn<QString>("useAutoFinish");
    QTest::addColumn<int>("sent");
    QTest::addColumn<int>("taken");
    QTest::newRow("minutes") << QStringLiteral("TIME") << 12 << 720;
    QTest::newRow("laps") << QStringLiteral("LAPS") << 12 << 12;
    QTest::newRow("far too long") << QStringLiteral("TIME") << std::numeric_limits<int>::max()
                                  << std::numeric_limits<int>::max();
}

void TestRaceSimulation::paramsFromTheDialog()
{
    QFETCH(QString, useAutoFinish);
    QFETCH(int, sent);
    QFETCH(int, taken);
    start(useAutoFinish, 5);
    m_track->take(QStringLiteral("update_run_params"),
                  {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("finishParam"), sent}});
    pass(10);
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("finishParam")).toInt(), taken);
}

void TestRaceSimulation::paramsFromAWholeRecord()
{
    start(QStringLiteral("TIME"), 600);
    m_track->take(QStringLiteral("update_run_params"), {{QStringLiteral("runQueueGuid"), guid},
                                                        {QStringLiteral("finishParam"), 10},
                                                        {QStringLiteral("finishMode"), 2},
                                                        {QStringLiteral("sortMode"), 1}});
    pass(10);
    const QJsonObject info = last(QStringLiteral("refresh_run_info"));
    QCOMPARE(info.value(QStringLiteral("finishParam")).toInt(), 10);
    QCOMPARE(info.value(QStringLiteral("finishType")).toString(), QStringLiteral("finishByLaps"));
    m_track->closeRun();
    QCOMPARE(m_closed.constFirst().value(QStringLiteral("sortMode")).toInt(), 1);
}

void TestRaceSimulation::finishedRunKeepsItsParams()
{
    start(QStringLiteral("TIME"), 60);
    pass(60000);
    m_track->take(QStringLiteral("current_run_finish_params"),
                  {{QStringLiteral("autoFinishParam"), 600},
                   {QStringLiteral("useAutoFinish"), QStringLiteral("TIME")}});
    pass(1000);
    QCOMPARE(m_track->state(), RaceSimulation::Finished);
    QCOMPARE(last(QStringLiteral("refresh_run_info")).value(QStringLiteral("finishParam")).toInt(), 60);
}

void TestRaceSimulation::sameRunGoesTheSameWay()
{
    start();
    pass(600000);
    const QJsonObject inOneGo = last(QStringLiteral("refresh_run_results"));
    m_track->closeRun();
    start();
    for (int i = 0; i < 6000; ++i)
        pass(100);
    QCOMPARE(last(QStringLiteral("refresh_run_results")), inOneGo);
}

void TestRaceSimulation::clockSetBack()
{
    start();
    pass(10000);
    pass(-3600000);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(10000));
    pass(1000);
    QCOMPARE(m_track->elapsed(), Q_INT64_C(11000));
}

void TestRaceSimulation::junkDoesNoHarm_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QJsonObject>("payload");
    const QJsonObject mess{{QStringLiteral("runQueueGuid"), guid},
                           {QStringLiteral("preset"), QJsonArray{1, QStringLiteral("a"), QJsonArray()}},
                           {QStringLiteral("preparation"), 5},
                           {QStringLiteral("autoFinishParam"), QStringLiteral("ten")},
                           {QStringLiteral("finishParam"), QJsonObject()},
                           {QStringLiteral("runId"), true}};
    for (const char *event : {"start_run", "finish_run", "close_run", "insert_hit", "replace_run_preset", "switch_car",
                              "update_run_params", "current_run_finish_params"}) {
        QTest::newRow(event) << QString::fromLatin1(event) << mess;
        QTest::newRow(qPrintable(QLatin1String(event) + QStringLiteral(", empty")))
            << QString::fromLatin1(event) << QJsonObject();
    }
}

void TestRaceSimulation::junkDoesNoHarm()
{
    QFETCH(QString, event);
    QFETCH(QJsonObject, payload);
    QVERIFY(m_track->take(event, payload));
    m_track->closeRun();
    start();
    QVERIFY(m_track->take(event, payload));
    pass(10000);
    m_track->closeRun();
    QCOMPARE(m_track->state(), RaceSimulation::NoRun);
}

void TestRaceSimulation::otherEventsAreNotTaken()
{
    QVERIFY(!m_track->take(QStringLiteral("insert_tab"), QJsonObject()));
    QVERIFY(m_said.isEmpty());
}

QTEST_GUILESS_MAIN(TestRaceSimulation)
#include "tst_host_racesimulation.moc"
