#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QAbstractItemModel>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTreeView>

/// The files that keep the desk over a restart: their bytes, the moments at which they are written and not written, and
/// what is left of them after damage or a kill.
class TestJournals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void firstStart();
    void rewrittenAtStart();
    void ticketsRoundTrip();
    void ticketsDefaults();
    void ticketsSums();
    void ticketsPinCodes();
    void ticketsFreshUuids();
    void ticketsExpanded();
    void writes_data();
    void writes();
    void editsInTheTable();
    void orderlyEnd();
    void operatorsRoundTrip();
    void operatorsReading_data();
    void operatorsReading();
    void operatorsDamaged_data();
    void operatorsDamaged();
    void damagedTickets_data();
    void damagedTickets();
    void damagedNeighbours();
    void registrationHistoryIsOnlyRead();
    void missingTree_data();
    void missingTree();
    void fileThatCannotBeWritten();
    void killInMidDay();
    void killBeforeTheFirstOrderlyEnd();

private:
    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<HostProbe> m_desk;
};

namespace {

using JsonMatch::object;

const QString Tickets = QStringLiteral("tickets.state");
const QString Runs = QStringLiteral("runslist.state");
const QString History = QStringLiteral("runshistory.state");
const QString Operators = QStringLiteral("operators.state");
const QString RegHistory = QStringLiteral("reghistory.state");

/// Names of the journals that are there, the journals of the runs left out.
QStringList present(const TempTrack &track)
{
    QStringList names = track.journals();
    names.removeAll(Runs);
    names.removeAll(History);
    return names;
}

QByteArray ticketLine(const char *uuid, const char *lastName, const char *more = "")
{
    return QByteArray("{\"uuid\":\"") + uuid + "\",\"lastName\":\"" + lastName + "\",\"regTime\":0" + more + "}\n";
}

QStringList uuids(const QByteArray &journal)
{
    QStringList list;
    const QList<QByteArray> lines = journal.split('\n');
    for (const QByteArray &line : lines) {
        if (!line.isEmpty())
            list.append(object(line).value(QLatin1String("uuid")).toString());
    }
    return list;
}

// The slot that the desk's list calls on every change.
bool publishList(HostProbe &desk)
{
    return QMetaObject::invokeMethod(desk.tab(), "checkInListUpdated", Q_ARG(QJsonArray, QJsonArray()));
}

} // namespace

void TestJournals::init()
{
    m_track = std::make_unique<TempTrack>();
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
}

void TestJournals::cleanup()
{
    m_desk.reset();
    m_track.reset();
}

void TestJournals::firstStart()
{
    QVERIFY2(m_desk->load(), qPrintable(m_desk->errorString()));
    QCOMPARE(present(*m_track), QStringList{Tickets});
    QCOMPARE(m_track->readJournal(Tickets), QByteArray(""));
    m_desk->send(QStringLiteral("load_complete"));
    QCOMPARE(present(*m_track), QStringList{Tickets});
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
    QVERIFY(m_desk->unload());
    QCOMPARE(present(*m_track), (QStringList{Operators, Tickets}));
    QCOMPARE(m_track->readJournal(Tickets), QByteArray(""));
    QCOMPARE(m_track->readJournal(Operators), QByteArray("[\n]\n"));
}

// What was read is written once more before the host even knows of the desk.
void TestJournals::rewrittenAtStart()
{
    m_track->writeJournal(Tickets, "noise\n" + ticketLine("{b}", "B") + ticketLine("{a}", "A"));
    QVERIFY2(m_desk->load(), qPrintable(m_desk->errorString()));
    const QByteArray written = m_track->readJournal(Tickets);
    QCOMPARE(uuids(written), (QStringList{QStringLiteral("{b}"), QStringLiteral("{a}")}));
    QVERIFY(!written.contains("noise"));
    JSON_CONTAINS(object(written.split('\n').first()), object(R"({"name": "B ", "runCount": 1, "kidsList": []})"));
}

