#include "payments/refunddialog.h"
#include "payments/simplesaledialog.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMetaMethod>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTextEdit>
#include <QUuid>
#include <QWindow>

#include <algorithm>

/// The two dialogs about money, each alone: what stands on them, what they show and what the keyboard does.
class SaleDialogsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saleForm();
    void saleSlots();
    void saleLists();
    void nothingChosen();
    void choosing();
    void shownSum_data();
    void shownSum();
    void saleSumFollowsEveryField();
    void saleRecord();
    void recordedDiscounts_data();
    void recordedDiscounts();
    void saleByKeyboard();
    void enterInTheDiscount();
    void typedDiscountIsNotCompleted();
    void saleCancelled_data();
    void saleCancelled();
    void enterWithNothingToPay();

    void refundForm();
    void refundSlots();
    void refundStartValues();
    void refundShows();
    void sumFollowsTheCount();
    void refundReadBack();
    void refundCancelled();
    void refundByKeyboard();
    void typedSum_data();
    void typedSum();
    void sumLimits();
    void comesBackFromTheTaskBar();
};

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

template <typename T> T *field(const QDialog &dialog, const char *name)
{
    auto *found = dialog.findChild<T *>(QString::fromLatin1(name));
    if (!found)
        qFatal("no field %s", name);
    return found;
}

/// The label in front of a field.
QString labelOf(const QDialog &dialog, const char *name)
{
    const auto *form = dialog.findChild<QFormLayout *>();
    const auto *label = qobject_cast<QLabel *>(form->labelForField(field<QWidget>(dialog, name)));
    return label ? label->text() : QString();
}

/// Slots of a class itself, in order.
QStringList ownSlots(const QMetaObject &meta)
{
    QStringList found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Slot)
            found.append(QString::fromLatin1(meta.method(i).methodSignature()));
    }
    return found;
}

PriceItem item(const char *name, double sum, qint32 commonId)
{
    PriceItem made;
    made.id = commonId + 100;
    made.commonId = commonId;
    made.salesItem = text(name);
    made.sum = sum;
    return made;
}

/// "Прокат" 200, "Вода" 50.5, "Подарок" 0; discounts 10 % and 50 as an amount; two methods.
void stock(SimpleSaleDialog *dialog)
{
    dialog->setPriceItems({item("Прокат", 200, 1), item("Вода", 50.5, 2), item("Подарок", 0, 3)});
    dialog->setDiscounts({{false, 10}, {true, 50}});
    dialog->setPayMethods({text("Наличные"), text("Карта")});
}

/// Chooses an entry as the cashier does.
void choose(QComboBox *combo, int row)
{
    combo->setCurrentIndex(row);
    Q_EMIT combo->activated(row);
}

QStringList entries(const QComboBox *combo)
{
    QStringList found;
    for (int i = 0; i < combo->count(); ++i)
        found.append(combo->itemText(i));
    return found;
}

bool open(QDialog *dialog)
{
    dialog->show();
    return QTest::qWaitForWindowActive(dialog);
}

/// The keyboard of the window: whoever has the focus gets it.
void key(const QDialog &dialog, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::keyClick(dialog.windowHandle(), key, modifiers);
}

void type(const QString &letters)
{
    for (const QChar &letter : letters)
        QTest::sendKeyEvent(QTest::Click, QApplication::focusWidget(), Qt::Key_unknown, QString(letter),
                            Qt::NoModifier);
}

QString focused()
{
    const QWidget *widget = QApplication::focusWidget();
    return widget ? widget->objectName() : QString();
}

class DefaultLocale
{
public:
    explicit DefaultLocale(const QLocale &locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(m_before); }
    Q_DISABLE_COPY(DefaultLocale)

private:
    const QLocale m_before;
};

const QLocale::Language Russian = QLocale::Russian;

} // namespace

