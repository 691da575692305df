#include "checkindesk.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QJsonDocument>
#include <QMimeData>
#include <QUuid>

#include <memory>

/// Records that are dragged out of the check-in list and dropped into it.
class CheckInListDropTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { desk = std::make_unique<CheckInDesk>(); }
    void cleanup() { desk.reset(); }

    void formatsAndActions();
    void dragged_data();
    void dragged();
    void draggedRecords();
    void draggedOrder();
    void canDrop_data();
    void canDrop();
    void dropNewRacer();
    void dropFromRun();
    void dropCopy();
    void dropKnownRacer();
    void dropKnownClient();
    void dropTwice();
    void dropEnqueued();
    void dropPlace();
    void dropOrderOfLists_data();
    void dropOrderOfLists();
    void dropSignals();
    void dropWrongTypes();
    void dropMalformed_data();
    void dropMalformed();
    void droppedRowAges();

private:
    bool drop(const QByteArray &json);
    QJsonObject dragged(const QModelIndexList &indexes) const;

    std::unique_ptr<CheckInDesk> desk;
};

bool CheckInListDropTest::drop(const QByteArray &json)
{
    QMimeData data;
    data.setData("application/json", json);
    data.setData("source", "waitingQueue");
    return desk->list.dropMimeData(&data, Qt::MoveAction, -1, -1, QModelIndex());
}

/// The object that a drag of these cells carries.
QJsonObject CheckInListDropTest::dragged(const QModelIndexList &indexes) const
{
    const std::unique_ptr<QMimeData> data(desk->list.mimeData(indexes));
    if (data->formats() != QStringList{"application/json"})
        return {};
    return JsonMatch::object(data->data("application/json"));
}

void CheckInListDropTest::formatsAndActions()
{
    QCOMPARE(desk->list.mimeTypes(), QStringList{"application/json"});
    QCOMPARE(desk->list.supportedDropActions(), Qt::CopyAction | Qt::MoveAction);
    QCOMPARE(desk->list.supportedDragActions(), Qt::DropActions(Qt::MoveAction));
}

void CheckInListDropTest::dragged_data()
{
    QTest::addColumn<bool>("paid");
    QTest::addColumn<bool>("sold");
    QTest::addColumn<bool>("enqueued");
    QTest::addColumn<bool>("goes");

    QTest::newRow("paid and sold") << true << true << false << true;
    QTest::newRow("unpaid") << false << true << false << false;
    QTest::newRow("nothing sold") << true << false << false << false;
    QTest::newRow("enqueued") << true << true << true << false;
}

void CheckInListDropTest::dragged()
{
    QFETCH(bool, paid);
    QFETCH(bool, sold);
    QFETCH(bool, enqueued);
    QFETCH(bool, goes);
    const Sale sale = sold ? Adult : NoSale;
    CheckInItem &racer = desk->addSold(sale, 1, {CheckInDesk::kid("Маша", sale, 1)});
    racer.payState = paid;
    for (CheckInItem *item : {&racer, racer.subItems.front().get()})
        item->enqueued = enqueued;
    const int expected = goes ? 1 : 0;
    QCOMPARE(dragged({desk->cell("NAME")}).value("srcList").toArray().size(), expected);
    QCOMPARE(dragged({desk->minorCell("NAME", 0, 0)}).value("srcList").toArray().size(), expected);
}

void CheckInListDropTest::draggedRecords()
{
    CheckInItem &racer = desk->addSold(Adult, 2, {CheckInDesk::kid("Маша", Junior, 1)});
    racer.payState = true;
    desk->addSold(Adult);
    const QJsonObject expected{
        {"srcList", QJsonArray{desk->list.toJson(racer), desk->list.toJson(*racer.subItems.front())}}};
    QModelIndexList cells;
    for (int column = 0; column < desk->list.columnCount(); ++column)
        cells << desk->list.index(0, column) << desk->list.index(1, column);
    cells << desk->minorCell("NAME", 1, 0) << desk->minorCell("POS", 1, 0);
    const std::unique_ptr<QMimeData> data(desk->list.mimeData(cells));
    QCOMPARE(data->data("application/json"), QJsonDocument(expected).toJson(QJsonDocument::Compact));
    QVERIFY(!data->hasFormat("source"));
    JSON_COMPARE(dragged({}), (QJsonObject{{"srcList", QJsonArray()}}));
}

void CheckInListDropTest::draggedOrder()
{
    for (const char *uuid : {"{a}", "{b}", "{c}"}) {
        CheckInItem &item = desk->addSold(Adult);
        item.payState = true;
        item.uuid = QString::fromLatin1(uuid);
    }
    const QJsonArray records =
        dragged({desk->cell("NAME", 1), desk->cell("NAME", 2), desk->cell("NAME", 0)}).value("srcList").toArray();
    QStringList uuids;
    for (const QJsonValue &record : records)
        uuids.append(record.toObject().value("uuid").toString());
    QCOMPARE(uuids, (QStringList{"{b}", "{a}", "{c}"}));
}

