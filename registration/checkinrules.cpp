#include "registration/checkinrules.h"

#include "common/scannumber.h"
#include "registration/checkinitem.h"

#include <algorithm>

namespace {

quint64 poolSize(int digits)
{
    quint64 size = 1;
    for (int digit = 0; digit < digits; ++digit)
        size *= 10;
    return size;
}

} // namespace

int CheckInRules::foreignRunCount(int runCount)
{
    return qBound(0, runCount, MaxForeignRunCount);
}

double CheckInRules::registrationSum(const CheckInItem &base)
{
    double total = base.runCount * base.price;
    for (const auto &minor : base.subItems)
        total += minor->runCount * minor->price;

    if (base.discountValue.startsWith(QLatin1Char('='))) {
        if (const auto amount = ScanNumber::singleAfterEquals(base.discountValue)) {
            // Single precision on purpose: the amount per run has always been worked out so.
            const float off = static_cast<float>(base.runCount) * *amount;
            total -= static_cast<double>(off);
        }
        return total;
    }
    if (const auto percent = ScanNumber::single(base.discountValue))
        return (100.0 - static_cast<double>(*percent)) * total / 100.0;
    return total;
}

QString CheckInRules::normalisedName(const QString &name)
{
    QStringList words = name.split(QLatin1Char(' '));
    words.removeAll(QString());
    for (QString &word : words) {
        word = word.toLower();
        word = QString(word.at(0)).toUpper() + word.mid(1);
    }
    return words.join(QLatin1Char(' '));
}

QString CheckInRules::discountText(const QString &discountValue)
{
    if (discountValue.isEmpty() || discountValue == QLatin1String("0") || discountValue == QLatin1String("--"))
        return QString();
    if (discountValue.startsWith(QLatin1Char('=')))
        return discountValue;
    return discountValue + QLatin1Char('%');
}

bool CheckInRules::isFullDiscount(const QString &discountValue)
{
    bool ok = false;
    const double percent = discountValue.toDouble(&ok);
    return ok && percent >= 100.0 && percent <= 100.0;
}

bool CheckInRules::isExpired(quint64 regTime, qint64 maxAge, qint64 now)
{
    return regTime != 0 && now > maxAge && static_cast<quint64>(now - maxAge) > regTime;
}

QString CheckInRules::drawPin(const QSet<QString> &used, int digits, const std::function<quint32()> &random)
{
    const auto size = static_cast<quint32>(poolSize(qBound(4, digits, 9)));
    QString pin;
    do {
        pin = QStringLiteral("%1").arg(random() % size, digits, 10, QLatin1Char('0'));
    } while (used.contains(pin));
    return pin;
}

bool CheckInRules::pinPoolFull(const QSet<QString> &used, int digits)
{
    if (static_cast<quint64>(used.size()) < poolSize(digits))
        return false;
    const auto isCode = [digits](const QString &pin) {
        return pin.size() == digits && std::all_of(pin.cbegin(), pin.cend(), [](QChar character) {
                   return character >= QLatin1Char('0') && character <= QLatin1Char('9');
               });
    };
    const auto codes = std::count_if(used.cbegin(), used.cend(), isCode);
    return static_cast<quint64>(codes) >= poolSize(digits);
}
