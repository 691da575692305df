#ifndef SALERULES_H
#define SALERULES_H

#include "prices/priceitem.h"

#include <QJsonObject>
#include <QLocale>
#include <QString>

/// The arithmetic of a sale without a racer and of a refund. Money is never rounded.
namespace SaleRules {

/// The locale in which the money dialogs write their sums, the same on every machine.
QLocale moneyLocale();

/// An entry of the sale's discount list: an amount with the currency's sign, or a percentage.
QString discountEntry(const DiscountItem &discount);

/// A typed discount as it is recorded: without its blanks.
QString recordedDiscount(const QString &text);

/// What a discount text adds to the price of one unit: never positive. An amount stands behind an equals sign,
/// everything else is a percentage of the digits in it, so that an amount picked from the list counts as a percentage.
double unitDiscount(const QString &text, double price);

/// What `count` units cost with that discount. Not positive means that there is nothing to pay.
double saleTotal(const QString &discount, double price, int count);

/// What one ticket of a seated racer gives back: its price without its discount. A percentage counts only as a plain
/// number, an amount only behind an equals sign.
double ticketPrice(const QJsonObject &seat);

} // namespace SaleRules

#endif // SALERULES_H
