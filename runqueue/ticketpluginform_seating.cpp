// Seats: paid racers from the list into the runs, racers found in the queue, and seats given up.

#include "plugin/ticketpluginform.h"

#include "registration/checkinrules.h"
#include "runqueue/runcontainerwidget.h"
#include "runqueue/runrules.h"
#include "runqueue/selectmultiseatvariantdialog.h"
#include "ui_ticketpluginform.h"

#include <QHash>
#include <QMessageBox>
#include <QPointer>
#include <QSet>

namespace {

const QLatin1String Current("current");

/// Runs that may vanish in a row, each right after it was made for a seat, before the seat is given up: only a host that
/// closes every new run at once brings it that far.
constexpr int MaxVanishedRuns = 3;

bool isTicketHolder(const QJsonObject &entry, const QJsonObject &request)
{
    const QString card = request.value(QLatin1String("nfcUid")).toString();
    const QString pin = request.value(QLatin1String("pinCode")).toString();
    // A journal may have left seats with empty codes; a request without a code must not find them.
    return request.value(QLatin1String("racerUuid")).toString() == entry.value(QLatin1String("uuid")).toString()
           || (!pin.isEmpty() && entry.value(QLatin1String("pinCodes")).toArray().contains(pin))
           || (!card.isEmpty() && card == entry.value(QLatin1String("nfcUid")).toString());
}

int indexOfTicketHolder(const RunContainerWidget &run, const QJsonObject &request)
{
    const auto &seats = run.competitors();
    for (size_t index = 0; index < seats.size(); ++index) {
        if (isTicketHolder(seats[index]->data, request))
            return static_cast<int>(index);
    }
    return -1;
}

} // namespace

void TicketPluginForm::seatRacers(const QJsonArray &racers, int step, int fromRow)
{
    QHash<QString, int> searchedTo;
    const QPointer<TicketPluginForm> self(this);
    for (const QJsonValue &value : racers) {
        const QJsonObject racer = value.toObject();
        const QString uuid = racer.value(QLatin1String("uuid")).toString();
        int seats = CheckInRules::foreignRunCount(racer.value(QLatin1String("runCount")).toInt(0));
        if (fromRow >= 0)
            --seats;
        if (!searchedTo.contains(uuid))
            searchedTo.insert(uuid, fromRow);
        for (int seat = 0; seat < seats; ++seat) {
            int &after = searchedTo[uuid];
            int row = -1;
            for (int vanished = 0; row == -1 && vanished < MaxVanishedRuns; ++vanished) {
                const int missing = after + 2 - queueSize();
                for (int run = 0; run < missing; ++run)
                    addRuns(1, -1, 0);
                row = RunRules::firstFit(
                    after, queueSize(), [this](int candidate) { return queueRun(candidate) != nullptr; },
                    [this, &racer](int candidate) { return queueRun(candidate)->canAcceptRacer(racer); });
                if (row == -1) {
                    addRuns(1, -1, 0);
                    row = RunRules::firstFit(
                        after, queueSize(), [this](int candidate) { return queueRun(candidate) != nullptr; },
                        [this, &racer](int candidate) { return queueRun(candidate)->canAcceptRacer(racer); });
                }
            }
            if (row == -1)
                break;
            queueRun(row)->addCompetitor(racer, false);
            if (!self)
                return;
            after += step;
        }
    }
}

void TicketPluginForm::on_actionMoveToRuns_triggered()
{
    QList<QPersistentModelIndex> lines;
    bool asksForVariant = false;
    QSet<const CheckInItem *> visited;
    const QPointer<TicketPluginForm> self(this);
    const QModelIndexList selected = ui->tvCheckIn->selectionModel()->selectedIndexes();
    for (const QModelIndex &index : selected) {
        const CheckInItem *item = checkInList.itemAt(index);
        if (!item || item->enqueued || visited.contains(item))
            continue;
        if (warnMissingNfc && item->nfcUid.isEmpty()) {
            const QPersistentModelIndex line(index);
            const auto answer =
                QMessageBox::question(this, tr("Предупреждение"), tr("Не назначены NFC метки участникам, продолжить?"),
                                      QMessageBox::Yes | QMessageBox::No);
            if (!self || answer != QMessageBox::Yes || checkInList.itemAt(line) != item)
                return;
        }
        visited.insert(item);
        if (item->runCount >= 2)
            asksForVariant = true;
        lines.append(index);
    }

    int step = 1;
    if (asksForVariant) {
        SelectMultiSeatVariantDialog dialog(this);
        const bool accepted = dialog.exec() == QDialog::Accepted;
        step = dialog.multiSeatVariant;
        if (!self || !accepted || step <= 0)
            return;
    }
    // Looked at only now: while the dialog stood there a client program may have seated, refunded or removed somebody,
    // and nobody is seated twice or for nothing.
    const QJsonArray racers = recordsToSeat(lines);
    checkInList.markEnqueued(racers);
    seatRacers(racers, step, -1);
    if (self)
        checkInList.itemsDroppedOut(racers);
}

