// What client programs may ask of the desk through the host. Each request does what the cashier does by mouse.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

#include "common/jsonread.h"
#include "registration/serviceforms.h"
#include "remote/requestrules.h"
#include "remote/servicequery.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"

#include <QHash>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QSqlQuery>
#include <QUuid>

#include <algorithm>

namespace {

constexpr int RunCountColumn = 3;

} // namespace

/// One request on its way through its handler.
struct TicketPluginForm::LocalRequest
{
    QString text(const char *key) const { return data.value(QLatin1String(key)).toString(); }
    qint32 number(const char *key, qint32 fallback) const { return data.value(QLatin1String(key)).toInt(fallback); }
    QStringList texts(const char *key) const { return JsonRead::texts(data.value(QLatin1String(key)).toArray()); }

    /// As the client sent it.
    QJsonObject envelope;
    /// The arguments in it.
    QJsonObject data;
    /// Begins with the client's link; left empty by a handler that answers later or not at all.
    QJsonObject answer;
};

/// What a client program may ask, in the order in which names are compared.
const TicketPluginForm::LocalRequestHandler TicketPluginForm::localRequestHandlers[] = {
    {"cashier_login", &TicketPluginForm::loginCashier},
    {"find_racer_by_num", &TicketPluginForm::findRacerByNumber},
    {"run_queue", &TicketPluginForm::tellRunQueue},
    {"cash_data", &TicketPluginForm::tellCashData},
    {"remove_checkin_items", &TicketPluginForm::removeCheckInItems},
    {"move_racer_to_run", &TicketPluginForm::moveRacer},
    {"set_new_discount", &TicketPluginForm::setNewDiscount},
    {"set_new_run_count", &TicketPluginForm::setNewRunCount},
    {"set_new_car_model", &TicketPluginForm::setNewCarModel},
    {"set_new_pay_method", &TicketPluginForm::setNewPayMethod},
    {"print_safety", &TicketPluginForm::printSafetyForms},
    {"print_tickets", &TicketPluginForm::printTickets},
    {"print_ticket", &TicketPluginForm::printSeatTicket},
    {"pay_and_seat_to_runs", &TicketPluginForm::payAndSeat},
    {"move_run_in_queue", &TicketPluginForm::moveRun},
    {"add_new_checkin", &TicketPluginForm::addNewCheckIn},
    {"update_client_data", &TicketPluginForm::updateClientData},
    {"lock_unlock_run", &TicketPluginForm::lockRun},
    {"delete_run_from_queue", &TicketPluginForm::deleteRun},
    {"print_run", &TicketPluginForm::printRun},
    {"set_price_type", &TicketPluginForm::setPriceType},
    {"add_new_run", &TicketPluginForm::addNewRuns},
    {"remove_racer_from_run", &TicketPluginForm::removeRacer},
    {"refund_tickets", &TicketPluginForm::refundTickets},
    {"get_available_cars", &TicketPluginForm::tellAvailableCars},
    {"select_car", &TicketPluginForm::selectCar},
    {"run_control", &TicketPluginForm::controlRun},
};

QJsonObject TicketPluginForm::handleLocalRequest(const QJsonObject &request)
{
    LocalRequest local{request, request.value(QLatin1String("requestData")).toObject(), QJsonObject()};
    const QJsonValue link = request.value(QLatin1String("linkGuid"));
    if (!link.isUndefined())
        local.answer.insert(QLatin1String("linkGuid"), link);
    const QString name = request.value(QLatin1String("request")).toString();
    for (const LocalRequestHandler &handler : localRequestHandlers) {
        if (name == QLatin1String(handler.name)) {
            (this->*handler.work)(local);
            break;
        }
    }
    return local.answer;
}

QModelIndex TicketPluginForm::requestedLine(const QString &uuid) const
{
    // A minor may have no identity yet; a request that names nobody must not find it.
    return uuid.isEmpty() ? QModelIndex() : checkInList.findByUuid(uuid, true);
}

void TicketPluginForm::loginCashier(LocalRequest &request)
{
    QJsonObject login;
    if (request.data.contains(QLatin1String("cashierToken"))) {
        const auto known = operators.constFind(request.text("cashierToken"));
        if (known != operators.constEnd())
            login = loginData(*known);
    } else if (request.data.contains(QLatin1String("authCode"))) {
        login = loginByCode(RequestRules::looseText(request.data.value(QLatin1String("authCode"))));
    }
    request.answer.insert(QLatin1String("loginStatus"),
                          login.isEmpty() ? QStringLiteral("fail") : QStringLiteral("ok"));
    request.answer.insert(QLatin1String("code"), QStringLiteral("cashier_login"));
    request.answer.insert(QLatin1String("cashierLoginData"), login);
}

