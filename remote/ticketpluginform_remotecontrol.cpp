// What remote devices may ask of the desk: tickets at the gate, seats with cars, and the control of runs.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

#include "remote/requestrules.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"

#include <QPersistentModelIndex>
#include <QPointer>

namespace {

QString textOf(const QJsonObject &json, const char *key)
{
    return json.value(QLatin1String(key)).toString();
}

qint32 intOf(const QJsonObject &json, const char *key)
{
    return json.value(QLatin1String(key)).toInt(-1);
}

QString runGuidOf(const QJsonObject &request)
{
    return textOf(request, "runQueueGuid");
}

QJsonObject success()
{
    return {{QLatin1String("status"), QStringLiteral("ok")}};
}

QJsonObject failure(const QString &message)
{
    return {{QLatin1String("status"), QStringLiteral("fail")}, {QLatin1String("message"), message}};
}

} // namespace

/// What a remote device may ask, in the order in which names are compared.
const TicketPluginForm::RemoteRequestHandler TicketPluginForm::remoteRequestHandlers[] = {
    {"checkTicket", &TicketPluginForm::checkTicket},
    {"setRacer", &TicketPluginForm::setRacer},
    {"notify", &TicketPluginForm::takeNotice},
    {"addRegistration", &TicketPluginForm::addRegistration},
    {"newRunControlConnected", &TicketPluginForm::greetRunControl},
    {"doUpdateRunParams", &TicketPluginForm::updateRunParams},
    {"doStartQueue", &TicketPluginForm::startRunFromAfar},
    {"doFinishQueue", &TicketPluginForm::finishRunFromAfar},
    {"doPauseQueue", &TicketPluginForm::pauseRunFromAfar},
    {"doCloseRunQueue", &TicketPluginForm::closeRunFromAfar},
    {"doUpdateRunDuration", &TicketPluginForm::updateDurationFromAfar},
};

QJsonObject TicketPluginForm::handleRemoteRequest(const QJsonObject &request)
{
    if (textOf(request, "trackId") != trackId)
        return failure(tr("Ошибка данных трассы!"));
    const QString name = textOf(request, "request");
    for (const RemoteRequestHandler &handler : remoteRequestHandlers) {
        if (name == QLatin1String(handler.name))
            return (this->*handler.work)(request);
    }
    return QJsonObject();
}

bool TicketPluginForm::seatTicketHolder(const QJsonObject &request, QPersistentModelIndex *line)
{
    CheckInItem *item = nullptr;
    const bool paid = checkInList.findByCredentials(request, QString(), &item);
    *line = checkInList.indexOf(item);
    if (!item || !paid || item->enqueued)
        return false;
    const QJsonArray racers{checkInList.toJson(*item)};
    // The host may send the next request while it hears of the seats; that one must not seat the racer again.
    item->enqueued = true;
    seatRacers(racers, 1, -1);
    checkInList.itemsDroppedOut(racers);
    return true;
}

QJsonObject TicketPluginForm::checkTicket(const QJsonObject &request)
{
    const QString guid = runGuidOf(request);
    const RunContainerWidget *named = guid.isEmpty() ? nullptr : findRun(guid);
    const QJsonArray busy = named ? named->busyCarIds(QString()) : QJsonArray();

    QPersistentModelIndex line;
    const bool seated = seatTicketHolder(request, &line);
    RunCompetitor *competitor = nullptr;
    RunContainerWidget *run = nullptr;
    if (!findCompetitor(request, &competitor, &run, guid))
        return failure(tr("Билет недействителен!"));

    QJsonObject ticket;
    const CheckInItem *item = seated ? nullptr : checkInList.itemAt(line);
    if (item) {
        ticket.insert(QLatin1String("model"), item->carModel);
        ticket.insert(QLatin1String("uuid"), item->uuid);
        ticket.insert(QLatin1String("name"), QString(item->lastName + QLatin1Char(' ') + item->firstName));
    } else {
        ticket.insert(QLatin1String("model"), textOf(competitor->data, "carModel"));
        ticket.insert(QLatin1String("uuid"), textOf(competitor->data, "uuid"));
        ticket.insert(QLatin1String("name"), competitor->caption);
        if (textOf(request, "mode") != QLatin1String("manual"))
            ticket.insert(QLatin1String("competitorId"), competitor->data.value(QLatin1String("competitorId")));
    }
    ticket.insert(QLatin1String("trackId"), trackId);
    ticket.insert(QLatin1String("pinCode"), request.value(QLatin1String("pinCode")));

    QJsonObject answer = success();
    answer.insert(QLatin1String("changeCarReason"), request.value(QLatin1String("changeCarReason")));
    answer.insert(QLatin1String("preset"), busy);
    answer.insert(QLatin1String("data"), ticket);
    return answer;
}

