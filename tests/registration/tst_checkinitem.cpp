#include "registration/checkinitem.h"

#include "desktest.h"
#include "jsonmatch.h"

/// The record of a line: written, and read back from whatever a journal holds.
class CheckInItemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freshItem();
    void fullRecord();
    void minorKnowsParent();
    void colourWithAlphaIsWrittenWithout();
    void roundTrip();
    void emptyObject();
    void wrongTypes_data();
    void wrongTypes();
    void numbers_data();
    void numbers();
    void loose_data();
    void loose();
    void colours_data();
    void colours();
    void pins_data();
    void pins();
    void readingReplacesAll();
    void baseAndPayment();
    void fullName();

private:
    static void fill(CheckInItem &item);
    static QJsonObject fullJson();
    static QJsonObject freshJson();
};

/// What a fresh item writes.
QJsonObject CheckInItemTest::freshJson()
{
    return JsonMatch::object(R"({"firstName":"","lastName":"","midName":"","salesItem":"","salesId":-1,"carModel":"",
        "carNum":"","carId":-1,"paySum":0,"price":0,"discountValue":"0","color":"#ffffff","payMethod":"",
        "payState":false,"uuid":"","name":" ","nfcUid":"","validSafetyAgreement":false,"pinCodes":[],"regTime":0,
        "clientId":-1,"runCount":0,"comment":""})");
}

QJsonObject CheckInItemTest::fullJson()
{
    return JsonMatch::object(R"({"firstName":"Иван","lastName":"Иванов","midName":"Петрович","salesItem":"Заезд",
        "salesId":5,"carModel":"Junior","carNum":"7А","carId":17,"paySum":-12.5,"price":0.1,"discountValue":"=100",
        "color":"#12abef","payMethod":"Карта","payState":true,"uuid":"{u}","name":"Иванов Иван","nfcUid":"04:FF",
        "validSafetyAgreement":true,"pinCodes":["0042","0042"],"regTime":1700000000,"clientId":88,"runCount":2,
        "comment":"левша \"быстрый\""})");
}

void CheckInItemTest::fill(CheckInItem &item)
{
    item.firstName = "Иван";
    item.lastName = "Иванов";
    item.midName = "Петрович";
    item.salesItem = "Заезд";
    item.salesId = 5;
    item.carModel = "Junior";
    item.carNum = "7А";
    item.carId = 17;
    item.paySum = -12.5;
    item.price = 0.1;
    item.runCount = 2;
    item.discountValue = "=100";
    item.color = QColor(0x12, 0xab, 0xef);
    item.pinCodes = QStringList{"0042", "0042"};
    item.payMethod = "Карта";
    item.payState = true;
    item.uuid = "{u}";
    item.regTime = 1700000000;
    item.clientId = 88;
    item.nfcUid = "04:FF";
    item.comment = "левша \"быстрый\"";
    item.validSafetyAgreement = true;
}

void CheckInItemTest::freshItem()
{
    const CheckInItem item;
    JSON_COMPARE(item.toJson(), freshJson());
    QCOMPARE(item.row, -1);
    QVERIFY(!item.enqueued);
    QVERIFY(!item.parent);
    QVERIFY(item.buttonStates.isEmpty());
}

void CheckInItemTest::fullRecord()
{
    CheckInItem item;
    fill(item);
    item.parentUuid = "{elsewhere}";
    item.enqueued = true;
    item.buttonStates.insert("SAFETY", 4);
    JSON_COMPARE(item.toJson(), fullJson());
}

void CheckInItemTest::minorKnowsParent()
{
    CheckInItem parent;
    fill(parent);
    CheckInItem minor;
    minor.parent = &parent;
    QJsonObject expected = freshJson();
    expected.insert("parentUuid", "{u}");
    expected.insert("parentFirstName", "Иван");
    expected.insert("parentLastName", "Иванов");
    expected.insert("parentMidName", "Петрович");
    JSON_COMPARE(minor.toJson(), expected);
}

