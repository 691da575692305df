#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QAbstractItemModel>
#include <QPushButton>

/// Every event that a host sends: what the desk answers, in which order, and that wrong payloads do no harm. A new desk
/// on a new track for each test.
class TestEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void serverStatus(); // first: the status last seen lives as long as the process
    void serverStatusWrongPayloads_data();
    void serverStatusWrongPayloads();
    void serverStatusOutlivesTheDesk();
    void settingsDialogs();
    void carsListChanged();
    void carsListChangedWrongPayloads_data();
    void carsListChangedWrongPayloads();
    void trackIdUpdated_data();
    void trackIdUpdated();
    void runSavedToDb();
    void runsArchiveList();
    void runsArchiveListWithoutRuns();
    void preparationCleared();
    void preparationClearedWrongPayloads();
    void timingParams();
    void nextRunInfo_data();
    void nextRunInfo();
    void raceMode();
    void raceModeWrongPayloads_data();
    void raceModeWrongPayloads();
    void onlineServiceStatus();
    void currentTabChanged();
    void requestQueueStart();
    void localClientData();
    void localClientDataByUuid();
    void localClientDataWithoutClient_data();
    void localClientDataWithoutClient();
    void clientAccountData();
    void clientAccountDataWrongPayloads();
    void apiKeyStartsTheQueueOfPayments();
    void apiKeyWrongPayloads();
    void paymentBatches();
    void paymentsUpdateDataWrongPayloads();
    void anyModuleText();
    void strayPayloads_data();
    void strayPayloads();

private:
    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<HostProbe> m_desk;
    bool start();
};

namespace {

using JsonMatch::object;

const char EmptyQueue[] = R"({"request": "runQueueUpdate",
    "runQueue": {"pendingRuns": []}, "runHistory": {"runHistoryList": []}})";

QStringList republished()
{
    return {QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")};
}
QStringList pricesPublished()
{
    return {QStringLiteral("local_request_answer"), QStringLiteral("update_remote_prices")};
}

QStringList salesItems(const QJsonObject &publication)
{
    QStringList items;
    const QJsonArray list = publication.value(QLatin1String("priceList")).toArray();
    for (const QJsonValue &item : list)
        items.append(item[QLatin1String("salesItem")].toString());
    return items;
}

QJsonObject status(const char *word)
{
    return {{QStringLiteral("msg"), QJsonObject{{QStringLiteral("status"), QString::fromUtf8(word)}}}};
}

QByteArray ticketLine(const char *uuid, const char *name, const char *more = "")
{
    return QByteArray("{\"uuid\":\"") + uuid + "\",\"lastName\":\"" + name + "\",\"regTime\":0" + more + "}\n";
}

} // namespace

void TestEvents::init()
{
    m_track = std::make_unique<TempTrack>();
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
}

void TestEvents::cleanup()
{
    m_desk.reset();
    m_track.reset();
}

bool TestEvents::start()
{
    return m_desk->start();
}

void TestEvents::serverStatus()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QCOMPARE(m_desk->names(), republished());
    JSON_COMPARE(m_desk->last(QStringLiteral("remote_control_answer")),
                 (QJsonObject{{QStringLiteral("req_answ"), object(EmptyQueue)}}));
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), object(EmptyQueue));

    m_desk->clear();
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("server_status"), status("lost"));
    m_desk->send(QStringLiteral("server_status"), status("still lost"));
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QCOMPARE(m_desk->names(), republished());
    m_desk->clear();
    m_desk->send(QStringLiteral("server_status"), status("OK"));
    m_desk->send(QStringLiteral("server_status"), status("ok "));
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QCOMPARE(m_desk->names(), republished());
}

