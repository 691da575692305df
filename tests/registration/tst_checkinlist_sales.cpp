#include "checkindesk.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QTreeView>

#include <memory>

/// Sales, discounts and payments of the check-in list, and what clients are told of prices.
class CheckInListSalesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { desk = std::make_unique<CheckInDesk>(); }
    void cleanup() { desk.reset(); }

    void applyPrice_data();
    void applyPrice();
    void applyNoPrice();
    void setSalesItem_data();
    void setSalesItem();
    void clearSale();
    void saleOfMinor();
    void discount();
    void discountOfMinorChangesNothing();
    void payMethod();

    void payment_data();
    void payment();
    void refusal_data();
    void refusal();
    void paymentOfMinor();
    void paidBack();
    void paymentRecord();
    void loudRefusal();

    void ticket_data();
    void ticket();

    void reprice();
    void repriceWithAnUnnamedItem();
    void repriceOtherBlock();
    void repriceWithoutBook();

    void records_data();
    void records();
    void recordWithoutBook();
    void salesForCars();
    void availableCars();
    void discounts();
    void payMethods();
    void listsWithoutBook();

private:
    std::unique_ptr<CheckInDesk> desk;
};

void CheckInListSalesTest::applyPrice_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<int>("expectedRuns");
    QTest::newRow("no runs yet") << 0 << 1;
    QTest::newRow("runs chosen") << 4 << 4;
}

void CheckInListSalesTest::applyPrice()
{
    QFETCH(int, runs);
    QFETCH(int, expectedRuns);
    CheckInItem &item = desk->add();
    item.runCount = runs;
    desk->log.take();
    desk->list.applyPrice(item, desk->price(Junior));
    QCOMPARE(item.salesItem, QStringLiteral("Детский"));
    QCOMPARE(item.salesId, int(Junior));
    QCOMPARE(item.carModel, QStringLiteral("Junior"));
    QCOMPARE(item.price, 300.0);
    QCOMPARE(item.color, QColor(Qt::blue));
    QCOMPARE(item.runCount, expectedRuns);
    QCOMPARE(item.paySum, 300.0 * expectedRuns);
    QCOMPARE(desk->log.take(), QStringList{"layoutChanged"});
}

void CheckInListSalesTest::applyNoPrice()
{
    CheckInItem &item = desk->addSold(Junior, 4);
    item.color = Qt::blue;
    desk->log.take();
    desk->list.applyPrice(item, PriceItem());
    QCOMPARE(item.salesItem, QString());
    QCOMPARE(item.salesId, -1);
    QCOMPARE(item.carModel, QString());
    QCOMPARE(item.price, 0.0);
    QCOMPARE(item.color, QColor(Qt::white));
    QCOMPARE(item.runCount, 1);
    QCOMPARE(item.paySum, 0.0);
    QCOMPARE(desk->log.take(), QStringList{"layoutChanged"});
}

void CheckInListSalesTest::setSalesItem_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<int>("pins");
    QTest::addColumn<bool>("samePin");

    QTest::newRow("first sale keeps the code") << 0 << 1 << true;
    QTest::newRow("another sale keeps the codes") << 3 << 3 << true;
    QTest::newRow("codes that do not fit are drawn anew") << 3 << 1 << false;
}

void CheckInListSalesTest::setSalesItem()
{
    QFETCH(int, runs);
    QFETCH(int, pins);
    QFETCH(bool, samePin);
    CheckInItem &item = desk->add();
    item.runCount = runs;
    item.pinCodes = desk->list.makePins(pins, item.pinCodes);
    const QStringList before = item.pinCodes;
    desk->log.take();
    desk->list.setSalesItem(desk->price(Adult), desk->cell("SALES_ITEM"));
    QCOMPARE(item.salesItem, QStringLiteral("Взрослый"));
    QCOMPARE(item.runCount, qMax(1, runs));
    QCOMPARE(item.pinCodes.size(), item.runCount);
    QCOMPARE(item.pinCodes == before, samePin);
    QCOMPARE(desk->usedPinCodes, QStringList{item.pinCodes.constFirst()});
    QCOMPARE(desk->log.take(), QStringList{"layoutChanged"});
}

