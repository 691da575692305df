#include "service/clientlookup.h"
#include "service/clientphoto.h"
#include "service/democlients.h"
#include "service/democode.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QtTest>
#include <QUrl>
#include <QUrlQuery>

/// What the online service's stand-in knows and says, without a network.
class TestClientLookup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knowsItsClients();
    void finds_data();
    void finds();
    void sortsAndLimits();
    void records();
    void photoShowsInALabel();
    void codesAreTouchy();
    void damagedCodes_data();
    void damagedCodes();
    void readsForms();
    void answersTheSearch();
    void answersACodeBothWays();
    void codeEncodedOnceIsNotUnderstood();
    void answersACheckIn();
    void refuses_data();
    void refuses();

private:
    QVector<int> found(const QString &text) const;
    QJsonObject ask(const QByteArray &body) const;

    DemoClients m_clients;
};

namespace {

const QString key = QStringLiteral("bench-key");

// As the desk encodes the texts of a code.
QJsonObject twiceEncoded(const QJsonObject &code)
{
    QJsonObject result = code;
    for (const QString &name : {QStringLiteral("data"), QStringLiteral("iv")}) {
        const QByteArray once = QUrl::toPercentEncoding(code.value(name).toString());
        result.insert(name, QString::fromLatin1(QUrl::toPercentEncoding(QString::fromLatin1(once))));
    }
    return result;
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray encoded(const QUrlQuery &query)
{
    return query.query(QUrl::FullyEncoded).toUtf8();
}

QVector<int> ids(const QJsonObject &reply)
{
    QVector<int> result;
    const QJsonArray results = reply.value(QStringLiteral("results")).toArray();
    for (const QJsonValue &value : results)
        result.append(value.toObject().value(QStringLiteral("clientId")).toInt(-1));
    return result;
}

QString text(const QJsonObject &reply, const char *name)
{
    return reply.value(QLatin1String(name)).toString();
}

} // namespace

QVector<int> TestClientLookup::found(const QString &text) const
{
    QVector<int> result;
    const QVector<const DemoClients::Client *> clients = m_clients.find(text);
    for (const DemoClients::Client *client : clients)
        result.append(client->id);
    return result;
}

QJsonObject TestClientLookup::ask(const QByteArray &body) const
{
    ClientLookup lookup(&m_clients);
    lookup.setApiKey(key);
    return lookup.reply(ClientLookup::parse(body));
}

void TestClientLookup::knowsItsClients()
{
    QCOMPARE(m_clients.count(), 300);
    QVERIFY(!m_clients.client(0));
    QVERIFY(!m_clients.client(-1));
    QVERIFY(!m_clients.client(301));
    const DemoClients again;
    QSet<QString> phones;
    for (int id = 1; id <= m_clients.count(); ++id) {
        const DemoClients::Client *client = m_clients.client(id);
        QVERIFY(client);
        QCOMPARE(client->id, id);
        QVERIFY(!client->lastName.isEmpty());
        QVERIFY(!client->firstName.isEmpty());
        QVERIFY2(client->tel.startsWith(QStringLiteral("+7000")) && client->tel.size() == 12, qPrintable(client->tel));
        phones.insert(client->tel);
        QCOMPARE(m_clients.record(*client, true), again.record(*again.client(id), true));
    }
    // Two of a family share theirs.
    QCOMPARE(phones.size(), 299);
}

void TestClientLookup::finds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVector<int>>("ids");
    const auto row = [](const char *name, const char *text, const QVector<int> &ids) {
        QTest::newRow(name) << QString::fromUtf8(text) << ids;
    };
    row("nothing", "", {});
    row("blanks", "  ", {});
    row("a whole name", "Орлова Анна Сергеевна", {1});
    row("parts in another order", "анн орл", {1});
    row("any case", "оРЛОВА", {1});
    row("inside a name", "орсаков", {6});
    row("one word too many", "Орлова Анна Петровна", {});
    row("namesakes", "кузнецов иван", {2, 3});
    row("e for ё", "соловьев", {5, 4});
    row("ё for ё", "СОЛОВЬЁВ", {5, 4});
    row("Latin letters and signs", "o'neil & <sons>", {7});
    row("a whole phone", "+70001234567", {1});
    row("a phone with signs", "+7 (000) 123-45-67", {1});
    row("without the plus, as a form sends it", " 7 000 123-45-67", {1});
    row("with 8", "8 000 123 45 67", {1});
    row("the end of a phone", "34567", {1});
    row("a family's phone", "5550101", {5, 4});
    row("nobody's phone", "99999999", {});
    row("signs only", "+-()", {});
    row("letters and digits", "Орлова 7", {});
}

