#ifndef TICKETPLUGINFORM_H
#define TICKETPLUGINFORM_H

#include "payments/paymentdbupdater.h"
#include "pitlane/pitlanecarsmodel.h"
#include "prices/pricesmodel.h"
#include "registration/clientscheckindelegate.h"
#include "registration/clientscheckinlist.h"
#include "registration/reghistorymodel.h"

#include <QDateTime>
#include <QItemSelection>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QMenu>
#include <QModelIndex>
#include <QNetworkAccessManager>
#include <QPersistentModelIndex>
#include <QPoint>
#include <QPointer>
#include <QSerialPort>
#include <QSqlDatabase>
#include <QStringList>
#include <QTime>
#include <QTimer>
#include <QWidget>

#include <memory>

class AddRacerFromDbDialog;
class QAction;
class QListWidget;
class QListWidgetItem;
class QNetworkReply;
class OpenLoops;
class PrintPreprocessor;
class RunContainerWidget;
class VanePluginInterface;
struct KidRecord;
struct RunCompetitor;

namespace Ui {
class TicketPluginForm;
}

/// A cashier who has logged in.
struct OperatorRecord
{
    QString token;
    /// Key in the table `personal`; -1 when unknown.
    qint32 id = -1;
    QString name;
};

/// The tab "Касса": owns every model, the payments worker, the timers, the scanner port and the network access of the
/// desk; all requests and host events end in one of its operations. Nothing reaches the host before setPlugin(). GUI
/// thread.
class TicketPluginForm : public QWidget
{
    Q_OBJECT

public:
    explicit TicketPluginForm(QWidget *parent = nullptr);
    /// Writes all journals and waits, without a time limit, until the payments are stored.
    ~TicketPluginForm() override;

    /// The link to the host; null while there is none. Not owned.
    void setPlugin(VanePluginInterface *link);

    /// The one price book. Owned by the form.
    PricesModel *pricesModel();

    void onCarsChanged(const QJsonObject &json);
    /// Tells the pit lane which car carries which transponder, by the cars of the host and the present prices.
    void updateTransponderTable();
    void onTransponderHit(const QJsonObject &json);
    void onTrackIdUpdated(const QJsonObject &json);
    void onOnlineServiceStatus(const QJsonObject &json);
    void onRaceMode(const QJsonObject &json);
    /// Start of the working day, local time; an invalid time counts as midnight.
    void setDayBeginTime(const QTime &time);
    /// The number that the host will give its next run.
    void setNextRunNumber(int number);
    void onRunsArchive(const QJsonObject &json);
    void onLocalClientData(const QJsonObject &json);
    void onClientAccountData(const QJsonObject &json);
    /// Takes the cars away from the racers whom the host has cleared from its preparation.
    void clearPreparedCars(const QJsonArray &clearList);
    void onNewRunStarted(const QJsonObject &json);
    void onRefreshRunInfo(const QJsonObject &json);
    void onRefreshRunResults(const QJsonObject &json);
    void onRunClosed(const QJsonObject &json);
    /// Starts the head of the queue; without one the host's own request goes back as a start.
    void startQueue(const QJsonObject &json);
    void updateApiKey(const QJsonObject &json);
    void updatePaymentsData(const QJsonObject &json);

    /// Reprices what is unpaid and tells clients and the online service the present prices.
    void publishPrices();

    /// Works a request of a client program; the answer is empty if there is none to send.
    QJsonObject handleLocalRequest(const QJsonObject &request);
    /// Works a request of a remote device; the answer lacks the receipt that the dispatcher adds.
    QJsonObject handleRemoteRequest(const QJsonObject &request);

    /// Takes a client's record from outside into the list and tells the host about the client.
    QModelIndex addClientRecord(const QJsonObject &json);

    /// Works the chain of start times out anew; a non-empty identity also names the run on the track.
    void recalcQueue(const QString &activeGuid);

