#ifndef ADDRUNSDIALOG_H
#define ADDRUNSDIALOG_H

#include <QDialog>

#include <memory>

namespace Ui {
class AddRunsDialog;
}

/// Asks how many runs to add, how long they are and when the first one starts. Lives on the stack for one exec().
class AddRunsDialog : public QDialog
{
    Q_OBJECT

public:
    /// `durationMinutes` is offered as the duration. `startTime`, seconds since the epoch, UTC, is offered as the start
    /// and can be changed only if `startEditable`.
    AddRunsDialog(int durationMinutes, qint64 startTime, bool startEditable, QWidget *parent = nullptr);
    ~AddRunsDialog() override;

    int runsCount() const;
    int durationMinutes() const;
    /// Seconds since the epoch, UTC.
    qint64 startTime() const;

protected:
    void showEvent(QShowEvent *event) override;

private:
    std::unique_ptr<Ui::AddRunsDialog> ui;
};

#endif // ADDRUNSDIALOG_H
