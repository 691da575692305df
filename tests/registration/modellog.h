#ifndef MODELLOG_H
#define MODELLOG_H

#include <QObject>
#include <QStringList>

class QAbstractItemModel;
class QModelIndex;

/// Writes down the signals of a model in their order. Rows stand as "rowsInserted 0..2", those below row 1 as
/// "rowsInserted 1/0..2", cells as "dataChanged 0:0..0:11".
class ModelLog : public QObject
{
public:
    explicit ModelLog(QAbstractItemModel *model);

    /// Returns the record and empties it.
    QStringList take();

    QStringList entries;

protected:
    void connectRows(QAbstractItemModel *model);
    static QString place(const QModelIndex &parent);
};

#endif // MODELLOG_H
