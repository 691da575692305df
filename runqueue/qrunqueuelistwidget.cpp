#include "runqueue/qrunqueuelistwidget.h"

#include "runqueue/runcontainerwidget.h"

#include <QDataStream>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QMap>
#include <QMimeData>
#include <QPointer>
#include <QVariant>

namespace {

/// The rows that a drag of list items carries.
QList<int> draggedRows(const QMimeData &data)
{
    QByteArray bytes = data.data(QStringLiteral("application/x-qabstractitemmodeldatalist"));
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    QList<int> rows;
    while (!stream.atEnd()) {
        int row = -1;
        int column = -1;
        QMap<int, QVariant> roles;
        stream >> row >> column >> roles;
        if (stream.status() != QDataStream::Ok)
            break;
        rows.append(row);
    }
    return rows;
}

const RunContainerWidget *runOfRow(const QListWidget &list, int row)
{
    QListWidgetItem *item = list.item(row);
    return item ? qobject_cast<RunContainerWidget *>(list.itemWidget(item)) : nullptr;
}

} // namespace

QRunQueueListWidget::QRunQueueListWidget(QWidget *parent)
    : QListWidget(parent)
{
}

bool QRunQueueListWidget::isDragging() const
{
    return rowInDrag;
}

void QRunQueueListWidget::startDrag(Qt::DropActions supportedActions)
{
    // The view's own state tells nothing: it ends wherever the pointer passes from row to row, and it is left from a
    // press that a run took over for the drag of a racer.
    const QPointer<QRunQueueListWidget> self(this);
    rowInDrag = true;
    QListWidget::startDrag(supportedActions);
    if (self)
        rowInDrag = false;
}

void QRunQueueListWidget::dragEnterEvent(QDragEnterEvent *event)
{
    const QList<int> rows = draggedRows(*event->mimeData());
    const RunContainerWidget *run = rows.size() == 1 ? runOfRow(*this, rows.first()) : nullptr;
    if (rows.size() == 1 && !(run && run->isCurrentRun()))
        event->accept();
    else
        event->ignore();
}

void QRunQueueListWidget::dragMoveEvent(QDragMoveEvent *event)
{
    const RunContainerWidget *first = runOfRow(*this, 0);
    if (first && first->isCurrentRun() && first->rect().contains(event->pos()))
        event->ignore();
    else
        event->accept();
}

bool QRunQueueListWidget::dropMimeData(int index, const QMimeData *mimeData, Qt::DropAction action)
{
    Q_UNUSED(index)
    Q_UNUSED(mimeData)
    Q_UNUSED(action)
    return false;
}
