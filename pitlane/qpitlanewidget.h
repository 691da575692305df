#ifndef QPITLANEWIDGET_H
#define QPITLANEWIDGET_H

#include <QPointer>
#include <QWidget>

class PitLaneCarsModel;
class QPainter;
struct PitLaneCar;

/// The cars in the pit lane, drawn as tiles: a column for each car model, in order of entry. A click selects. What does
/// not fit is cut off. GUI thread.
class QPitlaneWidget : public QWidget
{
    Q_OBJECT

public:
    explicit QPitlaneWidget(QWidget *parent = nullptr);

    /// Shows these cars. The model is not owned and may go first.
    void setModel(PitLaneCarsModel *newModel);

    QSize sizeHint() const override;

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    static void paintTile(QPainter &painter, const PitLaneCar &car, const QRect &cell);

    QPointer<PitLaneCarsModel> model;
    int cellWidth = 64;
    int cellHeight = 64;
    int spacing = 8;
};

#endif // QPITLANEWIDGET_H
