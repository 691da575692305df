#include "desktest.h"
#include "jsonmatch.h"
#include "requestdesk.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <unistd.h>

/// Client programs that nobody has tested: junk in every key of every request, huge numbers, long lists, deep and big
/// JSON, and far too many requests. The desk neither falls nor stands still, its memory stays within bounds, and the
/// cashier sells on.
class TestHostileRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void junkInEveryKey_data();
    void junkInEveryKey();
    void junkEnvelopes();
    void addRuns_data();
    void addRuns();
    void multiSeatVariant_data();
    void multiSeatVariant();
    void runCountOfAClient_data();
    void runCountOfAClient();
    void refundCount_data();
    void refundCount();
    void longLists_data();
    void longLists();
    void oneRacerTenThousandTimes();
    void deepJson_data();
    void deepJson();
    void bigTexts_data();
    void bigTexts();
    void tenThousandRequests();
    void tenThousandClients();
    void manySeatsOfMany();

private:
    HostProbe &host() { return m_desk->host(); }
    /// A desk with a line, a seated racer, three runs, three cars and a cashier.
    bool open();
    /// The lines {a} and {b}, the runs {A}, {B} and {C} with {r} in the first, and a sale by hand.
    void stillWorks();

    std::unique_ptr<RequestDesk> m_desk;
};

namespace {

using JsonMatch::object;

/// Ends the program when a test takes far too long: a desk that stands still can not be ended by itself.
class Watchdog
{
public:
    explicit Watchdog(int seconds)
        : m_thread([this, seconds] { watch(seconds); })
    {
    }
    ~Watchdog()
    {
        m_done = true;
        m_thread.join();
    }
    Q_DISABLE_COPY(Watchdog)

private:
    void watch(int seconds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (!m_done) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            if (std::chrono::steady_clock::now() < end)
                continue;
            std::fputs("the desk stands still\n", stderr);
            std::abort();
        }
    }

    std::atomic_bool m_done{false};
    std::thread m_thread;
};

/// Memory of this process in the machine, in MB.
double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the system does not tell how much memory there is");
    const double pages = file.readAll().split(' ').value(1).toDouble();
    return pages * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

/// Every request, with a call that means something at the desk of these tests.
struct Call
{
    const char *name;
    const char *arguments;
};

const Call Calls[] = {
    {"cashier_login", R"({"cashierToken": "{t}", "authCode": "1"})"},
    {"cashier_login", R"({"authCode": "1"})"},
    {"find_racer_by_num", R"({"type": "phone", "value": "8999"})"},
    {"find_racer_by_num", R"({"type": "qrCode", "value": {"action": "a", "data": "d", "iv": "i"}})"},
    {"run_queue", R"({"anything": 1})"},
    {"cash_data", R"({"anything": 1})"},
    {"remove_checkin_items", R"({"removeList": ["{x}"]})"},
    {"move_racer_to_run", R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{r}"})"},
    {"set_new_discount", R"({"uuid": "{a}", "newDiscountValue": "10"})"},
    {"set_new_run_count", R"({"uuid": "{a}", "newRunCount": 2})"},
    {"set_new_car_model", R"({"uuid": "{a}", "salesId": 1, "salesCommonId": 1})"},
    {"set_new_pay_method", R"({"uuidList": ["{a}"], "newPayMethod": "Карта"})"},
    {"print_safety", R"({"uuidList": ["{x}"]})"},
    {"print_tickets", R"({"uuidList": ["{x}"]})"},
    {"print_ticket", R"({"runQueueGuid": "{A}", "racerGuid": "{r}"})"},
    {"pay_and_seat_to_runs", R"({"uuidList": ["{x}"], "cashierToken": "{t}", "multiSeatVariant": 1})"},
    {"move_run_in_queue", R"({"srcGuid": "{B}", "dstGuid": "{C}"})"},
    {"add_new_checkin", R"({"clientId": 17, "racerId": 17, "firstName": "a", "lastName": "b", "midName": "c",
        "uuid": "{b}", "runCount": 1, "salesCommonId": 1, "updateData": true,
        "subItems": [{"firstName": "k", "lastName": "l", "midName": "m", "salesCommonId": 1}]})"},
    {"update_client_data", R"({"clientId": 17, "lastName": "b"})"},
    {"lock_unlock_run", R"({"runGuid": "{C}", "lockState": true})"},
    {"delete_run_from_queue", R"({"runGuid": "{X}"})"},
    {"print_run", R"({"runId": 1})"},
    {"set_price_type", R"({"priceName": "Основные"})"},
    {"add_new_run", R"({"startTime": 0, "runsCount": 0})"},
    {"remove_racer_from_run", R"({"runGuid": "{A}", "racerGuid": "{x}"})"},
    {"refund_tickets", R"({"runGuid": "{A}", "racerGuid": "{x}", "cashierToken": "{t}", "refundComment": "c",
        "refundTicketsCount": 1, "refundSum": 1.5})"},
    {"get_available_cars", R"({"clientGuid": "{r}", "runQueueGuid": "{A}"})"},
    {"select_car", R"({"targetCar": {"id": 1}, "runQueueGuid": "{A}", "uuid": "{r}", "racerUuid": "{r}", "carId": 1,
        "manual": true, "changeCarReason": "wrongCar", "isLocalRequest": true})"},
    {"run_control", R"({"cmd": "paus", "runQueueGuid": "{A}"})"},
};

