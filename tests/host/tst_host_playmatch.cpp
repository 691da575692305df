#include "play/playmatch.h"

#include <QBrush>
#include <QColor>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestPlayMatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void compares_data();
    void compares();
    void unknownComparisonNeverHolds();
    void partOf_data();
    void partOf();
    void writesValues();
};

void TestPlayMatch::compares_data()
{
    QTest::addColumn<QString>("comparison");
    QTest::addColumn<QString>("actual");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("holds");
    const auto row = [](const char *name, const char *comparison, const char *actual, const char *expected,
                        bool holds) {
        QTest::newRow(name) << QString::fromUtf8(comparison) << QString::fromUtf8(actual) << QString::fromUtf8(expected)
                            << holds;
    };
    row("is", "is", "Да", "Да", true);
    row("is not", "is", "Да", "да", false);
    row("isnt", "isnt", "a", "b", true);
    row("isnt, same", "isnt", "a", "a", false);
    row("contains", "contains", "Орлова Мария", "Мар", true);
    row("contains not", "contains", "Орлова", "Мар", false);
    row("lacks", "lacks", "Орлова", "Мар", true);
    row("lacks not", "lacks", "Мария", "Мар", false);
    row("matches", "matches", "PIN 0042", "[0-9]{4}$", true);
    row("matches over lines", "matches", "a\nb", "a.b", true);
    row("matches not", "matches", "PIN 42", "[0-9]{4}$", false);
    row("atLeast equal", "atLeast", "10", "10", true);
    row("atLeast below", "atLeast", "9.5", "10", false);
    row("atLeast is not by letters", "atLeast", "9", "10", false);
    row("atMost", "atMost", "9", "10", true);
    row("atMost above", "atMost", "10.5", "10", false);
    row("atLeast of a text", "atLeast", "много", "10", false);
}

void TestPlayMatch::compares()
{
    QFETCH(QString, comparison);
    QFETCH(QString, actual);
    QFETCH(QString, expected);
    QVERIFY(PlayMatch::isComparison(comparison));
    QTEST(PlayMatch::holds(comparison, actual, expected), "holds");
}

void TestPlayMatch::unknownComparisonNeverHolds()
{
    QVERIFY(!PlayMatch::isComparison(QStringLiteral("equals")));
    QVERIFY(!PlayMatch::holds(QStringLiteral("equals"), QStringLiteral("a"), QStringLiteral("a")));
}

void TestPlayMatch::partOf_data()
{
    QTest::addColumn<QByteArray>("part");
    QTest::addColumn<QByteArray>("whole");
    QTest::addColumn<bool>("matches");
    const auto row = [](const char *name, const char *part, const char *whole, bool matches) {
        QTest::newRow(name) << QByteArray(part) << QByteArray(whole) << matches;
    };
    row("nothing wanted", "{}", "{\"a\":1}", true);
    row("a key", "{\"a\":1}", "{\"a\":1,\"b\":2}", true);
    row("another value", "{\"a\":1}", "{\"a\":2}", false);
    row("another type", "{\"a\":1}", "{\"a\":\"1\"}", false);
    row("a missing key", "{\"a\":null}", "{}", false);
    row("below", "{\"a\":{\"b\":true}}", "{\"a\":{\"b\":true,\"c\":0}}", true);
    row("below, other", "{\"a\":{\"b\":true}}", "{\"a\":{\"b\":false}}", false);
    row("array elements in part", "{\"l\":[{\"a\":1},{}]}", "{\"l\":[{\"a\":1,\"b\":2},{\"c\":3}]}", true);
    row("array of another length", "{\"l\":[1]}", "{\"l\":[1,2]}", false);
    row("array in another order", "{\"l\":[2,1]}", "{\"l\":[1,2]}", false);
    row("object for a value", "{\"a\":{}}", "{\"a\":1}", false);
}

void TestPlayMatch::partOf()
{
    QFETCH(QByteArray, part);
    QFETCH(QByteArray, whole);
    const QJsonDocument wanted = QJsonDocument::fromJson(part);
    const QJsonDocument present = QJsonDocument::fromJson(whole);
    QVERIFY(wanted.isObject());
    QVERIFY(present.isObject());
    QTEST(PlayMatch::isPartOf(wanted.object(), present.object()), "matches");
}

void TestPlayMatch::writesValues()
{
    QCOMPARE(PlayMatch::text(true), QStringLiteral("true"));
    QCOMPARE(PlayMatch::text(1350.0), QStringLiteral("1350"));
    QCOMPARE(PlayMatch::text(0.1), QStringLiteral("0.1"));
    QCOMPARE(PlayMatch::text(-7), QStringLiteral("-7"));
    QCOMPARE(PlayMatch::text(QColor(255, 0, 16)), QStringLiteral("#ff0010"));
    QCOMPARE(PlayMatch::text(QBrush(QColor(0, 128, 0))), QStringLiteral("#008000"));
    QCOMPARE(PlayMatch::text(QVariant()), QString());
}

QTEST_GUILESS_MAIN(TestPlayMatch)
#include "tst_host_playmatch.moc"
