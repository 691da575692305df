#ifndef REPLACECARDIALOG_H
#define REPLACECARDIALOG_H

#include <QDialog>
#include <QString>

#include <memory>

namespace Ui {
class ReplaceCarDialog;
}

/// Asks why a racer whom the timing already knows gets another car. Lives on the stack for one exec().
class ReplaceCarDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ReplaceCarDialog(QWidget *parent = nullptr);
    ~ReplaceCarDialog() override;

    /// "brokenCar", "wrongCar", or an empty text if nothing was chosen.
    QString reason() const;

private:
    std::unique_ptr<Ui::ReplaceCarDialog> ui;
};

#endif // REPLACECARDIALOG_H
