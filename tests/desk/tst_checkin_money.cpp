#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"

#include <QAction>
#include <QComboBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>

/// What a registration costs and how it is paid: sales, discounts, run counts, codes, methods, the payment itself, the
/// switch of the price block, and the rows that all of it leaves behind. A new desk for each test.
class TestCheckInMoney : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void saleList();
    void saleListWithoutCars();
    void saleListSkipsWorthlessItems();
    void saleListKeepsNoSaleOfABusyModel();
    void saleChosen();
    void saleChosenForAMinor();
    void saleKeepsTheRunCount();
    void saleCleared();
    void saleClearedWhereNoneWas();
    void saleAbandoned();
    void saleLeftWithoutACar();
    void saleWithoutPrices();
    void discountList();
    void discountListMarksTheValue_data();
    void discountListMarksTheValue();
    void discountChosen();
    void discountSums_data();
    void discountSums();
    void discountTyped();
    void discountTypedKeepsTheEditorShut();
    void discountClearedByAChoice();
    void discountOnAMinorIsNotRead();
    void runCountTyped_data();
    void runCountTyped();
    void runCountOfAMinor();
    void runCountEditor();
    void pinCodesPerRun_data();
    void pinCodesPerRun();
    void pinCodesFollowTheRuns();
    void payMethodList();
    void payMethodChosen();
    void payMethodLeftOpen();
    void payMethodWithoutMethods();
    void paidRowDoesNotOpen();

    void payment();
    void paymentTakenBack();
    void paymentOfAFamily();
    void paymentRefused_data();
    void paymentRefused();
    void refusalOrder();
    void refusalLeavesTheLineAlone();
    void paymentAllowed_data();
    void paymentAllowed();
    void minorsStatusCell();
    void paymentLeavesTheJournalsAlone();
    void commentOnAPaidRow();
    void commentOnAnUnpaidRow();
    void commentOfAMinor();

    void priceBlockSwitch();
    void priceBlockSwitchPublishes();
    void priceBlockSwitchLeavesPaidRows();
    void priceBlockSwitchKnowsNoSuchSale();
    void priceBlockAndPayments();
    void priceEditReprices();
    void priceTypesRefilled();
    void clientLists();
    void eventsPerEdit_data();
    void eventsPerEdit();

private:
    std::unique_ptr<Counter> m_counter;

    HostProbe &desk() { return m_counter->desk(); }
    bool open(const QList<QJsonObject> &lines)
    {
        m_counter->seed(lines);
        return m_counter->open();
    }
    double sum(int row = 0) const { return m_counter->at(row, Counter::PaySum).data().toDouble(); }
    QStringList entries(Counter::Column column, int row = 0);
    void turnAway();
    void twoBlocks();
    void switchBlock(const QString &name);
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

QStringList listPublished()
{
    return {QStringLiteral("local_request_answer")};
}

QStringList pricesPublished()
{
    return {QStringLiteral("local_request_answer"), QStringLiteral("update_remote_prices")};
}
const QString Tickets = QStringLiteral("tickets.state");
const QString Error = text("Ошибка");
const QString NoMethod = text("Не указан способ оплаты");
const QString NoSum = text("Не указана сумма");

QJsonObject withKids(QJsonObject line, const QJsonArray &kids)
{
    line.insert(QStringLiteral("kidsList"), kids);
    return line;
}

QJsonObject with(QJsonObject line, const QJsonObject &more)
{
    for (auto it = more.begin(); it != more.end(); ++it)
        line.insert(it.key(), it.value());
    return line;
}

QJsonArray pins(const QJsonValue &line)
{
    return line[QLatin1String("pinCodes")].toArray();
}

} // namespace

void TestCheckInMoney::init()
{
    m_counter = std::make_unique<Counter>();
    m_counter->stockPrices();
}

void TestCheckInMoney::cleanup()
{
    m_counter.reset();
}

// Entries of a combo editor, its current text last.
QStringList TestCheckInMoney::entries(Counter::Column column, int row)
{
    if (!m_counter->edit(m_counter->at(row, column)))
        return {};
    auto *combo = m_counter->editor<QComboBox *>();
    if (!combo)
        return {};
    QStringList list;
    for (int i = 0; i < combo->count(); ++i)
        list.append(combo->itemText(i));
    list.append(QLatin1Char('>') + combo->currentText());
    combo->hidePopup();
    QTest::keyClick(combo, Qt::Key_Escape);
    QCoreApplication::processEvents();
    return list;
}

// The cashier turns from the open editor of a cell to another place of the desk.
void TestCheckInMoney::turnAway()
{
    auto *combo = m_counter->editor<QComboBox *>();
    combo->hidePopup();
    QVERIFY(combo->isVisible() && combo->hasFocus());
    desk().find<QWidget *>(QStringLiteral("bAddRacer"))->setFocus();
    QCoreApplication::processEvents();
}

// "Взрослый" and "Детский" cost 500 and 300 on weekdays, 700 and 400 on holidays.
void TestCheckInMoney::twoBlocks()
{
    TempTrack &track = m_counter->track();
    const int type = track.addPriceType(text("Праздник"));
    track.addPriceItem(
        {text("Взрослый"), 700, text("Sodi"), text("#ff8000"), type, m_counter->priceId(text("Взрослый"))});
    track.addPriceItem(
        {text("Детский"), 400, text("Rimo"), text("#00ffff"), type, m_counter->priceId(text("Детский"))});
}

void TestCheckInMoney::switchBlock(const QString &name)
{
    auto *combo = desk().find<QComboBox *>(QStringLiteral("cbPricesNames"));
    const int row = combo->findText(name);
    QVERIFY(row >= 0);
    combo->setFocus();
    while (combo->currentIndex() != row)
        QTest::keyClick(combo, combo->currentIndex() < row ? Qt::Key_Down : Qt::Key_Up);
}