    /// Adds runs at the end of the queue and returns the last one, or null if `count` is below 1 or if it is gone again.
    /// `durationMinutes` -1 takes the setting; `startTime` (seconds since the epoch, UTC) 0 goes on behind the last run.
    RunContainerWidget *addRuns(int count, int durationMinutes, qint64 startTime);
    /// Deletes runs, after a question (unless `silent`) for those with racers. The run on the track stays.
    void removeRuns(const QList<QPointer<RunContainerWidget>> &runs, bool silent);
    /// Moves a run onto the place of another one; the head of the queue cannot be moved away.
    void moveRunInQueue(const QString &sourceGuid, const QString &targetGuid);
    /// Seats racers, one seat for each run bought, in the first runs behind `fromRow` that accept them; -1 searches from
    /// the head. A drop on `fromRow` has made the first seat already. The queue grows when it must.
    void seatRacers(const QJsonArray &racers, int step, int fromRow);
    /// Finds a seat by ticket data, and moves the racer if `runGuid` names another run. Both results are null if there is
    /// none.
    bool findCompetitor(const QJsonObject &request, RunCompetitor **competitor, RunContainerWidget **run,
                        const QString &runGuid);
    void moveRacerToRun(const QJsonObject &request);
    void removeRacerFromRun(RunContainerWidget *run, const QString &uuid);
    /// Frees a car in the check-in list and in one run; "current" or an empty identity means all runs.
    void releaseCar(qint32 carId, const QString &runGuid);
    void startRunByGuid(const QJsonObject &request);
    void closeRunByGuid(const QJsonObject &request);
    void pauseRunByGuid(const QJsonObject &request);
    void updateRunDuration(const QJsonObject &request);
    /// Takes a racer out of runs, the named one first, and records the money given back. `count` tickets, `sum` positive;
    /// `record` is the seat's record.
    void refundTicket(const QString &runGuid, const QString &uuid, double sum, int count, const QString &comment,
                      const QJsonObject &record);
    /// Hands the ticket of a seated racer to the host as a template job.
    void printRunTicket(const QJsonObject &competitor, const QString &runName);
    /// Asks the online service for a client; the check-in line comes with the reply.
    void requestClientCheckIn(qint32 clientId);
    /// Looks a PIN up for the seat port, seats its holder if need be, and returns the answer's text.
    QString seatByPin(const QString &pin);
    /// Seats a racer with the car chosen in a seat command of the seat port, and returns the answer's text.
    QString seatFromPort(const QJsonObject &seat);
    /// The run with this identity, or null.
    RunContainerWidget *findRun(const QString &guid) const;
    /// As findRun(), but "current" names the head of the queue.
    RunContainerWidget *requestedRun(const QString &guid) const;

public Q_SLOTS:
    void loadSettings();
    void lwRuns_rowsMoved(QModelIndex parent, int start, int end, QModelIndex destination, int row);
    void assignCarToRacer(QAction *a);
    /// Publishes queue and history and writes the journals that change all the time.
    void runQueueChanged(QString sinkId = QString(), bool forceReload = false);
    void setCurrentTab(QJsonObject jsonData);
    void networkRequestFinished(QNetworkReply *reply);
    void itemsDroppedToRun(QJsonArray jsonList, const QObject *target);
    void itemsUndroppedFromRun(QJsonArray jsonList);
    void on_actionAddRacer_triggered();
    void on_bAddRacer_clicked();
    void on_actionEditRacer_triggered();
    void on_actionMoveToRuns_triggered();
    void toRunsClicked(QJsonObject json);
    void on_actionPrintTicket_triggered();
    void ticketPrinted(QJsonObject json);
    void on_actionRemoveRacer_triggered();
    void on_bRemoveRacerFromList_clicked();
    void on_actionRemoveRegHistory_triggered();
    void on_tvHistoryList_doubleClicked(QModelIndex index);
    void scanNFCClicked(QModelIndex mi);
    void on_actionRemoveRun_triggered();
    void on_bRemoveRun_clicked();
    void on_bAddRun_clicked();
    void on_actionRenumberRuns_triggered();
    void on_actionRenameRun_triggered();
    void on_bAddRacerFromDb_clicked();
    void scannerData();
    void on_pbRemovePaid_clicked();
    void on_tvCheckIn_clicked(QModelIndex index);
    void checkIn_doubleClicked(QModelIndex index);
    void checkInItemClicked(QModelIndex mi, QString dataId);
    /// Hands a payment record on to the worker.
    void paymentUpdate(QJsonObject json);
    void priceSettingsChanged();
    void on_cbPricesNames_activated(int index);
    void priceItemsRemoved(QList<qint32> idsList);
    void printSafety(QModelIndex mi);
    /// The daily cut of the history and the end of registrations nobody attends to.
    void validateRegList();
    void someError(QString msg);
    void checkInListUpdated(QJsonArray checkInList);
    void on_pbClearRunsHistory_clicked();
    void on_lwRunsList_customContextMenuRequested(QPoint pos);
    void on_actionRemoveFromRun_triggered();
    void lwRunsSelectionChanged(QItemSelection selected, QItemSelection deselected);
    void startStopRun(QJsonObject jsonData);
    void on_actionRefundTicket_triggered();
    void on_pbSimplePayment_clicked();
    void on_pbClearPitlane_clicked();
    void on_pbRemoveFromPitLane_clicked();

private:
    struct LocalRequest;
    struct LocalRequestHandler
    {
        const char *name;
        void (TicketPluginForm::*work)(LocalRequest &request);
    };
    static const LocalRequestHandler localRequestHandlers[];
    struct RemoteRequestHandler
    {
        const char *name;
        QJsonObject (TicketPluginForm::*work)(const QJsonObject &request);
    };
    static const RemoteRequestHandler remoteRequestHandlers[];