void SaleDialogsTest::saleForm()
{
    const SimpleSaleDialog dialog;
    QCOMPARE(dialog.windowTitle(), text("Продажа"));
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    QCOMPARE(labelOf(dialog, "cbSalesItem"), text("Услуга/товар"));
    QCOMPARE(labelOf(dialog, "leSalesPrice"), text("Стоимость"));
    QCOMPARE(labelOf(dialog, "sbSalesCount"), text("Количество"));
    QCOMPARE(labelOf(dialog, "cbPayKind"), text("Способ оплаты"));
    QCOMPARE(labelOf(dialog, "cbDiscountList"), text("Скидка"));
    QCOMPARE(labelOf(dialog, "teComment"), text("Комментарий"));
    QCOMPARE(labelOf(dialog, "lSalesSum"), text("Сумма"));
    QCOMPARE(field<QPushButton>(dialog, "pbAccept")->text(), text("ОК"));
    QCOMPARE(field<QPushButton>(dialog, "pbReject")->text(), text("Отмена"));
    QVERIFY(!field<QComboBox>(dialog, "cbSalesItem")->isEditable());
    QVERIFY(field<QLineEdit>(dialog, "leSalesPrice")->isReadOnly());
    QVERIFY(!field<QComboBox>(dialog, "cbPayKind")->isEditable());
    QVERIFY(field<QComboBox>(dialog, "cbDiscountList")->isEditable());
    QCOMPARE(field<QSpinBox>(dialog, "sbSalesCount")->value(), 0);
    QCOMPARE(field<QSpinBox>(dialog, "sbSalesCount")->minimum(), 0);
    QVERIFY(field<QSpinBox>(dialog, "sbSalesCount")->maximum() >= 99);
    QVERIFY(field<QTextEdit>(dialog, "teComment")->toPlainText().isEmpty());
}

void SaleDialogsTest::saleSlots()
{
    QVERIFY(SimpleSaleDialog::staticMetaObject.superClass() == &QDialog::staticMetaObject);
    QCOMPARE(ownSlots(SimpleSaleDialog::staticMetaObject),
             (QStringList{QStringLiteral("on_cbSalesItem_activated(int)"),
                          QStringLiteral("on_cbSalesItem_currentIndexChanged(int)"),
                          QStringLiteral("on_sbSalesCount_valueChanged(int)"),
                          QStringLiteral("on_cbDiscountList_currentIndexChanged(QString)"),
                          QStringLiteral("on_pbReject_clicked()"), QStringLiteral("on_pbAccept_clicked()"),
                          QStringLiteral("on_cbDiscountList_editTextChanged(QString)")}));
}

void SaleDialogsTest::saleLists()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    QCOMPARE(entries(field<QComboBox>(dialog, "cbSalesItem")),
             (QStringList{text("-"), text("Прокат"), text("Вода"), text("Подарок")}));
    QCOMPARE(entries(field<QComboBox>(dialog, "cbDiscountList")), (QStringList{text("-"), text("10 %"), text("50 ")}));
    QCOMPARE(entries(field<QComboBox>(dialog, "cbPayKind")), (QStringList{text("Наличные"), text("Карта")}));
    QCOMPARE(field<QComboBox>(dialog, "cbSalesItem")->currentText(), text("-"));
    QCOMPARE(field<QComboBox>(dialog, "cbDiscountList")->currentText(), text("-"));
    QCOMPARE(field<QComboBox>(dialog, "cbPayKind")->currentText(), text("Наличные"));
    // Filled once more, nothing stands there twice.
    stock(&dialog);
    QCOMPARE(field<QComboBox>(dialog, "cbSalesItem")->count(), 4);
    QCOMPARE(field<QComboBox>(dialog, "cbDiscountList")->count(), 3);
    QCOMPARE(field<QComboBox>(dialog, "cbPayKind")->count(), 2);
    dialog.setPriceItems({});
    dialog.setDiscounts({});
    dialog.setPayMethods({});
    QCOMPARE(entries(field<QComboBox>(dialog, "cbSalesItem")), QStringList{text("-")});
    QCOMPARE(entries(field<QComboBox>(dialog, "cbDiscountList")), QStringList{text("-")});
    QCOMPARE(field<QComboBox>(dialog, "cbPayKind")->count(), 0);
}

