#ifndef CUSTOMIZERUNDIALOG_H
#define CUSTOMIZERUNDIALOG_H

#include <QColor>
#include <QDialog>
#include <QJsonObject>

#include <memory>

namespace Ui {
class CustomizeRunDialog;
}

/// The parameters of a run: name, automatic finish, order of results, colour of the title. Works on an object of its own
/// and knows no run. Lives on the stack for one exec().
class CustomizeRunDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CustomizeRunDialog(QWidget *parent = nullptr);
    ~CustomizeRunDialog() override;

    /// Fills the form. `runParam` is seconds for a run by time, laps for a run by laps.
    void setParams(const QJsonObject &params);
    /// What the form holds, in the same keys and units.
    QJsonObject params() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void showEvent(QShowEvent *event) override;

private Q_SLOTS:
    void on_rbFinishByTime_clicked();
    void on_rbFinishByLaps_clicked();

private:
    void enableFinishFields(bool byLaps);
    void showColor(const QString &name);

    QColor runColor = Qt::white;
    std::unique_ptr<Ui::CustomizeRunDialog> ui;
};

#endif // CUSTOMIZERUNDIALOG_H
