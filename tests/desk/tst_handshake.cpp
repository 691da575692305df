#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QSettings>
#include <QTabWidget>
#include <QThread>

#include <sys/mman.h>

/// What a host sees before it shows anything: the library itself, the instance, and the answer to load_complete.
class TestHandshake : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void metadata();
    void exportedSymbols();
    void instanceMembers();
    void eventTables();
    void castNames();
    void oneInstance();
    void silentUntilLoadComplete();
    void emptyTrack();
    void emptyTrackWithoutSeededTypes();
    void filledPriceList();
    void blocksBesideTemplates();
    void deletedRowsStayOut();
    void repeatedLoadComplete();
    void unknownEvents();
    void tabIsAWidgetForATabBar();
    void unloadAndLoadAgain();
    void leavesTheProcess();
};

namespace {

QStringList handshakeNames()
{
    return {QStringLiteral("insert_tab"), QStringLiteral("local_request_answer"),
            QStringLiteral("update_remote_prices"), QStringLiteral("read_cars_list"),
            QStringLiteral("reload_runs_archive")};
}

QString library()
{
    return QStringLiteral(LAPVANE_PLUGIN_FILE);
}

/// The memory that the library takes; empty when it is not mapped.
struct Room
{
    quintptr begin = 0;
    quintptr end = 0;

    static Room ofLibrary()
    {
        Room room;
        QFile maps(QStringLiteral("/proc/self/maps"));
        if (!maps.open(QIODevice::ReadOnly))
            return room;
        const QList<QByteArray> lines = maps.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (!line.contains(QFile::encodeName(QFileInfo(library()).fileName())))
                continue;
            const QList<QByteArray> bounds = line.left(line.indexOf(' ')).split('-');
            if (room.begin == 0)
                room.begin = quintptr(bounds.first().toULongLong(nullptr, 16));
            room.end = quintptr(bounds.last().toULongLong(nullptr, 16));
        }
        return room;
    }

    bool isEmpty() const { return begin == end; }

    /// Keeps whatever comes later out of it, for good. False if something has come already.
    bool wallUp() const
    {
        return ::mmap(reinterpret_cast<void *>(begin), end - begin, PROT_NONE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE, -1, 0)
               != MAP_FAILED;
    }
};

} // namespace

void TestHandshake::metadata()
{
    const QPluginLoader loader(library());
    const QJsonObject metadata = loader.metaData();
    QCOMPARE(metadata.value(QLatin1String("IID")).toString(),
             QStringLiteral("zz.ordvex.vane.Qt.VanePluginInterface/v1.0"));
    QCOMPARE(metadata.value(QLatin1String("className")).toString(), QStringLiteral("LapvaneTicketPlugin"));
    QVERIFY(metadata.value(QLatin1String("MetaData")).toObject().isEmpty());
    QStringList keys = metadata.keys();
    keys.removeAll(QStringLiteral("debug"));
    keys.removeAll(QStringLiteral("version"));
    keys.removeAll(QStringLiteral("MetaData"));
    keys.removeAll(QStringLiteral("archreq"));
    QCOMPARE(keys, (QStringList{QStringLiteral("IID"), QStringLiteral("className")}));
}

void TestHandshake::exportedSymbols()
{
    QProcess nm;
    nm.start(QStringLiteral("nm"), {QStringLiteral("-D"), QStringLiteral("--defined-only"), library()});
    QVERIFY2(nm.waitForFinished(), qPrintable(nm.errorString()));
    QCOMPARE(nm.exitCode(), 0);
    QStringList symbols;
    const QStringList lines = QString::fromLatin1(nm.readAllStandardOutput().trimmed()).split(QLatin1Char('\n'));
    for (const QString &line : lines)
        symbols.append(line.section(QLatin1Char(' '), -1).section(QLatin1Char('@'), 0, 0));
    symbols.sort();
    QCOMPARE(symbols, (QStringList{QStringLiteral("qt_plugin_instance"), QStringLiteral("qt_plugin_query_metadata")}));
}

