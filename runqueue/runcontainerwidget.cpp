// A run's data and what can be done with it; drawing and mouse stand in runcontainerwidget_view.cpp.

#include "runqueue/runcontainerwidget.h"

#include "common/clock.h"
#include "common/jsonread.h"
#include "runqueue/replacecardialog.h"

#include <QIcon>
#include <QIODevice>
#include <QJsonDocument>
#include <QMessageBox>
#include <QPointer>
#include <QUuid>
#include <QVariant>

#include <limits>

namespace {

constexpr qint32 NoCar = -1;

QString textOf(const QJsonObject &json, const char *key)
{
    return json.value(QLatin1String(key)).toString();
}

qint32 intOf(const QJsonObject &json, const char *key, qint32 fallback)
{
    return json.value(QLatin1String(key)).toInt(fallback);
}

} // namespace

const std::vector<std::unique_ptr<RunCompetitor>> &RunContainerWidget::competitors() const
{
    return seats;
}

void RunContainerWidget::changed()
{
    recordCache = QJsonObject();
    journalCache.clear();
}

RunCompetitor &RunContainerWidget::appendCompetitor(const QJsonObject &entry)
{
    static quint64 lastSerial = 0;
    auto competitor = std::make_unique<RunCompetitor>();
    competitor->data = entry;
    competitor->caption = textOf(entry, "name");
    competitor->serial = ++lastSerial;
    seats.push_back(std::move(competitor));
    changed();
    return *seats.back();
}

RunCompetitor *RunContainerWidget::addCompetitor(const QJsonObject &racer, bool restoring)
{
    QJsonObject entry = racer;
    if (textOf(racer, "uuid").isEmpty())
        entry.insert(QLatin1String("uuid"), QUuid::createUuid().toString());
    const QJsonValue car = entry.value(QLatin1String("carId"));
    for (const auto &seated : seats) {
        if (seated->data.value(QLatin1String("carId")) == car) {
            // Two racers never share a car; the newcomer looks for another one.
            entry.insert(QLatin1String("carId"), NoCar);
            break;
        }
    }
    if (!restoring) {
        if (lastCompetitorId > std::numeric_limits<qint32>::min())
            --lastCompetitorId;
        entry.insert(QLatin1String("competitorId"), lastCompetitorId);
    }
    lastCompetitorId = qMin(lastCompetitorId, intOf(entry, "competitorId", -1));
    RunCompetitor &competitor = appendCompetitor(entry);
    const QJsonValue color = racer.value(QLatin1String("color"));
    if (!color.isUndefined())
        competitor.color = color.toVariant().value<QColor>();

    // A whole desk is being read back: nobody listens yet, and the reader fits the size once for the run.
    if (restoring && signalsBlocked())
        return &competitor;
    const quint64 serial = competitor.serial;
    const QPointer<RunContainerWidget> self(this);
    Q_EMIT presetUpdated(runPreset());
    if (!self)
        return nullptr;
    relayout(size());
    if (!self)
        return nullptr;
    update();
    const int index = indexOfSerial(serial);
    return index == -1 ? nullptr : seats[static_cast<size_t>(index)].get();
}

int RunContainerWidget::indexOfUuid(const QString &uuid) const
{
    for (size_t index = 0; index < seats.size(); ++index) {
        if (textOf(seats[index]->data, "uuid") == uuid)
            return static_cast<int>(index);
    }
    return -1;
}

int RunContainerWidget::indexOfSerial(quint64 serial) const
{
    for (size_t index = 0; index < seats.size(); ++index) {
        if (seats[index]->serial == serial)
            return static_cast<int>(index);
    }
    return -1;
}

void RunContainerWidget::eraseCompetitor(int index)
{
    const auto seat = seats.begin() + index;
    if (selectedCompetitor == seat->get())
        selectedCompetitor = nullptr;
    seats.erase(seat);
    changed();
}

void RunContainerWidget::removeCompetitorAt(int index)
{
    if (index < 0 || static_cast<size_t>(index) >= seats.size())
        return;
    eraseCompetitor(index);
    const QPointer<RunContainerWidget> self(this);
    relayout(size());
    if (self)
        Q_EMIT presetUpdated(runPreset());
    if (self)
        update();
}

void RunContainerWidget::removeCompetitorByUuid(const QString &uuid)
{
    const int index = uuid.isEmpty() ? -1 : indexOfUuid(uuid);
    if (index == -1)
        return;
    selectedCompetitor = nullptr;
    eraseCompetitor(index);
    relayout(size());
}

bool RunContainerWidget::hasCompetitor(const QString &uuid) const
{
    return indexOfUuid(uuid) != -1;
}

