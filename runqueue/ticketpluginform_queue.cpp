// The queue of runs: how runs get into it and out of it, their chain of start times, and its publication.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

#include "common/clock.h"
#include "runqueue/addrunsdialog.h"
#include "runqueue/dialogplacement.h"
#include "runqueue/runcontainerwidget.h"
#include "runqueue/runrules.h"
#include "ui_ticketpluginform.h"

#include <QCursor>
#include <QDrag>
#include <QInputDialog>
#include <QMessageBox>
#include <QPointer>
#include <QSet>
#include <QUuid>

#include <algorithm>
#include <limits>

namespace {

/// A small question's title bar: without a help button, behind which there is nothing.
constexpr Qt::WindowFlags WithoutHelp = Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;

/// Minutes of a setting, or of another program, in seconds; what does not fit counts as the nearest that does.
qint32 secondsOf(qint32 minutes)
{
    constexpr qint64 SecondsInMinute = 60;
    return static_cast<qint32>(qBound<qint64>(std::numeric_limits<qint32>::min(), minutes * SecondsInMinute,
                                              std::numeric_limits<qint32>::max()));
}

qint32 nextNumber(qint32 number)
{
    return number < std::numeric_limits<qint32>::max() ? number + 1 : number;
}

RunContainerWidget *runOfRow(const QListWidget *list, int row)
{
    QListWidgetItem *item = list->item(row);
    return item ? qobject_cast<RunContainerWidget *>(list->itemWidget(item)) : nullptr;
}

} // namespace

RunContainerWidget *TicketPluginForm::queueRun(int row) const
{
    return runOfRow(ui->lwRunsList, row);
}

RunContainerWidget *TicketPluginForm::historyRun(int row) const
{
    return runOfRow(ui->lwRunsHistory, row);
}

int TicketPluginForm::queueSize() const
{
    return ui->lwRunsList->count();
}

QList<QPointer<RunContainerWidget>> TicketPluginForm::queueRuns() const
{
    QList<QPointer<RunContainerWidget>> runs;
    for (int row = 0; row < queueSize(); ++row) {
        if (RunContainerWidget *run = queueRun(row))
            runs.append(run);
    }
    return runs;
}

int TicketPluginForm::rowOfRun(const QObject *run) const
{
    for (int row = 0; run && row < queueSize(); ++row) {
        if (queueRun(row) == run)
            return row;
    }
    return -1;
}

RunContainerWidget *TicketPluginForm::findRun(const QString &guid) const
{
    for (int row = 0; row < queueSize(); ++row) {
        RunContainerWidget *run = queueRun(row);
        if (run && run->guid() == guid)
            return run;
    }
    return nullptr;
}

void TicketPluginForm::endDragOf(const RunContainerWidget *run)
{
    // A drag whose source or target goes down never ends by itself.
    if (run->isInDrag() || ui->lwRunsList->isDragging())
        QDrag::cancel();
}

void TicketPluginForm::dropRun(RunContainerWidget *run)
{
    const int row = rowOfRun(run);
    if (row == -1)
        return;
    endDragOf(run);
    // The open menu speaks of rows that are about to move.
    runsMenu->close();
    // The list lets the widget go with deleteLater, so a run may end inside its own signal; it must not speak any more.
    disconnect(run, nullptr, this, nullptr);
    disconnect(run, nullptr, ui->lwRunsList, nullptr);
    run->retire();
    QListWidgetItem *item = ui->lwRunsList->item(row);
    ui->lwRunsList->removeItemWidget(item);
    delete ui->lwRunsList->takeItem(row);
}

void TicketPluginForm::followRunSize(RunContainerWidget *run, QListWidget *list, QListWidgetItem *item)
{
    const QPersistentModelIndex row = list->model()->index(list->row(item), 0);
    connect(run, &RunContainerWidget::updateSize, list, [list, row](const QSize &size) {
        if (row.isValid())
            list->item(row.row())->setSizeHint(QSize(0, size.height()));
    });
}

