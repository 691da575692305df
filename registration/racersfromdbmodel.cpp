#include "registration/racersfromdbmodel.h"

#include <QHash>

namespace {

DbRacer racerFrom(const QJsonObject &json)
{
    DbRacer racer;
    racer.id = json.value(QLatin1String("id")).toInt(-1);
    racer.firstName = json.value(QLatin1String("firstName")).toString();
    racer.lastName = json.value(QLatin1String("lastName")).toString();
    racer.midName = json.value(QLatin1String("midName")).toString();
    racer.name = json.value(QLatin1String("name")).toString();
    racer.additionalData = json.value(QLatin1String("additionalData")).toObject();
    racer.record = json;
    racer.record.insert(QLatin1String("clientId"), racer.id);
    return racer;
}

} // namespace

RacersFromDbModel::RacersFromDbModel(QObject *parent)
    : ClearbackgroundTableModel(parent)
{
    columns = {
        {tr("#"), Qt::AlignRight, 40, QStringLiteral("POS"), -1},
        {tr("Имя"), Qt::AlignLeft, 160, QStringLiteral("NAME"), -1},
    };
}

QModelIndex RacersFromDbModel::index(int row, int column, const QModelIndex &parent) const
{
    if (parent.isValid() || row < 0 || row >= racers.size() || column < 0 || column >= columns.size())
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex RacersFromDbModel::parent(const QModelIndex &index) const
{
    Q_UNUSED(index)
    return QModelIndex();
}

int RacersFromDbModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : racers.size();
}

QVariant RacersFromDbModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= racers.size() || role != Qt::DisplayRole)
        return ClearbackgroundTableModel::data(index, role);
    if (columnKey(index.column()) == QLatin1String("POS"))
        return index.row() + 1;
    return racers.at(index.row()).name;
}

void RacersFromDbModel::setResults(const QJsonArray &results)
{
    QList<DbRacer> found;
    found.reserve(results.size());
    for (const QJsonValue &result : results) {
        const DbRacer racer = racerFrom(result.toObject());
        if (racer.id != -1)
            found.append(racer);
    }

    Q_EMIT layoutAboutToBeChanged();
    racers.swap(found);
    moveIndexes(found);
    Q_EMIT layoutChanged();
}

/// Replies come in any order, and a late one must not put another client under the cashier's choice.
void RacersFromDbModel::moveIndexes(const QList<DbRacer> &before)
{
    const QModelIndexList held = persistentIndexList();
    if (held.isEmpty())
        return;
    QHash<qint32, int> rows;
    rows.reserve(racers.size());
    for (int row = racers.size() - 1; row >= 0; --row)
        rows.insert(racers.at(row).id, row);
    for (const QModelIndex &index : held)
        changePersistentIndex(index, this->index(rows.value(before.at(index.row()).id, -1), index.column()));
}

const DbRacer &RacersFromDbModel::racer(int row) const
{
    return racers.at(row);
}