void TestHandshake::instanceMembers()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    QCOMPARE(desk.plugin()->versionWord, 122);
    QCOMPARE(desk.plugin()->hostText1, QString());
    QCOMPARE(desk.plugin()->hostText2, QString());
    QCOMPARE(desk.plugin()->fileNameWin, QStringLiteral("fileNameWin"));
    QCOMPARE(desk.plugin()->objectName(), QStringLiteral("Модуль кассы"));
    QCOMPARE(desk.plugin()->tabCaption(), QStringLiteral("Касса"));
    QCOMPARE(desk.plugin()->moduleName(), QStringLiteral("ticket_plugin"));
    QCOMPARE(desk.plugin()->hostOption1(), quintptr(0));
    QCOMPARE(desk.plugin()->hostOption2(), quintptr(0));

    desk.plugin()->hostText1 = QStringLiteral("one");
    desk.plugin()->hostText2 = QStringLiteral("two");
    desk.send(QStringLiteral("load_complete"));
    desk.send(QStringLiteral("next_run_info"));
    QCOMPARE(desk.plugin()->versionWord, 122);
    QCOMPARE(desk.plugin()->hostText1, QStringLiteral("one"));
    QCOMPARE(desk.plugin()->hostText2, QStringLiteral("two"));
    QCOMPARE(desk.plugin()->fileNameWin, QStringLiteral("fileNameWin"));
}

void TestHandshake::eventTables()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    const QStringList sent{QStringLiteral("current_run_finish_params"),
                           QStringLiteral("database_racer_checkin"),
                           QStringLiteral("finish_run"),
                           QStringLiteral("insert_hit"),
                           QStringLiteral("insert_tab"),
                           QStringLiteral("local_request_answer"),
                           QStringLiteral("print_document"),
                           QStringLiteral("print_results"),
                           QStringLiteral("print_run"),
                           QStringLiteral("read_cars_list"),
                           QStringLiteral("reload_runs_archive"),
                           QStringLiteral("remote_control_answer"),
                           QStringLiteral("replace_run_preset"),
                           QStringLiteral("settings_dialog"),
                           QStringLiteral("start_run"),
                           QStringLiteral("switch_car"),
                           QStringLiteral("update_remote_prices"),
                           QStringLiteral("update_local_client"),
                           QStringLiteral("update_remote_payments"),
                           QStringLiteral("write_sys_log")};
    QCOMPARE(desk.plugin()->sentEvents(), sent);
    const QStringList received{QStringLiteral("api_key_updated"),
                               QStringLiteral("cars_list_changed"),
                               QStringLiteral("client_account_data"),
                               QStringLiteral("current_tab_changed"),
                               QStringLiteral("local_request"),
                               QStringLiteral("new_run_started"),
                               QStringLiteral("next_run_info"),
                               QStringLiteral("online_service_status"),
                               QStringLiteral("payments_update_data"),
                               QStringLiteral("preparation_cleared"),
                               QStringLiteral("query_racer_from_database"),
                               QStringLiteral("race_mode"),
                               QStringLiteral("refresh_run_info"),
                               QStringLiteral("refresh_run_results"),
                               QStringLiteral("remote_control_data"),
                               QStringLiteral("request_queue_start"),
                               QStringLiteral("run_closed"),
                               QStringLiteral("runs_archive_list"),
                               QStringLiteral("send_settings_dialogs"),
                               QStringLiteral("timing_params"),
                               QStringLiteral("track_id_updated"),
                               QStringLiteral("transponder_hit"),
                               QStringLiteral("server_status"),
                               QStringLiteral("local_client_data")};
    QCOMPARE(desk.plugin()->receivedEvents(), received);
}

void TestHandshake::castNames()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    for (const char *name :
         {"LapvaneTicketPlugin", "zz.ordvex.vane.Qt.VanePluginInterface/v1.0", "VanePluginInterface", "QObject"})
        QVERIFY2(desk.plugin()->qt_metacast(name) == static_cast<void *>(desk.plugin()), name);
    QVERIFY(!desk.plugin()->qt_metacast("TicketPluginForm"));
    QVERIFY(!desk.plugin()->qt_metacast("zz.ordvex.vane.Qt.VanePluginInterface/v2.0"));
}

