#include "payments/paymentrecord.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QMap>
#include <QSqlField>

namespace {

QSqlRecord row(const QVector<QPair<QString, QVariant>> &values)
{
    QSqlRecord record;
    for (const auto &[name, value] : values) {
        QSqlField field(name, value.type());
        field.setValue(value);
        record.append(field);
    }
    return record;
}

QSqlRecord rowWith(const QString &name, const QVariant &value)
{
    return row({{name, value}});
}

QString marked(const char *text)
{
    return QString::fromUtf8(text).replace(QLatin1Char('0'), QChar(QChar::Null));
}

QMap<QString, QVariant> valuesOf(const QJsonObject &payment)
{
    QMap<QString, QVariant> map;
    const auto values = PaymentRecord::values(payment, QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9, 10), Qt::UTC));
    for (const auto &[placeholder, value] : values)
        map.insert(placeholder, value);
    return map;
}

} // namespace

/// A payment record on its way into a row, and a row on its way into a batch.
class TestPaymentRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void placeholders()
    {
        QStringList names;
        const auto values = PaymentRecord::values({}, QDateTime::currentDateTimeUtc());
        for (const auto &[placeholder, value] : values)
            names.append(placeholder);
        names.sort();
        QStringList expected = QStringLiteral(":pay_date :client_id :first_name :last_name :mid_name :sum :tariff "
                                              ":discount :price_id :price_type :pay_state :pay_kind :car_model "
                                              ":tickets_count :comment")
                                   .split(QLatin1Char(' '));
        expected.sort();
        QCOMPARE(names, expected);
    }

    void values_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("placeholder");
        QTest::addColumn<QJsonValue>("given");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QVariant>("fallback");
        const auto text = [](const char *key, const char *placeholder) {
            QTest::newRow(key) << QString::fromLatin1(key) << QString::fromLatin1(placeholder)
                               << QJsonValue(QStringLiteral("Ёлка, 5%")) << QVariant(QStringLiteral("Ёлка, 5%"))
                               << QVariant(QString());
        };
        const auto whole = [](const char *key, const char *placeholder, int given, int fallback) {
            QTest::newRow(key) << QString::fromLatin1(key) << QString::fromLatin1(placeholder) << QJsonValue(given)
                               << QVariant(given) << QVariant(fallback);
        };
        const auto money = [](const char *key, const char *placeholder) {
            QTest::newRow(key) << QString::fromLatin1(key) << QString::fromLatin1(placeholder) << QJsonValue(-350.55)
                               << QVariant(-350.55) << QVariant(0.0);
        };
        whole("clientId", ":client_id", 4711, -1);
        text("firstName", ":first_name");
        text("lastName", ":last_name");
        text("midName", ":mid_name");
        money("paySum", ":sum");
        money("price", ":tariff");
        text("discountValue", ":discount");
        whole("salesCommonId", ":price_id", 12, -1);
        whole("priceType", ":price_type", 2, -1);
        QTest::newRow("payState") << QStringLiteral("payState") << QStringLiteral(":pay_state") << QJsonValue(true)
                                  << QVariant(true) << QVariant(false);
        text("payMethod", ":pay_kind");
        text("carModel", ":car_model");
        whole("runCount", ":tickets_count", -3, 1);
        text("comment", ":comment");
    }
    void values()
    {
        QFETCH(QString, key);
        QFETCH(QString, placeholder);
        QFETCH(QJsonValue, given);
        QFETCH(QVariant, stored);
        QFETCH(QVariant, fallback);
        const QVariant read = valuesOf({{key, given}}).value(placeholder);
        QCOMPARE(read.type(), stored.type());
        QCOMPARE(read, stored);

        const QVariant missing = valuesOf({}).value(placeholder);
        QCOMPARE(missing.type(), stored.type());
        QCOMPARE(missing, fallback);

        const QVector<QJsonValue> others{QStringLiteral("7"),   7,           true, QJsonArray{7},
                                         QJsonObject{{"a", 7}}, QJsonValue()};
        for (const QJsonValue &other : others) {
            if (other.type() != given.type())
                QCOMPARE(valuesOf({{key, other}}).value(placeholder), fallback);
        }
    }

    void aBrokenNumberIsNoWholeNumber()
    {
        QCOMPARE(valuesOf({{"clientId", 2.5}}).value(QStringLiteral(":client_id")), QVariant(-1));
        QCOMPARE(valuesOf({{"runCount", 2.5}}).value(QStringLiteral(":tickets_count")), QVariant(1));
        QCOMPARE(valuesOf({{"priceType", 3e9}}).value(QStringLiteral(":price_type")), QVariant(-1));
    }

    // A name part that is missing has to be told from an empty one in the row.
    void missingTextsAreNull()
    {
        const QMap<QString, QVariant> values = valuesOf({});
        for (const char *name : {":first_name", ":last_name", ":mid_name", ":discount", ":comment"})
            QVERIFY2(values.value(QString::fromLatin1(name)).isNull(), name);
        QVERIFY(PaymentRecord::uuid({}).isNull());
    }

    void theTimeIsUtc()
    {
        const QDateTime local(QDate(2024, 5, 6), QTime(7, 8), Qt::OffsetFromUTC, 3 * 3600);
        const auto values = PaymentRecord::values({}, local);
        QCOMPARE(values.first().first, QStringLiteral(":pay_date"));
        QCOMPARE(values.first().second.type(), QVariant::DateTime);
        QCOMPARE(values.first().second.toDateTime().timeSpec(), Qt::UTC);
        QCOMPARE(values.first().second.toDateTime(), local);
    }

    void identity()
    {
        const QJsonObject payment{{"uuid", QStringLiteral("{a}")}, {"cashierId", 9}};
        QCOMPARE(PaymentRecord::uuid(payment), QStringLiteral("{a}"));
        QCOMPARE(PaymentRecord::cashierId(payment), 9);
        QCOMPARE(PaymentRecord::cashierId({}), -1);
        QCOMPARE(PaymentRecord::cashierId({{"cashierId", QStringLiteral("9")}}), -1);
        QCOMPARE(PaymentRecord::uuid({{"uuid", 9}}), QString());
    }

    void withoutMissingParts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("clean");
        QTest::newRow("all parts") << marked("Иванов Иван Иванович") << marked("Иванов Иван Иванович");
        QTest::newRow("no last name") << marked("0 Иван Иванович") << marked("Иван Иванович");
        QTest::newRow("no first name") << marked("Иванов 0 Иванович") << marked("Иванов Иванович");
        QTest::newRow("no middle name keeps its mark") << marked("Иванов Иван 0") << marked("Иванов Иван 0");
        QTest::newRow("last name only") << marked("Иванов 0 0") << marked("Иванов 0");
        QTest::newRow("middle name only") << marked("0 0 Иванович") << marked("Иванович");
        QTest::newRow("none keeps the last mark") << marked("0 0 0") << marked("0");
        QTest::newRow("empty parts are not missing") << QStringLiteral("  ") << QStringLiteral("  ");
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("digits and backslashes stay") << QStringLiteral("\\0 10 20") << QStringLiteral("\\0 10 20");
    }
    void withoutMissingParts()
    {
        QFETCH(QString, name);
        QFETCH(QString, clean);
        QCOMPARE(PaymentRecord::withoutMissingParts(name), clean);
    }

    void batchItem()
    {
        const QSqlRecord full = row({{QStringLiteral("id"), 17},
                                     {QStringLiteral("pay_date"), QStringLiteral("2024-05-06T07:08:09.010Z")},
                                     {QStringLiteral("client_id"), 4711},
                                     {QStringLiteral("client_name"), marked("Иванов 0 Иванович")},
                                     {QStringLiteral("sum"), 900.5},
                                     {QStringLiteral("tariff"), 300.25},
                                     {QStringLiteral("discount"), QStringLiteral("=50")},
                                     {QStringLiteral("pay_kind"), QStringLiteral("Карта")},
                                     {QStringLiteral("car_model"), QStringLiteral("Sodi")},
                                     {QStringLiteral("item_name"), QStringLiteral("Заезд")},
                                     {QStringLiteral("items_count"), 3},
                                     {QStringLiteral("price_id"), 12},
                                     {QStringLiteral("price_type"), 2},
                                     {QStringLiteral("price_type_name"), QStringLiteral("Выходные")},
                                     {QStringLiteral("cashier_id"), 9},
                                     {QStringLiteral("cashier_name"), marked("Петрова Анна 0")},
                                     {QStringLiteral("comment"), QStringLiteral("за двоих")},
                                     {QStringLiteral("pay_state"), 1}});
        JSON_COMPARE(PaymentRecord::batchItem(full), (QJsonObject{{"dbId", 17},
                                                                  {"payState", 1},
                                                                  {"payDate", "2024-05-06T07:08:09"},
                                                                  {"clientId", 4711},
                                                                  {"clientName", QStringLiteral("Иванов Иванович")},
                                                                  {"sum", 900.5},
                                                                  {"tariff", 300.25},
                                                                  {"discount", "=50"},
                                                                  {"payKind", QStringLiteral("Карта")},
                                                                  {"carModel", "Sodi"},
                                                                  {"itemName", QStringLiteral("Заезд")},
                                                                  {"itemsCount", 3},
                                                                  {"priceId", 12},
                                                                  {"priceType", 2},
                                                                  {"priceTypeName", QStringLiteral("Выходные")},
                                                                  {"cashierId", 9},
                                                                  {"cashierName", marked("Петрова Анна 0")},
                                                                  {"comment", QStringLiteral("за двоих")}}));
    }

    void batchItemOfAnEmptyRow()
    {
        const QJsonObject item = PaymentRecord::batchItem({});
        JSON_COMPARE(item, (QJsonObject{{"dbId", 0},
                                        {"payState", 0},
                                        {"payDate", ""},
                                        {"clientId", 0},
                                        {"clientName", ""},
                                        {"sum", 0.0},
                                        {"tariff", 0.0},
                                        {"discount", ""},
                                        {"payKind", ""},
                                        {"carModel", ""},
                                        {"itemName", ""},
                                        {"itemsCount", 0},
                                        {"priceId", 0},
                                        {"priceType", 0},
                                        {"priceTypeName", ""},
                                        {"cashierId", 0},
                                        {"cashierName", ""}}));
    }

    void commentIsThereOnlyWithAText()
    {
        const auto item = [](const QVariant &comment) {
            return PaymentRecord::batchItem(rowWith(QStringLiteral("comment"), comment));
        };
        QVERIFY(!item(QVariant(QVariant::String)).contains(QLatin1String("comment")));
        QVERIFY(!item(QString()).contains(QLatin1String("comment")));
        QVERIFY(!item(QLatin1String("")).contains(QLatin1String("comment")));
        QCOMPARE(item(QStringLiteral(" ")).value(QLatin1String("comment")).toString(), QStringLiteral(" "));
    }

    void payDate_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("sent");
        QTest::newRow("as the driver writes it")
            << QVariant(QStringLiteral("2024-05-06T07:08:09.999Z")) << QStringLiteral("2024-05-06T07:08:09");
        QTest::newRow("without milliseconds")
            << QVariant(QStringLiteral("2024-05-06T07:08:09Z")) << QStringLiteral("2024-05-06T07:08:09");
        QTest::newRow("with an offset") << QVariant(QStringLiteral("2024-05-06T07:08:09+03:00"))
                                        << QStringLiteral("2024-05-06T04:08:09");
        QTest::newRow("a local time") << QVariant(QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC).toLocalTime())
                                      << QStringLiteral("2024-05-06T07:08:09");
        QTest::newRow("no time") << QVariant(QStringLiteral("yesterday")) << QString();
        QTest::newRow("null") << QVariant(QVariant::String) << QString();
    }
    void payDate()
    {
        QFETCH(QVariant, stored);
        QFETCH(QString, sent);
        const QJsonObject item = PaymentRecord::batchItem(rowWith(QStringLiteral("pay_date"), stored));
        QCOMPARE(item.value(QLatin1String("payDate")).toString(), sent);
        QVERIFY(item.value(QLatin1String("payDate")).isString());
    }

    void takenIds_data()
    {
        QTest::addColumn<QJsonValue>("list");
        QTest::addColumn<QString>("ids");
        QTest::newRow("one") << QJsonValue(QJsonArray{7}) << QStringLiteral("7");
        QTest::newRow("order kept") << QJsonValue(QJsonArray{7, 3, 11, 3}) << QStringLiteral("7,3,11,3");
        QTest::newRow("negative") << QJsonValue(QJsonArray{-1}) << QStringLiteral("-1");
        QTest::newRow("no whole numbers")
            << QJsonValue(QJsonArray{"7", 1.5, true, QJsonValue(), QJsonArray{7}, "1) OR (1=1", 8})
            << QStringLiteral("0,0,0,0,0,0,8");
        QTest::newRow("empty") << QJsonValue(QJsonArray()) << QString();
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << QString();
        QTest::newRow("null") << QJsonValue() << QString();
        QTest::newRow("number") << QJsonValue(7) << QString();
        QTest::newRow("text") << QJsonValue(QStringLiteral("7")) << QString();
        QTest::newRow("object") << QJsonValue(QJsonObject{{"0", 7}}) << QString();
    }
    void takenIds()
    {
        QFETCH(QJsonValue, list);
        QFETCH(QString, ids);
        QJsonObject answer;
        answer.insert(QStringLiteral("updatedList"), list);
        QCOMPARE(PaymentRecord::takenIds(answer), ids);
    }
};

DESK_TEST_MAIN(TestPaymentRecord)

#include "tst_paymentrecord.moc"
