#include "pitlane/qpitlanewidget.h"

QPitlaneWidget::QPitlaneWidget(QWidget *parent)
    : QWidget(parent)
{
}

QSize QPitlaneWidget::sizeHint() const
{
    return QSize(100, 150);
}
