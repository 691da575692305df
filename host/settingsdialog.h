#ifndef SETTINGSDIALOG_H
#define SETTINGSDIALOG_H

#include <QDialog>
#include <QPointer>

/// The settings dialog of the timing application: shows the page of a module, which the module keeps owning.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    SettingsDialog(QWidget *page, const QString &caption, QWidget *parent);
    /// Hands the page back, hidden and without a parent.
    ~SettingsDialog() override;

    /// Takes the page out at once, for a module that goes away while the dialog is open.
    void releasePage();

    /// Tells the page that its settings were accepted, then closes.
    void accept() override;

private:
    QPointer<QWidget> m_page;
};

#endif // SETTINGSDIALOG_H
