#ifndef CLEARBACKGROUNDTABLEMODEL_H
#define CLEARBACKGROUNDTABLEMODEL_H

#include <QAbstractItemModel>
#include <QBrush>
#include <QPointer>
#include <QVector>

class QTreeView;

/// One column of a table of the desk. The rest of the desk knows columns by `key`, never by number.
struct ColumnDef
{
    /// Caption of the header, translated.
    QString caption;
    /// Qt::Alignment flags of the cells.
    int alignment = Qt::AlignLeft;
    /// Width in pixels.
    int width = 0;
    /// Name of the column, such as "PAYSUM".
    QString key;
    /// Qt::Alignment flags of the header; -1 takes the cells' alignment.
    int headerAlignment = -1;
};

/// A model with a table of columns: captions, alignments, widths and a clear background. GUI thread.
class ClearbackgroundTableModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    explicit ClearbackgroundTableModel(QObject *parent = nullptr);

    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /// Sets the width of every column of `view` and remembers the view. The view is not owned.
    void attachView(QTreeView *view);

    /// Key of a column, or an empty text for a column that the table does not have.
    QString columnKey(int column) const;

    /// Number of the column with this key, or -1.
    int columnByKey(const QString &key) const;

protected:
    QVector<ColumnDef> columns;
    QBrush clearBrush{QColor(Qt::transparent), Qt::SolidPattern};
    QPointer<QTreeView> view;
};

#endif // CLEARBACKGROUNDTABLEMODEL_H
