#include "desktest.h"
#include "jsonmatch.h"
#include "requestdesk.h"

#include <QComboBox>
#include <QDate>
#include <QJsonDocument>
#include <QSignalSpy>

#include <algorithm>
#include <memory>

/// What client programs change on the check-in list, with all that the host hears of it, in order: lines, sales, money,
/// paper, clients and prices. A new desk for each test.
class TestLocalChanges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void nothingToAnswer_data();
    void nothingToAnswer();

    void removeCheckInItems();
    void removeCheckInItemsOfNobody_data();
    void removeCheckInItemsOfNobody();

    void setNewDiscount_data();
    void setNewDiscount();
    void setNewDiscountOfSeveral();
    void setNewDiscountOfNobody_data();
    void setNewDiscountOfNobody();

    void setNewRunCount_data();
    void setNewRunCount();
    void setNewRunCountOfAMinor();
    void setNewRunCountOfNobody();

    void setNewCarModel();
    void setNewCarModelOfAnotherBlock();
    void setNewCarModelUnknown_data();
    void setNewCarModelUnknown();
    void setNewCarModelTakesTheSaleOff_data();
    void setNewCarModelTakesTheSaleOff();
    void setNewCarModelOfNobody();

    void setNewPayMethod();
    void setNewPayMethodOfNobody_data();
    void setNewPayMethodOfNobody();

    void printSafety();
    void printSafetyOfNobody_data();
    void printSafetyOfNobody();
    void printTicketsWithoutPrinter();
    void printTicketsWhileTheBoxIsOpen();
    void printTicketsOfNobody_data();
    void printTicketsOfNobody();

    void payAndSeat();
    void payAndSeatSeveral();
    void payAndSeatWithStep_data();
    void payAndSeatWithStep();
    void payAndSeatThePaid();
    void ticketShownWhileSeated_data();
    void ticketShownWhileSeated();
    void payAndSeatWithUnknownToken_data();
    void payAndSeatWithUnknownToken();
    void payAndSeatRefused_data();
    void payAndSeatRefused();
    void payAndSeatMinors();
    void payAndSeatAFamily();
    void payAndSeatGrowsTheQueue();
    void payAndSeatOfNobody_data();
    void payAndSeatOfNobody();

    void addNewCheckIn();
    void addNewCheckInOfAClient();
    void addNewCheckInWithUpdate();
    void addNewCheckInWithUpdateOfSomeNames();
    void addNewCheckInOfARacerId();
    void addNewCheckInTwice();
    void addNewCheckInWithMinors();
    void addNewCheckInWithoutAnything();

    void updateClientData();
    void updateClientDataOfTheEnvelope();
    void updateClientDataWithoutTrack();

    void printRun();
    void setPriceType();
    void setPriceTypeReprices();
    void setPriceTypeUnknown_data();
    void setPriceTypeUnknown();

private:
    HostProbe &host() { return m_desk->host(); }
    Counter &counter() { return m_desk->counter(); }
    /// The runs {A}, {B} and {C}, empty.
    void seedThreeRuns();
    /// Lines of the journal by what the test looks at.
    QJsonObject line(int row) { return counter().line(row); }

    std::unique_ptr<RequestDesk> m_desk;
};

namespace {

using JsonMatch::object;

QStringList bare()
{
    return {RequestDesk::bare()};
}

QJsonObject merged(QJsonObject json, const QJsonObject &more)
{
    for (auto it = more.begin(); it != more.end(); ++it)
        json.insert(it.key(), it.value());
    return json;
}

QJsonObject paid()
{
    return {{QStringLiteral("payState"), true}};
}

QStringList guids(const QList<QJsonObject> &lines)
{
    QStringList found;
    for (const QJsonObject &line : lines)
        found.append(line.value(QLatin1String("uuid")).toString());
    return found;
}

/// Values that stand for nobody where a list of identities is due.
void nobodyRows(const char *key)
{
    QTest::addColumn<QJsonObject>("arguments");
    const QString name = QString::fromLatin1(key);
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("empty list") << QJsonObject{{name, QJsonArray()}};
    QTest::newRow("unknown") << QJsonObject{{name, QJsonArray{QStringLiteral("{x}"), QStringLiteral("a")}}};
    QTest::newRow("empty text") << QJsonObject{{name, QJsonArray{QString()}}};
    QTest::newRow("no texts") << QJsonObject{{name, JsonMatch::array(R"([1, null, true, {}, ["{a}"]])")}};
    QTest::newRow("text") << QJsonObject{{name, QStringLiteral("{a}")}};
    QTest::newRow("object") << QJsonObject{{name, object(R"({"uuid": "{a}"})")}};
    QTest::newRow("null") << QJsonObject{{name, QJsonValue(QJsonValue::Null)}};
}

} // namespace

void TestLocalChanges::initTestCase()
{
    // For the spies on the model.
    qRegisterMetaType<QList<QPersistentModelIndex>>();
    qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>();
}

void TestLocalChanges::init()
{
    m_desk = std::make_unique<RequestDesk>();
    counter().stockPrices();
}

void TestLocalChanges::cleanup()
{
    m_desk.reset();
}

void TestLocalChanges::seedThreeRuns()
{
    m_desk->seedQueue({{QStringLiteral("{A}")}, {QStringLiteral("{B}")}, {QStringLiteral("{C}")}});
}

void TestLocalChanges::nothingToAnswer_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<QStringList>("heard");
    const auto row = [](const char *request, const char *arguments, const QStringList &heard) {
        QTest::newRow(request) << QString::fromLatin1(request) << QByteArray(arguments) << heard;
    };
    row("remove_checkin_items", R"({"removeList": ["{b}"]})", {text("list: {a} 2 1000 0 Карта Взрослый -")});
    row("set_new_discount", R"({"uuid": "{a}", "newDiscountValue": 10})", {});
    row("set_new_car_model", R"({"uuid": "{b}"})", {});
    row("set_new_pay_method", R"({"uuidList": ["{a}"], "newPayMethod": "Наличные"})", {});
    row("update_client_data", R"({"clientId": 17})",
        {QStringLiteral("update_client_data: {\"clientId\":17,\"trackKey\":\"\"}"),
         QStringLiteral("update_local_client: {\"clientId\":17}")});
    row("print_run", R"({"runId": 5})", {QStringLiteral("print_run: {\"runId\":5}")});
    row("run_control", R"({"cmd": "pause"})", {});
}

