#include "desktest.h"
#include "jsonmatch.h"
#include "trackoffice.h"

#include <QAction>
#include <QComboBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextEdit>
#include <QUuid>
#include <QWindow>

#include <memory>

/// Money beside the check-in list: sales without a racer and tickets given back, from the button to the row in the
/// database. A new desk for each test.
class TestSales : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void saleButton();
    void saleByKeyboard();
    void saleByMouse();
    void saleOfABlock();
    void saleWithoutDiscountText();
    void saleGoesToTheService();
    void saleCancelled_data();
    void saleCancelled();
    void nothingToPay();
    void priceBlockWhileOpen();
    void settingsWhileOpen();
    void itemsRemovedWhileOpen();
    void emptyPriceList();

    void refundAction();
    void refundDialog_data();
    void refundDialog();
    void refundOfOne();
    void refundOfTwoInThree();
    void refundOfAllByMouse();
    void refundWithAnotherSum();
    void refundGoesToTheService();
    void twoSeatsInOneRun();
    void refundCancelled();
    void nobodyToRefund_data();
    void nobodyToRefund();
    void whileTheRefundIsOpen_data();
    void whileTheRefundIsOpen();
    void hostAnswersTheRefund_data();
    void hostAnswersTheRefund();
    void refundByRequest_data();
    void refundByRequest();
    void refundByRequestOfAStranger_data();
    void refundByRequestOfAStranger();

private:
    HostProbe &desk() { return m_office->desk(); }
    const TempTrack &track() { return m_office->track(); }
    void stockPrices();
    bool openQueue(const QVector<QStringList> &runs, const QJsonObject &more = {});
    QList<QJsonObject> payments(int count);
    int paymentCount();
    QString seats();
    void select(int row, int seat);
    QStringList refund(const std::function<void(QDialog *)> &work);
    void request(const char *name, const QJsonObject &arguments);

    std::unique_ptr<TrackOffice> m_office;
};

namespace {

using JsonMatch::object;

const QString SaleTitle = QStringLiteral("Продажа");
const QString RefundTitle = QStringLiteral("Возврат оплаты");

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

template <typename T> T *field(const QDialog *dialog, const char *name)
{
    auto *found = dialog->findChild<T *>(QString::fromLatin1(name));
    if (!found)
        qFatal("no field %s", name);
    return found;
}

/// The keyboard belongs to the window, whoever has the focus in it.
void key(const QDialog *dialog, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::keyClick(dialog->windowHandle(), key, modifiers);
}

void type(const QString &letters)
{
    for (const QChar &letter : letters)
        QTest::sendKeyEvent(QTest::Click, QApplication::focusWidget(), Qt::Key_unknown, QString(letter),
                            Qt::NoModifier);
}

// The keyboard is with the dialog only when it is the active window itself: for its own state the desk below it counts.
bool activate(QDialog *dialog)
{
    dialog->activateWindow();
    return QTest::qWaitFor([dialog] { return QApplication::activeWindow() == dialog; });
}

void fill(QWidget *widget, const QString &letters)
{
    QTest::mouseClick(widget, Qt::LeftButton);
    widget->setFocus();
    QTest::keyClick(widget, Qt::Key_A, Qt::ControlModifier);
    if (letters.isEmpty())
        QTest::keyClick(widget, Qt::Key_Backspace);
    type(letters);
}

void clickOk(const QDialog *dialog)
{
    QTest::mouseClick(field<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok), Qt::LeftButton);
}

/// Chooses the entry of the items that stands so many below the first.
void chooseItem(const QDialog *dialog, int steps)
{
    field<QComboBox>(dialog, "cbSalesItem")->setFocus();
    for (int i = 0; i < steps; ++i)
        key(dialog, Qt::Key_Down);
}

QStringList entries(const QComboBox *combo)
{
    QStringList found;
    for (int i = 0; i < combo->count(); ++i)
        found.append(combo->itemText(i));
    return found;
}

QVector<QStringList> threeRuns()
{
    return {{QStringLiteral("{r}"), QStringLiteral("{n}")},
            {QStringLiteral("{m}"), QStringLiteral("{r}")},
            {QStringLiteral("{r}")}};
}

/// Columns of a row that are not different every time.
QJsonObject plain(QJsonObject row)
{
    row.remove(QStringLiteral("id"));
    row.remove(QStringLiteral("racer_guid"));
    row.remove(QStringLiteral("pay_date"));
    return row;
}

bool isFreshIdentity(const QJsonObject &row)
{
    const QString uuid = row.value(QLatin1String("racer_guid")).toString();
    return !QUuid(uuid).isNull() && QUuid(uuid).toString() == uuid;
}

bool isNow(const QJsonObject &row)
{
    QDateTime when = QDateTime::fromString(row.value(QLatin1String("pay_date")).toString(), Qt::ISODateWithMs);
    when.setTimeSpec(Qt::UTC);
    return when.isValid() && qAbs(when.secsTo(QDateTime::currentDateTimeUtc())) < 60;
}

} // namespace

void TestSales::init()
{
    m_office = std::make_unique<TrackOffice>();
}

void TestSales::cleanup()
{
    m_office.reset();
}

