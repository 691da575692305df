#include "desktest.h"
#include "jsonmatch.h"
#include "onlineservice.h"
#include "requestdesk.h"

#include <QJsonDocument>
#include <QSqlQuery>
#include <QUuid>

#include <memory>

/// What client programs read from the desk: who the cashier is, the queue, the whole desk, a client of the online service;
/// and what they hear without asking. A new desk for each test.
class TestLocalReading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void loginByCode_data();
    void loginByCode();
    void loginWithoutLink();
    void loginRefused_data();
    void loginRefused();
    void loginByAnEmptyCode();
    void twoPeopleWithOneCode();
    void loginByToken();
    void tokenGoesBeforeTheCode_data();
    void tokenGoesBeforeTheCode();
    void secondLoginEndsTheFirst();
    void oneLoginInsteadOfSeveral();
    void othersStayLoggedIn();
    void loginIsStoredAtTheEnd();
    void loginIsLostInACrash();
    void storedTokenStillCounts();
    void noDatabase();
    void noTableOfPeople();

    void runQueue();
    void runQueueOfAnEmptyDesk();
    void runQueueInRaceMode();
    void publicationHasNoReload();
    void cashData();
    void cashDataOfAnEmptyDesk();
    void priceTypeOfCashData();

    void searchBody_data();
    void searchBody();
    void searchOfNoKind_data();
    void searchOfNoKind();
    void searchAnswered_data();
    void searchAnswered();
    void searchUnanswered_data();
    void searchUnanswered();
    void searchesOutOfOrder();
    void searchKeepsTheClient();
    void serviceRegistersTheClient();
    void serviceDown();

    void localClientData();
    void localClientDataOfNobody_data();
    void localClientDataOfNobody();
    void clientAccountData();
    void runsArchiveList();
    void trackName();

    void unknownName_data();
    void unknownName();
    void linkComesBack_data();
    void linkComesBack();

private:
    HostProbe &host() { return m_desk->host(); }
    QJsonObject login(const QJsonObject &arguments)
    {
        return m_desk->answer(QStringLiteral("cashier_login"), arguments);
    }
    QJsonObject loginOfCode(const char *code)
    {
        return login({{QStringLiteral("authCode"), QString::fromLatin1(code)}});
    }
    static QString tokenOf(const QJsonObject &answer);
    bool isLoggedIn(const QString &token);
    /// Makes the service and tells the desk its key.
    bool enableService();

    std::unique_ptr<OnlineService> m_service;
    std::unique_ptr<RequestDesk> m_desk;
};

namespace {

using JsonMatch::object;

const QString Answer = QStringLiteral("local_request_answer");

/// What the desk says to a login that fails.
QJsonObject refused()
{
    return object(R"({"linkGuid": "{link}", "loginStatus": "fail", "code": "cashier_login", "cashierLoginData": {}})");
}

QJsonObject admitted(const QString &token, const char *name)
{
    return {{QStringLiteral("linkGuid"), QStringLiteral("{link}")},
            {QStringLiteral("loginStatus"), QStringLiteral("ok")},
            {QStringLiteral("code"), QStringLiteral("cashier_login")},
            {QStringLiteral("cashierLoginData"),
             QJsonObject{{QStringLiteral("cashierToken"), token}, {QStringLiteral("cashierName"), text(name)}}}};
}

QByteArray bytes(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

} // namespace

void TestLocalReading::init()
{
    m_desk = std::make_unique<RequestDesk>();
}

void TestLocalReading::cleanup()
{
    m_desk.reset();
    m_service.reset();
}

QString TestLocalReading::tokenOf(const QJsonObject &answer)
{
    return answer.value(QLatin1String("cashierLoginData")).toObject().value(QLatin1String("cashierToken")).toString();
}

bool TestLocalReading::isLoggedIn(const QString &token)
{
    return login({{QStringLiteral("cashierToken"), token}}).value(QLatin1String("loginStatus")) == QLatin1String("ok");
}

bool TestLocalReading::enableService()
{
    m_service = std::make_unique<OnlineService>();
    if (!m_service->listen(OnlineService::DeskPort) || !m_desk->open())
        return false;
    host().send(QStringLiteral("online_service_status"),
                {{QStringLiteral("enabled"), true}, {QStringLiteral("apiKey"), QStringLiteral("KEY")}});
    host().clear();
    return true;
}

void TestLocalReading::loginByCode_data()
{
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("mid");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QJsonValue>("code");
    QTest::addColumn<QString>("name");

    const QString last = text("Кассирова");
    const QString first = text("Анна");
    const QString mid = text("Павловна");
    const QString code = QStringLiteral("1234");
    QTest::newRow("whole name") << last << first << mid << code << QJsonValue(code) << text("Кассирова Анна Павловна");
    QTest::newRow("no middle name") << last << first << QString() << code << QJsonValue(code) << text("Кассирова Анна");
    QTest::newRow("no first name") << last << QString() << mid << code << QJsonValue(code)
                                   << text("Кассирова Павловна");
    QTest::newRow("middle name only") << QString() << QString() << mid << code << QJsonValue(code) << mid;
    QTest::newRow("no name at all") << QString() << QString() << QString() << code << QJsonValue(code) << QString();
    QTest::newRow("code is a number") << last << first << mid << code << QJsonValue(1234)
                                      << text("Кассирова Анна Павловна");
    QTest::newRow("code of a card") << last << first << mid << text("Ключ-7") << QJsonValue(text("Ключ-7"))
                                    << text("Кассирова Анна Павловна");
}

void TestLocalReading::loginByCode()
{
    QFETCH(QString, last);
    QFETCH(QString, first);
    QFETCH(QString, mid);
    QFETCH(QString, stored);
    QFETCH(QJsonValue, code);
    QFETCH(QString, name);
    m_desk->track().addCashier(text("Другой"), QString(), QString(), QStringLiteral("999"));
    m_desk->track().addCashier(last, first, mid, stored);
    QVERIFY(m_desk->open());
    const QJsonObject request =
        RequestDesk::envelope(QStringLiteral("cashier_login"), {{QStringLiteral("authCode"), code}});
    host().send(QStringLiteral("local_request"), request);
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), Answer}));
    JSON_COMPARE(host().events().first().data, (QJsonObject{{QStringLiteral("logStr"), QStringLiteral("local_request")},
                                                            {QStringLiteral("logData"), request}}));
    const QString token = tokenOf(host().last(Answer));
    QVERIFY(!QUuid(token).isNull());
    QCOMPARE(QUuid(token).toString(), token);
    JSON_COMPARE(host().last(Answer), admitted(token, name.toUtf8().constData()));
}

