#ifndef PRICESDELEGATE_H
#define PRICESDELEGATE_H

#include "registration/tables/griddelegate.h"

#include <QPointer>

class PricesModel;

/// Edits the price tabs; the car model of an item is picked from a list. GUI thread.
class PricesDelegate : public GridDelegate
{
    Q_OBJECT

public:
    explicit PricesDelegate(QObject *parent = nullptr);

    /// Binds the delegate to the price book, which is not owned.
    void setPricesModel(PricesModel *newModel);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    QPointer<PricesModel> pricesModel;
};

#endif // PRICESDELEGATE_H