void TestJournals::ticketsRoundTrip()
{
    const int sale =
        m_track->addPriceItem({QStringLiteral("Заезд"), 500, QStringLiteral("Sodi"), QStringLiteral("#ff8000")});
    QCOMPARE(sale, 1);
    const QByteArray family =
        "{\"carId\":3,\"carModel\":\"Sodi\",\"carNum\":\"7\",\"clientId\":17,\"color\":\"#ff8000\","
        "\"comment\":\"у \\\"борта\\\"\\n2\",\"discountValue\":\"10\",\"firstName\":\"Пётр\",\"kidsList\":["
        "{\"carId\":-1,\"carModel\":\"Sodi\",\"carNum\":\"\",\"clientId\":-1,\"color\":\"#ff8000\",\"comment\":\"\","
        "\"discountValue\":\"0\",\"firstName\":\"Яна\",\"lastName\":\"Малая\",\"midName\":\"\",\"name\":\"Малая Яна\","
        "\"nfcUid\":\"\",\"parentFirstName\":\"Пётр\",\"parentLastName\":\"Иванов\",\"parentMidName\":\"Ильич\","
        "\"parentUuid\":\"{p}\",\"payMethod\":\"\",\"payState\":false,\"paySum\":0,\"pinCodes\":[\"0007\"],"
        "\"price\":300.5,\"priceType\":-1,\"regTime\":0,\"runCount\":1,\"salesCommonId\":1,\"salesId\":1,"
        "\"salesItem\":\"Заезд\",\"uuid\":\"{k2}\",\"validSafetyAgreement\":false},"
        "{\"carId\":-1,\"carModel\":\"\",\"carNum\":\"\",\"clientId\":-1,\"color\":\"#ffffff\",\"comment\":\"\","
        "\"discountValue\":\"0\",\"firstName\":\"Артём\",\"lastName\":\"Малый\",\"midName\":\"\","
        "\"name\":\"Малый Артём\",\"nfcUid\":\"\",\"parentFirstName\":\"Пётр\",\"parentLastName\":\"Иванов\","
        "\"parentMidName\":\"Ильич\",\"parentUuid\":\"{p}\",\"payMethod\":\"\",\"payState\":false,\"paySum\":0,"
        "\"pinCodes\":[],\"price\":0,\"priceType\":-1,\"regTime\":0,\"runCount\":0,\"salesCommonId\":-1,"
        "\"salesId\":-1,\"salesItem\":\"\",\"uuid\":\"{k1}\",\"validSafetyAgreement\":false}],"
        "\"lastName\":\"Иванов\",\"midName\":\"Ильич\",\"name\":\"Иванов Пётр\",\"nfcUid\":\"A1B2\","
        "\"payMethod\":\"Карта\",\"payState\":true,\"paySum\":1170.45,\"pinCodes\":[\"0042\",\"0042\"],\"price\":500,"
        "\"priceType\":-1,\"regTime\":4102444800,\"runCount\":2,\"salesCommonId\":1,\"salesId\":1,"
        "\"salesItem\":\"Заезд\",\"uuid\":\"{p}\",\"validSafetyAgreement\":true}\n";
    const QByteArray single =
        "{\"carId\":-1,\"carModel\":\"\",\"carNum\":\"\",\"clientId\":-1,\"color\":\"#ffffff\",\"comment\":\"\","
        "\"discountValue\":\"=50\",\"firstName\":\"\",\"kidsList\":[],\"lastName\":\"Сидоров\",\"midName\":\"\","
        "\"name\":\"Сидоров \",\"nfcUid\":\"\",\"payMethod\":\"\",\"payState\":false,\"paySum\":0,\"pinCodes\":[],"
        "\"price\":0,\"priceType\":-1,\"regTime\":0,\"runCount\":0,\"salesCommonId\":-1,\"salesId\":-1,"
        "\"salesItem\":\"\",\"uuid\":\"{s}\",\"validSafetyAgreement\":false}\n";
    m_track->writeJournal(Tickets, family + single);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_track->removeJournal(Tickets);
    QVERIFY(publishList(*m_desk));
    QCOMPARE(m_track->readJournal(Tickets), family + single);
    m_track->removeJournal(Tickets);
    QVERIFY(m_desk->unload());
    QCOMPARE(m_track->readJournal(Tickets), family + single);
}