// The answer has keys of its own, so it goes out to whom it may concern.
void TestLocalReading::loginWithoutLink()
{
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("local_request"), object(R"({"request": "cashier_login"})"));
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), Answer}));
    JSON_COMPARE(host().last(Answer),
                 object(R"({"loginStatus": "fail", "code": "cashier_login", "cashierLoginData": {}})"));
}

void TestLocalReading::loginRefused_data()
{
    QTest::addColumn<QJsonValue>("arguments");
    const auto row = [](const char *name, const char *arguments) {
        QTest::newRow(name) << QJsonValue(object(arguments));
    };
    row("neither key", "{}");
    row("other keys", R"({"code": "1234", "token": "1234", "AuthCode": "1234"})");
    row("wrong code", R"({"authCode": "1235"})");
    row("part of the code", R"({"authCode": "123"})");
    row("code with a blank", R"({"authCode": "1234 "})");
    row("wildcard", R"({"authCode": "%"})");
    row("quotes", R"({"authCode": "' OR '1'='1"})");
    row("null", R"({"authCode": null})");
    row("true", R"({"authCode": true})");
    row("object", R"({"authCode": {"authCode": "1234"}})");
    row("array", R"({"authCode": ["1234"]})");
    row("unknown token", R"({"cashierToken": "{nobody}"})");
    row("empty token", R"({"cashierToken": ""})");
    row("token is null", R"({"cashierToken": null})");
    row("token is an object", R"({"cashierToken": {}})");
    QTest::newRow("data is a text") << QJsonValue(QStringLiteral("1234"));
    QTest::newRow("data is an array") << QJsonValue(QJsonArray{QStringLiteral("1234")});
    QTest::newRow("data is null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("no data") << QJsonValue(QJsonValue::Undefined);
}

void TestLocalReading::loginRefused()
{
    QFETCH(QJsonValue, arguments);
    m_desk->track().addCashier(text("Кассирова"), QString(), QString(), QStringLiteral("1234"));
    m_desk->track().query(QStringLiteral("INSERT INTO personal (last_name, access_code) VALUES ('Без кода', NULL)"));
    QVERIFY(m_desk->open());
    QJsonObject request = RequestDesk::envelope(QStringLiteral("cashier_login"), {});
    request.insert(QStringLiteral("requestData"), arguments);
    host().send(QStringLiteral("local_request"), request);
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), Answer}));
    JSON_COMPARE(host().last(Answer), refused());
}

// An empty code is a code like any other; having none is not.
void TestLocalReading::loginByAnEmptyCode()
{
    m_desk->track().query(QStringLiteral("INSERT INTO personal (last_name, access_code) VALUES ('Пустая', '')"));
    m_desk->track().query(QStringLiteral("INSERT INTO personal (last_name, access_code) VALUES ('Без кода', NULL)"));
    QVERIFY(m_desk->open());
    const QJsonObject answer = loginOfCode("");
    JSON_COMPARE(answer, admitted(tokenOf(answer), "Пустая"));
    QVERIFY(isLoggedIn(tokenOf(answer)));
    m_desk->track().query(QStringLiteral("DELETE FROM personal WHERE access_code=''"));
    JSON_COMPARE(loginOfCode(""), refused());
}

void TestLocalReading::twoPeopleWithOneCode()
{
    m_desk->track().addCashier(text("Первый"), QString(), QString(), QStringLiteral("77"));
    m_desk->track().addCashier(text("Второй"), QString(), QString(), QStringLiteral("77"));
    QVERIFY(m_desk->open());
    JSON_COMPARE(loginOfCode("77"), refused());
    m_desk->track().query(QStringLiteral("DELETE FROM personal WHERE last_name=?"), {text("Второй")});
    const QJsonObject answer = loginOfCode("77");
    JSON_COMPARE(answer, admitted(tokenOf(answer), "Первый"));
    // And the other way round: the code is given to a second one while the first works.
    m_desk->track().addCashier(text("Второй"), QString(), QString(), QStringLiteral("77"));
    JSON_COMPARE(loginOfCode("77"), refused());
    QVERIFY(isLoggedIn(tokenOf(answer)));
}

void TestLocalReading::loginByToken()
{
    m_desk->track().addCashier(text("Кассирова"), text("Анна"), QString(), QStringLiteral("1234"));
    QVERIFY(m_desk->open());
    const QString token = tokenOf(loginOfCode("1234"));
    for (int i = 0; i < 3; ++i)
        JSON_COMPARE(login({{QStringLiteral("cashierToken"), token}}), admitted(token, "Кассирова Анна"));
}

void TestLocalReading::tokenGoesBeforeTheCode_data()
{
    QTest::addColumn<QJsonValue>("token");
    QTest::addColumn<bool>("ok");
    QTest::newRow("known") << QJsonValue(QStringLiteral("{t}")) << true;
    QTest::newRow("unknown") << QJsonValue(QStringLiteral("{x}")) << false;
    QTest::newRow("empty") << QJsonValue(QString()) << false;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << false;
    QTest::newRow("number") << QJsonValue(1234) << false;
}

// A right code does not help a wrong token.
void TestLocalReading::tokenGoesBeforeTheCode()
{
    QFETCH(QJsonValue, token);
    QFETCH(bool, ok);
    m_desk->track().addCashier(text("Кассирова"), QString(), QString(), QStringLiteral("1234"));
    m_desk->seedCashier(QStringLiteral("{t}"), 40, text("Дежурный"));
    QVERIFY(m_desk->open());
    const QJsonObject answer =
        login({{QStringLiteral("cashierToken"), token}, {QStringLiteral("authCode"), QStringLiteral("1234")}});
    if (ok)
        JSON_COMPARE(answer, admitted(QStringLiteral("{t}"), "Дежурный"));
    else
        JSON_COMPARE(answer, refused());
}

