#include "registration/reghistorymodel.h"

#include "common/clock.h"
#include "common/deskpaths.h"
#include "common/jsonread.h"

#include <QFile>
#include <QJsonDocument>
#include <QMimeData>

#include <algorithm>
#include <memory>

namespace {

QString joinedName(const QJsonObject &json)
{
    QStringList parts{json.value(QLatin1String("lastName")).toString(),
                      json.value(QLatin1String("firstName")).toString(),
                      json.value(QLatin1String("midName")).toString()};
    parts.removeAll(QString());
    return parts.join(QLatin1Char(' '));
}

} // namespace

RegHistoryModel::RegHistoryModel(QObject *parent)
    : ClearbackgroundTableModel(parent)
{
    columns = {
        {tr("#"), Qt::AlignRight | Qt::AlignVCenter, 40, QStringLiteral("POS"), Qt::AlignCenter},
        {tr("ФИО"), Qt::AlignLeft | Qt::AlignVCenter, 200, QStringLiteral("NAME"), Qt::AlignCenter},
    };
}

QModelIndex RegHistoryModel::index(int row, int column, const QModelIndex &parent) const
{
    if (parent.isValid() || row < 0 || row >= records.size() || column < 0 || column >= columns.size())
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex RegHistoryModel::parent(const QModelIndex &index) const
{
    Q_UNUSED(index)
    return QModelIndex();
}

int RegHistoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : records.size();
}

QVariant RegHistoryModel::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= records.size())
        return ClearbackgroundTableModel::data(index, role);
    if (columnKey(index.column()) == QLatin1String("POS"))
        return index.row() + 1;
    return records.at(index.row()).name;
}

Qt::ItemFlags RegHistoryModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags result = ClearbackgroundTableModel::flags(index);
    if (index.isValid())
        result |= Qt::ItemIsDragEnabled;
    return result;
}

QStringList RegHistoryModel::mimeTypes() const
{
    return {QStringLiteral("application/json"), QStringLiteral("source")};
}

QMimeData *RegHistoryModel::mimeData(const QModelIndexList &indexes) const
{
    QList<int> rows;
    QJsonArray items;
    for (const QModelIndex &index : indexes) {
        if (index.row() < 0 || index.row() >= records.size() || rows.contains(index.row()))
            continue;
        rows.append(index.row());
        items.append(records.at(index.row()).json);
    }
    auto data = std::make_unique<QMimeData>();
    const QJsonObject content{{QLatin1String("items"), items}};
    data->setData(QStringLiteral("application/json"), QJsonDocument(content).toJson(QJsonDocument::Compact));
    data->setData(QStringLiteral("source"), QByteArrayLiteral("registrationHistory"));
    return data.release();
}

void RegHistoryModel::addRecord(const QJsonObject &json)
{
    Record record{joinedName(json), json.value(QLatin1String("uuid")).toString(), json};
    if (record.json.value(QLatin1String("timestamp")).isUndefined())
        record.json.insert(QLatin1String("timestamp"), Clock::secsUtc());
    record.json.remove(QLatin1String("currentPinCode"));
    if (uuids.contains(record.uuid)) {
        records.erase(std::find_if(records.begin(), records.end(),
                                   [&record](const Record &older) { return older.uuid == record.uuid; }));
    }
    uuids.insert(record.uuid);
    records.prepend(record);
    Q_EMIT layoutChanged();
}

void RegHistoryModel::load()
{
    QFile file(DeskPaths::journal(QStringLiteral("reghistory.state")));
    if (!file.open(QIODevice::ReadOnly))
        return;
    while (!file.atEnd()) {
        if (const auto json = JsonRead::journalLine(file.readLine()))
            addRecord(*json);
    }
}

void RegHistoryModel::removeOlderThan(const QDateTime &limit)
{
    const qint64 limitSecs = limit.toSecsSinceEpoch();
    const auto isOlder = [limitSecs](const Record &record) {
        return record.json.value(QLatin1String("timestamp")).toVariant().toLongLong() < limitSecs;
    };
    const auto firstOlder = std::remove_if(records.begin(), records.end(), isOlder);
    if (firstOlder != records.end()) {
        records.erase(firstOlder, records.end());
        uuids.clear();
        for (const Record &record : qAsConst(records))
            uuids.insert(record.uuid);
    }
    Q_EMIT layoutChanged();
}
