#include "plugin/lapvaneticketplugin.h"

#include "plugin/hostevents.h"
#include "plugin/parentguard.h"
#include "remote/seatportprotocol.h"

#include <QCoreApplication>
#include <QMetaType>
#include <QPointer>
#include <QTcpSocket>
#include <QTextCodec>
#include <QThread>
#include <QTime>
#include <QVector>

namespace {

constexpr quint16 SeatPortNumber = 9183;
/// Milliseconds.
constexpr unsigned long SeatPortPause = 50;
constexpr int ArchiveHours = 24;
constexpr int SocketCloseTimeout = 3000;
constexpr int ModuleVersion = 122;

/// What has to stand before any member of the desk is built.
QTextCodec *prepareTypesAndCodec()
{
    qRegisterMetaType<QVector<QObject *>>("QVector<QObject *>");
    return QTextCodec::codecForName("windows-1251");
}

QPointer<LapvaneTicketPlugin> &livingPlugin()
{
    static QPointer<LapvaneTicketPlugin> plugin;
    return plugin;
}

/// A host may leave the library to Qt's last clean-up, when there is no application and no database driver any more. The
/// desk has journals to write and payments to finish, so it ends with the application at the latest.
void endWithApplication()
{
    delete livingPlugin().data();
}

QStringList names(std::initializer_list<const char *> events)
{
    // Plain heap texts: the host may keep them when the library is long unloaded.
    QStringList list;
    for (const char *event : events)
        list.append(QString::fromLatin1(event));
    return list;
}

} // namespace

/// What the host may tell the desk, in the order in which names are compared.
const LapvaneTicketPlugin::EventHandler LapvaneTicketPlugin::handlers[] = {
    {HostEvents::LoadComplete, &LapvaneTicketPlugin::completeLoading},
    {HostEvents::ServerStatus, &LapvaneTicketPlugin::takeServerStatus},
    {HostEvents::SendSettingsDialogs, &LapvaneTicketPlugin::offerSettings},
    {HostEvents::CarsListChanged, &LapvaneTicketPlugin::takeCars},
    {HostEvents::TrackIdUpdated, &LapvaneTicketPlugin::takeTrackId},
    {HostEvents::RemoteControlData, &LapvaneTicketPlugin::answerRemoteControl},
    {HostEvents::NewRunStarted, &LapvaneTicketPlugin::takeRunStart},
    {HostEvents::RefreshRunInfo, &LapvaneTicketPlugin::takeRunInfo},
    {HostEvents::RefreshRunResults, &LapvaneTicketPlugin::takeRunResults},
    {HostEvents::RunClosed, &LapvaneTicketPlugin::takeRunEnd},
    {HostEvents::RunSavedToDb, &LapvaneTicketPlugin::reloadArchive},
    {HostEvents::RunsArchiveList, &LapvaneTicketPlugin::takeRunsArchive},
    {HostEvents::PreparationCleared, &LapvaneTicketPlugin::clearPreparation},
    {HostEvents::TimingParams, &LapvaneTicketPlugin::takeTimingParams},
    {HostEvents::NextRunInfo, &LapvaneTicketPlugin::takeNextRunInfo},
    {HostEvents::LocalRequest, &LapvaneTicketPlugin::answerLocalRequest},
    {HostEvents::OnlineServiceStatus, &LapvaneTicketPlugin::takeOnlineServiceStatus},
    {HostEvents::CurrentTabChanged, &LapvaneTicketPlugin::takeCurrentTab},
    {HostEvents::QueryRacerFromDatabase, &LapvaneTicketPlugin::searchClient},
    {HostEvents::RaceMode, &LapvaneTicketPlugin::takeRaceMode},
    {HostEvents::RequestQueueStart, &LapvaneTicketPlugin::startQueue},
    {HostEvents::LocalClientData, &LapvaneTicketPlugin::takeLocalClient},
    {HostEvents::ClientAccountData, &LapvaneTicketPlugin::takeClientAccount},
    {HostEvents::ApiKeyUpdated, &LapvaneTicketPlugin::takeApiKey},
    {HostEvents::PaymentsUpdateData, &LapvaneTicketPlugin::takePaymentsUpdate},
    {HostEvents::TransponderHit, &LapvaneTicketPlugin::takeTransponderHits},
};