void TestLocalReading::secondLoginEndsTheFirst()
{
    m_desk->track().addCashier(text("Кассирова"), QString(), QString(), QStringLiteral("1234"));
    QVERIFY(m_desk->open());
    const QString first = tokenOf(loginOfCode("1234"));
    QVERIFY(isLoggedIn(first));
    const QString second = tokenOf(loginOfCode("1234"));
    QVERIFY(first != second);
    JSON_COMPARE(login({{QStringLiteral("cashierToken"), first}}), refused());
    QVERIFY(isLoggedIn(second));
    const QString third = tokenOf(loginOfCode("1234"));
    QVERIFY(!isLoggedIn(second));
    QVERIFY(isLoggedIn(third));
}

// Only the last of somebody's logins ends, in the order of their tokens.
void TestLocalReading::oneLoginInsteadOfSeveral()
{
    const int id = m_desk->track().addCashier(text("Кассирова"), QString(), QString(), QStringLiteral("1234"));
    for (const char *token : {"{c}", "{a}", "{b}"})
        m_desk->seedCashier(QString::fromLatin1(token), id, text("Кассирова"));
    m_desk->seedCashier(QStringLiteral("{d}"), id + 1, text("Сосед"));
    QVERIFY(m_desk->open());
    const QString fresh = tokenOf(loginOfCode("1234"));
    QVERIFY(isLoggedIn(QStringLiteral("{a}")));
    QVERIFY(isLoggedIn(QStringLiteral("{b}")));
    QVERIFY(!isLoggedIn(QStringLiteral("{c}")));
    QVERIFY(isLoggedIn(QStringLiteral("{d}")));
    QVERIFY(isLoggedIn(fresh));
}

void TestLocalReading::othersStayLoggedIn()
{
    m_desk->track().addCashier(text("Первый"), QString(), QString(), QStringLiteral("1"));
    m_desk->track().addCashier(text("Второй"), QString(), QString(), QStringLiteral("2"));
    QVERIFY(m_desk->open());
    const QString first = tokenOf(loginOfCode("1"));
    const QString second = tokenOf(loginOfCode("2"));
    loginOfCode("3");
    QVERIFY(isLoggedIn(first));
    QVERIFY(isLoggedIn(second));
}

void TestLocalReading::loginIsStoredAtTheEnd()
{
    const int id = m_desk->track().addCashier(text("Кассирова"), QString(), QString(), QStringLiteral("1234"));
    QVERIFY(m_desk->open());
    const QString token = tokenOf(loginOfCode("1234"));
    // Publications write the list and the queue, never the logins.
    m_desk->queue();
    QVERIFY(!m_desk->track().hasJournal(QStringLiteral("operators.state")));
    host().unload();
    JSON_COMPARE(QJsonDocument::fromJson(m_desk->track().readJournal(QStringLiteral("operators.state"))).array(),
                 (QJsonArray{QJsonObject{{QStringLiteral("token"), token},
                                         {QStringLiteral("id"), id},
                                         {QStringLiteral("name"), text("Кассирова")}}}));
    QVERIFY(host().start());
    JSON_COMPARE(login({{QStringLiteral("cashierToken"), token}}), admitted(token, "Кассирова"));
}

void TestLocalReading::loginIsLostInACrash()
{
    m_desk->track().addCashier(text("Кассирова"), QString(), QString(), QStringLiteral("1234"));
    m_desk->seedCashier(QStringLiteral("{old}"), 99, text("Дежурный"));
    const QByteArray before = m_desk->track().readJournal(QStringLiteral("operators.state"));
    QVERIFY(m_desk->open());
    const QString token = tokenOf(loginOfCode("1234"));
    QVERIFY(isLoggedIn(token));
    QCOMPARE(m_desk->track().readJournal(QStringLiteral("operators.state")), before);
}

void TestLocalReading::storedTokenStillCounts()
{
    m_desk->seedCashier(QStringLiteral("{t}"), 40, text("Дежурный"));
    QVERIFY(m_desk->open());
    JSON_COMPARE(login({{QStringLiteral("cashierToken"), QStringLiteral("{t}")}}),
                 admitted(QStringLiteral("{t}"), "Дежурный"));
}

void TestLocalReading::noDatabase()
{
    const TempTrack bare(TempTrack::Tree);
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(desk.start(), qPrintable(desk.errorString()));
    const QJsonObject arguments{{QStringLiteral("authCode"), QStringLiteral("1234")}};
    desk.send(QStringLiteral("local_request"), RequestDesk::envelope(QStringLiteral("cashier_login"), arguments));
    QCOMPARE(desk.names(), (QStringList{QStringLiteral("write_sys_log"), Answer}));
    JSON_COMPARE(desk.last(Answer), refused());
}

void TestLocalReading::noTableOfPeople()
{
    m_desk->track().query(QStringLiteral("DROP TABLE personal"));
    QVERIFY(m_desk->open());
    JSON_COMPARE(loginOfCode("1234"), refused());
}

void TestLocalReading::runQueue()
{
    m_desk->seedQueue(
        {{QStringLiteral("{A}"), {TrackOffice::seat(QStringLiteral("{r}"), -1001)}}, {QStringLiteral("{B}"), {}}});
    m_desk->seedHistory({TrackOffice::pastRun(QStringLiteral("{old}"), 1000)});
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("runs_archive_list"), object(R"({"runs": [{"runId": 5}], "more": 1})"));
    m_desk->host().clear();
    QVERIFY(QMetaObject::invokeMethod(host().tab(), "runQueueChanged"));
    const QJsonObject publication = host().last(Answer);
    host().clear();
    host().send(QStringLiteral("local_request"), RequestDesk::envelope(QStringLiteral("run_queue"), {}));
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), Answer}));
    const QJsonObject answer = host().last(Answer);
    JSON_COMPARE(answer, (QJsonObject{{QStringLiteral("linkGuid"), QStringLiteral("{link}")},
                                      {QStringLiteral("forceReload"), true},
                                      {QStringLiteral("runQueue"), publication.value(QLatin1String("runQueue"))},
                                      {QStringLiteral("runHistory"), publication.value(QLatin1String("runHistory"))},
                                      {QStringLiteral("runsArchive"), JsonMatch::array(R"([{"runId": 5}])")}}));
    JSON_CONTAINS(answer, object(R"({"runQueue": {
        "currentRun": {"runQueueGuid": "{A}", "runName": "Заезд №1", "runNum": 1, "runState": "unknown",
            "runDuration": 600, "finishParam": 600, "finishMode": 1, "finishType": 1, "sortMode": 0, "sortType": 0,
            "runLocked": false, "runCompetitors": {"-1001": {"uuid": "{r}", "carModel": "Sodi"}}},
        "pendingRuns": [{"runQueueGuid": "{B}", "runCompetitors": {}}]},
        "runHistory": {"runHistoryList": [{"runQueueGuid": "{old}", "runIndex": 0, "runStartTime": 1000}]}})"));
}

