#include "prices/settingspage.h"

#include "common/openloops.h"
#include "prices/pricerules.h"
#include "prices/pricesmodel.h"
#include "registration/tables/qeditabletreeview.h"

#include "ui_settingspage.h"

#include <QColorDialog>
#include <QHeaderView>
#include <QInputDialog>
#include <QMessageBox>
#include <QSerialPortInfo>
#include <QSettings>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const int maxPriceTabs = 16;

const Qt::WindowFlags inputFlags = Qt::WindowTitleHint | Qt::WindowSystemMenuHint;

const int defaultMaxInRunCount = 10;
const int defaultRunMinutes = 10;
const int defaultPauseMinutes = 3;

} // namespace

SettingsPage::SettingsPage(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::SettingsPage>())
    , tabsMenu(std::make_unique<QMenu>())
{
    setObjectName(QStringLiteral("SettingsPage"));
    // The form stands on a widget of its own: the price views are made at run time, and a look for their slots by name
    // would only complain.
    auto *form = new QWidget(this);
    ui->setupUi(form);
    auto *pageLayout = new QVBoxLayout(this);
    pageLayout->addWidget(form);

    tabsMenu->addAction(ui->actionAddPricesTab);
    tabsMenu->addAction(ui->actionRenameTab);
    tabsMenu->addAction(ui->actionDeletePricesTab);

    connect(ui->tPrices, &QWidget::customContextMenuRequested, this,
            &SettingsPage::on_tPrices_customContextMenuRequested);
    connect(ui->tPrices, &QTabWidget::currentChanged, this, &SettingsPage::on_tPrices_currentChanged);
    connect(ui->actionAddPricesTab, &QAction::triggered, this, &SettingsPage::on_actionAddPricesTab_triggered);
    connect(ui->actionDeletePricesTab, &QAction::triggered, this, &SettingsPage::on_actionDeletePricesTab_triggered);
    connect(ui->actionRemovePrice, &QAction::triggered, this, &SettingsPage::on_actionRemovePrice_triggered);
    connect(ui->actionRenameTab, &QAction::triggered, this, &SettingsPage::on_actionRenameTab_triggered);
    connect(ui->actionAddPriceItem, &QAction::triggered, this, &SettingsPage::on_actionAddPriceItem_triggered);
}

SettingsPage::~SettingsPage()
{
    // The tabs go away with the page's children; nothing here cares for the current one any more.
    ui->tPrices->disconnect(this);
    OpenLoops::closeActionMenus(*this);
    OpenLoops loops;
    if (colorDialog)
        loops.end(colorDialog);
    const QList<QDialog *> dialogs = findChildren<QDialog *>();
    for (QDialog *dialog : dialogs)
        loops.end(dialog);
    if (loops.isEmpty())
        return;
    loops.keep(tabsMenu.release());
    const QList<QEditableTreeView *> views = ui->tPrices->findChildren<QEditableTreeView *>();
    for (QEditableTreeView *view : views) {
        view->setModel(nullptr);
        loops.keep(view);
    }
}

void SettingsPage::setPricesModel(PricesModel *newModel)
{
    pricesModel = newModel;
    pricesDelegate.setPricesModel(newModel);
}

