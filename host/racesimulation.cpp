#include "racesimulation.h"

#include <algorithm>
#include <limits>

namespace {

constexpr qint64 reportMs = 1000;
constexpr qint64 msInSecond = 1000;
constexpr int secondsInMinute = 60;

// The first racer is on the line soon after the start, the others follow at this distance.
constexpr qint64 firstCrossingMs = 3000;
constexpr qint64 distanceMs = 1500;

QString text(const QJsonObject &payload, const char *key)
{
    return payload.value(QLatin1String(key)).toString();
}

int number(const QJsonObject &payload, const char *key, int fallback)
{
    return payload.value(QLatin1String(key)).toInt(fallback);
}

} // namespace

RaceSimulation::RaceSimulation(const Clock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
}

void RaceSimulation::setSpeed(int speed)
{
    m_speed = qMax(1, speed);
}

void RaceSimulation::setNextRunNumber(int number)
{
    m_nextRunNumber = number;
    announce();
}

void RaceSimulation::announce()
{
    Q_EMIT said(QStringLiteral("next_run_info"), {{QStringLiteral("nextRunNum"), m_nextRunNumber}});
}

RaceSimulation::State RaceSimulation::state() const
{
    return m_run ? m_run->state : NoRun;
}

QString RaceSimulation::runName() const
{
    return m_run ? m_run->name : QString();
}

qint64 RaceSimulation::elapsed() const
{
    return m_run ? m_run->elapsedMs : 0;
}

bool RaceSimulation::take(const QString &event, const QJsonObject &payload)
{
    static const struct
    {
        const char *event;
        Handler handler;
    } handlers[] = {
        {"start_run", &RaceSimulation::onStartRun},
        {"finish_run", &RaceSimulation::onFinishRun},
        {"close_run", &RaceSimulation::onCloseRun},
        {"insert_hit", &RaceSimulation::onInsertHit},
        {"replace_run_preset", &RaceSimulation::onReplaceRunPreset},
        {"switch_car", &RaceSimulation::onSwitchCar},
        {"update_run_params", &RaceSimulation::onUpdateRunParams},
        {"current_run_finish_params", &RaceSimulation::onCurrentRunFinishParams},
    };
    for (const auto &entry : handlers) {
        if (event == QLatin1String(entry.event)) {
            // What the desk asks for happens now, behind everything that was driven until now.
            drive();
            (this->*entry.handler)(payload);
            return true;
        }
    }
    return false;
}

RaceSimulation::FinishType RaceSimulation::finishTypeOf(const QString &useAutoFinish)
{
    if (useAutoFinish == QLatin1String("TIME"))
        return FinishByTime;
    return useAutoFinish == QLatin1String("LAPS") ? FinishByLaps : FinishNone;
}

void RaceSimulation::onStartRun(const QJsonObject &payload)
{
    // A run that is over makes room for the next one; a run that is being driven does not.
    if (state() == Finished)
        closeRun();
    if (m_run)
        return;

    Run run;
    run.id = m_nextRunId++;
    run.number = m_nextRunNumber;
    run.guid = text(payload, "runQueueGuid");
    run.name = text(payload, "runName");
    if (run.name.isEmpty())
        run.name = tr("Заезд №%1").arg(run.number);
    run.finishType = finishTypeOf(text(payload, "useAutoFinish"));
    run.finishParam = number(payload, "autoFinishParam", 0);
    run.sortMode = number(payload, "sortMode", 0);
    m_driven = m_clock();
    run.startTs = m_driven;
    m_run = run;
    m_reported = 0;
    seat(payload.value(QStringLiteral("preparation")).toArray());
    Q_EMIT said(QStringLiteral("new_run_started"), {
                                                       {QStringLiteral("runNum"), run.number},
                                                       {QStringLiteral("finishType"), static_cast<int>(run.finishType)},
                                                       {QStringLiteral("finishParam"), run.finishParam},
                                                       {QStringLiteral("runQueueGuid"), run.guid},
                                                       {QStringLiteral("runName"), run.name},
                                                   });
    moveCars();
}

void RaceSimulation::onFinishRun(const QJsonObject &payload)
{
    Q_UNUSED(payload)
    finishRun();
}

void RaceSimulation::onCloseRun(const QJsonObject &payload)
{
    if (isOnTrack(text(payload, "runQueueGuid")))
        closeRun();
}

void RaceSimulation::onInsertHit(const QJsonObject &payload)
{
    const bool meant = m_run && number(payload, "runId", -1) == m_run->id;
    if (!meant || text(payload, "flag") != QLatin1String("RED"))
        return;
    if (m_run->state == Running || payload.value(QStringLiteral("doRestartIfNeeded")).toBool())
        toggleRedFlag();
}

void RaceSimulation::onReplaceRunPreset(const QJsonObject &payload)
{
    if (isOnTrack(text(payload, "runQueueGuid")) && canChange())
        seat(payload.value(QStringLiteral("preset")).toArray());
    moveCars();
}

