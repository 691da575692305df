#ifndef REFUNDDIALOG_H
#define REFUNDDIALOG_H

#include <QDialog>
#include <QString>

#include <memory>

namespace Ui {
class RefundDialog;
}

/// Asks how many tickets of a seated racer go back, for how much and why. Filled by its members, which it reads back
/// when it is accepted. Lives on the stack for one exec().
class RefundDialog : public QDialog
{
    Q_OBJECT

public:
    explicit RefundDialog(QWidget *parent = nullptr);
    ~RefundDialog() override;

    QString clientName;
    QString payKind;
    /// What one ticket gives back.
    double ticketPrice = 0.0;
    double refundSum = 0.0;
    QString refundComment;
    /// Client at the online service; -1 for none.
    int clientId = -1;
    int refundTicketsCount = 1;
    int maxTicketsCount = 99;

public Q_SLOTS:
    void accept() override;

protected:
    void showEvent(QShowEvent *event) override;

private Q_SLOTS:
    void on_sbTicketsCount_valueChanged(int arg1);

private:
    std::unique_ptr<Ui::RefundDialog> ui;
};

#endif // REFUNDDIALOG_H