void SaleDialogsTest::nothingChosen()
{
    SimpleSaleDialog dialog;
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
    QVERIFY(!field<QPushButton>(dialog, "pbAccept")->isEnabled());
    JSON_COMPARE(dialog.paymentJson(), QJsonObject());
    stock(&dialog);
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
    QVERIFY(!field<QPushButton>(dialog, "pbAccept")->isEnabled());
    QVERIFY(field<QPushButton>(dialog, "pbReject")->isEnabled());
    JSON_COMPARE(dialog.paymentJson(), QJsonObject());
    // A count without an item is no sale either.
    field<QSpinBox>(dialog, "sbSalesCount")->setValue(2);
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
    QVERIFY(!field<QPushButton>(dialog, "pbAccept")->isEnabled());
    JSON_COMPARE(dialog.paymentJson(), QJsonObject());
}

void SaleDialogsTest::choosing()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    auto *items = field<QComboBox>(dialog, "cbSalesItem");
    auto *count = field<QSpinBox>(dialog, "sbSalesCount");
    const auto *price = field<QLineEdit>(dialog, "leSalesPrice");
    choose(items, 1);
    QCOMPARE(count->value(), 1);
    QCOMPARE(price->text(), text("200.00"));
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("200.00"));
    QVERIFY(field<QPushButton>(dialog, "pbAccept")->isEnabled());
    // A count that stands there already stays.
    count->setValue(3);
    choose(items, 2);
    QCOMPARE(count->value(), 3);
    QCOMPARE(price->text(), text("50.50"));
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("151.50"));
    choose(items, 3);
    QCOMPARE(price->text(), text("0.00"));
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
    QVERIFY(!field<QPushButton>(dialog, "pbAccept")->isEnabled());
    choose(items, 1);
    choose(items, 0);
    QCOMPARE(count->value(), 0);
    QCOMPARE(price->text(), QString());
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
    QVERIFY(!field<QPushButton>(dialog, "pbAccept")->isEnabled());
    // Only the cashier's choice sets the count.
    items->setCurrentIndex(1);
    QCOMPARE(count->value(), 0);
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("0"));
}

void SaleDialogsTest::shownSum_data()
{
    QTest::addColumn<QString>("discount");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("sum");
    QTest::addColumn<bool>("payable");
    QTest::newRow("no discount") << "-" << 1 << "200.00" << true;
    QTest::newRow("empty") << "" << 1 << "200.00" << true;
    QTest::newRow("typed amount") << "=50" << 2 << "300.00" << true;
    QTest::newRow("typed percentage") << "10 %" << 1 << "180.00" << true;
    QTest::newRow("amount of the list") << "50 " << 1 << "100.00" << true;
    QTest::newRow("point vanishes") << "1.5" << 1 << "170.00" << true;
    QTest::newRow("everything") << "100" << 1 << "0" << false;
    QTest::newRow("more than everything") << "12.5" << 1 << "0" << false;
    QTest::newRow("amount of everything") << "=200" << 1 << "0" << false;
    QTest::newRow("no group signs") << "-" << 50 << "10000.00" << true;
    QTest::newRow("nothing sold") << "-" << 0 << "0" << false;
}

void SaleDialogsTest::shownSum()
{
    QFETCH(QString, discount);
    QFETCH(int, count);
    QFETCH(QString, sum);
    QFETCH(bool, payable);
    const DefaultLocale russian{QLocale(Russian)};
    SimpleSaleDialog dialog;
    stock(&dialog);
    choose(field<QComboBox>(dialog, "cbSalesItem"), 1);
    field<QSpinBox>(dialog, "sbSalesCount")->setValue(count);
    field<QComboBox>(dialog, "cbDiscountList")->setEditText(discount);
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), sum);
    QCOMPARE(field<QPushButton>(dialog, "pbAccept")->isEnabled(), payable);
}