void TestCheckInMoney::saleList()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->sendCars();
    const QStringList all{QStringLiteral("--"), text("Без карта"), text("Взрослый"), text("Детский")};
    QCOMPARE(entries(Counter::SalesItem, 0), all + QStringList{QStringLiteral(">--")});
    QCOMPARE(entries(Counter::SalesItem, 1), all + QStringList{text(">Взрослый")});

    QVERIFY(m_counter->edit(m_counter->at(0, Counter::SalesItem)));
    auto *combo = m_counter->editor<QComboBox *>();
    QVERIFY(!combo->isEditable());
    QVERIFY2(combo->view()->isVisible(), "the list opens with the editor");
    QCOMPARE(combo->maxVisibleItems(), 10);
    QCOMPARE(combo->itemData(0).toInt(), -1);
    QCOMPARE(combo->itemData(2).toInt(), m_counter->priceId(text("Взрослый")));
    QCOMPARE(combo->geometry(), m_counter->cell(m_counter->at(0, Counter::SalesItem)));
    combo->hidePopup();
}

void TestCheckInMoney::saleListWithoutCars()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    QCOMPARE(entries(Counter::SalesItem),
             (QStringList{QStringLiteral("--"), text("Без карта"), QStringLiteral(">--")}));
    desk().send(QStringLiteral("cars_list_changed"), object(R"({"cars": [{"name": "Sodi", "available_for_runs": false},
        {"name": "Rimo", "available_for_runs": true}]})"));
    QCOMPARE(entries(Counter::SalesItem),
             (QStringList{QStringLiteral("--"), text("Без карта"), text("Детский"), QStringLiteral(">--")}));
    // The list is counted anew each time.
    desk().send(QStringLiteral("cars_list_changed"),
                object(R"({"cars": [{"name": "Sodi", "available_for_runs": true}]})"));
    QCOMPARE(entries(Counter::SalesItem),
             (QStringList{QStringLiteral("--"), text("Без карта"), text("Взрослый"), QStringLiteral(">--")}));
}

void TestCheckInMoney::saleListSkipsWorthlessItems()
{
    m_counter->track().addPriceItem({text("Даром"), 0});
    m_counter->track().addPriceItem({QString(), 50});
    m_counter->track().addPriceItem({text("Долг"), -5});
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    QCOMPARE(entries(Counter::SalesItem),
             (QStringList{QStringLiteral("--"), text("Без карта"), QStringLiteral(">--")}));
}

void TestCheckInMoney::saleListKeepsNoSaleOfABusyModel()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QCOMPARE(m_counter->shown(0, Counter::SalesItem), text("Взрослый"));
    QCOMPARE(entries(Counter::SalesItem),
             (QStringList{QStringLiteral("--"), text("Без карта"), QStringLiteral(">--")}));
    QCOMPARE(m_counter->shown(0, Counter::SalesItem), text("Взрослый"));
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInMoney::saleChosen()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}")), Counter::ticket(QStringLiteral("{b}"))}));
    m_counter->sendCars();
    m_counter->track().removeJournal(Tickets);
    QVERIFY(m_counter->pick(m_counter->at(1, Counter::SalesItem), text("Взрослый")));
    QCOMPARE(desk().names(), listPublished());
    const int id = m_counter->priceId(text("Взрослый"));
    JSON_CONTAINS(m_counter->published().at(1),
                  with(object(R"({"uuid": "{b}", "salesItem": "Взрослый", "carModel": "Sodi",
        "price": 500, "runCount": 1, "paySum": 500, "color": "#ff8000", "priceType": -1})"),
                       {{QStringLiteral("salesId"), id}, {QStringLiteral("salesCommonId"), id}}));
    QCOMPARE(pins(m_counter->published().at(1)).size(), 1);
    QVERIFY(m_counter->track().hasJournal(Tickets));
    JSON_CONTAINS(m_counter->stored().at(1), object(R"({"salesItem": "Взрослый", "paySum": 500})"));
    QCOMPARE(m_counter->tree()->hasFocus(), true);
    QCOMPARE(m_counter->paymentCount(), 0);
}

void TestCheckInMoney::saleChosenForAMinor()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    m_counter->sendCars();
    QVERIFY(m_counter->pick(m_counter->kidAt(0, 0, Counter::SalesItem), text("Детский")));
    QCOMPARE(desk().names(), listPublished());
    QCOMPARE(sum(), 1300.0);
    JSON_CONTAINS(m_counter->published(), array(R"([{"uuid": "{a}", "paySum": 1300, "price": 500, "subItems": [
        {"uuid": "{k}", "salesItem": "Детский", "carModel": "Rimo", "price": 300, "runCount": 1, "paySum": 0}]}])"));
}

void TestCheckInMoney::saleKeepsTheRunCount()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("runCount"), 4}})}));
    m_counter->sendCars();
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), text("Детский")));
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"salesItem": "Детский", "runCount": 4, "paySum": 1200})"));
}

void TestCheckInMoney::saleCleared()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->sendCars();
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), QStringLiteral("--")));
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published().at(0),
                  object(R"({"salesItem": "", "salesId": -1, "salesCommonId": -1, "carModel": "",
        "price": 0, "runCount": 0, "paySum": 0, "color": "#00000000"})"));
    QCOMPARE(pins(m_counter->published().at(0)).size(), 1);
    JSON_CONTAINS(m_counter->stored().at(0), object(R"({"color": "#ffffff"})"));
}

void TestCheckInMoney::saleClearedWhereNoneWas()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), QStringLiteral("--")));
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"salesItem": "", "runCount": 0, "paySum": 0})"));
}

void TestCheckInMoney::saleAbandoned()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->sendCars();
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::SalesItem)));
    auto *combo = m_counter->editor<QComboBox *>();
    QTest::keyClick(combo->view(), Qt::Key_Escape);
    QTest::keyClick(combo, Qt::Key_Escape);
    QCoreApplication::processEvents();
    QVERIFY(!m_counter->editor());
    QCOMPARE(desk().names(), QStringList());
    JSON_CONTAINS(m_counter->line(0), object(R"({"salesItem": "Взрослый", "runCount": 2})"));
}

