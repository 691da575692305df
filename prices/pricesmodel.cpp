#include "prices/pricesmodel.h"

#include "common/deskpaths.h"
#include "common/sqlwrite.h"
#include "prices/pricerules.h"

#include <QSettings>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <iterator>

namespace {

/// Block of the template rows: the first row of every item, from which a new block takes its copies.
const int templateBlock = -1;

QString connectionName()
{
    return QStringLiteral("prices");
}

/// A text as a value to bind. An unset text would be stored as NULL.
QVariant boundText(const QString &text)
{
    return text.isNull() ? QVariant(QLatin1String("")) : QVariant(text);
}

/// Binds what an item carries besides its keys.
void bindContent(QSqlQuery &query, const PriceItem &item)
{
    query.bindValue(QStringLiteral(":si"), boundText(item.salesItem));
    query.bindValue(QStringLiteral(":c"), item.color.name());
    query.bindValue(QStringLiteral(":m"), boundText(item.model));
    query.bindValue(QStringLiteral(":sum"), item.sum);
    query.bindValue(QStringLiteral(":ar"), boundText(item.availRules));
    query.bindValue(QStringLiteral(":sr"), item.showRemote);
}

PriceItem readItem(const QSqlQuery &query)
{
    PriceItem item;
    item.id = query.value(QStringLiteral("id")).toInt();
    item.commonId = query.value(QStringLiteral("common_id")).toInt();
    item.salesItem = query.value(QStringLiteral("sales_item")).toString();
    item.color.setNamedColor(query.value(QStringLiteral("color")).toString());
    item.model = query.value(QStringLiteral("model")).toString();
    item.sum = query.value(QStringLiteral("sum")).toDouble();
    item.showRemote = query.value(QStringLiteral("show_remote")).toInt();
    return item;
}

PriceItem zeroItem()
{
    PriceItem item;
    item.id = 0;
    item.commonId = 0;
    item.showRemote = 0;
    item.color = QColor();
    return item;
}

} // namespace

PricesModel::PricesModel(QObject *parent)
    : ClearbackgroundTableModel(parent)
    , db(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName()))
{
    columns = {
        {tr("#"), Qt::AlignRight, 60, QStringLiteral("POS"), Qt::AlignCenter},
        {tr("Услуга"), Qt::AlignLeft, 220, QStringLiteral("SALES_ITEM"), Qt::AlignCenter},
        {tr("Модель"), Qt::AlignLeft, 80, QStringLiteral("MODEL"), Qt::AlignCenter},
        {tr("Цена"), Qt::AlignRight, 80, QStringLiteral("PRICE"), Qt::AlignCenter},
        {tr("Цвет"), Qt::AlignLeft, 60, QStringLiteral("COLOR"), Qt::AlignCenter},
        {tr("Доступно\nв киоске"), Qt::AlignCenter, 60, QStringLiteral("REMOTE_AVAIL"), Qt::AlignCenter},
    };
    db.setDatabaseName(DeskPaths::database());
    // A database that does not open costs nothing here: every statement on it fails without effect.
    db.open();
}

PricesModel::~PricesModel()
{
    db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName());
}

QModelIndex PricesModel::index(int row, int column, const QModelIndex &parent) const
{
    Q_UNUSED(parent)
    return createIndex(row, column);
}

QModelIndex PricesModel::parent(const QModelIndex &index) const
{
    Q_UNUSED(index)
    return QModelIndex();
}

int PricesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : pricesByType.value(currentPriceType).size();
}

QVariant PricesModel::data(const QModelIndex &index, int role) const
{
    const QList<PriceItem> items = pricesByType.value(currentPriceType);
    // The current block may change under a view that has not been told yet.
    if (!index.isValid() || index.row() >= items.size())
        return ClearbackgroundTableModel::data(index, role);
    const PriceItem &item = items.at(index.row());
    const QString key = columnKey(index.column());

    if (role == Qt::DisplayRole || role == Qt::EditRole) {
        if (key == QLatin1String("POS"))
            return index.row() + 1;
        if (key == QLatin1String("SALES_ITEM"))
            return item.salesItem;
        if (key == QLatin1String("MODEL"))
            return item.model;
        if (key == QLatin1String("PRICE"))
            return item.sum;
        if (key == QLatin1String("REMOTE_AVAIL"))
            return item.showRemote != 0 ? tr("Да") : tr("Нет");
    } else if (role == Qt::BackgroundRole) {
        if (key == QLatin1String("COLOR"))
            return QBrush(item.color, Qt::SolidPattern);
        if (key == QLatin1String("REMOTE_AVAIL"))
            return QBrush(item.showRemote != 0 ? Qt::green : Qt::red, Qt::SolidPattern);
    } else if (role == Qt::ForegroundRole) {
        if (key == QLatin1String("REMOTE_AVAIL"))
            return QColor(item.showRemote != 0 ? Qt::black : Qt::white);
    }
    return ClearbackgroundTableModel::data(index, role);
}