void SaleDialogsTest::saleSumFollowsEveryField()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    const auto *sum = field<QLabel>(dialog, "lSalesSum");
    choose(field<QComboBox>(dialog, "cbSalesItem"), 1);
    field<QSpinBox>(dialog, "sbSalesCount")->setValue(2);
    QCOMPARE(sum->text(), text("400.00"));
    choose(field<QComboBox>(dialog, "cbDiscountList"), 1);
    QCOMPARE(sum->text(), text("360.00"));
    choose(field<QComboBox>(dialog, "cbDiscountList"), 2);
    QCOMPARE(sum->text(), text("200.00"));
    choose(field<QComboBox>(dialog, "cbDiscountList"), 0);
    QCOMPARE(sum->text(), text("400.00"));
    field<QComboBox>(dialog, "cbDiscountList")->lineEdit()->setText(text("=1"));
    QCOMPARE(sum->text(), text("398.00"));
    field<QComboBox>(dialog, "cbSalesItem")->setCurrentIndex(2);
    QCOMPARE(sum->text(), text("99.00"));
}

void SaleDialogsTest::saleRecord()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    choose(field<QComboBox>(dialog, "cbSalesItem"), 2);
    field<QSpinBox>(dialog, "sbSalesCount")->setValue(4);
    field<QComboBox>(dialog, "cbPayKind")->setCurrentIndex(1);
    field<QComboBox>(dialog, "cbDiscountList")->setEditText(text("10 %"));
    field<QTextEdit>(dialog, "teComment")->setPlainText(text("Две строки\n<b>со знаками</b>"));
    QJsonObject record = dialog.paymentJson();
    const QString uuid = record.take(QLatin1String("uuid")).toString();
    QVERIFY2(!QUuid(uuid).isNull() && QUuid(uuid).toString() == uuid, qPrintable(uuid));
    const double sum = record.take(QLatin1String("paySum")).toDouble();
    QVERIFY2(qAbs(sum - 181.8) < 1e-9, qPrintable(QString::number(sum, 'g', 17)));
    JSON_COMPARE(record, JsonMatch::object(R"({"price": 50.5, "discountValue": "10%", "salesCommonId": 2,
        "payMethod": "Карта", "runCount": 4, "payState": true, "comment": "Две строки\n<b>со знаками</b>"})"));
    QVERIFY(dialog.paymentJson().value(QLatin1String("uuid")).toString() != uuid);
}

void SaleDialogsTest::recordedDiscounts_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QJsonValue>("recorded");
    QTest::addColumn<double>("paySum");
    QTest::newRow("no discount") << "-" << QJsonValue(QStringLiteral("-")) << 200.0;
    QTest::newRow("empty") << "" << QJsonValue(QJsonValue::Undefined) << 200.0;
    QTest::newRow("blanks") << "  " << QJsonValue(QString()) << 200.0;
    QTest::newRow("amount") << "= 50" << QJsonValue(QStringLiteral("=50")) << 150.0;
    QTest::newRow("amount of the list") << "50 " << QJsonValue(QStringLiteral("50")) << 100.0;
    QTest::newRow("percentage") << "10 %" << QJsonValue(QStringLiteral("10%")) << 180.0;
    QTest::newRow("words") << "своим 10" << QJsonValue(QStringLiteral("своим10")) << 180.0;
}

void SaleDialogsTest::recordedDiscounts()
{
    QFETCH(QString, typed);
    QFETCH(QJsonValue, recorded);
    QFETCH(double, paySum);
    SimpleSaleDialog dialog;
    stock(&dialog);
    choose(field<QComboBox>(dialog, "cbSalesItem"), 1);
    field<QComboBox>(dialog, "cbDiscountList")->setEditText(typed);
    const QJsonObject record = dialog.paymentJson();
    QCOMPARE(record.value(QLatin1String("discountValue")), recorded);
    QCOMPARE(record.contains(QLatin1String("discountValue")), !recorded.isUndefined());
    QCOMPARE(record.value(QLatin1String("paySum")).toDouble(), paySum);
}

