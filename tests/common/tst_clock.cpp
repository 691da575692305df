#include "common/clock.h"

#include "desktest.h"

/// The desk's present: the system's clock, or what a test puts in its place.
class TestClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { Clock::setSource({}); }

    void followsTheSystem()
    {
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        const qint64 utc = Clock::utc().toMSecsSinceEpoch();
        const qint64 local = Clock::local().toMSecsSinceEpoch();
        const qint64 secs = Clock::secsUtc();
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        QVERIFY(before <= utc && utc <= after);
        QVERIFY(before <= local && local <= after);
        QVERIFY(before / 1000 <= secs && secs <= after / 1000);
    }

    void tellsTheKindOfTime()
    {
        QCOMPARE(Clock::utc().timeSpec(), Qt::UTC);
        QCOMPARE(Clock::local().timeSpec(), Qt::LocalTime);
    }

    void followsASource_data()
    {
        QTest::addColumn<QDateTime>("present");
        const QDate date(2024, 2, 29);
        QTest::newRow("utc") << QDateTime(date, QTime(23, 59, 59, 999), Qt::UTC);
        QTest::newRow("local") << QDateTime(date, QTime(23, 59, 59, 999), Qt::LocalTime);
        QTest::newRow("offset") << QDateTime(date, QTime(23, 59, 59, 999), Qt::OffsetFromUTC, 3 * 3600);
    }
    void followsASource()
    {
        QFETCH(QDateTime, present);
        Clock::setSource([present] { return present; });
        QCOMPARE(Clock::utc(), present);
        QCOMPARE(Clock::utc().timeSpec(), Qt::UTC);
        QCOMPARE(Clock::local(), present);
        QCOMPARE(Clock::local().timeSpec(), Qt::LocalTime);
        QCOMPARE(Clock::secsUtc(), present.toMSecsSinceEpoch() / 1000);
    }

    void asksTheSourceEachTime()
    {
        QDateTime present(QDate(2024, 1, 1), QTime(12, 0), Qt::UTC);
        Clock::setSource([&present] { return present; });
        const qint64 first = Clock::secsUtc();
        present = present.addSecs(1800);
        QCOMPARE(Clock::secsUtc(), first + 1800);
    }

    void anEmptySourceBringsTheSystemBack()
    {
        Clock::setSource([] { return QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC); });
        Clock::setSource({});
        QVERIFY(qAbs(Clock::utc().secsTo(QDateTime::currentDateTimeUtc())) < 10);
    }
};

DESK_TEST_MAIN(TestClock)

#include "tst_clock.moc"
