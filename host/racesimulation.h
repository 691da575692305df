#ifndef RACESIMULATION_H
#define RACESIMULATION_H

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QVector>

#include <functional>
#include <optional>

/// The track with its timing: at most one run stands on it, is driven by made-up racers, and is told to the desk as a
/// timing application tells it. Has no timer, no window and no database: somebody calls `advance()` now and then, and
/// every call brings the run up to what the clock says.
class RaceSimulation : public QObject
{
    Q_OBJECT

public:
    /// Milliseconds since the epoch, UTC.
    using Clock = std::function<qint64()>;

    enum State { NoRun, Running, RedFlag, Finished };

    explicit RaceSimulation(const Clock &clock, QObject *parent = nullptr);

    /// How many seconds on the track a second of the clock is worth, at least 1.
    void setSpeed(int speed);
    /// Number of the run that is started next. Tells the desk.
    void setNextRunNumber(int number);
    int nextRunNumber() const { return m_nextRunNumber; }
    /// The timing's own number of the run that is started next.
    void setNextRunId(int id) { m_nextRunId = id; }

    State state() const;
    /// Name of the run on the track; empty without one.
    QString runName() const;
    /// Milliseconds driven in the run on the track.
    qint64 elapsed() const;

    /// Takes an event of the desk. False when the track has nothing to do with it.
    bool take(const QString &event, const QJsonObject &payload);
    /// Brings the run up to now: crossings, finish, and the report that is due once a second.
    void advance();
    /// Tells the number of the next run, as a desk that has just been loaded needs it.
    void announce();

    void finishRun();
    /// Stops the run, or lets it go on.
    void toggleRedFlag();
    /// Takes the run off the track, finished or not.
    void closeRun();

Q_SIGNALS:
    /// An event for the desk.
    void said(const QString &event, const QJsonObject &payload);
    /// A run has left the track; its record is what the archive keeps.
    void runClosed(const QJsonObject &record);
    /// Cars come out of the pit lane, or go back into it.
    void carsLeft(const QVector<int> &carIds);
    void carsCameIn(const QVector<int> &carIds);

private:
    enum FinishType { FinishNone, FinishByTime, FinishByLaps };
    enum RacerState { NotSeen, OnTrack, Home };

    struct Racer
    {
        int competitorId = -1;
        QString name;
        int carId = -1;
        RacerState state = NotSeen;
        int laps = 0;
        qint64 lastLapMs = 0;
        qint64 bestLapMs = 0;
        qint64 lastCrossingMs = 0;
        qint64 nextCrossingMs = 0;
    };

    struct Run
    {
        int id = -1;
        int number = 0;
        QString guid;
        QString name;
        FinishType finishType = FinishNone;
        /// Seconds or laps; nothing ends by itself at 0 or below.
        int finishParam = 0;
        int sortMode = 0;
        State state = Running;
        qint64 startTs = 0;
        qint64 elapsedMs = 0;
        QVector<Racer> racers;
    };

    using Handler = void (RaceSimulation::*)(const QJsonObject &);

    void onStartRun(const QJsonObject &payload);
    void onFinishRun(const QJsonObject &payload);
    void onCloseRun(const QJsonObject &payload);
    void onInsertHit(const QJsonObject &payload);
    void onReplaceRunPreset(const QJsonObject &payload);
    void onSwitchCar(const QJsonObject &payload);
    void onUpdateRunParams(const QJsonObject &payload);
    void onCurrentRunFinishParams(const QJsonObject &payload);

    void seat(const QJsonArray &preset);
    void drive();
    void cross(Racer *racer);
    void end();
    void report();
    void moveCars();
    bool isOnTrack(const QString &guid) const { return m_run && m_run->guid == guid; }
    bool canChange() const { return m_run && m_run->state != Finished; }
    QJsonArray results() const;
    QJsonObject record() const;

    static FinishType finishTypeOf(const QString &useAutoFinish);
    static qint64 lapTime(int competitorId, int lap);

    Clock m_clock;
    int m_speed = 1;
    int m_nextRunNumber = 1;
    int m_nextRunId = 1;
    std::optional<Run> m_run;
    /// Cars that are out of the pit lane.
    QVector<int> m_carsOut;
    /// Clock of the last call of `advance()`.
    qint64 m_driven = 0;
    /// Clock of the last report; 0 asks for one at once.
    qint64 m_reported = 0;
};

#endif // RACESIMULATION_H
