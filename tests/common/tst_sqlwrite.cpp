#include "common/sqlwrite.h"

#include "desktest.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSemaphore>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

#include <functional>
#include <memory>
#include <vector>

namespace {

/// A connection of its own to a database file, gone with the object. Without the driver's own patience unless asked.
class Connection
{
public:
    explicit Connection(const QString &file, const QString &options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=0"))
        : m_name(QStringLiteral("connection-%1").arg(quintptr(this)))
        , m_db(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name))
    {
        m_db.setDatabaseName(file);
        m_db.setConnectOptions(options);
        m_db.open();
    }
    ~Connection()
    {
        m_db.close();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
    }
    Q_DISABLE_COPY(Connection)

    QSqlDatabase db() const { return m_db; }
    bool exec(const QString &sql) const { return QSqlQuery(m_db).exec(sql); }
    int count(const QString &table) const
    {
        QSqlQuery query(m_db);
        return query.exec(QLatin1String("SELECT count(*) FROM ") + table) && query.next() ? query.value(0).toInt() : -1;
    }

private:
    QString m_name;
    QSqlDatabase m_db;
};

/// Does something on a thread of its own, and waits for its end.
class Elsewhere
{
public:
    explicit Elsewhere(const std::function<void()> &work)
        : m_thread(QThread::create(work))
    {
        m_thread->start();
    }
    ~Elsewhere() { m_thread->wait(); }
    Q_DISABLE_COPY(Elsewhere)

private:
    std::unique_ptr<QThread> m_thread;
};

constexpr int HoldMs = 1500;

} // namespace

