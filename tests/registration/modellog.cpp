#include "modellog.h"

#include <QAbstractItemModel>

#include <utility>

ModelLog::ModelLog(QAbstractItemModel *model)
{
    connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this,
            [this] { entries.append(QStringLiteral("layoutAboutToBeChanged")); });
    connect(model, &QAbstractItemModel::layoutChanged, this,
            [this] { entries.append(QStringLiteral("layoutChanged")); });
    connect(model, &QAbstractItemModel::modelReset, this, [this] { entries.append(QStringLiteral("modelReset")); });
    connect(model, &QAbstractItemModel::dataChanged, this, [this](const QModelIndex &first, const QModelIndex &last) {
        entries.append(QStringLiteral("dataChanged %1%2:%3..%4:%5")
                           .arg(place(first.parent()))
                           .arg(first.row())
                           .arg(first.column())
                           .arg(last.row())
                           .arg(last.column()));
    });
    connectRows(model);
}

void ModelLog::connectRows(QAbstractItemModel *model)
{
    const auto note = [this](const QString &signal) {
        return [this, signal](const QModelIndex &parent, int first, int last) {
            entries.append(QStringLiteral("%1 %2%3..%4").arg(signal, place(parent)).arg(first).arg(last));
        };
    };
    connect(model, &QAbstractItemModel::rowsInserted, this, note(QStringLiteral("rowsInserted")));
    connect(model, &QAbstractItemModel::rowsRemoved, this, note(QStringLiteral("rowsRemoved")));
}

QStringList ModelLog::take()
{
    return std::exchange(entries, QStringList());
}

QString ModelLog::place(const QModelIndex &parent)
{
    return parent.isValid() ? QStringLiteral("%1/").arg(parent.row()) : QString();
}