void TestEvents::serverStatusWrongPayloads_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("msg is a text") << object(R"({"msg": "ok"})");
    QTest::newRow("status beside msg") << object(R"({"msg": {}, "status": "ok"})");
    QTest::newRow("status is a number") << object(R"({"msg": {"status": 1}})");
    QTest::newRow("status is an object") << object(R"({"msg": {"status": {"status": "ok"}}})");
    QTest::newRow("null") << object(R"({"msg": null})");
}

// A status that cannot be read is an empty one: not "ok", and remembered.
void TestEvents::serverStatusWrongPayloads()
{
    QFETCH(QJsonObject, payload);
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    m_desk->clear();
    m_desk->send(QStringLiteral("server_status"), payload);
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QCOMPARE(m_desk->names(), republished());
}

void TestEvents::serverStatusOutlivesTheDesk()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QVERIFY(m_desk->unload());
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("server_status"), status("ok"));
    QCOMPARE(m_desk->names(), QStringList());
}

void TestEvents::settingsDialogs()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("send_settings_dialogs"), object(R"({"stray": 1})"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("settings_dialog")});
    const QJsonObject answer = m_desk->last(QStringLiteral("settings_dialog"));
    QCOMPARE(answer.keys(), (QStringList{QStringLiteral("moduleName"), QStringLiteral("settingsCaption"),
                                         QStringLiteral("settingsPagePtr")}));
    JSON_CONTAINS(answer, object(R"({"moduleName": "ticket_plugin", "settingsCaption": "Касса"})"));
    QVERIFY(answer.value(QLatin1String("settingsPagePtr")).isDouble());
    const QPointer<QWidget> page(HostProbe::widgetAt(answer.value(QLatin1String("settingsPagePtr"))));
    QCOMPARE(page->metaObject()->className(), "SettingsPage");

    // The same page each time, and it goes with the desk.
    m_desk->clear();
    m_desk->send(QStringLiteral("send_settings_dialogs"));
    JSON_COMPARE(m_desk->last(QStringLiteral("settings_dialog")), answer);
    QVERIFY(m_desk->unload());
    QVERIFY(page.isNull());
}

void TestEvents::carsListChanged()
{
    m_track->addPriceItem({QStringLiteral("А без модели"), 100});
    m_track->addPriceItem({QStringLiteral("Б для Sodi"), 200, QStringLiteral("Sodi")});
    m_track->addPriceItem({QStringLiteral("В для Rimo"), 300, QStringLiteral("Rimo")});
    QVERIFY2(start(), qPrintable(m_desk->errorString()));

    // No car of the model Sodi is free, and nothing is known of Rimo.
    m_desk->send(QStringLiteral("cars_list_changed"), object(R"({"cars": [
        {"id": 1, "name": "Sodi", "num": "7", "transponderId": 70, "available_for_runs": false},
        {"id": 2, "name": "Sodi", "num": "8", "transponderId": 80}]})"));
    QCOMPARE(m_desk->names(), pricesPublished());
    QCOMPARE(salesItems(m_desk->last(QStringLiteral("local_request_answer"))),
             (QStringList{QStringLiteral("А без модели"), QStringLiteral("В для Rimo")}));
    QCOMPARE(m_desk->last(QStringLiteral("local_request_answer")).keys(),
             (QStringList{QStringLiteral("priceList"), QStringLiteral("priceTypes")}));
    QCOMPARE(m_desk->last(QStringLiteral("update_remote_prices")).value(QLatin1String("prices")).toArray().size(), 3);

    m_desk->clear();
    m_desk->send(QStringLiteral("cars_list_changed"), object(R"({"cars": [
        {"id": 1, "name": "Sodi", "num": "7", "available_for_runs": false},
        {"id": 2, "name": "Sodi", "num": "8", "available_for_runs": true},
        {"id": 3, "name": "Rimo", "num": "9", "available_for_runs": false}]})"));
    QCOMPARE(m_desk->names(), pricesPublished());
    QCOMPARE(salesItems(m_desk->last(QStringLiteral("local_request_answer"))),
             (QStringList{QStringLiteral("А без модели"), QStringLiteral("Б для Sodi")}));

    // The list is kept: a handshake later shows the same.
    m_desk->clear();
    m_desk->send(QStringLiteral("load_complete"));
    QCOMPARE(salesItems(m_desk->last(QStringLiteral("local_request_answer"))),
             (QStringList{QStringLiteral("А без модели"), QStringLiteral("Б для Sodi")}));
}

