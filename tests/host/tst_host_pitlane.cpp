#include "demodata.h"
#include "deskpluginloader.h"
#include "eventlogmodel.h"
#include "hostwindow.h"
#include "pitlanehits.h"
#include "racesimulation.h"
#include "runtiming.h"
#include "trackdatabase.h"
#include "trackhome.h"
#include "trackservices.h"

#include <QMenu>
#include <QtTest>

namespace {

const QString guid = QStringLiteral("{a1}");

QJsonObject car(int id, int transponderId)
{
    return {{QStringLiteral("id"), id}, {QStringLiteral("transponderId"), transponderId}};
}

QJsonObject hit(int line, int transponderId)
{
    return {{QStringLiteral("lineId"), line}, {QStringLiteral("transponderId"), transponderId}};
}

QJsonArray seats(const QVector<int> &cars)
{
    QJsonArray preset;
    for (int i = 0; i < cars.size(); ++i)
        preset.append(QJsonObject{{QStringLiteral("competitorId"), -1000 - i}, {QStringLiteral("carId"), cars.at(i)}});
    return preset;
}

} // namespace

/// Cars between the pit lane and the simulated track.
class TestPitLane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void hits_data();
    void hits();
    void carsLeaveAtTheStart();
    void runWithoutCarsSaysNothing();
    void carsComeInAtTheFinish();
    void carsComeInWhenTheTimeIsOver();
    void carsComeInWhenTheRunIsClosed();
    void carsStayOutAtTheRedFlag();
    void otherCarInMidRun();
    void otherRacersInMidRun();
    void presetOfAFinishedRun();
    void deskHearsOfTheCars();

private:
    void start(const QVector<int> &cars);
    void take(const char *event, const QJsonObject &payload = QJsonObject())
    {
        QVERIFY(m_track->take(QLatin1String(event), payload));
    }

    qint64 m_now = 0;
    QScopedPointer<RaceSimulation> m_track;
    /// Everything that was said, hits as "in 3 4" and "out 3 4", events by their name.
    QStringList m_said;
};

void TestPitLane::init()
{
    m_now = Q_INT64_C(1767225600000);
    m_said.clear();
    m_track.reset(new RaceSimulation([this] { return m_now; }));
    const auto note = [this](const QString &what, const QVector<int> &carIds) {
        QStringList words(what);
        for (const int id : carIds)
            words.append(QString::number(id));
        m_said.append(words.join(QLatin1Char(' ')));
    };
    connect(m_track.data(), &RaceSimulation::said, this, [this](const QString &event) { m_said.append(event); });
    connect(m_track.data(), &RaceSimulation::carsCameIn, this,
            [note](const QVector<int> &carIds) { note(QStringLiteral("in"), carIds); });
    connect(m_track.data(), &RaceSimulation::carsLeft, this,
            [note](const QVector<int> &carIds) { note(QStringLiteral("out"), carIds); });
}

void TestPitLane::start(const QVector<int> &cars)
{
    take("start_run", {{QStringLiteral("runQueueGuid"), guid},
                       {QStringLiteral("useAutoFinish"), QStringLiteral("TIME")},
                       {QStringLiteral("autoFinishParam"), 60},
                       {QStringLiteral("preparation"), seats(cars)}});
}

void TestPitLane::hits_data()
{
    QTest::addColumn<QVector<int>>("cars");
    QTest::addColumn<int>("line");
    QTest::addColumn<QJsonArray>("hits");
    QTest::newRow("in") << QVector<int>{2} << 3 << QJsonArray{hit(3, 9002)};
    QTest::newRow("out, in their order") << QVector<int>{3, 1} << 4 << QJsonArray{hit(4, 9003), hit(4, 9001)};
    QTest::newRow("nobody") << QVector<int>{} << 4 << QJsonArray();
    QTest::newRow("unknown car") << QVector<int>{7, 2} << 3 << QJsonArray{hit(3, 9002)};
    QTest::newRow("no transponder") << QVector<int>{4, 5} << 3 << QJsonArray();
}

void TestPitLane::hits()
{
    QFETCH(QVector<int>, cars);
    QFETCH(int, line);
    QFETCH(QJsonArray, hits);
    const QJsonArray track{car(1, 9001), car(2, 9002), car(3, 9003), car(4, 0), car(5, -1)};
    QCOMPARE(PitLaneHits::payload(track, cars, static_cast<PitLaneHits::Line>(line)),
             QJsonObject({{QStringLiteral("hits"), hits}}));
}

void TestPitLane::carsLeaveAtTheStart()
{
    start({3, -1, 4, 3});
    QCOMPARE(m_said, QStringList({QStringLiteral("new_run_started"), QStringLiteral("out 3 4")}));
}

void TestPitLane::runWithoutCarsSaysNothing()
{
    start({-1, -1});
    m_track->finishRun();
    m_track->closeRun();
    QVERIFY(m_said.filter(QRegularExpression(QStringLiteral("^(in|out)"))).isEmpty());
}

