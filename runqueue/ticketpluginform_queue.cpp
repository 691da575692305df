// The queue of runs: its chain of start times and its publication.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

void TicketPluginForm::recalcQueue(const QString &activeGuid)
{
    Q_UNUSED(activeGuid)
}

QJsonObject TicketPluginForm::runQueueJson() const
{
    return {{QLatin1String("pendingRuns"), QJsonArray()}};
}

QJsonObject TicketPluginForm::runHistoryJson() const
{
    return {{QLatin1String("runHistoryList"), QJsonArray()}};
}

void TicketPluginForm::runQueueChanged(QString sinkId, bool forceReload)
{
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

void TicketPluginForm::on_actionRemoveRun_triggered()
{
}

void TicketPluginForm::on_bRemoveRun_clicked()
{
}

void TicketPluginForm::on_bAddRun_clicked()
{
}

void TicketPluginForm::on_actionRenumberRuns_triggered()
{
}

void TicketPluginForm::on_actionRenameRun_triggered()
{
}

void TicketPluginForm::on_pbClearRunsHistory_clicked()
{
}

void TicketPluginForm::on_lwRunsList_customContextMenuRequested(QPoint pos)
{
    Q_UNUSED(pos)
}

void TicketPluginForm::on_actionRemoveFromRun_triggered()
{
}

void TicketPluginForm::lwRunsSelectionChanged(QItemSelection selected, QItemSelection deselected)
{
    Q_UNUSED(selected)
    Q_UNUSED(deselected)
}

void TicketPluginForm::startStopRun(QJsonObject jsonData)
{
    Q_UNUSED(jsonData)
}

void TicketPluginForm::assignCarToRacer(QAction *a)
{
    Q_UNUSED(a)
}

void TicketPluginForm::itemsDroppedToRun(QJsonArray jsonList, const QObject *target)
{
    Q_UNUSED(jsonList)
    Q_UNUSED(target)
}

void TicketPluginForm::itemsUndroppedFromRun(QJsonArray jsonList)
{
    checkInList.itemsUndropped(jsonList);
}

void TicketPluginForm::on_actionMoveToRuns_triggered()
{
}

void TicketPluginForm::toRunsClicked(QJsonObject json)
{
    Q_UNUSED(json)
    on_actionMoveToRuns_triggered();
}
