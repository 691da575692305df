#include "plugin/ticketpluginform.h"

#include "common/clock.h"
#include "common/deskpaths.h"
#include "common/openloops.h"
#include "plugin/hostevents.h"
#include "registration/addracerfromdbdialog.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"
#include "vaneplugininterface.h"

#include <QApplication>
#include <QDebug>
#include <QDialog>
#include <QHeaderView>
#include <QNetworkReply>
#include <QSettings>
#include <QSqlDatabase>

namespace {

constexpr int ValidateInterval = 5000;
constexpr int QueueInterval = 60000;
constexpr int UnattendedSeconds = 1800;
constexpr qint64 DaySeconds = 86400;
constexpr int NfcColumn = 9;

const QLatin1String ConnectionName("ticketPluginForm");

} // namespace

TicketPluginForm::TicketPluginForm(QWidget *parent)
    : QWidget(parent)
    , serviceUrl(QString::fromUtf8(LAPVANE_SERVICE_URL))
    , serviceAppUrl(QString::fromUtf8(LAPVANE_SERVICE_APP_URL))
    , runsMenu(std::make_unique<QMenu>())
    , carMenu(std::make_unique<QMenu>())
    , ui(new Ui::TicketPluginForm)
{
    connect(
        &payments.thread, &QThread::started, &payments, [this] { payments.openDatabase(); }, Qt::DirectConnection);
    connect(
        &payments.thread, &QThread::finished, &payments, [this] { payments.closeDatabase(); }, Qt::DirectConnection);
    payments.moveToThread(&payments.thread);
    payments.thread.start(QThread::InheritPriority);

    ui->setupUi(this);
    checkInList.setObjectName(QStringLiteral("checkInListModel"));
    ui->tvCheckIn->setItemDelegate(&checkInDelegate);
    ui->tvCheckIn->setModel(&checkInList);
    checkInList.attachView(ui->tvCheckIn);
    // What is pressed in a cell lives only while the mouse is known to be over it.
    ui->tvCheckIn->viewport()->setMouseTracking(true);
    ui->tvCheckIn->viewport()->setAttribute(Qt::WA_Hover);
    QFont headerFont = ui->tvCheckIn->header()->font();
    if (headerFont.pointSizeF() > 7.5)
        headerFont.setPointSizeF(headerFont.pointSizeF() - 1.5);
    ui->tvCheckIn->header()->setFont(headerFont);
    // As wide as the list needs to show the button of the queue; the rest is for the runs.
    ui->splitter_2->setSizes({832, 415});
    ui->splitter_2->setStretchFactor(0, 3);
    ui->splitter_2->setStretchFactor(1, 2);
    ui->histAndSeatSplitter->setStretchFactor(0, 2);
    ui->histAndSeatSplitter->setStretchFactor(1, 1);

    connect(&checkInDelegate, &ClientsCheckInDelegate::itemClicked, this, &TicketPluginForm::checkInItemClicked);
    connect(&checkInDelegate, &ClientsCheckInDelegate::doubleClicked, this, &TicketPluginForm::checkIn_doubleClicked);
    checkInList.setMessageParent(ui->tvCheckIn);
    checkInList.setUsedPinCodes(&usedPinCodes);
    checkInList.setSeatPinCodes([this] { return seatPinCodes(); });
    ui->tvCheckIn->addActions({ui->actionAddRacer, ui->actionEditRacer, ui->actionRemoveRacer, ui->actionMoveToRuns});
    ui->tvCheckIn->setColumnHidden(NfcColumn, true);

    connect(&payments, &PaymentDbUpdater::remotePaymentsUpdated, this, [this](const QJsonObject &batch) {
        qDebug() << "Remote to service sent";
        sendToHost(HostEvents::UpdateRemotePayments, batch);
    });
    connect(&prices, &PricesModel::settingsChanged, this, &TicketPluginForm::priceSettingsChanged);
    connect(&prices, &PricesModel::priceItemsRemoved, this, &TicketPluginForm::priceItemsRemoved);
    priceSettingsChanged();
    checkInList.setPrices(&prices);
    checkInDelegate.setPrices(&prices);
    checkInDelegate.setModel(&checkInList);

    connect(&checkInList, &ClientsCheckInList::ticketPrinted, this, &TicketPluginForm::ticketPrinted);
    connect(&checkInList, &ClientsCheckInList::checkInListUpdated, this, &TicketPluginForm::checkInListUpdated);
    connect(&checkInList, &ClientsCheckInList::paymentUpdate, this, &TicketPluginForm::paymentUpdate);
    connect(&checkInList, &ClientsCheckInList::someError, this, &TicketPluginForm::someError);
    ui->lwRunsList->setContextMenuPolicy(Qt::CustomContextMenu);
    runsMenu->addActions({ui->actionPrintTicket, ui->actionRemoveRun, ui->actionRenumberRuns});
    connect(ui->tvCheckIn, &QEditableTreeView::itemsDroppedOut, this, &TicketPluginForm::itemsDroppedToRun);

    // From the event loop. A queued connection would leave the type of the error with Qt for good, and with it pointers
    // into this library, which the host may unload and load again elsewhere.
    connect(&scannerPort, &QSerialPort::errorOccurred, this, [this] {
        QMetaObject::invokeMethod(
            this, [this] { dropLostScanner(); }, Qt::QueuedConnection);
    });
    loadSettings();
    loadJournals();
    ui->tvCheckIn->expandAll();

    lastValidateTime = QDateTime::fromSecsSinceEpoch(0);
    connect(&validateTimer, &QTimer::timeout, this, &TicketPluginForm::validateRegList);
    validateTimer.start(ValidateInterval);

    connect(ui->lwRunsList->model(), &QAbstractItemModel::rowsMoved, this, &TicketPluginForm::lwRuns_rowsMoved);
    connect(ui->lwRunsList->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TicketPluginForm::lwRunsSelectionChanged);
    connect(ui->lwRunsHistory->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TicketPluginForm::lwRunsSelectionChanged);
    ui->pitlaneWidget->setModel(&pitLaneCars);

    connect(&queueTimer, &QTimer::timeout, this, [this] {
        recalcQueue(QString());
        runQueueChanged(QString());
    });
    queueTimer.start(QueueInterval);
    carMenu->setTitle(tr("Выбрать карт"));
    connect(carMenu.get(), &QMenu::triggered, this, &TicketPluginForm::assignCarToRacer);
    connect(&networkManager, &QNetworkAccessManager::finished, this, &TicketPluginForm::networkRequestFinished);

    openDatabase();
    ui->pitlaneContainer->hide();

    // A host that goes down first sees the desk's questions answered with no, then destroys the desk.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &TicketPluginForm::rejectDialogs);
}

