#ifndef REGHISTORYMODEL_H
#define REGHISTORYMODEL_H

#include "registration/tables/clearbackgroundtablemodel.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QString>

/// The people registered today, newest first, ready to be dragged into the check-in list again. Read from its journal
/// and never written: the file is somebody else's. GUI thread.
class RegHistoryModel : public ClearbackgroundTableModel
{
    Q_OBJECT

public:
    explicit RegHistoryModel(QObject *parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;

    /// Puts a record on top, in place of an older one with the same `uuid`.
    void addRecord(const QJsonObject &json);

    /// Reads the journal; a file that cannot be opened leaves the list as it is.
    void load();

    /// Removes every record from before `limit`. A record without a `timestamp` (seconds since the epoch) goes too.
    void removeOlderThan(const QDateTime &limit);

Q_SIGNALS:
    void itemsDropped(QJsonArray items);

private:
    struct Record
    {
        QString name;
        QString uuid;
        QJsonObject json;
    };

    QList<Record> records;
    /// Of all records: most newcomers are new, and a long history need not be searched for them.
    QSet<QString> uuids;
};

#endif // REGHISTORYMODEL_H
