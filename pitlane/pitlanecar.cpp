#include "pitlane/pitlanecar.h"

PitLaneCar PitLaneCar::fromJson(const QJsonObject &json)
{
    PitLaneCar car;
    car.num = json.value(QLatin1String("num")).toString();
    car.model = json.value(QLatin1String("model")).toString();
    car.color = json.value(QLatin1String("color")).toString();
    car.order = json.value(QLatin1String("order")).toInt(-1);
    car.isBusy = json.value(QLatin1String("isBusy")).toBool(false);
    car.isUnknown = json.value(QLatin1String("isUnknown")).toBool(false);
    car.transponderId = json.value(QLatin1String("transponderId")).toInt(-1);
    return car;
}

QJsonObject PitLaneCar::toJson() const
{
    return {
        {QLatin1String("num"), num},
        {QLatin1String("model"), model},
        {QLatin1String("color"), color},
        {QLatin1String("order"), order},
        {QLatin1String("isBusy"), isBusy},
        {QLatin1String("isUnknown"), isUnknown},
        {QLatin1String("transponderId"), transponderId},
    };
}
