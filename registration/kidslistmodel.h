#ifndef KIDSLISTMODEL_H
#define KIDSLISTMODEL_H

#include "registration/kidrecord.h"
#include "registration/tables/clearbackgroundtablemodel.h"

#include <QList>

/// The editable table of minors in the racer form. Names are kept as they are typed. GUI thread.
class KidsListModel : public ClearbackgroundTableModel
{
    Q_OBJECT

public:
    explicit KidsListModel(QObject *parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    const QList<KidRecord> &kids() const;
    void setKids(const QList<KidRecord> &list);

    /// Appends a minor with a fresh identity and returns its row.
    int addKid();

    /// Removes the rows in `rows`, in any order and each once.
    void removeKids(const QList<int> &rows);

private:
    QList<KidRecord> records;
};

#endif // KIDSLISTMODEL_H