QJsonObject RunContainerWidget::competitorByUuid(const QString &uuid) const
{
    const int index = indexOfUuid(uuid);
    return index == -1 ? QJsonObject() : seats[static_cast<size_t>(index)]->data;
}

QJsonObject RunContainerWidget::competitorBySerial(quint64 serial) const
{
    const int index = indexOfSerial(serial);
    return index == -1 ? QJsonObject() : seats[static_cast<size_t>(index)]->data;
}

void RunContainerWidget::noteTicketCode(quint64 serial, const QJsonValue &code)
{
    const int index = indexOfSerial(serial);
    if (index == -1)
        return;
    seats[static_cast<size_t>(index)]->data.insert(QLatin1String("currentPinCode"), code);
    changed();
}

QJsonObject RunContainerWidget::selectedEntry() const
{
    return selectedCompetitor ? selectedCompetitor->data : QJsonObject();
}

bool RunContainerWidget::hasSelection() const
{
    return selectedCompetitor != nullptr;
}

void RunContainerWidget::clearSelection()
{
    selectedCompetitor = nullptr;
    update();
}

QString RunContainerWidget::numberedTitle() const
{
    return tr("Заезд №%1").arg(runNum);
}

QString RunContainerWidget::displayName() const
{
    return nameForced ? runName : numberedTitle();
}

int RunContainerWidget::numberFromName() const
{
    return RunRules::numberFromName(runName);
}

QJsonObject RunContainerWidget::runRecord() const
{
    if (!recordCache.isEmpty())
        return recordCache;
    QJsonObject competitors;
    for (const auto &seat : seats)
        competitors.insert(QString::number(intOf(seat->data, "competitorId", -1)), seat->data);
    recordCache = {
        {QLatin1String("runQueueGuid"), runQueueGuid},
        {QLatin1String("runName"), runName.isEmpty() ? numberedTitle() : runName},
        {QLatin1String("runNum"), runNum},
        {QLatin1String("runState"), runState},
        {QLatin1String("runDuration"), finishParam},
        {QLatin1String("finishParam"), finishParam},
        {QLatin1String("finishMode"), finishMode},
        {QLatin1String("finishType"), finishMode},
        {QLatin1String("sortMode"), sortMode},
        {QLatin1String("sortType"), sortMode},
        {QLatin1String("runStartTime"), startTime},
        {QLatin1String("runLocked"), runLocked},
        {QLatin1String("runCompetitors"), competitors},
    };
    return recordCache;
}

QJsonArray RunContainerWidget::presetArray() const
{
    QJsonArray rows;
    for (const auto &seat : seats) {
        const QJsonObject &entry = seat->data;
        QJsonObject row;
        for (const char *key : {"name", "carId", "clientId", "competitorId"}) {
            const QJsonValue value = entry.value(QLatin1String(key));
            if (!value.isUndefined())
                row.insert(QLatin1String(key), value);
        }
        if (intOf(entry, "carId", NoCar) != NoCar)
            row.insert(QLatin1String("sourceSet"), true);
        rows.append(row);
    }
    return rows;
}

QJsonObject RunContainerWidget::runPreset() const
{
    return {{QLatin1String("runQueueGuid"), runQueueGuid}, {QLatin1String("preset"), presetArray()}};
}

QJsonObject RunContainerWidget::journalItem() const
{
    return {
        {QLatin1String("runLocked"), runLocked},
        {QLatin1String("runName"), runName},
        {QLatin1String("nameForced"), nameForced},
        {QLatin1String("runNum"), runNum},
        {QLatin1String("finishParam"), finishParam},
        {QLatin1String("finishMode"), finishMode},
        {QLatin1String("sortMode"), sortMode},
        {QLatin1String("pauseTime"), pauseTime},
        {QLatin1String("maxRacersInRun"), maxRacersInRun},
        {QLatin1String("uuid"), runQueueGuid},
        {QLatin1String("lastCompetitorId"), lastCompetitorId},
        {QLatin1String("runColor"), runColor.name()},
        {QLatin1String("startTime"), startTime},
    };
}

void RunContainerWidget::writeJournal(QIODevice &device) const
{
    if (journalCache.isEmpty()) {
        const auto line = [](const char *tag, const QJsonObject &json) {
            return QByteArray(tag) + QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
        };
        journalCache = line("RUNITEM:", journalItem());
        for (const auto &seat : seats)
            journalCache += line("COMPETITOR:", seat->data);
    }
    device.write(journalCache);
}

