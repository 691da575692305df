#include "eventlogmodel.h"

#include <QBrush>
#include <QColor>
#include <QJsonDocument>

namespace {

// A day at the desk publishes its whole list with every change; older events are in the log file.
constexpr int maxEntries = 4000;
constexpr int dropAtOnce = 500;
constexpr int shownPayloadLength = 400;

QString compact(const QJsonObject &payload)
{
    return QString::fromUtf8(QJsonDocument(payload).toJson(QJsonDocument::Compact));
}

} // namespace

EventLogModel::EventLogModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

void EventLogModel::append(Direction direction, const QString &module, const QString &event, const QJsonObject &payload)
{
    if (m_entries.size() >= maxEntries) {
        beginRemoveRows(QModelIndex(), 0, dropAtOnce - 1);
        m_entries.remove(0, dropAtOnce);
        endRemoveRows();
    }

    Entry entry;
    entry.number = ++m_lastNumber;
    entry.time = QDateTime::currentDateTime();
    entry.direction = direction;
    entry.module = module;
    entry.event = event;
    entry.payload = payload;

    beginInsertRows(QModelIndex(), m_entries.size(), m_entries.size());
    m_entries.append(entry);
    endInsertRows();
    Q_EMIT appended(entry);
}

void EventLogModel::clear()
{
    beginResetModel();
    m_entries.clear();
    endResetModel();
}

int EventLogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

int EventLogModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant EventLogModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return QVariant();
    const Entry &entry = m_entries.at(index.row());

    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case TimeColumn:
            return entry.time.toString(QStringLiteral("HH:mm:ss.zzz"));
        case DirectionColumn:
            return entry.direction == ToDesk ? tr("→ кассе") : tr("← от кассы");
        case EventColumn:
            return entry.event;
        case PayloadColumn:
            return compact(entry.payload).left(shownPayloadLength);
        default:
            return QVariant();
        }
    case Qt::ForegroundRole:
        if (index.column() == DirectionColumn)
            return QBrush(entry.direction == ToDesk ? QColor(0x1f, 0x5f, 0xa8) : QColor(0x1d, 0x7a, 0x3a));
        return QVariant();
    case Qt::ToolTipRole:
        return index.column() == EventColumn ? QVariant(entry.module) : QVariant();
    case DirectionRole:
        return entry.direction;
    case SearchRole:
        return QString(entry.event + QLatin1Char(' ') + compact(entry.payload));
    default:
        return QVariant();
    }
}

QVariant EventLogModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case TimeColumn:
        return tr("Время");
    case DirectionColumn:
        return tr("Куда");
    case EventColumn:
        return tr("Событие");
    case PayloadColumn:
        return tr("Данные");
    default:
        return QVariant();
    }
}
