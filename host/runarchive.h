#ifndef RUNARCHIVE_H
#define RUNARCHIVE_H

#include <QJsonArray>
#include <QJsonObject>

class TrackDatabase;

/// The archive of finished runs in the track's database.
class RunArchive
{
public:
    explicit RunArchive(TrackDatabase *database);

    /// Keeps the record of a run that has left the track. False when the database would not take it.
    bool store(const QJsonObject &record);
    /// Records of the runs that were started at this moment or later (milliseconds since the epoch), newest first.
    QJsonArray startedSince(qint64 startTs) const;
    int nextRunId() const;
    int nextRunNumber() const;

private:
    int highest(const char *sql) const;

    TrackDatabase *m_database;
};

#endif // RUNARCHIVE_H