void CheckInListDropTest::canDrop_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("expected");

    QTest::newRow("history") << "source" << QByteArray("registrationHistory") << true;
    QTest::newRow("queue") << "source" << QByteArray("waitingQueue") << true;
    QTest::newRow("another source") << "source" << QByteArray("elsewhere") << false;
    QTest::newRow("another case") << "source" << QByteArray("WaitingQueue") << false;
    QTest::newRow("empty source") << "source" << QByteArray("") << false;
    QTest::newRow("its own rows") << "application/json" << QByteArray(R"({"srcList":[]})") << false;
}

void CheckInListDropTest::canDrop()
{
    QFETCH(QString, format);
    QFETCH(QByteArray, content);
    desk->add();
    QMimeData data;
    data.setData(format, content);
    for (const QModelIndex &parent : {QModelIndex(), desk->cell("NAME")})
        QTEST(desk->list.canDropMimeData(&data, Qt::MoveAction, 0, 0, parent), "expected");
}

void CheckInListDropTest::dropNewRacer()
{
    QVERIFY(drop(R"({"items":[{"firstName":"иВАН","lastName":"иванов","midName":"ПЕТРОВИЧ","uuid":"{u}",
        "clientId":88,"carModel":"Junior","salesItem":"Взрослый","salesId":1,"runCount":5,"discountValue":"10",
        "payMethod":"Карта","payState":true,"regTime":5,"comment":"x","pinCodes":["1"],"enqueued":true}]})"));
    QCOMPARE(desk->list.rowCount(), 1);
    const CheckInItem &item = desk->racer();
    QCOMPARE(item.fullName(), QStringLiteral("Иванов Иван Петрович"));
    QCOMPARE(item.uuid, QStringLiteral("{u}"));
    QCOMPARE(item.clientId, 88);
    QCOMPARE(item.runCount, 1);
    QCOMPARE(item.salesItem, QString());
    QCOMPARE(item.salesId, -1);
    QCOMPARE(item.carModel, QString());
    QCOMPARE(item.discountValue, QStringLiteral("10"));
    QCOMPARE(item.payMethod, QStringLiteral("Карта"));
    QVERIFY(item.payState);
    QCOMPARE(item.paySum, 0.0);
    QCOMPARE(item.regTime, quint64(desk->now));
    QCOMPARE(item.comment, QString());
    QVERIFY(!item.enqueued);
}

void CheckInListDropTest::dropFromRun()
{
    drop(R"({"srcList":[{"firstName":"Иван","uuid":"{u}"}]})");
    QCOMPARE(desk->racer().uuid, QStringLiteral("{u}"));
    QCOMPARE(desk->racer().clientId, -1);
}

/// A copy out of a past run is somebody new.
void CheckInListDropTest::dropCopy()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 0, -1, 1, Adult);
    drop(R"({"srcList":[{"firstName":"Иван","uuid":"{u}","historyItem":true}]})");
    QCOMPARE(desk->list.rowCount(), 2);
    QVERIFY(desk->racer(0).uuid != QStringLiteral("{u}"));
    QVERIFY(!QUuid(desk->racer(0).uuid).isNull());
}

void CheckInListDropTest::dropKnownRacer()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 5, -1, 3, Adult);
    desk->add("Второй");
    drop(R"({"srcList":[{"firstName":"Пётр","uuid":"{u}","discountValue":"10","payMethod":"Карта","payState":true}]})");
    QCOMPARE(desk->list.rowCount(), 2);
    const CheckInItem &item = desk->racer(1);
    QCOMPARE(item.firstName, QStringLiteral("Иван"));
    QCOMPARE(item.runCount, 3);
    QCOMPARE(item.salesItem, QStringLiteral("Взрослый"));
    QCOMPARE(item.regTime, quint64(5));
    QCOMPARE(item.paySum, 1350.0);
    QCOMPARE(item.payMethod, QStringLiteral("Карта"));
    QVERIFY(item.payState);
}

void CheckInListDropTest::dropKnownClient()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 5, 88, 3, Adult);
    desk->racer().payState = true;
    drop(R"({"srcList":[{"firstName":"Пётр","uuid":"{other}","clientId":88,"historyItem":true}]})");
    QCOMPARE(desk->list.rowCount(), 1);
    const CheckInItem &item = desk->racer();
    QCOMPARE(item.uuid, QStringLiteral("{u}"));
    QCOMPARE(item.runCount, 1);
    QCOMPARE(item.paySum, 500.0);
    QCOMPARE(item.discountValue, QString());
    QCOMPARE(item.payMethod, QString());
    QVERIFY(!item.payState);
}