void TestLocalReading::runQueueOfAnEmptyDesk()
{
    QVERIFY(m_desk->open());
    QJsonObject answer = m_desk->answer(QStringLiteral("run_queue"));
    // Until the host has sent its archive there is none.
    QVERIFY(answer.take(QStringLiteral("runsArchive")).toArray().isEmpty());
    JSON_COMPARE(answer, object(R"({"linkGuid": "{link}", "forceReload": true, "runQueue": {"pendingRuns": []},
        "runHistory": {"runHistoryList": []}})"));
}

void TestLocalReading::runQueueInRaceMode()
{
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("race_mode"), {{QStringLiteral("isRaceMode"), true}});
    QCOMPARE(m_desk->answer(QStringLiteral("run_queue")).value(QLatin1String("forceReload")), QJsonValue(true));
    host().clear();
    // Only those at the desk itself hear of the queue then.
    QVERIFY(QMetaObject::invokeMethod(host().tab(), "runQueueChanged"));
    QCOMPARE(m_desk->heard(), QStringList{QStringLiteral("queue: ")});
}

void TestLocalReading::publicationHasNoReload()
{
    QVERIFY(m_desk->open());
    m_desk->answer(QStringLiteral("run_queue"));
    QVERIFY(QMetaObject::invokeMethod(host().tab(), "runQueueChanged"));
    QCOMPARE(host().last(Answer).keys(),
             (QStringList{QStringLiteral("request"), QStringLiteral("runHistory"), QStringLiteral("runQueue")}));
}

