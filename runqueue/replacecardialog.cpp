#include "runqueue/replacecardialog.h"

#include "ui_replacecardialog.h"

ReplaceCarDialog::ReplaceCarDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::ReplaceCarDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
}

ReplaceCarDialog::~ReplaceCarDialog() = default;

QString ReplaceCarDialog::reason() const
{
    if (ui->rbBrokenCar->isChecked())
        return QStringLiteral("brokenCar");
    if (ui->rbWrongCar->isChecked())
        return QStringLiteral("wrongCar");
    return QString();
}