TicketPluginForm::~TicketPluginForm()
{
    db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(ConnectionName);
    queueTimer.stop();
    validateTimer.stop();
    saveJournals(true);
    endSafetyJobs();
    const OpenLoops loops = endLoops();
    ui->lwRunsHistory->clear();
    ui->lwRunsList->clear();
    // The view outlives the model by a moment; nothing of it may look there any more.
    ui->tvCheckIn->setModel(nullptr);
    if (!loops.isEmpty()) {
        loops.keep(ui->tvCheckIn);
        loops.keep(runsMenu.release());
        loops.keep(carMenu.release());
        if (ui->lwRunsList->isDragging())
            loops.keep(ui->lwRunsList);
    }
    delete ui;
}

void TicketPluginForm::rejectDialogs()
{
    const QList<QDialog *> dialogs = findChildren<QDialog *>();
    for (QDialog *dialog : dialogs)
        dialog->reject();
}

OpenLoops TicketPluginForm::endLoops()
{
    OpenLoops loops;
    OpenLoops::closeActionMenus(*this);
    loops.endDrags(*this);
    const QList<QDialog *> dialogs = findChildren<QDialog *>();
    for (QDialog *dialog : dialogs) {
        // The search goes with the form, and whoever opened it knows.
        if (dialog == searchDialog)
            dialog->reject();
        else
            loops.end(dialog);
    }
    return loops;
}