void RunContainerWidget::loadJournalItem(const QJsonObject &json)
{
    runLocked = json.value(QLatin1String("runLocked")).toBool(false);
    runName = textOf(json, "runName");
    nameForced = json.value(QLatin1String("nameForced")).toBool(false);
    runNum = intOf(json, "runNum", 1);
    finishParam = intOf(json, "finishParam", 600);
    finishMode = intOf(json, "finishMode", RunRules::FinishByTime);
    sortMode = intOf(json, "sortMode", 0);
    pauseTime = intOf(json, "pauseTime", 180);
    maxRacersInRun = intOf(json, "maxRacersInRun", 10);
    const QString guid = textOf(json, "uuid");
    if (!guid.isEmpty())
        runQueueGuid = guid;
    lastCompetitorId = intOf(json, "lastCompetitorId", -1000);
    runColor = QColor(json.value(QLatin1String("runColor")).toString(QStringLiteral("#ffffff")));
    showLockIcon();
    changed();
    update();
}

void RunContainerWidget::loadRunRecord(const QJsonObject &record)
{
    if (record.contains(QLatin1String("runQueueGuid")))
        runQueueGuid = textOf(record, "runQueueGuid");
    runNum = intOf(record, "runNum", 0);
    runName = textOf(record, "runName");
    startTime = JsonRead::int64(record.value(QLatin1String("runStartTime")));
    runLocked = record.value(QLatin1String("runLocked")).toBool(false);
    if (runLocked)
        showLockIcon();
    selectedCompetitor = nullptr;
    seats.clear();
    const QJsonObject competitors = record.value(QLatin1String("runCompetitors")).toObject();
    for (auto entry = competitors.constBegin(); entry != competitors.constEnd(); ++entry) {
        RunCompetitor &competitor = appendCompetitor(entry.value().toObject());
        competitor.color = historyRun ? QColor(Qt::gray) : QColor(textOf(competitor.data, "color"));
    }
    changed();
    relayout(size());
}

bool RunContainerWidget::canAcceptRacer(const QJsonObject &racer) const
{
    if (runLocked || static_cast<qint64>(seats.size()) >= maxRacersInRun)
        return false;
    const qint32 clientId = intOf(racer, "clientId", -1);
    const QString uuid = textOf(racer, "uuid");
    const QString carModel = textOf(racer, "carModel");
    qint32 sameModel = 0;
    for (const auto &seat : seats) {
        if (clientId != -1 && intOf(seat->data, "clientId", -1) == clientId)
            return false;
        if (textOf(seat->data, "uuid") == uuid)
            return false;
        if (textOf(seat->data, "carModel") == carModel)
            ++sameModel;
    }
    const qint32 cars = carModelCounts.value(carModel, 0);
    return cars < 1 || sameModel < cars;
}

void RunContainerWidget::setCars(const QJsonArray &cars)
{
    carsById.clear();
    carModelCounts.clear();
    for (const QJsonValue &value : cars) {
        const QJsonObject car = value.toObject();
        const qint32 id = intOf(car, "id", NoCar);
        if (id == NoCar || !car.value(QLatin1String("available_for_runs")).toBool(false))
            continue;
        carsById.insert(id, car);
        ++carModelCounts[textOf(car, "name")];
    }
    update();
}

QJsonArray RunContainerWidget::freeCars(const QString &model) const
{
    QJsonArray cars;
    for (auto car = carsById.constBegin(); car != carsById.constEnd(); ++car) {
        if (textOf(car.value(), "name") == model && isCarFreeFor(car.key(), QString()))
            cars.append(car.value());
    }
    return RunRules::sortedByNumber(cars);
}

QJsonArray RunContainerWidget::freeCarIds(const QString &model) const
{
    const QJsonArray busy = busyCarIds(model);
    QJsonArray ids;
    for (auto car = carsById.constBegin(); car != carsById.constEnd(); ++car) {
        if (textOf(car.value(), "name") == model && !busy.contains(car.key()))
            ids.append(car.key());
    }
    return ids;
}

QJsonArray RunContainerWidget::busyCarIds(const QString &model) const
{
    QJsonArray ids;
    for (const auto &seat : seats) {
        const qint32 carId = intOf(seat->data, "carId", NoCar);
        if (carId != NoCar && (model.isEmpty() || textOf(seat->data, "carModel") == model))
            ids.append(carId);
    }
    return ids;
}

bool RunContainerWidget::isCarFreeFor(qint32 carId, const QString &racerUuid) const
{
    for (const auto &seat : seats) {
        if (intOf(seat->data, "carId", NoCar) == carId
            && (racerUuid.isEmpty() || textOf(seat->data, "uuid") != racerUuid))
            return false;
    }
    return true;
}