void CheckInListSalesTest::clearSale()
{
    const CheckInItem &item = desk->addSold(Adult, 3);
    desk->log.take();
    desk->list.setSalesItem(PriceItem(), desk->cell("SALES_ITEM"));
    QCOMPARE(item.salesItem, QString());
    QCOMPARE(item.runCount, 0);
    QCOMPARE(item.paySum, 0.0);
    QCOMPARE(item.pinCodes, desk->usedPinCodes);
    QCOMPARE(item.pinCodes.size(), 1);
    QCOMPARE(desk->log.take(), (QStringList{"layoutChanged", "layoutChanged"}));
}

void CheckInListSalesTest::saleOfMinor()
{
    const CheckInItem &racer = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша")});
    desk->list.setSalesItem(desk->price(Junior), desk->minorCell("SALES_ITEM", 0, 0));
    QCOMPARE(racer.subItems.front()->runCount, 1);
    QCOMPARE(racer.subItems.front()->paySum, 0.0);
    QCOMPARE(racer.paySum, 800.0);
}

void CheckInListSalesTest::discount()
{
    const CheckInItem &item = desk->addSold(Adult, 3, {CheckInDesk::kid("Маша", Adult, 2)});
    desk->log.take();
    desk->list.setDiscount("=100", desk->cell("DISCOUNT"));
    QCOMPARE(item.discountValue, QStringLiteral("=100"));
    QCOMPARE(item.paySum, 2200.0);
    desk->list.setDiscount("abc", desk->cell("DISCOUNT"));
    QCOMPARE(item.paySum, 2500.0);
    desk->list.setDiscount(QString(), desk->cell("DISCOUNT"));
    QCOMPARE(item.discountValue, QString());
    QCOMPARE(item.paySum, 2500.0);
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListSalesTest::discountOfMinorChangesNothing()
{
    const CheckInItem &item = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Adult, 1)});
    desk->list.setDiscount("50", desk->minorCell("DISCOUNT", 0, 0));
    QCOMPARE(item.paySum, 1000.0);
}

void CheckInListSalesTest::payMethod()
{
    desk->add();
    const CheckInItem &item = desk->addSold(Adult);
    desk->log.take();
    desk->list.setPayMethod("Карта", desk->cell("PAYMETHOD"));
    QCOMPARE(item.payMethod, QStringLiteral("Карта"));
    QCOMPARE(desk->log.take(), QStringList{"dataChanged 0:7..0:7"});
}

void CheckInListSalesTest::payment_data()
{
    QTest::addColumn<int>("sale");
    QTest::addColumn<QString>("discount");

    QTest::newRow("plain") << int(Adult) << "0";
    QTest::newRow("below zero") << int(Adult) << "=600";
    QTest::newRow("all off") << int(Adult) << "100";
    QTest::newRow("all off, written with a fraction") << int(Adult) << "100.0";
    QTest::newRow("nothing sold, all off") << int(NoSale) << "100";
}

void CheckInListSalesTest::payment()
{
    QFETCH(int, sale);
    QFETCH(QString, discount);
    desk->add("Другой");
    const CheckInItem &item = desk->addSold(Sale(sale));
    desk->add("Третий");
    desk->list.setDiscount(discount, desk->cell("DISCOUNT", 1));
    desk->log.take();
    desk->list.togglePayState(desk->cell("PAYSTATE", 1), false, -1);
    QVERIFY(item.payState);
    QCOMPARE(desk->log.take(), (QStringList{"dataChanged 1:0..1:11", "paymentUpdate"}));
}

void CheckInListSalesTest::refusal_data()
{
    QTest::addColumn<int>("sale");
    QTest::addColumn<QString>("payMethod");
    QTest::addColumn<QString>("discount");
    QTest::addColumn<QString>("message");

    const QString noMethod = QStringLiteral("Не указан способ оплаты");
    const QString noSum = QStringLiteral("Не указана сумма");
    QTest::newRow("no method") << int(Adult) << ""
                               << "0" << noMethod;
    QTest::newRow("no method goes first") << int(NoSale) << ""
                                          << "0" << noMethod;
    QTest::newRow("no method, all off") << int(Adult) << ""
                                        << "100" << noMethod;
    QTest::newRow("no sale") << int(NoSale) << "Карта"
                             << "0" << noSum;
    QTest::newRow("half of nothing") << int(NoSale) << "Карта"
                                     << "50" << noSum;
    QTest::newRow("fixed discount of the whole sum") << int(Adult) << "Карта"
                                                     << "=500" << noSum;
    QTest::newRow("gift") << int(Gift) << "Карта"
                          << "0" << noSum;
}

