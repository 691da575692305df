#include "runqueue/selectmultiseatvariantdialog.h"

#include "ui_selectmultiseatvariantdialog.h"

SelectMultiSeatVariantDialog::SelectMultiSeatVariantDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::SelectMultiSeatVariantDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
    ui->buttonGroup->setId(ui->rbMultiStep1, 1);
    ui->buttonGroup->setId(ui->rbMultiStep2, 2);
}

SelectMultiSeatVariantDialog::~SelectMultiSeatVariantDialog() = default;

void SelectMultiSeatVariantDialog::accept()
{
    multiSeatVariant = ui->buttonGroup->checkedId();
    QDialog::accept();
}

void SelectMultiSeatVariantDialog::on_buttonGroup_buttonClicked(QAbstractButton *b)
{
    Q_UNUSED(b)
    accept();
}
