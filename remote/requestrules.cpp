#include "remote/requestrules.h"

#include "common/jsonread.h"

#include <QVariant>

int RequestRules::runsToAdd(const QJsonValue &runsCount)
{
    return qMin(runsCount.toInt(1), MaxRunsAtOnce);
}

int RequestRules::seatStep(const QJsonValue &multiSeatVariant, int mostSeats)
{
    const int widest = qBound(1, MaxSeatSpan / qMax(1, mostSeats), MaxSeatStep);
    return qBound(1, multiSeatVariant.toInt(1), widest);
}

QString RequestRules::looseText(const QJsonValue &value)
{
    return value.toVariant().toString();
}

QStringList RequestRules::identities(const QJsonValue &oneOrMany)
{
    return oneOrMany.isArray() ? JsonRead::texts(oneOrMany.toArray()) : QStringList(oneOrMany.toString());
}

QString RequestRules::operatorName(const QString &lastName, const QString &firstName, const QString &midName)
{
    QStringList parts{lastName, firstName, midName};
    parts.removeAll(QString());
    return parts.join(QLatin1Char(' '));
}
