#ifndef SELECTMULTISEATVARIANTDIALOG_H
#define SELECTMULTISEATVARIANTDIALOG_H

#include <QDialog>

#include <memory>

class QAbstractButton;

namespace Ui {
class SelectMultiSeatVariantDialog;
}

/// Asks how the seats of a racer with several runs are spread over the queue. A click on a choice is the answer. Lives on
/// the stack for one exec().
class SelectMultiSeatVariantDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SelectMultiSeatVariantDialog(QWidget *parent = nullptr);
    ~SelectMultiSeatVariantDialog() override;

    /// 1 for consecutive runs, 2 for every other run; -1 if the dialog was accepted without a choice.
    qint32 multiSeatVariant = 1;

public Q_SLOTS:
    void accept() override;

private Q_SLOTS:
    void on_buttonGroup_buttonClicked(QAbstractButton *b);

private:
    std::unique_ptr<Ui::SelectMultiSeatVariantDialog> ui;
};

#endif // SELECTMULTISEATVARIANTDIALOG_H