void TestClientLookup::finds()
{
    QFETCH(QString, text);
    QTEST(found(text), "ids");
}

void TestClientLookup::sortsAndLimits()
{
    const QVector<const DemoClients::Client *> all = m_clients.find(QStringLiteral("а"));
    QCOMPARE(all.size(), DemoClients::maxFound);
    for (int i = 1; i < all.size(); ++i)
        QVERIFY(all.at(i - 1)->lastName <= all.at(i)->lastName);
}

void TestClientLookup::records()
{
    const QJsonObject full = m_clients.record(*m_clients.client(1), true);
    const QStringList keys = full.keys();
    QCOMPARE(QSet<QString>(keys.cbegin(), keys.cend()),
             QSet<QString>({QStringLiteral("id"), QStringLiteral("clientId"), QStringLiteral("firstName"),
                            QStringLiteral("lastName"), QStringLiteral("midName"), QStringLiteral("name"),
                            QStringLiteral("photo"), QStringLiteral("additionalData"), QStringLiteral("birthDate"),
                            QStringLiteral("tel"), QStringLiteral("email")}));
    QCOMPARE(full.value(QStringLiteral("id")), QJsonValue(1));
    QCOMPARE(full.value(QStringLiteral("clientId")), QJsonValue(1));
    QCOMPARE(text(full, "lastName"), QStringLiteral("Орлова"));
    QCOMPARE(text(full, "name"), QStringLiteral("Орлова Анна Сергеевна"));
    QCOMPARE(text(full, "birthDate"), QStringLiteral("1988-04-17"));
    QCOMPARE(text(full, "tel"), QStringLiteral("+70001234567"));
    QVERIFY(full.value(QStringLiteral("additionalData")).isObject());

    const QJsonObject brief = m_clients.record(*m_clients.client(1), false);
    QCOMPARE(brief.size(), 6);
    QCOMPARE(text(brief, "midName"), QStringLiteral("Сергеевна"));
    QCOMPARE(text(m_clients.record(*m_clients.client(6), true), "name"), QStringLiteral("Римская-Корсакова Ольга"));
    QCOMPARE(text(m_clients.record(*m_clients.client(6), true), "birthDate"), QString());
    QCOMPARE(text(m_clients.record(*m_clients.client(8), true), "photo"), QString());
}

void TestClientLookup::photoShowsInALabel()
{
    const auto shown = [](const QString &photo) {
        QLabel label;
        label.setText(QStringLiteral("<img src=\"%1\" style=\"width:100%;height:100%;\"/>").arg(photo));
        label.resize(label.sizeHint());
        return label.grab().toImage();
    };
    for (const int id : {1, 2}) {
        const DemoClients::Client *client = m_clients.client(id);
        const QImage drawn = ClientPhoto::draw(id, client->woman);
        const QImage label = shown(text(m_clients.record(*client, true), "photo"));
        QVERIFY(label.width() >= drawn.width());
        QVERIFY(label.height() >= drawn.height());
        QVector<QRgb> colours;
        for (int y = 0; y < label.height(); ++y) {
            for (int x = 0; x < label.width(); ++x)
                colours.append(label.pixel(x, y));
        }
        // All of the picture's background is there, so it was neither scaled nor cut.
        int background = 0;
        for (int y = 0; y < drawn.height(); ++y) {
            for (int x = 0; x < drawn.width(); ++x)
                background += drawn.pixel(x, y) == drawn.pixel(0, 0) ? 1 : 0;
        }
        QVERIFY(background > 1000);
        QCOMPARE(colours.count(drawn.pixel(0, 0)), background);
    }
    QVERIFY(ClientPhoto::draw(1, true) != ClientPhoto::draw(2, false));
    QVERIFY(ClientPhoto::draw(1, true) != ClientPhoto::draw(4, true));
}

void TestClientLookup::codesAreTouchy()
{
    QSet<QString> codes;
    for (int id = 1; id <= m_clients.count(); ++id) {
        const QJsonObject code = DemoCode::make(id);
        QCOMPARE(code.keys(), QStringList({QStringLiteral("data"), QStringLiteral("iv")}));
        for (const char *name : {"data", "iv"}) {
            for (const char sign : {'+', '/', '='})
                QVERIFY2(text(code, name).contains(QLatin1Char(sign)), qPrintable(text(code, name)));
        }
        QCOMPARE(DemoCode::clientId(text(code, "data"), text(code, "iv")), id);
        QCOMPARE(DemoCode::make(id), code);
        codes.insert(text(code, "data"));
    }
    QCOMPARE(codes.size(), m_clients.count());
}

