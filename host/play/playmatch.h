#ifndef PLAYMATCH_H
#define PLAYMATCH_H

#include <QJsonValue>
#include <QString>
#include <QVariant>

/// The comparisons of a played day.
namespace PlayMatch {

/// Whether the word names a comparison: is, isnt, contains, lacks, matches, atLeast, atMost.
bool isComparison(const QString &word);
/// `actual` compared with `expected`. atLeast and atMost compare numbers, the others texts.
bool holds(const QString &comparison, const QString &actual, const QString &expected);

/// True when every key of `part` stands in `whole` with a matching value. Arrays match element by element and have the
/// same length; other values are equal.
bool isPartOf(const QJsonValue &part, const QJsonValue &whole);

/// A value as a script writes it: true and false for a bool, the shortest form of a number, #rrggbb for a colour.
QString text(const QVariant &value);

} // namespace PlayMatch

#endif // PLAYMATCH_H