void TestEvents::carsListChangedWrongPayloads_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("cars is an object") << object(R"({"cars": {"name": "Sodi", "available_for_runs": false}})");
    QTest::newRow("cars is a text") << object(R"({"cars": "Sodi"})");
    QTest::newRow("no objects in cars") << object(R"({"cars": [1, "Sodi", null, [], {}]})");
    QTest::newRow("name is a number") << object(R"({"cars": [{"name": 5, "available_for_runs": false}]})");
}

// What cannot be read knows no model, so everything is on sale again.
void TestEvents::carsListChangedWrongPayloads()
{
    QFETCH(QJsonObject, payload);
    m_track->addPriceItem({QStringLiteral("Б для Sodi"), 200, QStringLiteral("Sodi")});
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("cars_list_changed"), object(R"({"cars": [{"name": "Sodi"}]})"));
    QCOMPARE(salesItems(m_desk->last(QStringLiteral("local_request_answer"))), QStringList());
    m_desk->clear();
    m_desk->send(QStringLiteral("cars_list_changed"), payload);
    QCOMPARE(m_desk->names(), pricesPublished());
    QCOMPARE(salesItems(m_desk->last(QStringLiteral("local_request_answer"))),
             QStringList{QStringLiteral("Б для Sodi")});
}

void TestEvents::trackIdUpdated_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::addColumn<QString>("name");
    QTest::newRow("both") << object(R"({"trackId": "t-1", "trackName": "Картинг \"Лента\""})")
                          << QStringLiteral("Картинг \"Лента\"");
    QTest::newRow("no name") << object(R"({"trackId": "t-1"})") << QString();
    QTest::newRow("name is a number") << object(R"({"trackId": 4, "trackName": 5})") << QString();
    QTest::newRow("nothing") << QJsonObject() << QString();
}

void TestEvents::trackIdUpdated()
{
    QFETCH(QJsonObject, payload);
    QFETCH(QString, name);
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("track_id_updated"), payload);
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")),
                 (QJsonObject{{QStringLiteral("trackName"), name}}));
}

void TestEvents::runSavedToDb()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("run_saved_to_db"), object(R"({"limitHours": 5})"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("reload_runs_archive")});
    JSON_COMPARE(m_desk->last(QStringLiteral("reload_runs_archive")), object(R"({"limitHours": 24})"));
}

void TestEvents::runsArchiveList()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("runs_archive_list"), object(R"({"runs": [{"runId": 4}, "x"], "other": true})"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")),
                 object(R"({"runsArchive": [{"runId": 4}, "x"]})"));
    // The desk does not look into it, whatever it is.
    m_desk->clear();
    m_desk->send(QStringLiteral("runs_archive_list"), object(R"({"runs": {"a": 1}})"));
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), object(R"({"runsArchive": {"a": 1}})"));
}

void TestEvents::runsArchiveListWithoutRuns()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("runs_archive_list"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    // Clients tell publications by their keys: one without any would tell them nothing.
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), object(R"({"runsArchive": []})"));
}

