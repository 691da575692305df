#ifndef QEDITABLETREEVIEW_H
#define QEDITABLETREEVIEW_H

#include <QJsonArray>
#include <QMap>
#include <QPersistentModelIndex>
#include <QPoint>
#include <QTreeView>

/// A tree view worked with the keyboard like a spreadsheet, with a drag that shows what it carries as a drawn badge.
/// GUI thread.
class QEditableTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit QEditableTreeView(QWidget *parent = nullptr);

    /// Lets the next Return, Enter or F2 pass without opening an editor: it is the key that closed one.
    void setSkipEdit(bool skip);

    /// A text that belongs to the view, kept and not painted.
    void setText(const QString &text);

    /// Where the last drop landed, in global pixels.
    QPoint lastDropPosition() const;

Q_SIGNALS:
    void ctrlReturnClicked(QModelIndex index);
    void ctrlDelClicked(QModelIndex index);
    void updateSelection(QItemSelection selected, QItemSelection deselected);
    void delClicked(int row, int column);
    /// A drag ended as a move: `jsonList` is what it carried, `target` the widget it was dropped on.
    void itemsDroppedOut(QJsonArray jsonList, const QObject *target);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void dropEvent(QDropEvent *event) override;

protected Q_SLOTS:
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;

protected:
    void startDrag(Qt::DropActions supportedActions) override;

private:
    void startEditing();

    QMap<QString, QVariant> values;
    QString text;
    QPoint dropPosition;
    QPersistentModelIndex pressedIndex;
    Qt::MouseButton pressedButton = Qt::NoButton;
    bool skipEdit = false;
};

#endif // QEDITABLETREEVIEW_H
