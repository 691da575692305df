#include "registration/tables/qeditabletreeview.h"

#include "common/jsonread.h"
#include "registration/tables/dragbadge.h"

#include <QDrag>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPointer>

#include <memory>

namespace {

/// What a drag is over. It lives until the drag has been worked off: a host may close a run in answer to a drop on it,
/// and whoever hears of the drop still has to see that a run took it.
class DragTarget : public QObject
{
public:
    DragTarget() = default;
    ~DragTarget() override { follow(nullptr); }
    Q_DISABLE_COPY(DragTarget)

    void follow(QObject *next)
    {
        if (target) {
            target->removeEventFilter(this);
            if (condemned)
                target->deleteLater();
        }
        condemned = false;
        target = next;
        if (target)
            target->installEventFilter(this);
    }
    const QObject *object() const { return target; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::DeferredDelete || watched != target)
            return QObject::eventFilter(watched, event);
        condemned = true;
        return true;
    }

private:
    QPointer<QObject> target;
    bool condemned = false;
};

} // namespace

QEditableTreeView::QEditableTreeView(QWidget *parent)
    : QTreeView(parent)
{
}

void QEditableTreeView::setSkipEdit(bool skip)
{
    skipEdit = skip;
}

void QEditableTreeView::setText(const QString &newText)
{
    text = newText;
}

QPoint QEditableTreeView::lastDropPosition() const
{
    return dropPosition;
}

void QEditableTreeView::mousePressEvent(QMouseEvent *event)
{
    pressedIndex = indexAt(event->pos());
    pressedButton = event->button();
    QTreeView::mousePressEvent(event);
}

void QEditableTreeView::keyPressEvent(QKeyEvent *event)
{
    const bool editing = state() == QAbstractItemView::EditingState;
    const bool withControl = (event->modifiers() & ~Qt::KeypadModifier) == Qt::ControlModifier;
    const int key = event->key();
    if ((key == Qt::Key_Return && withControl) || key == Qt::Key_Insert) {
        Q_EMIT ctrlReturnClicked(currentIndex());
    } else if (key == Qt::Key_Delete && withControl) {
        Q_EMIT ctrlDelClicked(currentIndex());
    } else if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_F2) {
        if (!editing) {
            if (!skipEdit)
                startEditing();
            skipEdit = false;
        }
    } else if (key == Qt::Key_Delete && !editing) {
        Q_EMIT delClicked(currentIndex().row(), currentIndex().column());
    }
    QTreeView::keyPressEvent(event);
}

void QEditableTreeView::startEditing()
{
    if (!model())
        return;
    const int row = currentIndex().row();
    const int column = currentIndex().column();
    model()->setData(currentIndex(), QStringLiteral("editStarted"), Qt::UserRole);
    // The cell is looked up under the root on purpose: on a minor's row this edits the family's row of the same number.
    const QModelIndex cell = model()->index(row, column, rootIndex());
    if (cell.isValid())
        edit(cell);
}

void QEditableTreeView::dropEvent(QDropEvent *event)
{
    // What happens over the rows is told in pixels of the viewport.
    dropPosition = viewport()->mapToGlobal(event->pos());
    QTreeView::dropEvent(event);
}

void QEditableTreeView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    Q_EMIT updateSelection(selected, deselected);
}

void QEditableTreeView::startDrag(Qt::DropActions supportedActions)
{
    if (!supportedActions.testFlag(Qt::MoveAction)) {
        QTreeView::startDrag(supportedActions);
        return;
    }
    const QModelIndexList indexes = selectedIndexes();
    if (indexes.isEmpty())
        return;
    std::unique_ptr<QMimeData> mimeData(model()->mimeData(indexes));
    const auto content = mimeData ? JsonRead::object(mimeData->data(QStringLiteral("application/json"))) : std::nullopt;
    if (!content) {
        QTreeView::startDrag(supportedActions);
        return;
    }
    const QJsonArray records = content->value(QLatin1String("srcList")).toArray();

    // The drag runs a loop of its own, in which the host may close the desk with this view.
    const QPointer<QEditableTreeView> self(this);
    const QPointer<QDrag> drag(new QDrag(this));
    drag->setPixmap(DragBadge::forRecords(records).pixmap());
    drag->setMimeData(mimeData.release());
    drag->setHotSpot(QPoint(0, 0));
    DragTarget target;
    connect(drag, &QDrag::targetChanged, &target, &DragTarget::follow);
    const Qt::DropAction action = drag->exec(Qt::MoveAction);
    if (self && action == Qt::MoveAction)
        Q_EMIT itemsDroppedOut(records, target.object());
}
