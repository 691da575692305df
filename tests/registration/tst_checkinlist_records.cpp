#include "registration/clientscheckinlist.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <functional>

/// Records are built once and kept; whatever changes of a line must show at once all the same.
class TestCheckInListRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changes_data();
    void changes();
    void minorLeaves();
};

using Change = std::function<void(CheckInItem &)>;
Q_DECLARE_METATYPE(Change)

namespace {

QJsonObject fresh(const CheckInItem &item)
{
    QJsonObject json = item.toJson();
    json.insert(QStringLiteral("salesCommonId"), -1);
    return json;
}

QJsonObject freshFamily(const CheckInItem &racer)
{
    const auto told = [](const CheckInItem &item) {
        QJsonObject json = fresh(item);
        if (item.salesId == -1)
            json.insert(QStringLiteral("color"), QStringLiteral("#00000000"));
        return json;
    };
    QJsonArray minors;
    for (const auto &minor : racer.subItems)
        minors.append(told(*minor));
    QJsonObject json = told(racer);
    json.insert(QStringLiteral("subItems"), minors);
    return json;
}

void registerFamily(ClientsCheckInList &list)
{
    KidRecord kid;
    kid.firstName = QStringLiteral("Петя");
    kid.uuid = QStringLiteral("{kid}");
    list.addRacer(QStringLiteral("Анна"), QStringLiteral("Иванова"), QString(), {kid, kid}, QStringLiteral("{a}"),
                  QString(), 7, -1, 0, -1);
}

} // namespace

void TestCheckInListRecords::changes_data()
{
    QTest::addColumn<Change>("change");
    const QString word = QStringLiteral("новое");
    const auto row = [](const char *name, const Change &change) { QTest::newRow(name) << change; };
    row("firstName", [word](CheckInItem &item) { item.firstName = word; });
    row("lastName", [word](CheckInItem &item) { item.lastName = word; });
    row("midName", [word](CheckInItem &item) { item.midName = word; });
    row("salesItem", [word](CheckInItem &item) { item.salesItem = word; });
    row("salesId", [](CheckInItem &item) { item.salesId = 5; });
    row("carModel", [word](CheckInItem &item) { item.carModel = word; });
    row("carNum", [word](CheckInItem &item) { item.carNum = word; });
    row("carId", [](CheckInItem &item) { item.carId = 5; });
    row("paySum", [](CheckInItem &item) { item.paySum = 0.1; });
    row("price", [](CheckInItem &item) { item.price = 0.1; });
    row("runCount", [](CheckInItem &item) { item.runCount = 5; });
    row("discountValue", [word](CheckInItem &item) { item.discountValue = word; });
    row("color", [](CheckInItem &item) { item.color = QColor(Qt::red); });
    row("pinCodes", [word](CheckInItem &item) { item.pinCodes = QStringList{word}; });
    row("payMethod", [word](CheckInItem &item) { item.payMethod = word; });
    row("payState", [](CheckInItem &item) { item.payState = true; });
    row("uuid", [word](CheckInItem &item) { item.uuid = word; });
    row("regTime", [](CheckInItem &item) { item.regTime = 5; });
    row("clientId", [](CheckInItem &item) { item.clientId = 5; });
    row("nfcUid", [word](CheckInItem &item) { item.nfcUid = word; });
    row("comment", [word](CheckInItem &item) { item.comment = word; });
    row("validSafetyAgreement", [](CheckInItem &item) { item.validSafetyAgreement = true; });
}

void TestCheckInListRecords::changes()
{
    QFETCH(Change, change);
    ClientsCheckInList list;
    registerFamily(list);
    CheckInItem &racer = *list.itemAt(list.index(0, 0));
    CheckInItem &minor = *racer.subItems.back();
    const auto compare = [&] {
        JSON_COMPARE(list.toJson(racer), fresh(racer));
        JSON_COMPARE(list.toJson(minor), fresh(minor));
        JSON_COMPARE(list.listJson(), QJsonArray{freshFamily(racer)});
    };
    compare();
    const QJsonObject before = list.toJson(racer);
    change(racer);
    QVERIFY(list.toJson(racer) != before);
    compare();
    change(minor);
    compare();
}

void TestCheckInListRecords::minorLeaves()
{
    ClientsCheckInList list;
    registerFamily(list);
    const CheckInItem &racer = *list.itemAt(list.index(0, 0));
    QCOMPARE(list.listJson().first().toObject().value(QLatin1String("subItems")).toArray().size(), 2);
    list.removeEntries({list.index(0, 0, list.index(0, 0))});
    JSON_COMPARE(list.listJson(), QJsonArray{freshFamily(racer)});
    QCOMPARE(list.listJson().first().toObject().value(QLatin1String("subItems")).toArray().size(), 1);
}

DESK_TEST_MAIN(TestCheckInListRecords)

#include "tst_checkinlist_records.moc"