void TestPitLane::carsComeInAtTheFinish()
{
    start({3, 4});
    m_said.clear();
    take("finish_run");
    QCOMPARE(m_said, QStringList(QStringLiteral("in 3 4")));
    m_said.clear();
    m_track->closeRun();
    QCOMPARE(m_said, QStringList({QStringLiteral("run_closed"), QStringLiteral("next_run_info")}));
}

void TestPitLane::carsComeInWhenTheTimeIsOver()
{
    start({3, 4});
    m_said.clear();
    m_now += 59999;
    m_track->advance();
    QVERIFY(!m_said.contains(QStringLiteral("in 3 4")));
    m_now += 1;
    m_track->advance();
    QCOMPARE(m_said.count(QStringLiteral("in 3 4")), 1);
}

void TestPitLane::carsComeInWhenTheRunIsClosed()
{
    start({3, 4});
    m_said.clear();
    take("close_run", {{QStringLiteral("runQueueGuid"), guid}});
    QCOMPARE(m_said,
             QStringList({QStringLiteral("in 3 4"), QStringLiteral("run_closed"), QStringLiteral("next_run_info")}));
    m_said.clear();
    start({4});
    QCOMPARE(m_said.constLast(), QStringLiteral("out 4"));
}

void TestPitLane::carsStayOutAtTheRedFlag()
{
    start({3, 4});
    m_said.clear();
    m_track->toggleRedFlag();
    m_track->toggleRedFlag();
    QVERIFY(m_said.isEmpty());
}

void TestPitLane::otherCarInMidRun()
{
    m_track->setNextRunId(6);
    start({3, 4});
    m_said.clear();
    take("switch_car",
         {{QStringLiteral("runId"), 6}, {QStringLiteral("competitorId"), -1001}, {QStringLiteral("carId"), 8}});
    QCOMPARE(m_said, QStringList({QStringLiteral("in 4"), QStringLiteral("out 8")}));
}

void TestPitLane::otherRacersInMidRun()
{
    start({3, 4});
    m_said.clear();
    take("replace_run_preset", {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("preset"), seats({4, 5})}});
    QCOMPARE(m_said, QStringList({QStringLiteral("in 3"), QStringLiteral("out 5")}));
    m_said.clear();
    take("replace_run_preset", {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("preset"), seats({5, 4})}});
    QVERIFY2(m_said.isEmpty(), "cars that change their drivers stay on the track");
}

void TestPitLane::presetOfAFinishedRun()
{
    start({3});
    m_track->finishRun();
    m_said.clear();
    take("replace_run_preset", {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("preset"), seats({5})}});
    QVERIFY(m_said.isEmpty());
}

void TestPitLane::deskHearsOfTheCars()
{
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    const TrackHome home(directory.path());
    QString error;
    QVERIFY2(home.enter(&error) && home.makeTree(&error), qPrintable(error));
    TrackDatabase database(home.databaseFile());
    QVERIFY(database.prepare());
    QVERIFY(DemoData(home, &database).fill());
    DeskPluginLoader desk;
    desk.setFileName(QStringLiteral(FAKE_DESK_FILE));
    TrackServices services(&desk, &database);
    RunTiming timing(&desk, &database);
    EventLogModel log;
    HostWindow window(&desk, &services, &timing, &database, &log);
    QVERIFY2(desk.load(), qPrintable(desk.errorText()));

    QStringList told;
    connect(&desk, &DeskPluginLoader::sending, this,
            [&told](const QString &module, const QString &event, const QJsonObject &payload) {
                Q_UNUSED(module)
                if (event != QLatin1String("transponder_hit"))
                    return;
                const QJsonArray hits = payload.value(QStringLiteral("hits")).toArray();
                for (const QJsonValue &value : hits)
                    told.append(QStringLiteral("%1:%2")
                                    .arg(value.toObject().value(QStringLiteral("lineId")).toInt())
                                    .arg(value.toObject().value(QStringLiteral("transponderId")).toInt()));
            });

    // From the race: never from inside the desk's own call.
    timing.track().take(QStringLiteral("start_run"), {{QStringLiteral("preparation"), seats({2, 5})}});
    QVERIFY(told.isEmpty());
    QTRY_COMPARE(told, QStringList({QStringLiteral("4:9002"), QStringLiteral("4:9005")}));
    told.clear();
    timing.track().finishRun();
    QTRY_COMPARE(told, QStringList({QStringLiteral("3:9002"), QStringLiteral("3:9005")}));
    told.clear();

    // From the menu.
    const auto chooseFirstCar = [&window](const QString &name) {
        auto *menu = window.findChild<QMenu *>(name);
        QVERIFY(menu);
        Q_EMIT menu->aboutToShow();
        QCOMPARE(menu->actions().size(), 11);
        menu->actions().constFirst()->trigger();
    };
    chooseFirstCar(QStringLiteral("hostPitLaneIn"));
    chooseFirstCar(QStringLiteral("hostPitLaneOut"));
    QCOMPARE(told, QStringList({QStringLiteral("3:9001"), QStringLiteral("4:9001")}));
    window.stopDesk();
}

QTEST_MAIN(TestPitLane)
#include "tst_host_pitlane.moc"