bool PricesModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const auto block = pricesByType.find(currentPriceType);
    if (role == Qt::EditRole && index.isValid() && block != pricesByType.end() && index.row() < block->size()) {
        const QString key = columnKey(index.column());
        if (key == QLatin1String("SALES_ITEM")) {
            const QString name = value.toString();
            changeEverywhere(block->at(index.row()).commonId, [&name](PriceItem &item) { item.salesItem = name; });
            updatePrices();
            return true;
        }
        if (key == QLatin1String("PRICE")) {
            (*block)[index.row()].sum = value.toDouble();
            updatePrices();
            return true;
        }
    }
    return ClearbackgroundTableModel::setData(index, value, role);
}

Qt::ItemFlags PricesModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags base = ClearbackgroundTableModel::flags(index);
    const QString key = columnKey(index.column());
    if (key == QLatin1String("SALES_ITEM") || key == QLatin1String("PRICE") || key == QLatin1String("MODEL"))
        return base | Qt::ItemIsEditable;
    return base;
}

void PricesModel::loadPrices()
{
    pricesByType.clear();
    priceTypeNames.clear();
    loadBlocks();
    loadModelNames();
    loadSettings();
}

void PricesModel::loadBlocks()
{
    QSqlQuery query(db);
    query.exec(QStringLiteral("PRAGMA encoding=UTF8"));
    if (!query.exec(QStringLiteral("SELECT pl.*,pt.name as price_kind FROM price_list pl LEFT JOIN price_types pt "
                                   "ON pt.id=pl.price_type WHERE pl.is_deleted = 0 "
                                   "ORDER BY pl.price_type,pl.sales_item"))) {
        return;
    }
    bool anyItem = false;
    while (query.next()) {
        anyItem = true;
        const int priceType = query.value(QStringLiteral("price_type")).toInt();
        pricesByType[priceType].append(readItem(query));
        priceTypeNames[priceType] = query.value(QStringLiteral("price_kind")).toString();
    }
    if (anyItem || !query.exec(QStringLiteral("SELECT * FROM price_types WHERE is_deleted=0")))
        return;
    while (query.next())
        priceTypeNames[query.value(QStringLiteral("id")).toInt()] = query.value(QStringLiteral("name")).toString();
}

void PricesModel::loadModelNames()
{
    modelNames.clear();
    QSqlQuery query(db);
    query.exec(QStringLiteral("SELECT DISTINCT(name) FROM cars"));
    while (query.next())
        modelNames.append(query.value(0).toString());
}

void PricesModel::loadSettings()
{
    const QSettings settings(QLatin1String("zz.ordvex"), QLatin1String("prices"));
    discounts = PriceRules::parseDiscounts(settings.value(QLatin1String("discounts")).toByteArray());
    payMethods = PriceRules::settingTexts(settings.value(QLatin1String("paymethods")).toByteArray());
}

QModelIndex PricesModel::addNewPriceItem()
{
    Q_EMIT layoutAboutToBeChanged();
    PriceItem item;
    const bool writing = SqlWrite::begin(db);
    QSqlQuery query(db);
    if (writing)
        query.exec(QStringLiteral("INSERT INTO price_list DEFAULT VALUES"));
    item.id = query.lastInsertId().toInt();
    item.commonId = item.id;
    const QModelIndex added = index(pricesByType.value(templateBlock).size(), 1);
    pricesByType[templateBlock].append(item);

    if (writing) {
        QSqlQuery common(db);
        common.prepare(QStringLiteral("UPDATE price_list SET common_id=id WHERE id=:id"));
        common.bindValue(QStringLiteral(":id"), item.id);
        common.exec();
        query.prepare(QStringLiteral("INSERT INTO price_list (common_id,price_type) VALUES (:cmnid,:pt)"));
    }
    for (auto name = priceTypeNames.constBegin(); name != priceTypeNames.constEnd(); ++name) {
        if (name.key() == templateBlock)
            continue;
        if (writing) {
            query.bindValue(QStringLiteral(":cmnid"), item.commonId);
            query.bindValue(QStringLiteral(":pt"), name.key());
            query.exec();
        }
        item.id = query.lastInsertId().toInt();
        pricesByType[name.key()].append(item);
    }
    if (writing)
        SqlWrite::commit(db);
    Q_EMIT layoutChanged();
    return added;
}