void TestLocalReading::cashData()
{
    Counter &counter = m_desk->counter();
    counter.stockPrices();
    const QJsonObject minor = Counter::ticket(QStringLiteral("{k}"), {{QStringLiteral("runCount"), 1}});
    counter.seed({counter.sold(QStringLiteral("{a}"), {{QStringLiteral("kidsList"), QJsonArray{minor}}}),
                  Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    // No car of the model of "Детский": it is not sold.
    host().send(QStringLiteral("cars_list_changed"),
                {{QStringLiteral("cars"),
                  QJsonArray{TrackOffice::car(1, QStringLiteral("Sodi"), QStringLiteral("1")),
                             TrackOffice::car(2, QStringLiteral("Rimo"), QStringLiteral("2"), false)}}});
    host().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T", "trackName": "Картодром"})"));
    host().clear();
    host().send(QStringLiteral("local_request"), RequestDesk::envelope(QStringLiteral("cash_data"), {}));
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), Answer}));
    const QJsonObject answer = host().last(Answer);
    QCOMPARE(answer.keys(),
             (QStringList{QStringLiteral("checkInList"), QStringLiteral("discountsList"), QStringLiteral("linkGuid"),
                          QStringLiteral("paymentsKind"), QStringLiteral("priceList"), QStringLiteral("priceTypes"),
                          QStringLiteral("trackName")}));
    const int adult = counter.priceId(text("Взрослый"));
    const int noCar = counter.priceId(text("Без карта"));
    const auto item = [](const char *name, const char *model, int id, const char *color, int price) {
        return QJsonObject{{QStringLiteral("model"), QString::fromLatin1(model)},
                           {QStringLiteral("salesItem"), text(name)},
                           {QStringLiteral("salesId"), id},
                           {QStringLiteral("salesCommonId"), id},
                           {QStringLiteral("color"), QString::fromLatin1(color)},
                           {QStringLiteral("price"), price}};
    };
    JSON_COMPARE(answer.value(QLatin1String("priceList")),
                 (QJsonArray{item("Без карта", "", noCar, "#ffff00", 100),
                             item("Взрослый", "Sodi", adult, "#ff8000", 500)}));
    JSON_COMPARE(answer.value(QLatin1String("discountsList")), JsonMatch::array(R"([0, "10", "50", "=200"])"));
    JSON_COMPARE(answer.value(QLatin1String("paymentsKind")), JsonMatch::array(R"(["Наличные", "Карта"])"));
    JSON_COMPARE(answer.value(QLatin1String("priceTypes")), object(R"({"names": ["Основные"], "currentIndex": 0})"));
    QCOMPARE(answer.value(QLatin1String("trackName")), QJsonValue(text("Картодром")));

    const QJsonArray list = answer.value(QLatin1String("checkInList")).toArray();
    QCOMPARE(list.size(), 2);
    JSON_COMPARE(list.first(),
                 (QJsonObject{{QStringLiteral("firstName"), QString()},
                              {QStringLiteral("lastName"), QStringLiteral("{a}")},
                              {QStringLiteral("midName"), QString()},
                              {QStringLiteral("salesItem"), text("Взрослый")},
                              {QStringLiteral("salesId"), adult},
                              {QStringLiteral("salesCommonId"), adult},
                              {QStringLiteral("priceType"), -1},
                              {QStringLiteral("carModel"), QStringLiteral("Sodi")},
                              {QStringLiteral("carNum"), QString()},
                              {QStringLiteral("carId"), -1},
                              {QStringLiteral("paySum"), 1000},
                              {QStringLiteral("price"), 500},
                              {QStringLiteral("discountValue"), QStringLiteral("0")},
                              {QStringLiteral("color"), QStringLiteral("#ff8000")},
                              {QStringLiteral("payMethod"), text("Карта")},
                              {QStringLiteral("payState"), false},
                              {QStringLiteral("uuid"), QStringLiteral("{a}")},
                              {QStringLiteral("name"), QStringLiteral("{a} ")},
                              {QStringLiteral("nfcUid"), QString()},
                              {QStringLiteral("validSafetyAgreement"), false},
                              {QStringLiteral("pinCodes"), JsonMatch::array(R"(["0101", "0101"])")},
                              {QStringLiteral("regTime"), 0},
                              {QStringLiteral("clientId"), -1},
                              {QStringLiteral("runCount"), 2},
                              {QStringLiteral("comment"), QString()},
                              {QStringLiteral("subItems"), list.first().toObject().value(QLatin1String("subItems"))}}));
    JSON_CONTAINS(list.first(), object(R"({"subItems": [{"uuid": "{k}", "parentUuid": "{a}", "parentFirstName": "",
        "parentLastName": "{a}", "parentMidName": "", "color": "#00000000", "runCount": 1}]})"));
    JSON_CONTAINS(list.at(1), object(R"({"uuid": "{b}", "color": "#00000000", "subItems": []})"));
}

void TestLocalReading::cashDataOfAnEmptyDesk()
{
    QVERIFY(m_desk->open());
    JSON_COMPARE(m_desk->answer(QStringLiteral("cash_data")),
                 object(R"({"linkGuid": "{link}", "checkInList": [], "paymentsKind": [], "priceList": [],
                     "discountsList": [0], "priceTypes": {"names": ["Основные"], "currentIndex": 0},
                     "trackName": ""})"));
}

void TestLocalReading::priceTypeOfCashData()
{
    const int common = m_desk->track().addPriceItem({text("Взрослый"), 500});
    const int weekend = m_desk->track().addPriceType(text("Выходные"));
    m_desk->track().addPriceItem({text("Взрослый"), 900, QString(), QStringLiteral("#ffffff"), weekend, common});
    QVERIFY(m_desk->open());
    JSON_CONTAINS(m_desk->answer(QStringLiteral("cash_data")),
                  object(R"({"priceTypes": {"names": ["Основные", "Выходные"], "currentIndex": 0},
                      "priceList": [{"price": 500}]})"));
    m_desk->ask(QStringLiteral("set_price_type"), {{QStringLiteral("priceName"), text("Выходные")}});
    JSON_CONTAINS(m_desk->answer(QStringLiteral("cash_data")),
                  object(R"({"priceTypes": {"names": ["Основные", "Выходные"], "currentIndex": 1},
                      "priceList": [{"price": 900}]})"));
}

void TestLocalReading::searchBody_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, const char *request, const char *body) {
        QTest::newRow(name) << QByteArray(request) << QByteArray(body);
    };
    row("phone", R"({"linkGuid": "L1", "requestData": {"type": "phone", "value": "89991234567"}})",
        "apiKey=KEY&fullData=true&searchString=89991234567&linkGuid=L1");
    row("phone is a number", R"({"linkGuid": "L1", "requestData": {"type": "phone", "value": 89991234567}})",
        "apiKey=KEY&fullData=true&searchString=89991234567&linkGuid=L1");
    row("blanks and letters", R"({"linkGuid": "L1", "requestData": {"type": "phone", "value": "Иван 7"}})",
        "apiKey=KEY&fullData=true&searchString=%D0%98%D0%B2%D0%B0%D0%BD%207&linkGuid=L1");
    row("signs of the form", R"({"linkGuid": "a&b", "requestData": {"type": "phone", "value": "7&apiKey=X#"}})",
        "apiKey=KEY&fullData=true&searchString=7%26apiKey%3DX%23&linkGuid=a%26b");
    row("braces of the link", R"({"linkGuid": "{1}", "requestData": {"type": "phone", "value": "7"}})",
        "apiKey=KEY&fullData=true&searchString=7&linkGuid=%7B1%7D");
    row("link is a number", R"({"linkGuid": 15, "requestData": {"type": "phone", "value": "7"}})",
        "apiKey=KEY&fullData=true&searchString=7&linkGuid=15");
    row("link is an object", R"({"linkGuid": {"a": 1}, "requestData": {"type": "phone", "value": "7"}})",
        "apiKey=KEY&fullData=true&searchString=7&linkGuid=");
    row("no link", R"({"requestData": {"type": "phone", "value": "7"}})",
        "apiKey=KEY&fullData=true&searchString=7&linkGuid=");
    row("no value", R"({"linkGuid": "L1", "requestData": {"type": "phone"}})",
        "apiKey=KEY&fullData=true&searchString=&linkGuid=L1");
    row("code", R"({"linkGuid": "L1", "requestData": {"type": "qrCode",
        "value": {"action": "checkin", "data": "a+b/c==", "iv": "x y", "extra": 1}}})",
        "apiKey=KEY&fullData=true&qrcode=%7B%22action%22:%22checkin%22,%22data%22:%22a%252Bb%252Fc%253D%253D%22,"
        "%22iv%22:%22x%2520y%22%7D&linkGuid=L1");
    row("code with letters", R"({"linkGuid": "L1", "requestData": {"type": "qrCode",
        "value": {"action": 5, "data": "Я", "iv": ""}}})",
        "apiKey=KEY&fullData=true&qrcode=%7B%22action%22:5,%22data%22:%22%25D0%25AF%22,%22iv%22:%22%22%7D&linkGuid=L1");
}

void TestLocalReading::searchBody()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, body);
    QVERIFY(enableService());
    QJsonObject envelope = object(request.constData());
    envelope.insert(QStringLiteral("request"), QStringLiteral("find_racer_by_num"));
    QCOMPARE(m_desk->askWith(envelope), QStringList());
    QVERIFY(m_service->waitFor(1));
    const OnlineService::Request asked = m_service->requests().first();
    QCOMPARE(asked.method, QByteArray("POST"));
    QCOMPARE(asked.path, QByteArray("/findracer.php"));
    QCOMPARE(asked.contentType, QByteArray("application/x-www-form-urlencoded"));
    QCOMPARE(asked.body, body);
    // Once, and nobody hears anything before the service has answered.
    HostProbe::settle(100);
    QCOMPARE(m_service->requests().size(), 1);
    QCOMPARE(m_desk->heard(), QStringList());
}