void TestEvents::preparationCleared()
{
    m_track->writeJournal(QStringLiteral("tickets.state"),
                          ticketLine("{a}", "A", ",\"carId\":5,\"carNum\":\"7\"")
                              + ticketLine("{b}", "B", ",\"carId\":6,\"carNum\":\"8\""));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_track->removeJournal(QStringLiteral("tickets.state"));
    m_desk->send(QStringLiteral("preparation_cleared"),
                 object(R"({"clearList": [{"racerGuid": "{nobody}"}, {"racerGuid": "{a}"}]})"));
    HostProbe::settle();
    QCOMPARE(m_desk->names(), QStringList());
    QVERIFY(!m_track->hasJournal(QStringLiteral("tickets.state")));

    m_desk->send(QStringLiteral("client_account_data"));
    const QList<QByteArray> lines = m_track->readJournal(QStringLiteral("tickets.state")).split('\n');
    QCOMPARE(lines.size(), 3);
    JSON_CONTAINS(object(lines.at(0)), object(R"({"uuid": "{a}", "carId": -1, "carNum": ""})"));
    JSON_CONTAINS(object(lines.at(1)), object(R"({"uuid": "{b}", "carId": 6, "carNum": "8"})"));
}

void TestEvents::preparationClearedWrongPayloads()
{
    m_track->writeJournal(QStringLiteral("tickets.state"), ticketLine("{a}", "A", ",\"carId\":5,\"carNum\":\"7\""));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *payload : {R"({})", R"({"clearList": "{a}"})", R"({"clearList": {"racerGuid": "{a}"}})",
                                R"({"clearList": ["{a}", 1, null, {}]})", R"({"clearList": [{"uuid": "{a}"}]})"})
        m_desk->send(QStringLiteral("preparation_cleared"), object(payload));
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("client_account_data"));
    JSON_CONTAINS(object(m_track->readJournal(QStringLiteral("tickets.state"))),
                  object(R"({"uuid": "{a}", "carId": 5, "carNum": "7"})"));
}

void TestEvents::timingParams()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *payload : {R"({"dayBeginTime": 21600000})", R"({})", R"({"dayBeginTime": "06:00"})",
                                R"({"dayBeginTime": -1})", R"({"dayBeginTime": 1e18})"}) {
        m_desk->send(QStringLiteral("timing_params"), object(payload));
        QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "validateRegList"));
    }
    QCOMPARE(m_desk->names(), QStringList());
}

void TestEvents::nextRunInfo_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("number") << object(R"({"nextRunNum": 12})");
    QTest::newRow("zero") << object(R"({"nextRunNum": 0})");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("text") << object(R"({"nextRunNum": "12"})");
}

void TestEvents::nextRunInfo()
{
    QFETCH(QJsonObject, payload);
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("next_run_info"), payload);
    QCOMPARE(m_desk->names(), republished());
    JSON_COMPARE(m_desk->last(QStringLiteral("remote_control_answer")),
                 (QJsonObject{{QStringLiteral("req_answ"), object(EmptyQueue)}}));
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), object(EmptyQueue));
}

void TestEvents::raceMode()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("race_mode"), object(R"({"isRaceMode": true})"));
    QCOMPARE(m_desk->names(), QStringList());
    // Remote screens belong to the race now; the clients at the desk still follow the queue.
    m_desk->send(QStringLiteral("next_run_info"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), object(EmptyQueue));
    m_desk->clear();
    m_desk->send(QStringLiteral("race_mode"), object(R"({"isRaceMode": true})"));
    QCOMPARE(m_desk->names(), QStringList());
    // Other answers to remote devices go out in race mode too.
    m_desk->send(QStringLiteral("remote_control_data"), object(R"({"request": "no such request"})"));
    QCOMPARE(m_desk->count(QStringLiteral("remote_control_answer")), 1);

    m_desk->clear();
    m_desk->send(QStringLiteral("race_mode"), object(R"({"isRaceMode": false})"));
    QCOMPARE(m_desk->names(), republished());
    m_desk->clear();
    m_desk->send(QStringLiteral("race_mode"), object(R"({"isRaceMode": false})"));
    QCOMPARE(m_desk->names(), republished());
}

void TestEvents::raceModeWrongPayloads_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("text") << object(R"({"isRaceMode": "true"})");
    QTest::newRow("number") << object(R"({"isRaceMode": 1})");
    QTest::newRow("null") << object(R"({"isRaceMode": null})");
}