void CheckInItemTest::colourWithAlphaIsWrittenWithout()
{
    CheckInItem item;
    item.color = QColor(255, 0, 0, 10);
    QCOMPARE(item.toJson().value("color").toString(), QStringLiteral("#ff0000"));
}

void CheckInItemTest::roundTrip()
{
    CheckInItem item;
    item.readJson(fullJson());
    JSON_COMPARE(item.toJson(), fullJson());
}

void CheckInItemTest::emptyObject()
{
    CheckInItem item;
    item.readJson({});
    QJsonObject expected = freshJson();
    expected.insert("runCount", 1);
    expected.insert("pinCodes", QJsonArray{""});
    expected.insert("discountValue", "");
    expected.insert("color", QColor().name());
    JSON_COMPARE(item.toJson(), expected);
    QVERIFY(!item.color.isValid());
}

void CheckInItemTest::wrongTypes_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("array") << QJsonValue(QJsonArray{1, "2"});
    QTest::newRow("object") << QJsonValue(QJsonObject{{"a", 1}});
}

/// Every key of the record with the same strange value: the line reads as if they were all missing.
void CheckInItemTest::wrongTypes()
{
    QFETCH(QJsonValue, value);
    QJsonObject strange = fullJson();
    for (const char *key : {"parentUuid", "parentFirstName", "parentLastName", "parentMidName"})
        strange.insert(QLatin1String(key), value);
    const QStringList keys = strange.keys();
    for (const QString &key : keys) {
        if (key != QLatin1String("pinCodes"))
            strange.insert(key, value);
    }
    strange.remove("pinCodes");
    CheckInItem item;
    item.readJson(strange);
    CheckInItem empty;
    empty.readJson({});
    JSON_COMPARE(item.toJson(), empty.toJson());
    QCOMPARE(item.parentUuid, QString());
}

void CheckInItemTest::numbers_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QJsonValue>("expected");

    for (const char *key : {"salesId", "carId", "clientId"}) {
        const QString name = QString::fromLatin1(key);
        QTest::addRow("%s, largest", key) << name << QJsonValue(2147483647) << QJsonValue(2147483647);
        QTest::addRow("%s, beyond", key) << name << QJsonValue(2147483648.0) << QJsonValue(-1);
        QTest::addRow("%s, enormous", key) << name << QJsonValue(1e300) << QJsonValue(-1);
        QTest::addRow("%s, fraction", key) << name << QJsonValue(1.5) << QJsonValue(-1);
        QTest::addRow("%s, text", key) << name << QJsonValue("5") << QJsonValue(-1);
    }
    QTest::newRow("runCount beyond") << "runCount" << QJsonValue(1e300) << QJsonValue(1);
    QTest::newRow("runCount text") << "runCount" << QJsonValue("5") << QJsonValue(1);
    QTest::newRow("runCount too many") << "runCount" << QJsonValue(2147483647) << QJsonValue(1000);
    QTest::newRow("runCount negative") << "runCount" << QJsonValue(-3) << QJsonValue(0);
    QTest::newRow("price enormous") << "price" << QJsonValue(1e300) << QJsonValue(1e300);
    QTest::newRow("price text") << "price" << QJsonValue("5") << QJsonValue(0);
    QTest::newRow("paySum text") << "paySum" << QJsonValue("5") << QJsonValue(0);
    QTest::newRow("payState number") << "payState" << QJsonValue(1) << QJsonValue(false);
    QTest::newRow("validSafetyAgreement text") << "validSafetyAgreement" << QJsonValue("true") << QJsonValue(false);
    QTest::newRow("firstName number") << "firstName" << QJsonValue(5) << QJsonValue("");
}

void CheckInItemTest::numbers()
{
    QFETCH(QString, key);
    QFETCH(QJsonValue, value);
    CheckInItem item;
    item.readJson({{key, value}});
    QTEST(item.toJson().value(key), "expected");
}

