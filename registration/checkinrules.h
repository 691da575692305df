#ifndef CHECKINRULES_H
#define CHECKINRULES_H

#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>

struct CheckInItem;

/// The rules of a registration, free of widgets, clock and database. Money is never rounded.
namespace CheckInRules {

/// The most runs that a record from another program or from a journal may bring.
constexpr int MaxForeignRunCount = 1000;

/// The most runs that a cashier may type into a line.
constexpr int MaxTypedRunCount = 50;

/// A run count from another program or from a journal: at most MaxForeignRunCount, and never below 0.
int foreignRunCount(int runCount);

/// What the family of `base` has to pay. A percentage applies to the whole family, a fixed amount to each run of the
/// parent alone. There is no floor at zero.
double registrationSum(const CheckInItem &base);

/// One part of a name with single blanks between its words and each word in lower case behind a capital.
QString normalisedName(const QString &name);

/// A discount as the list shows it.
QString discountText(const QString &discountValue);

/// True for a discount that reads as exactly 100 %, the one case in which nothing to pay can be paid.
bool isFullDiscount(const QString &discountValue);

/// True if a line that began to age at `regTime` is older than `maxAge` at `now`; all in seconds, the times since the
/// epoch, UTC.
bool isExpired(quint64 regTime, qint64 maxAge, qint64 now);

/// A PIN code of `digits` digits (at least 4) that is not in `used`, drawn with `random`, any 32-bit numbers.
/// `used` must leave one code free.
QString drawPin(const QSet<QString> &used, int digits, const std::function<quint32()> &random);

/// True if every code of `digits` digits is in `used`.
bool pinPoolFull(const QSet<QString> &used, int digits);

} // namespace CheckInRules

#endif // CHECKINRULES_H