void TestLocalReading::searchOfNoKind_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"type": ""})", R"({"type": "Phone", "value": "7"})", R"({"type": "qrcode", "value": {}})",
          R"({"type": "email", "value": "7"})", R"({"type": 5, "value": "7"})", R"({"value": "7"})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

// Neither a question to the service nor an answer, not even the link.
void TestLocalReading::searchOfNoKind()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(enableService());
    QCOMPARE(m_desk->ask("find_racer_by_num", arguments.constData()), QStringList());
    HostProbe::settle(150);
    QVERIFY(m_service->requests().isEmpty());
    QCOMPARE(m_desk->heard(), QStringList());
}

void TestLocalReading::searchAnswered_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("with the link")
        << QByteArray(R"({"code": "racer_db_data", "status": "ok", "linkGuid": "L1", "results": [{"clientId": 17,
            "lastName": "Иванов", "birthDate": "2000-01-01", "tel": "8999", "email": "a@b", "photo": "p"}]})")
        << QByteArray(R"({"code": "racer_db_data", "status": "ok", "linkGuid": "L1", "results": [{"clientId": 17,
            "lastName": "Иванов", "photo": "p"}]})");
    QTest::newRow("without the link")
        << QByteArray(R"({"code": "racer_db_data", "status": "ok", "results": [{"clientId": 17}]})")
        << QByteArray(R"({"code": "racer_db_data", "status": "ok", "results": [{"clientId": 17}]})");
    QTest::newRow("more keys")
        << QByteArray(R"({"code": "racer_db_data", "status": "ok", "linkGuid": {"a": [1]}, "total": 1, "tel": "1",
            "results": [{"email": null, "nested": {"tel": "2"}}]})")
        << QByteArray(R"({"code": "racer_db_data", "status": "ok", "linkGuid": {"a": [1]}, "total": 1, "tel": "1",
            "results": [{"nested": {"tel": "2"}}]})");
}

void TestLocalReading::searchAnswered()
{
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, answer);
    QVERIFY(enableService());
    m_desk->ask("find_racer_by_num", R"({"type": "phone", "value": "8999"})");
    QVERIFY(m_service->waitFor(1));
    QVERIFY(m_service->answer(0, reply));
    QVERIFY(host().waitFor(Answer));
    HostProbe::settle(50);
    QCOMPARE(host().names(), QStringList(Answer));
    JSON_COMPARE(host().last(Answer), object(answer.constData()));
}

void TestLocalReading::searchUnanswered_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    const auto row = [](const char *name, const char *reply, int status = 200) {
        QTest::newRow(name) << QByteArray(reply) << status;
    };
    row("nobody", R"({"code": "racer_db_data", "status": "ok", "linkGuid": "L", "results": []})");
    row("two clients",
        R"({"code": "racer_db_data", "status": "ok", "linkGuid": "L", "results": [{"clientId": 1}, {"clientId": 2}]})");
    row("no results", R"({"code": "racer_db_data", "status": "ok", "linkGuid": "L"})");
    row("results are an object", R"({"code": "racer_db_data", "status": "ok", "results": {"clientId": 1}})");
    row("status fail", R"({"code": "racer_db_data", "status": "fail", "results": [{"clientId": 1}]})");
    row("status OK", R"({"code": "racer_db_data", "status": "OK", "results": [{"clientId": 1}]})");
    row("status true", R"({"code": "racer_db_data", "status": true, "results": [{"clientId": 1}]})");
    row("no status", R"({"code": "racer_db_data", "results": [{"clientId": 1}]})");
    row("another code", R"({"code": "racer_db", "status": "ok", "linkGuid": "L", "results": [{"clientId": 1}]})");
    row("no code", R"({"status": "ok", "linkGuid": "L", "results": [{"clientId": 1}]})");
    row("an array", R"([{"code": "racer_db_data", "status": "ok", "results": [{"clientId": 1}]}])");
    row("half of it", R"({"code": "racer_db_data", "status": "ok", "results": [{"clien)");
    row("no JSON", "<html>Ошибка</html>");
    row("empty", "");
    row("error of the server", R"({"code": "racer_db_data", "status": "ok", "results": [{"clientId": 1}]})", 500);
    row("not found", R"({"code": "racer_db_data", "status": "ok", "results": [{"clientId": 1}]})", 404);
}

void TestLocalReading::searchUnanswered()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    QVERIFY(enableService());
    m_desk->ask("find_racer_by_num", R"({"type": "phone", "value": "8999"})");
    QVERIFY(m_service->waitFor(1));
    QVERIFY(m_service->answer(0, reply, status));
    HostProbe::settle(150);
    QCOMPARE(m_desk->heard(), QStringList());
    QCOMPARE(host().checkIn()->rowCount(), 0);
    // And nobody was kept in mind.
    QCOMPARE(m_desk->ask("add_new_checkin", R"({"clientId": 1, "uuid": "{a}"})"),
             (QStringList{QStringLiteral("update_local_client: {}"), QStringLiteral("list: {a} 0 0 0 - - -"),
                          RequestDesk::bare()}));
    // The next search is answered.
    m_desk->ask("find_racer_by_num", R"({"type": "phone", "value": "8999"})");
    QVERIFY(m_service->waitFor(2));
    QVERIFY(m_service->answer(1, R"({"code": "racer_db_data", "status": "ok", "linkGuid": "L2", "results": [{}]})"));
    QVERIFY(host().waitFor(Answer));
    JSON_CONTAINS(host().last(Answer), object(R"({"linkGuid": "L2", "results": [{}]})"));
}