    // Requests of client programs.
    void loginCashier(LocalRequest &request);
    void findRacerByNumber(LocalRequest &request);
    void tellRunQueue(LocalRequest &request);
    void tellCashData(LocalRequest &request);
    void removeCheckInItems(LocalRequest &request);
    void moveRacer(LocalRequest &request);
    void setNewDiscount(LocalRequest &request);
    void setNewRunCount(LocalRequest &request);
    void setNewCarModel(LocalRequest &request);
    void setNewPayMethod(LocalRequest &request);
    void printSafetyForms(LocalRequest &request);
    void printTickets(LocalRequest &request);
    void printSeatTicket(LocalRequest &request);
    void payAndSeat(LocalRequest &request);
    void moveRun(LocalRequest &request);
    void addNewCheckIn(LocalRequest &request);
    void updateClientData(LocalRequest &request);
    void lockRun(LocalRequest &request);
    void deleteRun(LocalRequest &request);
    void printRun(LocalRequest &request);
    void setPriceType(LocalRequest &request);
    void addNewRuns(LocalRequest &request);
    void removeRacer(LocalRequest &request);
    void refundTickets(LocalRequest &request);
    void tellAvailableCars(LocalRequest &request);
    void selectCar(LocalRequest &request);
    void controlRun(LocalRequest &request);
    static QJsonObject loginData(const OperatorRecord &cashier);
    QJsonObject loginByCode(const QString &code);
    qint32 cashierOf(const LocalRequest &request) const;
    QModelIndex requestedLine(const QString &uuid) const;

    // Requests of remote devices.
    QJsonObject checkTicket(const QJsonObject &request);
    QJsonObject setRacer(const QJsonObject &request);
    QJsonObject takeNotice(const QJsonObject &request);
    QJsonObject addRegistration(const QJsonObject &request);
    QJsonObject greetRunControl(const QJsonObject &request);
    QJsonObject updateRunParams(const QJsonObject &request);
    QJsonObject startRunFromAfar(const QJsonObject &request);
    QJsonObject finishRunFromAfar(const QJsonObject &request);
    QJsonObject pauseRunFromAfar(const QJsonObject &request);
    QJsonObject closeRunFromAfar(const QJsonObject &request);
    QJsonObject updateDurationFromAfar(const QJsonObject &request);
    bool seatTicketHolder(const QJsonObject &request, QPersistentModelIndex *line);
    QJsonObject seatAtTheEnd(const QPersistentModelIndex &line, const QJsonObject &request);

    /// Keeps a client's record until the racer is in the list; the oldest of too many go.
    void rememberClient(const QJsonObject &client);