// No car of the model is left, so the list has no entry for the line's sale: who looks and turns away has taken "--".
void TestCheckInMoney::saleLeftWithoutACar()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::SalesItem)));
    QCOMPARE(m_counter->editor<QComboBox *>()->currentText(), QStringLiteral("--"));
    turnAway();
    QVERIFY(!m_counter->editor());
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published(), array(R"([{"uuid": "{a}", "salesItem": "", "salesId": -1, "carModel": "",
        "price": 0, "runCount": 0, "paySum": 0}, {"uuid": "{b}", "salesItem": "Взрослый", "runCount": 2}])"));
    QCOMPARE(pins(m_counter->published().at(0)).size(), 1);
}

void TestCheckInMoney::saleWithoutPrices()
{
    m_counter.reset();
    m_counter = std::make_unique<Counter>();
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    QCOMPARE(entries(Counter::SalesItem), (QStringList{QStringLiteral("--"), QStringLiteral(">--")}));
    QCOMPARE(entries(Counter::Discount), (QStringList{QStringLiteral("--"), QStringLiteral(">0")}));
    QCOMPARE(entries(Counter::PayMethod), QStringList{QStringLiteral(">")});
}

void TestCheckInMoney::discountList()
{
    m_counter->track().setDiscounts(
        {text("10"), text("=200"), text("=12.5"), text("7.5"), text("=x"), text("1000000")});
    QVERIFY(
        open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("discountValue"), QStringLiteral("=200")}})}));
    // What is no whole percentage counts as none.
    QCOMPARE(entries(Counter::Discount),
             (QStringList{QStringLiteral("--"), QStringLiteral("10"), QStringLiteral("=200"), QStringLiteral("=12.5"),
                          QStringLiteral("0"), QStringLiteral("=0"), QStringLiteral("1e+06"),
                          QStringLiteral(">=200")}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Discount)));
    QVERIFY(m_counter->editor<QComboBox *>()->isEditable());
    QVERIFY(m_counter->editor<QComboBox *>()->view()->isVisible());
    m_counter->editor<QComboBox *>()->hidePopup();
}

void TestCheckInMoney::discountListMarksTheValue_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("text");
    QTest::newRow("percent") << QStringLiteral("50") << 2 << QStringLiteral("50");
    QTest::newRow("fixed") << QStringLiteral("=200") << 3 << QStringLiteral("=200");
    QTest::newRow("foreign") << QStringLiteral("33") << 0 << QStringLiteral("33");
    QTest::newRow("none") << QStringLiteral("--") << 0 << QStringLiteral("--");
}

void TestCheckInMoney::discountListMarksTheValue()
{
    QFETCH(QString, value);
    QFETCH(int, row);
    QFETCH(QString, text);
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("discountValue"), value}})}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Discount)));
    auto *combo = m_counter->editor<QComboBox *>();
    QCOMPARE(combo->currentIndex(), row);
    QCOMPARE(combo->currentText(), text);
    combo->hidePopup();
}

void TestCheckInMoney::discountChosen()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->track().removeJournal(Tickets);
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::Discount), QStringLiteral("10")));
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"discountValue": "10", "paySum": 900})"));
    JSON_CONTAINS(m_counter->stored().at(0), object(R"({"discountValue": "10", "paySum": 900})"));
    QCOMPARE(m_counter->shown(0, Counter::Discount), QStringLiteral("10%"));
    QCOMPARE(sum(), 900.0);
    QVERIFY(m_counter->tree()->hasFocus());
    // A choice from the list leaves nothing behind: the next Return opens the editor.
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Discount));
    QTest::keyClick(m_counter->tree(), Qt::Key_Return);
    QVERIFY(m_counter->editor<QComboBox *>());
    m_counter->editor<QComboBox *>()->hidePopup();
}

void TestCheckInMoney::discountSums_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<double>("sum");
    // Three runs at 500 and two of a minor at 300.
    QTest::newRow("0") << QStringLiteral("0") << 2100.0;
    QTest::newRow("10 percent") << QStringLiteral("10") << 1890.0;
    QTest::newRow("50 percent") << QStringLiteral("50") << 1050.0;
    QTest::newRow("100 percent") << QStringLiteral("100") << 0.0;
    QTest::newRow("150 percent") << QStringLiteral("150") << -1050.0;
    QTest::newRow("surcharge") << QStringLiteral("-10") << 2310.0;
    QTest::newRow("12.5 percent") << QStringLiteral("12.5") << 1837.5;
    QTest::newRow("0.1 percent") << QStringLiteral("0.1") << (100.0 - double(0.1F)) * 2100.0 / 100.0;
    QTest::newRow("with a percent sign") << QStringLiteral("10%") << 1890.0;
    QTest::newRow("with a blank before") << QStringLiteral(" 10") << 1890.0;
    QTest::newRow("letters behind") << QStringLiteral("10abc") << 1890.0;
    QTest::newRow("comma") << QStringLiteral("12,5") << (100.0 - 12.0) * 2100.0 / 100.0;
    QTest::newRow("letters") << QStringLiteral("abc") << 2100.0;
    QTest::newRow("nothing") << QString() << 2100.0;
    QTest::newRow("--") << QStringLiteral("--") << 2100.0;
    QTest::newRow("fixed: the racer's own runs only") << QStringLiteral("=100") << 1800.0;
    QTest::newRow("fixed beyond the sum") << QStringLiteral("=1000") << -900.0;
    QTest::newRow("fixed surcharge") << QStringLiteral("=-100") << 2400.0;
    QTest::newRow("fixed, in single precision") << QStringLiteral("=0.1") << 2100.0 - double(3.0F * 0.1F);
    QTest::newRow("fixed with a blank") << QStringLiteral("= 100") << 1800.0;
    QTest::newRow("fixed letters") << QStringLiteral("=x") << 2100.0;
    QTest::newRow("fixed nothing") << QStringLiteral("=") << 2100.0;
    QTest::newRow("blank before the sign") << QStringLiteral(" =100") << 2100.0;
}

