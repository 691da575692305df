#include "runqueue/addrunsdialog.h"

#include "ui_addrunsdialog.h"

#include <QDateTime>

AddRunsDialog::AddRunsDialog(int durationMinutes, qint64 startTime, bool startEditable, QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::AddRunsDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
    ui->sbRunsDuration->setValue(durationMinutes);
    ui->teRunStart->setDateTime(QDateTime::fromSecsSinceEpoch(startTime, Qt::UTC).toLocalTime());
    ui->teRunStart->setEnabled(startEditable);
}

AddRunsDialog::~AddRunsDialog() = default;

int AddRunsDialog::runsCount() const
{
    return ui->sbRunsCount->value();
}

int AddRunsDialog::durationMinutes() const
{
    return ui->sbRunsDuration->value();
}

qint64 AddRunsDialog::startTime() const
{
    return ui->teRunStart->dateTime().toSecsSinceEpoch();
}

void AddRunsDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    ui->sbRunsCount->setFocus();
    ui->sbRunsCount->selectAll();
}
