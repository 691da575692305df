#ifndef RUNTIMING_H
#define RUNTIMING_H

#include "pitlanehits.h"
#include "racesimulation.h"
#include "runarchive.h"

#include <QObject>
#include <QTimer>

class DeskPluginLoader;

/// Lets the simulated track talk with the desk and keeps its runs in the archive. Everything that is said to the desk
/// comes from the event loop, never from inside the desk's own call.
class RunTiming : public QObject
{
    Q_OBJECT

public:
    RunTiming(DeskPluginLoader *desk, TrackDatabase *database, QObject *parent = nullptr);

    RaceSimulation &track() { return m_track; }
    /// The run on the track in one line, for the window.
    QString description() const;

Q_SIGNALS:
    void changed();

private:
    void onReceived(const QString &module, const QString &event, const QJsonObject &payload);
    void onRunClosed(const QJsonObject &record);
    void say(const QString &event, const QJsonObject &payload);
    void sendArchive(int limitHours);
    void sayHits(const QVector<int> &carIds, PitLaneHits::Line line);
    void tick();

    DeskPluginLoader *m_desk;
    TrackDatabase *m_database;
    RunArchive m_archive;
    RaceSimulation m_track;
    QTimer m_timer;
};

#endif // RUNTIMING_H