// A program that gave no link waits for no answer: where there is nothing to report, none goes out. The work is done.
void TestLocalChanges::nothingToAnswer()
{
    QFETCH(QString, request);
    QFETCH(QByteArray, arguments);
    QFETCH(QStringList, heard);
    counter().seed({counter().sold(QStringLiteral("{a}")), Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    QJsonObject envelope = RequestDesk::envelope(request, object(arguments.constData()));
    envelope.remove(QStringLiteral("linkGuid"));
    QCOMPARE(m_desk->askWith(envelope), heard);
    if (request == QLatin1String("set_new_discount"))
        JSON_CONTAINS(line(0), object(R"({"discountValue": "10", "paySum": 900})"));
    if (request == QLatin1String("set_new_pay_method"))
        JSON_CONTAINS(line(0), object(R"({"payMethod": "Наличные"})"));
}

void TestLocalChanges::removeCheckInItems()
{
    const QJsonObject kids{{QStringLiteral("kidsList"), QJsonArray{Counter::ticket(QStringLiteral("{k}"))}}};
    counter().seed({Counter::ticket(QStringLiteral("{a}"), kids), Counter::ticket(QStringLiteral("{b}"), kids),
                    counter().sold(QStringLiteral("{c}"), paid()), Counter::ticket(QStringLiteral("{d}"))});
    QVERIFY(m_desk->open());
    // Unknown ones do not stop the rest, minors go with their parents only, a paid line goes like any other.
    QCOMPARE(m_desk->ask("remove_checkin_items", R"({"removeList": ["{x}", "{c}", 5, "{k}", "{a}", "{a}"]})"),
             (QStringList{text("list: {b} 0 0 0 - - - ({k} 0 0 0 - - -) / {d} 0 0 0 - - -"), RequestDesk::bare()}));
    QCOMPARE(guids(counter().stored()), (QStringList{QStringLiteral("{b}"), QStringLiteral("{d}")}));
    QCOMPARE(counter().model()->rowCount(), 2);
}

void TestLocalChanges::removeCheckInItemsOfNobody_data()
{
    nobodyRows("removeList");
}

void TestLocalChanges::removeCheckInItemsOfNobody()
{
    QFETCH(QJsonObject, arguments);
    counter().seed({Counter::ticket(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask(QStringLiteral("remove_checkin_items"), arguments), bare());
    QCOMPARE(guids(counter().lines()), QStringList{QStringLiteral("{a}")});
}

void TestLocalChanges::setNewDiscount_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<double>("sum");
    QTest::newRow("text") << QJsonValue(QStringLiteral("10")) << "10" << 900.0;
    QTest::newRow("number") << QJsonValue(10) << "10" << 900.0;
    QTest::newRow("half a percent") << QJsonValue(0.5) << "0.5" << 995.0;
    QTest::newRow("everything") << QJsonValue(100) << "100" << 0.0;
    QTest::newRow("amount a run") << QJsonValue(QStringLiteral("=200")) << "=200" << 600.0;
    QTest::newRow("letters") << QJsonValue(QStringLiteral("abc")) << "abc" << 1000.0;
    QTest::newRow("empty") << QJsonValue(QString()) << "" << 1000.0;
    QTest::newRow("nothing") << QJsonValue(QJsonValue::Undefined) << "" << 1000.0;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << "" << 1000.0;
    QTest::newRow("array") << QJsonValue(QJsonArray{10}) << "" << 1000.0;
    QTest::newRow("object") << QJsonValue(QJsonObject{{QStringLiteral("a"), 10}}) << "" << 1000.0;
}

void TestLocalChanges::setNewDiscount()
{
    QFETCH(QJsonValue, value);
    QFETCH(QString, stored);
    QFETCH(double, sum);
    counter().seed({counter().sold(QStringLiteral("{a}"), {{QStringLiteral("discountValue"), QStringLiteral("50")}}),
                    counter().sold(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    const QByteArray before = m_desk->track().readJournal(QStringLiteral("tickets.state"));
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QJsonObject arguments{{QStringLiteral("uuid"), QStringLiteral("{a}")}};
    arguments.insert(QStringLiteral("newDiscountValue"), value);
    QCOMPARE(m_desk->ask(QStringLiteral("set_new_discount"), arguments), bare());
    QCOMPARE(laidOut.count(), 1);
    // Nobody is told, and nothing is written, before the next publication.
    QCOMPARE(m_desk->track().readJournal(QStringLiteral("tickets.state")), before);
    JSON_CONTAINS(line(0), (QJsonObject{{QStringLiteral("discountValue"), stored}, {QStringLiteral("paySum"), sum}}));
    JSON_CONTAINS(line(1), object(R"({"discountValue": "0", "paySum": 1000})"));
}

void TestLocalChanges::setNewDiscountOfSeveral()
{
    counter().seed({counter().sold(QStringLiteral("{a}")), counter().sold(QStringLiteral("{b}")),
                    counter().sold(QStringLiteral("{c}"))});
    QVERIFY(m_desk->open());
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask("set_new_discount", R"({"uuid": ["{a}", "{x}", null, "", "{c}"], "newDiscountValue": 10})"),
             bare());
    QCOMPARE(laidOut.count(), 1);
    const QList<QJsonObject> lines = counter().lines();
    JSON_CONTAINS(lines.at(0), object(R"({"discountValue": "10", "paySum": 900})"));
    JSON_CONTAINS(lines.at(1), object(R"({"discountValue": "0", "paySum": 1000})"));
    JSON_CONTAINS(lines.at(2), object(R"({"discountValue": "10", "paySum": 900})"));
}

void TestLocalChanges::setNewDiscountOfNobody_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {R"({"newDiscountValue": 10})", R"({"uuid": "", "newDiscountValue": 10})",
          R"({"uuid": "{x}", "newDiscountValue": 10})", R"({"uuid": {"uuid": "{a}"}, "newDiscountValue": 10})",
          R"({"uuid": 5, "newDiscountValue": 10})", R"({"uuid": [["{a}"]], "newDiscountValue": 10})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalChanges::setNewDiscountOfNobody()
{
    QFETCH(QByteArray, arguments);
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("set_new_discount", arguments.constData()), bare());
    JSON_CONTAINS(line(0), object(R"({"discountValue": "0", "paySum": 1000})"));
}

void TestLocalChanges::setNewRunCount_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<int>("count");
    QTest::newRow("three") << QJsonValue(3) << 3;
    QTest::newRow("the same") << QJsonValue(2) << 2;
    QTest::newRow("none") << QJsonValue(0) << 0;
    QTest::newRow("below none") << QJsonValue(-3) << 0;
    QTest::newRow("fifty") << QJsonValue(50) << 50;
    QTest::newRow("more than fifty") << QJsonValue(70) << 50;
    QTest::newRow("a billion") << QJsonValue(1000000000) << 50;
    QTest::newRow("more than fits") << QJsonValue(1e18) << 0;
    QTest::newRow("fraction") << QJsonValue(2.5) << 0;
    QTest::newRow("text") << QJsonValue(QStringLiteral("3")) << 0;
    QTest::newRow("nothing") << QJsonValue(QJsonValue::Undefined) << 0;
}

void TestLocalChanges::setNewRunCount()
{
    QFETCH(QJsonValue, value);
    QFETCH(int, count);
    counter().seed({counter().sold(QStringLiteral("{a}"), {{QStringLiteral("regTime"), 4000000000.0}})});
    QVERIFY(m_desk->open());
    QJsonObject arguments{{QStringLiteral("uuid"), QStringLiteral("{a}")}};
    arguments.insert(QStringLiteral("newRunCount"), value);
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask(QStringLiteral("set_new_run_count"), arguments),
             (QStringList{text("list: {a} %1 %2 0 Карта Взрослый -").arg(count).arg(500 * count),
                          RequestDesk::bare()}));
    QVERIFY(laidOut.count() >= 1);
    const QJsonObject stored = counter().stored().value(0);
    JSON_CONTAINS(stored, (QJsonObject{{QStringLiteral("runCount"), count}, {QStringLiteral("regTime"), 0}}));
    const QJsonArray pins = stored.value(QLatin1String("pinCodes")).toArray();
    QCOMPARE(pins.size(), qMax(1, count));
    QVERIFY(pins.first() != QJsonValue(QStringLiteral("0101")) || count == 2);
    for (const QJsonValue &pin : pins)
        QCOMPARE(pin, pins.first());
}

void TestLocalChanges::setNewRunCountOfAMinor()
{
    QJsonObject minor = counter().sold(QStringLiteral("{k}"));
    counter().seed({counter().sold(QStringLiteral("{a}"), {{QStringLiteral("kidsList"), QJsonArray{minor}}})});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("set_new_run_count", R"({"uuid": "{k}", "newRunCount": 3})"),
             (QStringList{text("list: {a} 2 2500 0 Карта Взрослый - ({k} 3 0 0 Карта Взрослый -)"),
                          RequestDesk::bare()}));
}

void TestLocalChanges::setNewRunCountOfNobody()
{
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask("set_new_run_count", R"({"uuid": "{x}", "newRunCount": 3})"), bare());
    QCOMPARE(m_desk->ask("set_new_run_count", R"({"uuid": ["{a}"], "newRunCount": 3})"), bare());
    QCOMPARE(m_desk->ask("set_new_run_count", R"({"newRunCount": 3})"), bare());
    QCOMPARE(laidOut.count(), 3);
    JSON_CONTAINS(line(0), object(R"({"runCount": 2})"));
}

void TestLocalChanges::setNewCarModel()
{
    counter().seed({counter().sold(QStringLiteral("{a}")), Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    const int kids = counter().priceId(text("Детский"));
    // The item is that of the common id; the other one only says that there is a sale.
    const auto arguments = [&](const char *uuid) {
        return QJsonObject{{QStringLiteral("uuid"), QString::fromLatin1(uuid)},
                           {QStringLiteral("salesId"), 100500},
                           {QStringLiteral("salesCommonId"), kids}};
    };
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask(QStringLiteral("set_new_car_model"), arguments("{a}")),
             (QStringList{text("list: {a} 2 600 0 Карта Детский - / {b} 0 0 0 - - -"), RequestDesk::bare()}));
    JSON_CONTAINS(counter().stored().value(0), (QJsonObject{{QStringLiteral("salesId"), kids},
                                                            {QStringLiteral("carModel"), QStringLiteral("Rimo")},
                                                            {QStringLiteral("color"), QStringLiteral("#00ffff")},
                                                            {QStringLiteral("price"), 300}}));
    // A racer without a sale gets his first run with it.
    QCOMPARE(m_desk->ask(QStringLiteral("set_new_car_model"), arguments("{b}")),
             (QStringList{text("list: {a} 2 600 0 Карта Детский - / {b} 1 300 0 - Детский -"), RequestDesk::bare()}));
    QVERIFY(laidOut.count() >= 2);
}

void TestLocalChanges::setNewCarModelOfAnotherBlock()
{
    const int adult = counter().priceId(text("Взрослый"));
    const int weekend = m_desk->track().addPriceType(text("Выходные"));
    const int dear = m_desk->track().addPriceItem(
        {text("Взрослый"), 900, QStringLiteral("Sodi"), QStringLiteral("#ff8000"), weekend, adult});
    counter().seed({Counter::ticket(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    m_desk->ask(QStringLiteral("set_price_type"), {{QStringLiteral("priceName"), text("Выходные")}});
    QCOMPARE(m_desk->ask(QStringLiteral("set_new_car_model"), {{QStringLiteral("uuid"), QStringLiteral("{a}")},
                                                               {QStringLiteral("salesId"), adult},
                                                               {QStringLiteral("salesCommonId"), adult}}),
             (QStringList{text("list: {a} 1 900 0 - Взрослый -"), RequestDesk::bare()}));
    JSON_CONTAINS(line(0), (QJsonObject{{QStringLiteral("salesId"), dear}}));
}

void TestLocalChanges::setNewCarModelUnknown_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {R"({"uuid": "{a}", "salesId": 1, "salesCommonId": 100500})",
                                  R"({"uuid": "{a}", "salesId": 0, "salesCommonId": 0})",
                                  R"({"uuid": "{a}", "salesId": 1, "salesCommonId": -2})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalChanges::setNewCarModelUnknown()
{
    QFETCH(QByteArray, arguments);
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask("set_new_car_model", arguments.constData()), bare());
    QCOMPARE(laidOut.count(), 1);
    JSON_CONTAINS(line(0), object(R"({"salesItem": "Взрослый", "price": 500, "runCount": 2, "paySum": 1000})"));
}

void TestLocalChanges::setNewCarModelTakesTheSaleOff_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {R"({"uuid": "{a}"})", R"({"uuid": "{a}", "salesId": 1})", R"({"uuid": "{a}", "salesCommonId": 1})",
          R"({"uuid": "{a}", "salesId": -1, "salesCommonId": 1})",
          R"({"uuid": "{a}", "salesId": 1, "salesCommonId": -1})",
          R"({"uuid": "{a}", "salesId": "1", "salesCommonId": "1"})",
          R"({"uuid": "{a}", "salesId": 1, "salesCommonId": 1.5})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

// The list is not published on this way.
void TestLocalChanges::setNewCarModelTakesTheSaleOff()
{
    QFETCH(QByteArray, arguments);
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask("set_new_car_model", arguments.constData()), bare());
    QVERIFY(laidOut.count() >= 1);
    JSON_CONTAINS(line(0), object(R"({"salesItem": "", "salesId": -1, "carModel": "", "price": 0, "runCount": 0,
        "paySum": 0, "color": "#ffffff"})"));
}

void TestLocalChanges::setNewCarModelOfNobody()
{
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    QCOMPARE(m_desk->ask("set_new_car_model", R"({"uuid": "{x}"})"), bare());
    QCOMPARE(m_desk->ask("set_new_car_model", "{}"), bare());
    QCOMPARE(laidOut.count(), 2);
    JSON_CONTAINS(line(0), object(R"({"salesItem": "Взрослый"})"));
}

void TestLocalChanges::setNewPayMethod()
{
    const QJsonObject kids{{QStringLiteral("kidsList"), QJsonArray{Counter::ticket(QStringLiteral("{k}"))}}};
    counter().seed({Counter::ticket(QStringLiteral("{a}"), kids), Counter::ticket(QStringLiteral("{b}")),
                    Counter::ticket(QStringLiteral("{c}"))});
    QVERIFY(m_desk->open());
    const QSignalSpy laidOut(counter().model(), &QAbstractItemModel::layoutChanged);
    const QSignalSpy changed(counter().model(), &QAbstractItemModel::dataChanged);
    QCOMPARE(m_desk->ask("set_new_pay_method",
                         R"({"uuidList": ["{a}", "{x}", 7, "{c}", "{k}"], "newPayMethod": "Сертификат"})"),
             bare());
    QCOMPARE(laidOut.count(), 1);
    QVERIFY(changed.count() >= 3);
    const QList<QJsonObject> lines = counter().lines();
    JSON_CONTAINS(lines.at(0), object(R"({"payMethod": "Сертификат", "kidsList": [{"payMethod": "Сертификат"}]})"));
    JSON_CONTAINS(lines.at(1), object(R"({"payMethod": ""})"));
    JSON_CONTAINS(lines.at(2), object(R"({"payMethod": "Сертификат"})"));
    // No text empties the method.
    QCOMPARE(m_desk->ask("set_new_pay_method", R"({"uuidList": ["{a}"]})"), bare());
    JSON_CONTAINS(line(0), object(R"({"payMethod": ""})"));
}

void TestLocalChanges::setNewPayMethodOfNobody_data()
{
    nobodyRows("uuidList");
}

void TestLocalChanges::setNewPayMethodOfNobody()
{
    QFETCH(QJsonObject, arguments);
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    arguments.insert(QStringLiteral("newPayMethod"), text("Наличные"));
    QCOMPARE(m_desk->ask(QStringLiteral("set_new_pay_method"), arguments), bare());
    JSON_CONTAINS(line(0), object(R"({"payMethod": "Карта"})"));
}

void TestLocalChanges::printSafety()
{
    const QJsonObject minor =
        Counter::ticket(QStringLiteral("{k}"), object(R"({"lastName": "Малый", "firstName": "Петя", "clientId": 18})"));
    counter().seed({Counter::ticket(QStringLiteral("{a}"),
                                    merged(object(R"({"lastName": "Большой", "firstName": "Иван", "midName": "Ильич",
                                        "clientId": 17, "regTime": 4000000000})"),
                                           {{QStringLiteral("kidsList"), QJsonArray{minor}}})),
                    Counter::ticket(QStringLiteral("{b}"), object(R"({"lastName": "Один"})"))});
    QVERIFY(m_desk->open());
    const QString agreed =
        QStringLiteral("update_local_client: {\"action\":\"updateSafetyAgreementDate\",\"clientId\":%1}");
    QCOMPARE(m_desk->ask("print_safety", R"({"uuidList": ["{a}", "{x}", "", "{b}", "{k}"]})"),
             (QStringList{agreed.arg(17), agreed.arg(18), RequestDesk::bare()}));
    QVERIFY(host().waitFor(QStringLiteral("print_results"), 3));
    HostProbe::settle(50);
    const QString today = QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"));
    QStringList names;
    QStringList kids;
    const QVector<HostEvent> events = host().take();
    for (const HostEvent &event : events) {
        QCOMPARE(event.module, QStringLiteral("print_preprocessor"));
        QCOMPARE(event.event, QStringLiteral("print_results"));
        QJsonObject job = event.data;
        QJsonObject form = job.take(QStringLiteral("printParams")).toObject();
        JSON_COMPARE(job, object(R"({"printCount": 1, "preview": false, "sortType": 0, "templateName": "safety"})"));
        names.append(form.take(QStringLiteral("MAINNAME")).toString());
        kids.append(form.take(QStringLiteral("KIDSLIST")).toString());
        JSON_COMPARE(form, (QJsonObject{{QStringLiteral("CURRENTDATE"), today}}));
    }
    // Each form comes from a thread of its own; which one is first nobody can say.
    const QString none = QStringLiteral("&nbsp;&nbsp;&nbsp;");
    std::sort(names.begin(), names.end());
    std::sort(kids.begin(), kids.end());
    QCOMPARE(names, (QStringList{text("Большой Иван Ильич"), text("Малый Петя "), text("Один  ")}));
    QCOMPARE(kids, (QStringList{none, none, text("Малый Петя ")}));
    JSON_CONTAINS(line(0), object(R"({"regTime": 0})"));
}

void TestLocalChanges::printSafetyOfNobody_data()
{
    nobodyRows("uuidList");
}

void TestLocalChanges::printSafetyOfNobody()
{
    QFETCH(QJsonObject, arguments);
    counter().seed({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}})});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask(QStringLiteral("print_safety"), arguments), bare());
    HostProbe::settle(100);
    QCOMPARE(m_desk->heard(), QStringList());
}

