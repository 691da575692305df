#ifndef PITLANEHITS_H
#define PITLANEHITS_H

#include <QJsonArray>
#include <QJsonObject>
#include <QVector>

/// What the timing lines of the pit lane tell the desk.
namespace PitLaneHits {

/// The numbers under which the desk knows the two lines.
enum Line { EntryLine = 3, ExitLine = 4 };

/// The event `transponder_hit` of cars that cross a line, in their order. `cars` is the track's list of cars: cars that
/// are not in it or have no transponder cross unseen, so there may be nobody in it.
QJsonObject payload(const QJsonArray &cars, const QVector<int> &carIds, Line line);

} // namespace PitLaneHits

#endif // PITLANEHITS_H