// A line that holds next to nothing comes back with every key and its default.
void TestJournals::ticketsDefaults()
{
    m_track->writeJournal(Tickets, "{\"uuid\":\"{m}\"}\n{\"uuid\":\"{w}\",\"runCount\":\"3\",\"carId\":\"3\","
                                   "\"payState\":1,\"lastName\":5,\"pinCodes\":\"1234\",\"kidsList\":{}}\n");
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_track->removeJournal(Tickets);
    QVERIFY(publishList(*m_desk));
    const QByteArray head = "{\"carId\":-1,\"carModel\":\"\",\"carNum\":\"\",\"clientId\":-1,\"color\":\"#000000\","
                            "\"comment\":\"\",\"discountValue\":\"\",\"firstName\":\"\",\"kidsList\":[],"
                            "\"lastName\":\"\",\"midName\":\"\",\"name\":\" \",\"nfcUid\":\"\",\"payMethod\":\"\","
                            "\"payState\":false,\"paySum\":0,\"pinCodes\":[\"\"],\"price\":0,\"priceType\":-1,"
                            "\"regTime\":0,\"runCount\":1,\"salesCommonId\":-1,\"salesId\":-1,\"salesItem\":\"\",";
    QCOMPARE(m_track->readJournal(Tickets), head + "\"uuid\":\"{m}\",\"validSafetyAgreement\":false}\n" + head
                                                + "\"uuid\":\"{w}\",\"validSafetyAgreement\":false}\n");
}

// Sums are worked out anew; what the file says about them is not believed.
void TestJournals::ticketsSums()
{
    m_track->writeJournal(
        Tickets, ticketLine("{a}", "A",
                            ",\"runCount\":3,\"price\":500,\"paySum\":1,\"discountValue\":\"=100\",\"kidsList\":["
                            "{\"uuid\":\"{k}\",\"runCount\":2,\"price\":250}]")
                     + ticketLine("{b}", "B", ",\"runCount\":2,\"price\":100,\"discountValue\":\"abc\""));
    QVERIFY2(m_desk->load(), qPrintable(m_desk->errorString()));
    const QList<QByteArray> lines = m_track->readJournal(Tickets).split('\n');
    QCOMPARE(object(lines.at(0)).value(QLatin1String("paySum")).toDouble(), 3 * 500 + 2 * 250 - 3 * 100.0);
    QCOMPARE(object(lines.at(1)).value(QLatin1String("paySum")).toDouble(), 200.0);
}

void TestJournals::ticketsPinCodes()
{
    m_track->writeJournal(Tickets,
                          ticketLine("{a}", "A", ",\"runCount\":3,\"pinCodes\":[\"0001\",\"0001\"]")
                              + ticketLine("{b}", "B", ",\"runCount\":1,\"pinCodes\":[\"0002\",\"0003\",\"0004\"]"));
    QVERIFY2(m_desk->load(), qPrintable(m_desk->errorString()));
    const QList<QByteArray> lines = m_track->readJournal(Tickets).split('\n');
    JSON_CONTAINS(object(lines.at(0)), object(R"({"pinCodes": ["0001", "0001", ""]})"));
    JSON_CONTAINS(object(lines.at(1)), object(R"({"pinCodes": ["0002"]})"));
}

void TestJournals::ticketsFreshUuids()
{
    m_track->writeJournal(Tickets, "{\"lastName\":\"A\",\"kidsList\":[{\"lastName\":\"K1\"},{\"lastName\":\"K2\"}]}\n");
    QVERIFY2(m_desk->load(), qPrintable(m_desk->errorString()));
    const QJsonObject line = object(m_track->readJournal(Tickets));
    const QJsonArray kids = line.value(QLatin1String("kidsList")).toArray();
    QCOMPARE(kids.size(), 2);
    const QStringList ids{line.value(QLatin1String("uuid")).toString(), kids.at(0)[QLatin1String("uuid")].toString(),
                          kids.at(1)[QLatin1String("uuid")].toString()};
    for (const QString &id : ids)
        QVERIFY2(QUuid(id).toString() == id && !QUuid(id).isNull(), qPrintable(id));
    QCOMPARE(QSet<QString>(ids.begin(), ids.end()).size(), 3);
    QCOMPARE(kids.at(0)[QLatin1String("lastName")].toString(), QStringLiteral("K1"));
    QCOMPARE(kids.at(1)[QLatin1String("lastName")].toString(), QStringLiteral("K2"));
    QCOMPARE(kids.at(1)[QLatin1String("parentUuid")].toString(), ids.first());
}

