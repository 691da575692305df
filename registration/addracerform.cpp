#include "registration/addracerform.h"

#include "ui_addracerform.h"

#include <QMessageBox>
#include <QPointer>
#include <QShowEvent>

AddRacerForm::AddRacerForm(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::AddRacerForm>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
    ui->tvKidsList->setItemDelegate(&kidsDelegate);
    ui->tvKidsList->setModel(&kidsModel);
    kidsModel.attachView(ui->tvKidsList);
    ui->tvKidsList->addAction(ui->actionAddKid);
    ui->tvKidsList->addAction(ui->actionRemoveKid);
}

AddRacerForm::~AddRacerForm()
{
    // The view looks at its model until it goes, and the model is the form's own.
    ui->tvKidsList->setModel(nullptr);
}

void AddRacerForm::showEvent(QShowEvent *event)
{
    // A window that comes back from the task bar is shown again; what has been typed stays.
    if (event->spontaneous()) {
        QDialog::showEvent(event);
        return;
    }
    ui->leFirstName->setText(firstName);
    ui->leLastName->setText(lastName);
    ui->leMidName->setText(midName);
    kidsModel.setKids(kids);
    QDialog::showEvent(event);
}

void AddRacerForm::accept()
{
    // A name that is still being typed into the table counts as typed.
    setFocus();
    firstName = ui->leFirstName->text();
    lastName = ui->leLastName->text();
    midName = ui->leMidName->text();
    kids = kidsModel.kids();
    QDialog::accept();
}

void AddRacerForm::addKid()
{
    const QModelIndex cell = kidsModel.index(kidsModel.addKid(), 1);
    ui->tvKidsList->setCurrentIndex(cell);
    ui->tvKidsList->edit(cell);
}

void AddRacerForm::removeKid()
{
    if (!ui->tvKidsList->selectionModel()->hasSelection())
        return;
    const QPointer<AddRacerForm> self(this);
    const auto answer =
        QMessageBox::question(this, tr("Подтверждение"), tr("Точно удалить?"), QMessageBox::Yes | QMessageBox::No);
    if (!self || answer != QMessageBox::Yes)
        return;
    QList<int> rows;
    const QModelIndexList selected = ui->tvKidsList->selectionModel()->selectedIndexes();
    for (const QModelIndex &index : selected)
        rows.append(index.row());
    kidsModel.removeKids(rows);
}

void AddRacerForm::on_pushButton_clicked()
{
    printRequested = true;
    accept();
}

void AddRacerForm::on_actionAddKid_triggered()
{
    addKid();
}

void AddRacerForm::on_actionRemoveKid_triggered()
{
    removeKid();
}
