#include "play/playmatch.h"

#include <QBrush>
#include <QColor>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>

namespace {

using Comparison = bool (*)(const QString &, const QString &);

bool compareNumbers(const QString &actual, const QString &expected, bool (*compare)(double, double))
{
    bool actualOk = false;
    bool expectedOk = false;
    const double a = actual.toDouble(&actualOk);
    const double e = expected.toDouble(&expectedOk);
    return actualOk && expectedOk && compare(a, e);
}

const struct
{
    const char *word;
    Comparison holds;
} comparisons[] = {
    {"is", [](const QString &actual, const QString &expected) { return actual == expected; }},
    {"isnt", [](const QString &actual, const QString &expected) { return actual != expected; }},
    {"contains", [](const QString &actual, const QString &expected) { return actual.contains(expected); }},
    {"lacks", [](const QString &actual, const QString &expected) { return !actual.contains(expected); }},
    {"matches",
     [](const QString &actual, const QString &expected) {
         return QRegularExpression(expected, QRegularExpression::DotMatchesEverythingOption).match(actual).hasMatch();
     }},
    {"atLeast",
     [](const QString &actual, const QString &expected) {
         return compareNumbers(actual, expected, [](double a, double e) { return a >= e; });
     }},
    {"atMost",
     [](const QString &actual, const QString &expected) {
         return compareNumbers(actual, expected, [](double a, double e) { return a <= e; });
     }},
};

} // namespace

bool PlayMatch::isComparison(const QString &word)
{
    for (const auto &comparison : comparisons) {
        if (word == QLatin1String(comparison.word))
            return true;
    }
    return false;
}

bool PlayMatch::holds(const QString &comparison, const QString &actual, const QString &expected)
{
    for (const auto &candidate : comparisons) {
        if (comparison == QLatin1String(candidate.word))
            return candidate.holds(actual, expected);
    }
    return false;
}

bool PlayMatch::isPartOf(const QJsonValue &part, const QJsonValue &whole)
{
    if (part.isObject() && whole.isObject()) {
        const QJsonObject wanted = part.toObject();
        const QJsonObject present = whole.toObject();
        for (auto it = wanted.constBegin(); it != wanted.constEnd(); ++it) {
            if (!present.contains(it.key()) || !isPartOf(it.value(), present.value(it.key())))
                return false;
        }
        return true;
    }
    if (part.isArray() && whole.isArray()) {
        const QJsonArray wanted = part.toArray();
        const QJsonArray present = whole.toArray();
        if (wanted.size() != present.size())
            return false;
        for (int i = 0; i < wanted.size(); ++i) {
            if (!isPartOf(wanted.at(i), present.at(i)))
                return false;
        }
        return true;
    }
    return part == whole;
}

QString PlayMatch::text(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QColor:
        return value.value<QColor>().name();
    case QMetaType::QBrush:
        return value.value<QBrush>().color().name();
    default:
        return value.toString();
    }
}