QJsonValue nested(int depth, bool arrays)
{
    QJsonValue value(QStringLiteral("bottom"));
    for (int level = 0; level < depth; ++level) {
        if (arrays)
            value = QJsonArray{value};
        else
            value = QJsonObject{{QStringLiteral("uuid"), value}};
    }
    return value;
}

QVector<QJsonValue> junk()
{
    return {QJsonValue(QJsonValue::Null),
            QJsonValue(true),
            QJsonValue(false),
            QJsonValue(0),
            QJsonValue(-1),
            QJsonValue(-1e9),
            QJsonValue(2147483647),
            QJsonValue(-2147483648.0),
            QJsonValue(4294967296.0),
            QJsonValue(1e308),
            QJsonValue(-1e308),
            QJsonValue(0.5),
            QJsonValue(QString()),
            QJsonValue(QStringLiteral("{r}")),
            QJsonValue(QString(QChar(0))),
            QJsonValue(QString(QChar(0xd800))),
            QJsonValue(QStringLiteral("%1 %2 %n \\ \" ' ; -- \r\n")),
            QJsonValue(QString(4000, QLatin1Char('x'))),
            QJsonValue(QJsonArray()),
            QJsonValue(QJsonArray{QJsonValue(), 1, QStringLiteral("{a}"), QJsonArray(), QJsonObject()}),
            QJsonValue(QJsonObject()),
            QJsonValue(QJsonObject{{QStringLiteral("id"), 1e12}, {QStringLiteral("data"), QJsonArray()}}),
            nested(20, true),
            nested(20, false)};
}

} // namespace

void TestHostileRequests::init()
{
    m_desk = std::make_unique<RequestDesk>();
}

void TestHostileRequests::cleanup()
{
    m_desk.reset();
}

bool TestHostileRequests::open()
{
    m_desk->counter().stockPrices();
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    m_desk->counter().seed({m_desk->counter().sold(QStringLiteral("{a}"))});
    m_desk->seedQueue({{QStringLiteral("{A}"), {TrackOffice::seat(QStringLiteral("{r}"), -1001)}},
                       {QStringLiteral("{B}")},
                       {QStringLiteral("{C}")}});
    if (!m_desk->open())
        return false;
    m_desk->sendCars();
    return true;
}

