#include "pitlane/pitlanecarsmodel.h"

#include "common/deskpaths.h"
#include "common/jsonread.h"
#include "pitlane/pitlanerules.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

constexpr int EntryLine = 3;
constexpr int ExitLine = 4;
const QLatin1String CarsInPitlane("carsInPitlane");

QString journal()
{
    return DeskPaths::journal(QStringLiteral("pitlanestate.json"));
}

} // namespace

PitLaneCarsModel::PitLaneCarsModel(QObject *parent)
    : QObject(parent)
{
    load();
}

void PitLaneCarsModel::transponderHits(const QJsonObject &json)
{
    const QJsonArray hits = json.value(QLatin1String("hits")).toArray();
    for (const QJsonValue &value : hits) {
        const QJsonObject hit = value.toObject();
        const int line = hit.value(QLatin1String("lineId")).toInt(-1);
        const qint32 transponderId = hit.value(QLatin1String("transponderId")).toInt(-1);
        if (line == EntryLine)
            carIn(transponderId);
        else if (line == ExitLine)
            carOut(transponderId);
    }
}

void PitLaneCarsModel::setCarsTable(const QJsonObject &table)
{
    carsByTransponder = table;
}

void PitLaneCarsModel::carIn(qint32 transponderId)
{
    if (indexOf(transponderId) != -1)
        return;
    const PitLaneCar car = PitLaneRules::arrivingCar(&carsByTransponder, transponderId, carsInPitlane.size());
    carsInPitlane.append(car);
    Q_EMIT carPitIn(car.toJson());
    pitlaneData = pitlaneJson();
    save();
    Q_EMIT pitLaneChanged(pitlaneData);
}

void PitLaneCarsModel::carOut(qint32 transponderId)
{
    const int index = indexOf(transponderId);
    if (index == -1) {
        Q_EMIT pitLaneChanged(pitlaneData);
        return;
    }
    Q_EMIT carPitOut(carsInPitlane.at(index).toJson());
    const auto leaves = [transponderId](const PitLaneCar &car) { return car.transponderId == transponderId; };
    carsInPitlane.erase(std::remove_if(carsInPitlane.begin(), carsInPitlane.end(), leaves), carsInPitlane.end());
    for (int position = 0; position < carsInPitlane.size(); ++position)
        carsInPitlane[position].order = position;
    pitlaneData = pitlaneJson();
    save();
    Q_EMIT pitLaneChanged(pitlaneData);
}

void PitLaneCarsModel::clearPitlane()
{
    carsInPitlane.clear();
    pitlaneData = pitlaneJson();
    Q_EMIT pitLaneChanged(pitlaneData);
}

void PitLaneCarsModel::removeSelected()
{
    QList<qint32> selected;
    for (const PitLaneCar &car : qAsConst(carsInPitlane)) {
        if (car.selected)
            selected.append(car.transponderId);
    }
    for (const qint32 transponderId : qAsConst(selected)) {
        const auto present = [transponderId](const PitLaneCar &car) { return car.transponderId == transponderId; };
        const auto marked = [&present](const PitLaneCar &car) { return present(car) && car.selected; };
        // A car that drove out and in again meanwhile is another visit, which nobody has selected.
        if (std::none_of(carsInPitlane.cbegin(), carsInPitlane.cend(), present)
            || std::any_of(carsInPitlane.cbegin(), carsInPitlane.cend(), marked))
            carOut(transponderId);
    }
}

void PitLaneCarsModel::setCarRect(int index, const QRect &rect)
{
    carsInPitlane[index].rect = rect;
}

bool PitLaneCarsModel::selectAt(const QPoint &position)
{
    bool changed = false;
    for (PitLaneCar &car : carsInPitlane) {
        const bool selected = car.rect.contains(position);
        changed = changed || car.selected != selected;
        car.selected = selected;
    }
    return changed;
}

QJsonObject PitLaneCarsModel::pitlaneJson() const
{
    QJsonArray cars;
    for (const PitLaneCar &car : carsInPitlane)
        cars.append(car.toJson());
    return {{CarsInPitlane, cars}};
}

void PitLaneCarsModel::load()
{
    QFile file(journal());
    if (file.open(QIODevice::ReadOnly)) {
        pitlaneData = JsonRead::object(file.readAll()).value_or(QJsonObject());
        const QJsonArray cars = pitlaneData.value(CarsInPitlane).toArray();
        for (const QJsonValue &car : cars)
            carsInPitlane.append(PitLaneCar::fromJson(car.toObject()));
    }
    Q_EMIT pitLaneChanged(pitlaneData);
}

void PitLaneCarsModel::save() const
{
    const QByteArray bytes = QJsonDocument(pitlaneData).toJson();
    QFile file(journal());
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

int PitLaneCarsModel::indexOf(qint32 transponderId) const
{
    for (int index = 0; index < carsInPitlane.size(); ++index) {
        if (carsInPitlane.at(index).transponderId == transponderId)
            return index;
    }
    return -1;
}