void TestEvents::raceModeWrongPayloads()
{
    QFETCH(QJsonObject, payload);
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("race_mode"), object(R"({"isRaceMode": true})"));
    m_desk->send(QStringLiteral("race_mode"), payload);
    QCOMPARE(m_desk->names(), republished());
}

void TestEvents::onlineServiceStatus()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    const auto *button = m_desk->find<QPushButton *>(QStringLiteral("bAddRacerFromDb"));
    const QList<QPair<const char *, bool>> cases{{R"({"enabled": true, "apiKey": "k"})", true},
                                                 {R"({"enabled": false, "apiKey": "k"})", false},
                                                 {R"({"enabled": true})", true},
                                                 {R"({})", false},
                                                 {R"({"enabled": "true", "apiKey": "k"})", false},
                                                 {R"({"enabled": 1})", false},
                                                 {R"({"enabled": true, "apiKey": 5})", true},
                                                 {R"({"enabled": null})", false}};
    QVERIFY(!button->isEnabled());
    for (const auto &step : cases) {
        m_desk->send(QStringLiteral("online_service_status"), object(step.first));
        QVERIFY2(button->isEnabled() == step.second, step.first);
    }
    QCOMPARE(m_desk->names(), QStringList());
}

void TestEvents::currentTabChanged()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *payload : {R"({"currentTab": "RaceManagerForm"})", R"({"currentTab": "TicketPluginForm"})",
                                R"({})", R"({"currentTab": 5})"})
        m_desk->send(QStringLiteral("current_tab_changed"), object(payload));
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "setCurrentTab", Q_ARG(QJsonObject, QJsonObject())));
    QCOMPARE(m_desk->names(), QStringList());
}

void TestEvents::requestQueueStart()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    const QJsonObject payload = object(R"({"startingHits": [1, 2], "nested": {"a": null}})");
    m_desk->send(QStringLiteral("request_queue_start"), payload);
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("start_run")});
    JSON_COMPARE(m_desk->last(QStringLiteral("start_run")), payload);
    m_desk->clear();
    m_desk->send(QStringLiteral("request_queue_start"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("start_run")});
    JSON_COMPARE(m_desk->last(QStringLiteral("start_run")), QJsonObject());
}

