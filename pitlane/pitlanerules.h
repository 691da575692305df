#ifndef PITLANERULES_H
#define PITLANERULES_H

#include "pitlane/pitlanecar.h"
#include "prices/priceitem.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

/// What the pit lane shows of a transponder, and how its tiles stand and are labelled.
namespace PitLaneRules {

/// The cars of the track by transponder, the id's decimal text as the key. A model's colour is that of its first price
/// item; without one the entry has none.
QJsonObject transponderTable(const QJsonArray &cars, const QList<PriceItem> &prices);

/// The car that just drove in. `table` is left with an empty entry for a transponder that it does not know; when too many
/// of these have gathered, it first forgets the earlier ones. `position` is the car's place in the list.
PitLaneCar arrivingCar(QJsonObject *table, qint32 transponderId, int position);

/// Columns of tiles: positions in `cars`, in their order, by model. The empty model comes first.
QMap<QString, QList<int>> columns(const QList<PitLaneCar> &cars);

/// Black on a light tile, white on a dark one.
QColor textColor(const QColor &tile);

} // namespace PitLaneRules

#endif // PITLANERULES_H