void SaleDialogsTest::saleByKeyboard()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    const QSignalSpy accepted(&dialog, &QDialog::accepted);
    QVERIFY(open(&dialog));
    QCOMPARE(focused(), QStringLiteral("cbSalesItem"));
    key(dialog, Qt::Key_Down);
    QCOMPARE(field<QComboBox>(dialog, "cbSalesItem")->currentText(), text("Прокат"));
    QCOMPARE(field<QSpinBox>(dialog, "sbSalesCount")->value(), 1);
    QCOMPARE(field<QLineEdit>(dialog, "leSalesPrice")->text(), text("200.00"));
    key(dialog, Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("sbSalesCount"));
    type(text("2"));
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("400.00"));
    key(dialog, Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("cbPayKind"));
    key(dialog, Qt::Key_Down);
    key(dialog, Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("cbDiscountList"));
    type(text("=50"));
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("300.00"));
    key(dialog, Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("teComment"));
    type(text("Шлем"));
    key(dialog, Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("pbAccept"));
    QCOMPARE(accepted.count(), 0);
    key(dialog, Qt::Key_Return);
    QCOMPARE(accepted.count(), 1);
    QVERIFY(!dialog.isVisible());
    JSON_CONTAINS(dialog.paymentJson(), JsonMatch::object(R"({"price": 200, "paySum": 300, "salesCommonId": 1,
        "payMethod": "Карта", "runCount": 2, "discountValue": "=50", "comment": "Шлем"})"));
}

// A line of the comment ends with Enter, everywhere else it ends the sale.
void SaleDialogsTest::enterInTheDiscount()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    const QSignalSpy accepted(&dialog, &QDialog::accepted);
    QVERIFY(open(&dialog));
    key(dialog, Qt::Key_Down);
    field<QTextEdit>(dialog, "teComment")->setFocus();
    key(dialog, Qt::Key_Return);
    QCOMPARE(accepted.count(), 0);
    QCOMPARE(field<QTextEdit>(dialog, "teComment")->toPlainText(), text("\n"));
    key(dialog, Qt::Key_Tab, Qt::ShiftModifier);
    QCOMPARE(focused(), QStringLiteral("cbDiscountList"));
    type(text("10 %"));
    key(dialog, Qt::Key_Return);
    QCOMPARE(accepted.count(), 1);
    JSON_CONTAINS(dialog.paymentJson(), JsonMatch::object(R"({"paySum": 180, "discountValue": "10%"})"));
    QCOMPARE(field<QComboBox>(dialog, "cbDiscountList")->count(), 3);
}

void SaleDialogsTest::typedDiscountIsNotCompleted()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    QVERIFY(open(&dialog));
    key(dialog, Qt::Key_Down);
    field<QComboBox>(dialog, "cbDiscountList")->setFocus();
    field<QComboBox>(dialog, "cbDiscountList")->lineEdit()->selectAll();
    type(text("5"));
    QCOMPARE(field<QComboBox>(dialog, "cbDiscountList")->currentText(), text("5"));
    QCOMPARE(field<QLabel>(dialog, "lSalesSum")->text(), text("190.00"));
    key(dialog, Qt::Key_Return);
    JSON_CONTAINS(dialog.paymentJson(), JsonMatch::object(R"({"paySum": 190, "discountValue": "5"})"));
}

void SaleDialogsTest::saleCancelled_data()
{
    QTest::addColumn<QString>("focus");
    QTest::addColumn<int>("pressed");
    QTest::newRow("escape in the items") << "cbSalesItem" << int(Qt::Key_Escape);
    QTest::newRow("escape in the discount") << "cbDiscountList" << int(Qt::Key_Escape);
    QTest::newRow("escape in the comment") << "teComment" << int(Qt::Key_Escape);
    QTest::newRow("space on the button") << "pbReject" << int(Qt::Key_Space);
    QTest::newRow("enter on the button") << "pbReject" << int(Qt::Key_Return);
}

