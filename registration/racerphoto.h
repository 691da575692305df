#ifndef RACERPHOTO_H
#define RACERPHOTO_H

#include <QImage>
#include <QLabel>
#include <QString>

/// A label whose text is one picture, shown whole within the label's own area. A label as such would show it pixel by
/// pixel and grow with it, beyond the screen if need be. To the outside it is a QLabel, without a meta-object of its own.
/// GUI thread.
class RacerPhoto : public QLabel
{
public:
    explicit RacerPhoto(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    /// Draws the picture, or nothing if the text has none that can be read.
    void paintEvent(QPaintEvent *event) override;

private:
    void readPicture();

    /// The text that `picture` was read from.
    QString source;
    QImage picture;
};

#endif // RACERPHOTO_H