void TestSales::stockPrices()
{
    track().addPriceItem({text("Вода"), 50.5});
    track().addPriceItem({text("Подарок"), 0});
    track().addPriceItem({text("Шлем"), 200});
    track().setDiscounts({text("10"), text("=50")});
    track().setPayMethods({text("Наличные"), text("Карта")});
}

/// Racers of a ticket of 500 with 10 % off, changed by `more`.
bool TestSales::openQueue(const QVector<QStringList> &runs, const QJsonObject &more)
{
    QVector<TrackOffice::Run> queue;
    int number = 0;
    for (const QStringList &racers : runs) {
        TrackOffice::Run run{QStringLiteral("{%1}").arg(QChar('A' + number++))};
        int id = -1000;
        for (const QString &racer : racers) {
            QJsonObject seat = TrackOffice::seat(racer, --id, object(R"({"price": 500, "discountValue": "10",
                "payMethod": "Карта", "runCount": 3, "paySum": 1350, "salesId": 8, "salesCommonId": 2, "priceType": 1,
                "clientId": 7, "cashierId": 5, "comment": "Постоянный", "name": "Орлова Анна Львовна",
                "lastName": "Орлова", "firstName": "Анна", "midName": "Львовна"})"));
            seat.insert(QStringLiteral("competitorId"), id);
            for (auto it = more.begin(); it != more.end(); ++it)
                seat.insert(it.key(), it.value());
            run.seats.append(seat);
        }
        queue.append(run);
    }
    m_office->seedQueue(queue, true);
    return m_office->open();
}

/// Rows of `payments` with all their columns, once there are so many of them; empty when they don't come.
QList<QJsonObject> TestSales::payments(int count)
{
    QList<QJsonObject> rows;
    const bool there = QTest::qWaitFor([&] {
        rows.clear();
        QSqlQuery query(track().db());
        query.exec(QStringLiteral("SELECT * FROM payments ORDER BY id"));
        while (query.next()) {
            QJsonObject row;
            const QSqlRecord record = query.record();
            for (int i = 0; i < record.count(); ++i)
                row.insert(record.fieldName(i),
                           record.isNull(i) ? QJsonValue() : QJsonValue::fromVariant(record.value(i)));
            rows.append(row);
        }
        return rows.size() >= count;
    });
    return there && rows.size() == count ? rows : QList<QJsonObject>();
}

int TestSales::paymentCount()
{
    HostProbe::settle(200);
    return track().value(QStringLiteral("SELECT COUNT(*) FROM payments")).toInt();
}

/// Who sits where: runs divided by a bar.
QString TestSales::seats()
{
    QStringList told;
    const QVector<QJsonObject> runs = m_office->runs();
    for (const QJsonObject &run : runs) {
        QString racers;
        const QJsonObject seated = run.value(QLatin1String("runCompetitors")).toObject();
        for (const QJsonValue &racer : seated)
            racers += racer.toObject().value(QLatin1String("uuid")).toString();
        told.append(racers);
    }
    return told.join(QLatin1Char('|'));
}

void TestSales::select(int row, int seat)
{
    m_office->queue()->setCurrentRow(row);
    TrackOffice::clickCell(m_office->run(row), seat);
    desk().clear();
}

/// Opens the refund of the selected racer and works on it. What the host hears, or what was wrong.
QStringList TestSales::refund(const std::function<void(QDialog *)> &work)
{
    const ModalAnswer answer = ModalAnswer::dialog(RefundTitle, [&](QDialog *dialog) {
        if (activate(dialog))
            work(dialog);
    });
    desk().find<QAction *>(QStringLiteral("actionRefundTicket"))->trigger();
    return answer.answered() ? m_office->heard() : QStringList{answer.error()};
}

void TestSales::request(const char *name, const QJsonObject &arguments)
{
    desk().send(QStringLiteral("local_request"),
                {{QStringLiteral("request"), QString::fromLatin1(name)}, {QStringLiteral("requestData"), arguments}});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void TestSales::saleButton()
{
    QVERIFY(m_office->open());
    const auto *button = desk().find<QPushButton *>(QStringLiteral("pbSimplePayment"));
    QVERIFY(button);
    QCOMPARE(button->text(), text("Продажа"));
    QCOMPARE(button->shortcut(), QKeySequence(QStringLiteral("Ctrl+B")));
    QVERIFY(button->isVisible() && button->isEnabled());
}

// From the desk to the row without the mouse.
void TestSales::saleByKeyboard()
{
    stockPrices();
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        key(dialog, Qt::Key_Down);
        key(dialog, Qt::Key_Tab);
        type(text("4"));
        key(dialog, Qt::Key_Tab);
        key(dialog, Qt::Key_Down);
        key(dialog, Qt::Key_Tab);
        type(text("10 %"));
        key(dialog, Qt::Key_Tab);
        type(text("Из холодильника"));
        key(dialog, Qt::Key_Tab);
        key(dialog, Qt::Key_Return);
    });
    // The buttons share their keys: each press takes the focus one further, and Space is the click.
    auto *button = desk().find<QPushButton *>(QStringLiteral("pbSimplePayment"));
    for (int i = 0; i < 8 && !button->hasFocus(); ++i)
        QTest::keyClick(desk().tab(), Qt::Key_B, Qt::ControlModifier);
    QVERIFY(button->hasFocus());
    QTest::keyClick(desk().tab()->windowHandle(), Qt::Key_Space);
    MODAL_VERIFY(answer);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    QVERIFY(isFreshIdentity(rows.first()));
    QVERIFY(isNow(rows.first()));
    QJsonObject row = plain(rows.first());
    QVERIFY(qAbs(row.take(QLatin1String("sum")).toDouble() - 181.8) < 1e-9);
    JSON_COMPARE(row, object(R"({"client_id": -1, "first_name": null, "last_name": null, "mid_name": null,
        "tariff": 50.5, "discount": "10%", "pay_state": 1, "pay_kind": "Карта", "car_model": null, "tickets_count": 4,
        "comment": "Из холодильника", "price_id": 1, "price_type": -1, "cashier_id": -1, "remote_updated": 0})"));
    // A sale is nothing that clients wait for.
    QCOMPARE(m_office->heard(), QStringList());
}