void TestJournals::ticketsExpanded()
{
    m_track->writeJournal(Tickets,
                          ticketLine("{a}", "A", ",\"kidsList\":[{\"lastName\":\"K\"}]") + ticketLine("{b}", "B"));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const auto *view = m_desk->find<QTreeView *>(QStringLiteral("tvCheckIn"));
    QCOMPARE(view->model()->rowCount(), 2);
    QCOMPARE(view->model()->rowCount(view->model()->index(0, 0)), 1);
    QVERIFY(view->isExpanded(view->model()->index(0, 0)));
}

void TestJournals::writes_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QJsonObject>("payload");
    QTest::addColumn<QStringList>("written");
    const auto row = [](const char *event, const char *payload, const QStringList &written) {
        QTest::addRow("%s %s", event, payload) << QString::fromLatin1(event) << object(payload) << written;
    };
    row("next_run_info", R"({"nextRunNum": 3})", {Tickets});
    row("race_mode", R"({"isRaceMode": false})", {Tickets});
    row("server_status", R"({"msg": {"status": "ok"}})", {Tickets});
    row("client_account_data", R"({"clientId": 17, "lastName": "X"})", {Tickets});
    row("client_account_data", R"({})", {Tickets});
    row("load_complete", R"({})", {});
    row("race_mode", R"({"isRaceMode": true})", {});
    row("server_status", R"({"msg": {"status": "lost"}})", {});
    row("cars_list_changed", R"({"cars": [{"id": 1, "name": "Sodi", "available_for_runs": true}]})", {});
    row("track_id_updated", R"({"trackId": "1", "trackName": "x"})", {});
    row("local_client_data", R"({"clientId": 17, "lastName": "X"})", {});
    row("preparation_cleared", R"({"clearList": [{"racerGuid": "{a}"}]})", {});
    row("timing_params", R"({"dayBeginTime": 3600000})", {});
    row("online_service_status", R"({"enabled": true, "apiKey": "k"})", {});
    row("current_tab_changed", R"({"currentTab": "RaceManagerForm"})", {});
    row("run_saved_to_db", R"({})", {});
    row("runs_archive_list", R"({"runs": []})", {});
    row("request_queue_start", R"({})", {});
    row("send_settings_dialogs", R"({})", {});
    row("api_key_updated", R"({"apiKey": "k"})", {});
    row("payments_update_data", R"({"updatedList": [1]})", {});
    row("remote_control_data", R"({"request": "no such request"})", {});
    row("local_request", R"({"request": "no such request", "linkGuid": 1})", {});
    row("no_such_event", R"({})", {});
}

void TestJournals::writes()
{
    QFETCH(QString, event);
    QFETCH(QJsonObject, payload);
    QFETCH(QStringList, written);
    m_track->writeJournal(Tickets, ticketLine("{a}", "A", ",\"clientId\":17"));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    if (event == QLatin1String("server_status"))
        m_desk->send(QStringLiteral("server_status"), object(R"({"msg": {"status": "lost"}})"));
    m_track->removeJournal(Tickets);
    QCOMPARE(present(*m_track), QStringList());
    m_desk->send(event, payload);
    HostProbe::settle(20);
    QCOMPARE(present(*m_track), written);
    if (!written.isEmpty())
        QCOMPARE(uuids(m_track->readJournal(Tickets)), QStringList{QStringLiteral("{a}")});
}

