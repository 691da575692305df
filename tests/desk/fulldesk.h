#ifndef FULLDESK_H
#define FULLDESK_H

#include "trackoffice.h"

#include <QModelIndex>
#include <QTreeView>

/// The track office with the check-in list beside its queue: where racers go to and fro by mouse.
class FullDesk : public TrackOffice
{
public:
    /// A line of the list that may go into the runs: paid, sold the card "Взрослый" for a Sodi, with that many runs;
    /// changed by `more`. Its last name is its identity.
    static QJsonObject line(const QString &uuid, int runs = 1, const QJsonObject &more = {});
    /// Writes the list's journal; before open().
    void seedList(const QVector<QJsonObject> &lines);

    QTreeView *list() const { return desk().find<QTreeView *>(QStringLiteral("tvCheckIn")); }
    /// The name cell of a line.
    QModelIndex at(int row) const { return list()->model()->index(row, 1); }
    /// The name cell of a minor.
    QModelIndex kidAt(int row, int kid) const { return list()->model()->index(kid, 1, list()->model()->index(row, 0)); }
    /// Selects whole lines, and nothing else.
    void select(const QModelIndexList &cells) const;
    /// The middle of a line's name, in pixels of the viewport.
    QPoint place(const QModelIndex &cell) const;

    /// The list as the desk writes it down, minors under `kidsList`. Empties the record of events.
    QVector<QJsonObject> lines();
    /// Identities of the lines, from the top. Empties the record of events.
    QStringList waiting();
    /// The queue as the desk writes it down: rows parted by a stroke, racers by a blank. Empties the record of events.
    QString seats();
};

/// Short fixed texts of drag tests, in which identities and events stand by the dozen.
inline QString operator""_s(const char *name, size_t length)
{
    return QString::fromUtf8(name, static_cast<int>(length));
}

/// What the host hears when the list is told.
inline QStringList listed()
{
    return {"local_request_answer"_s};
}

/// What the host hears when a seat is told: the run's preparation, then the queue.
inline QStringList seated()
{
    return QStringList{"replace_run_preset"_s} + publication();
}

#endif // FULLDESK_H
