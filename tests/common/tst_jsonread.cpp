#include "common/jsonread.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <limits>

/// JSON that arrives in any shape is read without a surprise.
class TestJsonRead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void documents_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isObject");
        QTest::addColumn<bool>("isArray");
        QTest::newRow("object") << QByteArray("{\"a\":1}") << true << false;
        QTest::newRow("empty object") << QByteArray("{}") << true << false;
        QTest::newRow("indented") << QByteArray("{\n    \"a\": 1\n}\n") << true << false;
        QTest::newRow("array") << QByteArray("[1,2]") << false << true;
        QTest::newRow("empty array") << QByteArray("[]") << false << true;
        QTest::newRow("nothing") << QByteArray() << false << false;
        QTest::newRow("blanks") << QByteArray(" \n") << false << false;
        QTest::newRow("null") << QByteArray("null") << false << false;
        QTest::newRow("number") << QByteArray("12") << false << false;
        QTest::newRow("text") << QByteArray("\"{}\"") << false << false;
        QTest::newRow("cut object") << QByteArray("{\"a\":1") << false << false;
        QTest::newRow("cut array") << QByteArray("[1,2") << false << false;
        QTest::newRow("object and rest") << QByteArray("{} x") << false << false;
        QTest::newRow("two objects") << QByteArray("{}{}") << false << false;
        QTest::newRow("zero bytes") << QByteArray(8, '\0') << false << false;
        QTest::newRow("no UTF-8") << QByteArray("{\"a\":\"\xff\xfe\"}") << false << false;
    }
    void documents()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, isObject);
        QFETCH(bool, isArray);
        QCOMPARE(JsonRead::object(bytes).has_value(), isObject);
        QCOMPARE(JsonRead::array(bytes).has_value(), isArray);
    }

    void keepsTheContent()
    {
        const QByteArray bytes = QByteArrayLiteral("{\"name\":\"Анна\",\"list\":[1,\"2\",null]}");
        const auto object = JsonRead::object(bytes);
        QVERIFY(object);
        JSON_COMPARE(*object,
                     (QJsonObject{{"name", QStringLiteral("Анна")}, {"list", QJsonArray{1, "2", QJsonValue()}}}));
        const auto array = JsonRead::array(QByteArrayLiteral("[{\"a\":1},2]"));
        QVERIFY(array);
        JSON_COMPARE(*array, (QJsonArray{QJsonObject{{"a", 1}}, 2}));
    }

    void journalLine_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<bool>("ok");
        QTest::newRow("line") << QByteArray("{\"a\":1}\n") << true;
        QTest::newRow("last byte is dropped whatever it is") << QByteArray("{\"a\":1}}") << true;
        QTest::newRow("last line without line feed") << QByteArray("{\"a\":1}") << false;
        QTest::newRow("cut line") << QByteArray("{\"a\":\n") << false;
        QTest::newRow("array") << QByteArray("[{\"a\":1}]\n") << false;
        QTest::newRow("empty line") << QByteArray("\n") << false;
        QTest::newRow("nothing") << QByteArray() << false;
    }
    void journalLine()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, ok);
        const auto object = JsonRead::journalLine(line);
        QCOMPARE(object.has_value(), ok);
        if (ok)
            JSON_COMPARE(*object, (QJsonObject{{"a", 1}}));
    }

    void looseInt_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("number");
        const auto max = std::numeric_limits<qint32>::max();
        const auto min = std::numeric_limits<qint32>::min();
        QTest::newRow("number") << QJsonValue(7) << true << 7;
        QTest::newRow("zero") << QJsonValue(0) << true << 0;
        QTest::newRow("negative") << QJsonValue(-1001) << true << -1001;
        QTest::newRow("text") << QJsonValue(QStringLiteral("7")) << true << 7;
        QTest::newRow("negative text") << QJsonValue(QStringLiteral("-7")) << true << -7;
        QTest::newRow("largest") << QJsonValue(max) << true << max;
        QTest::newRow("smallest") << QJsonValue(min) << true << min;
        QTest::newRow("largest as text") << QJsonValue(QString::number(max)) << true << max;
        QTest::newRow("word") << QJsonValue(QStringLiteral("seven")) << false << 0;
        QTest::newRow("empty text") << QJsonValue(QString()) << false << 0;
        QTest::newRow("number and rest") << QJsonValue(QStringLiteral("7x")) << false << 0;
        QTest::newRow("null") << QJsonValue() << false << 0;
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << false << 0;
        QTest::newRow("array") << QJsonValue(QJsonArray{7}) << false << 0;
        QTest::newRow("object") << QJsonValue(QJsonObject{{"a", 7}}) << false << 0;
    }
    void looseInt()
    {
        QFETCH(QJsonValue, value);
        QFETCH(bool, ok);
        QFETCH(int, number);
        const std::optional<qint32> read = JsonRead::looseInt(value);
        QCOMPARE(read.has_value(), ok);
        if (ok)
            QCOMPARE(*read, number);
        QCOMPARE(JsonRead::looseInt(value, -5), ok ? number : -5);
    }

    void texts()
    {
        QCOMPARE(JsonRead::texts({}), QStringList());
        const QJsonArray mixed{"a", QStringLiteral("Нал"), 7, true, QJsonValue(), QJsonArray{"b"}, ""};
        QCOMPARE(JsonRead::texts(mixed), (QStringList{QStringLiteral("a"), QStringLiteral("Нал"), QString(), QString(),
                                                      QString(), QString(), QString()}));
    }
};

DESK_TEST_MAIN(TestJsonRead)

#include "tst_jsonread.moc"