// A box for each racer, as with the button; the requests of others are answered while it is open.
void TestLocalChanges::printTicketsWithoutPrinter()
{
    counter().seed({counter().sold(QStringLiteral("{a}"), paid()), Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    BoxFacts facts[2];
    QJsonObject meanwhile;
    const ModalAnswer first = answerBox(&facts[0], QMessageBox::Ok, [&] {
        const QVector<HostEvent> before = host().events();
        host().send(QStringLiteral("local_request"), RequestDesk::envelope(QStringLiteral("cash_data"), {}));
        meanwhile = host().events().mid(before.size()).last().data;
        host().take();
    });
    const ModalAnswer second = answerBox(&facts[1], QMessageBox::Ok);
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("print_tickets"),
                                      object(R"({"uuidList": ["{x}", "{a}", "{b}"]})")));
    QTRY_VERIFY(second.answered());
    MODAL_VERIFY(first);
    QVERIFY(meanwhile.contains(QLatin1String("checkInList")));
    for (const BoxFacts &box : facts) {
        QCOMPARE(box.title, text("Ошибка"));
        QCOMPARE(box.text, text("Не найден принтер чеков"));
        QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    }
    QCOMPARE(m_desk->heard(), bare());
}

// One box at a time, however many programs ask: who asks while it stands there has his answer at once.
void TestLocalChanges::printTicketsWhileTheBoxIsOpen()
{
    counter().seed({counter().sold(QStringLiteral("{a}"), paid())});
    QVERIFY(m_desk->open());
    const QJsonObject request =
        RequestDesk::envelope(QStringLiteral("print_tickets"), object(R"({"uuidList": ["{a}"]})"));
    QJsonObject ofAnother = request;
    ofAnother.insert(QStringLiteral("linkGuid"), QStringLiteral("{other}"));
    BoxFacts facts[2];
    QStringList meanwhile;
    const ModalAnswer first = answerBox(&facts[0], QMessageBox::Ok, [&] { meanwhile = m_desk->askWith(ofAnother); });
    const ModalAnswer second = answerBox(&facts[1], QMessageBox::Ok);
    host().send(QStringLiteral("local_request"), request);
    MODAL_VERIFY(first);
    QCOMPARE(facts[0].text, text("Не найден принтер чеков"));
    QCOMPARE(meanwhile, QStringList{QStringLiteral("answer: {\"linkGuid\":\"{other}\"}")});
    QCOMPARE(m_desk->heard(), bare());
    HostProbe::settle(50);
    QVERIFY2(!second.answered(), "a second box came");
    // Once the box is gone, the next ticket has one again.
    QCOMPARE(m_desk->askWith(request), bare());
    MODAL_VERIFY(second);
    QCOMPARE(facts[1].text, text("Не найден принтер чеков"));
}