void TestCheckInMoney::discountSums()
{
    QFETCH(QString, typed);
    QFETCH(double, sum);
    m_counter->track().setDiscounts({}); // the editor completes what begins like one of its entries
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("runCount"), 3}}),
                           {Counter::ticket(QStringLiteral("{k}"), object(R"({"price": 300, "runCount": 2})"))})}));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Discount), typed));
    QCOMPARE(this->sum(), sum);
    JSON_CONTAINS(m_counter->line(0),
                  (QJsonObject{{QStringLiteral("discountValue"), typed}, {QStringLiteral("paySum"), sum}}));
    QCOMPARE(m_counter->kidAt(0, 0, Counter::PaySum).data().toDouble(), 600.0);
}

void TestCheckInMoney::discountTyped()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Discount), QStringLiteral("=200")));
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"discountValue": "=200", "paySum": 600})"));
    QCOMPARE(m_counter->shown(0, Counter::Discount), QStringLiteral("=200"));
}

// The Return that ends the typing is the last thing of that editor; the one after it opens it again.
void TestCheckInMoney::discountTypedKeepsTheEditorShut()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Discount), QStringLiteral("=200")));
    HostProbe::settle();
    QVERIFY(!m_counter->editor());
    QVERIFY(m_counter->tree()->hasFocus());
    QTest::keyClick(m_counter->tree(), Qt::Key_Return);
    QVERIFY(m_counter->editor<QComboBox *>());
    QCOMPARE(m_counter->editor<QComboBox *>()->currentText(), QStringLiteral("=200"));
    m_counter->editor<QComboBox *>()->hidePopup();
}

void TestCheckInMoney::discountClearedByAChoice()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("discountValue"), QStringLiteral("50")}})}));
    QCOMPARE(sum(), 500.0);
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::Discount), QStringLiteral("--")));
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"discountValue": "--", "paySum": 1000})"));
    QCOMPARE(m_counter->shown(0, Counter::Discount), QString());
}

void TestCheckInMoney::discountOnAMinorIsNotRead()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")),
                           {Counter::ticket(QStringLiteral("{k}"),
                                            object(R"({"price": 300, "runCount": 2, "discountValue": "50"})"))})}));
    QCOMPARE(sum(), 1600.0);
    QVERIFY(!m_counter->edit(m_counter->kidAt(0, 0, Counter::Discount)));
    m_counter->click(m_counter->kidAt(0, 0, Counter::Discount));
    QVERIFY(!m_counter->editor());
}

void TestCheckInMoney::runCountTyped_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("sale");
    QTest::addColumn<int>("count");
    QTest::newRow("5") << QStringLiteral("5") << true << 5;
    QTest::newRow("50") << QStringLiteral("50") << true << 50;
    QTest::newRow("51") << QStringLiteral("51") << true << 50;
    QTest::newRow("70") << QStringLiteral("70") << true << 50;
    QTest::newRow("-3") << QStringLiteral("-3") << true << 0;
    QTest::newRow("0") << QStringLiteral("0") << true << 0;
    QTest::newRow("5 without a sale") << QStringLiteral("5") << false << 0;
    QTest::newRow("70 without a sale") << QStringLiteral("70") << false << 0;
}

void TestCheckInMoney::runCountTyped()
{
    QFETCH(QString, typed);
    QFETCH(bool, sale);
    QFETCH(int, count);
    QVERIFY(open({sale ? m_counter->sold(QStringLiteral("{a}")) : Counter::ticket(QStringLiteral("{a}"))}));
    m_counter->track().removeJournal(Tickets);
    QSignalSpy layout(m_counter->model(),
                      SIGNAL(layoutChanged(QList<QPersistentModelIndex>, QAbstractItemModel::LayoutChangeHint)));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::RunCount), typed));
    QVERIFY(layout.count() > 0);
    QCOMPARE(desk().names(), listPublished());
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(count));
    QCOMPARE(sum(), sale ? count * 500.0 : 0.0);
    JSON_CONTAINS(m_counter->published().at(0), (QJsonObject{{QStringLiteral("runCount"), count}}));
    QCOMPARE(pins(m_counter->published().at(0)).size(), qMax(count, 1));
    QVERIFY(m_counter->track().hasJournal(Tickets));
}

void TestCheckInMoney::runCountOfAMinor()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")),
                           {m_counter->sold(QStringLiteral("{k}"), object(R"({"salesItem": "Детский", "price": 300,
                           "regTime": 4102444800})"))})}));
    QVERIFY(m_counter->type(m_counter->kidAt(0, 0, Counter::RunCount), QStringLiteral("4")));
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published(), array(R"([{"runCount": 2, "paySum": 2200,
        "subItems": [{"runCount": 4, "paySum": 0, "regTime": 0}]}])"));
    QCOMPARE(m_counter->kidAt(0, 0, Counter::PaySum).data().toDouble(), 1200.0);
}

void TestCheckInMoney::runCountEditor()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::RunCount)));
    auto *spin = m_counter->editor<QSpinBox *>();
    QVERIFY(spin);
    QCOMPARE(spin->value(), 2);
    QTest::keyClick(spin, Qt::Key_Escape);
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Comment)));
    QVERIFY(m_counter->editor<QLineEdit *>());
}

void TestCheckInMoney::pinCodesPerRun_data()
{
    QTest::addColumn<QString>("runs");
    QTest::addColumn<int>("count");
    QTest::newRow("one run") << QStringLiteral("1") << 1;
    QTest::newRow("five runs") << QStringLiteral("5") << 5;
    QTest::newRow("no run") << QStringLiteral("0") << 1;
    QTest::newRow("fifty runs") << QStringLiteral("99") << 50;
}

