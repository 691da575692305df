#include "pitlane/pitlanerules.h"

#include <QHash>
#include <QVariant>

namespace {

const QLatin1String TransponderId("transponderId");
const QLatin1String CarModel("carModel");
const QLatin1String CarNum("carNum");
const QLatin1String Color("color");

/// Far more than any track has cars: a decoder that hears ghosts for months must not fill the memory.
constexpr int MaxEntries = 10000;
constexpr int LightestDark = 179;

void forgetStrangers(QJsonObject *table)
{
    for (auto entry = table->begin(); entry != table->end();) {
        if (entry.value().toObject().isEmpty())
            entry = table->erase(entry);
        else
            ++entry;
    }
}

} // namespace

QJsonObject PitLaneRules::transponderTable(const QJsonArray &cars, const QList<PriceItem> &prices)
{
    QHash<QString, QString> colors;
    for (const PriceItem &item : prices) {
        if (!colors.contains(item.model))
            colors.insert(item.model, item.color.name());
    }
    QJsonObject table;
    for (const QJsonValue &value : cars) {
        const QJsonObject car = value.toObject();
        const qint32 id = car.value(QLatin1String("transponderId")).toInt(0);
        const QString model = car.value(QLatin1String("name")).toString();
        QJsonObject entry{
            {TransponderId, id},
            {CarModel, model},
            {CarNum, car.value(QLatin1String("num")).toVariant().toString()},
        };
        const auto color = colors.constFind(model);
        if (color != colors.constEnd())
            entry.insert(Color, color.value());
        table.insert(QString::number(id), entry);
    }
    return table;
}

PitLaneCar PitLaneRules::arrivingCar(QJsonObject *table, qint32 transponderId, int position)
{
    const QString key = QString::number(transponderId);
    if (table->size() >= MaxEntries && !table->contains(key))
        forgetStrangers(table);
    PitLaneCar car;
    car.transponderId = transponderId;
    const QJsonObject entry = (*table)[key].toObject();
    car.isUnknown = entry.isEmpty();
    if (!car.isUnknown) {
        car.model = entry.value(CarModel).toString();
        car.num = entry.value(CarNum).toString();
        car.color = entry.value(Color).toString();
        car.order = position;
    }
    return car;
}

QMap<QString, QList<int>> PitLaneRules::columns(const QList<PitLaneCar> &cars)
{
    QMap<QString, QList<int>> columns;
    for (int index = 0; index < cars.size(); ++index)
        columns[cars.at(index).model].append(index);
    return columns;
}

QColor PitLaneRules::textColor(const QColor &tile)
{
    // Whole numbers: a grey of 180 has to come out as 180.
    const int luminance = (tile.green() * 7152 + tile.red() * 2126 + tile.blue() * 722) / 10000;
    return luminance > LightestDark ? Qt::black : Qt::white;
}
