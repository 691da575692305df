#ifndef JSONMATCH_H
#define JSONMATCH_H

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QtTest>

/// Comparison of JSON values that says where they differ, one line for each difference:
/// `.runQueue.pendingRuns[0].runNum: 2 instead of 1`.
namespace JsonMatch {

/// Differences of two values; empty when they are equal. Objects must have the same keys.
QString differences(const QJsonValue &actual, const QJsonValue &expected);

/// As differences(), but an object may have more keys than expected. Arrays still need the same length.
QString missing(const QJsonValue &actual, const QJsonValue &expected);

/// Parses an object written in a test; a text that is no object ends the test program.
QJsonObject object(const char *utf8);
/// Parses an array written in a test; a text that is no array ends the test program.
QJsonArray array(const char *utf8);

/// Compact text of a value.
QString text(const QJsonValue &value);

} // namespace JsonMatch

/// Fails the test function unless both values are equal.
#define JSON_COMPARE(actual, expected) \
    do { \
        const QString jsonDifferences_ = JsonMatch::differences(actual, expected); \
        QVERIFY2(jsonDifferences_.isEmpty(), qPrintable(QLatin1String("JSON differs:\n") + jsonDifferences_)); \
    } while (false)

/// Fails the test function unless the value has everything that is expected.
#define JSON_CONTAINS(actual, expected) \
    do { \
        const QString jsonDifferences_ = JsonMatch::missing(actual, expected); \
        QVERIFY2(jsonDifferences_.isEmpty(), qPrintable(QLatin1String("JSON differs:\n") + jsonDifferences_)); \
    } while (false)

#endif // JSONMATCH_H
