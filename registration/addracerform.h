#ifndef ADDRACERFORM_H
#define ADDRACERFORM_H

#include "registration/kidrecord.h"
#include "registration/kidslistmodel.h"
#include "registration/tables/griddelegate.h"

#include <QDialog>
#include <QList>
#include <QString>

#include <memory>

namespace Ui {
class AddRacerForm;
}

/// The dialog in which a cashier enters a racer and the minors that came along, or changes them. Lives on the stack for
/// one exec(). Checks nothing: an empty name is accepted.
class AddRacerForm : public QDialog
{
    Q_OBJECT

public:
    explicit AddRacerForm(QWidget *parent = nullptr);
    ~AddRacerForm() override;

    QString firstName;
    QString lastName;
    QString midName;
    /// The minors; what the table shows is copied here on acceptance.
    QList<KidRecord> kids;
    /// The cashier asked for the safety form.
    bool printRequested = false;

public Q_SLOTS:
    void accept() override;
    void addKid();
    void removeKid();

private Q_SLOTS:
    void on_pushButton_clicked();
    void on_actionAddKid_triggered();
    void on_actionRemoveKid_triggered();

protected:
    void showEvent(QShowEvent *event) override;

private:
    KidsListModel kidsModel;
    GridDelegate kidsDelegate;
    std::unique_ptr<Ui::AddRacerForm> ui;
};

#endif // ADDRACERFORM_H