void TestClientLookup::damagedCodes_data()
{
    QTest::addColumn<QString>("data");
    QTest::addColumn<QString>("iv");
    const QJsonObject code = DemoCode::make(17);
    const QString data = text(code, "data");
    const QString iv = text(code, "iv");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("no iv") << data << QString();
    QTest::newRow("no data") << QString() << iv;
    QTest::newRow("swapped") << iv << data;
    QTest::newRow("another's iv") << data << text(DemoCode::make(18), "iv");
    QTest::newRow("blank for plus") << QString(data).replace(QLatin1Char('+'), QLatin1Char(' ')) << iv;
    QTest::newRow("blank for plus in iv") << data << QString(iv).replace(QLatin1Char('+'), QLatin1Char(' '));
    QTest::newRow("no padding") << QString(data).remove(QLatin1Char('=')) << iv;
    QTest::newRow("still encoded") << QString::fromLatin1(QUrl::toPercentEncoding(data)) << iv;
    QTest::newRow("cut") << data.left(20) << iv;
    QTest::newRow("no base64") << QStringLiteral("клиент") << iv;
}

void TestClientLookup::damagedCodes()
{
    QFETCH(QString, data);
    QFETCH(QString, iv);
    QCOMPARE(DemoCode::clientId(data, iv), -1);
}

void TestClientLookup::readsForms()
{
    using Form = ClientLookup::Form;
    QVERIFY(ClientLookup::parse(QByteArray()).isEmpty());
    QCOMPARE(ClientLookup::parse("a=1&b=x+y%20z&c=&d"), Form({{QStringLiteral("a"), QStringLiteral("1")},
                                                              {QStringLiteral("b"), QStringLiteral("x y z")},
                                                              {QStringLiteral("c"), QString()},
                                                              {QStringLiteral("d"), QString()}}));
    QCOMPARE(ClientLookup::parse("s=%D0%90%D0%BD%D0%BD%D0%B0&&s=%2B=%26&"),
             Form({{QStringLiteral("s"), QStringLiteral("+=&")}}));
    QCOMPARE(ClientLookup::parse("qrcode={\"data\":\"a%252Bb\"}"),
             Form({{QStringLiteral("qrcode"), QStringLiteral("{\"data\":\"a%2Bb\"}")}}));
    // Broken encodings are read somehow.
    QCOMPARE(ClientLookup::parse("a=%zz%4").size(), 1);
    QCOMPARE(ClientLookup::parse("a=\xff\xfe").size(), 1);
}

void TestClientLookup::answersTheSearch()
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("apiKey"), key);
    query.addQueryItem(QStringLiteral("fullData"), QStringLiteral("true"));
    query.addQueryItem(QStringLiteral("searchString"), QStringLiteral("Кузнецов Иван"));
    QJsonObject reply = ask(encoded(query));
    QCOMPARE(text(reply, "status"), QStringLiteral("ok"));
    QCOMPARE(text(reply, "code"), QStringLiteral("racer_db_data"));
    QVERIFY(!reply.contains(QStringLiteral("linkGuid")));
    QCOMPARE(ids(reply), QVector<int>({2, 3}));
    QVERIFY(reply.value(QStringLiteral("results")).toArray().at(0).toObject().contains(QStringLiteral("photo")));

    query.addQueryItem(QStringLiteral("linkGuid"), QStringLiteral("{5f} %2B%26="));
    query.removeQueryItem(QStringLiteral("fullData"));
    reply = ask(encoded(query));
    QCOMPARE(text(reply, "linkGuid"), QStringLiteral("{5f} +&="));
    QVERIFY(!reply.value(QStringLiteral("results")).toArray().at(0).toObject().contains(QStringLiteral("photo")));

    query.removeQueryItem(QStringLiteral("searchString"));
    query.addQueryItem(QStringLiteral("searchString"), QStringLiteral("Никто"));
    reply = ask(encoded(query));
    QCOMPARE(text(reply, "status"), QStringLiteral("ok"));
    QVERIFY(reply.value(QStringLiteral("results")).isArray());
    QCOMPARE(ids(reply), QVector<int>());
}