void TestLocalReading::searchesOutOfOrder()
{
    QVERIFY(enableService());
    for (const char *link : {"L1", "L2", "L3"}) {
        QJsonObject request =
            RequestDesk::envelope(QStringLiteral("find_racer_by_num"), object(R"({"type": "phone", "value": "8"})"));
        request.insert(QStringLiteral("linkGuid"), QString::fromLatin1(link));
        QCOMPARE(m_desk->askWith(request), QStringList());
    }
    QVERIFY(m_service->waitFor(3));
    host().clear();
    for (const int number : {2, 0}) {
        const QByteArray link = m_service->requests().at(number).body.right(2);
        QVERIFY(m_service->answer(number, R"({"code": "racer_db_data", "status": "ok", "results": [{}], "linkGuid": ")"
                                              + link + "\"}"));
        QVERIFY(host().waitFor(Answer, number == 2 ? 1 : 2));
    }
    m_service->hangUp(1);
    HostProbe::settle(100);
    QStringList links;
    const QVector<QJsonObject> answers = host().payloads(Answer);
    for (const QJsonObject &answer : answers)
        links.append(answer.value(QLatin1String("linkGuid")).toString());
    QCOMPARE(links, (QStringList{QStringLiteral("L3"), QStringLiteral("L1")}));
}

// The client program does not see a birth date, but the host gets the whole client once he is registered.
void TestLocalReading::searchKeepsTheClient()
{
    QVERIFY(enableService());
    const QJsonObject client = object(R"({"clientId": 17, "lastName": "Иванов", "firstName": "Иван", "midName": "",
        "birthDate": "2000-01-01", "tel": "8999", "email": "a@b"})");
    m_desk->ask("find_racer_by_num", R"({"type": "phone", "value": "8999"})");
    QVERIFY(m_service->waitFor(1));
    QVERIFY(m_service->answer(0, bytes({{QStringLiteral("code"), QStringLiteral("racer_db_data")},
                                        {QStringLiteral("status"), QStringLiteral("ok")},
                                        {QStringLiteral("results"), QJsonArray{client}}})));
    QVERIFY(host().waitFor(Answer));
    const auto registered = [&] {
        m_desk->host().clear();
        m_desk->host().send(QStringLiteral("local_request"),
                            RequestDesk::envelope(QStringLiteral("add_new_checkin"),
                                                  object(R"({"clientId": 17, "lastName": "Иванов"})")));
        return host().last(QStringLiteral("update_local_client"));
    };
    JSON_COMPARE(registered(), client);
    JSON_COMPARE(registered(), QJsonObject());
}

void TestLocalReading::serviceRegistersTheClient()
{
    QVERIFY(enableService());
    const QJsonObject client =
        object(R"({"clientId": 17, "lastName": "иванов", "firstName": "иван", "midName": "", "tel": "8999"})");
    m_desk->ask("find_racer_by_num", R"({"type": "phone", "value": "8999"})");
    QVERIFY(m_service->waitFor(1));
    host().clear();
    QVERIFY(m_service->answer(0, bytes({{QStringLiteral("code"), QStringLiteral("add_to_checkin")},
                                        {QStringLiteral("status"), QStringLiteral("ok")},
                                        {QStringLiteral("linkGuid"), QStringLiteral("L")},
                                        {QStringLiteral("results"), QJsonArray{client}}})));
    QVERIFY(host().waitFor(Answer));
    HostProbe::settle(50);
    QCOMPARE(host().names(), (QStringList{QStringLiteral("update_local_client"), Answer}));
    JSON_COMPARE(host().last(QStringLiteral("update_local_client")), client);
    JSON_CONTAINS(host().last(Answer),
                  object(R"({"checkInList": [{"clientId": 17, "lastName": "Иванов", "firstName": "Иван"}]})"));
    QCOMPARE(host().last(Answer).keys(), QStringList{QStringLiteral("checkInList")});
}

void TestLocalReading::serviceDown()
{
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("find_racer_by_num", R"({"type": "phone", "value": "8999"})"), QStringList());
    HostProbe::settle(200);
    QCOMPARE(m_desk->heard(), QStringList());
    QCOMPARE(m_desk->ask("no such request"), QStringList{RequestDesk::bare()});
}

void TestLocalReading::localClientData()
{
    Counter &counter = m_desk->counter();
    counter.seed({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}}),
                  Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    const QJsonObject client = object(R"({"clientId": 17, "lastName": "Петров", "safetyAgreementValid": true,
        "linkKind": "service", "code": "x", "photo": "p", "linkGuid": "{theirs}"})");
    host().send(QStringLiteral("local_client_data"), client);
    QCOMPARE(host().names(), QStringList(Answer));
    QJsonObject told = client;
    told.insert(QStringLiteral("linkKind"), QStringLiteral("cashier"));
    told.insert(QStringLiteral("code"), QStringLiteral("update_local_client_data"));
    JSON_COMPARE(host().last(Answer), told);
    QCOMPARE(counter.shown(0, Counter::Name), text("Петров  "));
    QCOMPARE(counter.shown(1, Counter::Name), text("{b}  "));

    // A client whom nobody has registered: the desk passes him on all the same.
    host().clear();
    host().send(QStringLiteral("local_client_data"), object(R"({"clientId": 18})"));
    QCOMPARE(host().names(), QStringList(Answer));
    JSON_COMPARE(host().last(Answer),
                 object(R"({"clientId": 18, "linkKind": "cashier", "code": "update_local_client_data"})"));
    JSON_CONTAINS(counter.line(0), object(R"({"validSafetyAgreement": true, "lastName": "Петров"})"));
}

void TestLocalReading::localClientDataOfNobody_data()
{
    QTest::addColumn<QByteArray>("client");
    for (const char *client :
         {"{}", R"({"clientId": -1, "uuid": "{a}"})", R"({"clientId": null})", R"({"clientId": "17"})"})
        QTest::newRow(client) << QByteArray(client);
}

void TestLocalReading::localClientDataOfNobody()
{
    QFETCH(QByteArray, client);
    m_desk->counter().seed({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}})});
    QVERIFY(m_desk->open());
    QJsonObject json = object(client.constData());
    json.insert(QStringLiteral("lastName"), text("Петров"));
    host().send(QStringLiteral("local_client_data"), json);
    QCOMPARE(host().names(), QStringList());
    QCOMPARE(m_desk->counter().shown(0, Counter::Name), text("{a}  "));
}