void TestSales::saleByMouse()
{
    stockPrices();
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        QCOMPARE(entries(field<QComboBox>(dialog, "cbSalesItem")),
                 (QStringList{text("-"), text("Вода"), text("Подарок"), text("Шлем")}));
        QCOMPARE(entries(field<QComboBox>(dialog, "cbDiscountList")),
                 (QStringList{text("-"), text("10 %"), text("50 ")}));
        QCOMPARE(entries(field<QComboBox>(dialog, "cbPayKind")), (QStringList{text("Наличные"), text("Карта")}));
        chooseItem(dialog, 3);
        QCOMPARE(field<QLineEdit>(dialog, "leSalesPrice")->text(), text("200.00"));
        fill(field<QSpinBox>(dialog, "sbSalesCount"), text("2"));
        QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("400.00"));
        // The amount of the list counts as a percentage.
        field<QComboBox>(dialog, "cbDiscountList")->setFocus();
        key(dialog, Qt::Key_Down);
        key(dialog, Qt::Key_Down);
        QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("200.00"));
        QTest::mouseClick(field<QPushButton>(dialog, "pbAccept"), Qt::LeftButton);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": 200, "tariff": 200, "discount": "50", "tickets_count": 2,
        "price_id": 3, "pay_kind": "Наличные", "pay_state": 1, "comment": ""})"));
}

void TestSales::saleOfABlock()
{
    stockPrices();
    const int evening = track().addPriceType(text("Вечер"));
    track().addPriceItem({text("Вода"), 70, QString(), QStringLiteral("#ffffff"), evening, 1});
    QVERIFY(m_office->open());
    request("set_price_type", object(R"({"priceName": "Вечер"})"));
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        chooseItem(dialog, 1);
        key(dialog, Qt::Key_Return);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": 70, "tariff": 70, "discount": "-", "tickets_count": 1,
        "price_id": 1})"));
    QCOMPARE(rows.first().value(QLatin1String("price_type")).toInt(), evening);
}

void TestSales::saleWithoutDiscountText()
{
    stockPrices();
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        chooseItem(dialog, 3);
        fill(field<QComboBox>(dialog, "cbDiscountList")->lineEdit(), QString());
        key(dialog, Qt::Key_Return);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": 200, "discount": null})"));
}

void TestSales::saleGoesToTheService()
{
    stockPrices();
    QVERIFY(m_office->open());
    desk().send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "key"})"));
    desk().clear();
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        chooseItem(dialog, 3);
        fill(field<QComboBox>(dialog, "cbDiscountList")->lineEdit(), text("=50"));
        fill(field<QTextEdit>(dialog, "teComment"), text("Подарочный"));
        QTest::mouseClick(field<QPushButton>(dialog, "pbAccept"), Qt::LeftButton);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    QVERIFY(desk().waitFor(QStringLiteral("update_remote_payments")));
    QCOMPARE(m_office->heard().count(QStringLiteral("update_remote_payments")), 1);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    // What the service has taken is not sent again.
    desk().send(QStringLiteral("payments_update_data"),
                {{QStringLiteral("updatedList"), QJsonArray{rows.first().value(QLatin1String("id"))}}});
    QTRY_COMPARE(track().value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 1);
    HostProbe::settle(100);
    QCOMPARE(desk().count(QStringLiteral("update_remote_payments")), 0);
}

void TestSales::saleCancelled_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("escape") << "escape";
    QTest::newRow("button") << "button";
    QTest::newRow("enter on the button") << "enter";
    QTest::newRow("window closed") << "close";
}