void TestJournals::editsInTheTable()
{
    const int sale = m_track->addPriceItem({QStringLiteral("Заезд"), 500});
    QCOMPARE(sale, 1);
    m_track->writeJournal(Tickets, ticketLine("{a}", "A", ",\"salesItem\":\"Заезд\",\"salesId\":1,\"price\":500"));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QAbstractItemModel *model = m_desk->checkIn();
    const auto edit = [&](const char *key, const QVariant &value) {
        model->setData(model->index(0, HostProbe::column(model, QString::fromLatin1(key))), value, Qt::EditRole);
    };

    // The number of runs is published and written at once.
    m_track->removeJournal(Tickets);
    edit("RUNCOUNT", 4);
    QCOMPARE(present(*m_track), QStringList{Tickets});
    JSON_CONTAINS(object(m_track->readJournal(Tickets)), object(R"({"runCount": 4, "paySum": 2000})"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_CONTAINS(m_desk->last(QStringLiteral("local_request_answer")),
                  object(R"({"checkInList": [{"uuid": "{a}", "runCount": 4}]})"));

    // A comment goes the way of the payments and waits for the next journal.
    m_desk->clear();
    m_track->removeJournal(Tickets);
    edit("COMMENT", QStringLiteral("позже"));
    QTRY_COMPARE(m_track->value(QStringLiteral("SELECT comment FROM payments WHERE racer_guid='{a}'")).toString(),
                 QStringLiteral("позже"));
    QCOMPARE(present(*m_track), QStringList());
    QCOMPARE(m_desk->names(), QStringList());
    QVERIFY(publishList(*m_desk));
    JSON_CONTAINS(object(m_track->readJournal(Tickets)), object(R"({"comment": "позже"})"));
}

void TestJournals::orderlyEnd()
{
    m_track->writeJournal(Tickets, ticketLine("{b}", "B") + ticketLine("{a}", "A"));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_track->removeJournal(Tickets);
    QVERIFY(m_desk->unload());
    QCOMPARE(present(*m_track), (QStringList{Operators, Tickets}));
    QCOMPARE(uuids(m_track->readJournal(Tickets)), (QStringList{QStringLiteral("{b}"), QStringLiteral("{a}")}));
}

void TestJournals::operatorsRoundTrip()
{
    const QByteArray operators = "[\n"
                                 "    {\n"
                                 "        \"id\": 3,\n"
                                 "        \"name\": \"Орлова Анна\",\n"
                                 "        \"token\": \"{aaa}\"\n"
                                 "    },\n"
                                 "    {\n"
                                 "        \"id\": -1,\n"
                                 "        \"name\": \"\",\n"
                                 "        \"token\": \"{bbb}\"\n"
                                 "    }\n"
                                 "]\n";
    m_track->writeJournal(Operators, operators);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("next_run_info"));
    QCOMPARE(m_track->readJournal(Operators), operators);
    m_track->removeJournal(Operators);
    QVERIFY(m_desk->unload());
    QCOMPARE(m_track->readJournal(Operators), operators);
}

void TestJournals::operatorsReading_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QJsonArray>("expected");
    QTest::newRow("sorted by token")
        << QByteArray(R"([{"token":"{b}","id":2,"name":"B"},{"token":"{a}","id":1,"name":"A"}])")
        << JsonMatch::array(R"([{"token":"{a}","id":1,"name":"A"},{"token":"{b}","id":2,"name":"B"}])");
    QTest::newRow("empty token dropped") << QByteArray(
        R"([{"token":"","id":2,"name":"B"},{"token":"{a}","id":1,"name":"A"}])")
                                         << JsonMatch::array(R"([{"token":"{a}","id":1,"name":"A"}])");
    QTest::newRow("defaults") << QByteArray(R"([{"token":"{a}"}])")
                              << JsonMatch::array(R"([{"token":"{a}","id":-1,"name":""}])");
    QTest::newRow("wrong types") << QByteArray(R"([{"token":"{a}","id":"4","name":7,"more":1}])")
                                 << JsonMatch::array(R"([{"token":"{a}","id":-1,"name":""}])");
    QTest::newRow("one token twice") << QByteArray(
        R"([{"token":"{a}","id":1,"name":"A"},{"token":"{a}","id":2,"name":"B"}])")
                                     << JsonMatch::array(R"([{"token":"{a}","id":2,"name":"B"}])");
}

void TestJournals::operatorsReading()
{
    QFETCH(QByteArray, file);
    QFETCH(QJsonArray, expected);
    m_track->writeJournal(Operators, file);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QVERIFY(m_desk->unload());
    JSON_COMPARE(JsonMatch::array(m_track->readJournal(Operators)), expected);
}

void TestJournals::operatorsDamaged_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("object") << QByteArray(R"({"token":"{a}","id":1})");
    QTest::newRow("cut short") << QByteArray(R"([{"token":"{a}","id":1},{"tok)");
    QTest::newRow("noise") << QByteArray("\0\xff\xfe[]", 5);
    QTest::newRow("empty") << QByteArray("");
}

void TestJournals::operatorsDamaged()
{
    QFETCH(QByteArray, file);
    m_track->writeJournal(Operators, file);
    m_track->writeJournal(Tickets, ticketLine("{a}", "A"));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
    QVERIFY(m_desk->unload());
    QCOMPARE(m_track->readJournal(Operators), QByteArray("[\n]\n"));
}

