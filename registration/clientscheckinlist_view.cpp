// What views see of the check-in list: cells, flags, and the records that are dragged out of it and dropped into it.

#include "registration/clientscheckinlist.h"

#include "common/jsonread.h"
#include "registration/checkinrules.h"

#include <QJsonDocument>
#include <QMimeData>
#include <QSet>

namespace {

const QLatin1String JsonFormat("application/json");
const QLatin1String SourceFormat("source");

} // namespace

QModelIndex ClientsCheckInList::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || column >= columns.size())
        return QModelIndex();
    const CheckInItem *above = itemAt(parent);
    if (parent.isValid() && (!above || above->parent || parent.column() > 0))
        return QModelIndex();
    const auto &list = above ? above->subItems : items;
    if (static_cast<size_t>(row) >= list.size())
        return QModelIndex();
    CheckInItem *item = list[static_cast<size_t>(row)].get();
    item->row = row;
    return createIndex(row, column, item);
}

QModelIndex ClientsCheckInList::parent(const QModelIndex &index) const
{
    const CheckInItem *item = itemAt(index);
    if (!item || !item->parent)
        return QModelIndex();
    return createIndex(item->parent->row, 0, item->parent);
}

int ClientsCheckInList::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return static_cast<int>(items.size());
    // A family hangs under the first column alone, as views expect of a tree.
    const CheckInItem *item = parent.column() == 0 ? itemAt(parent) : nullptr;
    return item ? static_cast<int>(item->subItems.size()) : 0;
}

QVariant ClientsCheckInList::data(const QModelIndex &index, int role) const
{
    const CheckInItem *item = itemAt(index);
    if (!item)
        return ClearbackgroundTableModel::data(index, role);
    const QString key = columnKey(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return displayData(*item, key, index);
    case Qt::EditRole:
        return editData(*item, key, index);
    case Qt::BackgroundRole:
        return backgroundData(*item, key, index);
    case Qt::ForegroundRole:
        return foregroundData(*item, key, index);
    case Qt::UserRole:
        return key;
    case ButtonStateRole:
        return item->buttonStates.value(key, 0);
    default:
        return ClearbackgroundTableModel::data(index, role);
    }
}

QVariant ClientsCheckInList::displayData(const CheckInItem &item, const QString &key, const QModelIndex &index) const
{
    if (key == QLatin1String("POS"))
        return item.parent ? index.row() + 1 : static_cast<int>(items.size()) - index.row();
    if (key == QLatin1String("NAME"))
        return item.fullName();
    if (key == QLatin1String("SALES_ITEM"))
        return item.salesItem;
    if (key == QLatin1String("RUNCOUNT"))
        return item.runCount;
    if (key == QLatin1String("PAYMETHOD"))
        return item.payMethod;
    if (key == QLatin1String("COMMENT"))
        return item.comment;
    if (key == QLatin1String("NFCTAG"))
        return item.nfcUid.isEmpty() ? tr("Сканировать") : item.nfcUid;
    if (key == QLatin1String("DISCOUNT"))
        return CheckInRules::discountText(item.discountValue);
    if (key == QLatin1String("PAYSUM"))
        return item.parent ? item.runCount * item.price : item.paySum;
    return ClearbackgroundTableModel::data(index, Qt::DisplayRole);
}

QVariant ClientsCheckInList::editData(const CheckInItem &item, const QString &key, const QModelIndex &index) const
{
    if (key == QLatin1String("PAYSUM"))
        return item.price;
    if (key == QLatin1String("DISCOUNT"))
        return item.discountValue;
    if (key == QLatin1String("RUNCOUNT"))
        return item.runCount;
    if (key == QLatin1String("COMMENT"))
        return item.comment;
    return ClearbackgroundTableModel::data(index, Qt::EditRole);
}

QVariant ClientsCheckInList::backgroundData(const CheckInItem &item, const QString &key, const QModelIndex &index) const
{
    if (item.enqueued)
        return QBrush(Qt::lightGray);
    if (key == QLatin1String("SALES_ITEM"))
        return QBrush(item.color, Qt::SolidPattern);
    if (key == QLatin1String("PAYSTATE") && !item.parent)
        return QBrush(item.payState ? Qt::green : Qt::red);
    return ClearbackgroundTableModel::data(index, Qt::BackgroundRole);
}

QVariant ClientsCheckInList::foregroundData(const CheckInItem &item, const QString &key, const QModelIndex &index) const
{
    if (item.parent && key == QLatin1String("PAYSUM"))
        return QBrush(Qt::gray);
    if (!item.parent && !item.payState && key == QLatin1String("PAYSTATE"))
        return QBrush(Qt::white);
    return ClearbackgroundTableModel::data(index, Qt::ForegroundRole);
}