void SettingsPage::loadControls()
{
    if (!pricesModel)
        return;
    pricesModel->loadPrices();
    if (pricesModel->priceTypeNames.isEmpty())
        pricesModel->addPricesBlock(tr("Основные"));
    const QStringList names = pricesModel->priceTypeNames.values();
    for (const QString &name : names) {
        QEditableTreeView *view = createPriceView();
        connect(view, &QAbstractItemView::clicked, this, &SettingsPage::on_tvPrices_clicked);
        connect(view, &QAbstractItemView::doubleClicked, this, &SettingsPage::on_tvPrices_doubleClicked);
        preparePriceView(view);
        ui->tPrices->addTab(view, name);
    }

    QStringList discounts;
    for (const DiscountItem &discount : qAsConst(pricesModel->discounts))
        discounts.append(PriceRules::discountText(discount));
    ui->teDiscounts->setPlainText(discounts.join(QLatin1Char('\n')));
    ui->tePayMethods->setPlainText(pricesModel->payMethods.join(QLatin1Char('\n')));

    const QSettings settings(QLatin1String("zz.ordvex"), QLatin1String("prices"));
    ui->leTicketCaption->setText(settings.value(QLatin1String("ticketCaption")).toString());
    ui->sbMaxInRunCount->setValue(settings.value(QLatin1String("maxInRunCount"), defaultMaxInRunCount).toInt());
    ui->sbDefaultRunDuration->setValue(settings.value(QLatin1String("defaultRunDuration"), defaultRunMinutes).toInt());
    ui->sbPauseDuration->setValue(settings.value(QLatin1String("pauseDuration"), defaultPauseMinutes).toInt());
    ui->cbFixedRunStartTimeInQueue->setChecked(
        settings.value(QLatin1String("fixedRunStartTimeInQueue"), false).toBool());
    loadScannerPorts(settings.value(QLatin1String("scannerPortName")).toString());
}

void SettingsPage::pluginSlot(QString moduleName, QString event, QJsonObject jsonData)
{
    Q_UNUSED(moduleName)
    Q_UNUSED(jsonData)
    if (event != QLatin1String("settings_accepted"))
        return;
    saveSettings();
    const QPointer<SettingsPage> self(this);
    const QList<qint32> rows = shownItems();
    Q_EMIT settingsUpdated();
    if (self)
        refreshPriceViews(rows);
}

void SettingsPage::on_tvPrices_clicked(QModelIndex index)
{
    if (!pricesModel || !index.isValid() || pricesModel->columnKey(index.column()) != QLatin1String("COLOR"))
        return;
    const QList<PriceItem> items = pricesModel->currentPriceItems();
    if (index.row() >= items.size())
        return;
    const PriceItem &item = items.at(index.row());

    const QPointer<PricesModel> model(pricesModel);
    QColorDialog dialog(item.color);
    colorDialog = &dialog;
    if (dialog.exec() != QDialog::Accepted || !model)
        return;
    // The book may have been loaded anew while the dialog was open.
    const int row = model->rowOf(item.commonId);
    if (row < 0)
        return;
    model->setItemColor(item, dialog.selectedColor());
    model->updatePrices();
    if (!model)
        return;
    const QModelIndex cell = model->index(row, index.column());
    Q_EMIT model->dataChanged(cell, cell);
}

void SettingsPage::on_tvPrices_doubleClicked(QModelIndex index)
{
    if (!pricesModel || !index.isValid() || pricesModel->columnKey(index.column()) != QLatin1String("REMOTE_AVAIL"))
        return;
    const QList<PriceItem> items = pricesModel->currentPriceItems();
    if (index.row() >= items.size())
        return;
    const QPointer<PricesModel> model(pricesModel);
    model->toggleRemoteAvail(items.at(index.row()));
    model->updatePrices();
    if (model)
        Q_EMIT model->dataChanged(index, index);
}

void SettingsPage::on_tPrices_customContextMenuRequested(QPoint pos)
{
    if (pos.y() < ui->tPrices->tabBar()->rect().bottom())
        tabsMenu->popup(ui->tPrices->mapToGlobal(pos));
}

void SettingsPage::on_actionAddPricesTab_triggered()
{
    if (!pricesModel || ui->tPrices->count() >= maxPriceTabs)
        return;
    const QPointer<SettingsPage> self(this);
    bool accepted = false;
    const QString name = QInputDialog::getText(this, tr("Название вкладки"), tr("Название"), QLineEdit::Normal,
                                               QString(), &accepted, inputFlags);
    if (!accepted || !self || !pricesModel)
        return;
    pricesModel->addPricesBlock(name);
    if (!self || !pricesModel)
        return;
    // Unlike the views made at the start, this one does not hand its clicks on: colour and kiosk flag are changed in the
    // tabs that the page was built with.
    QEditableTreeView *view = createPriceView();
    preparePriceView(view);
    ui->tPrices->addTab(view, name);
}

