#ifndef RUNRULES_H
#define RUNRULES_H

#include <QJsonArray>
#include <QRect>
#include <QSize>
#include <QString>
#include <QVector>

#include <functional>

/// The rules of the queue, free of widgets and clock. Times are seconds since the epoch, UTC; durations are seconds.
namespace RunRules {

constexpr int FinishByTime = 1;
constexpr int FinishByLaps = 2;

/// How long a run counts in the chain of start times. A run by laps counts for the default duration's number as it
/// stands, which is minutes elsewhere; planned times have always been worked out so.
qint64 plannedDuration(int finishMode, int finishParam, int defaultRunDuration);

/// One run of the queue, as the chain of start times sees it.
struct ChainLink
{
    bool current = false;
    qint64 startTime = 0;
    qint64 pauseTime = 0;
    int finishMode = FinishByTime;
    int finishParam = 0;
};

/// A run on the track that the queue may not know.
struct TrackRun
{
    /// 0 if there is none.
    qint64 start = 0;
    int finishParam = 0;
    QString finishType;
};

/// Plans the start times of a queue at the time `now`; `track.start` falls to 0 if a run of the queue is the one on the
/// track. With `fixed` times nothing moves.
void planStartTimes(QVector<ChainLink> &queue, TrackRun &track, qint64 now, int defaultRunDuration, bool fixed);

/// The number behind "№" in a run's name, or -1.
int numberFromName(const QString &name);

/// The cells of a run: how many stand side by side in a widget of a given width, and where each one is.
struct CellGrid
{
    int columns = 1;
    int rows = 0;
    /// Height of the whole run.
    int height = 0;

    static CellGrid forWidth(int width, int cellCount);
    QRect cell(int index) const;
};

/// Size of a cell in pixels.
constexpr QSize CellSize(80, 64);

/// The first row behind `after` that accepts, looking at the rows up to `rowCount`; every row that refuses moves `after`
/// on by one. -1 if none accepts.
int firstFit(int &after, int rowCount, const std::function<bool(int row)> &exists,
             const std::function<bool(int row)> &accepts);

/// Cars (CarRecords) by the number on them; cars without a number at the end.
QJsonArray sortedByNumber(const QJsonArray &cars);

/// A finish parameter after a change of the finish mode: laps become minutes and minutes laps.
int convertedFinishParam(int finishParam, int oldMode, int newMode);

} // namespace RunRules

#endif // RUNRULES_H