void TestHandshake::oneInstance()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    QCOMPARE(desk.loader().instance(), desk.plugin());
    QPluginLoader other(library());
    QCOMPARE(other.instance(), desk.plugin());
    other.unload();
    QVERIFY(desk.plugin());
}

void TestHandshake::silentUntilLoadComplete()
{
    const TempTrack track;
    track.addPriceItem({QStringLiteral("Заезд"), 500});
    track.writeJournal(QStringLiteral("tickets.state"), "{\"firstName\":\"A\",\"uuid\":\"{1}\"}\n");
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    HostProbe::settle(300);
    QCOMPARE(desk.names(), QStringList());
}

void TestHandshake::emptyTrack()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    const QVector<HostEvent> events = desk.take();
    for (const HostEvent &event : events) {
        QCOMPARE(event.module, QStringLiteral("ticket_plugin"));
        QCOMPARE(event.thread, QThread::currentThread());
    }
    const QJsonObject tab = events.at(0).data;
    QCOMPARE(tab.keys(), (QStringList{QStringLiteral("index"), QStringLiteral("moduleName"),
                                      QStringLiteral("tabCaption"), QStringLiteral("tabWidget")}));
    QVERIFY(tab.value(QLatin1String("tabWidget")).isDouble());
    JSON_CONTAINS(tab, JsonMatch::object(R"({"index": 0, "moduleName": "ticket_plugin", "tabCaption": "Касса"})"));
    JSON_COMPARE(events.at(1).data,
                 JsonMatch::object(R"({"priceList": [], "priceTypes": {"names": ["Основные"], "currentIndex": 0}})"));
    JSON_COMPARE(events.at(2).data, JsonMatch::object(R"({"priceKind": "Основные", "prices": []})"));
    JSON_COMPARE(events.at(3).data, QJsonObject());
    JSON_COMPARE(events.at(4).data, JsonMatch::object(R"({"limitHours": 24})"));
    HostProbe::settle(100);
    QCOMPARE(desk.names(), QStringList());
}

// The desk makes the first block itself when the host's schema has none.
void TestHandshake::emptyTrackWithoutSeededTypes()
{
    const TempTrack track(TempTrack::Tree | TempTrack::Database);
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());
    JSON_COMPARE(desk.last(QStringLiteral("local_request_answer")),
                 JsonMatch::object(R"({"priceList": [], "priceTypes": {"names": ["Основные"], "currentIndex": 0}})"));
    JSON_COMPARE(desk.last(QStringLiteral("update_remote_prices")),
                 JsonMatch::object(R"({"priceKind": "Основные", "prices": []})"));
    QCOMPARE(track.query(QStringLiteral("SELECT id,name,is_deleted FROM price_types")),
             (QList<QVariantList>{{1, QStringLiteral("Основные"), 0}}));
}