void TestEvents::localClientData()
{
    m_track->writeJournal(QStringLiteral("tickets.state"),
                          ticketLine("{a}", "Иванов", ",\"firstName\":\"Пётр\",\"clientId\":17")
                              + ticketLine("{b}", "Сидоров", ",\"clientId\":18"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_track->removeJournal(QStringLiteral("tickets.state"));
    m_desk->send(QStringLiteral("local_client_data"),
                 object(R"({"clientId": 17, "firstName": "иВАН", "midName": "Ильич", "code": "x", "other": [1]})"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), object(R"({"clientId": 17, "firstName": "иВАН",
        "midName": "Ильич", "other": [1], "linkKind": "cashier", "code": "update_local_client_data"})"));
    // Names are taken as they are, and only those that came.
    QCOMPARE(HostProbe::cell(m_desk->checkIn(), 0, QStringLiteral("NAME")), QStringLiteral("Иванов иВАН Ильич"));
    QCOMPARE(HostProbe::cell(m_desk->checkIn(), 1, QStringLiteral("NAME")).trimmed(), QStringLiteral("Сидоров"));
    QVERIFY(!m_track->hasJournal(QStringLiteral("tickets.state")));

    // A client whom nobody registered is still passed on.
    m_desk->clear();
    m_desk->send(QStringLiteral("local_client_data"), object(R"({"clientId": 99})"));
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")),
                 object(R"({"clientId": 99, "linkKind": "cashier", "code": "update_local_client_data"})"));
}

// A racer entered by hand becomes a client once the service has made one of him; his names stay as entered.
void TestEvents::localClientDataByUuid()
{
    m_track->writeJournal(QStringLiteral("tickets.state"), ticketLine("{a}", "Иванов"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("local_client_data"),
                 object(R"({"clientId": 20, "uuid": "{a}", "lastName": "Петров"})"));
    QCOMPARE(HostProbe::cell(m_desk->checkIn(), 0, QStringLiteral("NAME")).trimmed(), QStringLiteral("Иванов"));
    m_desk->send(QStringLiteral("local_client_data"), object(R"({"clientId": 20, "lastName": "Петров"})"));
    QCOMPARE(HostProbe::cell(m_desk->checkIn(), 0, QStringLiteral("NAME")).trimmed(), QStringLiteral("Петров"));
}

void TestEvents::localClientDataWithoutClient_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("minus one") << object(R"({"clientId": -1, "lastName": "X"})");
    QTest::newRow("text") << object(R"({"clientId": "17", "lastName": "X"})");
    QTest::newRow("null") << object(R"({"clientId": null, "lastName": "X"})");
}

void TestEvents::localClientDataWithoutClient()
{
    QFETCH(QJsonObject, payload);
    m_track->writeJournal(QStringLiteral("tickets.state"), ticketLine("{a}", "Иванов", ",\"clientId\":17"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("local_client_data"), payload);
    QCOMPARE(m_desk->names(), QStringList());
    QCOMPARE(HostProbe::cell(m_desk->checkIn(), 0, QStringLiteral("NAME")).trimmed(), QStringLiteral("Иванов"));
}

void TestEvents::clientAccountData()
{
    m_track->writeJournal(QStringLiteral("tickets.state"), ticketLine("{a}", "Иванов", ",\"clientId\":17"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    m_track->removeJournal(QStringLiteral("tickets.state"));
    const QJsonObject payload = object(R"({"clientId": 17, "lastName": "Петров", "safetyAgreementValid": true,
        "account": {"sum": 12.5}})");
    m_desk->send(QStringLiteral("client_account_data"), payload);
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("update_local_client")});
    JSON_COMPARE(m_desk->last(QStringLiteral("update_local_client")), payload);
    JSON_CONTAINS(object(m_track->readJournal(QStringLiteral("tickets.state"))),
                  object(R"({"uuid": "{a}", "lastName": "Петров", "validSafetyAgreement": true, "clientId": 17})"));
}

void TestEvents::clientAccountDataWrongPayloads()
{
    m_track->writeJournal(QStringLiteral("tickets.state"), ticketLine("{a}", "Иванов", ",\"clientId\":17"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *text :
         {R"({})", R"({"clientId": "17", "lastName": "X"})", R"({"clientId": -1, "lastName": "X"})"}) {
        m_desk->clear();
        m_track->removeJournal(QStringLiteral("tickets.state"));
        m_desk->send(QStringLiteral("client_account_data"), object(text));
        QCOMPARE(m_desk->names(), QStringList{QStringLiteral("update_local_client")});
        JSON_COMPARE(m_desk->last(QStringLiteral("update_local_client")), object(text));
        JSON_CONTAINS(object(m_track->readJournal(QStringLiteral("tickets.state"))),
                      object(R"({"uuid": "{a}", "lastName": "Иванов"})"));
    }
}

void TestEvents::apiKeyStartsTheQueueOfPayments()
{
    const int cashier =
        m_track->addCashier(QStringLiteral("Орлова"), QStringLiteral("Анна"), QString(), QStringLiteral("1"));
    const int item = m_track->addPriceItem({QStringLiteral("Заезд"), 500});
    m_track->query(QStringLiteral(
                       "INSERT INTO payments (racer_guid,pay_date,client_id,first_name,last_name,mid_name,sum,"
                       "tariff,discount,pay_state,pay_kind,car_model,tickets_count,comment,price_id,"
                       "price_type,cashier_id) VALUES ('{a}','2026-03-10T10:20:30Z',17,'Иван','Иванов',"
                       "'Ильич',950.5,500,'5',1,'Карта','Sodi',2,'без очереди',?,-1,?)"),
                   {item, cashier});
    m_track->query(QStringLiteral("UPDATE personal SET mid_name='Павловна' WHERE id=?"), {cashier});
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    HostProbe::settle(200);
    QCOMPARE(m_desk->names(), QStringList());

    QTest::ignoreMessage(QtDebugMsg, "Remote to service sent");
    m_desk->send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "key"})"));
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments")));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("update_remote_payments")});
    QCOMPARE(m_desk->events().first().thread, QThread::currentThread());
    JSON_COMPARE(m_desk->last(QStringLiteral("update_remote_payments")), object(R"({"itemsList": [{
        "dbId": 1, "payState": 1, "payDate": "2026-03-10T10:20:30", "clientId": 17, "clientName": "Иванов Иван Ильич",
        "sum": 950.5, "tariff": 500, "discount": "5", "payKind": "Карта", "carModel": "Sodi", "itemName": "Заезд",
        "itemsCount": 2, "priceId": 1, "priceType": -1, "priceTypeName": "Основные", "cashierId": 1,
        "cashierName": "Орлова Анна Павловна", "comment": "без очереди"}]})"));

    // The same key again pushes nothing, an empty one switches off, another one pushes again.
    m_desk->clear();
    m_desk->send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "key"})"));
    m_desk->send(QStringLiteral("api_key_updated"), object(R"({"apiKey": ""})"));
    HostProbe::settle(300);
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "key"})"));
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments")));
}

