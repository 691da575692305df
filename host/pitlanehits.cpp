#include "pitlanehits.h"

QJsonObject PitLaneHits::payload(const QJsonArray &cars, const QVector<int> &carIds, Line line)
{
    QJsonArray hits;
    for (const int carId : carIds) {
        for (const QJsonValue &value : cars) {
            const QJsonObject car = value.toObject();
            const int transponderId = car.value(QStringLiteral("transponderId")).toInt();
            if (car.value(QStringLiteral("id")).toInt() == carId && transponderId > 0)
                hits.append(QJsonObject{{QStringLiteral("lineId"), static_cast<int>(line)},
                                        {QStringLiteral("transponderId"), transponderId}});
        }
    }
    return {{QStringLiteral("hits"), hits}};
}
