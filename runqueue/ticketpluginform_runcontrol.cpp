// The dialogue with the host about start and finish, and the history of runs.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

#include "common/clock.h"
#include "common/jsonread.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"

#include <QMessageBox>
#include <QPointer>

namespace {

constexpr int MaxHistoryRuns = 100;
constexpr qint64 MillisecondsInSecond = 1000;

QString runGuidOf(const QJsonObject &json)
{
    return json.value(QLatin1String("runQueueGuid")).toString();
}

} // namespace

void TicketPluginForm::startStopRun(QJsonObject jsonData)
{
    if (!plugin)
        return;
    if (jsonData.value(QLatin1String("command")).toString() != QLatin1String("close_run")) {
        sendToHost(HostEvents::StartRun, jsonData);
        return;
    }
    sendToHost(HostEvents::CloseRun, jsonData);
    // The host may have answered with run_closed already; then the run has gone its way.
    if (RunContainerWidget *run = findRun(runGuidOf(jsonData)))
        closeRun(run);
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::closeRun(RunContainerWidget *run)
{
    archiveRun(run->runRecord());
    dropRun(run);
}

void TicketPluginForm::onNewRunStarted(const QJsonObject &json)
{
    lastRunNum = json.value(QLatin1String("runNum")).toInt(0);
    currentRunStart = Clock::secsUtc();
    switch (json.value(QLatin1String("finishType")).toInt(0)) {
    case 0:
        currentFinishType = QStringLiteral("finishNone");
        break;
    case 1:
        currentFinishType = QStringLiteral("finishByTime");
        break;
    case 2:
        currentFinishType = QStringLiteral("finishByLaps");
        break;
    default:
        break;
    }
    currentFinishParam = json.value(QLatin1String("finishParam")).toInt(0);
    const QString guid = runGuidOf(json);
    if (RunContainerWidget *run = findRun(guid)) {
        if (!fixedRunStartTimeInQueue)
            run->setStartTime(currentRunStart);
        run->setRunName(json.value(QLatin1String("runName")).toString());
        run->setCurrentRun(true);
    }
    recalcQueue(guid);
    runQueueChanged(QString());
}

void TicketPluginForm::onRefreshRunInfo(const QJsonObject &json)
{
    const qint64 start = JsonRead::int64(json.value(QLatin1String("runStartTs"))) / MillisecondsInSecond;
    const QString guid = runGuidOf(json);
    lastRunNum = json.value(QLatin1String("runNum")).toInt(0);
    currentRunStart = start;
    currentFinishParam = json.value(QLatin1String("finishParam")).toInt(0);
    currentFinishType = json.value(QLatin1String("finishType")).toString();
    if (awaitsFirstRunInfo) {
        // The desk was started in mid-run: this is how it learns which of its runs is on the track.
        awaitsFirstRunInfo = false;
        recalcQueue(guid);
        runQueueChanged(QString());
    }
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    for (const QPointer<RunContainerWidget> &run : runs) {
        if (!run || run->guid() != guid)
            continue;
        run->setRunNum(json.value(QLatin1String("runNum")).toInt(0));
        run->setRunId(json.value(QLatin1String("runId")).toInt(-1));
        const QString name = json.value(QLatin1String("runName")).toString();
        if (run->name() != name)
            run->setRunName(name);
        run->setRunState(json.value(QLatin1String("runState")).toString());
        if (run && !fixedRunStartTimeInQueue)
            run->setStartTime(start != 0 ? start : Clock::secsUtc());
    }
}

void TicketPluginForm::onRefreshRunResults(const QJsonObject &json)
{
    const QString guid = runGuidOf(json);
    RunContainerWidget *run = guid.isEmpty() ? nullptr : findRun(guid);
    if (run)
        run->applyResults(json.value(QLatin1String("results")).toArray());
}

void TicketPluginForm::onRunClosed(const QJsonObject &json)
{
    currentRunStart = 0;
    currentFinishParam = 0;
    currentFinishType.clear();
    if (RunContainerWidget *run = findRun(runGuidOf(json)))
        closeRun(run);
}

void TicketPluginForm::startQueue(const QJsonObject &json)
{
    if (queueSize() == 0) {
        sendToHost(HostEvents::StartRun, json);
        return;
    }
    QPointer<RunContainerWidget> run = queueRun(0);
    if (!run || run->state() == QLatin1String("running"))
        return;
    if (run->isCurrentRun()) {
        run->requestClose();
        run = queueRun(0);
    }
    if (run && !run->competitors().empty())
        run->requestStart(json);
}

void TicketPluginForm::startRunByGuid(const QJsonObject &request)
{
    if (RunContainerWidget *run = requestedRun(runGuidOf(request)))
        run->requestStart(QJsonObject());
}

void TicketPluginForm::closeRunByGuid(const QJsonObject &request)
{
    const RunContainerWidget *run = plugin ? requestedRun(runGuidOf(request)) : nullptr;
    if (run) {
        startStopRun({
            {QLatin1String("command"), QStringLiteral("close_run")},
            {QLatin1String("runQueueGuid"), run->guid()},
        });
    }
}

void TicketPluginForm::pauseRunByGuid(const QJsonObject &request)
{
    const RunContainerWidget *run = plugin ? requestedRun(runGuidOf(request)) : nullptr;
    if (run) {
        sendToHost(HostEvents::InsertHit, {
                                              {QLatin1String("runId"), run->id()},
                                              {QLatin1String("flag"), QStringLiteral("RED")},
                                              {QLatin1String("doRestartIfNeeded"), true},
                                              {QLatin1String("timestamp"), Clock::utc().toMSecsSinceEpoch()},
                                          });
    }
}

void TicketPluginForm::updateRunDuration(const QJsonObject &request)
{
    RunContainerWidget *run = requestedRun(runGuidOf(request));
    if (!run)
        return;
    run->setFinishParam(request.value(QLatin1String("newFinishParam")).toInt(-1));
    if (run->isCurrentRun()) {
        const bool byLaps = run->finish() == RunRules::FinishByLaps;
        sendToHost(HostEvents::CurrentRunFinishParams,
                   {
                       {QLatin1String("autoFinishParam"), run->finishParameter()},
                       {QLatin1String("useAutoFinish"), byLaps ? QStringLiteral("LAPS") : QStringLiteral("TIME")},
                   });
    }
    recalcQueue(QString());
    runQueueChanged(QString());
}

RunContainerWidget *TicketPluginForm::requestedRun(const QString &guid) const
{
    return guid == QLatin1String("current") ? queueRun(0) : findRun(guid);
}

void TicketPluginForm::archiveRun(const QJsonObject &record)
{
    if (record.value(QLatin1String("runCompetitors")).toObject().isEmpty())
        return;
    auto *run = new RunContainerWidget(ui->lwRunsHistory);
    run->makeHistoryRun();
    run->loadRunRecord(record);
    run->unlockHistoryRun();
    auto *item = new QListWidgetItem;
    ui->lwRunsHistory->insertItem(0, item);
    ui->lwRunsHistory->setItemWidget(item, run);
    ui->lwRunsHistory->setCurrentItem(item, QItemSelectionModel::ClearAndSelect);
    item->setSizeHint(QSize(0, run->height()));
    followRunSize(run, ui->lwRunsHistory, item);
    while (ui->lwRunsHistory->count() > MaxHistoryRuns) {
        if (const RunContainerWidget *oldest = historyRun(ui->lwRunsHistory->count() - 1))
            endDragOf(oldest);
        delete ui->lwRunsHistory->takeItem(ui->lwRunsHistory->count() - 1);
    }
}

void TicketPluginForm::on_pbClearRunsHistory_clicked()
{
    if (ui->lwRunsHistory->count() == 0)
        return;
    const QPointer<TicketPluginForm> self(this);
    const auto answer = QMessageBox::question(this, tr("Подтверждение"),
                                              tr("Точно удалить?\nДанные истории заездов будут более недоступны."),
                                              QMessageBox::Yes | QMessageBox::No);
    if (!self || answer != QMessageBox::Yes)
        return;
    ui->lwRunsHistory->clear();
    runQueueChanged(QString());
}