QJsonObject TicketPluginForm::loginData(const OperatorRecord &cashier)
{
    return {{QLatin1String("cashierToken"), cashier.token}, {QLatin1String("cashierName"), cashier.name}};
}

QJsonObject TicketPluginForm::loginByCode(const QString &code)
{
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.prepare(QStringLiteral("SELECT * FROM personal WHERE access_code=:code")))
        return QJsonObject();
    query.bindValue(QStringLiteral(":code"), code);
    if (!query.exec() || !query.next())
        return QJsonObject();
    OperatorRecord cashier;
    cashier.token = QUuid::createUuid().toString();
    cashier.id = query.value(QStringLiteral("id")).toInt();
    cashier.name = RequestRules::operatorName(query.value(QStringLiteral("last_name")).toString(),
                                              query.value(QStringLiteral("first_name")).toString(),
                                              query.value(QStringLiteral("mid_name")).toString());
    // Two people with one code: nobody knows who it is.
    if (query.next())
        return QJsonObject();

    QString former;
    for (const OperatorRecord &known : qAsConst(operators)) {
        if (known.id == cashier.id)
            former = known.token;
    }
    operators.remove(former);
    operators.insert(cashier.token, cashier);
    return loginData(cashier);
}

qint32 TicketPluginForm::cashierOf(const LocalRequest &request) const
{
    return operators.value(request.text("cashierToken")).id;
}

void TicketPluginForm::findRacerByNumber(LocalRequest &request)
{
    // The answer comes with the service's reply, or never.
    request.answer = QJsonObject();
    const auto body =
        ServiceQuery::racerByNumber(request.data, apiKey, request.envelope.value(QLatin1String("linkGuid")));
    if (body)
        ServiceForms::post(&networkManager, serviceAppUrl, serviceUrlSuffix, *body);
}

void TicketPluginForm::tellRunQueue(LocalRequest &request)
{
    const QJsonValue runs = runsArchive.value(QLatin1String("runs"));
    request.answer.insert(QLatin1String("runQueue"), runQueueJson());
    request.answer.insert(QLatin1String("runHistory"), runHistoryJson());
    request.answer.insert(QLatin1String("runsArchive"), runs.isUndefined() ? QJsonValue(QJsonArray()) : runs);
    request.answer.insert(QLatin1String("forceReload"), true);
}

void TicketPluginForm::tellCashData(LocalRequest &request)
{
    request.answer.insert(QLatin1String("checkInList"), checkInList.listJson());
    request.answer.insert(QLatin1String("paymentsKind"), checkInList.payMethodsJson());
    request.answer.insert(QLatin1String("priceList"), checkInList.salesItemsForCars(cars));
    request.answer.insert(QLatin1String("discountsList"), checkInList.discountsJson());
    request.answer.insert(QLatin1String("priceTypes"), priceTypesJson());
    request.answer.insert(QLatin1String("trackName"), trackName);
}

void TicketPluginForm::removeCheckInItems(LocalRequest &request)
{
    checkInList.removeByUuids(request.texts("removeList"));
}

void TicketPluginForm::moveRacer(LocalRequest &request)
{
    moveRacerToRun(request.envelope);
    request.answer.insert(QLatin1String("runQueue"), runQueueJson());
}

void TicketPluginForm::setNewDiscount(LocalRequest &request)
{
    const QString discount = RequestRules::looseText(request.data.value(QLatin1String("newDiscountValue")));
    const QStringList uuids = RequestRules::identities(request.data.value(QLatin1String("uuid")));
    for (const QString &uuid : uuids)
        checkInList.setDiscount(discount, requestedLine(uuid));
    Q_EMIT checkInList.layoutChanged();
}

void TicketPluginForm::setNewRunCount(LocalRequest &request)
{
    const QModelIndex line = requestedLine(request.text("uuid"));
    if (line.isValid())
        checkInList.setData(line.siblingAtColumn(RunCountColumn), request.number("newRunCount", 0), Qt::EditRole);
    Q_EMIT checkInList.layoutChanged();
}

