#include "pitlane/pitlanerules.h"

#include "desktest.h"
#include "jsonmatch.h"

/// What the pit lane knows of a transponder, and how its tiles stand and are labelled.
class PitLaneRulesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void table_data();
    void table();
    void arrival_data();
    void arrival();
    void strangerLeavesAnEmptyEntry();
    void strangersAreForgotten();
    void record_data();
    void record();
    void columns();
    void textColor_data();
    void textColor();
};

namespace {

PriceItem priceOf(const char *model, const char *color)
{
    PriceItem item;
    item.model = QString::fromUtf8(model);
    item.color = QColor(QString::fromLatin1(color));
    return item;
}

PitLaneCar carOf(const char *model)
{
    PitLaneCar car;
    car.model = QString::fromUtf8(model);
    return car;
}

} // namespace

void PitLaneRulesTest::table_data()
{
    QTest::addColumn<QByteArray>("cars");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("no cars") << QByteArray("[]") << QByteArray("{}");
    QTest::newRow("a car with a price") << QByteArray(R"([{"id":1,"name":"Sodi","num":"7","transponderId":4711,
        "available_for_runs":true}])") << QByteArray(R"({"4711":{"transponderId":4711,"carModel":"Sodi","carNum":"7",
        "color":"#ff8000"}})");
    QTest::newRow("no price for the model") << QByteArray(R"([{"name":"Tandem","num":"1","transponderId":5}])")
                                            << QByteArray(R"({"5":{"transponderId":5,"carModel":"Tandem",
        "carNum":"1"}})");
    QTest::newRow("case of the model counts")
        << QByteArray(R"([{"name":"sodi","num":"1","transponderId":5}])")
        << QByteArray(R"({"5":{"transponderId":5,"carModel":"sodi","carNum":"1"}})");
    // The item that is for any model is nobody's model but the car's without one.
    QTest::newRow("no model") << QByteArray(R"([{"num":"1","transponderId":5}])")
                              << QByteArray(R"({"5":{"transponderId":5,"carModel":"","carNum":"1",
        "color":"#123456"}})");
    QTest::newRow("no transponder") << QByteArray(R"([{"name":"Tandem","num":"1"}])")
                                    << QByteArray(R"({"0":{"transponderId":0,"carModel":"Tandem","carNum":"1"}})");
    QTest::newRow("number as a number") << QByteArray(R"([{"name":"Tandem","num":12,"transponderId":5}])")
                                        << QByteArray(R"({"5":{"transponderId":5,"carModel":"Tandem","carNum":"12"}})");
    QTest::newRow("two cars, one transponder")
        << QByteArray(
               R"([{"name":"Tandem","num":"1","transponderId":5},{"name":"Tandem","num":"2","transponderId":5}])")
        << QByteArray(R"({"5":{"transponderId":5,"carModel":"Tandem","carNum":"2"}})");
    QTest::newRow("far ends") << QByteArray(R"([{"name":"Tandem","num":"1","transponderId":-2147483648},
        {"name":"Tandem","num":"2","transponderId":2147483647}])")
                              << QByteArray(R"({"-2147483648":{"transponderId":-2147483648,"carModel":"Tandem",
        "carNum":"1"},"2147483647":{"transponderId":2147483647,"carModel":"Tandem","carNum":"2"}})");
}

void PitLaneRulesTest::table()
{
    QFETCH(QByteArray, cars);
    QFETCH(QByteArray, expected);
    // The first item of a model gives the colour.
    const QList<PriceItem> prices{priceOf("Rimo", "#00ff00"), priceOf("Sodi", "#ff8000"), priceOf("Sodi", "#0000ff"),
                                  priceOf("", "#123456")};
    JSON_COMPARE(PitLaneRules::transponderTable(JsonMatch::array(cars.constData()), prices),
                 JsonMatch::object(expected.constData()));
}

void PitLaneRulesTest::arrival_data()
{
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray stranger = R"({"num":"","model":"","color":"#ffffff","order":-1,"isBusy":false,"isUnknown":true,
        "transponderId":5})";
    QTest::newRow("known") << QByteArray(
        R"({"5":{"transponderId":5,"carModel":"Sodi","carNum":"7","color":"#ff8000"}})")
                           << QByteArray(R"({"num":"7","model":"Sodi","color":"#ff8000","order":3,"isBusy":false,
        "isUnknown":false,"transponderId":5})");
    QTest::newRow("known, without a colour")
        << QByteArray(R"({"5":{"transponderId":5,"carModel":"Sodi","carNum":"7"}})")
        << QByteArray(R"({"num":"7","model":"Sodi","color":"","order":3,
        "isBusy":false,"isUnknown":false,"transponderId":5})");
    QTest::newRow("nobody knows it") << QByteArray(R"({"6":{"carModel":"Sodi"}})") << stranger;
    QTest::newRow("an empty entry") << QByteArray(R"({"5":{}})") << stranger;
    QTest::newRow("a stranger of before") << QByteArray(R"({"5":null})") << stranger;
    QTest::newRow("an entry that is none") << QByteArray(R"({"5":"Sodi"})") << stranger;
}