void SettingsPage::on_tPrices_currentChanged(int index)
{
    if (pricesModel)
        pricesModel->setCurrentPricesBlock(index);
}

void SettingsPage::on_actionDeletePricesTab_triggered()
{
    const int tab = ui->tPrices->currentIndex();
    if (isFixedTab(tab))
        return;
    const int blockId = pricesModel->blockAt(tab);
    const QPointer<SettingsPage> self(this);
    const QPointer<QWidget> view(ui->tPrices->widget(tab));
    const bool confirmed = confirm(tr("Точно удалить вкладку \"%1\"?").arg(pricesModel->priceTypeNames.value(blockId)));
    if (!confirmed || !self || !pricesModel || !view)
        return;
    // Blocks may have come and gone while the question stood.
    const int position = pricesModel->blockPosition(blockId);
    if (position < 0)
        return;
    pricesModel->removePricesBlock(position);
    if (!self || !view)
        return;
    ui->tPrices->removeTab(ui->tPrices->indexOf(view));
    view->deleteLater();
}

void SettingsPage::on_actionRemovePrice_triggered()
{
    const QEditableTreeView *view = focusedView(ui->actionRemovePrice);
    if (!pricesModel || !view)
        return;
    const QList<PriceItem> items = pricesModel->currentPriceItems();
    const QModelIndexList selected = view->selectionModel()->selectedIndexes();
    QList<qint32> commonIds;
    for (const QModelIndex &index : selected) {
        if (index.row() < items.size() && !commonIds.contains(items.at(index.row()).commonId))
            commonIds.append(items.at(index.row()).commonId);
    }
    const QPointer<SettingsPage> self(this);
    if (commonIds.isEmpty() || !confirm(tr("Точно удалить?")) || !self || !pricesModel)
        return;

    // The items may stand elsewhere by now, or nowhere.
    QList<int> rows;
    for (const qint32 commonId : qAsConst(commonIds)) {
        const int row = pricesModel->rowOf(commonId);
        if (row >= 0)
            rows.append(row);
    }
    if (rows.isEmpty())
        return;
    std::sort(rows.begin(), rows.end());
    pricesModel->removePriceItems(rows);
}

void SettingsPage::on_actionRenameTab_triggered()
{
    const int tab = ui->tPrices->currentIndex();
    if (isFixedTab(tab))
        return;
    const int blockId = pricesModel->blockAt(tab);
    const QPointer<SettingsPage> self(this);
    const QPointer<QWidget> view(ui->tPrices->widget(tab));
    bool accepted = false;
    const QString name = QInputDialog::getText(this, tr("Переименовать"), tr("Новое название"), QLineEdit::Normal,
                                               pricesModel->priceTypeNames.value(blockId), &accepted, inputFlags);
    if (!accepted || !self || !pricesModel || !view)
        return;
    const int position = pricesModel->blockPosition(blockId);
    if (position < 0)
        return;
    pricesModel->renamePricesBlock(position, name);
    if (self && view)
        ui->tPrices->setTabText(ui->tPrices->indexOf(view), name);
}

void SettingsPage::on_actionAddPriceItem_triggered()
{
    if (!pricesModel)
        return;
    const QModelIndex added = pricesModel->addNewPriceItem();
    if (QEditableTreeView *view = focusedView(ui->actionAddPriceItem)) {
        view->setCurrentIndex(added);
        view->edit(added);
    }
}

QEditableTreeView *SettingsPage::createPriceView()
{
    auto *view = new QEditableTreeView(ui->tPrices);
    view->setObjectName(QStringLiteral("tvPrices"));
    return view;
}