void RaceSimulation::onSwitchCar(const QJsonObject &payload)
{
    if (!m_run || number(payload, "runId", -1) != m_run->id)
        return;
    for (Racer &racer : m_run->racers) {
        if (racer.competitorId == number(payload, "competitorId", -1))
            racer.carId = number(payload, "carId", -1);
    }
    moveCars();
}

void RaceSimulation::onUpdateRunParams(const QJsonObject &payload)
{
    if (!isOnTrack(text(payload, "runQueueGuid")) || !canChange())
        return;
    const int param = number(payload, "finishParam", m_run->finishParam);
    // A whole record comes in the run's own unit. The short form comes in minutes or laps.
    if (payload.contains(QStringLiteral("finishMode"))) {
        m_run->finishType = number(payload, "finishMode", 1) == 2 ? FinishByLaps : FinishByTime;
        m_run->finishParam = param;
        m_run->sortMode = number(payload, "sortMode", 0);
    } else {
        const qint64 factor = m_run->finishType == FinishByLaps ? 1 : secondsInMinute;
        m_run->finishParam = static_cast<int>(qBound<qint64>(0, param * factor, std::numeric_limits<int>::max()));
    }
    m_reported = 0;
}

void RaceSimulation::onCurrentRunFinishParams(const QJsonObject &payload)
{
    if (!canChange())
        return;
    m_run->finishType = finishTypeOf(text(payload, "useAutoFinish"));
    m_run->finishParam = number(payload, "autoFinishParam", 0);
    m_reported = 0;
}

void RaceSimulation::seat(const QJsonArray &preset)
{
    QVector<Racer> racers;
    for (const QJsonValue &value : preset) {
        const QJsonObject row = value.toObject();
        Racer racer;
        racer.competitorId = number(row, "competitorId", -1);
        const auto known = std::find_if(m_run->racers.cbegin(), m_run->racers.cend(), [&racer](const Racer &other) {
            return other.competitorId == racer.competitorId;
        });
        if (known != m_run->racers.cend())
            racer = *known;
        else
            racer.nextCrossingMs = m_run->elapsedMs + firstCrossingMs + racers.size() * distanceMs;
        racer.name = text(row, "name");
        racer.carId = number(row, "carId", -1);
        racers.append(racer);
    }
    m_run->racers = racers;
}

void RaceSimulation::advance()
{
    drive();
    if (m_run && (m_reported == 0 || m_driven - m_reported >= reportMs))
        report();
}

void RaceSimulation::drive()
{
    const qint64 now = m_clock();
    // A clock that was set back stands still for the run.
    const qint64 driven = qMax<qint64>(0, now - m_driven) * m_speed;
    m_driven = now;
    if (!m_run || m_run->state != Running)
        return;

    const bool byTime = m_run->finishType == FinishByTime && m_run->finishParam > 0;
    const qint64 limit = byTime ? m_run->finishParam * msInSecond : std::numeric_limits<qint64>::max();
    const qint64 target = qMin(m_run->elapsedMs + driven, limit);
    while (m_run->state == Running) {
        const auto next =
            std::min_element(m_run->racers.begin(), m_run->racers.end(), [](const Racer &left, const Racer &right) {
                return left.nextCrossingMs < right.nextCrossingMs;
            });
        if (next == m_run->racers.end() || next->nextCrossingMs > target)
            break;
        m_run->elapsedMs = next->nextCrossingMs;
        cross(&*next);
    }
    if (m_run->state != Running)
        return;
    m_run->elapsedMs = target;
    if (target >= limit)
        end();
}

void RaceSimulation::cross(Racer *racer)
{
    if (racer->state == NotSeen) {
        racer->state = OnTrack;
    } else {
        racer->lastLapMs = m_run->elapsedMs - racer->lastCrossingMs;
        racer->bestLapMs = racer->laps == 0 ? racer->lastLapMs : qMin(racer->bestLapMs, racer->lastLapMs);
        ++racer->laps;
    }
    racer->lastCrossingMs = m_run->elapsedMs;
    racer->nextCrossingMs = m_run->elapsedMs + lapTime(racer->competitorId, racer->laps);
    const bool lapsAreDriven = m_run->finishType == FinishByLaps && m_run->finishParam > 0;
    if (lapsAreDriven && racer->laps >= m_run->finishParam)
        end();
}

qint64 RaceSimulation::lapTime(int competitorId, int lap)
{
    // Every racer has a pace, and no lap is like the one before; the same run always goes the same way.
    const auto seed = static_cast<quint32>(competitorId);
    return 29000 + (seed * 2654435761U) % 5000U + (seed * 31U + static_cast<quint32>(lap) * 977U) % 1200U;
}

void RaceSimulation::finishRun()
{
    if (canChange())
        end();
}

