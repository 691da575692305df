#include "prices/pricesdelegate.h"

#include "prices/pricesmodel.h"

#include <QComboBox>
#include <QPersistentModelIndex>

namespace {

/// Gives the item in this cell its car model, in every block. The row may be gone by now.
void pickModel(PricesModel *pricesModel, const QPersistentModelIndex &cell, const QString &modelName)
{
    if (!pricesModel || !cell.isValid())
        return;
    const QList<PriceItem> items = pricesModel->currentPriceItems();
    if (cell.row() >= items.size())
        return;
    pricesModel->setItemModel(items.at(cell.row()).commonId, modelName);
    pricesModel->updatePrices();
}

} // namespace

PricesDelegate::PricesDelegate(QObject *parent)
    : GridDelegate(parent)
{
}

void PricesDelegate::setPricesModel(PricesModel *newModel)
{
    pricesModel = newModel;
}

QWidget *PricesDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                      const QModelIndex &index) const
{
    if (!pricesModel || !index.isValid() || pricesModel->columnKey(index.column()) != QLatin1String("MODEL"))
        return GridDelegate::createEditor(parent, option, index);

    auto *combo = new QComboBox(parent);
    combo->addItem(QStringLiteral("--"), QString(QLatin1String("")));
    for (const QString &name : qAsConst(pricesModel->modelNames))
        combo->addItem(name, name);
    connect(combo, QOverload<int>::of(&QComboBox::activated), combo,
            [combo, model = pricesModel, cell = QPersistentModelIndex(index)](int entry) {
                // The book tells the whole desk of the edit, and the editor may not survive that.
                const QPointer<QComboBox> editor(combo);
                pickModel(model, cell, combo->itemData(entry).toString());
                if (!editor)
                    return;
                editor->close();
                if (editor && editor->parentWidget())
                    editor->parentWidget()->setFocus(Qt::OtherFocusReason);
            });
    return combo;
}