LapvaneTicketPlugin::LapvaneTicketPlugin()
    : localCodec(prepareTypesAndCodec())
{
    moduleTitle = tr("Модуль кассы");
    moduleId = QString::fromLatin1("ticket_plugin");
    tabTitle = tr("Касса");
    sentEventNames = names({
        HostEvents::CurrentRunFinishParams,
        HostEvents::DatabaseRacerCheckin,
        HostEvents::FinishRun,
        HostEvents::InsertHit,
        HostEvents::InsertTab,
        HostEvents::LocalRequestAnswer,
        HostEvents::PrintDocument,
        HostEvents::PrintResults,
        HostEvents::PrintRun,
        HostEvents::ReadCarsList,
        HostEvents::ReloadRunsArchive,
        HostEvents::RemoteControlAnswer,
        HostEvents::ReplaceRunPreset,
        HostEvents::SettingsDialog,
        HostEvents::StartRun,
        HostEvents::SwitchCar,
        HostEvents::UpdateRemotePrices,
        HostEvents::UpdateLocalClient,
        HostEvents::UpdateRemotePayments,
        HostEvents::WriteSysLog,
    });
    receivedEventNames = names({
        HostEvents::ApiKeyUpdated,
        HostEvents::CarsListChanged,
        HostEvents::ClientAccountData,
        HostEvents::CurrentTabChanged,
        HostEvents::LocalRequest,
        HostEvents::NewRunStarted,
        HostEvents::NextRunInfo,
        HostEvents::OnlineServiceStatus,
        HostEvents::PaymentsUpdateData,
        HostEvents::PreparationCleared,
        HostEvents::QueryRacerFromDatabase,
        HostEvents::RaceMode,
        HostEvents::RefreshRunInfo,
        HostEvents::RefreshRunResults,
        HostEvents::RemoteControlData,
        HostEvents::RequestQueueStart,
        HostEvents::RunClosed,
        HostEvents::RunsArchiveList,
        HostEvents::SendSettingsDialogs,
        HostEvents::TimingParams,
        HostEvents::TrackIdUpdated,
        HostEvents::TransponderHit,
        HostEvents::ServerStatus,
        HostEvents::LocalClientData,
    });
    versionWord = ModuleVersion;
    setObjectName(moduleTitle);

    keepFromParents(&settingsPage);
    keepFromParents(&form);
    form.setPlugin(this);
    settingsPage.setPricesModel(form.pricesModel());
    settingsPage.loadControls();
    form.priceSettingsChanged();
    connect(&settingsPage, &SettingsPage::settingsUpdated, &form, &TicketPluginForm::loadSettings);

    connect(&localServer, &QTcpServer::newConnection, this, &LapvaneTicketPlugin::newLocalConnection);
    // A busy port leaves the seat port silent and the desk working.
    localServer.listen(QHostAddress::AnyIPv4, SeatPortNumber);

    livingPlugin() = this;
    qAddPostRoutine(endWithApplication);
}

LapvaneTicketPlugin::~LapvaneTicketPlugin()
{
    qRemovePostRoutine(endWithApplication);
    localServer.close();
    const QList<QTcpSocket *> sockets = localConnections;
    for (QTcpSocket *socket : sockets) {
        socket->disconnect(this);
        socket->disconnectFromHost();
        if (socket->state() != QAbstractSocket::UnconnectedState)
            socket->waitForDisconnected(SocketCloseTimeout);
        socket->close();
        socket->deleteLater();
    }
}

quintptr LapvaneTicketPlugin::hostOption1()
{
    return 0;
}

quintptr LapvaneTicketPlugin::hostOption2()
{
    return 0;
}

QString LapvaneTicketPlugin::tabCaption()
{
    return tabTitle;
}

QString LapvaneTicketPlugin::moduleName()
{
    return moduleId;
}

QStringList LapvaneTicketPlugin::sentEvents()
{
    return sentEventNames;
}