void TestCheckInMoney::pinCodesPerRun()
{
    QFETCH(QString, runs);
    QFETCH(int, count);
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::RunCount), runs));
    const QJsonArray codes = pins(m_counter->published().at(0));
    QCOMPARE(codes.size(), count);
    for (const QJsonValue &code : codes) {
        QCOMPARE(code, codes.at(0));
        QCOMPARE(code.toString().size(), 4);
    }
}

void TestCheckInMoney::pinCodesFollowTheRuns()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), object(R"({"runCount": 2, "pinCodes": ["0101", "0202"]})"))}));
    m_counter->sendCars();
    // A new sale with the same number of runs keeps the codes that were given out.
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), text("Детский")));
    JSON_COMPARE(pins(m_counter->published().at(0)), array(R"(["0101", "0202"])"));
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), QStringLiteral("--")));
    QCOMPARE(pins(m_counter->published().at(0)).size(), 1);
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), text("Детский")));
    QCOMPARE(pins(m_counter->published().at(0)).size(), 1);
}

void TestCheckInMoney::payMethodList()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), Counter::ticket(QStringLiteral("{b}")),
                  m_counter->sold(QStringLiteral("{c}"), {{QStringLiteral("payMethod"), text("Чек")}})}));
    const QStringList methods{text("Наличные"), text("Карта")};
    QCOMPARE(entries(Counter::PayMethod, 0), methods + QStringList{text(">Карта")});
    QCOMPARE(entries(Counter::PayMethod, 1).mid(0, 2), methods);
    QCOMPARE(entries(Counter::PayMethod, 2).mid(0, 2), methods);
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::PayMethod)));
    QVERIFY(!m_counter->editor<QComboBox *>()->isEditable());
    QVERIFY(m_counter->editor<QComboBox *>()->view()->isVisible());
    m_counter->editor<QComboBox *>()->hidePopup();
}

void TestCheckInMoney::payMethodChosen()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->track().removeJournal(Tickets);
    QSignalSpy changed(m_counter->model(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::PayMethod), text("Наличные")));
    QVERIFY(changed.count() > 0);
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published().at(0), (QJsonObject{{QStringLiteral("payMethod"), text("Наличные")}}));
    JSON_CONTAINS(m_counter->stored().at(0), (QJsonObject{{QStringLiteral("payMethod"), text("Наличные")}}));
    QCOMPARE(m_counter->shown(0, Counter::PayMethod), text("Наличные"));
    QCOMPARE(m_counter->paymentCount(), 0);
}

// The list shows its first method where the line has none: who looks and turns away has chosen it.
void TestCheckInMoney::payMethodLeftOpen()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("payMethod"), QString()}}),
                  m_counter->sold(QStringLiteral("{b}"))}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::PayMethod)));
    turnAway();
    QVERIFY(!m_counter->editor());
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published(),
                  array(R"([{"uuid": "{a}", "payMethod": "Наличные"}, {"uuid": "{b}", "payMethod": "Карта"}])"));
    // A method that the line has stays.
    QVERIFY(m_counter->edit(m_counter->at(1, Counter::PayMethod)));
    turnAway();
    JSON_CONTAINS(m_counter->line(1), (QJsonObject{{QStringLiteral("payMethod"), text("Карта")}}));
}

void TestCheckInMoney::payMethodWithoutMethods()
{
    m_counter->track().setPayMethods({});
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QCOMPARE(entries(Counter::PayMethod), QStringList{QStringLiteral(">")});
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::PayMethod)));
    desk().find<QWidget *>(QStringLiteral("bAddRacer"))->setFocus();
    QCoreApplication::processEvents();
    JSON_CONTAINS(m_counter->line(0), (QJsonObject{{QStringLiteral("payMethod"), text("Карта")}}));
}

void TestCheckInMoney::paidRowDoesNotOpen()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})")),
                           {Counter::ticket(QStringLiteral("{k}"))})}));
    for (const Counter::Column column : {Counter::Discount, Counter::PayMethod}) {
        m_counter->click(m_counter->at(0, column));
        QVERIFY(!m_counter->editor());
        m_counter->click(m_counter->kidAt(0, 0, column));
        QVERIFY(!m_counter->editor());
    }
}

