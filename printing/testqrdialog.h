#ifndef TESTQRDIALOG_H
#define TESTQRDIALOG_H

#include <QDialog>
#include <QJsonObject>

#include <memory>

namespace Ui {
class TestQRDialog;
}

/// A boarding ticket in a window. Nothing opens it.
class TestQRDialog : public QDialog
{
    Q_OBJECT

public:
    explicit TestQRDialog(QWidget *parent = nullptr);
    ~TestQRDialog() override;

private:
    QJsonObject ticketData;
    std::unique_ptr<Ui::TestQRDialog> ui;
};

#endif // TESTQRDIALOG_H
