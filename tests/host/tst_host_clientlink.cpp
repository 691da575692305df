#include "gateway/clientframe.h"
#include "gateway/clientlink.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

/// What a client's frames and links are made of, without a socket.
class TestClientLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void goesThereAndBack_data();
    void goesThereAndBack();
    void isSafeInAForm();
    void clientsDiffer();
    void refusesStrangers_data();
    void refusesStrangers();

    void readsAFrame();
    void refusesFrames_data();
    void refusesFrames();
    void writesFrames();
};

void TestClientLink::goesThereAndBack_data()
{
    QTest::addColumn<QJsonValue>("original");
    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("text") << QJsonValue(QStringLiteral("{a1}-Ёж \"&=+%/\n"));
    QTest::newRow("empty text") << QJsonValue(QString());
    QTest::newRow("number") << QJsonValue(-12.5);
    QTest::newRow("bool") << QJsonValue(true);
    QTest::newRow("array") << QJsonValue(QJsonArray{1, QStringLiteral("b"), QJsonArray()});
    QTest::newRow("object") << QJsonValue(QJsonObject{{QStringLiteral("a"), QJsonObject{{QStringLiteral("b"), 1}}}});
    QTest::newRow("a link of its own") << QJsonValue(ClientLink{2, QJsonValue(1)}.toText());
}

void TestClientLink::goesThereAndBack()
{
    QFETCH(QJsonValue, original);
    ClientLink link;
    QVERIFY(ClientLink::fromValue(ClientLink{7, original}.toText(), &link));
    QCOMPARE(link.client, qint64(7));
    QCOMPARE(link.original, original);
}

void TestClientLink::isSafeInAForm()
{
    // All bytes that a text can have, so that every letter of the coding comes up.
    QString all;
    for (char16_t c = 1; c < 0x500; ++c)
        all += QChar(c);
    const QString text = ClientLink{1, all}.toText();
    QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9_-]+$")).match(text).hasMatch());
    QCOMPARE(QString::fromLatin1(QUrl::toPercentEncoding(text)), text);
}

void TestClientLink::clientsDiffer()
{
    QVERIFY((ClientLink{1, QJsonValue(1)}.toText() != ClientLink{2, QJsonValue(1)}.toText()));
    QVERIFY((ClientLink{1, QJsonValue(1)}.toText() != ClientLink{11, QJsonValue()}.toText()));
}

void TestClientLink::refusesStrangers_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("empty") << QJsonValue(QString());
    QTest::newRow("number") << QJsonValue(1);
    QTest::newRow("a guid") << QJsonValue(QStringLiteral("{2f8e3c1a-5b8d-4d6e-9f10-3c1d2e4f5a6b}"));
    QTest::newRow("no number") << QJsonValue(QStringLiteral("c-W10"));
    QTest::newRow("nought") << QJsonValue(QStringLiteral("c0-W10"));
    QTest::newRow("huge number") << QJsonValue(QStringLiteral("c99999999999999999999-W10"));
    QTest::newRow("no content") << QJsonValue(QStringLiteral("c1-"));
    QTest::newRow("no JSON") << QJsonValue(QStringLiteral("c1-AAAA"));
    QTest::newRow("an object") << QJsonValue(QStringLiteral("c1-e30"));
    QTest::newRow("two values") << QJsonValue(QStringLiteral("c1-WzEsMl0"));
    QTest::newRow("more behind it") << QJsonValue(QStringLiteral("c1-W10\n"));
}

void TestClientLink::refusesStrangers()
{
    QFETCH(QJsonValue, value);
    ClientLink link;
    QVERIFY(!ClientLink::fromValue(value, &link));
    QCOMPARE(link.client, qint64(0));
}

void TestClientLink::readsAFrame()
{
    ClientFrame frame;
    QString error;
    QVERIFY(ClientFrame::parse(QStringLiteral("{\"event\":\"local_request\",\"data\":{\"request\":\"cash_data\"}}"),
                               &frame, &error));
    QCOMPARE(frame.event, QStringLiteral("local_request"));
    QCOMPARE(frame.data, QJsonObject({{QStringLiteral("request"), QStringLiteral("cash_data")}}));
    QVERIFY(ClientFrame::parse(QStringLiteral("{\"event\":\"remote_control_data\",\"data\":{}}"), &frame, &error));
    QCOMPARE(frame.event, QStringLiteral("remote_control_data"));
    QVERIFY(frame.data.isEmpty());
}

void TestClientLink::refusesFrames_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << QString();
    QTest::newRow("no JSON") << QStringLiteral("cash_data");
    QTest::newRow("half of it") << QStringLiteral("{\"event\":\"local_request\",\"data\":{");
    QTest::newRow("array") << QStringLiteral("[]");
    QTest::newRow("no event") << QStringLiteral("{\"data\":{}}");
    QTest::newRow("event of another type") << QStringLiteral("{\"event\":1,\"data\":{}}");
    QTest::newRow("the host's event") << QStringLiteral("{\"event\":\"run_closed\",\"data\":{}}");
    QTest::newRow("the desk's event") << QStringLiteral("{\"event\":\"local_request_answer\",\"data\":{}}");
    QTest::newRow("no data") << QStringLiteral("{\"event\":\"local_request\"}");
    QTest::newRow("data of another type") << QStringLiteral("{\"event\":\"local_request\",\"data\":[]}");
    QTest::newRow("bottomless") << QStringLiteral("{\"event\":\"local_request\",\"data\":{\"a\":%1%2}}")
                                       .arg(QString(100000, QLatin1Char('[')), QString(100000, QLatin1Char(']')));
}

void TestClientLink::refusesFrames()
{
    QFETCH(QString, text);
    ClientFrame frame;
    QString error;
    QVERIFY(!ClientFrame::parse(text, &frame, &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(frame.event.isEmpty());
}

void TestClientLink::writesFrames()
{
    const auto object = [](const QString &text) { return QJsonDocument::fromJson(text.toUtf8()).object(); };
    const QJsonObject data{{QStringLiteral("trackName"), QStringLiteral("Картодром")}};
    QCOMPARE(object(ClientFrame{QStringLiteral("local_request_answer"), data}.toText()),
             QJsonObject(
                 {{QStringLiteral("event"), QStringLiteral("local_request_answer")}, {QStringLiteral("data"), data}}));
    QCOMPARE(object(ClientFrame::hello(QStringLiteral("s1"))),
             QJsonObject({{QStringLiteral("event"), QStringLiteral("hello")},
                          {QStringLiteral("sinkId"), QStringLiteral("s1")}}));
    QCOMPARE(object(ClientFrame::error(QStringLiteral("нет"))),
             QJsonObject({{QStringLiteral("event"), QStringLiteral("error")},
                          {QStringLiteral("message"), QStringLiteral("нет")}}));
}

QTEST_APPLESS_MAIN(TestClientLink)
#include "tst_host_clientlink.moc"