int PricesModel::addPricesBlock(const QString &name)
{
    const bool writing = SqlWrite::begin(db);
    QSqlQuery query(db);
    if (writing) {
        query.prepare(QStringLiteral("INSERT INTO price_types (name) VALUES (:nm)"));
        query.bindValue(QStringLiteral(":nm"), boundText(name));
        query.exec();
    }
    const int blockId = query.lastInsertId().toInt();
    if (writing) {
        query.prepare(QStringLiteral("INSERT INTO price_list (common_id,price_type,sales_item,color,model,sum,"
                                     "avail_rules,show_remote) VALUES (:cmnid,:pt,:si,:c,:m,:sum,:ar,:sr)"));
    }
    const QList<PriceItem> templates = pricesByType.value(templateBlock);
    for (PriceItem item : templates) {
        if (writing) {
            query.bindValue(QStringLiteral(":cmnid"), item.commonId);
            query.bindValue(QStringLiteral(":pt"), blockId);
            bindContent(query, item);
            query.exec();
        }
        item.id = query.lastInsertId().toInt();
        pricesByType[blockId].append(item);
    }
    if (writing)
        SqlWrite::commit(db);
    priceTypeNames[blockId] = name;
    updatePrices();
    return blockId;
}

void PricesModel::removePriceItems(const QList<int> &rows)
{
    Q_EMIT layoutAboutToBeChanged();
    const QList<qint32> before = currentCommonIds();
    QList<PriceItem> block = currentPriceItems();
    QList<qint32> commonIds;
    for (int i = 0; i < rows.size(); ++i) {
        const int row = rows.at(i) - i;
        commonIds.append(block.value(row).commonId);
        if (row >= 0 && row < block.size())
            block.removeAt(row);
    }

    const bool writing = SqlWrite::begin(db);
    QSqlQuery query(db);
    if (writing)
        query.prepare(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE common_id=:id"));
    QList<qint32> idsList;
    for (const qint32 commonId : qAsConst(commonIds)) {
        idsList.append(commonId);
        for (QList<PriceItem> &items : pricesByType) {
            items.erase(std::remove_if(items.begin(), items.end(),
                                       [commonId](const PriceItem &item) { return item.commonId == commonId; }),
                        items.end());
        }
        if (writing) {
            query.bindValue(QStringLiteral(":id"), commonId);
            query.exec();
        }
    }
    if (writing)
        SqlWrite::commit(db);
    movePersistentIndexes(before);
    updatePrices();
    Q_EMIT priceItemsRemoved(idsList);
    Q_EMIT layoutChanged();
}

void PricesModel::removePricesBlock(int position)
{
    const bool writing = SqlWrite::begin(db);
    const int blockId = blockAt(position);
    if (writing) {
        QSqlQuery query(db);
        query.prepare(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE price_type=:id"));
        query.bindValue(QStringLiteral(":id"), blockId);
        query.exec();
        query.prepare(QStringLiteral("UPDATE price_types SET is_deleted=1 WHERE id=:id"));
        query.bindValue(QStringLiteral(":id"), blockId);
        query.exec();
        SqlWrite::commit(db);
    }
    Q_EMIT layoutAboutToBeChanged();
    const QList<qint32> before = currentCommonIds();
    priceTypeNames.remove(blockId);
    pricesByType.remove(blockId);
    movePersistentIndexes(before);
    Q_EMIT layoutChanged();
    updatePrices();
}

void PricesModel::renamePricesBlock(int position, const QString &name)
{
    if (position < 0 || position >= priceTypeNames.size())
        return;
    priceTypeNames[blockAt(position)] = name;
    updatePrices();
}

void PricesModel::setCurrentPricesBlock(int position)
{
    Q_EMIT layoutAboutToBeChanged();
    const QList<qint32> before = currentCommonIds();
    currentPriceType = blockAt(position);
    movePersistentIndexes(before);
    Q_EMIT layoutChanged();
}

void PricesModel::updatePrices()
{
    if (SqlWrite::begin(db)) {
        QSqlQuery typeQuery(db);
        QSqlQuery itemQuery(db);
        typeQuery.prepare(QStringLiteral("REPLACE INTO price_types (id,name) VALUES (:id,:nm)"));
        itemQuery.prepare(QStringLiteral("REPLACE INTO price_list (id,common_id,price_type,sales_item,color,model,sum,"
                                         "avail_rules,show_remote) VALUES "
                                         "(:id,:cmnid,:pt,:si,:c,:m,:sum,:ar,:sr)"));
        for (auto name = priceTypeNames.constBegin(); name != priceTypeNames.constEnd(); ++name) {
            typeQuery.bindValue(QStringLiteral(":id"), name.key());
            typeQuery.bindValue(QStringLiteral(":nm"), boundText(name.value()));
            typeQuery.exec();
            const QList<PriceItem> items = pricesByType.value(name.key());
            for (const PriceItem &item : items) {
                itemQuery.bindValue(QStringLiteral(":id"), item.id);
                itemQuery.bindValue(QStringLiteral(":cmnid"), item.commonId);
                itemQuery.bindValue(QStringLiteral(":pt"), name.key());
                bindContent(itemQuery, item);
                itemQuery.exec();
            }
        }
        SqlWrite::commit(db);
    }
    Q_EMIT settingsChanged();
}

QList<PriceItem> PricesModel::currentPriceItems() const
{
    return pricesByType.value(currentPriceType);
}

PriceItem PricesModel::findPriceItem(int id) const
{
    for (const QList<PriceItem> &items : pricesByType) {
        const auto found =
            std::find_if(items.cbegin(), items.cend(), [id](const PriceItem &item) { return item.id == id; });
        if (found != items.cend())
            return *found;
    }
    return zeroItem();
}

void PricesModel::setItemColor(const PriceItem &item, const QColor &color)
{
    changeEverywhere(item.commonId, [&color](PriceItem &same) { same.color = color; });
}

void PricesModel::toggleRemoteAvail(const PriceItem &item)
{
    changeEverywhere(item.commonId, [](PriceItem &same) { same.showRemote ^= 1; });
}

void PricesModel::setItemModel(qint32 commonId, const QString &modelName)
{
    changeEverywhere(commonId, [&modelName](PriceItem &item) { item.model = modelName; });
}

int PricesModel::blockAt(int position) const
{
    return position >= 0 && position < priceTypeNames.size() ? std::next(priceTypeNames.constBegin(), position).key()
                                                             : 0;
}

int PricesModel::blockPosition(int blockId) const
{
    const auto found = priceTypeNames.constFind(blockId);
    return found == priceTypeNames.constEnd() ? -1 : int(std::distance(priceTypeNames.constBegin(), found));
}

int PricesModel::rowOf(qint32 commonId) const
{
    return currentCommonIds().indexOf(commonId);
}

QJsonArray PricesModel::priceTypeNamesJson() const
{
    return QJsonArray::fromStringList(priceTypeNames.values());
}

QJsonObject PricesModel::currentPricesJson() const
{
    const QList<PriceItem> items = currentPriceItems();
    QJsonArray prices;
    for (const PriceItem &item : items)
        prices.append(PriceRules::priceItemJson(item));
    return QJsonObject{
        {QStringLiteral("priceKind"), priceTypeNames.value(currentPriceType)},
        {QStringLiteral("prices"), prices},
    };
}

QList<qint32> PricesModel::currentCommonIds() const
{
    const QList<PriceItem> items = currentPriceItems();
    QList<qint32> commonIds;
    commonIds.reserve(items.size());
    for (const PriceItem &item : items)
        commonIds.append(item.commonId);
    return commonIds;
}

/// Lets whoever holds on to a cell follow its item to its new row; `commonIds` are the rows as they were.
void PricesModel::movePersistentIndexes(const QList<qint32> &commonIds)
{
    const QList<qint32> current = currentCommonIds();
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex &old : from) {
        const int row = old.row() < commonIds.size() ? current.indexOf(commonIds.at(old.row())) : -1;
        to.append(row < 0 ? QModelIndex() : index(row, old.column()));
    }
    changePersistentIndexList(from, to);
}

/// Applies a change to the item in every block.
template <typename Change> void PricesModel::changeEverywhere(qint32 commonId, Change change)
{
    for (QList<PriceItem> &items : pricesByType) {
        for (PriceItem &item : items) {
            if (item.commonId == commonId)
                change(item);
        }
    }
}
