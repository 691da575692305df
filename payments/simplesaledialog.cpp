#include "payments/simplesaledialog.h"

#include "payments/salerules.h"
#include "ui_simplesaledialog.h"

#include <QUuid>

namespace {

QString noChoice()
{
    return QStringLiteral("-");
}

} // namespace

SimpleSaleDialog::SimpleSaleDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::SimpleSaleDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
    // "5" is five percent and not the first entry that begins with it.
    ui->cbDiscountList->setCompleter(nullptr);
    updateSum();
}

SimpleSaleDialog::~SimpleSaleDialog() = default;

void SimpleSaleDialog::setPriceItems(const QList<PriceItem> &items)
{
    priceItems = items;
    ui->cbSalesItem->clear();
    ui->cbSalesItem->addItem(noChoice());
    for (const PriceItem &item : items)
        ui->cbSalesItem->addItem(item.salesItem);
}

void SimpleSaleDialog::setDiscounts(const QList<DiscountItem> &list)
{
    discounts = list;
    ui->cbDiscountList->clear();
    ui->cbDiscountList->addItem(noChoice());
    for (const DiscountItem &discount : list)
        ui->cbDiscountList->addItem(SaleRules::discountEntry(discount));
}

void SimpleSaleDialog::setPayMethods(const QStringList &methods)
{
    payMethods = methods;
    ui->cbPayKind->clear();
    ui->cbPayKind->addItems(methods);
}

bool SimpleSaleDialog::hasGoods() const
{
    return ui->cbSalesItem->currentIndex() >= 1 && ui->sbSalesCount->value() >= 1;
}

QJsonObject SimpleSaleDialog::paymentJson() const
{
    if (!hasGoods())
        return QJsonObject();
    const PriceItem &item = priceItems.at(ui->cbSalesItem->currentIndex() - 1);
    const QString discount = ui->cbDiscountList->currentText();
    const int count = ui->sbSalesCount->value();
    QJsonObject record{
        {QLatin1String("uuid"), QUuid::createUuid().toString()},
        {QLatin1String("price"), item.sum},
        {QLatin1String("paySum"), SaleRules::saleTotal(discount, item.sum, count)},
        {QLatin1String("salesCommonId"), item.commonId},
        {QLatin1String("payMethod"), ui->cbPayKind->currentText()},
        {QLatin1String("runCount"), count},
        {QLatin1String("payState"), true},
        {QLatin1String("comment"), ui->teComment->toPlainText()},
    };
    if (!discount.isEmpty())
        record.insert(QLatin1String("discountValue"), SaleRules::recordedDiscount(discount));
    return record;
}

void SimpleSaleDialog::on_cbSalesItem_activated(int index)
{
    if (index < 1) {
        ui->sbSalesCount->setValue(0);
        ui->leSalesPrice->clear();
        return;
    }
    if (ui->sbSalesCount->value() == 0)
        ui->sbSalesCount->setValue(1);
    chosenItem = priceItems.at(index - 1);
    ui->leSalesPrice->setText(SaleRules::moneyLocale().toCurrencyString(chosenItem.sum));
}

void SimpleSaleDialog::on_cbSalesItem_currentIndexChanged(int index)
{
    Q_UNUSED(index)
    updateSum();
}

void SimpleSaleDialog::on_sbSalesCount_valueChanged(int arg1)
{
    Q_UNUSED(arg1)
    updateSum();
}

void SimpleSaleDialog::on_cbDiscountList_currentIndexChanged(QString arg1)
{
    Q_UNUSED(arg1)
    updateSum();
}

void SimpleSaleDialog::on_cbDiscountList_editTextChanged(QString arg1)
{
    Q_UNUSED(arg1)
    updateSum();
}

void SimpleSaleDialog::on_pbReject_clicked()
{
    reject();
}

void SimpleSaleDialog::on_pbAccept_clicked()
{
    accept();
}

void SimpleSaleDialog::updateSum()
{
    double total = 0.0;
    if (hasGoods()) {
        const PriceItem &item = priceItems.at(ui->cbSalesItem->currentIndex() - 1);
        total = SaleRules::saleTotal(ui->cbDiscountList->currentText(), item.sum, ui->sbSalesCount->value());
    }
    const bool payable = total > 0.0;
    ui->pbAccept->setEnabled(payable);
    ui->lSalesSum->setText(payable ? SaleRules::moneyLocale().toCurrencyString(total) : QStringLiteral("0"));
}