void TestSales::saleCancelled()
{
    QFETCH(QString, how);
    stockPrices();
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [&](QDialog *dialog) {
        if (!activate(dialog))
            return;
        chooseItem(dialog, 1);
        QVERIFY(field<QPushButton>(dialog, "pbAccept")->isEnabled());
        auto *reject = field<QPushButton>(dialog, "pbReject");
        if (how == QLatin1String("escape")) {
            key(dialog, Qt::Key_Escape);
        } else if (how == QLatin1String("button")) {
            QTest::mouseClick(reject, Qt::LeftButton);
        } else if (how == QLatin1String("enter")) {
            reject->setFocus();
            key(dialog, Qt::Key_Return);
        } else {
            dialog->close();
        }
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    QCOMPARE(paymentCount(), 0);
    QCOMPARE(m_office->heard(), QStringList());
}

void TestSales::nothingToPay()
{
    stockPrices();
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        const auto tryToSell = [dialog] {
            key(dialog, Qt::Key_Return);
            QTest::mouseClick(field<QPushButton>(dialog, "pbAccept"), Qt::LeftButton);
            QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
            QVERIFY(dialog->isVisible());
        };
        tryToSell();
        chooseItem(dialog, 2);
        tryToSell();
        chooseItem(dialog, 1);
        fill(field<QComboBox>(dialog, "cbDiscountList")->lineEdit(), text("100 %"));
        tryToSell();
        fill(field<QComboBox>(dialog, "cbDiscountList")->lineEdit(), text("12.5"));
        tryToSell();
        key(dialog, Qt::Key_Escape);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    QCOMPARE(paymentCount(), 0);
}

// A client changes the price block: the cashier goes on selling the items on the screen. The payment counts in the
// block of the moment when it is taken, like its name.
void TestSales::priceBlockWhileOpen()
{
    stockPrices();
    const int evening = track().addPriceType(text("Вечер"));
    track().addPriceItem({text("Вода"), 70, QString(), QStringLiteral("#ffffff"), evening, 1});
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [&](QDialog *dialog) {
        if (!activate(dialog))
            return;
        chooseItem(dialog, 3);
        request("set_price_type", object(R"({"priceName": "Вечер"})"));
        QCOMPARE(field<QComboBox>(dialog, "cbSalesItem")->currentText(), text("Шлем"));
        QCOMPARE(field<QComboBox>(dialog, "cbSalesItem")->count(), 4);
        QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("200.00"));
        key(dialog, Qt::Key_Return);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    QCOMPARE(desk().find<QComboBox *>(QStringLiteral("cbPricesNames"))->currentText(), text("Вечер"));
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": 200, "tariff": 200, "price_id": 3})"));
    QCOMPARE(rows.first().value(QLatin1String("price_type")).toInt(), evening);
}

void TestSales::settingsWhileOpen()
{
    stockPrices();
    QVERIFY(m_office->open());
    QWidget *page = desk().settingsPage();
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [&](QDialog *dialog) {
        if (!activate(dialog))
            return;
        chooseItem(dialog, 1);
        field<QComboBox>(dialog, "cbDiscountList")->setFocus();
        key(dialog, Qt::Key_Down);
        track().query(QStringLiteral("UPDATE price_list SET sum=999, sales_item='Другое'"));
        track().setDiscounts({text("90")});
        track().setPayMethods({text("Никак")});
        QVERIFY(QMetaObject::invokeMethod(page, "pluginSlot", Q_ARG(QString, QStringLiteral("host")),
                                          Q_ARG(QString, QStringLiteral("settings_accepted")),
                                          Q_ARG(QJsonObject, QJsonObject())));
        QVERIFY(QMetaObject::invokeMethod(desk().tab(), "loadSettings"));
        QCOMPARE(entries(field<QComboBox>(dialog, "cbSalesItem")),
                 (QStringList{text("-"), text("Вода"), text("Подарок"), text("Шлем")}));
        QCOMPARE(field<QComboBox>(dialog, "cbDiscountList")->currentText(), text("10 %"));
        QCOMPARE(field<QComboBox>(dialog, "cbPayKind")->currentText(), text("Наличные"));
        // What is computed from now on is computed from the items of the screen, too.
        fill(field<QSpinBox>(dialog, "sbSalesCount"), text("2"));
        key(dialog, Qt::Key_Return);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"tariff": 50.5, "discount": "10%", "tickets_count": 2, "price_id": 1,
        "pay_kind": "Наличные"})"));
    QVERIFY(qAbs(rows.first().value(QLatin1String("sum")).toDouble() - 90.9) < 1e-9);
}

void TestSales::itemsRemovedWhileOpen()
{
    stockPrices();
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [&](QDialog *dialog) {
        if (!activate(dialog))
            return;
        track().query(QStringLiteral("UPDATE price_list SET is_deleted=1"));
        QVERIFY(QMetaObject::invokeMethod(desk().tab(), "loadSettings"));
        chooseItem(dialog, 3);
        QCOMPARE(field<QLineEdit>(dialog, "leSalesPrice")->text(), text("200.00"));
        key(dialog, Qt::Key_Return);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": 200, "tariff": 200, "price_id": 3})"));
}

void TestSales::emptyPriceList()
{
    QVERIFY(m_office->open());
    const ModalAnswer answer = ModalAnswer::dialog(SaleTitle, [](QDialog *dialog) {
        if (!activate(dialog))
            return;
        QCOMPARE(entries(field<QComboBox>(dialog, "cbSalesItem")), QStringList{text("-")});
        QCOMPARE(entries(field<QComboBox>(dialog, "cbDiscountList")), QStringList{text("-")});
        fill(field<QSpinBox>(dialog, "sbSalesCount"), text("2"));
        QVERIFY(!field<QPushButton>(dialog, "pbAccept")->isEnabled());
        key(dialog, Qt::Key_Escape);
    });
    QTest::mouseClick(desk().find<QPushButton *>(QStringLiteral("pbSimplePayment")), Qt::LeftButton);
    MODAL_VERIFY(answer);
    QCOMPARE(paymentCount(), 0);
}

