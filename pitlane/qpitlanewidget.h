#ifndef QPITLANEWIDGET_H
#define QPITLANEWIDGET_H

#include <QWidget>

/// The cars in the pit lane, drawn as tiles. GUI thread.
class QPitlaneWidget : public QWidget
{
    Q_OBJECT

public:
    explicit QPitlaneWidget(QWidget *parent = nullptr);

    QSize sizeHint() const override;
};

#endif // QPITLANEWIDGET_H
