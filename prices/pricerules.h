#ifndef PRICERULES_H
#define PRICERULES_H

#include "prices/priceitem.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

/// The price book's rules over plain values: texts of discounts, lists in the settings, the wire form of an item.
namespace PriceRules {

/// One typed discount: an amount behind an equals sign, else a whole percentage. What is no number counts as 0.
DiscountItem parseDiscount(const QString &text);

/// A discount as the cashier reads it: "15" for a percentage, "=100" for an amount.
QString discountText(const DiscountItem &discount);

/// The texts of a JSON array as the settings hold it; an element that is no text reads as its text. Anything but an
/// array holds no text.
QStringList settingTexts(const QByteArray &json);

/// The discounts of the setting `discounts`.
QList<DiscountItem> parseDiscounts(const QByteArray &json);

/// The lines of a text box as the settings hold them: a compact JSON array without the empty lines.
QByteArray linesJson(const QString &text);

/// An item of the price list as the online service takes it.
QJsonObject priceItemJson(const PriceItem &item);

} // namespace PriceRules

#endif // PRICERULES_H