void TestSales::refundAction()
{
    QVERIFY(openQueue(threeRuns()));
    const auto *action = desk().find<QAction *>(QStringLiteral("actionRefundTicket"));
    QVERIFY(action);
    QCOMPARE(action->text(), text("Возврат билета"));
    QVERIFY(action->isEnabled());
    select(0, 0);
    QVERIFY(m_office->menuEntries().contains(text("Возврат билета")));
}

void TestSales::refundDialog_data()
{
    QTest::addColumn<QJsonValue>("discount");
    QTest::addColumn<double>("price");
    QTest::newRow("percentage") << QJsonValue(QStringLiteral("10")) << 450.0;
    QTest::newRow("percentage as number") << QJsonValue(20) << 400.0;
    QTest::newRow("amount") << QJsonValue(QStringLiteral("=50.5")) << 449.5;
    QTest::newRow("percent sign") << QJsonValue(QStringLiteral("10%")) << 500.0;
    QTest::newRow("none") << QJsonValue(QString()) << 500.0;
}

void TestSales::refundDialog()
{
    QFETCH(QJsonValue, discount);
    QFETCH(double, price);
    QVERIFY(openQueue(threeRuns(), {{QStringLiteral("discountValue"), discount}}));
    select(1, 1);
    QStringList shown;
    double sum = 0;
    double sumOfTwo = 0;
    int most = 0;
    QCOMPARE(refund([&](QDialog *dialog) {
                 shown = QStringList{field<QLabel>(dialog, "lClientName")->text(),
                                     field<QLabel>(dialog, "lPayKind")->text(),
                                     field<QPlainTextEdit>(dialog, "peComment")->toPlainText(),
                                     field<QSpinBox>(dialog, "sbTicketsCount")->text(),
                                     QApplication::focusWidget()->objectName()};
                 sum = field<QDoubleSpinBox>(dialog, "sdbRefundSum")->value();
                 most = field<QSpinBox>(dialog, "sbTicketsCount")->maximum();
                 fill(field<QSpinBox>(dialog, "sbTicketsCount"), text("2"));
                 sumOfTwo = field<QDoubleSpinBox>(dialog, "sdbRefundSum")->value();
                 key(dialog, Qt::Key_Escape);
             }),
             QStringList());
    QCOMPARE(shown, (QStringList{text("Орлова Анна Львовна"), text("Карта"), QString(), text("1"), text("peComment")}));
    QCOMPARE(sum, price);
    QCOMPARE(sumOfTwo, 2 * price);
    QCOMPARE(most, 3);
}

// The ticket and its money go back, and the payment of before stays as it was.
void TestSales::refundOfOne()
{
    track().query(QStringLiteral("INSERT INTO payments (racer_guid, pay_date, sum, tickets_count, cashier_id, "
                                 "remote_updated) VALUES ('{r}', '2026-01-02T03:04:05.000', 1350, 3, 5, 1)"));
    const QJsonObject before = payments(1).value(0);
    QVERIFY(!before.isEmpty());
    QVERIFY(openQueue(threeRuns()));
    select(1, 1);
    QCOMPARE(refund([](QDialog *dialog) {
                 type(text("Дождь"));
                 clickOk(dialog);
             }),
             publication());
    QCOMPARE(seats(), QStringLiteral("{r}{n}|{m}|{r}"));
    const QList<QJsonObject> rows = payments(2);
    QCOMPARE(rows.size(), 2);
    JSON_COMPARE(rows.first(), before);
    QVERIFY(isFreshIdentity(rows.last()));
    QVERIFY(isNow(rows.last()));
    JSON_COMPARE(plain(rows.last()), object(R"({"client_id": 7, "first_name": "Анна", "last_name": "Орлова",
        "mid_name": "Львовна", "sum": -450, "tariff": 500, "discount": "10", "pay_state": 1, "pay_kind": "Карта",
        "car_model": "Sodi", "tickets_count": -1, "comment": "Дождь", "price_id": 2, "price_type": 1, "cashier_id": 5,
        "remote_updated": 0})"));
}

void TestSales::refundOfTwoInThree()
{
    QVERIFY(openQueue(threeRuns()));
    select(1, 1);
    // By keyboard, from the comment to the end.
    QCOMPARE(refund([](QDialog *dialog) {
                 type(text("Дождь"));
                 field<QSpinBox>(dialog, "sbTicketsCount")->setFocus(Qt::TabFocusReason);
                 type(text("2"));
                 key(dialog, Qt::Key_Return);
             }),
             publication());
    QCOMPARE(seats(), QStringLiteral("{n}|{m}|{r}"));
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": -900, "tickets_count": -2, "comment": "Дождь", "cashier_id": 5})"));
}

void TestSales::refundOfAllByMouse()
{
    QVERIFY(openQueue(threeRuns()));
    select(2, 0);
    QCOMPARE(refund([](QDialog *dialog) {
                 fill(field<QSpinBox>(dialog, "sbTicketsCount"), text("3"));
                 clickOk(dialog);
             }),
             publication());
    QCOMPARE(seats(), QStringLiteral("{n}|{m}|"));
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": -1350, "tickets_count": -3, "comment": ""})"));
}

void TestSales::refundWithAnotherSum()
{
    QVERIFY(openQueue(threeRuns()));
    select(0, 0);
    QCOMPARE(refund([](QDialog *dialog) {
                 fill(field<QDoubleSpinBox>(dialog, "sdbRefundSum"), text("150,50"));
                 key(dialog, Qt::Key_Return);
             }),
             publication());
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": -150.5, "tariff": 500, "tickets_count": -1})"));
}

