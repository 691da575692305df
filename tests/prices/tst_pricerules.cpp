#include "prices/pricerules.h"

#include "desktest.h"

#include <cmath>

class PriceRulesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void discount_data();
    void discount();
    void discountText_data();
    void discountText();
    void settingTexts_data();
    void settingTexts();
    void discountsOfASetting();
    void linesJson_data();
    void linesJson();
    void priceItemJson();
};

void PriceRulesTest::discount_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isFixed");
    QTest::addColumn<double>("value");

    QTest::newRow("percentage") << "15" << false << 15.0;
    QTest::newRow("percentage, blanks around") << " 15 " << false << 15.0;
    QTest::newRow("percentage, negative") << "-5" << false << -5.0;
    QTest::newRow("percentage with a point") << "12.5" << false << 0.0;
    QTest::newRow("percentage with its sign") << "15%" << false << 0.0;
    QTest::newRow("percentage, hexadecimal") << "0x10" << false << 0.0;
    QTest::newRow("letters") << "abc" << false << 0.0;
    QTest::newRow("empty") << "" << false << 0.0;
    QTest::newRow("fixed") << "=100" << true << 100.0;
    QTest::newRow("fixed, fraction") << "=12.5" << true << 12.5;
    QTest::newRow("fixed, single precision") << "=0.1" << true << double(0.1F);
    QTest::newRow("fixed, currency behind") << QStringLiteral("=100 руб") << true << 100.0;
    QTest::newRow("fixed, blank in front") << "= 100" << true << 100.0;
    QTest::newRow("fixed, letters") << "=abc" << true << 0.0;
    QTest::newRow("fixed, nothing") << "=" << true << 0.0;
    QTest::newRow("equals sign later") << " =100" << false << 0.0;
}

void PriceRulesTest::discount()
{
    QFETCH(QString, text);
    QFETCH(bool, isFixed);
    QFETCH(double, value);
    const DiscountItem discount = PriceRules::parseDiscount(text);
    QCOMPARE(discount.isFixed, isFixed);
    QVERIFY2(discount.value == value, qPrintable(QString::number(discount.value, 'g', 17)));
}

void PriceRulesTest::discountText_data()
{
    QTest::addColumn<bool>("isFixed");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("percentage") << false << 15.0 << "15";
    QTest::newRow("zero") << false << 0.0 << "0";
    QTest::newRow("fixed") << true << 100.0 << "=100";
    QTest::newRow("fixed, fraction") << true << 12.5 << "=12.5";
    QTest::newRow("single precision does not show") << true << double(0.1F) << "=0.1";
    QTest::newRow("six digits") << true << 1234567.0 << "=1.23457e+06";
}

void PriceRulesTest::discountText()
{
    QFETCH(bool, isFixed);
    QFETCH(double, value);
    QFETCH(QString, text);
    DiscountItem discount;
    discount.isFixed = isFixed;
    discount.value = value;
    QCOMPARE(PriceRules::discountText(discount), text);
}

void PriceRulesTest::settingTexts_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("texts") << QByteArray(R"(["a","b"])") << QStringList{"a", "b"};
    QTest::newRow("numbers and flags") << QByteArray(R"([15,2.5,true])") << QStringList{"15", "2.5", "true"};
    QTest::newRow("null, list, object") << QByteArray(R"([null,["x"],{"y":1}])") << QStringList{"", "", ""};
    QTest::newRow("empty text") << QByteArray(R"([""])") << QStringList{""};
    QTest::newRow("empty array") << QByteArray("[]") << QStringList();
    QTest::newRow("object") << QByteArray(R"({"a":1})") << QStringList();
    QTest::newRow("broken") << QByteArray(R"(["a")") << QStringList();
    QTest::newRow("nothing") << QByteArray() << QStringList();
}

void PriceRulesTest::settingTexts()
{
    QFETCH(QByteArray, json);
    QFETCH(QStringList, texts);
    QCOMPARE(PriceRules::settingTexts(json), texts);
}

void PriceRulesTest::discountsOfASetting()
{
    const QList<DiscountItem> discounts = PriceRules::parseDiscounts(R"(["5","=100",15,"=x"])");
    QCOMPARE(discounts.size(), 4);
    const QList<bool> fixed{false, true, false, true};
    const QList<double> values{5, 100, 15, 0};
    for (int i = 0; i < discounts.size(); ++i) {
        QCOMPARE(discounts.at(i).isFixed, fixed.at(i));
        QCOMPARE(discounts.at(i).value, values.at(i));
    }
    QVERIFY(PriceRules::parseDiscounts(R"({"0":"5"})").isEmpty());
}

void PriceRulesTest::linesJson_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("json");

    QTest::newRow("nothing") << "" << QByteArray("[]");
    QTest::newRow("one") << "5" << QByteArray(R"(["5"])");
    QTest::newRow("empty lines") << "\n5\n\n\n=100\n" << QByteArray(R"(["5","=100"])");
    QTest::newRow("blanks stay as typed") << " 5 \n " << QByteArray(R"([" 5 "," "])");
    QTest::newRow("wrong lines stay as typed") << "abc\n12.5" << QByteArray(R"(["abc","12.5"])");
    QTest::newRow("cyrillic") << QStringLiteral("Наличные") << QByteArray("[\"Наличные\"]");
}

void PriceRulesTest::linesJson()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, json);
    QCOMPARE(PriceRules::linesJson(text), json);
}

void PriceRulesTest::priceItemJson()
{
    PriceItem item;
    item.id = 7;
    item.commonId = 3;
    item.salesItem = QStringLiteral("Заезд");
    item.model = QStringLiteral("Junior");
    item.availRules = QStringLiteral("x");
    item.sum = 450.5;
    item.showRemote = 0;
    item.color = QColor(1, 2, 255);
    const QJsonObject expected{{"salesId", 7},   {"salesCommonId", 3}, {"salesItem", "Заезд"}, {"carModel", "Junior"},
                               {"price", 450.5}, {"color", "#0102ff"}, {"availRules", "x"},    {"remoteAvail", 0}};
    QCOMPARE(PriceRules::priceItemJson(item), expected);
}

QTEST_GUILESS_MAIN(PriceRulesTest)
#include "tst_pricerules.moc"