QString RunContainerWidget::carNumber(qint32 carId) const
{
    return carsById.value(carId).value(QLatin1String("num")).toVariant().toString();
}

qint32 RunContainerWidget::setCompetitorCar(const QJsonObject &request)
{
    QString uuid = textOf(request, "uuid");
    if (uuid.isEmpty())
        uuid = textOf(request, "racerUuid");
    int index = indexOfUuid(uuid);
    if (index == -1)
        return 0;
    const QJsonObject entry = seats[static_cast<size_t>(index)]->data;
    const QJsonObject targetCar = request.value(QLatin1String("targetCar")).toObject();
    const qint32 target = targetCar.isEmpty() ? intOf(request, "carId", NoCar) : intOf(targetCar, "id", NoCar);
    if (target == intOf(entry, "carId", NoCar))
        return 0;
    if (target != NoCar && !request.value(QLatin1String("manual")).toBool()) {
        const auto car = carsById.constFind(target);
        // A car that the run does not know has no model and fits nobody.
        if (car == carsById.constEnd() || textOf(car.value(), "name") != textOf(entry, "carModel"))
            return -1;
    }
    QString reason = textOf(request, "changeCarReason");
    if (!request.contains(QLatin1String("changeCarReason")) && intOf(entry, "competitorState", 0) != 0
        && request.value(QLatin1String("isLocalRequest")).toBool()) {
        const quint64 serial = seats[static_cast<size_t>(index)]->serial;
        const QPointer<RunContainerWidget> self(this);
        // Not a child of the run: the host may end the run under the open question.
        ReplaceCarDialog dialog(parentWidget());
        const bool accepted = dialog.exec() == QDialog::Accepted;
        reason = dialog.reason();
        if (!self || retired || !accepted || reason.isEmpty())
            return 0;
        // The seat may be gone, or somebody else's, by the time the operator has answered.
        index = indexOfSerial(serial);
        if (index == -1)
            return 0;
    }
    RunCompetitor &seat = *seats[static_cast<size_t>(index)];
    seat.data.insert(QLatin1String("carId"), target);
    seat.data.insert(QLatin1String("carNum"), carNumber(target));
    changed();
    const QPointer<RunContainerWidget> self(this);
    if (reason == QLatin1String("brokenCar")) {
        Q_EMIT switchCar({
            {QLatin1String("switchReason"), QStringLiteral("malfunction")},
            {QLatin1String("competitorId"), intOf(seat.data, "competitorId", -1)},
            {QLatin1String("carId"), target},
            {QLatin1String("runId"), runId},
        });
    } else {
        Q_EMIT presetUpdated(runPreset());
    }
    if (self)
        update();
    return 0;
}

void RunContainerWidget::releaseCar(qint32 carId)
{
    bool released = false;
    for (const auto &seat : seats) {
        if (intOf(seat->data, "carId", NoCar) == carId) {
            seat->data.insert(QLatin1String("carId"), NoCar);
            seat->data.insert(QLatin1String("carNum"), QString());
            released = true;
        }
    }
    if (released)
        changed();
    update();
}

void RunContainerWidget::releaseCarOfRacer(const QString &uuid)
{
    for (const auto &seat : seats) {
        if (textOf(seat->data, "uuid") == uuid) {
            seat->data.insert(QLatin1String("carId"), NoCar);
            seat->data.insert(QLatin1String("carNum"), QString());
            changed();
        }
    }
    update();
}

void RunContainerWidget::requestStart(const QJsonObject &params)
{
    QJsonObject start{
        {QLatin1String("autoFinishParam"), finishParam},
        {QLatin1String("useAutoFinish"),
         finishMode == RunRules::FinishByLaps ? QStringLiteral("LAPS") : QStringLiteral("TIME")},
        {QLatin1String("sortMode"), sortMode},
        {QLatin1String("preparation"), presetArray()},
        {QLatin1String("runQueueGuid"), runQueueGuid},
        {QLatin1String("runName"), runName.isEmpty() ? numberedTitle() : runName},
    };
    const QJsonValue hits = params.value(QLatin1String("startingHits"));
    if (!hits.isUndefined())
        start.insert(QLatin1String("startingHits"), hits);
    Q_EMIT startRunClicked(start);
}

void RunContainerWidget::requestClose()
{
    Q_EMIT startRunClicked({
        {QLatin1String("command"), QStringLiteral("close_run")},
        {QLatin1String("runQueueGuid"), runQueueGuid},
    });
}