void CheckInItemTest::loose_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QJsonValue>("expected");

    QTest::newRow("discount as a number") << "discountValue" << QJsonValue(10) << QJsonValue("10");
    QTest::newRow("discount as a fraction") << "discountValue" << QJsonValue(12.5) << QJsonValue("12.5");
    QTest::newRow("age as a text") << "regTime" << QJsonValue("1700000000") << QJsonValue(1700000000);
    QTest::newRow("age as letters") << "regTime" << QJsonValue("abc") << QJsonValue(0);
}

/// The two fields that were stored in different types in the course of time.
void CheckInItemTest::loose()
{
    numbers();
}

void CheckInItemTest::colours_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QColor>("expected");

    QTest::newRow("hexadecimal") << QJsonValue("#12abef") << QColor(0x12, 0xab, 0xef);
    QTest::newRow("short") << QJsonValue("#f00") << QColor(255, 0, 0);
    QTest::newRow("named") << QJsonValue("red") << QColor(255, 0, 0);
    QTest::newRow("transparent black") << QJsonValue("#00000000") << QColor(0, 0, 0, 0);
    QTest::newRow("letters") << QJsonValue("abc") << QColor();
    QTest::newRow("empty") << QJsonValue("") << QColor();
    QTest::newRow("number") << QJsonValue(255) << QColor();
}

void CheckInItemTest::colours()
{
    QFETCH(QJsonValue, value);
    CheckInItem item;
    item.readJson({{"color", value}});
    QTEST(item.color, "expected");
}

void CheckInItemTest::pins_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("as many as runs") << 2 << QJsonValue(QJsonArray{"1", "1"}) << QStringList{"1", "1"};
    QTest::newRow("missing ones") << 3 << QJsonValue(QJsonArray{"1"}) << QStringList{"1", "", ""};
    QTest::newRow("too many") << 1 << QJsonValue(QJsonArray{"1", "2"}) << QStringList{"1"};
    QTest::newRow("no runs") << 0 << QJsonValue(QJsonArray{"1"}) << QStringList();
    QTest::newRow("negative runs") << -2 << QJsonValue(QJsonArray{"1"}) << QStringList();
    QTest::newRow("a number among them") << 2 << QJsonValue(QJsonArray{1, "1"}) << QStringList{"", "1"};
    QTest::newRow("no array") << 1 << QJsonValue("0042") << QStringList{""};
}

void CheckInItemTest::pins()
{
    QFETCH(int, runs);
    QFETCH(QJsonValue, stored);
    CheckInItem item;
    item.readJson({{"runCount", runs}, {"pinCodes", stored}});
    QTEST(item.pinCodes, "expected");
}

void CheckInItemTest::readingReplacesAll()
{
    CheckInItem item;
    fill(item);
    item.readJson({});
    CheckInItem empty;
    empty.readJson({});
    JSON_COMPARE(item.toJson(), empty.toJson());
}

void CheckInItemTest::baseAndPayment()
{
    CheckInItem parent;
    CheckInItem minor;
    minor.parent = &parent;
    QCOMPARE(&minor.base(), &parent);
    QCOMPARE(&parent.base(), &parent);
    minor.payState = true;
    QVERIFY(!minor.isEffectivelyPaid());
    parent.payState = true;
    minor.payState = false;
    QVERIFY(minor.isEffectivelyPaid());
    QVERIFY(parent.isEffectivelyPaid());
}

void CheckInItemTest::fullName()
{
    CheckInItem item;
    QCOMPARE(item.fullName(), QStringLiteral("  "));
    fill(item);
    QCOMPARE(item.fullName(), QStringLiteral("Иванов Иван Петрович"));
}

DESK_TEST_MAIN(CheckInItemTest)
#include "tst_checkinitem.moc"