QStringList LapvaneTicketPlugin::receivedEvents()
{
    return receivedEventNames;
}

void LapvaneTicketPlugin::pluginSlot(QString module, QString event, QJsonObject jsonData)
{
    Q_UNUSED(module)
    for (const EventHandler &handler : handlers) {
        if (event == QLatin1String(handler.event)) {
            (this->*handler.handle)(jsonData);
            return;
        }
    }
}

void LapvaneTicketPlugin::send(const char *event, const QJsonObject &json)
{
    Q_EMIT pluginSignal(moduleId, QString::fromLatin1(event), json);
}

void LapvaneTicketPlugin::writeSysLog(const QString &text, const QJsonObject &data)
{
    send(HostEvents::WriteSysLog, {{QLatin1String("logStr"), text}, {QLatin1String("logData"), data}});
}

void LapvaneTicketPlugin::completeLoading(const QJsonObject &json)
{
    Q_UNUSED(json)
    send(HostEvents::InsertTab,
         {
             {QLatin1String("moduleName"), moduleId},
             {QLatin1String("index"), 0},
             {QLatin1String("tabCaption"), tabTitle},
             {QLatin1String("tabWidget"), reinterpret_cast<qint64>(static_cast<QWidget *>(&form))},
         });
    form.publishPrices();
    send(HostEvents::ReadCarsList, QJsonObject());
    reloadArchive(QJsonObject());
}

void LapvaneTicketPlugin::takeServerStatus(const QJsonObject &json)
{
    static QString lastStatus;
    const QString status = json.value(QLatin1String("msg")).toObject().value(QLatin1String("status")).toString();
    const QLatin1String ok("ok");
    const bool reconnected = status == ok && lastStatus != ok;
    // Told apart before anything goes out: the answer to the queue may be the next status already.
    lastStatus = status;
    if (reconnected)
        form.runQueueChanged(QString(), false);
}

void LapvaneTicketPlugin::offerSettings(const QJsonObject &json)
{
    Q_UNUSED(json)
    send(HostEvents::SettingsDialog,
         {
             {QLatin1String("moduleName"), moduleId},
             {QLatin1String("settingsCaption"), tabTitle},
             {QLatin1String("settingsPagePtr"), reinterpret_cast<qint64>(static_cast<QWidget *>(&settingsPage))},
         });
}

void LapvaneTicketPlugin::takeCars(const QJsonObject &json)
{
    form.onCarsChanged(json);
    form.publishPrices();
    form.updateTransponderTable();
}

void LapvaneTicketPlugin::takeTrackId(const QJsonObject &json)
{
    form.onTrackIdUpdated(json);
}

void LapvaneTicketPlugin::answerRemoteControl(const QJsonObject &request)
{
    writeSysLog(QStringLiteral("remote_control_data"), request);
    QJsonObject answer = form.handleRemoteRequest(request);
    answer.insert(QLatin1String("srcRequest"), request.value(QLatin1String("request")).toString());
    QJsonObject wrapper{{QLatin1String("req_answ"), answer}};
    const QJsonValue sink = request.value(QLatin1String("sinkId"));
    if (!sink.isUndefined())
        wrapper.insert(QLatin1String("sinkId"), sink);
    if (request.value(QLatin1String("skipAnswer")).toBool(false))
        return;
    writeSysLog(QStringLiteral("remote_control_answer"), wrapper);
    send(HostEvents::RemoteControlAnswer, wrapper);
}

void LapvaneTicketPlugin::reloadArchive(const QJsonObject &json)
{
    Q_UNUSED(json)
    send(HostEvents::ReloadRunsArchive, {{QLatin1String("limitHours"), ArchiveHours}});
}

void LapvaneTicketPlugin::takeRunStart(const QJsonObject &json)
{
    form.onNewRunStarted(json);
}

void LapvaneTicketPlugin::takeRunInfo(const QJsonObject &json)
{
    form.onRefreshRunInfo(json);
}

void LapvaneTicketPlugin::takeRunResults(const QJsonObject &json)
{
    form.onRefreshRunResults(json);
}

