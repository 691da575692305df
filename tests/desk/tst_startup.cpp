#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QAbstractItemModel>
#include <QElapsedTimer>
#include <QPluginLoader>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <atomic>

/// A desk that starts on a track where something is missing, broken or busy: it loads, answers the handshake, works with
/// what it has and closes.
class TestStartup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void loadTime();
    void brokenTrack_data();
    void brokenTrack();
    void notADatabaseStaysAsItIs();
    void lockedDatabase();
    void lockedWithoutPriceTypes();
    void lockedWhileWorking();
    void databaseConnections();
    void listensForSeatRequests();
    void closesWithASeatClientConnected();
    void busyPort();
    void missingScanner();
    void brokenSettings();
    void destroyedWithoutHandshake();
    void forgottenByTheHost();
    void takenAlongByAWindow();
};

namespace {

using JsonMatch::object;

QStringList handshakeNames()
{
    return {QStringLiteral("insert_tab"), QStringLiteral("local_request_answer"),
            QStringLiteral("update_remote_prices"), QStringLiteral("read_cars_list"),
            QStringLiteral("reload_runs_archive")};
}

const quint16 SeatPort = 9183;

QString library()
{
    return QStringLiteral(LAPVANE_PLUGIN_FILE);
}

bool isSeatPortFree()
{
    QTcpServer server;
    return server.listen(QHostAddress::AnyIPv4, SeatPort);
}

/// Another program that writes to the database for a while: an exclusive lock on a thread and connection of its own.
class DatabaseLock
{
public:
    DatabaseLock(const QString &file, int milliseconds)
        : m_milliseconds(milliseconds)
    {
        m_thread.reset(QThread::create([this, file] { hold(file); }));
        m_thread->start();
        while (!m_locked && !m_thread->isFinished())
            QThread::msleep(5);
    }
    ~DatabaseLock() { m_thread->wait(); }
    Q_DISABLE_COPY(DatabaseLock)

    bool isHeld() const { return m_locked; }
    void wait() { m_thread->wait(); }

private:
    void hold(const QString &file)
    {
        const QString name = QStringLiteral("lock");
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            db.setDatabaseName(file);
            if (db.open()) {
                QSqlQuery query(db);
                m_locked = query.exec(QStringLiteral("BEGIN EXCLUSIVE"));
                QThread::msleep(static_cast<unsigned long>(m_milliseconds));
                m_locked = false;
                query.exec(QStringLiteral("COMMIT"));
            }
        }
        QSqlDatabase::removeDatabase(name);
    }

    const int m_milliseconds;
    std::atomic_bool m_locked{false};
    std::unique_ptr<QThread> m_thread;
};