void TestCheckInMoney::payment()
{
    QVERIFY(
        open({m_counter->sold(QStringLiteral("{a}"), object(R"({"firstName": "Пётр", "midName": "Ильич", "clientId": 77,
        "discountValue": "10", "comment": "у борта"})"))}));
    QSignalSpy changed(m_counter->model(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    m_counter->click(m_counter->at(0, Counter::PayState));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    const QVariantMap &row = rows.first();
    QCOMPARE(row.value(QStringLiteral("racer_guid")).toString(), QStringLiteral("{a}"));
    QCOMPARE(row.value(QStringLiteral("client_id")).toInt(), 77);
    QCOMPARE(row.value(QStringLiteral("last_name")).toString(), QStringLiteral("{a}"));
    QCOMPARE(row.value(QStringLiteral("first_name")).toString(), text("Пётр"));
    QCOMPARE(row.value(QStringLiteral("mid_name")).toString(), text("Ильич"));
    QCOMPARE(row.value(QStringLiteral("sum")).toDouble(), 900.0);
    QCOMPARE(row.value(QStringLiteral("tariff")).toDouble(), 500.0);
    QCOMPARE(row.value(QStringLiteral("discount")).toString(), QStringLiteral("10"));
    QCOMPARE(row.value(QStringLiteral("pay_state")).toInt(), 1);
    QCOMPARE(row.value(QStringLiteral("pay_kind")).toString(), text("Карта"));
    QCOMPARE(row.value(QStringLiteral("car_model")).toString(), QStringLiteral("Sodi"));
    QCOMPARE(row.value(QStringLiteral("tickets_count")).toInt(), 2);
    QCOMPARE(row.value(QStringLiteral("comment")).toString(), text("у борта"));
    QCOMPARE(row.value(QStringLiteral("price_id")).toInt(), m_counter->priceId(text("Взрослый")));
    QCOMPARE(row.value(QStringLiteral("price_type")).toInt(), -1);
    QCOMPARE(row.value(QStringLiteral("cashier_id")).toInt(), -1);
    QCOMPARE(row.value(QStringLiteral("remote_updated")).toInt(), 0);
    QDateTime date = QDateTime::fromString(row.value(QStringLiteral("pay_date")).toString().left(19), Qt::ISODate);
    date.setTimeSpec(Qt::UTC);
    QVERIFY(date.isValid());
    QVERIFY(date >= before.addSecs(-1) && date <= QDateTime::currentDateTimeUtc());

    QCOMPARE(desk().names(), QStringList());
    bool wholeRow = false;
    for (const QList<QVariant> &signal : qAsConst(changed)) {
        if (signal.at(0).toModelIndex().column() == 0
            && signal.at(1).toModelIndex().column() == Counter::ColumnCount - 1)
            wholeRow = true;
    }
    QVERIFY(wholeRow);
    JSON_CONTAINS(m_counter->line(0), object(R"({"payState": true})"));
}

void TestCheckInMoney::paymentTakenBack()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->click(m_counter->at(0, Counter::PayState));
    QCOMPARE(m_counter->payments(1).value(0).value(QStringLiteral("pay_state")).toInt(), 1);
    m_counter->click(m_counter->at(0, Counter::PayState));
    QTRY_COMPARE(m_counter->track().value(QStringLiteral("SELECT pay_state FROM payments")).toInt(), 0);
    QCOMPARE(m_counter->paymentCount(), 1);
    QCOMPARE(desk().names(), QStringList());
    JSON_CONTAINS(m_counter->line(0), object(R"({"payState": false})"));
}

void TestCheckInMoney::paymentOfAFamily()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")),
                           {Counter::ticket(QStringLiteral("{k}"), object(R"({"price": 300, "runCount": 3})"))})}));
    m_counter->click(m_counter->at(0, Counter::PayState));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 1900.0);
    QCOMPARE(rows.first().value(QStringLiteral("tickets_count")).toInt(), 2);
    QVERIFY(m_counter->kidAt(0, 0, Counter::Name).flags() & Qt::ItemIsDragEnabled);
}

void TestCheckInMoney::paymentRefused_data()
{
    QTest::addColumn<QJsonObject>("line");
    QTest::addColumn<QString>("message");
    QTest::newRow("no method") << object(R"({"payMethod": ""})") << NoMethod;
    QTest::newRow("no method and no sum") << object(R"({"payMethod": "", "price": 0})") << NoMethod;
    QTest::newRow("no method at 100 percent") << object(R"({"payMethod": "", "discountValue": "100"})") << NoMethod;
    QTest::newRow("no sum") << object(R"({"price": 0})") << NoSum;
    QTest::newRow("no runs") << object(R"({"runCount": 0})") << NoSum;
    QTest::newRow("50 percent of nothing") << object(R"({"price": 0, "discountValue": "50"})") << NoSum;
    QTest::newRow("the whole sum as a fixed discount") << object(R"({"discountValue": "=500"})") << NoSum;
}

void TestCheckInMoney::paymentRefused()
{
    QFETCH(QJsonObject, line);
    QFETCH(QString, message);
    // A sale that the price list does not know keeps its price.
    line.insert(QStringLiteral("salesItem"), text("Снято с продажи"));
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), line)}));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok);
    m_counter->click(m_counter->at(0, Counter::PayState));
    MODAL_VERIFY(answer);
    QCOMPARE(facts.title, Error);
    QCOMPARE(facts.text, message);
    QCOMPARE(facts.icon, int(QMessageBox::Warning));
    QCOMPARE(facts.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(desk().names(), QStringList{QStringLiteral("write_sys_log")});
    JSON_COMPARE(desk().last(QStringLiteral("write_sys_log")),
                 (QJsonObject{{QStringLiteral("logStr"), QStringLiteral("ticket_plugin_error")},
                              {QStringLiteral("logData"), QJsonObject{{QStringLiteral("msg"), message}}}}));
    QCOMPARE(m_counter->paymentCount(), 0);
    JSON_CONTAINS(m_counter->line(0), object(R"({"payState": false})"));
}

void TestCheckInMoney::refusalOrder()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), object(R"({"payMethod": ""})"))}));
    BoxFacts facts;
    QStringList meanwhile;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok, [&] { meanwhile = desk().names(); });
    m_counter->click(m_counter->at(0, Counter::PayState));
    MODAL_VERIFY(answer);
    QCOMPARE(meanwhile, QStringList());
    QCOMPARE(desk().names(), QStringList{QStringLiteral("write_sys_log")});
}

void TestCheckInMoney::refusalLeavesTheLineAlone()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), object(R"({"salesItem": "Снято с продажи", "price": 0,
        "regTime": 4102444800})"))}));
    QJsonObject expected = m_counter->line(0);
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok);
    m_counter->click(m_counter->at(0, Counter::PayState));
    MODAL_VERIFY(answer);
    expected.insert(QStringLiteral("regTime"), 0);
    JSON_COMPARE(m_counter->line(0), expected);
}

void TestCheckInMoney::paymentAllowed_data()
{
    QTest::addColumn<QJsonObject>("line");
    QTest::addColumn<double>("sum");
    QTest::newRow("100 percent") << object(R"({"discountValue": "100"})") << 0.0;
    QTest::newRow("100 percent of nothing") << object(R"({"discountValue": "100", "price": 0})") << 0.0;
    QTest::newRow("negative sum") << object(R"({"discountValue": "=700"})") << -400.0;
}

void TestCheckInMoney::paymentAllowed()
{
    QFETCH(QJsonObject, line);
    QFETCH(double, sum);
    line.insert(QStringLiteral("salesItem"), text("Снято с продажи"));
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), line)}));
    m_counter->click(m_counter->at(0, Counter::PayState));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), sum);
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInMoney::minorsStatusCell()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok);
    m_counter->click(m_counter->kidAt(0, 0, Counter::PayState));
    MODAL_VERIFY(answer);
    QCOMPARE(facts.text, NoMethod);
    JSON_CONTAINS(m_counter->line(0), object(R"({"payState": false, "kidsList": [{"payState": false}]})"));
}