void CheckInListSalesTest::refusal()
{
    QFETCH(int, sale);
    QFETCH(QString, payMethod);
    QFETCH(QString, discount);
    QFETCH(QString, message);
    CheckInItem &item = desk->addSold(Sale(sale));
    item.payMethod = payMethod;
    desk->list.setDiscount(discount, desk->cell("DISCOUNT"));
    desk->log.take();
    desk->list.togglePayState(desk->cell("PAYSTATE"), true, -1);
    QVERIFY(!item.payState);
    QCOMPARE(item.regTime, quint64(0));
    QCOMPARE(desk->log.take(), QStringList{"someError " + message});
}

void CheckInListSalesTest::loudRefusal()
{
    QTreeView view;
    desk->list.setMessageParent(&view);
    desk->add();
    desk->log.take();
    const auto box = ModalAnswer::messageBox("Ошибка", "Не указан способ оплаты", QMessageBox::Ok, QMessageBox::Ok);
    bool toldBeforeTheAnswer = false;
    QObject::connect(&desk->list, &ClientsCheckInList::someError, &view,
                     [&] { toldBeforeTheAnswer = QApplication::activeModalWidget() != nullptr; });
    desk->list.togglePayState(desk->cell("PAYSTATE"), false, -1);
    MODAL_VERIFY(box);
    QVERIFY(!toldBeforeTheAnswer);
    QCOMPARE(desk->log.take(), QStringList{"someError Не указан способ оплаты"});
}

void CheckInListSalesTest::paymentOfMinor()
{
    const CheckInItem &racer = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 1)});
    racer.subItems.front()->regTime = 5;
    desk->log.take();
    desk->list.togglePayState(desk->minorCell("PAYSTATE", 0, 0), true, -1);
    QVERIFY(!racer.payState);
    QVERIFY(!racer.subItems.front()->payState);
    QCOMPARE(racer.subItems.front()->regTime, quint64(0));
    QCOMPARE(racer.regTime, quint64(desk->now));
    QCOMPARE(desk->log.take(), QStringList{"someError Не указан способ оплаты"});
}

/// The way back asks for nothing.
void CheckInListSalesTest::paidBack()
{
    CheckInItem &item = desk->addSold(Adult);
    item.payState = true;
    item.payMethod.clear();
    item.paySum = 0;
    desk->log.take();
    desk->list.togglePayState(desk->cell("PAYSTATE"), false, -1);
    QVERIFY(!item.payState);
    QCOMPARE(desk->log.take(), (QStringList{"dataChanged 0:0..0:11", "paymentUpdate"}));
    QCOMPARE(desk->log.payments.constLast().value("payState"), QJsonValue(false));
}

void CheckInListSalesTest::paymentRecord()
{
    const CheckInItem &item = desk->addSold(Adult, 2);
    desk->list.togglePayState(desk->cell("PAYSTATE"), true, 17);
    QJsonObject expected = desk->list.toJson(item);
    expected.insert("cashierId", 17);
    JSON_COMPARE(desk->log.payments.constLast(), expected);
    QCOMPARE(expected.value("payState"), QJsonValue(true));
    QCOMPARE(expected.value("regTime"), QJsonValue(0));
}

void CheckInListSalesTest::ticket_data()
{
    QTest::addColumn<bool>("paid");
    QTest::addColumn<bool>("ofMinor");
    QTest::newRow("paid") << true << false;
    QTest::newRow("unpaid") << false << false;
    QTest::newRow("minor of a paid family") << true << true;
    QTest::newRow("minor of an unpaid family") << false << true;
}

void CheckInListSalesTest::ticket()
{
    QFETCH(bool, paid);
    QFETCH(bool, ofMinor);
    CheckInItem &racer = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 1)});
    racer.payState = paid;
    CheckInItem &item = ofMinor ? *racer.subItems.front() : racer;
    item.regTime = 5;
    desk->log.take();
    desk->list.printTicket(ofMinor ? desk->minorCell("NAME", 0, 0) : desk->cell("NAME"));
    QCOMPARE(item.regTime, quint64(0));
    QCOMPARE(desk->log.take(), paid ? QStringList{"ticketPrinted"} : QStringList());
    if (paid)
        JSON_COMPARE(desk->log.tickets.constLast(), desk->list.toJson(item));
}