void TicketPluginForm::setPlugin(VanePluginInterface *link)
{
    plugin = link;
}

PricesModel *TicketPluginForm::pricesModel()
{
    return &prices;
}

void TicketPluginForm::sendToHost(const char *event, const QJsonObject &json)
{
    if (plugin)
        Q_EMIT plugin->pluginSignal(plugin->moduleName(), QString::fromLatin1(event), json);
}

void TicketPluginForm::openDatabase()
{
    db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), ConnectionName);
    db.setDatabaseName(DeskPaths::database());
    // A desk without a database still sells, seats and starts; only logins need this connection.
    db.open();
}

void TicketPluginForm::loadSettings()
{
    const QSettings settings(QLatin1String("zz.ordvex"), QLatin1String("prices"));
    ticketCaption = settings.value(QLatin1String("ticketCaption")).toString();
    maxInRunCount = settings.value(QLatin1String("maxInRunCount"), 10).toInt();
    defaultRunDuration = settings.value(QLatin1String("defaultRunDuration"), 10).toInt();
    pauseDuration = settings.value(QLatin1String("pauseDuration"), 3).toInt();
    fixedRunStartTimeInQueue = settings.value(QLatin1String("fixedRunStartTimeInQueue"), false).toBool();
    const QString portName = settings.value(QLatin1String("scannerPortName")).toString();

    scannerPort.close();
    scannerPort.setPortName(portName);
    scannerPort.setBaudRate(QSerialPort::Baud115200, QSerialPort::AllDirections);
    scannerPort.open(QIODevice::ReadOnly);
    connect(&scannerPort, &QSerialPort::readyRead, this, &TicketPluginForm::scannerData, Qt::UniqueConnection);

    prices.loadPrices();
}

void TicketPluginForm::setCurrentTab(QJsonObject jsonData)
{
    currentTab = jsonData.value(QLatin1String("currentTab")).toString();
}

void TicketPluginForm::validateRegList()
{
    const QDateTime now = Clock::local();
    QDateTime dayStart(now.date(), dayBeginTime.isValid() ? dayBeginTime : QTime(0, 0));
    if (now < dayStart)
        dayStart = dayStart.addSecs(-DaySeconds);
    regHistory.removeOlderThan(dayStart);
    lastValidateTime = now;
    checkInList.purgeExpired(UnattendedSeconds);
}

void TicketPluginForm::someError(QString msg)
{
    sendToHost(HostEvents::WriteSysLog, {
                                            {QLatin1String("logStr"), QStringLiteral("ticket_plugin_error")},
                                            {QLatin1String("logData"), QJsonObject{{QLatin1String("msg"), msg}}},
                                        });
}

void TicketPluginForm::checkInListUpdated(QJsonArray list)
{
    if (!plugin)
        return;
    sendToHost(HostEvents::LocalRequestAnswer, {{QLatin1String("checkInList"), list}});
    saveJournals(false);
}

void TicketPluginForm::priceSettingsChanged()
{
    const QString chosen = ui->cbPricesNames->currentText();
    ui->cbPricesNames->clear();
    for (auto type = prices.priceTypeNames.constBegin(); type != prices.priceTypeNames.constEnd(); ++type)
        ui->cbPricesNames->addItem(type.value(), type.key());
    ui->cbPricesNames->setCurrentIndex(qMax(0, ui->cbPricesNames->findText(chosen)));
    choosePriceType(ui->cbPricesNames->currentIndex());
}

void TicketPluginForm::on_cbPricesNames_activated(int index)
{
    choosePriceType(index);
}

void TicketPluginForm::choosePriceType(int row)
{
    const int chosen = qMax(0, row);
    prices.currentPriceType = ui->cbPricesNames->itemData(chosen).toInt();
    checkInDelegate.currentPriceRow = chosen;
    publishPrices();
}