/// The write transaction that the desk's connections share one database by.
class TestSqlWrite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_track = std::make_unique<TempTrack>(TempTrack::Tree);
        Connection(file()).exec(QStringLiteral("CREATE TABLE t (a INTEGER)"));
    }
    void cleanup() { m_track.reset(); }

    void commitStores()
    {
        const Connection writer(file());
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (1)")));
        const Connection reader(file());
        QCOMPARE(reader.count(QStringLiteral("t")), 0);
        QVERIFY(SqlWrite::commit(writer.db()));
        QCOMPARE(reader.count(QStringLiteral("t")), 1);
    }

    void beginTakesTheWriteLock()
    {
        const Connection writer(file());
        const Connection other(file());
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(!other.exec(QStringLiteral("BEGIN IMMEDIATE")));
        QVERIFY(SqlWrite::commit(writer.db()));
        QVERIFY(other.exec(QStringLiteral("BEGIN IMMEDIATE")));
    }

    void aFailedStatementIsCommittedOver()
    {
        const Connection writer(file());
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (1)")));
        QVERIFY(!writer.exec(QStringLiteral("INSERT INTO nowhere VALUES (1)")));
        QVERIFY(SqlWrite::commit(writer.db()));
        QCOMPARE(writer.count(QStringLiteral("t")), 1);
    }

    void beginWaitsForAWriter_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("without the driver's patience") << QStringLiteral("QSQLITE_BUSY_TIMEOUT=0");
        QTest::newRow("with the driver's default") << QString();
    }
    void beginWaitsForAWriter()
    {
        QFETCH(QString, options);
        QSemaphore held;
        const Elsewhere other([this, &held] {
            const Connection holder(file());
            holder.exec(QStringLiteral("BEGIN EXCLUSIVE"));
            held.release();
            QThread::msleep(HoldMs);
            holder.exec(QStringLiteral("INSERT INTO t VALUES (1)"));
            holder.exec(QStringLiteral("COMMIT"));
        });
        held.acquire();
        const Connection writer(file(), options);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(clock.elapsed() > HoldMs / 2);
        QCOMPARE(writer.count(QStringLiteral("t")), 1);
        QVERIFY(SqlWrite::commit(writer.db()));
    }

    void commitWaitsForAReader()
    {
        const Connection writer(file());
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (1)")));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (2)")));

        QSemaphore held;
        const Elsewhere other([this, &held] {
            const Connection reader(file());
            QSqlQuery query(reader.db());
            query.setForwardOnly(true);
            query.exec(QStringLiteral("SELECT a FROM t"));
            query.next();
            held.release();
            QThread::msleep(HoldMs);
        });
        held.acquire();
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(clock.elapsed() < HoldMs / 2);
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (3)")));
        QVERIFY(SqlWrite::commit(writer.db()));
        QVERIFY(clock.elapsed() > HoldMs / 2);
        QCOMPARE(Connection(file()).count(QStringLiteral("t")), 3);
    }

    // Connections that share a cache get "locked" where others get "busy".
    void beginWaitsForASharedCache()
    {
        const QString shared = QStringLiteral("QSQLITE_BUSY_TIMEOUT=0;QSQLITE_ENABLE_SHARED_CACHE");
        QSemaphore held;
        const Elsewhere other([this, &held, shared] {
            const Connection holder(file(), shared);
            holder.exec(QStringLiteral("BEGIN IMMEDIATE"));
            holder.exec(QStringLiteral("INSERT INTO t VALUES (1)"));
            held.release();
            QThread::msleep(HoldMs);
            holder.exec(QStringLiteral("COMMIT"));
        });
        held.acquire();
        const Connection writer(file(), shared);
        QSqlQuery attempt(writer.db());
        QVERIFY(!attempt.exec(QStringLiteral("BEGIN IMMEDIATE")));
        QCOMPARE(attempt.lastError().nativeErrorCode().toInt() & 0xff, 6);
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (2)")));
        QVERIFY(SqlWrite::commit(writer.db()));
        QCOMPARE(writer.count(QStringLiteral("t")), 2);
    }

    void aConnectionThatIsNotOpenIsNotWaitedFor()
    {
        const Connection closed(m_track->root() + QLatin1String("/nowhere/lapvane.sqlite"));
        QVERIFY(!closed.db().isOpen());
        QVERIFY(!SqlWrite::begin(closed.db()));
        QVERIFY(!SqlWrite::commit(closed.db()));
        QVERIFY(!SqlWrite::begin(QSqlDatabase()));
        QVERIFY(!SqlWrite::commit(QSqlDatabase()));
    }

    void aFileThatIsNoDatabaseIsNotWaitedFor()
    {
        const QString name = m_track->root() + QLatin1String("/DB/text.sqlite");
        QFile text(name);
        QVERIFY(text.open(QIODevice::WriteOnly));
        text.write(QByteArray("no database, just text\n").repeated(500));
        text.close();

        const Connection writer(name);
        QVERIFY(writer.db().isOpen());
        QVERIFY(!SqlWrite::begin(writer.db()));
        QVERIFY(!SqlWrite::begin(writer.db()));
    }

    void aWriteInsideAWriteIsNotWaitedFor()
    {
        const Connection writer(file());
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(!SqlWrite::begin(writer.db()));
        QVERIFY(SqlWrite::commit(writer.db()));
    }

    void aCommitWithoutATransactionIsLost()
    {
        const Connection writer(file());
        QVERIFY(!SqlWrite::commit(writer.db()));
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (1)")));
        QVERIFY(writer.exec(QStringLiteral("ROLLBACK")));
        QVERIFY(!SqlWrite::commit(writer.db()));
        QCOMPARE(writer.count(QStringLiteral("t")), 0);
    }

    // A foreign key that is checked at the end makes a commit fail and leaves its transaction open.
    void aLostCommitLeavesNoTransactionOpen()
    {
        const Connection writer(file());
        QVERIFY(writer.exec(QStringLiteral("PRAGMA foreign_keys=ON")));
        QVERIFY(writer.exec(QStringLiteral("CREATE TABLE parent (id INTEGER PRIMARY KEY)")));
        QVERIFY(writer.exec(QStringLiteral("CREATE TABLE child (p INTEGER REFERENCES parent(id) "
                                           "DEFERRABLE INITIALLY DEFERRED)")));
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO child VALUES (7)")));
        QVERIFY(!SqlWrite::commit(writer.db()));

        const Connection other(file());
        QVERIFY(SqlWrite::begin(other.db()));
        QVERIFY(SqlWrite::commit(other.db()));
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (1)")));
        QVERIFY(SqlWrite::commit(writer.db()));
        QCOMPARE(other.count(QStringLiteral("child")), 0);
        QCOMPARE(other.count(QStringLiteral("t")), 1);
    }

    void aFullDatabaseLosesTheWriteButNotTheConnection()
    {
        const Connection writer(file());
        QVERIFY(writer.exec(QStringLiteral("PRAGMA max_page_count=3")));
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(!writer.exec(QStringLiteral("INSERT INTO t VALUES (zeroblob(100000))")));
        QVERIFY(!SqlWrite::commit(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("PRAGMA max_page_count=1000000")));
        QVERIFY(SqlWrite::begin(writer.db()));
        QVERIFY(writer.exec(QStringLiteral("INSERT INTO t VALUES (zeroblob(100000))")));
        QVERIFY(SqlWrite::commit(writer.db()));
        QCOMPARE(writer.count(QStringLiteral("t")), 1);
    }

    void manyWritersLoseNothing()
    {
        constexpr int Writers = 4;
        constexpr int Writes = 40;
        {
            std::vector<std::unique_ptr<Elsewhere>> writers;
            writers.reserve(Writers);
            for (int i = 0; i < Writers; ++i) {
                writers.push_back(std::make_unique<Elsewhere>([this, i] {
                    const Connection writer(file(), QStringLiteral("QSQLITE_BUSY_TIMEOUT=100"));
                    for (int n = 0; n < Writes; ++n) {
                        SqlWrite::begin(writer.db());
                        writer.exec(QStringLiteral("INSERT INTO t VALUES (%1)").arg(i));
                        SqlWrite::commit(writer.db());
                    }
                }));
            }
        }
        const Connection reader(file());
        for (int i = 0; i < Writers; ++i)
            QCOMPARE(reader.count(QStringLiteral("t WHERE a=%1").arg(i)), Writes);
    }

private:
    QString file() const { return m_track->databaseFile(); }

    std::unique_ptr<TempTrack> m_track;
};

DESK_TEST_MAIN(TestSqlWrite)

#include "tst_sqlwrite.moc"