void TestLocalChanges::printTicketsOfNobody_data()
{
    nobodyRows("uuidList");
}

void TestLocalChanges::printTicketsOfNobody()
{
    QFETCH(QJsonObject, arguments);
    counter().seed({counter().sold(QStringLiteral("{a}"), paid())});
    QVERIFY(m_desk->open());
    const ModalAnswer box = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    QCOMPARE(m_desk->ask(QStringLiteral("print_tickets"), arguments), bare());
    HostProbe::settle(50);
    QVERIFY2(!box.answered(), "a box came");
}

void TestLocalChanges::payAndSeat()
{
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    seedThreeRuns();
    counter().seed({counter().sold(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}}),
                    Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}"], "cashierToken": "{t}"})"),
             (QStringList{QStringLiteral("preset: {A} {a} :-1001:-1:17")}
              + RequestDesk::published(QStringLiteral("{A}[{a}:-1] {B}[] {C}[]"))
              + QStringList{QStringLiteral("preset: {B} {a} :-1001:-1:17")}
              + RequestDesk::published(QStringLiteral("{A}[{a}:-1] {B}[{a}:-1] {C}[]"))
              + QStringList{QStringLiteral("list: {b} 0 0 0 - - -"), RequestDesk::bare()}));
    QCOMPARE(guids(counter().stored()), QStringList{QStringLiteral("{b}")});
    const QVector<QJsonObject> seats = m_desk->competitors();
    QCOMPARE(seats.size(), 2);
    for (const QJsonObject &seat : seats)
        JSON_CONTAINS(seat, object(R"({"uuid": "{a}", "payState": true, "paySum": 1000, "runCount": 2,
            "pinCodes": ["0101", "0101"], "competitorId": -1001, "payMethod": "Карта"})"));

    const QList<QVariantMap> rows = counter().payments(1);
    QCOMPARE(rows.size(), 1);
    const QVariantMap &row = rows.first();
    QCOMPARE(row.value(QStringLiteral("racer_guid")).toString(), QStringLiteral("{a}"));
    QCOMPARE(row.value(QStringLiteral("cashier_id")).toInt(), 7);
    QCOMPARE(row.value(QStringLiteral("client_id")).toInt(), 17);
    QCOMPARE(row.value(QStringLiteral("sum")).toDouble(), 1000.0);
    QCOMPARE(row.value(QStringLiteral("tariff")).toDouble(), 500.0);
    QCOMPARE(row.value(QStringLiteral("pay_kind")).toString(), text("Карта"));
    QCOMPARE(row.value(QStringLiteral("tickets_count")).toInt(), 2);
    QCOMPARE(row.value(QStringLiteral("price_id")).toInt(), counter().priceId(text("Взрослый")));
    QVERIFY(row.value(QStringLiteral("pay_state")).toBool());
    QCOMPARE(counter().paymentCount(), 1);
}