void breakTrack(const TempTrack &track, const QString &how)
{
    QDir root(track.root());
    if (how == QLatin1String("no database"))
        QFile::remove(track.databaseFile());
    else if (how == QLatin1String("no folder of the database"))
        QDir(track.root() + QStringLiteral("/DB")).removeRecursively();
    else if (how == QLatin1String("nothing at all"))
        QDir(track.root()).removeRecursively();
    else if (how == QLatin1String("no documents"))
        QDir(track.documents()).removeRecursively();
    if (how != QLatin1String("no database") && !how.startsWith(QLatin1String("file")))
        return;
    QFile file(track.databaseFile());
    if (how == QLatin1String("file that is no database") && file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(QByteArray("this is no database\n").repeated(400));
    else if (how == QLatin1String("file that is empty") && file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.close();
    else if (how == QLatin1String("file that is a folder") && file.remove())
        root.mkpath(track.databaseFile());
}

} // namespace

void TestStartup::loadTime()
{
    const TempTrack track;
    ChildDesk child(QStringLiteral("time"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(), child.output().constData());
    const QByteArray line = child.output().trimmed().split('\n').last();
    QVERIFY2(line.startsWith("built in "), child.output().constData());
    qInfo("%s", line.constData());
}

void TestStartup::brokenTrack_data()
{
    QTest::addColumn<QString>("how");
    for (const char *how : {"no database", "no folder of the database", "nothing at all", "no documents",
                            "file that is no database", "file that is empty", "file that is a folder"})
        QTest::newRow(how) << QString::fromLatin1(how);
}

void TestStartup::brokenTrack()
{
    QFETCH(QString, how);
    const TempTrack track;
    // The file is open on this side no longer when it breaks.
    track.db().close();
    breakTrack(track, how);
    if (QDir(track.journalsFolder()).exists())
        track.writeJournal(QStringLiteral("tickets.state"), "{\"uuid\":\"{a}\",\"lastName\":\"A\",\"regTime\":0}\n");
    // In a process of its own, so that a hang ends with the child.
    ChildDesk child(QStringLiteral("work"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(20000), child.output().constData());
    QVERIFY2(child.waitForLine("closed"), child.output().constData());
    if (QDir(track.journalsFolder()).exists()) {
        QVERIFY2(child.output().contains("racers: 1\n"), child.output().constData());
        JSON_CONTAINS(object(track.readJournal(QStringLiteral("tickets.state"))), object(R"({"comment": "работает"})"));
    }
    if (how == QLatin1String("nothing at all"))
        QVERIFY(!QFile::exists(track.root()));
    if (how == QLatin1String("no documents"))
        QVERIFY(!QFile::exists(track.documents()));
}

void TestStartup::notADatabaseStaysAsItIs()
{
    const TempTrack track(TempTrack::Tree);
    const QByteArray bytes = QByteArray("price list of the year 1999\n").repeated(100);
    QFile file(track.databaseFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    ChildDesk child(QStringLiteral("work"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(20000), child.output().constData());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), bytes);
}

// Another program writes while the desk starts; the desk waits for it and has everything afterwards.
void TestStartup::lockedDatabase()
{
    const TempTrack track;
    track.addPriceItem({QStringLiteral("Заезд"), 500});
    track.addPriceItem({QStringLiteral("Прокат"), 100});
    track.db().close();
    DatabaseLock lock(track.databaseFile(), 1000);
    QVERIFY(lock.isHeld());
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    lock.wait();
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    JSON_CONTAINS(desk.last(QStringLiteral("local_request_answer")), object(R"({
        "priceList": [{"salesItem": "Заезд", "price": 500}, {"salesItem": "Прокат", "price": 100}],
        "priceTypes": {"names": ["Основные"], "currentIndex": 0}})"));
    QVERIFY(desk.unload());
    QVERIFY(track.db().open());
    QCOMPARE(track.value(QStringLiteral("SELECT count(*) FROM price_types")).toInt(), 1);
}

// The first block has to be written at start, behind the other program's lock.
void TestStartup::lockedWithoutPriceTypes()
{
    const TempTrack track(TempTrack::Tree | TempTrack::Database);
    track.db().close();
    DatabaseLock lock(track.databaseFile(), 1000);
    QVERIFY(lock.isHeld());
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    lock.wait();
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    JSON_CONTAINS(desk.last(QStringLiteral("local_request_answer")),
                  object(R"({"priceTypes": {"names": ["Основные"], "currentIndex": 0}})"));
    QVERIFY(desk.unload());
    QVERIFY(track.db().open());
    QCOMPARE(track.query(QStringLiteral("SELECT name FROM price_types WHERE is_deleted=0")),
             (QList<QVariantList>{{QStringLiteral("Основные")}}));
}

// A payment waits on its own thread; the desk goes on answering.
void TestStartup::lockedWhileWorking()
{
    const TempTrack track;
    track.writeJournal(QStringLiteral("tickets.state"), "{\"uuid\":\"{a}\",\"lastName\":\"A\",\"regTime\":0}\n");
    HostProbe desk(library());
    QVERIFY2(desk.start(), qPrintable(desk.errorString()));
    HostProbe::settle(100);
    track.db().close();
    DatabaseLock lock(track.databaseFile(), 2000);
    QVERIFY(lock.isHeld());
    QAbstractItemModel *model = desk.checkIn();
    const QModelIndex comment = model->index(0, HostProbe::column(model, QStringLiteral("COMMENT")));
    model->setData(comment, QStringLiteral("раз"), Qt::EditRole);
    model->setData(comment, QStringLiteral("два"), Qt::EditRole);
    desk.send(QStringLiteral("next_run_info"));
    HostProbe::settle(50);
    QVERIFY(lock.isHeld());
    QCOMPARE(desk.names(),
             (QStringList{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")}));
    lock.wait();
    QVERIFY(track.db().open());
    QTRY_COMPARE(track.query(QStringLiteral("SELECT racer_guid,comment FROM payments")),
                 (QList<QVariantList>{{QStringLiteral("{a}"), QStringLiteral("два")}}));
}

// The host shares the process, and with it the names.
void TestStartup::databaseConnections()
{
    const TempTrack track;
    const QStringList before = QSqlDatabase::connectionNames();
    HostProbe desk(library());
    QVERIFY2(desk.start(), qPrintable(desk.errorString()));
    const auto own = [&] {
        QStringList names = QSqlDatabase::connectionNames();
        for (const QString &name : before)
            names.removeOne(name);
        names.sort();
        return names;
    };
    const QStringList all{QStringLiteral("paymentDbUpdater"), QStringLiteral("prices"),
                          QStringLiteral("ticketPluginForm")};
    QTRY_COMPARE(own(), all);
    // The third one belongs to another thread.
    for (const QString &name : {all.at(1), all.at(2)}) {
        const QSqlDatabase db = QSqlDatabase::database(name, false);
        QCOMPARE(db.driverName(), QStringLiteral("QSQLITE"));
        QCOMPARE(db.databaseName(), track.databaseFile());
        QVERIFY(db.isOpen());
    }
    QVERIFY(desk.unload());
    QCOMPARE(own(), QStringList());
}

void TestStartup::listensForSeatRequests()
{
    const TempTrack track;
    QVERIFY2(isSeatPortFree(), "another program holds the port 9183");
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, SeatPort);
    QVERIFY2(client.waitForConnected(3000), qPrintable(client.errorString()));
    HostProbe::settle();
    client.disconnectFromHost();
    QVERIFY(desk.unload());
    QTcpSocket late;
    late.connectToHost(QHostAddress::LocalHost, SeatPort);
    QVERIFY(!late.waitForConnected(1000));
    QCOMPARE(late.error(), QAbstractSocket::ConnectionRefusedError);
}

void TestStartup::closesWithASeatClientConnected()
{
    for (int round = 0; round < 2; ++round) {
        QVERIFY2(isSeatPortFree(), "another program holds the port 9183");
        const TempTrack track;
        HostProbe desk(library());
        QVERIFY2(desk.start(), qPrintable(desk.errorString()));
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, SeatPort);
        QVERIFY2(client.waitForConnected(3000), qPrintable(client.errorString()));
        HostProbe::settle();
        QCOMPARE(client.state(), QAbstractSocket::ConnectedState);
        QVERIFY(desk.unload());
        QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
    }
}

void TestStartup::busyPort()
{
    const TempTrack track;
    QTcpServer other;
    // Some other program may have been faster than this one; busy is busy.
    if (!other.listen(QHostAddress::AnyIPv4, SeatPort))
        QCOMPARE(other.serverError(), QAbstractSocket::AddressInUseError);
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    QVERIFY(desk.unload());
}

void TestStartup::missingScanner()
{
    const TempTrack track;
    track.setSetting(QStringLiteral("scannerPortName"), QStringLiteral("ttyNOSUCHPORT"));
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    for (int i = 0; i < 3; ++i)
        QVERIFY(QMetaObject::invokeMethod(desk.tab(), "loadSettings"));
    QCOMPARE(desk.names(), handshakeNames());
    QVERIFY(desk.unload());
}

void TestStartup::brokenSettings()
{
    const TempTrack track;
    track.addPriceItem({QStringLiteral("Заезд"), 500});
    track.setSetting(QStringLiteral("discounts"), QStringLiteral("no json"));
    track.setSetting(QStringLiteral("paymethods"), QByteArray("{\"a\":1}"));
    track.setSetting(QStringLiteral("maxInRunCount"), QStringLiteral("many"));
    track.setSetting(QStringLiteral("fixedRunStartTimeInQueue"), QStringLiteral("perhaps"));
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    JSON_CONTAINS(desk.last(QStringLiteral("local_request_answer")),
                  object(R"({"priceList": [{"salesItem": "Заезд"}]})"));
    QVERIFY(desk.unload());
}

// A host that ends without deleting the desk: the desk ends with the application, in good order, journals and all.
void TestStartup::forgottenByTheHost()
{
    const TempTrack track;
    track.writeJournal(QStringLiteral("operators.state"), R"([{"id": 4, "name": "Иванова", "token": "{t}"}])");
    ChildDesk child(QStringLiteral("forget"));
    QVERIFY(child.start());
    QVERIFY2(child.waitForLine("forgotten"), child.output().constData());
    track.removeJournal(QStringLiteral("operators.state"));
    QVERIFY2(child.finish(), child.output().constData());
    QVERIFY(track.readJournal(QStringLiteral("operators.state")).contains("{t}"));
}

void TestStartup::takenAlongByAWindow()
{
    const TempTrack track;
    ChildDesk child(QStringLiteral("along"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(), child.output().constData());
    QVERIFY(child.output().contains("survived"));
}

void TestStartup::destroyedWithoutHandshake()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    QVERIFY(desk.unload());
    QCOMPARE(desk.names(), QStringList());
    QVERIFY(track.hasJournal(QStringLiteral("operators.state")));
}

namespace {

int measureLoadTime()
{
    QElapsedTimer clock;
    clock.start();
    HostProbe desk(library());
    if (!desk.load())
        return 3;
    const qint64 loaded = clock.elapsed();
    desk.send(QStringLiteral("load_complete"));
    ChildDesk::say("built in " + QByteArray::number(loaded) + " ms, handshake done after "
                   + QByteArray::number(clock.elapsed()) + " ms");
    return 0;
}

int work()
{
    HostProbe desk(library());
    if (!desk.load())
        return 3;
    desk.send(QStringLiteral("load_complete"));
    if (desk.names() != handshakeNames())
        return 4;
    if (!desk.last(QStringLiteral("local_request_answer")).value(QLatin1String("priceList")).toArray().isEmpty())
        return 5;
    desk.tab()->show();
    QAbstractItemModel *model = desk.checkIn();
    ChildDesk::say("racers: " + QByteArray::number(model->rowCount()));
    // A payment that cannot be stored must not hold up the end.
    if (model->rowCount() > 0)
        model->setData(model->index(0, HostProbe::column(model, QStringLiteral("COMMENT"))), QStringLiteral("работает"),
                       Qt::EditRole);
    desk.send(QStringLiteral("cars_list_changed"), object(R"({"cars": []})"));
    desk.send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "k"})"));
    desk.send(QStringLiteral("payments_update_data"), object(R"({"updatedList": [1]})"));
    desk.send(QStringLiteral("next_run_info"));
    HostProbe::settle(300);
    if (desk.count(QStringLiteral("remote_control_answer")) != 1)
        return 6;
    desk.unload();
    ChildDesk::say("closed");
    return 0;
}

/// A host that loads the desk, works with it and ends without a thought for it.
int forget()
{
    auto *loader = new QPluginLoader(QStringLiteral(LAPVANE_PLUGIN_FILE), qApp);
    auto *plugin = qobject_cast<VanePluginInterface *>(loader->instance());
    if (!plugin)
        return 7;
    plugin->pluginSlot(QStringLiteral("host"), QStringLiteral("load_complete"), QJsonObject());
    ChildDesk::say("forgotten");
    HostProbe::settle(500);
    return 0;
}

/// A host whose window dies with the desk's tab and settings page still in it.
int takeAlong()
{
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return 8;
    {
        QWidget window;
        auto *inner = new QWidget(&window);
        desk.tab()->setParent(inner);
        desk.settingsPage()->setParent(&window);
        window.show();
        HostProbe::settle(50);
    }
    if (desk.tab()->parentWidget() || desk.settingsPage()->parentWidget())
        return 9;
    desk.send(QStringLiteral("next_run_info"));
    if (desk.count(QStringLiteral("remote_control_answer")) != 1 || !desk.unload())
        return 10;
    ChildDesk::say("survived");
    return 0;
}

int runChild(const QString &role, const QStringList &)
{
    const auto track = TempTrack::fromEnvironment();
    if (role == QLatin1String("forget"))
        return forget();
    if (role == QLatin1String("along"))
        return takeAlong();
    if (role == QLatin1String("time"))
        return measureLoadTime();
    if (role == QLatin1String("work"))
        return work();
    return 2;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestStartup, runChild)

#include "tst_startup.moc"