void TestLocalReading::clientAccountData()
{
    Counter &counter = m_desk->counter();
    counter.seed({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}})});
    QVERIFY(m_desk->open());
    const QByteArray queue = m_desk->track().readJournal(QStringLiteral("runslist.state"));
    m_desk->track().removeJournal(QStringLiteral("runslist.state"));
    const QJsonObject client = object(R"({"clientId": 17, "lastName": "Петров", "tel": "8999"})");
    host().send(QStringLiteral("client_account_data"), client);
    QCOMPARE(host().names(), QStringList{QStringLiteral("update_local_client")});
    JSON_COMPARE(host().last(QStringLiteral("update_local_client")), client);
    JSON_CONTAINS(counter.stored().value(0), object(R"({"uuid": "{a}", "lastName": "Петров"})"));
    // Only the list is written.
    QVERIFY(!m_desk->track().hasJournal(QStringLiteral("runslist.state")));
    QVERIFY(!queue.isNull());

    // Somebody unknown goes on to the host, too.
    host().clear();
    host().send(QStringLiteral("client_account_data"), object(R"({"clientId": -1})"));
    QCOMPARE(host().names(), QStringList{QStringLiteral("update_local_client")});
    JSON_COMPARE(host().last(QStringLiteral("update_local_client")), object(R"({"clientId": -1})"));
}

void TestLocalReading::runsArchiveList()
{
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("runs_archive_list"), object(R"({"runs": [1, {"a": 2}], "limitHours": 24})"));
    QCOMPARE(host().names(), QStringList(Answer));
    JSON_COMPARE(host().last(Answer), object(R"({"runsArchive": [1, {"a": 2}]})"));
    JSON_COMPARE(m_desk->answer(QStringLiteral("run_queue")).value(QLatin1String("runsArchive")),
                 JsonMatch::array(R"([1, {"a": 2}])"));
    // The last one counts, whatever it is.
    host().send(QStringLiteral("runs_archive_list"), object(R"({"runs": {"b": 1}})"));
    JSON_COMPARE(host().last(Answer), object(R"({"runsArchive": {"b": 1}})"));
    JSON_COMPARE(m_desk->answer(QStringLiteral("run_queue")).value(QLatin1String("runsArchive")),
                 object(R"({"b": 1})"));
}

void TestLocalReading::trackName()
{
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->answer(QStringLiteral("cash_data")).value(QLatin1String("trackName")), QJsonValue(QString()));
    host().clear();
    host().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T", "trackName": "Картодром"})"));
    QCOMPARE(host().names(), QStringList(Answer));
    JSON_COMPARE(host().last(Answer), object(R"({"trackName": "Картодром"})"));
    QCOMPARE(m_desk->answer(QStringLiteral("cash_data")).value(QLatin1String("trackName")),
             QJsonValue(text("Картодром")));
}

void TestLocalReading::unknownName_data()
{
    QTest::addColumn<QJsonValue>("name");
    for (const char *name : {"", "CASH_DATA", "cash_data ", " cash_data", "cashData", "checkTicket", "doStartQueue",
                             "load_complete", "runQueueUpdate"})
        QTest::newRow(*name ? name : "empty") << QJsonValue(QString::fromLatin1(name));
    QTest::newRow("array") << QJsonValue(QJsonArray{QStringLiteral("cash_data")});
    QTest::newRow("number") << QJsonValue(4);
    QTest::newRow("nothing") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("letters behind a zero") << QJsonValue(QStringLiteral("cash_data") + QChar(0) + QLatin1Char('x'));
}

void TestLocalReading::unknownName()
{
    QFETCH(QJsonValue, name);
    QVERIFY(m_desk->open());
    QJsonObject request = RequestDesk::envelope(QString(), object(R"({"runsCount": 2, "cmd": "start"})"));
    request.insert(QStringLiteral("request"), name);
    QCOMPARE(m_desk->askWith(request), QStringList{RequestDesk::bare()});
    request.remove(QStringLiteral("linkGuid"));
    QCOMPARE(m_desk->askWith(request), QStringList());
    QCOMPARE(m_desk->queue(), QString());
}

void TestLocalReading::linkComesBack_data()
{
    QTest::addColumn<QJsonValue>("link");
    QTest::newRow("text") << QJsonValue(text("Киоск №1"));
    QTest::newRow("empty text") << QJsonValue(QString());
    QTest::newRow("number") << QJsonValue(-17.25);
    QTest::newRow("true") << QJsonValue(true);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("array") << QJsonValue(JsonMatch::array(R"([1, "2", null])"));
    QTest::newRow("object") << QJsonValue(object(R"({"linkGuid": {"a": [1, {"b": null}]}})"));
}

// The link is the client's own affair; it comes back as it went in, with every request that is answered at once.
void TestLocalReading::linkComesBack()
{
    QFETCH(QJsonValue, link);
    QVERIFY(m_desk->open());
    for (const char *name : {"cashier_login",
                             "run_queue",
                             "cash_data",
                             "remove_checkin_items",
                             "move_racer_to_run",
                             "set_new_discount",
                             "set_new_run_count",
                             "set_new_car_model",
                             "set_new_pay_method",
                             "print_safety",
                             "print_tickets",
                             "print_ticket",
                             "pay_and_seat_to_runs",
                             "move_run_in_queue",
                             "add_new_checkin",
                             "update_client_data",
                             "lock_unlock_run",
                             "delete_run_from_queue",
                             "print_run",
                             "set_price_type",
                             "add_new_run",
                             "remove_racer_from_run",
                             "refund_tickets",
                             "get_available_cars",
                             "select_car",
                             "run_control"}) {
        QJsonObject request = RequestDesk::envelope(QString::fromLatin1(name), {});
        request.insert(QStringLiteral("linkGuid"), link);
        host().clear();
        host().send(QStringLiteral("local_request"), request);
        QCOMPARE(host().names().last(), Answer);
        QVERIFY2(host().last(Answer).contains(QLatin1String("linkGuid")), name);
        JSON_COMPARE(host().last(Answer).value(QLatin1String("linkGuid")), link);
    }
}

DESK_TEST_MAIN(TestLocalReading)

#include "tst_localreading.moc"