void TestJournals::damagedTickets_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("kept");
    const QByteArray a = ticketLine("{a}", "A");
    const QByteArray b = ticketLine("{b}", "B");
    const QByteArray c = ticketLine("{c}", "C");
    const QStringList ac{QStringLiteral("{a}"), QStringLiteral("{c}")};
    const QStringList abc{QStringLiteral("{a}"), QStringLiteral("{b}"), QStringLiteral("{c}")};
    QTest::newRow("cut line in the middle") << a + b.left(12) + "\n" + c << ac;
    QTest::newRow("array line") << a + "[1,2]\n" + c << ac;
    QTest::newRow("noise") << a + QByteArray("\xff\xfe\x00\x01\n", 5) + c << ac;
    QTest::newRow("empty lines") << "\n" + a + "\n\n" + c << ac;
    QTest::newRow("text") << "hello\n" + a + "5\n" + c + "null\n" << ac;
    QTest::newRow("cut at the end") << a + c + b.left(b.size() / 2) << ac;
    // The last byte of a line is dropped unread, so a line without its end is a damaged one.
    QTest::newRow("no newline at the end") << a + c + b.left(b.size() - 1) << ac;
    QTest::newRow("whole") << a + b + c << abc;
    // One byte at the end of a line is dropped, whatever it is; blanks before it do no harm.
    QTest::newRow("carriage returns") << a.left(a.size() - 1) + "\r\n" + b.left(b.size() - 1) + "\r\n" + c << abc;
    QTest::newRow("nothing but noise") << QByteArray("\0\0\0", 3) << QStringList();
}

void TestJournals::damagedTickets()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, kept);
    m_track->writeJournal(Tickets, file);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QCOMPARE(uuids(m_track->readJournal(Tickets)), kept);
    QCOMPARE(m_desk->checkIn()->rowCount(), kept.size());
}

// Whatever is wrong with one journal, the others still load.
void TestJournals::damagedNeighbours()
{
    m_track->writeJournal(Tickets, "{\n" + ticketLine("{a}", "A"));
    m_track->writeJournal(RegHistory, "{\"firstName\":\n[]\n\n{\"firstName\":\"A\",\"uuid\":\"{x}\"}\n{\"cut\"");
    m_track->writeJournal(Runs, "noise\n\nRUNITE\nCOMPETITOR:{}\nCOMPETITOR:[\n");
    m_track->writeJournal(History, "{\"no\": \"array\"}");
    m_track->writeJournal(Operators, R"([5, "x", null, [], {}, {"token":"{t}","id":1,"name":"A"}])");
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
    QVERIFY(m_desk->unload());
    QCOMPARE(uuids(m_track->readJournal(Tickets)), QStringList{QStringLiteral("{a}")});
    const QJsonArray operators = JsonMatch::array(m_track->readJournal(Operators));
    JSON_CONTAINS(operators.last(), object(R"({"token": "{t}", "id": 1, "name": "A"})"));
}

void TestJournals::registrationHistoryIsOnlyRead()
{
    const QByteArray history = "{\"firstName\":\"A\",\"timestamp\":1,\"uuid\":\"{x}\"}\nnoise\n";
    m_track->writeJournal(RegHistory, history);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "validateRegList"));
    m_desk->send(QStringLiteral("next_run_info"));
    QVERIFY(publishList(*m_desk));
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
    QVERIFY(m_desk->unload());
    QCOMPARE(m_track->readJournal(RegHistory), history);
    QCOMPARE(present(*m_track), (QStringList{Operators, RegHistory, Tickets}));
}

void TestJournals::missingTree_data()
{
    QTest::addColumn<bool>("rootToo");
    QTest::newRow("no Lapvane-QT at all") << true;
    QTest::newRow("no folder of journals") << false;
}

void TestJournals::missingTree()
{
    QFETCH(bool, rootToo);
    const TempTrack track(rootToo ? TempTrack::Features(TempTrack::Bare) : TempTrack::Features(TempTrack::Complete));
    if (!rootToo)
        QVERIFY(QDir().rmdir(track.journalsFolder()));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("next_run_info"));
    QVERIFY(publishList(*m_desk));
    m_desk->send(QStringLiteral("client_account_data"));
    QCOMPARE(m_desk->names(),
             (QStringList{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer"),
                          QStringLiteral("local_request_answer"), QStringLiteral("update_local_client")}));
    QVERIFY(m_desk->unload());
    // Making folders is the host's business.
    QVERIFY(!QFile::exists(rootToo ? track.root() : track.journalsFolder()));
}

