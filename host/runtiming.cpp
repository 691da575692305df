#include "runtiming.h"

#include "deskpluginloader.h"
#include "trackdatabase.h"

#include <QDateTime>
#include <QTime>

namespace {

constexpr int tickMs = 100;
constexpr qint64 msInHour = 3600000;

} // namespace

RunTiming::RunTiming(DeskPluginLoader *desk, TrackDatabase *database, QObject *parent)
    : QObject(parent)
    , m_desk(desk)
    , m_database(database)
    , m_archive(database)
    , m_track(&QDateTime::currentMSecsSinceEpoch)
{
    m_track.setNextRunId(m_archive.nextRunId());
    m_track.setNextRunNumber(m_archive.nextRunNumber());
    connect(m_desk, &DeskPluginLoader::received, this, &RunTiming::onReceived);
    connect(&m_track, &RaceSimulation::said, this, &RunTiming::say);
    connect(&m_track, &RaceSimulation::runClosed, this, &RunTiming::onRunClosed);
    connect(&m_track, &RaceSimulation::carsLeft, this,
            [this](const QVector<int> &carIds) { sayHits(carIds, PitLaneHits::ExitLine); });
    connect(&m_track, &RaceSimulation::carsCameIn, this,
            [this](const QVector<int> &carIds) { sayHits(carIds, PitLaneHits::EntryLine); });
    connect(&m_timer, &QTimer::timeout, this, &RunTiming::tick);
    m_timer.start(tickMs);
}

void RunTiming::onReceived(const QString &module, const QString &event, const QJsonObject &payload)
{
    Q_UNUSED(module)
    if (event == QLatin1String("reload_runs_archive"))
        sendArchive(payload.value(QStringLiteral("limitHours")).toInt());
    else if (m_track.take(event, payload))
        Q_EMIT changed();
}

void RunTiming::onRunClosed(const QJsonObject &record)
{
    if (m_archive.store(record))
        say(QStringLiteral("run_saved_to_db"), QJsonObject());
}

void RunTiming::say(const QString &event, const QJsonObject &payload)
{
    QTimer::singleShot(0, this, [this, event, payload] { m_desk->send(event, payload); });
}

void RunTiming::sayHits(const QVector<int> &carIds, PitLaneHits::Line line)
{
    say(QStringLiteral("transponder_hit"), PitLaneHits::payload(m_database->cars(), carIds, line));
}

void RunTiming::sendArchive(int limitHours)
{
    QTimer::singleShot(0, this, [this, limitHours] {
        const qint64 since = QDateTime::currentMSecsSinceEpoch() - limitHours * msInHour;
        m_desk->send(QStringLiteral("runs_archive_list"), {
                                                              {QStringLiteral("limitHours"), limitHours},
                                                              {QStringLiteral("runs"), m_archive.startedSince(since)},
                                                          });
    });
}

void RunTiming::tick()
{
    m_track.advance();
    Q_EMIT changed();
}

QString RunTiming::description() const
{
    static const QString words[] = {QString(), tr("едет"), tr("красный флаг"), tr("финиш")};
    if (m_track.state() == RaceSimulation::NoRun)
        return tr("Трасса свободна");
    const QString time = QTime::fromMSecsSinceStartOfDay(static_cast<int>(qMin<qint64>(m_track.elapsed(), 86399999)))
                             .toString(QStringLiteral("H:mm:ss"));
    return tr("%1: %2, %3").arg(m_track.runName(), words[m_track.state()], time);
}