void TestHostileRequests::stillWorks()
{
    host().clear();
    m_desk->counter().takeKeyboard();
    const QString error = m_desk->sellByHand();
    QVERIFY2(error.isEmpty(), qPrintable(error));
    JSON_CONTAINS(m_desk->answer(QStringLiteral("cashier_login"), object(R"({"cashierToken": "{t}"})")),
                  object(R"({"loginStatus": "ok"})"));
}

void TestHostileRequests::junkInEveryKey_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QJsonObject>("arguments");
    int number = 0;
    for (const Call &call : Calls) {
        const QByteArray tag = QByteArray(call.name) + ' ' + QByteArray::number(++number);
        QTest::newRow(tag.constData()) << QByteArray(call.name) << object(call.arguments);
    }
}

// Each key in turn is missing or holds each kind of junk, while the others make sense.
void TestHostileRequests::junkInEveryKey()
{
    QFETCH(QByteArray, name);
    QFETCH(QJsonObject, arguments);
    const Watchdog watchdog(120);
    QVERIFY(open());
    const double before = residentMegabytes();
    const QString request = QString::fromLatin1(name);
    // Nobody is searched for without an answer, and that comes later.
    const bool answered = request != QLatin1String("find_racer_by_num");
    // A racer with tickets to print and no printer brings a box; another test looks at it.
    if (request == QLatin1String("print_tickets"))
        m_desk->ask("remove_checkin_items", R"({"removeList": ["{a}"]})");
    const QVector<QJsonValue> values = junk();
    const auto send = [&](const QJsonObject &data) {
        host().clear();
        host().send(QStringLiteral("local_request"), RequestDesk::envelope(request, data));
        const QVector<HostEvent> events = host().take();
        if (events.isEmpty() || events.first().event != QLatin1String("write_sys_log"))
            return false;
        return (events.last().data.value(QLatin1String("linkGuid")) == QLatin1String("{link}")) == answered;
    };
    const QStringList keys = arguments.keys();
    for (const QString &key : keys) {
        QJsonObject changed = arguments;
        changed.remove(key);
        QVERIFY2(send(changed), qPrintable(key + QStringLiteral(" is missing")));
        for (const QJsonValue &value : values) {
            changed.insert(key, value);
            QVERIFY2(send(changed), qPrintable(key + QLatin1Char(' ') + JsonMatch::text(value).left(100)));
        }
    }
    // And all of them at once.
    for (const QJsonValue &value : values) {
        QJsonObject changed;
        for (const QString &key : keys)
            changed.insert(key, value);
        QVERIFY2(send(changed), qPrintable(JsonMatch::text(value).left(100)));
    }
    // Also where the arguments should be.
    for (const QJsonValue &value : values) {
        QJsonObject envelope = RequestDesk::envelope(request, {});
        envelope.insert(QStringLiteral("requestData"), value);
        host().clear();
        host().send(QStringLiteral("local_request"), envelope);
        QCOMPARE(host().names().first(), QStringLiteral("write_sys_log"));
    }
    HostProbe::settle(50);
    QVERIFY2(residentMegabytes() - before < 150, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

void TestHostileRequests::junkEnvelopes()
{
    const Watchdog watchdog(120);
    QVERIFY(open());
    const QVector<QJsonValue> values = junk();
    for (const QJsonValue &name : values) {
        for (const QJsonValue &data : values) {
            host().clear();
            host().send(QStringLiteral("local_request"), {{QStringLiteral("request"), name},
                                                          {QStringLiteral("requestData"), data},
                                                          {QStringLiteral("linkGuid"), data}});
            QCOMPARE(host().names(),
                     (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("local_request_answer")}));
            JSON_COMPARE(host().last(QStringLiteral("local_request_answer")),
                         (QJsonObject{{QStringLiteral("linkGuid"), data}}));
        }
    }
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1] {B}[] {C}[]"));
    stillWorks();
}