// First all pay, then all are seated, in the order of the request.
void TestLocalChanges::payAndSeatSeveral()
{
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    seedThreeRuns();
    const QJsonObject once = object(R"({"runCount": 1, "pinCodes": ["0202"]})");
    counter().seed({counter().sold(QStringLiteral("{a}"), once), counter().sold(QStringLiteral("{b}"), once),
                    counter().sold(QStringLiteral("{c}"), once)});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{c}", "{x}", "{a}"], "cashierToken": "{t}"})"),
             (QStringList{QStringLiteral("preset: {A} {c} :-1001:-1:-1")}
              + RequestDesk::published(QStringLiteral("{A}[{c}:-1] {B}[] {C}[]"))
              + QStringList{QStringLiteral("preset: {A} {c} :-1001:-1:-1 {a} :-1002:-1:-1")}
              + RequestDesk::published(QStringLiteral("{A}[{c}:-1 {a}:-1] {B}[] {C}[]"))
              + QStringList{text("list: {a} 1 500 0 Карта Взрослый + / {b} 1 500 0 Карта Взрослый -"),
                            text("list: {b} 1 500 0 Карта Взрослый -"), RequestDesk::bare()}));
    QCOMPARE(counter().payments(2).size(), 2);
}

void TestLocalChanges::payAndSeatWithStep_data()
{
    QTest::addColumn<QJsonValue>("step");
    QTest::addColumn<QString>("queue");
    const QString one = QStringLiteral("{A}[{a}:-1] {B}[{a}:-1] {C}[] {D}[]");
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << one;
    QTest::newRow("one") << QJsonValue(1) << one;
    QTest::newRow("two") << QJsonValue(2) << "{A}[{a}:-1] {B}[] {C}[{a}:-1] {D}[]";
    QTest::newRow("three") << QJsonValue(3) << "{A}[{a}:-1] {B}[] {C}[] {D}[{a}:-1]";
    // Nobody would find two seats of a racer in one run, or a step back.
    QTest::newRow("none") << QJsonValue(0) << one;
    QTest::newRow("back") << QJsonValue(-2) << one;
    QTest::newRow("text") << QJsonValue(QStringLiteral("2")) << one;
    QTest::newRow("fraction") << QJsonValue(2.5) << one;
}

void TestLocalChanges::payAndSeatWithStep()
{
    QFETCH(QJsonValue, step);
    QFETCH(QString, queue);
    m_desk->seedQueue(
        {{QStringLiteral("{A}")}, {QStringLiteral("{B}")}, {QStringLiteral("{C}")}, {QStringLiteral("{D}")}});
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    QJsonObject arguments = object(R"({"uuidList": ["{a}"]})");
    arguments.insert(QStringLiteral("multiSeatVariant"), step);
    m_desk->ask(QStringLiteral("pay_and_seat_to_runs"), arguments);
    QCOMPARE(m_desk->queue(), queue);
}

void TestLocalChanges::payAndSeatThePaid()
{
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    seedThreeRuns();
    counter().seed(
        {counter().sold(QStringLiteral("{a}"), merged(paid(), object(R"({"runCount": 1, "pinCodes": ["0202"]})")))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}"], "cashierToken": "{t}"})"),
             (QStringList{QStringLiteral("preset: {A} {a} :-1001:-1:-1")}
              + RequestDesk::published(QStringLiteral("{A}[{a}:-1] {B}[] {C}[]"))
              + QStringList{QStringLiteral("list: "), RequestDesk::bare()}));
    QCOMPARE(counter().paymentCount(), 0);
}

void TestLocalChanges::ticketShownWhileSeated_data()
{
    QTest::addColumn<bool>("byHand");
    QTest::addColumn<QString>("gate");
    for (const char *gate : {"checkTicket", "setRacer"}) {
        QTest::addRow("by a client, %s", gate) << false << text(gate);
        QTest::addRow("by hand, %s", gate) << true << text(gate);
    }
}