void SaleDialogsTest::saleCancelled()
{
    QFETCH(QString, focus);
    QFETCH(int, pressed);
    SimpleSaleDialog dialog;
    stock(&dialog);
    const QSignalSpy accepted(&dialog, &QDialog::accepted);
    const QSignalSpy rejected(&dialog, &QDialog::rejected);
    QVERIFY(open(&dialog));
    key(dialog, Qt::Key_Down);
    dialog.findChild<QWidget *>(focus)->setFocus();
    key(dialog, Qt::Key(pressed));
    QCOMPARE(accepted.count(), 0);
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!dialog.isVisible());
}

void SaleDialogsTest::enterWithNothingToPay()
{
    SimpleSaleDialog dialog;
    stock(&dialog);
    QVERIFY(open(&dialog));
    key(dialog, Qt::Key_Return);
    QVERIFY(dialog.isVisible());
    key(dialog, Qt::Key_Down);
    field<QComboBox>(dialog, "cbDiscountList")->setEditText(text("100"));
    key(dialog, Qt::Key_Return);
    QVERIFY(dialog.isVisible());
    QTest::mouseClick(field<QPushButton>(dialog, "pbAccept"), Qt::LeftButton);
    QVERIFY(dialog.isVisible());
    field<QComboBox>(dialog, "cbDiscountList")->setEditText(text("99"));
    QTest::mouseClick(field<QPushButton>(dialog, "pbAccept"), Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void SaleDialogsTest::refundForm()
{
    const RefundDialog dialog;
    QCOMPARE(dialog.windowTitle(), text("Возврат оплаты"));
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    QCOMPARE(labelOf(dialog, "lClientName"), text("Клиент:"));
    QCOMPARE(labelOf(dialog, "sdbRefundSum"), text("Сумма возврата:"));
    QCOMPARE(labelOf(dialog, "sbTicketsCount"), text("Кол-во билетов"));
    QCOMPARE(labelOf(dialog, "lPayKind"), text("Способ оплаты"));
    const QList<QLabel *> labels = dialog.findChildren<QLabel *>();
    const auto reason = std::find_if(labels.begin(), labels.end(), [](const QLabel *label) {
        return label->text() == text("Комментарий/причина возврата");
    });
    QVERIFY(reason != labels.end());
    QVERIFY((*reason)->buddy() == field<QPlainTextEdit>(dialog, "peComment"));
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->maximum(), 999999.99);
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->minimum(), 0.0);
    QCOMPARE(field<QSpinBox>(dialog, "sbTicketsCount")->minimum(), 1);
    QCOMPARE(field<QDialogButtonBox>(dialog, "buttonBox")->standardButtons(),
             QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void SaleDialogsTest::refundSlots()
{
    QVERIFY(RefundDialog::staticMetaObject.superClass() == &QDialog::staticMetaObject);
    QCOMPARE(ownSlots(RefundDialog::staticMetaObject),
             (QStringList{QStringLiteral("accept()"), QStringLiteral("on_sbTicketsCount_valueChanged(int)")}));
}

void SaleDialogsTest::refundStartValues()
{
    const RefundDialog dialog;
    QCOMPARE(dialog.clientName, QString());
    QCOMPARE(dialog.payKind, QString());
    QCOMPARE(dialog.ticketPrice, 0.0);
    QCOMPARE(dialog.refundSum, 0.0);
    QCOMPARE(dialog.refundComment, QString());
    QCOMPARE(dialog.clientId, -1);
    QCOMPARE(dialog.refundTicketsCount, 1);
    QCOMPARE(dialog.maxTicketsCount, 99);
}

void SaleDialogsTest::refundShows()
{
    RefundDialog dialog;
    dialog.clientName = text("Иванова <b>Анна</b>");
    dialog.payKind = text("Карта & другое");
    dialog.ticketPrice = 150.5;
    dialog.refundSum = 301;
    dialog.refundTicketsCount = 2;
    dialog.maxTicketsCount = 3;
    dialog.refundComment = text("Дождь");
    QVERIFY(open(&dialog));
    QCOMPARE(field<QLabel>(dialog, "lClientName")->text(), dialog.clientName);
    QCOMPARE(field<QLabel>(dialog, "lClientName")->textFormat(), Qt::PlainText);
    QCOMPARE(field<QLabel>(dialog, "lPayKind")->text(), dialog.payKind);
    QCOMPARE(field<QLabel>(dialog, "lPayKind")->textFormat(), Qt::PlainText);
    QCOMPARE(field<QSpinBox>(dialog, "sbTicketsCount")->maximum(), 3);
    QCOMPARE(field<QSpinBox>(dialog, "sbTicketsCount")->value(), 2);
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->value(), 301.0);
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->text(), text("301.00"));
    QCOMPARE(field<QPlainTextEdit>(dialog, "peComment")->toPlainText(), text("Дождь"));
    QCOMPARE(focused(), QStringLiteral("peComment"));
}

