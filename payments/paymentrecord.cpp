#include "payments/paymentrecord.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QStringList>

QString PaymentRecord::uuid(const QJsonObject &payment)
{
    return payment.value(QLatin1String("uuid")).toString();
}

int PaymentRecord::cashierId(const QJsonObject &payment)
{
    return payment.value(QLatin1String("cashierId")).toInt(-1);
}

QVector<QPair<QString, QVariant>> PaymentRecord::values(const QJsonObject &payment, const QDateTime &now)
{
    const auto value = [&payment](const char *key) { return payment.value(QLatin1String(key)); };
    return {
        {QStringLiteral(":pay_date"), now.toUTC()},
        {QStringLiteral(":client_id"), value("clientId").toInt(-1)},
        {QStringLiteral(":first_name"), value("firstName").toString()},
        {QStringLiteral(":last_name"), value("lastName").toString()},
        {QStringLiteral(":mid_name"), value("midName").toString()},
        {QStringLiteral(":sum"), value("paySum").toDouble(0.0)},
        {QStringLiteral(":tariff"), value("price").toDouble(0.0)},
        {QStringLiteral(":discount"), value("discountValue").toString()},
        {QStringLiteral(":price_id"), value("salesCommonId").toInt(-1)},
        {QStringLiteral(":price_type"), value("priceType").toInt(-1)},
        {QStringLiteral(":pay_state"), value("payState").toBool(false)},
        {QStringLiteral(":pay_kind"), value("payMethod").toString()},
        {QStringLiteral(":car_model"), value("carModel").toString()},
        {QStringLiteral(":tickets_count"), value("runCount").toInt(1)},
        {QStringLiteral(":comment"), value("comment").toString()},
    };
}

QString PaymentRecord::withoutMissingParts(QString name)
{
    static const QRegularExpression missingPart(QStringLiteral("\\0 "));
    return name.remove(missingPart);
}

QJsonObject PaymentRecord::batchItem(const QSqlRecord &row)
{
    const auto value = [&row](const char *column) { return row.value(QLatin1String(column)); };
    QString payDate = value("pay_date").toDateTime().toUTC().toString(Qt::ISODate);
    payDate.chop(1);
    QJsonObject item{
        {QStringLiteral("dbId"), value("id").toInt()},
        {QStringLiteral("payState"), value("pay_state").toInt()},
        {QStringLiteral("payDate"), payDate},
        {QStringLiteral("clientId"), value("client_id").toInt()},
        {QStringLiteral("clientName"), withoutMissingParts(value("client_name").toString())},
        {QStringLiteral("sum"), value("sum").toDouble()},
        {QStringLiteral("tariff"), value("tariff").toDouble()},
        {QStringLiteral("discount"), value("discount").toString()},
        {QStringLiteral("payKind"), value("pay_kind").toString()},
        {QStringLiteral("carModel"), value("car_model").toString()},
        {QStringLiteral("itemName"), value("item_name").toString()},
        {QStringLiteral("itemsCount"), value("items_count").toInt()},
        {QStringLiteral("priceId"), value("price_id").toInt()},
        {QStringLiteral("priceType"), value("price_type").toInt()},
        {QStringLiteral("priceTypeName"), value("price_type_name").toString()},
        {QStringLiteral("cashierId"), value("cashier_id").toInt()},
        {QStringLiteral("cashierName"), withoutMissingParts(value("cashier_name").toString())},
    };
    const QString comment = value("comment").toString();
    if (!comment.isEmpty())
        item.insert(QStringLiteral("comment"), comment);
    return item;
}

QString PaymentRecord::takenIds(const QJsonObject &answer)
{
    const QJsonArray taken = answer.value(QLatin1String("updatedList")).toArray();
    QStringList ids;
    ids.reserve(taken.size());
    for (const QJsonValue &id : taken)
        ids.append(QString::number(id.toInt(0)));
    return ids.join(QLatin1Char(','));
}