// The racer is at the gate already while the host hears of his seat: he gets the one that he paid for.
void TestLocalChanges::ticketShownWhileSeated()
{
    QFETCH(bool, byHand);
    QFETCH(QString, gate);
    seedThreeRuns();
    counter().seed(
        {counter().sold(QStringLiteral("{a}"), merged(paid(), object(R"({"runCount": 1, "pinCodes": ["0202"]})")))});
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T1"})"));
    QJsonObject ticket = object(R"({"trackId": "T1", "pinCode": "0202"})");
    ticket.insert(QStringLiteral("request"), gate);
    const auto shown = std::make_shared<bool>(false);
    QObject watch;
    connect(host().plugin(), &VanePluginInterface::pluginSignal, &watch,
            [this, ticket, shown](const QString &, const QString &event) {
                if (*shown || event != QLatin1String("replace_run_preset"))
                    return;
                *shown = true;
                host().send(QStringLiteral("remote_control_data"), ticket);
            });
    if (byHand) {
        counter().tree()->setCurrentIndex(counter().at(0, Counter::Name));
        counter().trigger("actionMoveToRuns");
    } else {
        m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}"]})");
    }
    QVERIFY(*shown);
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{a}:-1] {B}[] {C}[]"));
    QCOMPARE(counter().model()->rowCount(), 0);
}

void TestLocalChanges::payAndSeatWithUnknownToken_data()
{
    QTest::addColumn<QJsonValue>("token");
    QTest::newRow("unknown") << QJsonValue(QStringLiteral("{x}"));
    QTest::newRow("empty") << QJsonValue(QString());
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("number") << QJsonValue(7);
}

// A bad token does not stop the sale; it only leaves open who sold.
void TestLocalChanges::payAndSeatWithUnknownToken()
{
    QFETCH(QJsonValue, token);
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    seedThreeRuns();
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    QJsonObject arguments = object(R"({"uuidList": ["{a}"]})");
    arguments.insert(QStringLiteral("cashierToken"), token);
    QCOMPARE(m_desk->ask(QStringLiteral("pay_and_seat_to_runs"), arguments).size(), 8);
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{a}:-1] {B}[{a}:-1] {C}[]"));
    const QList<QVariantMap> rows = counter().payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("cashier_id")).toInt(), -1);
}

void TestLocalChanges::payAndSeatRefused_data()
{
    QTest::addColumn<QJsonObject>("more");
    QTest::addColumn<QString>("message");
    QTest::newRow("no pay method") << object(R"({"payMethod": ""})") << text("Не указан способ оплаты");
    QTest::newRow("no sum") << object(R"({"price": 0, "salesItem": ""})") << text("Не указана сумма");
}

// No box at the desk: the client reads in the next publication that nothing was paid.
void TestLocalChanges::payAndSeatRefused()
{
    QFETCH(QJsonObject, more);
    QFETCH(QString, message);
    seedThreeRuns();
    counter().seed({counter().sold(QStringLiteral("{a}"), merged(more, object(R"({"regTime": 4000000000})")))});
    QVERIFY(m_desk->open());
    const ModalAnswer box = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}"]})"),
             (QStringList{QStringLiteral(
                              "write_sys_log: {\"logData\":{\"msg\":\"%1\"},\"logStr\":\"ticket_plugin_error\"}")
                              .arg(message),
                          RequestDesk::bare()}));
    HostProbe::settle(50);
    QVERIFY2(!box.answered(), "a box came");
    JSON_CONTAINS(line(0), object(R"({"payState": false, "regTime": 0})"));
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[] {B}[] {C}[]"));
    QCOMPARE(counter().paymentCount(), 0);
}

// A minor never pays here: he is seated if his own flag says paid, whatever his parent's says.
void TestLocalChanges::payAndSeatMinors()
{
    seedThreeRuns();
    const QJsonObject once = object(R"({"runCount": 1, "pinCodes": ["0202"]})");
    const QJsonObject unpaidMinor = counter().sold(QStringLiteral("{k}"), once);
    const QJsonObject paidMinor = counter().sold(QStringLiteral("{p}"), merged(once, paid()));
    counter().seed(
        {counter().sold(QStringLiteral("{a}"),
                        merged(merged(once, paid()), {{QStringLiteral("kidsList"), QJsonArray{unpaidMinor}}})),
         counter().sold(QStringLiteral("{b}"), merged(once, {{QStringLiteral("kidsList"), QJsonArray{paidMinor}}}))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{k}"]})"), bare());
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{k}", "{p}"]})"),
             (QStringList{QStringLiteral("preset: {A} {p} :-1001:-1:-1")}
              + RequestDesk::published(QStringLiteral("{A}[{p}:-1] {B}[] {C}[]"))
              + QStringList{text("list: {a} 1 1000 0 Карта Взрослый + ({k} 1 0 0 Карта Взрослый -) / "
                                 "{b} 1 1000 0 Карта Взрослый - ({p} 1 0 0 Карта Взрослый +)"),
                            RequestDesk::bare()}));
    QCOMPARE(counter().paymentCount(), 0);
}

// The parent pays for the family and is seated; the minor waits for somebody to seat him.
void TestLocalChanges::payAndSeatAFamily()
{
    seedThreeRuns();
    const QJsonObject once = object(R"({"runCount": 1, "pinCodes": ["0202"]})");
    counter().seed({counter().sold(QStringLiteral("{a}"),
                                   merged(once, {{QStringLiteral("kidsList"),
                                                  QJsonArray{counter().sold(QStringLiteral("{k}"), once)}}}))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}", "{k}"]})"),
             (QStringList{QStringLiteral("preset: {A} {a} :-1001:-1:-1")}
              + RequestDesk::published(QStringLiteral("{A}[{a}:-1] {B}[] {C}[]"))
              + QStringList{text("list: {a} 1 1000 0 Карта Взрослый + ({k} 1 0 0 Карта Взрослый -)"),
                            RequestDesk::bare()}));
    const QList<QVariantMap> rows = counter().payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 1000.0);
}

void TestLocalChanges::payAndSeatGrowsTheQueue()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {}, {{QStringLiteral("runLocked"), true}}}});
    counter().seed({counter().sold(QStringLiteral("{a}"), object(R"({"runCount": 1, "pinCodes": ["0202"]})"))});
    QVERIFY(m_desk->open());
    const QStringList heard = m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}"]})");
    QCOMPARE(heard.size(), 7);
    QVERIFY(heard.at(0).startsWith(QStringLiteral("remote: {A}#[] {")) && heard.at(0).endsWith(QStringLiteral("[]")));
    QCOMPARE(heard.at(1), QString(heard.at(0)).replace(0, 6, QStringLiteral("queue")));
    const QString fresh = heard.at(0).section(QLatin1Char(' '), 2).chopped(2);
    QCOMPARE(heard.mid(2), (QStringList{QStringLiteral("preset: %1 {a} :-1001:-1:-1").arg(fresh)}
                            + RequestDesk::published(QStringLiteral("{A}#[] %1[{a}:-1]").arg(fresh))
                            + QStringList{QStringLiteral("list: "), RequestDesk::bare()}));
}

void TestLocalChanges::payAndSeatOfNobody_data()
{
    nobodyRows("uuidList");
}