    /// Sends an event if there is a host. What follows the call must expect a changed world.
    void sendToHost(const char *event, const QJsonObject &json);
    void openDatabase();
    void choosePriceType(int row);
    QJsonObject priceTypesJson() const;
    QJsonObject runQueueJson() const;
    QJsonObject runHistoryJson() const;
    RunContainerWidget *queueRun(int row) const;
    RunContainerWidget *historyRun(int row) const;
    int queueSize() const;
    QList<QPointer<RunContainerWidget>> queueRuns() const;
    QList<QPointer<RunContainerWidget>> selectedQueueRuns() const;
    int rowOfRun(const QObject *run) const;
    void connectRun(RunContainerWidget *run);
    static void followRunSize(RunContainerWidget *run, QListWidget *list, QListWidgetItem *item);
    void endDragOf(const RunContainerWidget *run);
    void dropRun(RunContainerWidget *run);
    void closeRun(RunContainerWidget *run);
    void archiveRun(const QJsonObject &record);
    qint64 endOfQueue() const;
    void freePinCodes(const RunContainerWidget &run);
    QListWidgetItem *moveRunWidget(int source, int row);
    RunContainerWidget *runWithSeat(const QString &preferredGuid, const QString &uuid) const;
    QJsonArray recordsToSeat(const QList<QPersistentModelIndex> &lines) const;
    bool moveSeat(RunContainerWidget *source, int index, RunContainerWidget *target, RunCompetitor **competitor,
                  RunContainerWidget **run);
    void fillCarMenu(const RunContainerWidget &run);
    QStringList seatPinCodes() const;
    void drawTickets(const QJsonObject &registration);
    void warnNoReceiptPrinter();
    void endSafetyJobs();
    /// Answers every open dialog with no.
    void rejectDialogs();
    /// Ends what the operator has open, and what is on its way back through the desk.
    OpenLoops endLoops();
    void addRacerByHand();
    void editRacer(const QModelIndex &index);
    void searchClient(const QJsonObject &code);
    void takeScan(const QString &text);
    void dropLostScanner();
    void removeSelectedRacers();
    void loadJournals();
    void saveJournals(bool full);
    void loadQueue();
    void saveQueue() const;
    void loadHistory();
    void saveHistory() const;
    void loadOperators();
    void saveOperators() const;

    QNetworkAccessManager networkManager;
    QString serviceUrl;
    QString serviceAppUrl;
    QString serviceUrlSuffix;
    QMap<qint32, QJsonObject> clientCache;
    /// Keys of `clientCache` in the order in which the records came.
    QList<qint32> clientCacheOrder;
    QSqlDatabase db;
    QMap<QString, OperatorRecord> operators;
    bool raceMode = false;
    QSerialPort scannerPort;
    QTime dayBeginTime;
    QString trackId;
    QString trackName;
    VanePluginInterface *plugin = nullptr;
    ClientsCheckInList checkInList;
    ClientsCheckInDelegate checkInDelegate;
    PricesModel prices;
    RegHistoryModel regHistory;
    PitLaneCarsModel pitLaneCars;
    QJsonObject runsArchive;
    std::unique_ptr<QMenu> runsMenu;
    QTimer validateTimer;
    QDateTime lastValidateTime;
    /// The search of clients while it is open.
    QPointer<AddRacerFromDbDialog> searchDialog;
    QString apiKey;
    QJsonArray cars;
    std::unique_ptr<QMenu> carMenu;
    QTimer queueTimer;
    qint32 lastRunNum = 0;
    qint64 currentRunStart = 0;
    qint32 currentFinishParam = 0;
    QString currentFinishType;
    QStringList usedPinCodes;
    PaymentDbUpdater payments;
    QString ticketCaption;
    qint32 maxInRunCount = 10;
    qint32 defaultRunDuration = 10;
    qint32 pauseDuration = 3;
    bool fixedRunStartTimeInQueue = false;
    QString currentTab;
    Ui::TicketPluginForm *ui;
    bool warnMissingNfc = false;
    QList<QPointer<PrintPreprocessor>> safetyJobs;
    /// The box about the missing receipt printer is open.
    bool warnsOfPrinter = false;
    /// No report of a run has come since the library was loaded.
    bool awaitsFirstRunInfo = true;
    /// The journals are being read: nothing is planned, published or written before the end.
    bool loading = false;
};

#endif // TICKETPLUGINFORM_H