void PitLaneRulesTest::arrival()
{
    QFETCH(QByteArray, table);
    QFETCH(QByteArray, expected);
    QJsonObject cars = JsonMatch::object(table.constData());
    const PitLaneCar car = PitLaneRules::arrivingCar(&cars, 5, 3);
    JSON_COMPARE(car.toJson(), JsonMatch::object(expected.constData()));
    QVERIFY(!car.selected);
    QVERIFY(car.rect.isNull());
}

void PitLaneRulesTest::strangerLeavesAnEmptyEntry()
{
    QJsonObject table = JsonMatch::object(R"({"6":{"carModel":"Sodi"}})");
    PitLaneRules::arrivingCar(&table, -1, 0);
    PitLaneRules::arrivingCar(&table, 6, 0);
    JSON_COMPARE(table, JsonMatch::object(R"({"-1":null,"6":{"carModel":"Sodi"}})"));
}

void PitLaneRulesTest::strangersAreForgotten()
{
    QJsonObject table = JsonMatch::object(R"({"6":{"carModel":"Sodi"}})");
    for (int id = 1000; id < 10999; ++id)
        PitLaneRules::arrivingCar(&table, id, 0);
    QCOMPARE(table.size(), 10000);
    // A known car and a known stranger need no room.
    QVERIFY(!PitLaneRules::arrivingCar(&table, 6, 0).isUnknown);
    QVERIFY(PitLaneRules::arrivingCar(&table, 1000, 0).isUnknown);
    QCOMPARE(table.size(), 10000);
    QVERIFY(PitLaneRules::arrivingCar(&table, 20000, 0).isUnknown);
    JSON_COMPARE(table, JsonMatch::object(R"({"20000":null,"6":{"carModel":"Sodi"}})"));
}

void PitLaneRulesTest::record_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray full = R"({"num":"7","model":"Sodi","color":"#ff8000","order":3,"isBusy":true,"isUnknown":true,
        "transponderId":5})";
    const QByteArray nothing = R"({"num":"","model":"","color":"","order":-1,"isBusy":false,"isUnknown":false,
        "transponderId":-1})";
    QTest::newRow("full") << full << full;
    QTest::newRow("empty") << QByteArray("{}") << nothing;
    QTest::newRow("wrong types") << QByteArray(
        R"({"num":7,"model":null,"color":5,"order":"3","isBusy":1,"isUnknown":"x",
        "transponderId":"5"})") << nothing;
    QTest::newRow("more than a car") << QByteArray(R"({"selected":true,"rect":[1,2,3,4],"x":1})") << nothing;
}

void PitLaneRulesTest::record()
{
    QFETCH(QByteArray, json);
    QFETCH(QByteArray, expected);
    const PitLaneCar car = PitLaneCar::fromJson(JsonMatch::object(json.constData()));
    JSON_COMPARE(car.toJson(), JsonMatch::object(expected.constData()));
    QVERIFY(!car.selected);
    QVERIFY(car.rect.isNull());
}

void PitLaneRulesTest::columns()
{
    QVERIFY(PitLaneRules::columns({}).isEmpty());
    const QMap<QString, QList<int>> columns = PitLaneRules::columns(
        {carOf("Sodi"), carOf("Rimo"), carOf(""), carOf("sodi"), carOf("Sodi"), carOf("Картинг")});
    QCOMPARE(columns.keys(), (QStringList{"", "Rimo", "Sodi", "sodi", "Картинг"}));
    QCOMPARE(columns.value("Sodi"), (QList<int>{0, 4}));
    QCOMPARE(columns.value(""), QList<int>{2});
}

void PitLaneRulesTest::textColor_data()
{
    QTest::addColumn<QColor>("tile");
    QTest::addColumn<bool>("dark");

    QTest::newRow("black") << QColor(0, 0, 0) << true;
    QTest::newRow("white") << QColor(255, 255, 255) << false;
    QTest::newRow("grey 179") << QColor(179, 179, 179) << true;
    QTest::newRow("grey 180") << QColor(180, 180, 180) << false;
    // 251 * 0.7152 = 179.5, 252 * 0.7152 = 180.2
    QTest::newRow("green 179.5") << QColor(0, 251, 0) << true;
    QTest::newRow("green 180.2") << QColor(0, 252, 0) << false;
    QTest::newRow("red") << QColor(255, 0, 0) << true;
    QTest::newRow("blue") << QColor(0, 0, 255) << true;
    // 54.2 + 125.2 = 179.3 and 54.2 + 125.9 = 180.1
    QTest::newRow("orange 179.3") << QColor(255, 175, 0) << true;
    QTest::newRow("orange 180.1") << QColor(255, 176, 0) << false;
    // 178.8 + 1.2 = 180.0 and just below
    QTest::newRow("green and blue 179.96") << QColor(0, 250, 16) << true;
    QTest::newRow("green and blue 180.03") << QColor(0, 250, 17) << false;
    QTest::newRow("invalid") << QColor() << true;
}

void PitLaneRulesTest::textColor()
{
    QFETCH(QColor, tile);
    QFETCH(bool, dark);
    QCOMPARE(PitLaneRules::textColor(tile), QColor(dark ? Qt::white : Qt::black));
}

DESK_TEST_MAIN(PitLaneRulesTest)
#include "tst_pitlanerules.moc"