void TicketPluginForm::setNewCarModel(LocalRequest &request)
{
    const QModelIndex line = requestedLine(request.text("uuid"));
    const qint32 commonId = request.number("salesCommonId", -1);
    const bool takesSaleOff = request.number("salesId", -1) == -1 || commonId == -1;
    if (line.isValid() && takesSaleOff)
        checkInList.setSalesItem(PriceItem(), line);
    if (line.isValid() && !takesSaleOff) {
        const QList<PriceItem> items = prices.currentPriceItems();
        const auto item = std::find_if(items.cbegin(), items.cend(),
                                       [commonId](const PriceItem &price) { return price.commonId == commonId; });
        if (item != items.cend()) {
            checkInList.setSalesItem(*item, line);
            checkInList.publish();
        }
    }
    Q_EMIT checkInList.layoutChanged();
}

void TicketPluginForm::setNewPayMethod(LocalRequest &request)
{
    const QString method = request.text("newPayMethod");
    const QStringList uuids = request.texts("uuidList");
    for (const QString &uuid : uuids)
        checkInList.setPayMethod(method, requestedLine(uuid));
    Q_EMIT checkInList.layoutChanged();
}

void TicketPluginForm::printSafetyForms(LocalRequest &request)
{
    const QPointer<TicketPluginForm> self(this);
    const QStringList uuids = request.texts("uuidList");
    for (const QString &uuid : uuids) {
        const QModelIndex line = requestedLine(uuid);
        if (line.isValid())
            printSafety(line);
        if (!self)
            return;
    }
}

void TicketPluginForm::printTickets(LocalRequest &request)
{
    // Without a printer a box opens for a ticket, and anything may happen while it stands there.
    const QPointer<TicketPluginForm> self(this);
    const QStringList uuids = request.texts("uuidList");
    for (const QString &uuid : uuids) {
        if (const CheckInItem *item = checkInList.itemAt(requestedLine(uuid)))
            ticketPrinted(checkInList.toJson(*item));
        if (!self)
            return;
    }
}

void TicketPluginForm::printSeatTicket(LocalRequest &request)
{
    const QString guid = request.text("runQueueGuid");
    const QString uuid = request.text("racerGuid");
    if (guid.isEmpty() || uuid.isEmpty())
        return;
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    for (const QPointer<RunContainerWidget> &run : runs) {
        if (run->guid() != guid || !run->hasCompetitor(uuid))
            continue;
        printRunTicket(run->competitorByUuid(uuid), run->displayName());
        return;
    }
}

void TicketPluginForm::payAndSeat(LocalRequest &request)
{
    const qint32 cashierId = cashierOf(request);
    QList<QPersistentModelIndex> paid;
    const QStringList uuids = request.texts("uuidList");
    for (const QString &uuid : uuids) {
        const QPersistentModelIndex line = requestedLine(uuid);
        const CheckInItem *item = checkInList.itemAt(line);
        if (item && !item->parent && !item->payState) {
            checkInList.togglePayState(line, true, cashierId);
            item = checkInList.itemAt(line);
        }
        if (item && item->payState)
            paid.append(line);
    }

    int mostSeats = 1;
    for (const QPersistentModelIndex &line : qAsConst(paid)) {
        if (const CheckInItem *item = checkInList.itemAt(line))
            mostSeats = qMax(mostSeats, item->runCount);
    }
    const int step = RequestRules::seatStep(request.data.value(QLatin1String("multiSeatVariant")), mostSeats);

    QJsonArray racers;
    QHash<const CheckInItem *, int> seats;
    int seatsOnceMore = 0;
    for (const QPersistentModelIndex &line : qAsConst(paid)) {
        const CheckInItem *item = checkInList.itemAt(line);
        if (!item)
            continue;
        // Who is named again gets more seats, but no request makes the queue grow without end.
        const int bought = qMax(1, item->runCount);
        int &seatsOfRacer = seats[item];
        const bool isNamedAgain = seatsOfRacer > 0;
        seatsOfRacer += bought;
        if (isNamedAgain)
            seatsOnceMore += bought;
        if (!isNamedAgain || qMax(seatsOfRacer, seatsOnceMore) <= RequestRules::MaxSeatSpan / step)
            racers.append(checkInList.toJson(*item));
    }
    if (racers.isEmpty())
        return;
    checkInList.markEnqueued(racers);
    seatRacers(racers, step, -1);
    checkInList.itemsDroppedOut(racers);
}

