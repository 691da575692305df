#include "common/sqlwrite.h"

#include "paymentdesk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>
#include <QTimer>

#include <csignal>
#include <cstdio>

#include <sys/resource.h>

namespace {

// What the child processes do. Each works on the track of its parent.

/// Keeps every other connection out for a while, then tells how many payments stood in the file all that time.
int holdDatabase(const TempTrack &track, const QStringList &arguments)
{
    track.query(QStringLiteral("BEGIN EXCLUSIVE"));
    ChildDesk::say("held");
    QThread::msleep(arguments.value(0).toULong());
    ChildDesk::say("rows " + track.value(QStringLiteral("SELECT count(*) FROM payments")).toByteArray());
    track.query(QStringLiteral("COMMIT"));
    return 0;
}

/// Writes payments of another desk into the same table.
int writePayments(const TempTrack &track, const QStringList &arguments)
{
    const QSqlDatabase db = track.db();
    ChildDesk::say("writing");
    for (int i = 0; i < arguments.value(0).toInt(); ++i) {
        if (!SqlWrite::begin(db))
            return 1;
        track.query(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{process}')"));
        if (!SqlWrite::commit(db))
            return 1;
    }
    return 0;
}

/// Lets no file of this process grow beyond `bytes`: to the database that is a disk without room.
bool limitFiles(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0)
        return false;
    limit.rlim_cur = qMin(bytes, limit.rlim_max);
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

QJsonObject largePayment(int number)
{
    QJsonObject large = payment(number);
    large.insert(QStringLiteral("comment"), QString(500000, QLatin1Char('x')));
    return large;
}

QByteArray numbers(const QList<int> &list)
{
    QByteArray text;
    for (const int number : list)
        text += ' ' + QByteArray::number(number);
    return text;
}

/// Pays on a full disk; with "room" the disk gets room again, with "close" the desk closes without it.
int payOnAFullDisk(const TempTrack &track, const QStringList &arguments)
{
    PaymentDesk desk;
    desk.pay(payment(1));
    desk.drain();
    if (!limitFiles(rlim_t(QFileInfo(track.databaseFile()).size())))
        return 1;
    desk.pay(largePayment(2));
    desk.pay(payment(3));
    QTest::qWait(1000);
    ChildDesk::say("full" + numbers(storedPayments(track)));
    if (arguments.value(0) == QLatin1String("room")) {
        if (!limitFiles(RLIM_INFINITY))
            return 1;
        desk.drain();
    }
    desk.close();
    ChildDesk::say("closed" + numbers(storedPayments(track)));
    return 0;
}

int runChild(const QString &role, const QStringList &arguments)
{
    const std::unique_ptr<TempTrack> track = TempTrack::fromEnvironment();
    if (role == QLatin1String("hold"))
        return holdDatabase(*track, arguments);
    if (role == QLatin1String("write"))
        return writePayments(*track, arguments);
    if (role == QLatin1String("full-disk"))
        return payOnAFullDisk(*track, arguments);
    return 2;
}

/// The longest time that the event loop of the test's thread went without a tick of 50 ms.
class Pulse
{
public:
    Pulse()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { beat(); });
        m_clock.start();
        m_timer.start(50);
    }
    qint64 longestGap() const { return m_longest; }
    int beats() const { return m_beats; }

private:
    void beat()
    {
        m_longest = qMax(m_longest, m_clock.restart());
        ++m_beats;
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_longest = 0;
    int m_beats = 0;
};

/// Makes a whole database with the host's schema at a place where the desk does not look.
void makeDatabase(const QString &file)
{
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("installer"));
        db.setDatabaseName(file);
        QVERIFY(db.open());
        TempTrack::createSchema(db);
        db.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("installer"));
}

void writeText(const QString &name)
{
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("this is no database\n").repeated(500));
}

/// Puts a file in the place of another in one step.
bool replaceFile(const QString &by, const QString &name)
{
    return std::rename(QFile::encodeName(by).constData(), QFile::encodeName(name).constData()) == 0;
}

} // namespace