void LapvaneTicketPlugin::takeRunEnd(const QJsonObject &json)
{
    form.onRunClosed(json);
}

void LapvaneTicketPlugin::takeRunsArchive(const QJsonObject &json)
{
    form.onRunsArchive(json);
}

void LapvaneTicketPlugin::clearPreparation(const QJsonObject &json)
{
    form.clearPreparedCars(json.value(QLatin1String("clearList")).toArray());
}

void LapvaneTicketPlugin::takeTimingParams(const QJsonObject &json)
{
    form.setDayBeginTime(QTime::fromMSecsSinceStartOfDay(json.value(QLatin1String("dayBeginTime")).toInt(0)));
}

void LapvaneTicketPlugin::takeNextRunInfo(const QJsonObject &json)
{
    form.setNextRunNumber(json.value(QLatin1String("nextRunNum")).toInt(1));
}

void LapvaneTicketPlugin::answerLocalRequest(const QJsonObject &request)
{
    writeSysLog(QStringLiteral("local_request"), request);
    const QPointer<LapvaneTicketPlugin> self(this);
    const QJsonObject answer = form.handleLocalRequest(request);
    // A ticket without a printer opens a box, and the host may end the desk before somebody closes it.
    if (self && !answer.isEmpty())
        send(HostEvents::LocalRequestAnswer, answer);
}

void LapvaneTicketPlugin::takeOnlineServiceStatus(const QJsonObject &json)
{
    form.onOnlineServiceStatus(json);
}

void LapvaneTicketPlugin::takeCurrentTab(const QJsonObject &json)
{
    form.setCurrentTab(json);
}

void LapvaneTicketPlugin::searchClient(const QJsonObject &json)
{
    Q_UNUSED(json)
    form.on_bAddRacerFromDb_clicked();
}

void LapvaneTicketPlugin::takeRaceMode(const QJsonObject &json)
{
    form.onRaceMode(json);
}

void LapvaneTicketPlugin::startQueue(const QJsonObject &json)
{
    form.startQueue(json);
}

void LapvaneTicketPlugin::takeLocalClient(const QJsonObject &json)
{
    form.onLocalClientData(json);
}

void LapvaneTicketPlugin::takeClientAccount(const QJsonObject &json)
{
    form.onClientAccountData(json);
    send(HostEvents::UpdateLocalClient, json);
}

void LapvaneTicketPlugin::takeApiKey(const QJsonObject &json)
{
    form.updateApiKey(json);
}

void LapvaneTicketPlugin::takePaymentsUpdate(const QJsonObject &json)
{
    form.updatePaymentsData(json);
}

void LapvaneTicketPlugin::takeTransponderHits(const QJsonObject &json)
{
    form.onTransponderHit(json);
}

void LapvaneTicketPlugin::newLocalConnection()
{
    while (localServer.hasPendingConnections()) {
        QTcpSocket *socket = localServer.nextPendingConnection();
        if (!socket)
            continue;
        localConnections.append(socket);
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            localConnections.removeAll(socket);
            socket->deleteLater();
        });
        connect(socket, &QTcpSocket::readyRead, this, &LapvaneTicketPlugin::localDataReceived);
    }
}

void LapvaneTicketPlugin::localDataReceived()
{
    const QPointer<QTcpSocket> socket(qobject_cast<QTcpSocket *>(sender()));
    if (!socket)
        return;
    const SeatPort::Command command = SeatPort::parsed(socket->readAll());
    QString answer;
    switch (command.kind) {
    case SeatPort::Command::Kind::None:
        return;
    case SeatPort::Command::Kind::FindTicket:
        answer = form.seatByPin(command.pin);
        break;
    case SeatPort::Command::Kind::SetSeat:
        answer = form.seatFromPort(command.seat);
        break;
    }
    // The host hears of the seat before the client does; the client may be gone by then.
    if (!socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    // Clients are slow to turn from sending to listening.
    QThread::msleep(SeatPortPause);
    socket->write(localCodec->fromUnicode(answer));
    // At once: a client that has said its last word still listens, but the socket forgets what waits when it notices.
    socket->flush();
}
