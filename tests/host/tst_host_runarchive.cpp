#include "deskpluginloader.h"
#include "runarchive.h"
#include "runtiming.h"
#include "trackdatabase.h"

#include <QtTest>

/// The archive of runs, and the timing that fills it, without a desk.
class TestRunArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keepsTheRecord();
    void newestFirstWithinTheLimit();
    void numbersGoOnBehindTheArchive();
    void refusesARunTwice();
    void withoutTheTable();
    void timingKeepsClosedRuns();
    void timingGoesOnCounting();
    void oldTrackGetsTheTable();

private:
    static QJsonObject record(int id, int number, qint64 startTs);
    int count();

    QScopedPointer<QTemporaryDir> m_files;
    QScopedPointer<TrackDatabase> m_database;
};

void TestRunArchive::init()
{
    m_database.reset();
    m_files.reset(new QTemporaryDir);
    m_database.reset(new TrackDatabase(m_files->filePath(QStringLiteral("lapvane.sqlite"))));
    QVERIFY2(m_database->prepare(), qPrintable(m_database->errorText()));
}

QJsonObject TestRunArchive::record(int id, int number, qint64 startTs)
{
    const QJsonObject racer{{QStringLiteral("name"), QStringLiteral("Орлова Мария")}, {QStringLiteral("laps"), 12}};
    return {{QStringLiteral("runId"), id},
            {QStringLiteral("runNum"), number},
            {QStringLiteral("runName"), QStringLiteral("Заезд №%1").arg(number)},
            {QStringLiteral("runQueueGuid"), QStringLiteral("{%1}").arg(id)},
            {QStringLiteral("runStartTs"), startTs},
            {QStringLiteral("durationMs"), 600000},
            {QStringLiteral("finishType"), 1},
            {QStringLiteral("finishParam"), 600},
            {QStringLiteral("sortMode"), 1},
            {QStringLiteral("results"), QJsonArray{racer}}};
}

int TestRunArchive::count()
{
    QVector<QVariantList> rows;
    return m_database->select(QStringLiteral("SELECT count(*) FROM runs_archive"), &rows) ? rows.at(0).at(0).toInt()
                                                                                          : -1;
}

void TestRunArchive::keepsTheRecord()
{
    RunArchive archive(m_database.data());
    const QJsonObject run = record(3, 7, Q_INT64_C(1767225600123));
    QVERIFY(archive.store(run));
    QCOMPARE(archive.startedSince(0), QJsonArray({run}));
}

void TestRunArchive::newestFirstWithinTheLimit()
{
    RunArchive archive(m_database.data());
    for (const int id : {2, 1, 3})
        QVERIFY(archive.store(record(id, id, id * Q_INT64_C(1000))));
    QCOMPARE(archive.startedSince(2000), QJsonArray({record(3, 3, 3000), record(2, 2, 2000)}));
    QCOMPARE(archive.startedSince(3001), QJsonArray());
}

void TestRunArchive::numbersGoOnBehindTheArchive()
{
    RunArchive archive(m_database.data());
    QCOMPARE(archive.nextRunId(), 1);
    QCOMPARE(archive.nextRunNumber(), 1);
    QVERIFY(archive.store(record(5, 30, 1000)));
    QVERIFY(archive.store(record(6, 2, 2000)));
    QCOMPARE(archive.nextRunId(), 7);
    QCOMPARE(archive.nextRunNumber(), 3);
}

void TestRunArchive::refusesARunTwice()
{
    RunArchive archive(m_database.data());
    QVERIFY(archive.store(record(1, 1, 1000)));
    QVERIFY(!archive.store(record(1, 2, 2000)));
    QCOMPARE(archive.startedSince(0), QJsonArray({record(1, 1, 1000)}));
}

void TestRunArchive::withoutTheTable()
{
    QVERIFY(m_database->write([](QSqlQuery &query) { query.exec(QStringLiteral("DROP TABLE runs_archive")); }));
    RunArchive archive(m_database.data());
    QVERIFY(!archive.store(record(1, 1, 1000)));
    QVERIFY(archive.startedSince(0).isEmpty());
    QCOMPARE(archive.nextRunId(), 1);
}

void TestRunArchive::timingKeepsClosedRuns()
{
    DeskPluginLoader desk;
    RunTiming timing(&desk, m_database.data());
    const QJsonObject start{{QStringLiteral("runQueueGuid"), QStringLiteral("{a}")},
                            {QStringLiteral("runName"), QStringLiteral("Вечерний")}};
    Q_EMIT desk.received(QStringLiteral("ticket_plugin"), QStringLiteral("start_run"), start);
    QVERIFY2(timing.description().contains(QStringLiteral("Вечерний")), qPrintable(timing.description()));
    QCOMPARE(count(), 0);
    Q_EMIT desk.received(QStringLiteral("ticket_plugin"), QStringLiteral("close_run"), start);
    QCOMPARE(count(), 1);
    QCOMPARE(timing.track().state(), RaceSimulation::NoRun);
    const QJsonObject kept = RunArchive(m_database.data()).startedSince(0).at(0).toObject();
    QCOMPARE(kept.value(QStringLiteral("runName")).toString(), QStringLiteral("Вечерний"));
    const double age =
        double(QDateTime::currentMSecsSinceEpoch()) - kept.value(QStringLiteral("runStartTs")).toDouble();
    QVERIFY2(age >= 0 && age < 60000, "a run is kept under the time of the clock");
}

void TestRunArchive::timingGoesOnCounting()
{
    QVERIFY(RunArchive(m_database.data()).store(record(11, 40, 1000)));
    DeskPluginLoader desk;
    RunTiming timing(&desk, m_database.data());
    QCOMPARE(timing.track().nextRunNumber(), 41);
    timing.track().take(QStringLiteral("start_run"), QJsonObject());
    timing.track().closeRun();
    QCOMPARE(RunArchive(m_database.data()).nextRunId(), 13);
    QCOMPARE(RunArchive(m_database.data()).nextRunNumber(), 42);
}

void TestRunArchive::oldTrackGetsTheTable()
{
    // A track of the first schema, with a payment in it.
    QVERIFY(m_database->write([](QSqlQuery &query) {
        query.exec(QStringLiteral("DROP TABLE runs_archive"));
        query.exec(QStringLiteral("PRAGMA user_version = 1"));
        query.exec(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{a}')"));
    }));
    QVERIFY2(m_database->prepare(), qPrintable(m_database->errorText()));
    QCOMPARE(m_database->schemaVersion(), TrackDatabase::newestSchemaVersion());
    QCOMPARE(count(), 0);
    QVector<QVariantList> rows;
    QVERIFY(m_database->select(QStringLiteral("SELECT racer_guid FROM payments"), &rows));
    QCOMPARE(rows.size(), 1);
}

QTEST_GUILESS_MAIN(TestRunArchive)
#include "tst_host_runarchive.moc"
