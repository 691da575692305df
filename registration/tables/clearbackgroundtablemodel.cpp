#include "registration/tables/clearbackgroundtablemodel.h"

#include <QTreeView>

ClearbackgroundTableModel::ClearbackgroundTableModel(QObject *parent)
    : QAbstractItemModel(parent)
{
}

int ClearbackgroundTableModel::columnCount(const QModelIndex &parent) const
{
    Q_UNUSED(parent)
    return columns.size();
}

QVariant ClearbackgroundTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.column() >= columns.size())
        return QVariant();
    if (role == Qt::TextAlignmentRole)
        return columns.at(index.column()).alignment;
    if (role == Qt::BackgroundRole)
        return clearBrush;
    return QVariant();
}

QVariant ClearbackgroundTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columns.size())
        return QVariant();
    const ColumnDef &column = columns.at(section);
    if (role == Qt::DisplayRole)
        return column.caption;
    if (role == Qt::TextAlignmentRole)
        return column.headerAlignment == -1 ? column.alignment : column.headerAlignment;
    return QVariant();
}

void ClearbackgroundTableModel::attachView(QTreeView *newView)
{
    view = newView;
    if (!view)
        return;
    for (int column = 0; column < columns.size(); ++column)
        view->setColumnWidth(column, columns.at(column).width);
}

QString ClearbackgroundTableModel::columnKey(int column) const
{
    return column >= 0 && column < columns.size() ? columns.at(column).key : QString();
}

int ClearbackgroundTableModel::columnByKey(const QString &key) const
{
    for (int column = 0; column < columns.size(); ++column) {
        if (columns.at(column).key == key)
            return column;
    }
    return -1;
}
