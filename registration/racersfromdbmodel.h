#ifndef RACERSFROMDBMODEL_H
#define RACERSFROMDBMODEL_H

#include "registration/dbracer.h"
#include "registration/tables/clearbackgroundtablemodel.h"

#include <QJsonArray>
#include <QList>

/// The clients of one reply of the online service, a flat table to choose from. GUI thread.
class RacersFromDbModel : public ClearbackgroundTableModel
{
    Q_OBJECT

public:
    explicit RacersFromDbModel(QObject *parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /// Replaces all rows. Results without a client's number are left out. Who was chosen in a view and is among the new
    /// rows stays chosen; nobody else takes the place.
    void setResults(const QJsonArray &results);

    /// The client in a row that exists.
    const DbRacer &racer(int row) const;

private:
    void moveIndexes(const QList<DbRacer> &before);

    QList<DbRacer> racers;
};

#endif // RACERSFROMDBMODEL_H