void SaleDialogsTest::sumFollowsTheCount()
{
    RefundDialog dialog;
    dialog.ticketPrice = 150.5;
    dialog.refundSum = 150.5;
    dialog.maxTicketsCount = 3;
    QVERIFY(open(&dialog));
    auto *count = field<QSpinBox>(dialog, "sbTicketsCount");
    auto *sum = field<QDoubleSpinBox>(dialog, "sdbRefundSum");
    QCOMPARE(sum->value(), 150.5);
    count->setValue(2);
    QCOMPARE(sum->value(), 301.0);
    sum->setValue(77);
    count->setValue(3);
    QCOMPARE(sum->value(), 451.5);
    count->setValue(4);
    QCOMPARE(count->value(), 3);
    count->setValue(0);
    QCOMPARE(count->value(), 1);
    QCOMPARE(sum->value(), 150.5);
}

void SaleDialogsTest::refundReadBack()
{
    RefundDialog dialog;
    dialog.clientName = text("Иванова Анна");
    dialog.ticketPrice = 100;
    dialog.refundSum = 100;
    dialog.clientId = 7;
    dialog.maxTicketsCount = 3;
    QVERIFY(open(&dialog));
    field<QSpinBox>(dialog, "sbTicketsCount")->setValue(2);
    field<QDoubleSpinBox>(dialog, "sdbRefundSum")->setValue(150.25);
    field<QPlainTextEdit>(dialog, "peComment")->setPlainText(text("Дождь"));
    QCOMPARE(dialog.refundSum, 100.0);
    QTest::mouseClick(field<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok), Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.refundSum, 150.25);
    QCOMPARE(dialog.refundTicketsCount, 2);
    QCOMPARE(dialog.refundComment, text("Дождь"));
    QCOMPARE(dialog.clientName, text("Иванова Анна"));
    QCOMPARE(dialog.clientId, 7);
    QCOMPARE(dialog.ticketPrice, 100.0);
    QCOMPARE(dialog.maxTicketsCount, 3);
}

void SaleDialogsTest::refundCancelled()
{
    RefundDialog dialog;
    dialog.ticketPrice = 100;
    dialog.refundSum = 100;
    dialog.maxTicketsCount = 3;
    QVERIFY(open(&dialog));
    field<QSpinBox>(dialog, "sbTicketsCount")->setValue(2);
    field<QPlainTextEdit>(dialog, "peComment")->setPlainText(text("Дождь"));
    key(dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(dialog.refundSum, 100.0);
    QCOMPARE(dialog.refundTicketsCount, 1);
    QCOMPARE(dialog.refundComment, QString());
}

void SaleDialogsTest::refundByKeyboard()
{
    RefundDialog dialog;
    dialog.ticketPrice = 100;
    dialog.refundSum = 100;
    dialog.maxTicketsCount = 3;
    const QSignalSpy accepted(&dialog, &QDialog::accepted);
    QVERIFY(open(&dialog));
    QCOMPARE(focused(), QStringLiteral("peComment"));
    type(text("Дождь"));
    key(dialog, Qt::Key_Return);
    QCOMPARE(accepted.count(), 0);
    type(text("и град"));
    // Both numbers are within reach of Tab; the count comes first, since it writes the sum.
    QStringList reached;
    for (int i = 0; i < 6 && !reached.contains(QStringLiteral("sbTicketsCount")); ++i) {
        key(dialog, Qt::Key_Tab);
        reached.append(focused());
    }
    QCOMPARE(focused(), QStringLiteral("sbTicketsCount"));
    type(text("2"));
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->value(), 200.0);
    for (int i = 0; i < 6 && focused() != QStringLiteral("sdbRefundSum"); ++i)
        key(dialog, Qt::Key_Tab, reached.contains(QStringLiteral("sdbRefundSum")) ? Qt::ShiftModifier : Qt::NoModifier);
    QCOMPARE(focused(), QStringLiteral("sdbRefundSum"));
    type(text("150"));
    key(dialog, Qt::Key_Return);
    QCOMPARE(accepted.count(), 1);
    QCOMPARE(dialog.refundSum, 150.0);
    QCOMPARE(dialog.refundTicketsCount, 2);
    QCOMPARE(dialog.refundComment, text("Дождь\nи град"));
}

