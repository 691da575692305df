// Cars: the runs menu, the car of a racer, and cars that come free.

#include "plugin/ticketpluginform.h"

#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"

namespace {

QAction *addCarAction(QMenu &menu, const QString &caption, QJsonObject request, const QJsonObject &car)
{
    request.insert(QLatin1String("targetCar"), car);
    QAction *action = menu.addAction(caption);
    action->setData(request);
    return action;
}

} // namespace

void TicketPluginForm::fillCarMenu(const RunContainerWidget &run)
{
    carMenu->clear();
    QJsonObject request = run.selectedEntry();
    request.insert(QLatin1String("runQueueUuid"), run.guid());
    addCarAction(*carMenu, tr("Освободить"), request, {{QLatin1String("id"), -1}});
    const QJsonArray free = run.freeCars(request.value(QLatin1String("carModel")).toString());
    for (const QJsonValue &value : free) {
        const QJsonObject car = value.toObject();
        const QString caption = car.value(QLatin1String("name")).toString() + QLatin1Char(' ')
                                + car.value(QLatin1String("num")).toVariant().toString();
        addCarAction(*carMenu, caption, request, car);
    }
}

void TicketPluginForm::on_lwRunsList_customContextMenuRequested(QPoint pos)
{
    runsMenu->clear();
    const QList<QPointer<RunContainerWidget>> selected = selectedQueueRuns();
    if (selected.isEmpty())
        return;
    const RunContainerWidget *single = selected.size() == 1 ? selected.first().data() : nullptr;
    if (single && single->hasSelection()) {
        fillCarMenu(*single);
        runsMenu->addAction(ui->actionPrintTicket);
        runsMenu->addAction(ui->actionRemoveFromRun);
        runsMenu->addMenu(carMenu.get());
        runsMenu->addAction(ui->actionRenameRun);
    } else {
        runsMenu->addAction(ui->actionRemoveRun);
        if (single)
            runsMenu->addAction(ui->actionRenameRun);
    }
    runsMenu->addSeparator();
    runsMenu->addAction(ui->actionRefundTicket);
    runsMenu->addAction(ui->actionRenumberRuns);
    runsMenu->popup(ui->lwRunsList->viewport()->mapToGlobal(pos));
}

void TicketPluginForm::assignCarToRacer(QAction *a)
{
    if (!a)
        return;
    QJsonObject request = a->data().toJsonObject();
    const QString guid = request.value(QLatin1String("runQueueUuid")).toString();
    if (guid.isEmpty())
        return;
    RunContainerWidget *run = findRun(guid);
    if (!run)
        return;
    request.insert(QLatin1String("isLocalRequest"), true);
    const QPointer<TicketPluginForm> self(this);
    run->setCompetitorCar(request);
    if (self)
        runQueueChanged(QString());
}

void TicketPluginForm::releaseCar(qint32 carId, const QString &runGuid)
{
    checkInList.releaseCar(carId);
    const bool everywhere = runGuid.isEmpty() || runGuid == QLatin1String("current");
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    for (const QPointer<RunContainerWidget> &run : runs) {
        if (!everywhere && run->guid() != runGuid)
            continue;
        run->releaseCar(carId);
        if (!everywhere)
            return;
    }
}

void TicketPluginForm::clearPreparedCars(const QJsonArray &clearList)
{
    checkInList.releaseCarByRacer(clearList);
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    for (const QJsonValue &value : clearList) {
        const QString uuid = value.toObject().value(QLatin1String("racerGuid")).toString();
        for (const QPointer<RunContainerWidget> &run : runs)
            run->releaseCarOfRacer(uuid);
    }
}
