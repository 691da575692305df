#ifndef PRICESMODEL_H
#define PRICESMODEL_H

#include "prices/priceitem.h"
#include "registration/tables/clearbackgroundtablemodel.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QSqlDatabase>
#include <QStringList>

/// The price book: the tables `price_list` and `price_types` of the shared database, the discounts and payment methods of
/// the settings, and the table that the price tabs show. Deleting is soft: no row ever goes away. GUI thread.
class PricesModel : public ClearbackgroundTableModel
{
    Q_OBJECT

public:
    /// Opens the connection "prices"; loads nothing.
    explicit PricesModel(QObject *parent = nullptr);
    ~PricesModel() override;

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    /// Reads everything anew from the database and the settings. Sends no signal: whoever calls it tells the views. While
    /// any item lives, a block without items is not listed.
    void loadPrices();
    /// Reads the car models anew from the database.
    void loadModelNames();
    /// Adds an item, without a name yet, to every block and stores it. Returns the index where editing starts.
    /// settingsChanged() waits for the first edit.
    QModelIndex addNewPriceItem();
    /// Adds a block with a copy of every template row and stores it. Returns its id.
    int addPricesBlock(const QString &name);
    /// Deletes the items in these rows of the current block from every block. The rows ascend.
    void removePriceItems(const QList<int> &rows);
    /// Deletes the block at this position of `priceTypeNames`. The caller moves `currentPriceType` if it has to.
    void removePricesBlock(int position);
    /// Renames the block at this position of `priceTypeNames`.
    void renamePricesBlock(int position, const QString &name);
    /// Shows the block at this position of `priceTypeNames`, and prices sales from it.
    void setCurrentPricesBlock(int position);
    /// Writes every block of `priceTypeNames` with its items, then sends settingsChanged(). Blocks while another program
    /// holds the database.
    void updatePrices();
    /// The items of the current block.
    QList<PriceItem> currentPriceItems() const;
    /// The first item with this id in any block; an all-zero item if there is none.
    PriceItem findPriceItem(int id) const;
    /// Colours the item in every block. Writes nothing: updatePrices() does.
    void setItemColor(const PriceItem &item, const QColor &color);
    /// Offers the item to kiosks, or no longer, in every block. Writes nothing: updatePrices() does.
    void toggleRemoteAvail(const PriceItem &item);
    /// Names the item's car model in every block; empty for any. Writes nothing: updatePrices() does.
    void setItemModel(qint32 commonId, const QString &modelName);
    /// Id of the block at this position of `priceTypeNames`, or 0 if there is none.
    int blockAt(int position) const;
    /// Position of a block in `priceTypeNames`, or -1.
    int blockPosition(int blockId) const;
    /// Row of an item in the current block, or -1.
    int rowOf(qint32 commonId) const;
    /// Names of the blocks in the order of their ids.
    QJsonArray priceTypeNamesJson() const;
    /// The current block as the online service takes it.
    QJsonObject currentPricesJson() const;

    /// Items per block; key -1 holds the template rows.
    QMap<int, QList<PriceItem>> pricesByType;
    /// Block id to name.
    QMap<int, QString> priceTypeNames;
    /// Distinct car models of the table `cars`.
    QStringList modelNames;
    QList<DiscountItem> discounts;
    QStringList payMethods;
    /// Block that the model shows and sales are priced from.
    int currentPriceType = -1;

Q_SIGNALS:
    /// The book changed; every block was written.
    void settingsChanged();
    /// Items left every block; the argument holds their common ids.
    void priceItemsRemoved(QList<qint32> idsList);

private:
    void loadBlocks();
    void loadSettings();
    void movePersistentIndexes(const QList<qint32> &commonIds);
    QList<qint32> currentCommonIds() const;
    template <typename Change> void changeEverywhere(qint32 commonId, Change change);

    QSqlDatabase db;
};

#endif // PRICESMODEL_H