void TestSales::refundGoesToTheService()
{
    QVERIFY(openQueue(threeRuns()));
    desk().send(QStringLiteral("api_key_updated"), object(R"({"apiKey": "key"})"));
    select(0, 0);
    refund([](QDialog *dialog) { clickOk(dialog); });
    QVERIFY(QTest::qWaitFor([&] { return paymentCount() == 1; }));
    desk().clear();
    // The worker offers the row again with each payment that follows.
    select(1, 1);
    const auto batches = std::make_shared<QList<QJsonObject>>();
    auto watch = std::make_unique<QObject>();
    connect(desk().plugin(), &VanePluginInterface::pluginSignal, watch.get(),
            [this, batches](const QString &, const QString &event, const QJsonObject &sent) {
                if (event != QLatin1String("update_remote_payments"))
                    return;
                batches->append(sent);
                // The service is quick: it takes them while the desk still tells of them.
                QJsonArray taken;
                const QJsonArray items = sent.value(QLatin1String("itemsList")).toArray();
                for (const QJsonValue &item : items)
                    taken.append(item.toObject().value(QLatin1String("dbId")));
                desk().send(QStringLiteral("payments_update_data"), {{QStringLiteral("updatedList"), taken}});
            });
    refund([](QDialog *dialog) {
        type(text("Град"));
        clickOk(dialog);
    });
    QTRY_COMPARE(track().value(QStringLiteral("SELECT COUNT(*) FROM payments WHERE remote_updated=1")).toInt(), 2);
    watch.reset();
    QCOMPARE(batches->size(), 1);
    const QJsonArray items = batches->first().value(QLatin1String("itemsList")).toArray();
    QCOMPARE(items.size(), 2);
    JSON_CONTAINS(items.at(1), object(R"({"sum": -450, "tariff": 500, "discount": "10", "itemsCount": -1, "clientId": 7,
        "clientName": "Орлова Анна Львовна", "cashierId": 5, "payKind": "Карта", "payState": 1, "comment": "Град",
        "priceId": 2, "priceType": 1})"));
    QVERIFY(!items.at(0).toObject().contains(QLatin1String("comment")));
}

void TestSales::twoSeatsInOneRun()
{
    QVERIFY(
        openQueue({{QStringLiteral("{r}"), QStringLiteral("{r}"), QStringLiteral("{n}")}, {QStringLiteral("{r}")}}));
    select(0, 0);
    int most = 0;
    QCOMPARE(refund([&](QDialog *dialog) {
                 most = field<QSpinBox>(dialog, "sbTicketsCount")->maximum();
                 fill(field<QSpinBox>(dialog, "sbTicketsCount"), text("2"));
                 clickOk(dialog);
             }),
             publication());
    // Two runs; from the top it is the same run once more.
    QCOMPARE(most, 2);
    QCOMPARE(seats(), QStringLiteral("{n}|{r}"));
}

void TestSales::refundCancelled()
{
    QVERIFY(openQueue(threeRuns()));
    const QString before = seats();
    select(0, 0);
    QCOMPARE(refund([](QDialog *dialog) {
                 type(text("Дождь"));
                 fill(field<QSpinBox>(dialog, "sbTicketsCount"), text("2"));
                 key(dialog, Qt::Key_Escape);
             }),
             QStringList());
    QCOMPARE(seats(), before);
    QCOMPARE(paymentCount(), 0);
    QCOMPARE(refund([](QDialog *dialog) {
                 QTest::mouseClick(field<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Cancel),
                                   Qt::LeftButton);
             }),
             QStringList());
    QCOMPARE(seats(), before);
    QCOMPARE(paymentCount(), 0);
}

void TestSales::nobodyToRefund_data()
{
    QTest::addColumn<QString>("what");
    QTest::newRow("no run chosen") << "no row";
    QTest::newRow("nobody chosen in the run") << "no racer";
    QTest::newRow("the chosen racer sits in another row") << "another row";
    QTest::newRow("empty queue") << "empty";
    QTest::newRow("the chosen racer is gone") << "removed";
}

void TestSales::nobodyToRefund()
{
    QFETCH(QString, what);
    QVERIFY(openQueue(what == QLatin1String("empty") ? QVector<QStringList>() : threeRuns()));
    const QString before = seats();
    QString after = before;
    if (what == QLatin1String("no row")) {
        select(0, 0);
        m_office->queue()->setCurrentRow(-1);
    } else if (what == QLatin1String("no racer")) {
        m_office->queue()->setCurrentRow(0);
    } else if (what == QLatin1String("another row")) {
        select(0, 0);
        m_office->queue()->setCurrentRow(1);
    } else if (what == QLatin1String("removed")) {
        select(0, 0);
        request("remove_racer_from_run", object(R"({"runGuid": "{A}", "racerGuid": "{r}"})"));
        after = seats();
        QVERIFY(after != before);
    }
    desk().clear();
    const ModalAnswer answer = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    desk().find<QAction *>(QStringLiteral("actionRefundTicket"))->trigger();
    HostProbe::settle();
    QVERIFY2(!answer.answered(), "a dialog came");
    QCOMPARE(m_office->heard(), QStringList());
    QCOMPARE(paymentCount(), 0);
    QCOMPARE(seats(), after);
}