bool ClientsCheckInList::setData(const QModelIndex &index, const QVariant &value, int role)
{
    CheckInItem *item = itemAt(index);
    if (!item)
        return false;
    const QString key = columnKey(index.column());
    if (role == ButtonStateRole) {
        item->buttonStates[key] = value.toInt();
        return true;
    }
    if (role != Qt::EditRole)
        return false;
    // False throughout: each branch tells views and clients itself what became of the line.
    if (key == QLatin1String("PAYSUM")) {
        item->regTime = 0;
        item->price = value.toDouble();
        updateSum(*item);
    } else if (key == QLatin1String("RUNCOUNT")) {
        item->regTime = 0;
        item->runCount = item->salesItem.isEmpty() ? 0 : qBound(0, value.toInt(), CheckInRules::MaxTypedRunCount);
        item->pinCodes = makePins(item->runCount, item->pinCodes);
        updateSum(*item);
        Q_EMIT layoutChanged();
        publish();
    } else if (key == QLatin1String("COMMENT")) {
        item->regTime = 0;
        item->comment = value.toString();
        Q_EMIT paymentUpdate(toJson(*item));
    }
    return false;
}

Qt::ItemFlags ClientsCheckInList::flags(const QModelIndex &index) const
{
    Qt::ItemFlags result = ClearbackgroundTableModel::flags(index) | Qt::ItemIsDropEnabled;
    const CheckInItem *item = itemAt(index);
    if (!item)
        return result;
    const bool paid = item->isEffectivelyPaid();
    if (paid)
        result |= Qt::ItemIsDragEnabled;
    const QString key = columnKey(index.column());
    const bool open = !item->enqueued && !paid;
    const bool editable =
        key == QLatin1String("COMMENT")
        || (open && (key == QLatin1String("SALES_ITEM") || key == QLatin1String("RUNCOUNT")))
        || (open && !item->parent && (key == QLatin1String("DISCOUNT") || key == QLatin1String("PAYMETHOD")));
    if (editable)
        result |= Qt::ItemIsEditable;
    return result;
}

QStringList ClientsCheckInList::mimeTypes() const
{
    return {JsonFormat};
}

QMimeData *ClientsCheckInList::mimeData(const QModelIndexList &indexes) const
{
    QJsonArray records;
    QSet<const CheckInItem *> seen;
    for (const QModelIndex &index : indexes) {
        const CheckInItem *item = itemAt(index);
        if (!item || seen.contains(item))
            continue;
        seen.insert(item);
        if (item->isEffectivelyPaid() && !item->enqueued && !item->salesItem.isEmpty())
            records.append(toJson(*item));
    }
    auto data = std::make_unique<QMimeData>();
    const QJsonObject content{{QLatin1String("srcList"), records}};
    data->setData(JsonFormat, QJsonDocument(content).toJson(QJsonDocument::Compact));
    return data.release();
}

bool ClientsCheckInList::canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                         const QModelIndex &parent) const
{
    Q_UNUSED(action)
    Q_UNUSED(row)
    Q_UNUSED(column)
    Q_UNUSED(parent)
    if (!data || !data->hasFormat(SourceFormat))
        return false;
    const QByteArray source = data->data(SourceFormat);
    return source == "registrationHistory" || source == "waitingQueue";
}

bool ClientsCheckInList::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                      const QModelIndex &parent)
{
    Q_UNUSED(action)
    Q_UNUSED(row)
    Q_UNUSED(column)
    Q_UNUSED(parent)
    if (!data || !data->hasFormat(JsonFormat))
        return true;
    const auto content = JsonRead::object(data->data(JsonFormat));
    if (!content)
        return true;
    const QJsonValue stored = content->value(QLatin1String("items"));
    const QJsonArray records = stored.isArray() ? stored.toArray() : content->value(QLatin1String("srcList")).toArray();
    for (const QJsonValue &value : records) {
        const QJsonObject record = value.toObject();
        const bool copy = record.value(QLatin1String("historyItem")).toBool();
        const QString uuid = copy ? QString() : record.value(QLatin1String("uuid")).toString();
        const QModelIndex line = addRacer(record.value(QLatin1String("firstName")).toString(),
                                          record.value(QLatin1String("lastName")).toString(),
                                          record.value(QLatin1String("midName")).toString(), {}, uuid,
                                          record.value(QLatin1String("carModel")).toString(), 0,
                                          record.value(QLatin1String("clientId")).toInt(-1), 1, -1);
        if (CheckInItem *item = itemAt(line)) {
            item->discountValue = record.value(QLatin1String("discountValue")).toString();
            item->payMethod = record.value(QLatin1String("payMethod")).toString();
            item->payState = record.value(QLatin1String("payState")).toBool();
            updateSum(*item);
        }
    }
    Q_EMIT itemsDropped(records);
    return true;
}

Qt::DropActions ClientsCheckInList::supportedDropActions() const
{
    return Qt::CopyAction | Qt::MoveAction;
}

Qt::DropActions ClientsCheckInList::supportedDragActions() const
{
    return Qt::MoveAction;
}