// A folder stands where the file should be: nobody can open it, not even the superuser.
void TestJournals::fileThatCannotBeWritten()
{
    m_track->writeJournal(Operators, "[]");
    QVERIFY(QDir().mkdir(m_track->journal(Tickets)));
    QVERIFY(QDir().mkdir(m_track->journal(History)));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("next_run_info"));
    m_desk->send(QStringLiteral("client_account_data"));
    QCOMPARE(m_desk->names(),
             (QStringList{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer"),
                          QStringLiteral("update_local_client")}));
    QVERIFY(m_desk->unload());
    // The file behind the two is written all the same.
    QCOMPARE(m_track->readJournal(Operators), QByteArray("[\n]\n"));
    QVERIFY(QFileInfo(m_track->journal(Tickets)).isDir());
    QVERIFY(QFileInfo(m_track->journal(History)).isDir());
}

void TestJournals::killInMidDay()
{
    m_track->addPriceItem({QStringLiteral("Заезд"), 500});
    const QByteArray operators =
        "[\n    {\n        \"id\": 3,\n        \"name\": \"Орлова Анна\",\n        \"token\": \"{t}\"\n    }\n]\n";
    m_track->writeJournal(Operators, operators);
    m_track->writeJournal(Tickets,
                          ticketLine("{a}", "Иванов",
                                     ",\"clientId\":17,\"kidsList\":[{\"uuid\":\"{k}\",\"lastName\":\"Малая\"}]")
                              + ticketLine("{b}", "Сидоров", ",\"salesItem\":\"Заезд\",\"salesId\":1,\"price\":500"));
    ChildDesk child(QStringLiteral("day"));
    QVERIFY(child.start());
    QVERIFY2(child.waitForLine("worked"), child.output().constData());
    child.kill();
    QVERIFY(!child.finish());
    QCOMPARE(m_track->readJournal(Operators), operators);
    QVERIFY(!m_track->hasJournal(History));

    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QAbstractItemModel *model = m_desk->checkIn();
    QCOMPARE(model->rowCount(), 2);
    QCOMPARE(model->rowCount(model->index(0, 0)), 1);
    QCOMPARE(HostProbe::cell(model, 0, QStringLiteral("NAME")).trimmed(), QStringLiteral("Петров"));
    QCOMPARE(HostProbe::cell(model, 1, QStringLiteral("RUNCOUNT")), QStringLiteral("4"));
    QCOMPARE(HostProbe::cell(model, 1, QStringLiteral("PAYSUM")).toDouble(), 2000.0);
    // What was not published before the kill is lost, and nothing else is.
    QCOMPARE(HostProbe::cell(model, 1, QStringLiteral("COMMENT")), QString());
    QVERIFY(m_desk->unload());
    QCOMPARE(m_track->readJournal(Operators), operators);
}

void TestJournals::killBeforeTheFirstOrderlyEnd()
{
    ChildDesk child(QStringLiteral("idle"));
    QVERIFY(child.start());
    QVERIFY2(child.waitForLine("started"), child.output().constData());
    child.kill();
    QCOMPARE(present(*m_track), QStringList{Tickets});
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QVERIFY(m_desk->unload());
    QCOMPARE(present(*m_track), (QStringList{Operators, Tickets}));
}

namespace {

int runChild(const QString &role, const QStringList &)
{
    const auto track = TempTrack::fromEnvironment();
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return 3;
    if (role == QLatin1String("day")) {
        QAbstractItemModel *model = desk.checkIn();
        const auto edit = [&](const char *key, const QVariant &value) {
            model->setData(model->index(1, HostProbe::column(model, QString::fromLatin1(key))), value, Qt::EditRole);
        };
        desk.send(QStringLiteral("client_account_data"), object(R"({"clientId": 17, "lastName": "Петров"})"));
        edit("RUNCOUNT", 4);
        edit("COMMENT", QStringLiteral("не записан"));
        ChildDesk::say("worked");
    } else {
        ChildDesk::say("started");
    }
    QTest::qWait(60000);
    return 4;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestJournals, runChild)

#include "tst_journals.moc"