void TestLocalChanges::payAndSeatOfNobody()
{
    QFETCH(QJsonObject, arguments);
    seedThreeRuns();
    counter().seed({counter().sold(QStringLiteral("{a}"))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask(QStringLiteral("pay_and_seat_to_runs"), arguments), bare());
    JSON_CONTAINS(line(0), object(R"({"payState": false})"));
    QCOMPARE(counter().paymentCount(), 0);
}

void TestLocalChanges::addNewCheckIn()
{
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T7", "trackName": ""})"));
    const QJsonObject client = object(R"({"lastName": "ИВАНОВ", "firstName": "иван  сергей", "midName": "",
        "uuid": "{a}", "runCount": 2, "tel": "8999", "nested": {"a": [1]}})");
    const QJsonObject told =
        merged(client, {{QStringLiteral("trackKey"), QStringLiteral("T7")}, {QStringLiteral("clientId"), -1}});
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_checkin"), client),
             (QStringList{QStringLiteral("update_client_data: ") + compact(told),
                          QStringLiteral("list: {a} 2 0 0 - - -"), RequestDesk::bare()}));
    JSON_CONTAINS(counter().stored().value(0),
                  object(R"({"uuid": "{a}", "lastName": "Иванов", "firstName": "Иван Сергей", "clientId": -1})"));
    // Nobody stands at the desk with him: he ages.
    QVERIFY(counter().stored().value(0).value(QLatin1String("regTime")).toDouble() > 1.0e9);
}

void TestLocalChanges::addNewCheckInOfAClient()
{
    const int adult = counter().priceId(text("Взрослый"));
    QVERIFY(m_desk->open());
    QJsonObject client = object(R"({"clientId": 17, "lastName": "Иванов", "uuid": "{a}", "updateData": false})");
    client.insert(QStringLiteral("salesCommonId"), adult);
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_checkin"), client),
             (QStringList{QStringLiteral("update_local_client: {}"), text("list: {a} 1 500 0 - Взрослый -"),
                          RequestDesk::bare()}));
    JSON_CONTAINS(line(0), object(R"({"clientId": 17})"));
}

void TestLocalChanges::addNewCheckInWithUpdate()
{
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T7", "trackName": ""})"));
    const QJsonObject client = object(R"({"clientId": 17, "lastName": "иванов", "firstName": "Иван", "midName": "Ильич",
        "uuid": "{a}", "updateData": true, "tel": "8999"})");
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_checkin"), client),
             (QStringList{
                 QStringLiteral("update_client_data: ")
                     + compact(merged(client, {{QStringLiteral("trackKey"), QStringLiteral("T7")}})),
                 text("update_local_client: {\"firstName\":\"Иван\",\"lastName\":\"иванов\",\"midName\":\"Ильич\"}"),
                 QStringLiteral("list: {a} 0 0 0 - - -"), RequestDesk::bare()}));
    // What was kept in mind is told once.
    const QJsonObject again{{QStringLiteral("clientId"), 17}, {QStringLiteral("runCount"), 3}};
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_checkin"), again),
             (QStringList{QStringLiteral("update_local_client: {}"), RequestDesk::bare()}));
}

// A name that the news does not have is an empty one, and replaces what was known.
void TestLocalChanges::addNewCheckInWithUpdateOfSomeNames()
{
    QVERIFY(m_desk->open());
    const QJsonObject client = object(R"({"clientId": 17, "lastName": "Иванов", "midName": 5, "uuid": "{a}",
        "updateData": true, "tel": "8999"})");
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_checkin"), client),
             (QStringList{QStringLiteral("update_client_data: ")
                              + compact(merged(client, {{QStringLiteral("trackKey"), QString()}})),
                          text("update_local_client: {\"firstName\":\"\",\"lastName\":\"Иванов\",\"midName\":\"\"}"),
                          QStringLiteral("list: {a} 0 0 0 - - -"), RequestDesk::bare()}));
}

void TestLocalChanges::addNewCheckInOfARacerId()
{
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("add_new_checkin", R"({"racerId": "17", "uuid": "{a}", "runCount": "3"})"),
             (QStringList{QStringLiteral("update_local_client: {}"), QStringLiteral("list: {a} 3 0 0 - - -"),
                          RequestDesk::bare()}));
    JSON_CONTAINS(line(0), object(R"({"clientId": 17, "runCount": 3})"));
    // The other key goes before it, also when it says nothing.
    QCOMPARE(m_desk->ask("add_new_checkin", R"({"clientId": "x", "racerId": 18, "uuid": "{b}"})").mid(1),
             (QStringList{QStringLiteral("list: {b} 0 0 0 - - - / {a} 3 0 0 - - -"), RequestDesk::bare()}));
    JSON_CONTAINS(line(0), object(R"({"uuid": "{b}", "clientId": -1})"));
}

// A client who comes back keeps his line; nobody is told of his new runs before the next publication.
void TestLocalChanges::addNewCheckInTwice()
{
    counter().seed({counter().sold(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}}),
                    Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("add_new_checkin", R"({"clientId": 17, "lastName": "Другой", "runCount": 5})"),
             (QStringList{QStringLiteral("update_local_client: {}"), RequestDesk::bare()}));
    QCOMPARE(counter().model()->rowCount(), 2);
    JSON_CONTAINS(line(0), object(R"({"uuid": "{a}", "lastName": "{a}", "runCount": 5, "paySum": 2500})"));
    // And a line that is there already changes nothing at all.
    QCOMPARE(m_desk->ask("add_new_checkin", R"({"uuid": "{b}", "lastName": "Другой", "runCount": 5})").mid(1), bare());
    JSON_CONTAINS(line(1), object(R"({"uuid": "{b}", "lastName": "{b}", "runCount": 0})"));
}

void TestLocalChanges::addNewCheckInWithMinors()
{
    const int kids = counter().priceId(text("Детский"));
    QVERIFY(m_desk->open());
    const QJsonObject minor{{QStringLiteral("lastName"), text("малый")},
                            {QStringLiteral("firstName"), text("петя")},
                            {QStringLiteral("uuid"), QStringLiteral("{k}")},
                            {QStringLiteral("salesCommonId"), kids}};
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_checkin"), {{QStringLiteral("clientId"), 17},
                                                             {QStringLiteral("uuid"), QStringLiteral("{a}")},
                                                             {QStringLiteral("subItems"), QJsonArray{minor}}}),
             (QStringList{QStringLiteral("update_local_client: {}"),
                          text("list: {a} 0 300 0 - - - ( 1 0 0 - Детский -)"), RequestDesk::bare()}));
    JSON_CONTAINS(line(0), object(R"({"kidsList": [{"lastName": "Малый", "firstName": "Петя", "price": 300}]})"));
}

void TestLocalChanges::addNewCheckInWithoutAnything()
{
    QVERIFY(m_desk->open());
    const QStringList heard = m_desk->ask("add_new_checkin", "{}");
    QCOMPARE(heard.size(), 3);
    QCOMPARE(heard.at(0), QStringLiteral("update_client_data: {\"clientId\":-1,\"trackKey\":\"\"}"));
    QCOMPARE(heard.at(2), RequestDesk::bare());
    QCOMPARE(counter().model()->rowCount(), 1);
    const QString uuid = line(0).value(QLatin1String("uuid")).toString();
    QVERIFY(!uuid.isEmpty());
    QCOMPARE(heard.at(1), QStringLiteral("list: %1 0 0 0 - - -").arg(uuid));
}