void TicketPluginForm::moveRun(LocalRequest &request)
{
    const QString source = request.text("srcGuid");
    const QString target = request.text("dstGuid");
    if (source.isEmpty() || target.isEmpty())
        return;
    if (rowOfRun(findRun(source)) == 0)
        request.answer = QJsonObject();
    else
        moveRunInQueue(source, target);
}

void TicketPluginForm::addNewCheckIn(LocalRequest &request)
{
    addClientRecord(request.data);
}

void TicketPluginForm::updateClientData(LocalRequest &request)
{
    QJsonObject client = request.data;
    client.insert(QLatin1String("trackKey"), trackId);
    // The list reads the client out of the envelope; clients that mean it put the identity there, too.
    checkInList.updateClient(request.envelope);
    sendToHost(HostEvents::UpdateClientData, client);
    sendToHost(HostEvents::UpdateLocalClient, request.data);
}

void TicketPluginForm::lockRun(LocalRequest &request)
{
    if (RunContainerWidget *run = findRun(request.text("runGuid")))
        run->setRunLocked(request.data.value(QLatin1String("lockState")).toBool());
}

void TicketPluginForm::deleteRun(LocalRequest &request)
{
    const QString guid = request.text("runGuid");
    RunContainerWidget *run = guid.isEmpty() ? nullptr : findRun(guid);
    if (run)
        removeRuns({run}, true);
}

void TicketPluginForm::printRun(LocalRequest &request)
{
    sendToHost(HostEvents::PrintRun, request.data);
}

void TicketPluginForm::setPriceType(LocalRequest &request)
{
    ui->cbPricesNames->setCurrentText(request.text("priceName"));
    on_cbPricesNames_activated(ui->cbPricesNames->currentIndex());
}

void TicketPluginForm::addNewRuns(LocalRequest &request)
{
    addRuns(RequestRules::runsToAdd(request.data.value(QLatin1String("runsCount"))), -1,
            request.number("startTime", 0));
}

void TicketPluginForm::removeRacer(LocalRequest &request)
{
    if (RunContainerWidget *run = findRun(request.text("runGuid")))
        removeRacerFromRun(run, request.text("racerGuid"));
}

void TicketPluginForm::refundTickets(LocalRequest &request)
{
    const QString guid = request.text("runGuid");
    const QString uuid = request.text("racerGuid");
    const RunContainerWidget *run = findRun(guid);
    if (!run || !run->hasCompetitor(uuid))
        return;
    QJsonObject record = run->competitorByUuid(uuid);
    record.insert(QLatin1String("cashierId"), cashierOf(request));
    refundTicket(guid, uuid, request.data.value(QLatin1String("refundSum")).toDouble(0.0),
                 request.number("refundTicketsCount", 0), request.text("refundComment"), record);
}

void TicketPluginForm::tellAvailableCars(LocalRequest &request)
{
    const QString guid = request.text("runQueueGuid");
    const QString uuid = request.text("clientGuid");
    const RunContainerWidget *run = findRun(guid);
    if (!run)
        return;
    const QString model = run->competitorByUuid(uuid).value(QLatin1String("carModel")).toString();
    request.answer.insert(QLatin1String("clientGuid"), uuid);
    request.answer.insert(QLatin1String("runQueueGuid"), guid);
    request.answer.insert(QLatin1String("availableCarsList"), run->freeCars(model));
}

void TicketPluginForm::selectCar(LocalRequest &request)
{
    const QString guid = request.text("runQueueGuid");
    const QJsonObject car = request.data.value(QLatin1String("targetCar")).toObject();
    releaseCar(car.value(QLatin1String("id")).toInt(-1), guid);
    QJsonObject change = request.data;
    // Only the desk's own menu asks its operator why a car changes.
    change.remove(QLatin1String("isLocalRequest"));
    const QList<QPointer<RunContainerWidget>> runs = queueRuns();
    for (const QPointer<RunContainerWidget> &run : runs) {
        if (run && !run->isRetired() && run->guid() == guid)
            run->setCompetitorCar(change);
    }
}

void TicketPluginForm::controlRun(LocalRequest &request)
{
    const QString command = request.text("cmd");
    if (command == QLatin1String("start"))
        startRunByGuid(request.data);
    else if (command == QLatin1String("paus"))
        pauseRunByGuid(request.data);
    else if (command == QLatin1String("close"))
        closeRunByGuid(request.data);
}