void TestHostileRequests::addRuns_data()
{
    QTest::addColumn<double>("count");
    QTest::addColumn<int>("added");
    QTest::newRow("a thousand") << 1000.0 << 1000;
    QTest::newRow("a thousand and one") << 1001.0 << 1000;
    QTest::newRow("a billion") << 1e9 << 1000;
    QTest::newRow("the most that fits") << 2147483647.0 << 1000;
    QTest::newRow("more than fits") << 1e12 << 1;
    QTest::newRow("minus a billion") << -1e9 << 0;
    QTest::newRow("a billion and a half") << 1e9 + 0.5 << 1;
}

void TestHostileRequests::addRuns()
{
    QFETCH(double, count);
    QFETCH(int, added);
    const Watchdog watchdog(120);
    QVERIFY(open());
    const double before = residentMegabytes();
    QCOMPARE(m_desk->answer(QStringLiteral("add_new_run"), {{QStringLiteral("runsCount"), count}}).size(), 1);
    QCOMPARE(m_desk->runs()->count(), 3 + added);
    QVERIFY2(residentMegabytes() - before < 250, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

void TestHostileRequests::multiSeatVariant_data()
{
    QTest::addColumn<QJsonValue>("step");
    QTest::addColumn<int>("runCount");
    QTest::addColumn<int>("mostRuns");
    for (const int runCount : {2, 50}) {
        const auto row = [runCount](const char *name, const QJsonValue &step, int mostRuns) {
            QTest::newRow(qPrintable(QStringLiteral("%1, %2 runs").arg(QLatin1String(name)).arg(runCount)))
                << step << runCount << mostRuns;
        };
        const int one = qMax(3, runCount);
        row("a billion", 1e9, 1000);
        row("the most that fits", 2147483647.0, 1000);
        row("a hundred", 100, 1000);
        row("more than fits", 1e12, one);
        row("minus a billion", -1e9, one);
        row("none", 0, one);
        row("fraction", 1.5, one);
        row("text", QStringLiteral("100"), one);
        row("array", QJsonArray{100}, one);
    }
}

void TestHostileRequests::multiSeatVariant()
{
    QFETCH(QJsonValue, step);
    QFETCH(int, runCount);
    QFETCH(int, mostRuns);
    const Watchdog watchdog(150);
    QVERIFY(open());
    m_desk->ask(QStringLiteral("set_new_run_count"),
                {{QStringLiteral("uuid"), QStringLiteral("{a}")}, {QStringLiteral("newRunCount"), runCount}});
    const double before = residentMegabytes();
    const QJsonObject answer = m_desk->answer(QStringLiteral("pay_and_seat_to_runs"),
                                              {{QStringLiteral("uuidList"), QJsonArray{QStringLiteral("{a}")}},
                                               {QStringLiteral("multiSeatVariant"), step}});
    QCOMPARE(answer.size(), 1);
    // All his seats, each in a run of its own.
    const QString queue = m_desk->queue();
    QCOMPARE(queue.count(QStringLiteral("{a}:-1")), runCount);
    QVERIFY2(m_desk->runs()->count() <= mostRuns, qPrintable(QString::number(m_desk->runs()->count())));
    QVERIFY2(residentMegabytes() - before < 250, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

void TestHostileRequests::runCountOfAClient_data()
{
    QTest::addColumn<QJsonValue>("count");
    QTest::addColumn<int>("taken");
    QTest::newRow("a thousand") << QJsonValue(1000) << 1000;
    QTest::newRow("a thousand and one") << QJsonValue(1001) << 1000;
    QTest::newRow("a billion") << QJsonValue(1e9) << 1000;
    QTest::newRow("the most that fits") << QJsonValue(2147483647.0) << 1000;
    QTest::newRow("a billion as text") << QJsonValue(QStringLiteral("1000000000")) << 1000;
    QTest::newRow("more than fits") << QJsonValue(1e12) << 0;
    QTest::newRow("below none") << QJsonValue(-3) << 0;
    QTest::newRow("below none as text") << QJsonValue(QStringLiteral("-3")) << 0;
    QTest::newRow("letters") << QJsonValue(QStringLiteral("many")) << 0;
    QTest::newRow("array") << QJsonValue(QJsonArray{5}) << 0;
}

void TestHostileRequests::runCountOfAClient()
{
    QFETCH(QJsonValue, count);
    QFETCH(int, taken);
    const Watchdog watchdog(150);
    QVERIFY(open());
    const double before = residentMegabytes();
    QJsonObject client = object(R"({"uuid": "{big}", "lastName": "Много"})");
    client.insert(QStringLiteral("runCount"), count);
    QCOMPARE(m_desk->answer(QStringLiteral("add_new_checkin"), client).size(), 1);
    JSON_CONTAINS(m_desk->counter().line(0), (QJsonObject{{QStringLiteral("uuid"), QStringLiteral("{big}")},
                                                          {QStringLiteral("runCount"), taken}}));
    QCOMPARE(m_desk->counter().line(0).value(QLatin1String("pinCodes")).toArray().size(), qMax(1, taken));
    QVERIFY2(residentMegabytes() - before < 100, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

void TestHostileRequests::refundCount_data()
{
    QTest::addColumn<double>("count");
    QTest::addColumn<int>("booked");
    QTest::newRow("a billion") << 1e9 << -1000000000;
    QTest::newRow("the most that fits") << 2147483647.0 << -2147483647;
    QTest::newRow("more than fits") << 1e12 << 0;
    QTest::newRow("below none") << -5.0 << 5;
    QTest::newRow("fraction") << 1.5 << 0;
}

void TestHostileRequests::refundCount()
{
    QFETCH(double, count);
    QFETCH(int, booked);
    const Watchdog watchdog(60);
    QVERIFY(open());
    QJsonObject arguments = object(R"({"runGuid": "{A}", "racerGuid": "{r}", "refundSum": 1e300})");
    arguments.insert(QStringLiteral("refundTicketsCount"), count);
    QCOMPARE(m_desk->answer(QStringLiteral("refund_tickets"), arguments).size(), 1);
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[] {B}[] {C}[]"));
    const QList<QVariantMap> rows = m_desk->counter().payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("tickets_count")).toInt(), booked);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), -1e300);
    stillWorks();
}

void TestHostileRequests::longLists_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("known");
    const auto row = [](const char *name, const char *key) {
        for (const bool known : {false, true}) {
            // A ticket without a printer brings a box for each racer who is there. Seats have a test of their own.
            if (known && (qstrcmp(name, "print_tickets") == 0 || qstrcmp(name, "pay_and_seat_to_runs") == 0))
                continue;
            QTest::newRow(qPrintable(
                QStringLiteral("%1%2").arg(QLatin1String(name), known ? QLatin1String(", known") : QLatin1String(""))))
                << QByteArray(name) << QString::fromLatin1(key) << known;
        }
    };
    row("remove_checkin_items", "removeList");
    row("set_new_discount", "uuid");
    row("set_new_pay_method", "uuidList");
    row("print_safety", "uuidList");
    row("print_tickets", "uuidList");
    row("pay_and_seat_to_runs", "uuidList");
    row("add_new_checkin", "subItems");
}

// Ten thousand entries: strangers, or the lines of the list over and over.
void TestHostileRequests::longLists()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, key);
    QFETCH(bool, known);
    const Watchdog watchdog(150);
    m_desk->counter().stockPrices();
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    QList<QJsonObject> lines;
    for (int i = 0; i < 100; ++i)
        lines.append(m_desk->counter().sold(QStringLiteral("{%1}").arg(i)));
    m_desk->counter().seed(lines);
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    const double before = residentMegabytes();
    QJsonArray list;
    for (int i = 0; i < 10000; ++i) {
        if (key == QLatin1String("subItems"))
            list.append(known ? QJsonValue(QJsonObject{{QStringLiteral("lastName"), QString::number(i)}})
                              : QJsonValue(i));
        else
            list.append(known ? QStringLiteral("{%1}").arg(i % 100) : QStringLiteral("{none %1}").arg(i));
    }
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(m_desk->answer(QString::fromLatin1(name), {{key, list}, {QStringLiteral("newDiscountValue"), 10}}).size(),
             1);
    QVERIFY2(clock.elapsed() < 60000, qPrintable(QString::number(clock.elapsed())));
    HostProbe::settle(200);
    QVERIFY2(residentMegabytes() - before < 400, qPrintable(QString::number(residentMegabytes() - before)));
    if (name != "add_new_checkin")
        stillWorks();
    else
        QCOMPARE(m_desk->answer(QStringLiteral("cash_data")).value(QLatin1String("trackName")), QJsonValue(QString()));
}

