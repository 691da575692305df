#include "runqueue/runrules.h"

#include "common/scannumber.h"

#include <QJsonObject>
#include <QJsonValue>

#include <algorithm>
#include <vector>

namespace {

constexpr int Gap = 4;
constexpr int GridLeft = 116;
constexpr int GridTop = 4;

int carNumber(const QJsonObject &car)
{
    return ScanNumber::integer(car.value(QLatin1String("num")).toVariant().toString()).value_or(-1);
}

} // namespace

qint64 RunRules::plannedDuration(int finishMode, int finishParam, int defaultRunDuration)
{
    return finishMode == FinishByLaps ? defaultRunDuration : finishParam;
}

void RunRules::planStartTimes(QVector<ChainLink> &queue, TrackRun &track, qint64 now, int defaultRunDuration,
                              bool fixed)
{
    qint64 time = now;
    for (const ChainLink &run : qAsConst(queue)) {
        if (run.current && run.startTime != 0) {
            time = run.startTime - run.pauseTime;
            track.start = 0;
        }
    }
    if (track.start > 0) {
        time += defaultRunDuration;
        if (track.finishType == QLatin1String("finishByTime"))
            time = qMax(time, track.start + track.finishParam);
    }
    for (ChainLink &run : queue) {
        if (!fixed)
            run.startTime = time + run.pauseTime;
        time = run.startTime + plannedDuration(run.finishMode, run.finishParam, defaultRunDuration);
    }
}

int RunRules::numberFromName(const QString &name)
{
    const int sign = name.indexOf(QChar(0x2116));
    return sign == -1 ? -1 : ScanNumber::integer(name.mid(sign + 1)).value_or(-1);
}

RunRules::CellGrid RunRules::CellGrid::forWidth(int width, int cellCount)
{
    CellGrid grid;
    grid.columns = qMax(1, (width - GridLeft) / (CellSize.width() + Gap));
    grid.rows = (cellCount - 1 + grid.columns) / grid.columns;
    grid.height = grid.rows * (CellSize.height() + Gap) + GridTop;
    return grid;
}

QRect RunRules::CellGrid::cell(int index) const
{
    return QRect(QPoint((CellSize.width() + Gap) * (index % columns) + GridLeft,
                        (CellSize.height() + Gap) * (index / columns) + GridTop),
                 CellSize);
}

int RunRules::firstFit(int &after, int rowCount, const std::function<bool(int)> &exists,
                       const std::function<bool(int)> &accepts)
{
    for (int row = after + 1; row < rowCount; ++row) {
        if (!exists(row))
            continue;
        if (accepts(row))
            return row;
        ++after;
    }
    return -1;
}

QJsonArray RunRules::sortedByNumber(const QJsonArray &cars)
{
    std::vector<QJsonObject> sorted;
    sorted.reserve(static_cast<size_t>(cars.size()));
    for (const QJsonValue &car : cars)
        sorted.push_back(car.toObject());
    std::stable_sort(sorted.begin(), sorted.end(), [](const QJsonObject &left, const QJsonObject &right) {
        const int leftNumber = carNumber(left);
        const int rightNumber = carNumber(right);
        return leftNumber != -1 && (rightNumber == -1 || leftNumber < rightNumber);
    });
    QJsonArray result;
    for (const QJsonObject &car : sorted)
        result.append(car);
    return result;
}

int RunRules::convertedFinishParam(int finishParam, int oldMode, int newMode)
{
    constexpr qint64 SecondsInMinute = 60;
    if (oldMode == FinishByLaps && newMode == FinishByTime)
        return static_cast<int>(qBound<qint64>(INT_MIN, finishParam * SecondsInMinute, INT_MAX));
    if (oldMode == FinishByTime && newMode == FinishByLaps)
        return static_cast<int>(finishParam / SecondsInMinute);
    return finishParam;
}
