#ifndef EVENTLOGMODEL_H
#define EVENTLOGMODEL_H

#include <QAbstractTableModel>
#include <QDateTime>
#include <QJsonObject>
#include <QVector>

/// The last events between the host and the desk, oldest first. Old ones fall out at the top.
class EventLogModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Direction { ToDesk, FromDesk };
    enum Column { TimeColumn, DirectionColumn, EventColumn, PayloadColumn, ColumnCount };
    enum Role { DirectionRole = Qt::UserRole, SearchRole };

    struct Entry
    {
        /// Counts up from 1 over the life of the model.
        qint64 number = 0;
        QDateTime time;
        Direction direction = FromDesk;
        QString module;
        QString event;
        QJsonObject payload;
    };

    explicit EventLogModel(QObject *parent = nullptr);

    void append(Direction direction, const QString &module, const QString &event, const QJsonObject &payload);
    void clear();

    /// Number of the last event, 0 before the first; `clear()` does not take it back.
    qint64 lastNumber() const { return m_lastNumber; }
    const QVector<Entry> &entries() const { return m_entries; }
    const Entry &entry(int row) const { return m_entries.at(row); }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    void appended(const EventLogModel::Entry &entry);

private:
    QVector<Entry> m_entries;
    qint64 m_lastNumber = 0;
};

#endif // EVENTLOGMODEL_H
