#include "registration/checkinitem.h"

#include "registration/checkinrules.h"

#include <QJsonArray>
#include <QVariant>

#include <cstring>
#include <tuple>

bool CheckInFacts::operator==(const CheckInFacts &other) const
{
    const auto facts = [](const CheckInFacts &of) {
        return std::tie(of.firstName, of.lastName, of.midName, of.salesItem, of.salesId, of.carModel, of.carNum,
                        of.carId, of.runCount, of.discountValue, of.color, of.pinCodes, of.payMethod, of.payState,
                        of.uuid, of.regTime, of.clientId, of.nfcUid, of.comment, of.validSafetyAgreement);
    };
    // A sum that is no number is the same as itself here, or its line would never come to rest.
    const auto bitsOf = [](double sum) {
        quint64 bits = 0;
        std::memcpy(&bits, &sum, sizeof(bits));
        return bits;
    };
    return bitsOf(paySum) == bitsOf(other.paySum) && bitsOf(price) == bitsOf(other.price)
           && facts(*this) == facts(other);
}

CheckInItem &CheckInItem::base()
{
    return parent ? *parent : *this;
}

const CheckInItem &CheckInItem::base() const
{
    return parent ? *parent : *this;
}

bool CheckInItem::isEffectivelyPaid() const
{
    return base().payState;
}

QString CheckInItem::fullName() const
{
    return QStringLiteral("%1 %2 %3").arg(lastName, firstName, midName);
}

QJsonObject CheckInItem::toJson() const
{
    QJsonObject json{
        {QLatin1String("firstName"), firstName},
        {QLatin1String("lastName"), lastName},
        {QLatin1String("midName"), midName},
        {QLatin1String("salesItem"), salesItem},
        {QLatin1String("salesId"), salesId},
        {QLatin1String("carModel"), carModel},
        {QLatin1String("carNum"), carNum},
        {QLatin1String("carId"), carId},
        {QLatin1String("paySum"), paySum},
        {QLatin1String("price"), price},
        {QLatin1String("discountValue"), discountValue},
        {QLatin1String("color"), color.name()},
        {QLatin1String("payMethod"), payMethod},
        {QLatin1String("payState"), payState},
        {QLatin1String("uuid"), uuid},
        {QLatin1String("name"), QString(lastName + QLatin1Char(' ') + firstName)},
        {QLatin1String("nfcUid"), nfcUid},
        {QLatin1String("validSafetyAgreement"), validSafetyAgreement},
        {QLatin1String("pinCodes"), QJsonArray::fromStringList(pinCodes)},
        {QLatin1String("regTime"), static_cast<qint64>(regTime)},
        {QLatin1String("clientId"), clientId},
        {QLatin1String("runCount"), runCount},
        {QLatin1String("comment"), comment},
    };
    if (parent) {
        json.insert(QLatin1String("parentUuid"), parent->uuid);
        json.insert(QLatin1String("parentFirstName"), parent->firstName);
        json.insert(QLatin1String("parentLastName"), parent->lastName);
        json.insert(QLatin1String("parentMidName"), parent->midName);
    }
    return json;
}

void CheckInItem::readJson(const QJsonObject &json)
{
    firstName = json.value(QLatin1String("firstName")).toString();
    lastName = json.value(QLatin1String("lastName")).toString();
    midName = json.value(QLatin1String("midName")).toString();
    salesItem = json.value(QLatin1String("salesItem")).toString();
    salesId = json.value(QLatin1String("salesId")).toInt(-1);
    carModel = json.value(QLatin1String("carModel")).toString();
    carNum = json.value(QLatin1String("carNum")).toString();
    carId = json.value(QLatin1String("carId")).toInt(-1);
    paySum = json.value(QLatin1String("paySum")).toDouble(0.0);
    price = json.value(QLatin1String("price")).toDouble(0.0);
    // A damaged count must not bring more codes than a racer may have or the record itself holds.
    const QJsonArray codes = json.value(QLatin1String("pinCodes")).toArray();
    runCount =
        qBound(0, json.value(QLatin1String("runCount")).toInt(1), qMax(CheckInRules::MaxForeignRunCount, codes.size()));
    discountValue = json.value(QLatin1String("discountValue")).toVariant().toString();
    color = QVariant(json.value(QLatin1String("color")).toVariant()).value<QColor>();
    payMethod = json.value(QLatin1String("payMethod")).toString();
    payState = json.value(QLatin1String("payState")).toBool(false);
    uuid = json.value(QLatin1String("uuid")).toString();
    nfcUid = json.value(QLatin1String("nfcUid")).toString();
    validSafetyAgreement = json.value(QLatin1String("validSafetyAgreement")).toBool(false);
    regTime = json.value(QLatin1String("regTime")).toVariant().toULongLong();
    clientId = json.value(QLatin1String("clientId")).toInt(-1);
    comment = json.value(QLatin1String("comment")).toString();
    parentUuid = json.value(QLatin1String("parentUuid")).toString();
    parentFirstName = json.value(QLatin1String("parentFirstName")).toString();
    parentLastName = json.value(QLatin1String("parentLastName")).toString();
    parentMidName = json.value(QLatin1String("parentMidName")).toString();

    pinCodes.clear();
    for (int run = 0; run < runCount; ++run)
        pinCodes.append(codes.at(run).toString());
}