void CheckInListSalesTest::reprice()
{
    const CheckInItem &unpaid = desk->addSold(Adult, 2, {CheckInDesk::kid("Маша", Junior, 1)});
    CheckInItem &paid = desk->addSold(Adult, 2);
    paid.payState = true;
    CheckInItem &unknown = desk->addSold(Helmet, 2);
    unknown.salesItem = "Перчатки";
    const CheckInItem &nothing = desk->add();
    for (PriceItem &item : desk->prices.pricesByType[-1]) {
        item.sum += 100;
        item.color = Qt::black;
    }
    desk->list.setDiscount("50", desk->cell("DISCOUNT", 3));
    desk->log.take();
    desk->list.repriceUnpaid();
    QCOMPARE(unpaid.price, 600.0);
    QCOMPARE(unpaid.runCount, 2);
    QCOMPARE(unpaid.color, QColor(Qt::black));
    QCOMPARE(unpaid.subItems.front()->price, 400.0);
    QCOMPARE(unpaid.paySum, 800.0);
    QCOMPARE(paid.price, 500.0);
    QCOMPARE(paid.paySum, 1000.0);
    QCOMPARE(unknown.price, 50.5);
    QCOMPARE(unknown.paySum, 101.0);
    QCOMPARE(nothing.salesId, -1);
    QCOMPARE(nothing.runCount, 0);
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("layoutChanged"));
    QCOMPARE(desk->log.entries.count("layoutChanged"), desk->log.entries.size());
}

/// An item that nobody has named yet is what lines without a sale are sold, as far as names go: they get its one run.
void CheckInListSalesTest::repriceWithAnUnnamedItem()
{
    const CheckInItem &sold = desk->addSold(Adult, 2);
    const CheckInItem &family = desk->add("Семья", {CheckInDesk::kid("Маша")});
    CheckInItem &paid = desk->add("Оплачен");
    paid.payState = true;
    const QStringList pins = family.pinCodes;
    PriceItem unnamed;
    unnamed.id = 5;
    unnamed.commonId = 5;
    unnamed.model = "Junior";
    unnamed.sum = 70;
    unnamed.color = Qt::black;
    desk->prices.pricesByType[-1].prepend(unnamed);
    desk->list.repriceUnpaid();
    for (const CheckInItem *item : {&family, static_cast<const CheckInItem *>(family.subItems.front().get())}) {
        QCOMPARE(item->runCount, 1);
        QCOMPARE(item->salesId, -1);
        QCOMPARE(item->salesItem, QString());
        QCOMPARE(item->carModel, QString());
        QCOMPARE(item->price, 0.0);
        QCOMPARE(item->color, QColor(Qt::white));
    }
    QCOMPARE(family.paySum, 0.0);
    QCOMPARE(family.pinCodes, pins);
    QCOMPARE(paid.runCount, 0);
    QCOMPARE(sold.salesId, int(Adult));
    QCOMPARE(sold.runCount, 2);
    QCOMPARE(sold.paySum, 1000.0);
}

void CheckInListSalesTest::repriceOtherBlock()
{
    const CheckInItem &item = desk->addSold(Adult, 2);
    desk->prices.currentPriceType = 7;
    desk->list.repriceUnpaid();
    QCOMPARE(item.salesId, 101);
    QCOMPARE(item.paySum, 2000.0);
}

void CheckInListSalesTest::repriceWithoutBook()
{
    const CheckInItem &item = desk->addSold(Adult, 2);
    desk->list.setPrices(nullptr);
    desk->log.take();
    desk->list.repriceUnpaid();
    QCOMPARE(item.paySum, 1000.0);
    QCOMPARE(desk->log.take(), QStringList{"layoutChanged"});
}

void CheckInListSalesTest::records_data()
{
    QTest::addColumn<int>("salesId");
    QTest::addColumn<int>("block");
    QTest::addColumn<int>("commonId");

    QTest::newRow("current block") << 2 << -1 << 2;
    QTest::newRow("item of another block") << 102 << -1 << 2;
    QTest::newRow("seen from the other block") << 102 << 7 << 2;
    QTest::newRow("nothing sold") << -1 << -1 << -1;
    QTest::newRow("unknown item") << 4711 << -1 << -1;
    // The book answers a search in vain with an item of zeros.
    QTest::newRow("unknown item zero") << 0 << -1 << -1;
}