void TicketPluginForm::priceItemsRemoved(QList<qint32> idsList)
{
    QJsonArray removed;
    for (const qint32 id : qAsConst(idsList))
        removed.append(id);
    sendToHost(HostEvents::UpdateRemotePrices,
               {{QLatin1String("cmd"), QStringLiteral("removePriceItems")}, {QLatin1String("removeList"), removed}});
}

QJsonObject TicketPluginForm::priceTypesJson() const
{
    const QList<int> types = prices.priceTypeNames.keys();
    return {
        {QLatin1String("names"), prices.priceTypeNamesJson()},
        {QLatin1String("currentIndex"), types.indexOf(prices.currentPriceType)},
    };
}

void TicketPluginForm::publishPrices()
{
    if (!plugin)
        return;
    checkInList.repriceUnpaid();
    sendToHost(HostEvents::LocalRequestAnswer, {
                                                   {QLatin1String("priceList"), checkInList.salesItemsForCars(cars)},
                                                   {QLatin1String("priceTypes"), priceTypesJson()},
                                               });
    sendToHost(HostEvents::UpdateRemotePrices, prices.currentPricesJson());
}

void TicketPluginForm::onCarsChanged(const QJsonObject &json)
{
    cars = json.value(QLatin1String("cars")).toArray();
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    for (const QPointer<RunContainerWidget> &run : runs)
        run->setCars(cars);
    checkInList.setAvailableCars(cars);
}

void TicketPluginForm::onTrackIdUpdated(const QJsonObject &json)
{
    trackId = json.value(QLatin1String("trackId")).toString();
    trackName = json.value(QLatin1String("trackName")).toString();
    sendToHost(HostEvents::LocalRequestAnswer, {{QLatin1String("trackName"), trackName}});
}

void TicketPluginForm::onOnlineServiceStatus(const QJsonObject &json)
{
    const bool enabled = json.value(QLatin1String("enabled")).toBool();
    ui->bAddRacerFromDb->setEnabled(enabled);
    apiKey.clear();
    if (enabled)
        apiKey = json.value(QLatin1String("apiKey")).toString();
}

void TicketPluginForm::onRaceMode(const QJsonObject &json)
{
    raceMode = json.value(QLatin1String("isRaceMode")).toBool(false);
    if (!raceMode)
        runQueueChanged(QString());
}

void TicketPluginForm::setDayBeginTime(const QTime &time)
{
    dayBeginTime = time;
}

void TicketPluginForm::setNextRunNumber(int number)
{
    lastRunNum = number > 0 ? number - 1 : number;
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::onRunsArchive(const QJsonObject &json)
{
    runsArchive = json;
    const QJsonValue runs = json.value(QLatin1String("runs"));
    sendToHost(HostEvents::LocalRequestAnswer,
               {{QLatin1String("runsArchive"), runs.isUndefined() ? QJsonValue(QJsonArray()) : runs}});
}

void TicketPluginForm::onLocalClientData(const QJsonObject &json)
{
    checkInList.updateClient(json);
    if (json.value(QLatin1String("clientId")).toInt(-1) == -1)
        return;
    QJsonObject answer = json;
    answer.insert(QLatin1String("linkKind"), QStringLiteral("cashier"));
    answer.insert(QLatin1String("code"), QStringLiteral("update_local_client_data"));
    sendToHost(HostEvents::LocalRequestAnswer, answer);
}

void TicketPluginForm::onClientAccountData(const QJsonObject &json)
{
    checkInList.updateClient(json);
    checkInList.save();
}

void TicketPluginForm::updateApiKey(const QJsonObject &json)
{
    QMetaObject::invokeMethod(&payments, "updateApiKey", Qt::QueuedConnection, Q_ARG(QJsonObject, json));
}

void TicketPluginForm::updatePaymentsData(const QJsonObject &json)
{
    QMetaObject::invokeMethod(&payments, "updatePaymentsData", Qt::QueuedConnection, Q_ARG(QJsonObject, json));
}