void TestSales::whileTheRefundIsOpen_data()
{
    QTest::addColumn<QVector<QStringList>>("runs");
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<int>("paid");
    QTest::addColumn<QString>("left");

    const QString r = QStringLiteral("{r}");
    const QString n = QStringLiteral("{n}");
    const QString m = QStringLiteral("{m}");
    const QVector<QStringList> once{{r, n}, {m}, {}};
    const QVector<QStringList> twice{{r, n}, {m, r}, {}};
    QTest::newRow("run closed, his only seat") << once << QByteArray("close A") << 0 << "{m}|";
    QTest::newRow("run closed, another seat") << twice << QByteArray("close A") << 1 << "{m}|";
    QTest::newRow("another run closed") << twice << QByteArray("close B") << 1 << "{n}|";
    QTest::newRow("run deleted") << once << QByteArray("delete A") << 0 << "{m}|";
    QTest::newRow("moved to another run") << once << QByteArray("move A C") << 1 << "{n}|{m}|";
    QTest::newRow("moved, and his run closed") << once << QByteArray("move A C,close A") << 1 << "{m}|";
    QTest::newRow("removed") << once << QByteArray("remove A") << 0 << "{n}|{m}|";
    QTest::newRow("removed, another seat") << twice << QByteArray("remove A") << 1 << "{n}|{m}|";
    QTest::newRow("refunded by a client") << once << QByteArray("refund A") << 1 << "{n}|{m}|";
    QTest::newRow("refunded by a client, another seat") << twice << QByteArray("refund A") << 2 << "{n}|{m}|";
    QTest::newRow("his neighbour removed") << once << QByteArray("neighbour A") << 1 << "|{m}|";
    QTest::newRow("rows change places") << once << QByteArray("swap C B") << 1 << "{n}||{m}";
    QTest::newRow("everything gone") << twice << QByteArray("close A,close B,close C") << 0 << "";
    QTest::newRow("everything deleted") << twice << QByteArray("delete A,delete B,delete C") << 0 << "";
}

// Nobody else loses his seat, and money goes back only for a seat that there is.
void TestSales::whileTheRefundIsOpen()
{
    QFETCH(QVector<QStringList>, runs);
    QFETCH(QByteArray, what);
    QFETCH(int, paid);
    QFETCH(QString, left);
    QVERIFY(openQueue(runs));
    select(0, 0);
    const auto happen = [&](const QList<QByteArray> &words) {
        const auto run = [&](int i) { return QStringLiteral("{%1}").arg(QString::fromLatin1(words.value(i))); };
        const QByteArray &verb = words.first();
        if (verb == "close") {
            desk().send(QStringLiteral("run_closed"), {{QStringLiteral("runQueueGuid"), run(1)}});
        } else if (verb == "delete") {
            request("delete_run_from_queue", {{QStringLiteral("runGuid"), run(1)}});
        } else if (verb == "move") {
            request("move_racer_to_run", {{QStringLiteral("fromRun"), run(1)},
                                          {QStringLiteral("toRun"), run(2)},
                                          {QStringLiteral("racerGuid"), QStringLiteral("{r}")}});
        } else if (verb == "remove" || verb == "neighbour") {
            request("remove_racer_from_run",
                    {{QStringLiteral("runGuid"), run(1)},
                     {QStringLiteral("racerGuid"), verb == "remove" ? QStringLiteral("{r}") : QStringLiteral("{n}")}});
        } else if (verb == "refund") {
            request("refund_tickets", {{QStringLiteral("runGuid"), run(1)},
                                       {QStringLiteral("racerGuid"), QStringLiteral("{r}")},
                                       {QStringLiteral("refundTicketsCount"), 1},
                                       {QStringLiteral("refundSum"), 1}});
        } else if (verb == "swap") {
            request("move_run_in_queue", {{QStringLiteral("srcGuid"), run(1)}, {QStringLiteral("dstGuid"), run(2)}});
        } else {
            qFatal("no such thing happens: %s", verb.constData());
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    QString meanwhile;
    const QStringList heard = refund([&](QDialog *dialog) {
        const QPointer<QDialog> guard(dialog);
        type(text("Дождь"));
        const QList<QByteArray> events = what.split(',');
        for (const QByteArray &event : events)
            happen(event.split(' '));
        meanwhile = seats();
        if (guard)
            clickOk(dialog);
    });
    const bool refunds = meanwhile.contains(QLatin1String("{r}"));
    QCOMPARE(heard, refunds ? publication() : QStringList());
    QCOMPARE(m_office->queue()->count(), left.isEmpty() ? 0 : left.count(QLatin1Char('|')) + 1);
    QCOMPARE(seats(), left);
    QCOMPARE(paymentCount(), paid);
    const int byCashier = track().value(QStringLiteral("SELECT COUNT(*) FROM payments WHERE sum=-450")).toInt();
    QCOMPARE(byCashier, refunds ? 1 : 0);
}

void TestSales::hostAnswersTheRefund_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QString>("answer");
    for (const char *event : {"remote_control_answer", "local_request_answer"}) {
        for (const char *answer : {"closes the run", "closes all runs", "deletes all runs", "takes the other seat"})
            QTest::addRow("%s, host %s", event, answer) << event << answer;
    }
}

// The host answers from inside the publication of the refund: the money is recorded, once.
void TestSales::hostAnswersTheRefund()
{
    QFETCH(QString, event);
    QFETCH(QString, answer);
    QVERIFY(openQueue(threeRuns()));
    select(0, 0);
    const auto answered = std::make_shared<bool>(false);
    auto watch = std::make_unique<QObject>();
    connect(desk().plugin(), &VanePluginInterface::pluginSignal, watch.get(),
            [this, answered, event, answer](const QString &, const QString &emitted) {
                if (*answered || emitted != event)
                    return;
                *answered = true;
                const QStringList guids =
                    answer == QLatin1String("closes the run")
                        ? QStringList{QStringLiteral("{A}")}
                        : QStringList{QStringLiteral("{A}"), QStringLiteral("{B}"), QStringLiteral("{C}")};
                if (answer == QLatin1String("takes the other seat")) {
                    request("remove_racer_from_run", object(R"({"runGuid": "{B}", "racerGuid": "{r}"})"));
                    return;
                }
                for (const QString &guid : guids) {
                    if (answer == QLatin1String("deletes all runs"))
                        request("delete_run_from_queue", {{QStringLiteral("runGuid"), guid}});
                    else
                        desk().send(QStringLiteral("run_closed"), {{QStringLiteral("runQueueGuid"), guid}});
                }
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            });
    refund([](QDialog *dialog) { clickOk(dialog); });
    watch.reset();
    QVERIFY(*answered);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    JSON_CONTAINS(rows.first(), object(R"({"sum": -450, "tickets_count": -1, "client_id": 7})"));
    QCOMPARE(paymentCount(), 1);
    if (answer == QLatin1String("closes the run"))
        QCOMPARE(seats().count(QStringLiteral("{r}")), 2);
    else if (answer == QLatin1String("takes the other seat"))
        QCOMPARE(seats(), QStringLiteral("{n}|{m}|{r}"));
    else
        QCOMPARE(m_office->queue()->count(), 0);
}

void TestSales::refundByRequest_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("left");
    QTest::newRow("one") << 1 << "{n}|{m}{r}|{r}";
    QTest::newRow("two of three") << 2 << "{n}|{m}|{r}";
    QTest::newRow("all") << 3 << "{n}|{m}|";
    QTest::newRow("more than there are seats") << 5 << "{n}|{m}|";
    QTest::newRow("many more") << 2147483647 << "{n}|{m}|";
    // The seat that was named goes in any case.
    QTest::newRow("none") << 0 << "{n}|{m}{r}|{r}";
}