/// Payments while the database is locked, missing, broken or full, and while the desk closes.
class TestPaymentDbTrouble : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_warnings = std::make_unique<WarningCatcher>(); }
    void cleanup()
    {
        QVERIFY(!QSqlDatabase::contains(QStringLiteral("paymentDbUpdater")));
        QCOMPARE(m_warnings->warnings(), QStringList());
        m_warnings.reset();
    }

    void lockedForTenSeconds()
    {
        const TempTrack track;
        ChildDesk holder(QStringLiteral("hold"), {QStringLiteral("10000")});
        QVERIFY(holder.start());
        QVERIFY(holder.waitForLine("held"));

        PaymentDesk desk;
        QElapsedTimer clock;
        clock.start();
        Pulse pulse;
        int paid = 0;
        while (holder.process().state() != QProcess::NotRunning && !clock.hasExpired(60000)) {
            if (paid < 80)
                desk.pay(payment(++paid));
            QTest::qWait(100);
        }
        QVERIFY(clock.elapsed() > 9000);
        QVERIFY(holder.finish());
        QVERIFY2(holder.output().contains("rows 0\n"), holder.output().constData());
        QVERIFY2(pulse.longestGap() < 1000, qPrintable(QString::number(pulse.longestGap())));
        QVERIFY2(pulse.beats() > 60, qPrintable(QString::number(pulse.beats())));
        QVERIFY(paid > 40);
        desk.drain();
        QCOMPARE(storedPayments(track), upTo(paid));
    }

    void manyWritersLoseNothing()
    {
        constexpr int Each = 60;
        const TempTrack track;
        PaymentDesk desk;
        desk.setApiKey(QStringLiteral("key"));
        ChildDesk process(QStringLiteral("write"), {QString::number(Each)});
        QVERIFY(process.start());
        QVERIFY(process.waitForLine("writing"));
        const QSqlDatabase own = track.db();
        for (int number = 1; number <= Each; ++number) {
            desk.pay(payment(number));
            QVERIFY(SqlWrite::begin(own));
            track.query(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{own}')"));
            QVERIFY(SqlWrite::commit(own));
        }
        QVERIFY(process.finish());
        desk.drain();
        QCOMPARE(storedPayments(track), upTo(Each));
        const QString count = QStringLiteral("SELECT count(*) FROM payments WHERE racer_guid=?");
        QCOMPARE(track.value(count, {QStringLiteral("{own}")}).toInt(), Each);
        QCOMPARE(track.value(count, {QStringLiteral("{process}")}).toInt(), Each);
    }

    void aFileThatIsNoDatabaseIsReplaced()
    {
        const TempTrack track(TempTrack::Tree);
        writeText(track.databaseFile());
        PaymentDesk desk;
        for (int number = 1; number <= 3; ++number)
            desk.pay(payment(number));
        Pulse pulse;
        QTest::qWait(500);
        QVERIFY(pulse.beats() > 2);

        const QString fresh = track.root() + QLatin1String("/fresh.sqlite");
        makeDatabase(fresh);
        QVERIFY(replaceFile(fresh, track.databaseFile()));
        desk.drain();
        QCOMPARE(storedPayments(track), upTo(3));
    }

    void aMissingTreeAppears()
    {
        const TempTrack track(TempTrack::Bare);
        PaymentDesk desk;
        for (int number = 1; number <= 3; ++number)
            desk.pay(payment(number));
        QTest::qWait(500);
        QVERIFY(QDir(track.documents()).isEmpty());

        const QString staged = track.home() + QLatin1String("/staged");
        QVERIFY(QDir().mkpath(staged + QLatin1String("/DB")));
        makeDatabase(staged + QLatin1String("/DB/lapvane.sqlite"));
        QVERIFY(QDir().rename(staged, track.root()));
        desk.drain();
        QCOMPARE(storedPayments(track), upTo(3));
    }

    void aMissingTreeAppearsStepByStep()
    {
        const TempTrack track(TempTrack::Bare);
        PaymentDesk desk;
        desk.pay(payment(1));
        QTest::qWait(300);
        QVERIFY(QDir().mkpath(QFileInfo(track.databaseFile()).path()));
        QTest::qWait(300);
        QVERIFY(!QFile::exists(track.databaseFile()));
        QFile empty(track.databaseFile());
        QVERIFY(empty.open(QIODevice::WriteOnly));
        empty.close();
        QTest::qWait(300);
        const QString fresh = track.root() + QLatin1String("/fresh.sqlite");
        makeDatabase(fresh);
        QVERIFY(replaceFile(fresh, track.databaseFile()));
        desk.drain();
        QCOMPARE(storedPayments(track), upTo(1));
    }

    void onlyPaymentsWaitForADatabase_data()
    {
        QTest::addColumn<bool>("tree");
        QTest::newRow("missing tree") << false;
        QTest::newRow("no database in the file") << true;
    }
    void onlyPaymentsWaitForADatabase()
    {
        QFETCH(bool, tree);
        const TempTrack track(tree ? TempTrack::Tree : TempTrack::Bare);
        if (tree)
            writeText(track.databaseFile());
        PaymentDesk desk;
        QElapsedTimer clock;
        clock.start();
        desk.setApiKey(QStringLiteral("key"));
        desk.answer(QJsonArray{1});
        desk.drain();
        QVERIFY(clock.elapsed() < 5000);
        QCOMPARE(desk.takeBatches().size(), 0);
    }

    void thePushReachesADatabaseThatAppeared()
    {
        const TempTrack track(TempTrack::Bare);
        PaymentDesk desk;
        desk.setApiKey(QStringLiteral("key"));
        desk.drain();
        const QString staged = track.home() + QLatin1String("/staged");
        QVERIFY(QDir().mkpath(staged + QLatin1String("/DB")));
        makeDatabase(staged + QLatin1String("/DB/lapvane.sqlite"));
        QVERIFY(QDir().rename(staged, track.root()));
        track.query(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{a}')"));
        desk.setApiKey(QStringLiteral("other"));
        desk.drain();
        QCOMPARE(desk.takeBatches().size(), 1);
    }

    // The insert itself finds no room, and takes the whole transaction away with it.
    void aStatementThatLosesTheTransactionIsRepeated()
    {
        const TempTrack track;
        PaymentDesk desk;
        desk.pay(payment(1));
        const auto maxPages = [&desk](const QString &pragma) {
            int pages = 0;
            desk.onWorker([&pages, pragma] {
                QSqlQuery query(QSqlDatabase::database(QStringLiteral("paymentDbUpdater"), false));
                if (query.exec(pragma) && query.next())
                    pages = query.value(0).toInt();
            });
            return pages;
        };
        const int limit = maxPages(QStringLiteral("PRAGMA max_page_count=1"));
        QVERIFY(limit > 1 && limit < 100);
        desk.pay(largePayment(2));
        desk.pay(payment(3));
        desk.drain();
        QCOMPARE(storedPayments(track), upTo(3));
        // The connection that had no room was given up for a new one.
        QVERIFY(maxPages(QStringLiteral("PRAGMA max_page_count")) > 1000);
    }

    void aFullDiskGetsRoom()
    {
        const TempTrack track;
        ChildDesk child(QStringLiteral("full-disk"), {QStringLiteral("room")});
        QVERIFY(child.start());
        QVERIFY2(child.finish(), child.output().constData());
        QVERIFY2(child.output().contains("full 1\n"), child.output().constData());
        QVERIFY2(child.output().contains("closed 1 2 3\n"), child.output().constData());
        QCOMPARE(track.value(QStringLiteral("SELECT length(comment) FROM payments WHERE sum=2")).toInt(), 500000);
    }

    void closingOnAFullDiskStoresWhatFits()
    {
        const TempTrack track;
        ChildDesk child(QStringLiteral("full-disk"), {QStringLiteral("close")});
        QVERIFY(child.start());
        QVERIFY2(child.finish(20000), child.output().constData());
        QVERIFY2(child.output().contains("full 1\n"), child.output().constData());
        QVERIFY2(child.output().contains("closed 1 3\n"), child.output().constData());
        QCOMPARE(track.value(QStringLiteral("PRAGMA integrity_check")).toString(), QStringLiteral("ok"));
    }

    void closingStoresWhatIsQueued()
    {
        const TempTrack track;
        PaymentDesk desk;
        for (int number = 1; number <= 200; ++number)
            desk.pay(payment(number));
        desk.close();
        QCOMPARE(storedPayments(track), upTo(200));
    }

    // The thread is told to quit before it has come to its event loop.
    void closingAtOnceStoresWhatWasQueuedBeforeTheStart()
    {
        const TempTrack track;
        for (int round = 0; round < 10; ++round) {
            track.query(QStringLiteral("DELETE FROM payments"));
            PaymentDesk desk(false);
            for (int number = 1; number <= 20; ++number)
                desk.pay(payment(number));
            desk.start();
            desk.close();
            QCOMPARE(storedPayments(track), upTo(20));
        }
    }

    void closingWaitsForALock()
    {
        const TempTrack track;
        ChildDesk holder(QStringLiteral("hold"), {QStringLiteral("3000")});
        QVERIFY(holder.start());
        QVERIFY(holder.waitForLine("held"));
        PaymentDesk desk;
        for (int number = 1; number <= 50; ++number)
            desk.pay(payment(number));
        QElapsedTimer clock;
        clock.start();
        desk.close();
        QVERIFY(clock.elapsed() > 1500);
        QVERIFY(holder.finish());
        QVERIFY(holder.output().contains("rows 0\n"));
        QCOMPARE(storedPayments(track), upTo(50));
    }

    void closingWithoutADatabaseDoesNotWait_data()
    {
        QTest::addColumn<bool>("tree");
        QTest::newRow("missing tree") << false;
        QTest::newRow("no database in the file") << true;
    }
    void closingWithoutADatabaseDoesNotWait()
    {
        QFETCH(bool, tree);
        const TempTrack track(tree ? TempTrack::Tree : TempTrack::Bare);
        if (tree)
            writeText(track.databaseFile());
        PaymentDesk desk;
        for (int number = 1; number <= 200; ++number)
            desk.pay(payment(number));
        QTest::qWait(250);
        QElapsedTimer clock;
        clock.start();
        desk.close();
        // 200 payments at 100 ms each would be twenty seconds.
        QVERIFY2(clock.elapsed() < 8000, qPrintable(QString::number(clock.elapsed())));
    }

    void theThreadMayEndBeforeTheObject()
    {
        const TempTrack track;
        PaymentDesk desk;
        for (int number = 1; number <= 20; ++number)
            desk.pay(payment(number));
        desk.worker().thread.quit();
        QVERIFY(desk.worker().thread.wait(30000));
        QCOMPARE(storedPayments(track), upTo(20));
        QVERIFY(!QSqlDatabase::contains(QStringLiteral("paymentDbUpdater")));
        desk.pay(payment(21));
        desk.close();
        QCOMPARE(storedPayments(track), upTo(20));
    }

    void theThreadMayNeverStart()
    {
        const TempTrack track;
        PaymentDesk desk(false);
        desk.pay(payment(1));
        desk.close();
        QCOMPARE(storedPayments(track), QList<int>());
    }

    void oneDeskAfterTheOther()
    {
        for (int round = 0; round < 3; ++round) {
            const TempTrack track;
            PaymentDesk desk;
            desk.setApiKey(QStringLiteral("key"));
            desk.pay(payment(1));
            desk.drain();
            QCOMPARE(desk.takeBatches().size(), 1);
            desk.pay(payment(2));
            desk.close();
            QCOMPARE(storedPayments(track), upTo(2));
        }
    }

private:
    std::unique_ptr<WarningCatcher> m_warnings;
};

DESK_TEST_MAIN_WITH_CHILD(TestPaymentDbTrouble, runChild)

#include "tst_paymentdbtrouble.moc"