QJsonArray TicketPluginForm::recordsToSeat(const QList<QPersistentModelIndex> &lines) const
{
    QJsonArray racers;
    for (const QPersistentModelIndex &line : lines) {
        const CheckInItem *item = checkInList.itemAt(line);
        if (!item || item->enqueued || item->salesItem.isEmpty())
            continue;
        if (item->payState || (item->parent && item->parent->payState))
            racers.append(checkInList.toJson(*item));
    }
    return racers;
}

void TicketPluginForm::toRunsClicked(QJsonObject json)
{
    Q_UNUSED(json)
    on_actionMoveToRuns_triggered();
}

void TicketPluginForm::itemsDroppedToRun(QJsonArray jsonList, const QObject *target)
{
    if (!target || qstrcmp(target->metaObject()->className(), "RunContainerWidget") != 0)
        return;
    const QPointer<TicketPluginForm> self(this);
    checkInList.markEnqueued(jsonList);
    seatRacers(jsonList, 1, qMax(0, rowOfRun(target)));
    if (self)
        checkInList.itemsDroppedOut(jsonList);
    if (self)
        runQueueChanged(QString());
}

void TicketPluginForm::itemsUndroppedFromRun(QJsonArray jsonList)
{
    checkInList.itemsUndropped(jsonList);
}

bool TicketPluginForm::findCompetitor(const QJsonObject &request, RunCompetitor **competitor, RunContainerWidget **run,
                                      const QString &runGuid)
{
    *competitor = nullptr;
    *run = nullptr;
    RunContainerWidget *named = findRun(runGuid);
    if (named) {
        const int index = indexOfTicketHolder(*named, request);
        if (index != -1) {
            *run = named;
            *competitor = named->competitors()[static_cast<size_t>(index)].get();
            return true;
        }
    }
    for (int row = 0; row < queueSize(); ++row) {
        RunContainerWidget *source = queueRun(row);
        const int index = source ? indexOfTicketHolder(*source, request) : -1;
        if (index == -1)
            continue;
        if (runGuid.isEmpty() || (runGuid == Current && row == 0)) {
            *run = source;
            *competitor = source->competitors()[static_cast<size_t>(index)].get();
            return true;
        }
        RunContainerWidget *target = runGuid == Current ? queueRun(0) : named;
        // A run that is not there keeps the racer where he sits.
        if (!target || target == source)
            continue;
        return moveSeat(source, index, target, competitor, run);
    }
    return false;
}

bool TicketPluginForm::moveSeat(RunContainerWidget *source, int index, RunContainerWidget *target,
                                RunCompetitor **competitor, RunContainerWidget **run)
{
    const QPointer<RunContainerWidget> from(source);
    const QPointer<RunContainerWidget> to(target);
    const QJsonObject entry = source->competitors()[static_cast<size_t>(index)]->data;
    source->removeCompetitorAt(index);
    // The host may have closed either run on hearing of it; the racer then stays where a run is left.
    const bool arrives = to && !to->isRetired();
    const bool stays = !arrives && from && !from->isRetired();
    RunContainerWidget *refuge = arrives ? to.data() : (stays ? from.data() : addRuns(1, -1, 0));
    RunCompetitor *seat = refuge ? refuge->addCompetitor(entry, false) : nullptr;
    if (!arrives || !seat || !to || to->isRetired())
        return false;
    *competitor = seat;
    *run = to;
    return true;
}

void TicketPluginForm::moveRacerToRun(const QJsonObject &request)
{
    const QJsonObject move = request.value(QLatin1String("requestData")).toObject();
    const QString uuid = move.value(QLatin1String("racerGuid")).toString();
    const QPointer<RunContainerWidget> source = findRun(move.value(QLatin1String("fromRun")).toString());
    const QPointer<RunContainerWidget> target = findRun(move.value(QLatin1String("toRun")).toString());
    if (!source || !target || source == target || !source->hasCompetitor(uuid) || target->hasCompetitor(uuid))
        return;
    const QJsonObject entry = source->competitorByUuid(uuid);
    source->removeCompetitorByUuid(uuid);
    target->addCompetitor(entry, false);
    if (source)
        source->update();
    if (target)
        target->update();
}

void TicketPluginForm::removeRacerFromRun(RunContainerWidget *run, const QString &uuid)
{
    run->removeCompetitorByUuid(uuid);
    runQueueChanged(QString());
}

void TicketPluginForm::on_actionRemoveFromRun_triggered()
{
    const QPointer<RunContainerWidget> run = queueRun(ui->lwRunsList->currentRow());
    if (!run || !run->hasSelection())
        return;
    const QString uuid = run->selectedEntry().value(QLatin1String("uuid")).toString();
    const QPointer<TicketPluginForm> self(this);
    const auto answer =
        QMessageBox::question(this, tr("Подтверждение"), tr("Точно удалить?"), QMessageBox::Yes | QMessageBox::No);
    if (self && answer == QMessageBox::Yes && run && rowOfRun(run) != -1)
        removeRacerFromRun(run, uuid);
}