void SaleDialogsTest::typedSum_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<double>("sum");
    QTest::addColumn<bool>("russian");
    for (const bool russian : {false, true}) {
        const char *where = russian ? "ru" : "C";
        const auto row = [&](const char *typed, double sum) {
            QTest::addRow("%s: %s", where, typed) << text(typed) << sum << russian;
        };
        row("150,50", 150.5);
        row("150.50", 150.5);
        row("150,5", 150.5);
        row("150.", 150.0);
        row("150,", 150.0);
        row("1000", 1000.0);
        row("0,05", 0.05);
        row("999999,99", 999999.99);
        row("999999.99", 999999.99);
    }
}

void SaleDialogsTest::typedSum()
{
    QFETCH(QString, typed);
    QFETCH(double, sum);
    QFETCH(bool, russian);
    const DefaultLocale machine(russian ? QLocale(Russian, QLocale::Russia) : QLocale::c());
    RefundDialog dialog;
    dialog.ticketPrice = 10;
    dialog.refundSum = 10;
    QVERIFY(open(&dialog));
    auto *box = field<QDoubleSpinBox>(dialog, "sdbRefundSum");
    QCOMPARE(box->text(), text("10.00"));
    box->setFocus();
    box->selectAll();
    type(typed);
    key(dialog, Qt::Key_Return);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.refundSum, sum);
}

void SaleDialogsTest::sumLimits()
{
    RefundDialog dialog;
    dialog.ticketPrice = 600000;
    dialog.refundSum = 600000;
    dialog.maxTicketsCount = 2;
    QVERIFY(open(&dialog));
    field<QSpinBox>(dialog, "sbTicketsCount")->setValue(2);
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->value(), 999999.99);
    // A sum is given back, never taken.
    RefundDialog negative;
    negative.ticketPrice = -50;
    negative.refundSum = -50;
    QVERIFY(open(&negative));
    QCOMPARE(field<QDoubleSpinBox>(negative, "sdbRefundSum")->value(), 0.0);
}

void SaleDialogsTest::comesBackFromTheTaskBar()
{
    RefundDialog dialog;
    dialog.ticketPrice = 100;
    dialog.refundSum = 100;
    dialog.maxTicketsCount = 3;
    QVERIFY(open(&dialog));
    field<QPlainTextEdit>(dialog, "peComment")->setPlainText(text("Дождь"));
    field<QSpinBox>(dialog, "sbTicketsCount")->setValue(2);
    QShowEvent shown;
    QSpontaneKeyEvent::setSpontaneous(&shown);
    // Sent by the window system, not by the program.
    qApp->notify(&dialog, &shown);
    QCOMPARE(field<QPlainTextEdit>(dialog, "peComment")->toPlainText(), text("Дождь"));
    QCOMPARE(field<QSpinBox>(dialog, "sbTicketsCount")->value(), 2);
    QCOMPARE(field<QDoubleSpinBox>(dialog, "sdbRefundSum")->value(), 200.0);
}

DESK_TEST_MAIN(SaleDialogsTest)
#include "tst_saledialogs.moc"
