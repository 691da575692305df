#include "printing/testqrdialog.h"

#include "ui_testqrdialog.h"

TestQRDialog::TestQRDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::TestQRDialog>())
{
    ui->setupUi(this);
}

TestQRDialog::~TestQRDialog() = default;