void RunContainerWidget::startStopRun()
{
    if (!currentRun) {
        requestStart(QJsonObject());
        return;
    }
    if (runState != QLatin1String("finished")) {
        const QPointer<RunContainerWidget> self(this);
        const auto answer = QMessageBox::question(
            parentWidget(), QString(),
            tr("Заезд еще не завершен. При закрытии он будет перенесен в архив.\r\nТочно закрыть?"),
            QMessageBox::Yes | QMessageBox::No);
        if (!self || retired || answer != QMessageBox::Yes)
            return;
    }
    requestClose();
}

void RunContainerWidget::setCurrentRun(bool current)
{
    currentRun = current;
    startButton.setIcon(
        QIcon(current ? QStringLiteral(":/ticketPlugin/closeIcon") : QStringLiteral(":/ticketPlugin/startRun")));
    update();
}

void RunContainerWidget::setRunState(const QString &state)
{
    if (runState == state)
        return;
    runState = state;
    changed();
    const QPointer<RunContainerWidget> self(this);
    Q_EMIT presetUpdated(runPreset());
    if (self)
        update();
}

void RunContainerWidget::applyResults(const QJsonArray &results)
{
    QHash<qint32, RunCompetitor *> byId;
    for (auto seat = seats.rbegin(); seat != seats.rend(); ++seat)
        byId.insert(intOf((*seat)->data, "competitorId", -1), seat->get());
    for (const QJsonValue &value : results) {
        const QJsonObject result = value.toObject();
        if (RunCompetitor *seat = byId.value(intOf(result, "competitorId", -1)))
            seat->data.insert(QLatin1String("competitorState"), result.value(QLatin1String("state")));
    }
    changed();
}

void RunContainerWidget::applyRunParams(const QJsonObject &request)
{
    const qint32 oldMode = finishMode;
    sortMode = intOf(request, "sortMode", 0);
    finishMode = intOf(request, "finishMode", RunRules::FinishByTime);
    finishParam = RunRules::convertedFinishParam(finishParam, oldMode, finishMode);
    changed();
    update();
    Q_EMIT runParamsUpdated(runRecord());
}

void RunContainerWidget::setRunNum(qint32 newNumber)
{
    runNum = newNumber;
    changed();
    update();
}

void RunContainerWidget::setFinishParam(qint32 param)
{
    finishParam = param;
    changed();
    update();
}

void RunContainerWidget::setPauseTime(qint32 seconds)
{
    pauseTime = seconds;
    changed();
    update();
}

void RunContainerWidget::setMaxRacersInRun(qint32 count)
{
    maxRacersInRun = count;
    changed();
    update();
}

void RunContainerWidget::setRunName(const QString &newName)
{
    runName = newName;
    changed();
    update();
}

void RunContainerWidget::forceRunName(const QString &newName)
{
    runName = newName;
    nameForced = true;
    changed();
}

void RunContainerWidget::setRunId(qint32 newId)
{
    runId = newId;
}

void RunContainerWidget::setStartTime(qint64 secs)
{
    if (startTime == secs)
        return;
    startTime = secs;
    changed();
    update();
}

void RunContainerWidget::setRunQueueGuid(const QString &newGuid)
{
    runQueueGuid = newGuid;
    changed();
}

void RunContainerWidget::setRunLocked(bool locked)
{
    if (runLocked == locked)
        return;
    runLocked = locked;
    changed();
    // An unlock from afar goes unannounced; the row shows it with its next repaint.
    if (!locked)
        return;
    showLockIcon();
    const QPointer<RunContainerWidget> self(this);
    Q_EMIT runLockUpdated();
    if (self)
        update();
}

void RunContainerWidget::toggleLock()
{
    runLocked = !runLocked;
    changed();
    showLockIcon();
    const QPointer<RunContainerWidget> self(this);
    Q_EMIT runLockUpdated();
    if (self)
        update();
}

void RunContainerWidget::showLockIcon()
{
    lockButton.setIcon(
        QIcon(runLocked ? QStringLiteral(":/ticketPlugin/runLocked") : QStringLiteral(":/ticketPlugin/runUnlocked")));
}

void RunContainerWidget::makeHistoryRun()
{
    historyRun = true;
    lockButton.hide();
    startButton.hide();
}

void RunContainerWidget::unlockHistoryRun()
{
    runLocked = false;
    changed();
}

void RunContainerWidget::fitToSeats()
{
    relayout(size());
}

void RunContainerWidget::retire()
{
    retired = true;
    hide();
}

bool RunContainerWidget::isInDrag() const
{
    return dragging || hovered;
}

void RunContainerWidget::setStartEnabled(bool enabled)
{
    startButton.setEnabled(enabled);
}

RunRules::ChainLink RunContainerWidget::chainLink() const
{
    return {currentRun, startTime, pauseTime, finishMode, finishParam};
}