// What was paid is in the database; the journal learns of it with the next publication.
void TestCheckInMoney::paymentLeavesTheJournalsAlone()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->track().removeJournal(Tickets);
    m_counter->click(m_counter->at(0, Counter::PayState));
    QCOMPARE(m_counter->payments(1).size(), 1);
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Comment), QStringLiteral("x")));
    QTRY_COMPARE(m_counter->track().value(QStringLiteral("SELECT comment FROM payments")).toString(),
                 QStringLiteral("x"));
    QVERIFY(!m_counter->track().hasJournal(Tickets));
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInMoney::commentOnAPaidRow()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->click(m_counter->at(0, Counter::PayState));
    QCOMPARE(m_counter->payments(1).size(), 1);
    m_counter->track().query(QStringLiteral("UPDATE payments SET cashier_id=5, remote_updated=1"));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Comment), text("вернёт завтра")));
    QTRY_COMPARE(m_counter->track().value(QStringLiteral("SELECT comment FROM payments")).toString(),
                 text("вернёт завтра"));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("pay_state")).toInt(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 1000.0);
    QCOMPARE(rows.first().value(QStringLiteral("cashier_id")).toInt(), 5);
    QCOMPARE(rows.first().value(QStringLiteral("remote_updated")).toInt(), 0);
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(m_counter->shown(0, Counter::Comment), text("вернёт завтра"));
}

void TestCheckInMoney::commentOnAnUnpaidRow()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("payMethod"), QString()}})}));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Comment), text("ждёт")));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("pay_state")).toInt(), 0);
    QCOMPARE(rows.first().value(QStringLiteral("comment")).toString(), text("ждёт"));
    QCOMPARE(rows.first().value(QStringLiteral("pay_kind")).toString(), QString());
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 1000.0);
    QCOMPARE(rows.first().value(QStringLiteral("cashier_id")).toInt(), -1);
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInMoney::commentOfAMinor()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    QVERIFY(m_counter->type(m_counter->kidAt(0, 0, Counter::Comment), text("малыш")));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("racer_guid")).toString(), QStringLiteral("{k}"));
    QCOMPARE(rows.first().value(QStringLiteral("price_id")).toInt(), -1);
}

void TestCheckInMoney::priceBlockSwitch()
{
    twoBlocks();
    QVERIFY(open(
        {withKids(m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("discountValue"), QStringLiteral("10")}}),
                  {m_counter->sold(QStringLiteral("{k}"), {{QStringLiteral("salesItem"), text("Детский")},
                                                           {QStringLiteral("price"), 300}})})}));
    QCOMPARE(sum(), 1440.0);
    switchBlock(text("Праздник"));
    QCOMPARE(sum(), 0.9 * (2 * 700 + 2 * 400));
    const QJsonObject line = m_counter->line(0);
    JSON_CONTAINS(line,
                  object(
                      R"({"price": 700, "runCount": 2, "discountValue": "10", "priceType": 1, "salesItem": "Взрослый",
        "kidsList": [{"price": 400, "runCount": 2, "salesItem": "Детский", "carModel": "Rimo"}]})"));
    // The sale is now that of the block: its own row, the same common one.
    QCOMPARE(line.value(QLatin1String("salesId")).toInt(), 4);
    QCOMPARE(line.value(QLatin1String("salesCommonId")).toInt(), m_counter->priceId(text("Взрослый")));
    switchBlock(text("Основные"));
    QCOMPARE(sum(), 1440.0);
}

void TestCheckInMoney::priceBlockSwitchPublishes()
{
    twoBlocks();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->sendCars();
    m_counter->track().removeJournal(Tickets);
    switchBlock(text("Праздник"));
    QCOMPARE(desk().names(), pricesPublished());
    JSON_COMPARE(desk().last(QStringLiteral("local_request_answer")), object(R"({
        "priceList": [
            {"model": "Sodi", "salesItem": "Взрослый", "salesId": 4, "salesCommonId": 1, "color": "#ff8000", "price": 700},
            {"model": "Rimo", "salesItem": "Детский", "salesId": 5, "salesCommonId": 2, "color": "#00ffff", "price": 400}],
        "priceTypes": {"names": ["Основные", "Праздник"], "currentIndex": 1}})"));
    JSON_COMPARE(desk().last(QStringLiteral("update_remote_prices")), object(R"({"priceKind": "Праздник", "prices": [
        {"salesId": 4, "salesCommonId": 1, "salesItem": "Взрослый", "carModel": "Sodi", "price": 700, "color": "#ff8000",
         "availRules": "", "remoteAvail": 1},
        {"salesId": 5, "salesCommonId": 2, "salesItem": "Детский", "carModel": "Rimo", "price": 400, "color": "#00ffff",
         "availRules": "", "remoteAvail": 1}]})"));
    QVERIFY(!m_counter->track().hasJournal(Tickets));
}

void TestCheckInMoney::priceBlockSwitchLeavesPaidRows()
{
    twoBlocks();
    const QJsonObject paid = object(R"({"payState": true})");
    QVERIFY(
        open({withKids(m_counter->sold(QStringLiteral("{paid}"), paid), {m_counter->sold(QStringLiteral("{k}"))}),
              withKids(m_counter->sold(QStringLiteral("{unpaid}")), {m_counter->sold(QStringLiteral("{k2}"), paid)})}));
    switchBlock(text("Праздник"));
    QCOMPARE(sum(0), 2000.0);
    QCOMPARE(sum(1), 2800.0);
    JSON_CONTAINS(m_counter->line(0),
                  object(R"({"price": 500, "salesId": 1, "kidsList": [{"price": 500, "salesId": 1}]})"));
    JSON_CONTAINS(m_counter->line(1),
                  object(R"({"price": 700, "salesId": 4, "kidsList": [{"price": 700, "salesId": 4}]})"));
}