void TestHandshake::filledPriceList()
{
    const TempTrack track;
    const int second =
        track.addPriceItem({QStringLiteral("Взрослый"), 700.5, QStringLiteral("Sodi"), QStringLiteral("#ff0000")});
    const int first =
        track.addPriceItem({QStringLiteral("Аренда"), 150, QString(), QStringLiteral("#00ff00"), -1, -1, 0});
    const int free = track.addPriceItem({QStringLiteral("Подарок"), 0, QString(), QStringLiteral("#0000ff")});
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    QCOMPARE(desk.names(), handshakeNames());

    // The counter's clients see what can be sold: nothing without a price, in the order of the names.
    QJsonObject rent{{QStringLiteral("model"), QString()},
                     {QStringLiteral("salesItem"), QStringLiteral("Аренда")},
                     {QStringLiteral("salesId"), first},
                     {QStringLiteral("salesCommonId"), first},
                     {QStringLiteral("color"), QStringLiteral("#00ff00")},
                     {QStringLiteral("price"), 150}};
    QJsonObject adult{{QStringLiteral("model"), QStringLiteral("Sodi")},
                      {QStringLiteral("salesItem"), QStringLiteral("Взрослый")},
                      {QStringLiteral("salesId"), second},
                      {QStringLiteral("salesCommonId"), second},
                      {QStringLiteral("color"), QStringLiteral("#ff0000")},
                      {QStringLiteral("price"), 700.5}};
    const QJsonObject types = JsonMatch::object(R"({"names": ["Основные"], "currentIndex": 0})");
    JSON_COMPARE(desk.last(QStringLiteral("local_request_answer")),
                 (QJsonObject{{QStringLiteral("priceList"), QJsonArray{rent, adult}},
                              {QStringLiteral("priceTypes"), types}}));

    // The online service gets every item.
    const auto remote = [](int id, const char *name, const char *model, double price, const char *color, int avail) {
        return QJsonObject{{QStringLiteral("salesId"), id},
                           {QStringLiteral("salesCommonId"), id},
                           {QStringLiteral("salesItem"), QString::fromUtf8(name)},
                           {QStringLiteral("carModel"), QString::fromUtf8(model)},
                           {QStringLiteral("price"), price},
                           {QStringLiteral("color"), QString::fromUtf8(color)},
                           {QStringLiteral("availRules"), QString()},
                           {QStringLiteral("remoteAvail"), avail}};
    };
    JSON_COMPARE(desk.last(QStringLiteral("update_remote_prices")),
                 (QJsonObject{{QStringLiteral("priceKind"), QStringLiteral("Основные")},
                              {QStringLiteral("prices"),
                               QJsonArray{remote(first, "Аренда", "", 150, "#00ff00", 0),
                                          remote(second, "Взрослый", "Sodi", 700.5, "#ff0000", 1),
                                          remote(free, "Подарок", "", 0, "#0000ff", 1)}}}));
}

void TestHandshake::blocksBesideTemplates()
{
    const TempTrack track;
    const int block = track.addPriceType(QStringLiteral("Выходные"));
    const int common = track.addPriceItem({QStringLiteral("Заезд"), 500});
    track.addPriceItem({QStringLiteral("Заезд"), 900, QString(), QStringLiteral("#ffffff"), block, common});
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    JSON_CONTAINS(desk.last(QStringLiteral("local_request_answer")), JsonMatch::object(R"({
        "priceTypes": {"names": ["Основные", "Выходные"], "currentIndex": 0},
        "priceList": [{"salesItem": "Заезд", "price": 500}]})"));
    JSON_CONTAINS(desk.last(QStringLiteral("update_remote_prices")),
                  JsonMatch::object(R"({"priceKind": "Основные", "prices": [{"salesItem": "Заезд", "price": 500}]})"));
}

void TestHandshake::deletedRowsStayOut()
{
    const TempTrack track;
    track.addPriceItem({QStringLiteral("Заезд"), 500});
    const int gone = track.addPriceItem({QStringLiteral("Старый"), 400});
    track.query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE id=?"), {gone});
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    JSON_CONTAINS(desk.last(QStringLiteral("local_request_answer")),
                  JsonMatch::object(R"({"priceList": [{"salesItem": "Заезд"}]})"));
    JSON_CONTAINS(desk.last(QStringLiteral("update_remote_prices")),
                  JsonMatch::object(R"({"prices": [{"salesItem": "Заезд"}]})"));
}

void TestHandshake::repeatedLoadComplete()
{
    const TempTrack track;
    track.addPriceItem({QStringLiteral("Заезд"), 500});
    HostProbe desk(library());
    QVERIFY2(desk.load(), qPrintable(desk.errorString()));
    desk.send(QStringLiteral("load_complete"));
    const QVector<HostEvent> first = desk.take();
    desk.send(QStringLiteral("load_complete"), JsonMatch::object(R"({"anything": [1, 2]})"), QString());
    const QVector<HostEvent> second = desk.take();
    QCOMPARE(first.size(), handshakeNames().size());
    QCOMPARE(second.size(), first.size());
    for (int i = 0; i < first.size(); ++i) {
        QCOMPARE(second.at(i).event, handshakeNames().at(i));
        JSON_COMPARE(second.at(i).data, first.at(i).data);
    }
}