void CheckInListDropTest::dropTwice()
{
    const QByteArray record = R"({"items":[{"lastName":"Иванов","uuid":"{u}","payMethod":"Карта"}]})";
    drop(record);
    desk->racer().payMethod = "Наличные";
    drop(record);
    QCOMPARE(desk->list.rowCount(), 1);
    QCOMPARE(desk->racer().payMethod, QStringLiteral("Карта"));
}

void CheckInListDropTest::dropEnqueued()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 5, -1, 3, Adult);
    desk->racer().enqueued = true;
    drop(R"({"srcList":[{"uuid":"{u}"}]})");
    QVERIFY(desk->racer().enqueued);
}

/// Where on the list a record is let go makes no difference.
void CheckInListDropTest::dropPlace()
{
    desk->add("Первый");
    desk->add("Второй");
    QMimeData data;
    data.setData("application/json", R"({"srcList":[{"lastName":"A"},{"lastName":"B"}]})");
    QVERIFY(desk->list.dropMimeData(&data, Qt::CopyAction, 1, 2, desk->cell("POS", 1)));
    QCOMPARE(desk->lastNames(), (QStringList{"B", "A", "Второй", "Первый"}));
}

void CheckInListDropTest::dropOrderOfLists_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("items before srcList")
        << QByteArray(R"({"items":[{"lastName":"A"}],"srcList":[{"lastName":"B"}]})") << QStringList{"A"};
    QTest::newRow("empty items before srcList")
        << QByteArray(R"({"items":[],"srcList":[{"lastName":"B"}]})") << QStringList();
    QTest::newRow("items that are no array")
        << QByteArray(R"({"items":5,"srcList":[{"lastName":"B"}]})") << QStringList{"B"};
    QTest::newRow("neither") << QByteArray("{}") << QStringList();
    QTest::newRow("srcList that is no array") << QByteArray(R"({"srcList":{"lastName":"B"}})") << QStringList();
}

void CheckInListDropTest::dropOrderOfLists()
{
    QFETCH(QByteArray, json);
    QFETCH(QStringList, names);
    QVERIFY(drop(json));
    QCOMPARE(desk->lastNames(), names);
    QCOMPARE(desk->log.dropped.size(), 1);
    QCOMPARE(desk->log.dropped.constFirst().size(), names.size());
}

void CheckInListDropTest::dropSignals()
{
    drop(R"({"srcList":[{"lastName":"A","payState":true},{"lastName":"B"}]})");
    const QStringList one{"rowsInserted 0..0", "layoutChanged", "checkInListUpdated"};
    QCOMPARE(desk->log.take(), one + one + QStringList{"itemsDropped"});
    JSON_COMPARE(desk->log.dropped.constFirst(), JsonMatch::array(R"([{"lastName":"A","payState":true},
        {"lastName":"B"}])"));
    // The list is told about a line before what it brought is put in.
    QCOMPARE(desk->log.published.constFirst().first().toObject().value("payState"), QJsonValue(false));
}

void CheckInListDropTest::dropWrongTypes()
{
    drop(
        R"({"srcList":[{"firstName":5,"uuid":7,"clientId":"88",
        "discountValue":10,"payMethod":true,"payState":1}, 5]})");
    QCOMPARE(desk->list.rowCount(), 2);
    const CheckInItem &item = desk->racer(1);
    QCOMPARE(item.firstName, QString());
    QCOMPARE(item.clientId, -1);
    QCOMPARE(item.discountValue, QString());
    QCOMPARE(item.payMethod, QString());
    QVERIFY(!item.payState);
    QVERIFY(!QUuid(item.uuid).isNull());
}

void CheckInListDropTest::dropMalformed_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("another format") << "text/plain" << QByteArray(R"({"srcList":[{"lastName":"A"}]})");
    QTest::newRow("array") << "application/json" << QByteArray(R"([{"lastName":"A"}])");
    QTest::newRow("half an object") << "application/json" << QByteArray(R"({"srcList":[{"lastName")");
    QTest::newRow("nothing") << "application/json" << QByteArray();
}

void CheckInListDropTest::dropMalformed()
{
    QFETCH(QString, format);
    QFETCH(QByteArray, content);
    QMimeData data;
    data.setData(format, content);
    QVERIFY(desk->list.dropMimeData(&data, Qt::MoveAction, -1, -1, QModelIndex()));
    QCOMPARE(desk->list.rowCount(), 0);
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListDropTest::droppedRowAges()
{
    drop(R"({"srcList":[{"lastName":"A","payState":true}]})");
    desk->now += 1800;
    desk->list.purgeExpired(1800);
    QCOMPARE(desk->list.rowCount(), 1);
    desk->now += 1;
    desk->list.purgeExpired(1800);
    QCOMPARE(desk->list.rowCount(), 0);
}

DESK_TEST_MAIN(CheckInListDropTest)
#include "tst_checkinlist_drop.moc"