void TestEvents::apiKeyWrongPayloads()
{
    m_track->query(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{a}')"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *payload : {R"({})", R"({"apiKey": 5})", R"({"apiKey": null})", R"({"apiKey": {"apiKey": "k"}})"})
        m_desk->send(QStringLiteral("api_key_updated"), object(payload));
    HostProbe::settle(300);
    QCOMPARE(m_desk->names(), QStringList());
    m_desk->send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "k"})"));
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments")));
    // Only the comment may be missing.
    const QJsonObject row =
        m_desk->last(QStringLiteral("update_remote_payments")).value(QLatin1String("itemsList"))[0].toObject();
    QCOMPARE(row.keys(),
             (QStringList{QStringLiteral("carModel"), QStringLiteral("cashierId"), QStringLiteral("cashierName"),
                          QStringLiteral("clientId"), QStringLiteral("clientName"), QStringLiteral("dbId"),
                          QStringLiteral("discount"), QStringLiteral("itemName"), QStringLiteral("itemsCount"),
                          QStringLiteral("payDate"), QStringLiteral("payKind"), QStringLiteral("payState"),
                          QStringLiteral("priceId"), QStringLiteral("priceType"), QStringLiteral("priceTypeName"),
                          QStringLiteral("sum"), QStringLiteral("tariff")}));
}

