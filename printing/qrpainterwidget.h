#ifndef QRPAINTERWIDGET_H
#define QRPAINTERWIDGET_H

#include <QJsonObject>
#include <QString>
#include <QWidget>

/// The boarding ticket on screen: everything scales with the width of the widget. GUI thread.
class QRPainterWidget : public QWidget
{
    Q_OBJECT

public:
    explicit QRPainterWidget(QWidget *parent = nullptr);

    /// What the code says to a scanner.
    void setQrText(const QString &text);
    /// The keys `ticketCaption`, `model`, `firstName` and `lastName` are drawn.
    void setTicketData(const QJsonObject &ticket);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString qrText;
    QJsonObject ticketData;
};

#endif // QRPAINTERWIDGET_H