void TestHandshake::unknownEvents()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.start(), qPrintable(desk.errorString()));
    for (const char *name :
         {"", "LOAD_COMPLETE", "load_complete ", "close_run", "insert_tab", "settings_accepted", "no_such_event"})
        desk.send(QString::fromLatin1(name), JsonMatch::object(R"({"isRaceMode": false, "nextRunNum": 3})"));
    HostProbe::settle();
    QCOMPARE(desk.names(), QStringList());
}

void TestHandshake::tabIsAWidgetForATabBar()
{
    const TempTrack track;
    HostProbe desk(library());
    QVERIFY2(desk.start(), qPrintable(desk.errorString()));
    QTabWidget window;
    window.addTab(desk.tab(), desk.plugin()->tabCaption());
    window.resize(1265, 775);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.tabText(0), QStringLiteral("Касса"));
    QVERIFY(desk.tab()->isVisible());
    // The form belongs to the desk, not to the window that shows it.
    window.removeTab(0);
    desk.tab()->setParent(nullptr);
    const QPointer<QWidget> tab(desk.tab());
    QVERIFY(desk.unload());
    QVERIFY(tab.isNull());
}

void TestHandshake::unloadAndLoadAgain()
{
    for (int round = 0; round < 3; ++round) {
        const TempTrack track;
        track.addPriceItem({QStringLiteral("Заезд"), 500.0 + round});
        HostProbe desk(library());
        QVERIFY2(desk.load(), qPrintable(desk.errorString()));
        const QPointer<QObject> instance(desk.plugin());
        desk.send(QStringLiteral("load_complete"));
        QCOMPARE(desk.names(), handshakeNames());
        QCOMPARE(desk.last(QStringLiteral("local_request_answer"))
                     .value(QLatin1String("priceList"))[0][QLatin1String("price")]
                     .toDouble(),
                 500.0 + round);
        desk.tab()->show();
        QVERIFY(QTest::qWaitForWindowExposed(desk.tab()));
        QVERIFY2(desk.unload(), qPrintable(desk.errorString()));
        QVERIFY(instance.isNull());
        QVERIFY(desk.names().size() == handshakeNames().size());
        HostProbe::settle(20);
    }
}

void TestHandshake::leavesTheProcess()
{
    // Earlier tests keep the library mapped, so a process of its own looks at this.
    const TempTrack track;
    ChildDesk child(QStringLiteral("unmap"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(), child.output().constData());
    QCOMPARE(child.output().count("mapped while loaded: 1\n"), 3);
    QCOMPARE(child.output().count("mapped afterwards: 0\n"), 3);
}

namespace {

int runChild(const QString &role, const QStringList &)
{
    if (role != QLatin1String("unmap"))
        return 2;
    const auto track = TempTrack::fromEnvironment();
    quintptr lastBegin = 0;
    for (int round = 0; round < 3; ++round) {
        HostProbe desk(library(), HostProbe::Unload::Unmap);
        if (!desk.start())
            return 3;
        desk.tab()->show();
        QTest::qWait(100);
        QMetaObject::invokeMethod(desk.settingsPage(), "pluginSlot", Q_ARG(QString, QString()),
                                  Q_ARG(QString, QStringLiteral("settings_accepted")), Q_ARG(QJsonObject, {}));
        const Room room = Room::ofLibrary();
        ChildDesk::say("mapped while loaded: " + QByteArray::number(int(!room.isEmpty())));
        if (room.begin == lastBegin)
            return 6;
        lastBegin = room.begin;
        if (!desk.unload())
            return 4;
        ChildDesk::say("mapped afterwards: " + QByteArray::number(int(!Room::ofLibrary().isEmpty())));
        // The next desk lies elsewhere, so that nobody finds the old one's code where it was by luck.
        ChildDesk::say("walled up: " + QByteArray::number(int(room.wallUp())));
        // Whatever the library left behind in Qt must not reach back into it.
        QTest::qWait(100);
        if (!QSettings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"))
                 .allKeys()
                 .contains(QStringLiteral("maxInRunCount")))
            return 5;
    }
    return 0;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestHandshake, runChild)

#include "tst_handshake.moc"