void TicketPluginForm::connectRun(RunContainerWidget *run)
{
    connect(run, &RunContainerWidget::startRunClicked, this, &TicketPluginForm::startStopRun);
    connect(run, &RunContainerWidget::presetUpdated, this, [this](const QJsonObject &preset) {
        sendToHost(HostEvents::ReplaceRunPreset, preset);
        runQueueChanged(QString());
    });
    connect(run, &RunContainerWidget::switchCar, this,
            [this](const QJsonObject &json) { sendToHost(HostEvents::SwitchCar, json); });
    connect(run, &RunContainerWidget::runLockUpdated, this, [this] { runQueueChanged(QString()); });
    connect(run, &RunContainerWidget::runParamsUpdated, this, [this](const QJsonObject &json) {
        sendToHost(HostEvents::UpdateRunParams, json);
        recalcQueue(QString());
        runQueueChanged(QString());
    });
}

qint64 TicketPluginForm::endOfQueue() const
{
    for (int row = queueSize() - 1; row >= 0; --row) {
        if (const RunContainerWidget *last = queueRun(row)) {
            return last->start() + last->pause()
                   + RunRules::plannedDuration(last->finish(), last->finishParameter(), defaultRunDuration);
        }
    }
    return Clock::secsUtc();
}

RunContainerWidget *TicketPluginForm::addRuns(int count, int durationMinutes, qint64 startTime)
{
    const int minutes = durationMinutes == -1 ? defaultRunDuration : durationMinutes;
    qint64 time = startTime == 0 ? endOfQueue() : startTime;
    QPointer<RunContainerWidget> added;
    for (int number = 0; number < count; ++number) {
        auto *run = new RunContainerWidget(ui->lwRunsList);
        added = run;
        run->setCars(cars);
        const RunContainerWidget *last = queueRun(queueSize() - 1);
        run->setRunNum(nextNumber(last ? last->number() : lastRunNum));
        run->setFinishParam(secondsOf(minutes));
        run->setPauseTime(secondsOf(pauseDuration));
        run->setMaxRacersInRun(qMax(1, maxInRunCount));
        if (fixedRunStartTimeInQueue) {
            run->setStartTime(time);
            time += run->pause() + RunRules::plannedDuration(run->finish(), run->finishParameter(), defaultRunDuration);
        }
        auto *item = new QListWidgetItem;
        ui->lwRunsList->addItem(item);
        ui->lwRunsList->setItemWidget(item, run);
        ui->lwRunsList->setCurrentItem(item);
        item->setSizeHint(QSize(0, run->height()));
        connectRun(run);
        followRunSize(run, ui->lwRunsList, item);
    }
    ui->lwRunsList->clearSelection();
    recalcQueue(QString());
    runQueueChanged(QString());
    return added && !added->isRetired() ? added.data() : nullptr;
}

void TicketPluginForm::recalcQueue(const QString &activeGuid)
{
    if (loading)
        return;
    QVector<RunContainerWidget *> runs;
    QVector<int> rows;
    QVector<RunRules::ChainLink> chain;
    QSet<QString> seen;
    for (int row = 0; row < queueSize(); ++row) {
        RunContainerWidget *run = queueRun(row);
        if (!run)
            continue;
        if (seen.contains(run->guid()))
            run->setRunQueueGuid(QUuid::createUuid().toString());
        seen.insert(run->guid());
        runs.append(run);
        rows.append(row);
        chain.append(run->chainLink());
    }
    RunRules::TrackRun track{currentRunStart, currentFinishParam, currentFinishType};
    RunRules::planStartTimes(chain, track, Clock::secsUtc(), defaultRunDuration, fixedRunStartTimeInQueue);
    currentRunStart = track.start;
    for (int index = 0; index < runs.size(); ++index) {
        RunContainerWidget *run = runs.at(index);
        run->setStartTime(chain.at(index).startTime);
        run->setStartEnabled(rows.at(index) == 0);
        if (!activeGuid.isEmpty())
            run->setCurrentRun(run->guid() == activeGuid);
    }
}