void TestClientLookup::answersACodeBothWays()
{
    for (int id = 1; id <= m_clients.count(); ++id) {
        const QJsonObject code = twiceEncoded(DemoCode::make(id));

        // The JSON as it is behind the equals sign, and no key.
        QJsonObject bare = code;
        bare.insert(QStringLiteral("fullData"), true);
        QJsonObject reply = ask("qrcode=" + compact(bare));
        QCOMPARE(text(reply, "status"), QStringLiteral("ok"));
        QCOMPARE(ids(reply), QVector<int>({id}));
        QVERIFY(reply.value(QStringLiteral("results")).toArray().at(0).toObject().contains(QStringLiteral("tel")));

        // As an item of an encoded query.
        QJsonObject item = code;
        item.insert(QStringLiteral("action"), QStringLiteral("login & more"));
        QUrlQuery query;
        query.addQueryItem(QStringLiteral("apiKey"), key);
        query.addQueryItem(QStringLiteral("fullData"), QStringLiteral("true"));
        query.addQueryItem(QStringLiteral("qrcode"), QString::fromUtf8(compact(item)));
        query.addQueryItem(QStringLiteral("linkGuid"), QStringLiteral("{1-2}"));
        reply = ask(encoded(query));
        QCOMPARE(ids(reply), QVector<int>({id}));
        QCOMPARE(text(reply, "linkGuid"), QStringLiteral("{1-2}"));
        QCOMPARE(text(reply, "code"), QStringLiteral("racer_db_data"));
    }
}

void TestClientLookup::codeEncodedOnceIsNotUnderstood()
{
    QJsonObject code = DemoCode::make(17);
    for (const QString &name : {QStringLiteral("data"), QStringLiteral("iv")})
        code.insert(name, QString::fromLatin1(QUrl::toPercentEncoding(code.value(name).toString())));
    QCOMPARE(ids(ask("qrcode=" + compact(code))), QVector<int>());
    QCOMPARE(ids(ask("qrcode=" + compact(DemoCode::make(17)))), QVector<int>());
    QCOMPARE(ids(ask("qrcode=" + compact(twiceEncoded(code)))), QVector<int>());
    QCOMPARE(ids(ask("qrcode=" + compact(twiceEncoded(DemoCode::make(301))))), QVector<int>());
    QCOMPARE(ids(ask("qrcode={\"data\":[],\"iv\":{}}")), QVector<int>());
    QCOMPARE(ids(ask("qrcode=none")), QVector<int>());
}

void TestClientLookup::answersACheckIn()
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("apiKey"), key);
    query.addQueryItem(QStringLiteral("fullData"), QStringLiteral("true"));
    query.addQueryItem(QStringLiteral("clientId"), QStringLiteral("42"));
    query.addQueryItem(QStringLiteral("code"), QStringLiteral("add_to_checkin"));
    const QJsonObject reply = ask(encoded(query));
    QCOMPARE(text(reply, "status"), QStringLiteral("ok"));
    QCOMPARE(text(reply, "code"), QStringLiteral("add_to_checkin"));
    QCOMPARE(ids(reply), QVector<int>({42}));
    QCOMPARE(reply.value(QStringLiteral("results")).toArray().at(0).toObject(),
             m_clients.record(*m_clients.client(42), true));
    QCOMPARE(ids(ask("apiKey=bench-key&code=add_to_checkin&clientId=4200")), QVector<int>());
    QCOMPARE(ids(ask("apiKey=bench-key&code=add_to_checkin&clientId=x")), QVector<int>());
}

void TestClientLookup::refuses_data()
{
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, const char *body) { QTest::newRow(name) << QByteArray(body); };
    row("nothing", "");
    row("no key", "searchString=7");
    row("an empty key", "apiKey=&searchString=7");
    row("a wrong key", "apiKey=bench&searchString=7");
    row("a wrong key with a code", "apiKey=bench&qrcode={}");
    row("nothing to look for", "apiKey=bench-key&fullData=true");
    row("an unknown request", "apiKey=bench-key&code=drop_tables&clientId=1");
}

void TestClientLookup::refuses()
{
    QFETCH(QByteArray, body);
    const QJsonObject reply = ask(body);
    QCOMPARE(text(reply, "status"), QStringLiteral("fail"));
    QCOMPARE(ids(reply), QVector<int>());
    QVERIFY(reply.value(QStringLiteral("results")).isArray());

    // Without a key of its own the service lets nobody in.
    const ClientLookup keyless(&m_clients);
    QCOMPARE(text(keyless.reply(ClientLookup::parse("apiKey=&searchString=7")), "status"), QStringLiteral("fail"));
}

QTEST_MAIN(TestClientLookup)
#include "tst_host_clientlookup.moc"