void TestLocalChanges::updateClientData()
{
    counter().seed({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}})});
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T7", "trackName": ""})"));
    const QJsonObject client = object(R"({"clientId": 17, "lastName": "Петров", "trackKey": "theirs", "tel": "8999"})");
    QCOMPARE(m_desk->ask(QStringLiteral("update_client_data"), client),
             (QStringList{QStringLiteral("update_client_data: ")
                              + compact(merged(client, {{QStringLiteral("trackKey"), QStringLiteral("T7")}})),
                          QStringLiteral("update_local_client: ") + compact(client), RequestDesk::bare()}));
    // The list looks for the client beside the request's name, not among its arguments.
    JSON_CONTAINS(line(0), object(R"({"lastName": "{a}"})"));
}

void TestLocalChanges::updateClientDataOfTheEnvelope()
{
    counter().seed({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("clientId"), 17}}),
                    Counter::ticket(QStringLiteral("{b}"))});
    QVERIFY(m_desk->open());
    QJsonObject request = RequestDesk::envelope(QStringLiteral("update_client_data"), object(R"({"lastName": "Нет"})"));
    request.insert(QStringLiteral("clientId"), 17);
    request.insert(QStringLiteral("lastName"), text("петров"));
    request.insert(QStringLiteral("safetyAgreementValid"), true);
    QCOMPARE(m_desk->askWith(request),
             (QStringList{text("update_client_data: {\"lastName\":\"Нет\",\"trackKey\":\"\"}"),
                          text("update_local_client: {\"lastName\":\"Нет\"}"), RequestDesk::bare()}));
    JSON_CONTAINS(line(0), object(R"({"lastName": "петров", "validSafetyAgreement": true})"));
    // Or for the line itself, which then learns who its client is.
    request.insert(QStringLiteral("clientId"), 18);
    request.insert(QStringLiteral("uuid"), QStringLiteral("{b}"));
    m_desk->askWith(request);
    JSON_CONTAINS(line(1), object(R"({"lastName": "{b}", "clientId": 18})"));
}

void TestLocalChanges::updateClientDataWithoutTrack()
{
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("update_client_data", "{}"),
             (QStringList{QStringLiteral("update_client_data: {\"trackKey\":\"\"}"),
                          QStringLiteral("update_local_client: {}"), RequestDesk::bare()}));
}

void TestLocalChanges::printRun()
{
    QVERIFY(m_desk->open());
    const QJsonObject job = object(R"({"runId": 5, "template": "results", "nested": [{"a": null}, 1.5]})");
    QCOMPARE(m_desk->ask(QStringLiteral("print_run"), job),
             (QStringList{QStringLiteral("print_run: ") + compact(job), RequestDesk::bare()}));
    QCOMPARE(m_desk->ask("print_run", "{}"), (QStringList{QStringLiteral("print_run: {}"), RequestDesk::bare()}));
}

void TestLocalChanges::setPriceType()
{
    const int adult = counter().priceId(text("Взрослый"));
    const int weekend = m_desk->track().addPriceType(text("Выходные"));
    const int dear = m_desk->track().addPriceItem(
        {text("Взрослый"), 900, QStringLiteral("Sodi"), QStringLiteral("#ff8000"), weekend, adult});
    QVERIFY(m_desk->open());
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("set_price_type"),
                                      {{QStringLiteral("priceName"), text("Выходные")}}));
    const QVector<HostEvent> events = host().take();
    QCOMPARE(events.size(), 4);
    QCOMPARE(events.at(0).event, QStringLiteral("write_sys_log"));
    QCOMPARE(events.at(1).event, QStringLiteral("local_request_answer"));
    QCOMPARE(events.at(1).data.keys(), (QStringList{QStringLiteral("priceList"), QStringLiteral("priceTypes")}));
    JSON_COMPARE(events.at(1).data.value(QLatin1String("priceTypes")),
                 object(R"({"names": ["Основные", "Выходные"], "currentIndex": 1})"));
    JSON_CONTAINS(events.at(1).data.value(QLatin1String("priceList")),
                  (QJsonArray{QJsonObject{{QStringLiteral("salesId"), dear}, {QStringLiteral("price"), 900}}}));
    QCOMPARE(events.at(2).event, QStringLiteral("update_remote_prices"));
    JSON_CONTAINS(events.at(2).data, object(R"({"priceKind": "Выходные"})"));
    QCOMPARE(RequestDesk::sentence(events.at(3)), RequestDesk::bare());
    QCOMPARE(host().find<QComboBox *>(QStringLiteral("cbPricesNames"))->currentText(), text("Выходные"));
}

// The unpaid are sold at the new prices, the paid are left alone.
void TestLocalChanges::setPriceTypeReprices()
{
    const int adult = counter().priceId(text("Взрослый"));
    const int weekend = m_desk->track().addPriceType(text("Выходные"));
    m_desk->track().addPriceItem(
        {text("Взрослый"), 900, QStringLiteral("Sodi"), QStringLiteral("#ff8000"), weekend, adult});
    counter().seed({counter().sold(QStringLiteral("{a}")), counter().sold(QStringLiteral("{b}"), paid())});
    QVERIFY(m_desk->open());
    const QStringList heard =
        m_desk->ask(QStringLiteral("set_price_type"), {{QStringLiteral("priceName"), text("Выходные")}});
    QCOMPARE(heard.size(), 3);
    const QList<QJsonObject> lines = counter().lines();
    JSON_CONTAINS(lines.at(0), object(R"({"price": 900, "paySum": 1800})"));
    JSON_CONTAINS(lines.at(1), object(R"({"price": 500, "paySum": 1000})"));
}

void TestLocalChanges::setPriceTypeUnknown_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {"{}", R"({"priceName": ""})", R"({"priceName": "выходные"})", R"({"priceName": 1})",
                                  R"({"priceName": null})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

// The block stays as it is, and is published all the same.
void TestLocalChanges::setPriceTypeUnknown()
{
    QFETCH(QByteArray, arguments);
    const int adult = counter().priceId(text("Взрослый"));
    const int weekend = m_desk->track().addPriceType(text("Выходные"));
    m_desk->track().addPriceItem(
        {text("Взрослый"), 900, QStringLiteral("Sodi"), QStringLiteral("#ff8000"), weekend, adult});
    QVERIFY(m_desk->open());
    m_desk->ask(QStringLiteral("set_price_type"), {{QStringLiteral("priceName"), text("Выходные")}});
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("set_price_type"), object(arguments.constData())));
    const QVector<HostEvent> events = host().take();
    QCOMPARE(events.size(), 4);
    JSON_CONTAINS(events.at(1).data, object(R"({"priceTypes": {"currentIndex": 1}})"));
    JSON_CONTAINS(events.at(2).data, object(R"({"priceKind": "Выходные"})"));
    QCOMPARE(RequestDesk::sentence(events.at(3)), RequestDesk::bare());
    QCOMPARE(host().find<QComboBox *>(QStringLiteral("cbPricesNames"))->currentText(), text("Выходные"));
}

DESK_TEST_MAIN(TestLocalChanges)

#include "tst_localchanges.moc"
