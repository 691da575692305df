#ifndef QRUNQUEUELISTWIDGET_H
#define QRUNQUEUELISTWIDGET_H

#include <QListWidget>

/// The list of runs, one widget a row. GUI thread.
class QRunQueueListWidget : public QListWidget
{
    Q_OBJECT

public:
    explicit QRunQueueListWidget(QWidget *parent = nullptr);
};

#endif // QRUNQUEUELISTWIDGET_H