// Named again and again, a racer still does not fill the queue without end.
void TestHostileRequests::oneRacerTenThousandTimes()
{
    const Watchdog watchdog(170);
    QVERIFY(open());
    QJsonArray list;
    for (int i = 0; i < 10000; ++i)
        list.append(QStringLiteral("{a}"));
    const double before = residentMegabytes();
    QCOMPARE(m_desk->answer(QStringLiteral("pay_and_seat_to_runs"), {{QStringLiteral("uuidList"), list}}).size(), 1);
    const int runs = m_desk->runs()->count();
    QVERIFY2(runs <= 1000, qPrintable(QString::number(runs)));
    QVERIFY(m_desk->queue().count(QStringLiteral("{a}:-1")) >= 2);
    QCOMPARE(m_desk->counter().paymentCount(), 1);
    QVERIFY2(residentMegabytes() - before < 400, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

void TestHostileRequests::deepJson_data()
{
    QTest::addColumn<bool>("arrays");
    QTest::newRow("arrays") << true;
    QTest::newRow("objects") << false;
}

void TestHostileRequests::deepJson()
{
    QFETCH(bool, arrays);
    const Watchdog watchdog(120);
    QVERIFY(open());
    const QJsonValue deep = nested(500, arrays);
    for (const Call &call : Calls) {
        QJsonObject arguments = object(call.arguments);
        const QStringList keys = arguments.keys();
        for (const QString &key : keys) {
            QJsonObject changed = arguments;
            changed.insert(key, deep);
            QJsonObject envelope = RequestDesk::envelope(QString::fromLatin1(call.name), changed);
            envelope.insert(QStringLiteral("linkGuid"), deep);
            host().clear();
            host().send(QStringLiteral("local_request"), envelope);
            QCOMPARE(host().names().first(), QStringLiteral("write_sys_log"));
            const QJsonObject last = host().events().last().data;
            QVERIFY2(last.value(QLatin1String("linkGuid")) == deep || qstrcmp(call.name, "find_racer_by_num") == 0,
                     call.name);
        }
    }
    stillWorks();
}

void TestHostileRequests::bigTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("letters") << QString(1024 * 1024, QLatin1Char('x'));
    QTest::newRow("digits") << QString(1024 * 1024, QLatin1Char('9'));
    QTest::newRow("two bytes each") << QString(512 * 1024, QChar(0x044f));
    QTest::newRow("blanks") << QString(1024 * 1024, QLatin1Char(' '));
}

void TestHostileRequests::bigTexts()
{
    QFETCH(QString, text);
    const Watchdog watchdog(150);
    QVERIFY(open());
    const double before = residentMegabytes();
    QElapsedTimer clock;
    clock.start();
    for (const Call &call : Calls) {
        // Only what a cashier would have to look at for ever is left out: the name and the tickets of a line that stays.
        QJsonObject arguments = object(call.arguments);
        const QStringList keys = arguments.keys();
        for (const QString &key : keys) {
            QJsonObject changed = arguments;
            changed.insert(key, text);
            host().clear();
            host().send(QStringLiteral("local_request"),
                        RequestDesk::envelope(QString::fromLatin1(call.name), changed));
            QCOMPARE(host().names().first(), QStringLiteral("write_sys_log"));
        }
    }
    host().clear();
    QVERIFY2(clock.elapsed() < 90000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(residentMegabytes() - before < 500, qPrintable(QString::number(residentMegabytes() - before)));
    QCOMPARE(m_desk
                 ->answer(QStringLiteral("remove_checkin_items"),
                          {{QStringLiteral("removeList"), QJsonArray{QStringLiteral("{b}"), text}}})
                 .size(),
             1);
    stillWorks();
}

void TestHostileRequests::tenThousandRequests()
{
    const Watchdog watchdog(170);
    QVERIFY(open());
    QVector<QJsonObject> requests;
    for (const Call &call : Calls) {
        // Without the service a search only waits for nobody.
        if (qstrcmp(call.name, "find_racer_by_num") != 0)
            requests.append(RequestDesk::envelope(QString::fromLatin1(call.name), object(call.arguments)));
    }
    // Once to warm up what is made once.
    for (const QJsonObject &request : qAsConst(requests))
        host().send(QStringLiteral("local_request"), request);
    host().clear();
    const double before = residentMegabytes();
    int answered = 0;
    for (int i = 0; i < 10000; ++i) {
        host().send(QStringLiteral("local_request"), requests.at(i % requests.size()));
        const QVector<HostEvent> events = host().take();
        answered += events.last().data.value(QLatin1String("linkGuid")) == QLatin1String("{link}") ? 1 : 0;
    }
    QCOMPARE(answered, 10000);
    QVERIFY2(residentMegabytes() - before < 60, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

// Searches without end, with nobody at the other side.
void TestHostileRequests::tenThousandClients()
{
    const Watchdog watchdog(170);
    QVERIFY(open());
    const double before = residentMegabytes();
    for (int i = 0; i < 10000; ++i) {
        host().send(QStringLiteral("local_request"),
                    RequestDesk::envelope(QStringLiteral("find_racer_by_num"),
                                          {{QStringLiteral("type"), QStringLiteral("phone")},
                                           {QStringLiteral("value"), QString::number(i)}}));
        if (i % 500 == 0) {
            host().clear();
            HostProbe::settle(1);
        }
    }
    host().clear();
    QVERIFY2(residentMegabytes() - before < 400, qPrintable(QString::number(residentMegabytes() - before)));
    stillWorks();
}

// A hundred racers, each of them a hundred times in one request: all are seated, and the queue still has an end.
void TestHostileRequests::manySeatsOfMany()
{
    const Watchdog watchdog(100);
    m_desk->counter().stockPrices();
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    QList<QJsonObject> lines;
    QJsonArray list;
    for (int i = 0; i < 100; ++i)
        lines.append(m_desk->counter().sold(QStringLiteral("{%1}").arg(i)));
    for (int i = 0; i < 10000; ++i)
        list.append(QStringLiteral("{%1}").arg(i % 100));
    m_desk->counter().seed(lines);
    QVERIFY(m_desk->open());
    const double before = residentMegabytes();
    QCOMPARE(m_desk->answer(QStringLiteral("pay_and_seat_to_runs"), {{QStringLiteral("uuidList"), list}}).size(), 1);
    QVERIFY2(residentMegabytes() - before < 600, qPrintable(QString::number(residentMegabytes() - before)));
    const QString queue = m_desk->queue();
    for (int i = 0; i < 100; ++i)
        QVERIFY2(queue.count(QStringLiteral("{%1}:-1").arg(i)) >= 2, qPrintable(queue.left(300)));
    QCOMPARE(m_desk->counter().model()->rowCount(), 0);
    QCOMPARE(m_desk->counter().payments(100).size(), 100);
    m_desk->sendCars();
    stillWorks();
}

DESK_TEST_MAIN(TestHostileRequests)

#include "tst_hostilerequests.moc"
