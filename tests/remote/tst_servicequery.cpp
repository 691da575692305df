#include "remote/servicequery.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QUrl>

/// What is asked of the online service for others, byte by byte, and what becomes of its replies.
class TestServiceQuery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void phone_data()
    {
        QTest::addColumn<QJsonObject>("search");
        QTest::addColumn<QJsonValue>("link");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("text") << JsonMatch::object(R"({"type": "phone", "value": "79161234567"})")
                              << QJsonValue(QStringLiteral("{l-1}"))
                              << QByteArray("apiKey=k%26y&fullData=true&searchString=79161234567&linkGuid=%7Bl-1%7D");
        QTest::newRow("number") << JsonMatch::object(R"({"type": "phone", "value": 79161234567})") << QJsonValue(17)
                                << QByteArray("apiKey=k%26y&fullData=true&searchString=79161234567&linkGuid=17");
        QTest::newRow("Cyrillic") << JsonMatch::object(R"({"type": "phone", "value": "Ян"})") << QJsonValue()
                                  << QByteArray("apiKey=k%26y&fullData=true&searchString=%D0%AF%D0%BD&linkGuid=");
        QTest::newRow("nothing") << JsonMatch::object(R"({"type": "phone"})") << QJsonValue(QJsonValue::Undefined)
                                 << QByteArray("apiKey=k%26y&fullData=true&searchString=&linkGuid=");
    }
    void phone()
    {
        QFETCH(QJsonObject, search);
        QFETCH(QJsonValue, link);
        QFETCH(QByteArray, body);
        const auto asked = ServiceQuery::racerByNumber(search, QStringLiteral("k&y"), link);
        QVERIFY(asked);
        QCOMPARE(*asked, body);
    }

    // The service decodes the form once and the code's parts once more.
    void qrCode()
    {
        const auto asked = ServiceQuery::racerByNumber(
            JsonMatch::object(R"({"type": "qrCode", "value": {"action": "checkin", "data": "a+b/=%я", "iv": "&{}",
                "other": 1}})"),
            QStringLiteral("key"), QStringLiteral("{l}"));
        QVERIFY(asked);
        const QList<QByteArray> items = asked->split('&');
        QCOMPARE(items.size(), 4);
        QCOMPARE(items.at(0), QByteArray("apiKey=key"));
        QCOMPARE(items.at(1), QByteArray("fullData=true"));
        QCOMPARE(items.at(3), QByteArray("linkGuid=%7Bl%7D"));
        QVERIFY(items.at(2).startsWith("qrcode="));
        const QJsonObject sent = JsonMatch::object(QByteArray::fromPercentEncoding(items.at(2).mid(7)).constData());
        QCOMPARE(sent.keys(), (QStringList{QStringLiteral("action"), QStringLiteral("data"), QStringLiteral("iv")}));
        QCOMPARE(sent.value(QLatin1String("action")).toString(), QStringLiteral("checkin"));
        const auto decoded = [&sent](const char *key) {
            return QUrl::fromPercentEncoding(sent.value(QLatin1String(key)).toString().toUtf8());
        };
        QCOMPARE(decoded("data"), QStringLiteral("a+b/=%я"));
        QCOMPARE(decoded("iv"), QStringLiteral("&{}"));
    }

    void qrCodeOfAnyShape()
    {
        const auto asked = ServiceQuery::racerByNumber(JsonMatch::object(R"({"type": "qrCode", "value": "code"})"),
                                                       QString(), QStringLiteral("l"));
        QVERIFY(asked);
        const QByteArray body = QByteArray::fromPercentEncoding(*asked);
        QCOMPARE(body, QByteArray("apiKey=&fullData=true&qrcode={\"data\":\"\",\"iv\":\"\"}&linkGuid=l"));
    }

    void otherTypes_data()
    {
        QTest::addColumn<QJsonValue>("type");
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("unknown") << QJsonValue(QStringLiteral("card"));
        QTest::newRow("other case") << QJsonValue(QStringLiteral("Phone"));
        QTest::newRow("number") << QJsonValue(1);
    }
    void otherTypes()
    {
        QFETCH(QJsonValue, type);
        QVERIFY(!ServiceQuery::racerByNumber({{QStringLiteral("type"), type}, {QStringLiteral("value"), 1}}, QString(),
                                             QJsonValue()));
    }

    void oneClient()
    {
        const auto found = ServiceQuery::oneClient(R"({"status": "ok", "code": "racer_db_data", "linkGuid": "{l}",
            "results": [{"clientId": 7, "firstName": "Анна", "birthDate": "1990-01-01", "tel": "7", "email": "a@b"}]})");
        QVERIFY(found);
        QCOMPARE(found->code, QStringLiteral("racer_db_data"));
        JSON_COMPARE(found->client, JsonMatch::object(R"({"clientId": 7, "firstName": "Анна",
            "birthDate": "1990-01-01", "tel": "7", "email": "a@b"})"));
        JSON_COMPARE(ServiceQuery::publicReply(*found),
                     JsonMatch::object(R"({"status": "ok", "code": "racer_db_data", "linkGuid": "{l}",
                         "results": [{"clientId": 7, "firstName": "Анна"}]})"));
    }

    void noClient_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("page") << QByteArray("<html><body>502</body></html>");
        QTest::newRow("array") << QByteArray(R"([{"status": "ok"}])");
        QTest::newRow("cut") << QByteArray(R"({"status": "ok", "results": [{"clientId": 7})");
        QTest::newRow("failure") << QByteArray(R"({"status": "error", "results": [{"clientId": 7}]})");
        QTest::newRow("no status") << QByteArray(R"({"results": [{"clientId": 7}]})");
        QTest::newRow("status is no text") << QByteArray(R"({"status": true, "results": [{"clientId": 7}]})");
        QTest::newRow("nobody") << QByteArray(R"({"status": "ok", "results": []})");
        QTest::newRow("no results") << QByteArray(R"({"status": "ok"})");
        QTest::newRow("two") << QByteArray(R"({"status": "ok", "results": [{"clientId": 7}, {"clientId": 8}]})");
        QTest::newRow("results are an object") << QByteArray(R"({"status": "ok", "results": {"clientId": 7}})");
    }
    /// One entry is one client, even if the service says nothing of it.
    void clientWithoutData()
    {
        const auto found = ServiceQuery::oneClient(R"({"status": "ok", "code": "racer_db_data", "results": ["7"]})");
        QVERIFY(found);
        QCOMPARE(found->client, QJsonObject());
        QCOMPARE(ServiceQuery::publicReply(*found).value(QLatin1String("results")).toArray(),
                 QJsonArray{QJsonObject()});
    }
    void noClient()
    {
        QFETCH(QByteArray, reply);
        QVERIFY(!ServiceQuery::oneClient(reply));
    }
};

DESK_TEST_MAIN(TestServiceQuery)

#include "tst_servicequery.moc"
