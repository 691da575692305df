#ifndef QRUNQUEUELISTWIDGET_H
#define QRUNQUEUELISTWIDGET_H

#include <QListWidget>

/// The list of runs, one widget a row. One row at a time can be dragged to another place, but never the run on the track,
/// and never in front of it. GUI thread.
class QRunQueueListWidget : public QListWidget
{
    Q_OBJECT

public:
    explicit QRunQueueListWidget(QWidget *parent = nullptr);

    /// A row of this list is being dragged.
    bool isDragging() const;

protected:
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    /// False always: a row is moved, never copied from its data, which would leave its run behind.
    bool dropMimeData(int index, const QMimeData *mimeData, Qt::DropAction action) override;

private:
    bool rowInDrag = false;
};

#endif // QRUNQUEUELISTWIDGET_H
