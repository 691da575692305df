#include "play/jsonpath.h"
#include "play/playvariables.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

/// What a script keeps, and how it finds it.
class TestPlayVariables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void finds_data();
    void finds();
    void fillsIn_data();
    void fillsIn();
    void fillsInJson_data();
    void fillsInJson();
    void missesAValue_data();
    void missesAValue();
};

namespace {

QJsonObject object(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

PlayVariables kept()
{
    PlayVariables variables;
    variables.set(QStringLiteral("name"), QStringLiteral("Орлова ${pin}"));
    variables.set(QStringLiteral("pin"), QStringLiteral("0042"));
    variables.set(QStringLiteral("sum"), 1500);
    variables.set(QStringLiteral("rate_2"), 0.5);
    variables.set(QStringLiteral("paid"), true);
    variables.set(QStringLiteral("car"), object("{\"id\":3,\"tags\":[1]}"));
    return variables;
}

} // namespace

void TestPlayVariables::finds_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonValue>("value");
    const auto row = [](const char *path, const QJsonValue &value) {
        QTest::newRow(path) << QString::fromUtf8(path) << value;
    };
    const QJsonValue nothing(QJsonValue::Undefined);
    row("trackName", QStringLiteral("Картодром"));
    row("list/0/lastName", QStringLiteral("Морозова"));
    row("list/1/kids/0/pin", 7);
    row("list/lastName~Орл/kids/0/pin", 7);
    row("list/runs~2/lastName", QStringLiteral("Орлова"));
    row("list/lastName~о/lastName", QStringLiteral("Морозова"));
    row("empty", QJsonValue(QJsonValue::Null));
    row("list/1/kids", QJsonArray{object("{\"pin\":7}")});
    row("list/2", nothing);
    row("list/-1", nothing);
    row("list/first", nothing);
    row("list/lastName~Лебедев", nothing);
    row("list/firstName~", nothing);
    row("list/lastName", nothing);
    row("trackName/0", nothing);
    row("nothing/at/all", nothing);
    row("", nothing);
}

void TestPlayVariables::finds()
{
    QFETCH(QString, path);
    const QJsonObject root = object("{\"trackName\":\"Картодром\",\"empty\":null,\"list\":["
                                    "{\"lastName\":\"Морозова\",\"runs\":1},"
                                    "{\"lastName\":\"Орлова\",\"runs\":2,\"kids\":[{\"pin\":7}]}]}");
    QTEST(JsonPath::value(root, path), "value");
}

void TestPlayVariables::fillsIn_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("filled");
    const auto row = [](const char *text, const char *filled) {
        QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(filled);
    };
    row("bOk", "bOk");
    row("", "");
    row("${pin}", "0042");
    row("a${pin}b${pin}c", "a0042b0042c");
    row("${sum} р.", "1500 р.");
    row("${rate_2}", "0.5");
    row("${paid}", "true");
    row("${car}", "{\"id\":3,\"tags\":[1]}");
    // What was filled in is not looked at again.
    row("${name}", "Орлова ${pin}");
    // No names of a script.
    row("$pin", "$pin");
    row("${}", "${}");
    row("${2}", "${2}");
    row("^a+$", "^a+$");
}

void TestPlayVariables::fillsIn()
{
    QFETCH(QString, text);
    PlayStep step;
    step.words = QStringList{QStringLiteral("first"), text};
    step.options.insert(QStringLiteral("prefix"), text);
    QString error;
    QVERIFY2(kept().expand(&step, &error), qPrintable(error));
    QTEST(step.words.at(1), "filled");
    QTEST(step.options.value(QStringLiteral("prefix")), "filled");
    QCOMPARE(step.words.at(0), QStringLiteral("first"));
}

void TestPlayVariables::fillsInJson_data()
{
    QTest::addColumn<QJsonObject>("json");
    QTest::addColumn<QJsonObject>("filled");
    QTest::newRow("a text") << object("{\"pinCode\":\"${pin}\"}") << object("{\"pinCode\":\"0042\"}");
    QTest::newRow("a number") << object("{\"n\":\"${sum}\"}") << object("{\"n\":1500}");
    QTest::newRow("a number in a text") << object("{\"n\":\"${sum} р.\"}") << object("{\"n\":\"1500 р.\"}");
    QTest::newRow("an object") << object("{\"targetCar\":\"${car}\"}")
                               << object("{\"targetCar\":{\"id\":3,\"tags\":[1]}}");
    QTest::newRow("deep") << object("{\"list\":[\"${pin}\",{\"a\":\"${paid}\"},null,5]}")
                          << object("{\"list\":[\"0042\",{\"a\":true},null,5]}");
    QTest::newRow("keys stay") << object("{\"${pin}\":1}") << object("{\"${pin}\":1}");
    QTest::newRow("nothing") << QJsonObject() << QJsonObject();
}

void TestPlayVariables::fillsInJson()
{
    QFETCH(QJsonObject, json);
    PlayStep step;
    step.json = json;
    QString error;
    QVERIFY2(kept().expand(&step, &error), qPrintable(error));
    QTEST(step.json, "filled");
}

void TestPlayVariables::missesAValue_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("option");
    QTest::addColumn<QJsonObject>("json");
    QTest::newRow("in a word") << QStringList(QStringLiteral("a ${later}")) << QString() << QJsonObject();
    QTest::newRow("in an option") << QStringList() << QStringLiteral("${later}") << QJsonObject();
    QTest::newRow("in the JSON") << QStringList() << QString() << object("{\"a\":[\"${later}\"]}");
    QTest::newRow("in a text of the JSON") << QStringList() << QString() << object("{\"a\":\"${pin}${later}\"}");
}

void TestPlayVariables::missesAValue()
{
    QFETCH(QStringList, words);
    QFETCH(QString, option);
    QFETCH(QJsonObject, json);
    PlayStep step;
    step.words = words;
    step.options.insert(QStringLiteral("role"), option);
    step.json = json;
    QString error;
    QVERIFY(!kept().expand(&step, &error));
    QVERIFY2(error.contains(QLatin1String("${later}")), qPrintable(error));
}

QTEST_APPLESS_MAIN(TestPlayVariables)
#include "tst_host_playvariables.moc"
