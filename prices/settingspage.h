#ifndef SETTINGSPAGE_H
#define SETTINGSPAGE_H

#include "prices/pricesdelegate.h"

#include <QJsonObject>
#include <QList>
#include <QMenu>
#include <QModelIndex>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <memory>

class PricesModel;
class QAction;
class QColorDialog;
class QEditableTreeView;

namespace Ui {
class SettingsPage;
}

/// The desk's page of the host's settings dialog. Prices are edited on the spot and stored at once; everything else is
/// stored when the host says that the dialog was accepted. GUI thread.
class SettingsPage : public QWidget
{
    Q_OBJECT

public:
    /// Builds the controls only.
    explicit SettingsPage(QWidget *parent = nullptr);
    ~SettingsPage() override;
    Q_DISABLE_COPY(SettingsPage)

    /// Gives the page the desk's price book, which is not owned and may die first. Before loadControls().
    void setPricesModel(PricesModel *newModel);

    /// Loads the price book, makes the first block if there is none, builds the price tabs and fills the controls. Once.
    void loadControls();

Q_SIGNALS:
    /// The settings were stored.
    void settingsUpdated();

public Q_SLOTS:
    /// The host's events for the page: "settings_accepted" stores the settings.
    void pluginSlot(QString moduleName, QString event, QJsonObject jsonData);

private Q_SLOTS:
    void on_tvPrices_clicked(QModelIndex index);
    void on_tvPrices_doubleClicked(QModelIndex index);
    void on_tPrices_customContextMenuRequested(QPoint pos);
    void on_actionAddPricesTab_triggered();
    void on_tPrices_currentChanged(int index);
    void on_actionDeletePricesTab_triggered();
    void on_actionRemovePrice_triggered();
    void on_actionRenameTab_triggered();
    void on_actionAddPriceItem_triggered();

private:
    QEditableTreeView *createPriceView();
    void preparePriceView(QEditableTreeView *view);
    void loadScannerPorts(const QString &savedPort);
    void saveSettings() const;
    QList<qint32> shownItems() const;
    void refreshPriceViews(const QList<qint32> &rowsBefore);
    bool confirm(const QString &text);
    bool isFixedTab(int tab) const;
    static QEditableTreeView *focusedView(const QAction *action);

    std::unique_ptr<Ui::SettingsPage> ui;
    QPointer<PricesModel> pricesModel;
    std::unique_ptr<QMenu> tabsMenu;
    PricesDelegate pricesDelegate;
    /// The choice of a colour while it is open; it has no parent.
    QPointer<QColorDialog> colorDialog;
};

#endif // SETTINGSPAGE_H