void RaceSimulation::end()
{
    m_run->state = Finished;
    for (Racer &racer : m_run->racers) {
        if (racer.state == OnTrack)
            racer.state = Home;
    }
    m_reported = 0;
    moveCars();
}

void RaceSimulation::moveCars()
{
    // Whoever has a car drives it until the run is finished; a racer without one waits beside the track.
    QVector<int> wanted;
    if (canChange()) {
        for (const Racer &racer : qAsConst(m_run->racers)) {
            if (racer.carId >= 0 && !wanted.contains(racer.carId))
                wanted.append(racer.carId);
        }
    }
    const QVector<int> before = m_carsOut;
    m_carsOut = wanted;
    const auto without = [](QVector<int> cars, const QVector<int> &others) {
        cars.erase(std::remove_if(cars.begin(), cars.end(), [&others](int car) { return others.contains(car); }),
                   cars.end());
        return cars;
    };
    const QVector<int> in = without(before, wanted);
    const QVector<int> out = without(wanted, before);
    if (!in.isEmpty())
        Q_EMIT carsCameIn(in);
    if (!out.isEmpty())
        Q_EMIT carsLeft(out);
}

void RaceSimulation::toggleRedFlag()
{
    if (!canChange())
        return;
    m_run->state = m_run->state == Running ? RedFlag : Running;
    m_reported = 0;
}

void RaceSimulation::closeRun()
{
    if (!m_run)
        return;
    const QJsonObject closed = record();
    const QString guid = m_run->guid;
    m_nextRunNumber = m_run->number + 1;
    m_run.reset();
    moveCars();
    Q_EMIT said(QStringLiteral("run_closed"), {{QStringLiteral("runQueueGuid"), guid}});
    Q_EMIT runClosed(closed);
    announce();
}

void RaceSimulation::report()
{
    static const QString finishWords[] = {QStringLiteral("finishNone"), QStringLiteral("finishByTime"),
                                          QStringLiteral("finishByLaps")};
    static const QString stateWords[] = {QString(), QStringLiteral("running"), QStringLiteral("redFlag"),
                                         QStringLiteral("finished")};
    m_reported = m_driven;
    const QString guid = m_run->guid;
    const QJsonArray reported = results();
    Q_EMIT said(QStringLiteral("refresh_run_info"), {
                                                        {QStringLiteral("runNum"), m_run->number},
                                                        {QStringLiteral("runId"), m_run->id},
                                                        {QStringLiteral("runName"), m_run->name},
                                                        {QStringLiteral("runQueueGuid"), guid},
                                                        {QStringLiteral("runStartTs"), m_run->startTs},
                                                        {QStringLiteral("runState"), stateWords[m_run->state]},
                                                        {QStringLiteral("finishParam"), m_run->finishParam},
                                                        {QStringLiteral("finishType"), finishWords[m_run->finishType]},
                                                    });
    Q_EMIT said(QStringLiteral("refresh_run_results"),
                {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("results"), reported}});
}

QJsonArray RaceSimulation::results() const
{
    QVector<Racer> order = m_run->racers;
    const bool byPosition = m_run->sortMode == 1;
    std::stable_sort(order.begin(), order.end(), [byPosition](const Racer &left, const Racer &right) {
        const bool leftDrove = left.laps > 0;
        const bool rightDrove = right.laps > 0;
        if (!leftDrove || !rightDrove)
            return leftDrove && !rightDrove;
        if (!byPosition)
            return left.bestLapMs < right.bestLapMs;
        return left.laps != right.laps ? left.laps > right.laps : left.lastCrossingMs < right.lastCrossingMs;
    });
    QJsonArray rows;
    for (const Racer &racer : qAsConst(order)) {
        rows.append(QJsonObject{
            {QStringLiteral("competitorId"), racer.competitorId},
            {QStringLiteral("name"), racer.name},
            {QStringLiteral("carId"), racer.carId},
            {QStringLiteral("state"), static_cast<int>(racer.state)},
            {QStringLiteral("position"), rows.size() + 1},
            {QStringLiteral("laps"), racer.laps},
            {QStringLiteral("lastLapMs"), racer.lastLapMs},
            {QStringLiteral("bestLapMs"), racer.bestLapMs},
        });
    }
    return rows;
}

QJsonObject RaceSimulation::record() const
{
    return {
        {QStringLiteral("runId"), m_run->id},
        {QStringLiteral("runNum"), m_run->number},
        {QStringLiteral("runName"), m_run->name},
        {QStringLiteral("runQueueGuid"), m_run->guid},
        {QStringLiteral("runStartTs"), m_run->startTs},
        {QStringLiteral("finishType"), static_cast<int>(m_run->finishType)},
        {QStringLiteral("finishParam"), m_run->finishParam},
        {QStringLiteral("sortMode"), m_run->sortMode},
        {QStringLiteral("durationMs"), m_run->elapsedMs},
        {QStringLiteral("results"), results()},
    };
}
