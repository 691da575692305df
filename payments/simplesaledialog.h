#ifndef SIMPLESALEDIALOG_H
#define SIMPLESALEDIALOG_H

#include "prices/priceitem.h"

#include <QDialog>
#include <QJsonObject>
#include <QList>
#include <QStringList>

#include <memory>

namespace Ui {
class SimpleSaleDialog;
}

/// A sale of any price item, without a racer. It keeps the items that it was given, whatever happens to the price book
/// while it is open. Lives on the stack for one exec().
class SimpleSaleDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SimpleSaleDialog(QWidget *parent = nullptr);
    ~SimpleSaleDialog() override;

    void setPriceItems(const QList<PriceItem> &items);
    void setDiscounts(const QList<DiscountItem> &list);
    void setPayMethods(const QStringList &methods);

    /// The payment record of the sale, without its price type; empty if nothing is chosen.
    QJsonObject paymentJson() const;

private Q_SLOTS:
    void on_cbSalesItem_activated(int index);
    void on_cbSalesItem_currentIndexChanged(int index);
    void on_sbSalesCount_valueChanged(int arg1);
    void on_cbDiscountList_currentIndexChanged(QString arg1);
    void on_pbReject_clicked();
    void on_pbAccept_clicked();
    void on_cbDiscountList_editTextChanged(QString arg1);

private:
    void updateSum();
    bool hasGoods() const;

    PriceItem chosenItem;
    QList<PriceItem> priceItems;
    QList<DiscountItem> discounts;
    QStringList payMethods;
    std::unique_ptr<Ui::SimpleSaleDialog> ui;
};

#endif // SIMPLESALEDIALOG_H