void CheckInListSalesTest::records()
{
    QFETCH(int, salesId);
    QFETCH(int, block);
    CheckInItem &item = desk->addSold(Junior, 1, {CheckInDesk::kid("Маша")});
    item.salesId = salesId;
    desk->prices.currentPriceType = block;
    const QJsonObject json = desk->list.toJson(item);
    QTEST(json.value("salesCommonId").toInt(), "commonId");
    QCOMPARE(json.value("priceType"), QJsonValue(block));
    QJsonObject plain = item.toJson();
    plain.insert("salesCommonId", json.value("salesCommonId"));
    plain.insert("priceType", block);
    JSON_COMPARE(json, plain);
    const QJsonObject minor = desk->list.toJson(*item.subItems.front());
    QCOMPARE(minor.value("parentUuid").toString(), item.uuid);
}

void CheckInListSalesTest::recordWithoutBook()
{
    const CheckInItem &item = desk->addSold(Junior);
    desk->list.setPrices(nullptr);
    const QJsonObject json = desk->list.toJson(item);
    QCOMPARE(json.value("salesCommonId"), QJsonValue(-1));
    QVERIFY(!json.contains("priceType"));
}

void CheckInListSalesTest::salesForCars()
{
    const QJsonArray cars = JsonMatch::array(R"([{"name":"Junior","available_for_runs":false},
        {"name":"Senior","available_for_runs":false},{"name":"Senior","available_for_runs":true}])");
    const auto sale = [](const char *name, int id, int commonId, const char *model, double price, const char *color) {
        return QJsonObject{
            {"salesItem", QString::fromUtf8(name)}, {"salesId", id},  {"salesCommonId", commonId},
            {"model", QString::fromLatin1(model)},  {"price", price}, {"color", QString::fromLatin1(color)}};
    };
    const QJsonObject adult = sale("Взрослый", 1, 1, "", 500, "#ff0000");
    const QJsonObject junior = sale("Детский", 2, 2, "Junior", 300, "#0000ff");
    const QJsonObject helmet = sale("Шлем", 4, 4, "Senior", 50.5, "#00ff00");
    JSON_COMPARE(desk->list.salesItemsForCars(cars), (QJsonArray{adult, helmet}));
    // A model that the track has no cars of at all is not held back.
    JSON_COMPARE(desk->list.salesItemsForCars({}), (QJsonArray{adult, junior, helmet}));
    desk->prices.pricesByType[-1][1].sum = -5;
    QCOMPARE(desk->list.salesItemsForCars({}).size(), 3);
    desk->prices.currentPriceType = 7;
    QCOMPARE(desk->list.salesItemsForCars({}).first().toObject().value("salesId"), QJsonValue(101));
    desk->prices.currentPriceType = 8;
    JSON_COMPARE(desk->list.salesItemsForCars({}), QJsonArray());
}

void CheckInListSalesTest::availableCars()
{
    desk->list.setAvailableCars(JsonMatch::array(R"([{"name":"Junior","available_for_runs":true},
        {"name":"Junior","available_for_runs":true},{"name":"Junior"},{"name":"Senior","available_for_runs":1}, 5])"));
    QCOMPARE(desk->list.availableCars("Junior"), 2);
    QCOMPARE(desk->list.availableCars("Senior"), 0);
    desk->list.salesItemsForCars({});
    QCOMPARE(desk->list.availableCars("Junior"), 2);
    desk->list.setAvailableCars({});
    QCOMPARE(desk->list.availableCars("Junior"), 0);
}

void CheckInListSalesTest::discounts()
{
    JSON_COMPARE(desk->list.discountsJson(), (QJsonArray{0, "10", "=100", "=0.1"}));
    desk->prices.discounts = {{true, 1234567}};
    JSON_COMPARE(desk->list.discountsJson(), (QJsonArray{0, "=1.23457e+06"}));
}

void CheckInListSalesTest::payMethods()
{
    JSON_COMPARE(desk->list.payMethodsJson(), (QJsonArray{"Наличные", "Карта"}));
}

void CheckInListSalesTest::listsWithoutBook()
{
    desk->list.setPrices(nullptr);
    JSON_COMPARE(desk->list.discountsJson(), QJsonArray{0});
    JSON_COMPARE(desk->list.payMethodsJson(), QJsonArray());
    JSON_COMPARE(desk->list.salesItemsForCars({}), QJsonArray());
}

DESK_TEST_MAIN(CheckInListSalesTest)
#include "tst_checkinlist_sales.moc"