QJsonObject TicketPluginForm::setRacer(const QJsonObject &request)
{
    const QString guid = runGuidOf(request);
    const qint32 carId = intOf(request, "carId");
    if (request.value(QLatin1String("manual")).toBool() && carId != -1 && !guid.isEmpty()) {
        const RunContainerWidget *run = requestedRun(guid);
        if (run && !run->isCarFreeFor(carId, textOf(request, "racerUuid")))
            return failure(tr("Машина занята!"));
    }
    releaseCar(carId, guid);

    CheckInItem *item = nullptr;
    const bool paid = checkInList.findByCredentials(request, textOf(request, "carModel"), &item) && item;
    QJsonObject answer;
    if (paid) {
        answer = success();
        item->carId = carId;
        item->carNum = textOf(request, "carNum");
        if (!item->enqueued) {
            const QJsonObject racer = seatAtTheEnd(checkInList.indexOf(item), request);
            if (!racer.isEmpty())
                answer.insert(QLatin1String("competitorData"), racer);
        }
    }

    RunCompetitor *competitor = nullptr;
    RunContainerWidget *found = nullptr;
    if (!findCompetitor(request, &competitor, &found, guid))
        return paid ? answer : failure(tr("Билет недействителен!"));
    const quint64 serial = competitor->serial;
    const QPointer<RunContainerWidget> run(found);
    run->noteTicketCode(serial, request.value(QLatin1String("pinCode")));
    QJsonObject seat = run->competitorBySerial(serial);
    QJsonObject change = request;
    // Only the desk's own menu asks its operator why a car changes.
    change.remove(QLatin1String("isLocalRequest"));
    if (run->setCompetitorCar(change) == -1)
        return failure(tr("Машина недоступна!"));
    const QJsonObject changed = run ? run->competitorBySerial(serial) : QJsonObject();
    if (!changed.isEmpty())
        seat = changed;
    answer = success();
    answer.insert(QLatin1String("competitorData"), seat);
    return answer;
}

QJsonObject TicketPluginForm::seatAtTheEnd(const QPersistentModelIndex &line, const QJsonObject &request)
{
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    const QPointer<RunContainerWidget> run(runs.isEmpty() ? addRuns(1, -1, 0) : runs.last().data());
    // The host hears of a new run and may have closed it, or seated the racer, by now.
    CheckInItem *item = checkInList.itemAt(line);
    if (!run || !item || item->enqueued)
        return QJsonObject();
    QJsonObject racer = checkInList.toJson(*item);
    racer.insert(QLatin1String("currentPinCode"), request.value(QLatin1String("pinCode")));
    item->enqueued = true;
    run->addCompetitor(racer, false);
    checkInList.itemsDroppedOut(QJsonArray{racer});
    if (run && !run->isRetired()) {
        QJsonObject car = racer;
        car.insert(QLatin1String("isRemoteRequest"), true);
        run->setCompetitorCar(car);
    }
    return racer;
}

QJsonObject TicketPluginForm::takeNotice(const QJsonObject &request)
{
    if (textOf(request, "msg") != QLatin1String("new_ticket_reg"))
        return QJsonObject();
    const QJsonObject client = request.value(QLatin1String("data")).toObject();
    const qint32 clientId = intOf(client, client.contains(QLatin1String("racerId")) ? "racerId" : "clientId");
    if (clientId == -1 || client.contains(QLatin1String("salesCommonId")))
        addClientRecord(client);
    else
        requestClientCheckIn(clientId);
    return success();
}

QJsonObject TicketPluginForm::addRegistration(const QJsonObject &request)
{
    const QPersistentModelIndex line = addClientRecord(request.value(QLatin1String("racerData")).toObject());
    ui->tvCheckIn->expand(line);
    return success();
}

QJsonObject TicketPluginForm::greetRunControl(const QJsonObject &request)
{
    runQueueChanged(RequestRules::looseText(request.value(QLatin1String("sinkId"))), false);
    return QJsonObject();
}

QJsonObject TicketPluginForm::updateRunParams(const QJsonObject &request)
{
    if (RunContainerWidget *run = requestedRun(runGuidOf(request)))
        run->applyRunParams(request);
    return QJsonObject();
}

QJsonObject TicketPluginForm::startRunFromAfar(const QJsonObject &request)
{
    startRunByGuid(request);
    return QJsonObject();
}

QJsonObject TicketPluginForm::finishRunFromAfar(const QJsonObject &request)
{
    Q_UNUSED(request)
    sendToHost(HostEvents::FinishRun, QJsonObject());
    return QJsonObject();
}

QJsonObject TicketPluginForm::pauseRunFromAfar(const QJsonObject &request)
{
    pauseRunByGuid(request);
    return QJsonObject();
}

QJsonObject TicketPluginForm::closeRunFromAfar(const QJsonObject &request)
{
    closeRunByGuid(request);
    return QJsonObject();
}

QJsonObject TicketPluginForm::updateDurationFromAfar(const QJsonObject &request)
{
    updateRunDuration(request);
    return QJsonObject();
}
