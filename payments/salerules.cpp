#include "payments/salerules.h"

#include <QJsonValue>
#include <QRegularExpression>
#include <QVariant>

namespace {

const QLatin1Char AmountMark('=');
const QLatin1Char Blank(' ');

/// A decimal point vanishes here too: the digits on both sides run together.
double digitsOf(QString text)
{
    text.remove(QRegularExpression(QStringLiteral("[\\D]")));
    return text.toDouble();
}

} // namespace

QLocale SaleRules::moneyLocale()
{
    return QLocale(QLocale::C, QLocale::AnyCountry);
}

QString SaleRules::discountEntry(const DiscountItem &discount)
{
    if (discount.isFixed)
        return QStringLiteral("%1 %2").arg(QString::number(discount.value), moneyLocale().currencySymbol());
    return QStringLiteral("%1 %").arg(discount.value);
}

QString SaleRules::recordedDiscount(const QString &text)
{
    QString recorded = text;
    return recorded.remove(Blank);
}

double SaleRules::unitDiscount(const QString &text, double price)
{
    const QString discount = recordedDiscount(text);
    if (discount.isEmpty())
        return 0.0;
    if (discount.startsWith(AmountMark))
        return -digitsOf(discount.mid(1));
    return digitsOf(discount) * price / -100.0;
}

double SaleRules::saleTotal(const QString &discount, double price, int count)
{
    return (unitDiscount(discount, price) + price) * count;
}

double SaleRules::ticketPrice(const QJsonObject &seat)
{
    const double price = seat.value(QLatin1String("price")).toDouble();
    const QJsonValue discount = seat.value(QLatin1String("discountValue"));
    const QString text = discount.toString();
    if (text.startsWith(AmountMark))
        return price - text.midRef(1).toDouble();
    return price * (100.0 - discount.toVariant().toDouble()) / 100.0;
}
