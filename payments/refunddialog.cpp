#include "payments/refunddialog.h"

#include "ui_refunddialog.h"

#include <QShowEvent>

RefundDialog::RefundDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RefundDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
}

RefundDialog::~RefundDialog() = default;

void RefundDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // A window that comes back from the task bar keeps what was typed.
    if (event->spontaneous())
        return;
    ui->lClientName->setText(clientName);
    ui->lPayKind->setText(payKind);
    ui->sbTicketsCount->setMaximum(maxTicketsCount);
    ui->sbTicketsCount->setValue(refundTicketsCount);
    ui->sdbRefundSum->setValue(refundSum);
    ui->peComment->setPlainText(refundComment);
    ui->peComment->setFocus();
}

void RefundDialog::accept()
{
    refundSum = ui->sdbRefundSum->value();
    refundComment = ui->peComment->toPlainText();
    refundTicketsCount = ui->sbTicketsCount->value();
    QDialog::accept();
}

void RefundDialog::on_sbTicketsCount_valueChanged(int arg1)
{
    ui->sdbRefundSum->setValue(arg1 * ticketPrice);
}
