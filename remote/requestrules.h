#ifndef REQUESTRULES_H
#define REQUESTRULES_H

#include <QJsonValue>
#include <QString>
#include <QStringList>

/// How the arguments of a client program's request are read, and where the work that one request may ask for ends.
namespace RequestRules {

/// The most runs that one request may add.
constexpr int MaxRunsAtOnce = 1000;

/// The widest step from one seat of a racer to the next.
constexpr int MaxSeatStep = 100;

/// Number of runs to add; 1 if the request names none. Below 1 stays below 1, which adds no run.
int runsToAdd(const QJsonValue &runsCount);

/// The most runs that the seats of one racer may span.
constexpr int MaxSeatSpan = 1000;

/// Step from one seat of a racer to the next, 1 to MaxSeatStep; 1 if the request names none. Less for a racer with so
/// many seats that they would span more than MaxSeatSpan runs.
int seatStep(const QJsonValue &multiSeatVariant, int mostSeats);

/// A value that may arrive as a text or as a number, as text; empty for anything that has no text.
QString looseText(const QJsonValue &value);

/// The identities in a value that is one text or an array of texts.
QStringList identities(const QJsonValue &oneOrMany);

/// Name of a cashier; parts that are missing leave no blank.
QString operatorName(const QString &lastName, const QString &firstName, const QString &midName);

} // namespace RequestRules

#endif // REQUESTRULES_H