QJsonObject TicketPluginForm::runQueueJson() const
{
    QJsonObject queue;
    QJsonArray pending;
    for (int row = 0; row < queueSize(); ++row) {
        const RunContainerWidget *run = queueRun(row);
        if (!run)
            continue;
        if (row == 0)
            queue.insert(QLatin1String("currentRun"), run->runRecord());
        else
            pending.append(run->runRecord());
    }
    queue.insert(QLatin1String("pendingRuns"), pending);
    return queue;
}

QJsonObject TicketPluginForm::runHistoryJson() const
{
    QJsonArray runs;
    for (int row = 0; row < ui->lwRunsHistory->count(); ++row) {
        const RunContainerWidget *run = historyRun(row);
        if (!run)
            continue;
        QJsonObject record = run->runRecord();
        record.insert(QLatin1String("runIndex"), row);
        runs.append(record);
    }
    return {{QLatin1String("runHistoryList"), runs}};
}

void TicketPluginForm::runQueueChanged(QString sinkId, bool forceReload)
{
    if (loading)
        return;
    if (plugin) {
        QJsonObject update{
            {QLatin1String("request"), QStringLiteral("runQueueUpdate")},
            {QLatin1String("runQueue"), runQueueJson()},
            {QLatin1String("runHistory"), runHistoryJson()},
        };
        if (forceReload)
            update.insert(QLatin1String("forceReload"), true);
        QJsonObject wrapper{{QLatin1String("req_answ"), update}};
        if (!sinkId.isEmpty())
            wrapper.insert(QLatin1String("sinkId"), sinkId);
        if (!raceMode)
            sendToHost(HostEvents::RemoteControlAnswer, wrapper);
        sendToHost(HostEvents::LocalRequestAnswer, update);
    }
    saveJournals(false);
}

