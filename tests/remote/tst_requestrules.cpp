#include "remote/requestrules.h"

#include "desktest.h"

#include <QJsonArray>
#include <QJsonObject>

/// Arguments of client programs, in whatever shape they come.
class TestRequestRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsToAdd_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<int>("runs");
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << 1;
        QTest::newRow("null") << QJsonValue() << 1;
        QTest::newRow("text") << QJsonValue(QStringLiteral("7")) << 1;
        QTest::newRow("fraction") << QJsonValue(2.5) << 1;
        QTest::newRow("one") << QJsonValue(1) << 1;
        QTest::newRow("several") << QJsonValue(7) << 7;
        QTest::newRow("most") << QJsonValue(1000) << 1000;
        QTest::newRow("too many") << QJsonValue(1001) << 1000;
        QTest::newRow("a billion") << QJsonValue(1000000000) << 1000;
        QTest::newRow("beyond every int") << QJsonValue(1.0e15) << 1;
        QTest::newRow("none") << QJsonValue(0) << 0;
        QTest::newRow("negative") << QJsonValue(-1000000000) << -1000000000;
    }
    void runsToAdd()
    {
        QFETCH(QJsonValue, value);
        QTEST(RequestRules::runsToAdd(value), "runs");
    }

    void seatStep_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<int>("seats");
        QTest::addColumn<int>("step");
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << 1 << 1;
        QTest::newRow("text") << QJsonValue(QStringLiteral("2")) << 1 << 1;
        QTest::newRow("one") << QJsonValue(1) << 1000 << 1;
        QTest::newRow("two") << QJsonValue(2) << 500 << 2;
        QTest::newRow("two of too many seats") << QJsonValue(2) << 501 << 1;
        QTest::newRow("widest") << QJsonValue(100) << 10 << 100;
        QTest::newRow("too wide") << QJsonValue(101) << 1 << 100;
        QTest::newRow("a billion") << QJsonValue(1000000000) << 1 << 100;
        QTest::newRow("a billion of many seats") << QJsonValue(1000000000) << 50 << 20;
        QTest::newRow("more seats than runs") << QJsonValue(7) << 5000 << 1;
        QTest::newRow("no seat") << QJsonValue(7) << 0 << 7;
        QTest::newRow("none") << QJsonValue(0) << 1 << 1;
        QTest::newRow("negative") << QJsonValue(-1000000000) << 1 << 1;
    }
    void seatStep()
    {
        QFETCH(QJsonValue, value);
        QFETCH(int, seats);
        QTEST(RequestRules::seatStep(value, seats), "step");
    }

    void looseText_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("text") << QJsonValue(QStringLiteral("=50")) << QStringLiteral("=50");
        QTest::newRow("whole number") << QJsonValue(10) << QStringLiteral("10");
        QTest::newRow("fraction") << QJsonValue(12.5) << QStringLiteral("12.5");
        QTest::newRow("negative") << QJsonValue(-3) << QStringLiteral("-3");
        QTest::newRow("phone number") << QJsonValue(79161234567.0) << QStringLiteral("79161234567");
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << QString();
        QTest::newRow("null") << QJsonValue() << QString();
        QTest::newRow("array") << QJsonValue(QJsonArray{1, 2}) << QString();
        QTest::newRow("object") << QJsonValue(QJsonObject{{"a", 1}}) << QString();
    }
    void looseText()
    {
        QFETCH(QJsonValue, value);
        QTEST(RequestRules::looseText(value), "text");
    }

    void identities_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QStringList>("uuids");
        QTest::newRow("one") << QJsonValue(QStringLiteral("{a}")) << QStringList{QStringLiteral("{a}")};
        QTest::newRow("several") << QJsonValue(QJsonArray{"{a}", "{b}"})
                                 << QStringList{QStringLiteral("{a}"), QStringLiteral("{b}")};
        QTest::newRow("no texts") << QJsonValue(QJsonArray{5, "{b}", QJsonValue()})
                                  << QStringList{QString(), QStringLiteral("{b}"), QString()};
        QTest::newRow("empty") << QJsonValue(QJsonArray()) << QStringList();
        QTest::newRow("number") << QJsonValue(5) << QStringList{QString()};
    }
    void identities()
    {
        QFETCH(QJsonValue, value);
        QTEST(RequestRules::identities(value), "uuids");
    }

    void operatorName_data()
    {
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("mid");
        QTest::addColumn<QString>("name");
        QTest::newRow("all") << QStringLiteral("Сидорова") << QStringLiteral("Анна") << QStringLiteral("Петровна")
                             << QStringLiteral("Сидорова Анна Петровна");
        QTest::newRow("no middle name") << QStringLiteral("Сидорова") << QStringLiteral("Анна") << QString()
                                        << QStringLiteral("Сидорова Анна");
        QTest::newRow("no first name") << QStringLiteral("Сидорова") << QString("") << QStringLiteral("Петровна")
                                       << QStringLiteral("Сидорова Петровна");
        QTest::newRow("nothing") << QString() << QString() << QString() << QString();
    }
    void operatorName()
    {
        QFETCH(QString, last);
        QFETCH(QString, first);
        QFETCH(QString, mid);
        QTEST(RequestRules::operatorName(last, first, mid), "name");
    }
};

DESK_TEST_MAIN(TestRequestRules)

#include "tst_requestrules.moc"
