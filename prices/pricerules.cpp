#include "prices/pricerules.h"

#include "common/jsonread.h"
#include "common/scannumber.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QVariant>

DiscountItem PriceRules::parseDiscount(const QString &text)
{
    DiscountItem discount;
    discount.isFixed = text.startsWith(QLatin1Char('='));
    discount.value = discount.isFixed ? double(ScanNumber::singleAfterEquals(text).value_or(0.0F)) : text.toInt();
    return discount;
}

QString PriceRules::discountText(const DiscountItem &discount)
{
    return (discount.isFixed ? QStringLiteral("=%1") : QStringLiteral("%1")).arg(discount.value);
}

QStringList PriceRules::settingTexts(const QByteArray &json)
{
    const QJsonArray array = JsonRead::array(json).value_or(QJsonArray());
    QStringList texts;
    texts.reserve(array.size());
    for (const QJsonValue &value : array)
        texts.append(value.toVariant().toString());
    return texts;
}

QList<DiscountItem> PriceRules::parseDiscounts(const QByteArray &json)
{
    const QStringList texts = settingTexts(json);
    QList<DiscountItem> discounts;
    discounts.reserve(texts.size());
    for (const QString &text : texts)
        discounts.append(parseDiscount(text));
    return discounts;
}

QByteArray PriceRules::linesJson(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    lines.removeAll(QString());
    return QJsonDocument(QJsonArray::fromStringList(lines)).toJson(QJsonDocument::Compact);
}

QJsonObject PriceRules::priceItemJson(const PriceItem &item)
{
    return QJsonObject{
        {QStringLiteral("salesId"), item.id},
        {QStringLiteral("salesCommonId"), item.commonId},
        {QStringLiteral("salesItem"), item.salesItem},
        {QStringLiteral("carModel"), item.model},
        {QStringLiteral("price"), item.sum},
        {QStringLiteral("color"), item.color.name()},
        {QStringLiteral("availRules"), item.availRules},
        {QStringLiteral("remoteAvail"), item.showRemote},
    };
}