void TestEvents::paymentBatches()
{
    for (int i = 0; i < 33; ++i)
        m_track->query(QStringLiteral("INSERT INTO payments (racer_guid,comment) VALUES (?,'')"), {i});
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    const auto ids = [this] {
        QJsonArray list;
        const QJsonArray items =
            m_desk->last(QStringLiteral("update_remote_payments")).value(QLatin1String("itemsList")).toArray();
        for (const QJsonValue &item : items)
            list.append(item[QLatin1String("dbId")]);
        return list;
    };
    m_desk->send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "k"})"));
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments"), 1));
    const QJsonArray first = ids();
    QCOMPARE(first.size(), 32);
    QCOMPARE(first.first().toInt(), 1);
    QCOMPARE(first.last().toInt(), 32);
    m_desk->send(QStringLiteral("payments_update_data"), {{QStringLiteral("updatedList"), first}});
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments"), 2));
    JSON_COMPARE(ids(), QJsonArray{33});
    QCOMPARE(m_track->value(QStringLiteral("SELECT count(*) FROM payments WHERE remote_updated=1")).toInt(), 32);

    // An answer that comes twice changes nothing, yet asks for what is still unsent.
    m_desk->send(QStringLiteral("payments_update_data"), {{QStringLiteral("updatedList"), first}});
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments"), 3));
    JSON_COMPARE(ids(), QJsonArray{33});
    m_desk->send(QStringLiteral("payments_update_data"), object(R"({"updatedList": [33]})"));
    QTRY_COMPARE(m_track->value(QStringLiteral("SELECT count(*) FROM payments WHERE remote_updated=1")).toInt(), 33);
    HostProbe::settle(200);
    QCOMPARE(m_desk->count(QStringLiteral("update_remote_payments")), 3);
}

void TestEvents::paymentsUpdateDataWrongPayloads()
{
    m_track->query(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{a}')"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *payload : {R"({})", R"({"updatedList": []})", R"({"updatedList": 1})", R"({"updatedList": "1"})",
                                R"({"updatedList": {"0": 1}})"})
        m_desk->send(QStringLiteral("payments_update_data"), object(payload));
    HostProbe::settle(300);
    QCOMPARE(m_desk->names(), QStringList());
    QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 0);
    // What is no number reads 0, which no row has; the statement succeeds all the same.
    m_desk->send(QStringLiteral("payments_update_data"),
                 object(R"({"updatedList": ["1", null, "1) OR 1=1 --", {"id": 1}]})"));
    QVERIFY(m_desk->waitFor(QStringLiteral("update_remote_payments")));
    QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 0);
}

void TestEvents::anyModuleText()
{
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    for (const char *module : {"", "host", "ticket_plugin", "любой"}) {
        m_desk->clear();
        m_desk->send(QStringLiteral("next_run_info"), {}, QString::fromUtf8(module));
        QCOMPARE(m_desk->names(), republished());
        QCOMPARE(m_desk->events().first().module, QStringLiteral("ticket_plugin"));
    }
}

void TestEvents::strayPayloads_data()
{
    QTest::addColumn<QString>("event");
    for (const char *event :
         {"new_run_started", "refresh_run_info", "refresh_run_results", "run_closed", "transponder_hit"})
        QTest::newRow(event) << QString::fromLatin1(event);
}

// Events about a run or a car that the desk cannot find. Whatever it republishes on them, the desk stays as it was.
void TestEvents::strayPayloads()
{
    QFETCH(QString, event);
    m_track->writeJournal(QStringLiteral("tickets.state"), ticketLine("{a}", "Иванов"));
    QVERIFY2(start(), qPrintable(m_desk->errorString()));
    // The journal as the linked desk writes it: while it was loading, the block of prices was not chosen yet.
    m_desk->send(QStringLiteral("next_run_info"));
    m_desk->clear();
    const QByteArray before = m_track->readJournal(QStringLiteral("tickets.state"));
    for (const char *payload :
         {R"({})", R"({"runQueueGuid": "{nobody}", "results": {}, "hits": {}, "runNum": "x"})",
          R"({"runQueueGuid": 5, "results": [1, null, "x"], "hits": [1, null, {"lineId": 9, "transponderId": "x"}]})"})
        m_desk->send(event, object(payload));
    const QSet<QString> allowed{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")};
    const QStringList names = m_desk->names();
    for (const QString &name : names)
        QVERIFY2(allowed.contains(name), qPrintable(name));
    QCOMPARE(m_track->readJournal(QStringLiteral("tickets.state")), before);
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
    m_desk->clear();
    m_desk->send(QStringLiteral("run_saved_to_db"));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("reload_runs_archive")});
}

DESK_TEST_MAIN(TestEvents)

#include "tst_events.moc"