void SettingsPage::preparePriceView(QEditableTreeView *view)
{
    view->setFont(font());
    view->header()->setFont(font());
    view->setRootIsDecorated(false);
    view->setUniformRowHeights(true);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setSelectionBehavior(QAbstractItemView::SelectItems);
    view->header()->setStretchLastSection(false);
    view->setItemDelegate(&pricesDelegate);
    view->setModel(pricesModel);
    view->addAction(ui->actionAddPriceItem);
    view->addAction(ui->actionRemovePrice);
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
    pricesModel->attachView(view);
}

void SettingsPage::loadScannerPorts(const QString &savedPort)
{
    ui->cbScannerPorts->clear();
    const QList<QSerialPortInfo> ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &port : ports) {
        ui->cbScannerPorts->addItem(port.portName() + QLatin1Char(' ') + port.description(), port.portName());
        if (port.portName() == savedPort)
            ui->cbScannerPorts->setCurrentIndex(ui->cbScannerPorts->count() - 1);
    }
}

void SettingsPage::saveSettings() const
{
    // The process keeps the keys when this library is long unloaded: they are texts of their own, not parts of it.
    QSettings settings(QLatin1String("zz.ordvex"), QLatin1String("prices"));
    settings.setValue(QLatin1String("ticketCaption"), ui->leTicketCaption->text());
    settings.setValue(QLatin1String("discounts"), PriceRules::linesJson(ui->teDiscounts->toPlainText()));
    settings.setValue(QLatin1String("paymethods"), PriceRules::linesJson(ui->tePayMethods->toPlainText()));
    settings.setValue(QLatin1String("maxInRunCount"), ui->sbMaxInRunCount->value());
    settings.setValue(QLatin1String("defaultRunDuration"), ui->sbDefaultRunDuration->value());
    settings.setValue(QLatin1String("pauseDuration"), ui->sbPauseDuration->value());
    settings.setValue(QLatin1String("scannerPortName"), ui->cbScannerPorts->currentData().toString());
    settings.setValue(QLatin1String("fixedRunStartTimeInQueue"), ui->cbFixedRunStartTimeInQueue->isChecked());
}

/// The common ids of the rows that the price views show.
QList<qint32> SettingsPage::shownItems() const
{
    QList<qint32> ids;
    const QList<PriceItem> items = pricesModel ? pricesModel->currentPriceItems() : QList<PriceItem>();
    for (const PriceItem &item : items)
        ids.append(item.commonId);
    return ids;
}

/// The price book was loaded anew, and a load tells no view. A cell that is being edited stays open, unless the rows
/// are other ones now: its editor and the selection would stand on other items.
void SettingsPage::refreshPriceViews(const QList<qint32> &rowsBefore)
{
    const bool sameRows = shownItems() == rowsBefore;
    const QList<QEditableTreeView *> views = ui->tPrices->findChildren<QEditableTreeView *>();
    for (QEditableTreeView *view : views) {
        if (sameRows)
            view->doItemsLayout();
        else
            view->reset();
    }
}

/// Asks a question that Yes confirms. The page may be gone when it returns.
bool SettingsPage::confirm(const QString &text)
{
    const QPointer<QMessageBox> box(
        new QMessageBox(QMessageBox::Question, tr("Подтверждение"), text, QMessageBox::Yes | QMessageBox::No, this));
    const bool confirmed = box->exec() == QMessageBox::Yes;
    delete box;
    return confirmed;
}

/// True for the first tab, which keeps its name and its place, and for a tab whose block is gone.
bool SettingsPage::isFixedTab(int tab) const
{
    return !pricesModel || tab < 1 || tab >= pricesModel->priceTypeNames.size();
}

/// The view that has the focus among those that carry the action.
QEditableTreeView *SettingsPage::focusedView(const QAction *action)
{
    const QList<QWidget *> widgets = action->associatedWidgets();
    for (QWidget *widget : widgets) {
        auto *view = qobject_cast<QEditableTreeView *>(widget);
        if (view && view->hasFocus())
            return view;
    }
    return nullptr;
}
