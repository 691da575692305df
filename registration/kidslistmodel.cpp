#include "registration/kidslistmodel.h"

#include <QUuid>

#include <algorithm>

KidsListModel::KidsListModel(QObject *parent)
    : ClearbackgroundTableModel(parent)
{
    columns = {
        {tr("#"), Qt::AlignRight, 40, QStringLiteral("POS"), -1},
        {tr("Фамилия"), Qt::AlignLeft, 100, QStringLiteral("LASTNAME"), -1},
        {tr("Имя"), Qt::AlignLeft, 100, QStringLiteral("FIRSTNAME"), -1},
        {tr("Отчество"), Qt::AlignLeft, 100, QStringLiteral("MIDNAME"), -1},
    };
}

QModelIndex KidsListModel::index(int row, int column, const QModelIndex &parent) const
{
    if (parent.isValid() || row < 0 || row >= records.size() || column < 0 || column >= columns.size())
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex KidsListModel::parent(const QModelIndex &index) const
{
    Q_UNUSED(index)
    return QModelIndex();
}

int KidsListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : records.size();
}

QVariant KidsListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= records.size() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return ClearbackgroundTableModel::data(index, role);
    const KidRecord &kid = records.at(index.row());
    const QString key = columnKey(index.column());
    if (key == QLatin1String("POS"))
        return index.row() + 1;
    if (key == QLatin1String("LASTNAME"))
        return kid.lastName;
    if (key == QLatin1String("FIRSTNAME"))
        return kid.firstName;
    return kid.midName;
}

bool KidsListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || index.row() >= records.size() || role != Qt::EditRole)
        return false;
    KidRecord &kid = records[index.row()];
    const QString key = columnKey(index.column());
    if (key == QLatin1String("LASTNAME"))
        kid.lastName = value.toString();
    else if (key == QLatin1String("FIRSTNAME"))
        kid.firstName = value.toString();
    else if (key == QLatin1String("MIDNAME"))
        kid.midName = value.toString();
    else
        return false;
    Q_EMIT dataChanged(index, index);
    return true;
}

Qt::ItemFlags KidsListModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags result = ClearbackgroundTableModel::flags(index);
    if (index.isValid() && columnKey(index.column()) != QLatin1String("POS"))
        result |= Qt::ItemIsEditable;
    return result;
}

const QList<KidRecord> &KidsListModel::kids() const
{
    return records;
}

void KidsListModel::setKids(const QList<KidRecord> &list)
{
    Q_EMIT layoutAboutToBeChanged();
    records = list;
    Q_EMIT layoutChanged();
}

int KidsListModel::addKid()
{
    KidRecord kid;
    kid.uuid = QUuid::createUuid().toString();
    const int row = records.size();
    beginInsertRows(QModelIndex(), row, row);
    records.append(kid);
    endInsertRows();
    Q_EMIT layoutChanged();
    return row;
}

void KidsListModel::removeKids(const QList<int> &rows)
{
    QList<int> sorted;
    for (const int row : rows) {
        if (row >= 0 && row < records.size())
            sorted.append(row);
    }
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    // Block by block from the back: what views are told is exactly what goes, also where the selection has gaps.
    while (!sorted.isEmpty()) {
        const int last = sorted.takeLast();
        int first = last;
        while (!sorted.isEmpty() && sorted.last() == first - 1)
            first = sorted.takeLast();
        beginRemoveRows(QModelIndex(), first, last);
        records.erase(records.begin() + first, records.begin() + last + 1);
        endRemoveRows();
    }
}
