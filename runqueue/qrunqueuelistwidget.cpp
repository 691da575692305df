#include "runqueue/qrunqueuelistwidget.h"

QRunQueueListWidget::QRunQueueListWidget(QWidget *parent)
    : QListWidget(parent)
{
}
