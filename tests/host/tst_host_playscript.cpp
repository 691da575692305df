#include "play/playscript.h"

#include <QtTest>

class TestPlayScript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsWordsAndQuotes();
    void skipsCommentsAndEmptyLines();
    void joinsContinuedLines();
    void readsOptions();
    void quotedTextIsNoOption();
    void readsJsonToTheEndOfTheStep();
    void refuses_data();
    void refuses();
};

namespace {

QVector<PlaySyntax> verbs()
{
    return {
        {"click", 1, 1},
        {"log", 1, -1},
        {"type", 2, 2},
        {"send", 1, 1, PlaySyntax::MayHaveJson},
        {"line", 1, 1, PlaySyntax::NeedsJson},
        {"expect", 4, 4, PlaySyntax::NoJson, 2},
    };
}

QVector<PlayStep> parsed(const QString &text)
{
    QVector<PlayStep> steps;
    QString error;
    if (!PlayScript::parse(text, verbs(), &steps, &error))
        qWarning("%s", error.toUtf8().constData());
    return steps;
}

} // namespace

void TestPlayScript::readsWordsAndQuotes()
{
    const QVector<PlayStep> steps = parsed(QStringLiteral("type leLastName \"Орлова \\\"мл.\\\"\\n\\\\\""));
    QCOMPARE(steps.size(), 1);
    QCOMPARE(steps.at(0).line, 1);
    QCOMPARE(steps.at(0).verb, QStringLiteral("type"));
    QCOMPARE(steps.at(0).words, QStringList({QStringLiteral("leLastName"), QStringLiteral("Орлова \"мл.\"\n\\")}));
    QVERIFY(!steps.at(0).hasJson);
}

void TestPlayScript::skipsCommentsAndEmptyLines()
{
    const QVector<PlayStep> steps = parsed(QStringLiteral("# утро\n\n  # ещё\nclick a\n\r\nclick b\n"));
    QCOMPARE(steps.size(), 2);
    QCOMPARE(steps.at(0).line, 4);
    QCOMPARE(steps.at(1).line, 6);
    QCOMPARE(steps.at(1).word(0), QStringLiteral("b"));
}

void TestPlayScript::joinsContinuedLines()
{
    const QVector<PlayStep> steps = parsed(QStringLiteral("send race_mode \\\n  {\"isRaceMode\":\\\n true}\nclick c"));
    QCOMPARE(steps.size(), 2);
    QCOMPARE(steps.at(0).json, QJsonObject({{QStringLiteral("isRaceMode"), true}}));
    QCOMPARE(steps.at(1).line, 4);
}

void TestPlayScript::readsOptions()
{
    const QVector<PlayStep> steps = parsed(QStringLiteral("click a within=300 button=right"));
    QCOMPARE(steps.size(), 1);
    QCOMPARE(steps.at(0).words, QStringList(QStringLiteral("a")));
    QCOMPARE(steps.at(0).options.value(QStringLiteral("within")), QStringLiteral("300"));
    QCOMPARE(steps.at(0).options.value(QStringLiteral("button")), QStringLiteral("right"));
    const QVector<PlayStep> more = parsed(QStringLiteral("line 3 at=60,20 prefix=RUNITEM: {\"runNum\": 1}"));
    QCOMPARE(more.size(), 1);
    QCOMPARE(more.at(0).words, QStringList(QStringLiteral("3")));
    QCOMPARE(more.at(0).options.value(QStringLiteral("at")), QStringLiteral("60,20"));
    QCOMPARE(more.at(0).options.value(QStringLiteral("prefix")), QStringLiteral("RUNITEM:"));
}

void TestPlayScript::quotedTextIsNoOption()
{
    const QVector<PlayStep> steps = parsed(QStringLiteral("type a \"within=5\""));
    QCOMPARE(steps.size(), 1);
    QCOMPARE(steps.at(0).word(1), QStringLiteral("within=5"));
    QVERIFY(steps.at(0).options.isEmpty());
}

void TestPlayScript::readsJsonToTheEndOfTheStep()
{
    const QVector<PlayStep> steps = parsed(QStringLiteral("send local_request {\"request\": \"a b\", \"n\": [1, {}]}"));
    QCOMPARE(steps.size(), 1);
    QCOMPARE(steps.at(0).words.size(), 1);
    QCOMPARE(steps.at(0).json.value(QStringLiteral("request")).toString(), QStringLiteral("a b"));
    QVERIFY(steps.at(0).hasJson);
}

void TestPlayScript::refuses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("line");
    QTest::newRow("unknown verb") << QStringLiteral("click a\nkick b") << QStringLiteral("строка 2");
    QTest::newRow("too few words") << QStringLiteral("type a") << QStringLiteral("строка 1");
    QTest::newRow("too many words") << QStringLiteral("click a b") << QStringLiteral("строка 1");
    QTest::newRow("open quote") << QStringLiteral("log \"a") << QStringLiteral("строка 1");
    QTest::newRow("bad JSON") << QStringLiteral("\nsend a {\"b\":}") << QStringLiteral("строка 2");
    QTest::newRow("JSON where none goes") << QStringLiteral("click a {}") << QStringLiteral("строка 1");
    QTest::newRow("JSON missing") << QStringLiteral("line 3") << QStringLiteral("строка 1");
    QTest::newRow("unknown comparison") << QStringLiteral("expect a text equals b") << QStringLiteral("строка 1");
    QTest::newRow("bad limit") << QStringLiteral("click a within=soon") << QStringLiteral("строка 1");
}

void TestPlayScript::refuses()
{
    QFETCH(QString, text);
    QFETCH(QString, line);
    QVector<PlayStep> steps;
    QString error;
    QVERIFY(!PlayScript::parse(text, verbs(), &steps, &error));
    QVERIFY2(error.startsWith(line), qPrintable(error));
}

QTEST_APPLESS_MAIN(TestPlayScript)
#include "tst_host_playscript.moc"