void TestSales::refundByRequest()
{
    QFETCH(int, count);
    QFETCH(QString, left);
    QVERIFY(openQueue(threeRuns()));
    desk().send(QStringLiteral("local_request"),
                {{QStringLiteral("request"), QStringLiteral("refund_tickets")},
                 {QStringLiteral("linkGuid"), QStringLiteral("link")},
                 {QStringLiteral("requestData"),
                  QJsonObject{{QStringLiteral("runGuid"), QStringLiteral("{A}")},
                              {QStringLiteral("racerGuid"), QStringLiteral("{r}")},
                              {QStringLiteral("cashierToken"), QStringLiteral("unknown")},
                              {QStringLiteral("refundTicketsCount"), count},
                              {QStringLiteral("refundSum"), 12.5},
                              {QStringLiteral("refundComment"), text("Киоск")}}}});
    QCOMPARE(m_office->heard(), QStringList(QStringLiteral("write_sys_log")) + publication()
                                    + QStringList(QStringLiteral("local_request_answer")));
    QCOMPARE(seats(), left);
    const QList<QJsonObject> rows = payments(1);
    QCOMPARE(rows.size(), 1);
    QVERIFY(isFreshIdentity(rows.first()));
    // The record keeps the count that was asked for.
    QCOMPARE(rows.first().value(QLatin1String("tickets_count")).toInt(), -count);
    JSON_CONTAINS(rows.first(), object(R"({"sum": -12.5, "tariff": 500, "comment": "Киоск", "cashier_id": -1,
        "client_id": 7, "price_id": 2, "pay_kind": "Карта"})"));
}

void TestSales::refundByRequestOfAStranger_data()
{
    QTest::addColumn<QString>("run");
    QTest::addColumn<QString>("racer");
    QTest::newRow("unknown run") << "{X}"
                                 << "{r}";
    QTest::newRow("no run") << ""
                            << "{r}";
    QTest::newRow("not in this run") << "{C}"
                                     << "{n}";
    QTest::newRow("nobody") << "{A}"
                            << "";
}

void TestSales::refundByRequestOfAStranger()
{
    QFETCH(QString, run);
    QFETCH(QString, racer);
    QVERIFY(openQueue(threeRuns()));
    const QString before = seats();
    request("refund_tickets", {{QStringLiteral("runGuid"), run},
                               {QStringLiteral("racerGuid"), racer},
                               {QStringLiteral("refundTicketsCount"), 1},
                               {QStringLiteral("refundSum"), 1}});
    QVERIFY(!m_office->heard().contains(QStringLiteral("remote_control_answer")));
    QCOMPARE(seats(), before);
    QCOMPARE(paymentCount(), 0);
}

DESK_TEST_MAIN(TestSales)
#include "tst_sales.moc"