void TestCheckInMoney::priceBlockSwitchKnowsNoSuchSale()
{
    twoBlocks();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("salesItem"), text("Без карта")},
                                                          {QStringLiteral("price"), 100},
                                                          {QStringLiteral("salesId"), 3}}),
                  Counter::ticket(QStringLiteral("{b}"))}));
    switchBlock(text("Праздник"));
    JSON_CONTAINS(m_counter->line(0),
                  object(R"({"price": 100, "salesId": 3, "salesItem": "Без карта", "paySum": 200})"));
    JSON_CONTAINS(m_counter->line(1), object(R"({"price": 0, "salesId": -1, "salesItem": "", "runCount": 0})"));
}

void TestCheckInMoney::priceBlockAndPayments()
{
    twoBlocks();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    switchBlock(text("Праздник"));
    m_counter->click(m_counter->at(0, Counter::PayState));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("price_type")).toInt(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("price_id")).toInt(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("tariff")).toDouble(), 700.0);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 1400.0);
}

// An edit of the price list on the settings page reaches the counter at once.
void TestCheckInMoney::priceEditReprices()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")),
                  m_counter->sold(QStringLiteral("{paid}"), object(R"({"payState": true})"))}));
    const QWidget *page = desk().settingsPage();
    QVERIFY(page);
    const auto *table = page->findChild<QAbstractItemView *>();
    const QList<QTreeView *> views = page->findChildren<QTreeView *>();
    QVERIFY(table && !views.isEmpty());
    QAbstractItemModel *prices = views.first()->model();
    int row = -1;
    for (int i = 0; i < prices->rowCount(); ++i) {
        if (prices->index(i, 1).data().toString() == text("Взрослый"))
            row = i;
    }
    QVERIFY(row >= 0);
    QVERIFY(prices->setData(prices->index(row, 3), 550));
    QCOMPARE(desk().names(), pricesPublished());
    QCOMPARE(sum(0), 1100.0);
    QCOMPARE(sum(1), 1000.0);
    // A renamed item is no longer the one that was sold.
    QVERIFY(prices->setData(prices->index(row, 1), text("Взрослые")));
    QVERIFY(prices->setData(prices->index(row, 3), 600));
    QCOMPARE(sum(0), 1100.0);
}

void TestCheckInMoney::priceTypesRefilled()
{
    twoBlocks();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    switchBlock(text("Праздник"));
    desk().clear();
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "priceSettingsChanged"));
    QCOMPARE(desk().find<QComboBox *>(QStringLiteral("cbPricesNames"))->currentText(), text("Праздник"));
    QCOMPARE(desk().names(), pricesPublished());
    QCOMPARE(sum(), 1400.0);
    // The block is gone: back to the first one.
    m_counter->track().query(QStringLiteral("UPDATE price_types SET is_deleted=1 WHERE id=1"));
    m_counter->track().query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE price_type=1"));
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "loadSettings"));
    desk().clear();
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "priceSettingsChanged"));
    QCOMPARE(desk().find<QComboBox *>(QStringLiteral("cbPricesNames"))->currentText(), text("Основные"));
    QCOMPARE(desk().names(), pricesPublished());
    JSON_CONTAINS(desk().last(QStringLiteral("local_request_answer")),
                  object(R"({"priceTypes": {"names": ["Основные"], "currentIndex": 0}})"));
    QCOMPARE(sum(), 1000.0);
}

// What a client may buy: everything with a price whose model is not wholly taken.
void TestCheckInMoney::clientLists()
{
    m_counter->track().addPriceItem({text("Долг"), -5});
    m_counter->track().addPriceItem({text("Даром"), 0});
    QVERIFY(open({}));
    desk().send(QStringLiteral("cars_list_changed"),
                object(R"({"cars": [{"name": "Sodi", "available_for_runs": false}]})"));
    QStringList items;
    const QJsonArray list =
        desk().last(QStringLiteral("local_request_answer")).value(QLatin1String("priceList")).toArray();
    for (const QJsonValue &item : list)
        items.append(item[QLatin1String("salesItem")].toString());
    QCOMPARE(items, (QStringList{text("Без карта"), text("Детский"), text("Долг")}));
}

void TestCheckInMoney::eventsPerEdit_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("publishes");
    QTest::newRow("sale") << int(Counter::SalesItem) << text("Детский") << true;
    QTest::newRow("discount") << int(Counter::Discount) << QStringLiteral("50") << true;
    QTest::newRow("method") << int(Counter::PayMethod) << text("Наличные") << true;
    QTest::newRow("runs") << int(Counter::RunCount) << QStringLiteral("7") << true;
    QTest::newRow("comment") << int(Counter::Comment) << QStringLiteral("x") << false;
}

// Each edit tells the host once, or not at all, and writes the journals exactly then.
void TestCheckInMoney::eventsPerEdit()
{
    QFETCH(int, column);
    QFETCH(QString, value);
    QFETCH(bool, publishes);
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->sendCars();
    m_counter->track().removeJournal(Tickets);
    const auto key = Counter::Column(column);
    const bool choice = key == Counter::SalesItem || key == Counter::Discount || key == Counter::PayMethod;
    if (choice)
        QVERIFY(m_counter->pick(m_counter->at(0, key), value));
    else
        QVERIFY(m_counter->type(m_counter->at(0, key), value));
    HostProbe::settle();
    QCOMPARE(desk().names(), publishes ? listPublished() : QStringList());
    if (publishes)
        QCOMPARE(desk().last(QStringLiteral("local_request_answer")).keys(),
                 QStringList{QStringLiteral("checkInList")});
    QCOMPARE(m_counter->track().hasJournal(Tickets), publishes);
}

DESK_TEST_MAIN(TestCheckInMoney)
#include "tst_checkin_money.moc"