void TicketPluginForm::removeRuns(const QList<QPointer<RunContainerWidget>> &runs, bool silent)
{
    const QPointer<TicketPluginForm> self(this);
    bool confirmed = silent;
    for (const QPointer<RunContainerWidget> &run : runs) {
        if (!run || run->isCurrentRun() || rowOfRun(run) == -1)
            continue;
        if (!run->competitors().empty()) {
            if (!confirmed) {
                QMessageBox question(QMessageBox::Question, tr("Подтверждение"), tr("Точно удалить?"),
                                     QMessageBox::Yes | QMessageBox::No, this);
                question.move(QCursor::pos());
                const bool yes = question.exec() == QMessageBox::Yes;
                if (!self)
                    return;
                // The host may have started, closed or emptied the run while the question stood there.
                if (!yes || !run || run->isCurrentRun() || rowOfRun(run) == -1)
                    continue;
            }
            archiveRun(run->runRecord());
            confirmed = true;
            if (plugin)
                freePinCodes(*run);
        }
        dropRun(run);
    }
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::freePinCodes(const RunContainerWidget &run)
{
    for (const auto &seat : run.competitors()) {
        const QJsonArray codes = seat->data.value(QLatin1String("pinCodes")).toArray();
        for (const QJsonValue &code : codes)
            usedPinCodes.removeAll(code.toString());
    }
}

QList<QPointer<RunContainerWidget>> TicketPluginForm::selectedQueueRuns() const
{
    QList<int> rows;
    const QModelIndexList selected = ui->lwRunsList->selectionModel()->selectedIndexes();
    for (const QModelIndex &index : selected)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    QList<QPointer<RunContainerWidget>> runs;
    for (const int row : qAsConst(rows)) {
        if (RunContainerWidget *run = queueRun(row))
            runs.append(run);
    }
    return runs;
}

void TicketPluginForm::on_actionRemoveRun_triggered()
{
    removeRuns(selectedQueueRuns(), false);
}

void TicketPluginForm::on_bRemoveRun_clicked()
{
    removeRuns(selectedQueueRuns(), false);
}

void TicketPluginForm::on_bAddRun_clicked()
{
    const QPointer<TicketPluginForm> self(this);
    AddRunsDialog dialog(defaultRunDuration, endOfQueue(), queueSize() == 0, this);
    centreOnCursor(dialog);
    if (dialog.exec() == QDialog::Accepted && self)
        addRuns(dialog.runsCount(), dialog.durationMinutes(), dialog.startTime());
}

void TicketPluginForm::on_actionRenameRun_triggered()
{
    const QList<QPointer<RunContainerWidget>> selected = selectedQueueRuns();
    if (selected.isEmpty())
        return;
    const QPointer<RunContainerWidget> &run = selected.first();
    const QPointer<TicketPluginForm> self(this);
    bool ok = false;
    const QString name = QInputDialog::getText(this, tr("Переименовать"), tr("Название заезда"), QLineEdit::Normal,
                                               run->name(), &ok, WithoutHelp);
    if (!self || !ok || !run || rowOfRun(run) == -1)
        return;
    run->forceRunName(name);
    run->update();
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::on_actionRenumberRuns_triggered()
{
    const QPointer<RunContainerWidget> first = queueRun(ui->lwRunsList->currentRow());
    if (!first)
        return;
    const QPointer<TicketPluginForm> self(this);
    bool ok = false;
    int number = QInputDialog::getInt(this, tr("Нумерация заездов"), tr("Начальный номер"),
                                      qMax(1, first->numberFromName()), 1, 1000, 1, &ok, WithoutHelp);
    const int start = first && self ? rowOfRun(first) : -1;
    if (!ok || start == -1)
        return;
    for (int row = start; row < queueSize(); ++row) {
        RunContainerWidget *run = queueRun(row);
        if (!run || !run->competitors().empty())
            continue;
        run->forceRunName(tr("Заезд №%1").arg(number));
        run->update();
        ++number;
    }
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::lwRuns_rowsMoved(QModelIndex parent, int start, int end, QModelIndex destination, int row)
{
    Q_UNUSED(parent)
    Q_UNUSED(start)
    Q_UNUSED(end)
    Q_UNUSED(destination)
    Q_UNUSED(row)
    recalcQueue(QString());
    runQueueChanged(QString(), true);
}

QListWidgetItem *TicketPluginForm::moveRunWidget(int source, int row)
{
    RunContainerWidget *run = queueRun(source);
    QListWidgetItem *item = ui->lwRunsList->item(source)->clone();
    ui->lwRunsList->insertItem(row, item);
    ui->lwRunsList->setItemWidget(item, run);
    disconnect(run, &RunContainerWidget::updateSize, ui->lwRunsList, nullptr);
    followRunSize(run, ui->lwRunsList, item);
    delete ui->lwRunsList->takeItem(row >= source ? source : source + 1);
    return item;
}

void TicketPluginForm::moveRunInQueue(const QString &sourceGuid, const QString &targetGuid)
{
    const int source = sourceGuid.isEmpty() ? -1 : rowOfRun(findRun(sourceGuid));
    const int target = targetGuid.isEmpty() ? -1 : rowOfRun(findRun(targetGuid));
    // Nobody moves the head of the queue away from afar.
    if (source < 1 || target == -1 || source == target)
        return;
    moveRunWidget(source, target > source ? target + 1 : target);
    recalcQueue(QString());
    runQueueChanged(QString(), true);
}

void TicketPluginForm::lwRunsSelectionChanged(QItemSelection selected, QItemSelection deselected)
{
    Q_UNUSED(selected)
    const QModelIndexList indexes = deselected.indexes();
    for (const QModelIndex &index : indexes) {
        const bool inQueue = index.model() == ui->lwRunsList->model();
        if (RunContainerWidget *run = inQueue ? queueRun(index.row()) : historyRun(index.row()))
            run->clearSelection();
    }
}
