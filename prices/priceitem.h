#ifndef PRICEITEM_H
#define PRICEITEM_H

#include <QColor>
#include <QString>

/// One row of the price list: an item as one price block sells it.
struct PriceItem
{
    /// Key of the row in `price_list`; -1 before it is stored.
    qint32 id = -1;
    /// Key of the item's first row; the same in every block.
    qint32 commonId = -1;
    QString salesItem;
    /// Model of car that the item is for; empty for any.
    QString model;
    QString availRules;
    /// Price of one unit, never rounded.
    double sum = 0.0;
    /// 1 if kiosks offer the item, else 0.
    qint32 showRemote = 1;
    QColor color = Qt::white;
};

/// One entry of the setting `discounts`.
struct DiscountItem
{
    /// An amount per run if set, else a whole percentage.
    bool isFixed = false;
    double value = 0.0;
};

#endif // PRICEITEM_H
