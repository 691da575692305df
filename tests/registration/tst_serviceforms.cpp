#include "registration/serviceforms.h"

#include "desktest.h"
#include "jsonmatch.h"
#include "onlineservice.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

/// The forms that go to the online service, byte by byte.
class ServiceFormsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void search_data();
    void search();
    void scannedCode_data();
    void scannedCode();
    void checkIn();
    void twiceEncoded_data();
    void twiceEncoded();
    void onTheWire();
    void endlessReply();
};

void ServiceFormsTest::search_data()
{
    QTest::addColumn<QString>("apiKey");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("phone") << "KEY"
                           << "8999" << QByteArray("apiKey=KEY&fullData=true&searchString=8999");
    QTest::newRow("Cyrillic") << "KEY"
                              << "Иван" << QByteArray("apiKey=KEY&fullData=true&searchString=%D0%98%D0%B2%D0%B0%D0%BD");
    QTest::newRow("blank") << "KEY"
                           << "a b" << QByteArray("apiKey=KEY&fullData=true&searchString=a%20b");
    QTest::newRow("nothing") << ""
                             << "" << QByteArray("apiKey=&fullData=true&searchString=");
    QTest::newRow("no key at all") << QString() << QString() << QByteArray("apiKey=&fullData=true&searchString=");
    QTest::newRow("separators") << "a&b"
                                << "c&d#e" << QByteArray("apiKey=a%26b&fullData=true&searchString=c%26d%23e");
    QTest::newRow("per cent") << "KEY"
                              << "50%" << QByteArray("apiKey=KEY&fullData=true&searchString=50%25");
}

void ServiceFormsTest::search()
{
    QFETCH(QString, apiKey);
    QFETCH(QString, text);
    QTEST(ServiceForms::search(apiKey, text), "body");
}

void ServiceFormsTest::scannedCode_data()
{
    QTest::addColumn<QJsonObject>("code");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, const char *code, const char *body) {
        QTest::newRow(name) << JsonMatch::object(code) << QByteArray(body);
    };
    row("plain", R"({"iv":"abc","data":"XYZ09"})", R"(qrcode={"data":"XYZ09","fullData":true,"iv":"abc"})");
    row("base64", R"({"iv":"a+b/c=","data":"d e"})",
        R"(qrcode={"data":"d%2520e","fullData":true,"iv":"a%252Bb%252Fc%253D"})");
    row("Cyrillic", R"({"iv":"Ж","data":"%"})", R"(qrcode={"data":"%2525","fullData":true,"iv":"%25D0%2596"})");
    row("unreserved", R"({"iv":"-._~","data":"\""})", R"(qrcode={"data":"%2522","fullData":true,"iv":"-._~"})");
    row("other keys", R"({"iv":"1","data":"2","action":"x","fullData":false})",
        R"(qrcode={"data":"2","fullData":true,"iv":"1"})");
    row("not a code of the service", R"({"a":1})", R"(qrcode={"data":"","fullData":true,"iv":""})");
    row("wrong types", R"({"iv":5,"data":["x"]})", R"(qrcode={"data":"","fullData":true,"iv":""})");
}

void ServiceFormsTest::scannedCode()
{
    QFETCH(QJsonObject, code);
    QTEST(ServiceForms::scannedCode(code), "body");
}

void ServiceFormsTest::checkIn()
{
    QCOMPARE(ServiceForms::checkIn("K E", 17),
             QByteArray("apiKey=K%20E&fullData=true&clientId=17&code=add_to_checkin"));
}

void ServiceFormsTest::twiceEncoded_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("encoded");
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("plain") << "abcXYZ-._~"
                           << "abcXYZ-._~";
    QTest::newRow("signs") << "+/=&"
                           << "%252B%252F%253D%2526";
    QTest::newRow("encoded already") << "%2B"
                                     << "%25252B";
}

void ServiceFormsTest::twiceEncoded()
{
    QFETCH(QString, value);
    QTEST(ServiceForms::twiceEncoded(value), "encoded");
}

void ServiceFormsTest::onTheWire()
{
    OnlineService service;
    QVERIFY(service.listen());
    service.answerAll("{}");
    QNetworkAccessManager manager;
    int finished = 0;
    connect(&manager, &QNetworkAccessManager::finished, this, [&] { ++finished; });
    ServiceForms::post(&manager, service.url(), QString(), "a=b");
    ServiceForms::post(&manager, service.url(), "?x=1", "c=d");
    QTRY_COMPARE(finished, 2);
    QSet<QByteArray> seen;
    for (const OnlineService::Request &request : service.requests()) {
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.contentType, QByteArray("application/x-www-form-urlencoded"));
        seen.insert(request.path + ' ' + request.body);
    }
    QCOMPARE(seen, (QSet<QByteArray>{"/findracer.php a=b", "/findracer.php?x=1 c=d"}));
}

/// A reply that does not end is given up before it fills the memory.
void ServiceFormsTest::endlessReply()
{
    OnlineService service;
    QVERIFY(service.listen());
    QNetworkAccessManager manager;
    int finished = 0;
    connect(&manager, &QNetworkAccessManager::finished, this, [&] { ++finished; });
    const QPointer<QNetworkReply> reply = ServiceForms::post(&manager, service.url(), QString(), "a=b");
    QVERIFY(service.waitFor(1));
    QVERIFY(service.send(0, "HTTP/1.1 200 OK\r\n\r\n"));
    const QByteArray flood(1 << 20, ' ');
    for (int sent = 0; sent < 256 && finished == 0 && service.send(0, flood); ++sent)
        QTest::qWait(5);
    QTRY_COMPARE(finished, 1);
    QCOMPARE(reply->error(), QNetworkReply::OperationCanceledError);
    QVERIFY(!service.isWaiting(0) || QTest::qWaitFor([&] { return !service.isWaiting(0); }));
}

DESK_TEST_MAIN(ServiceFormsTest)

#include "tst_serviceforms.moc"
