#include "payments/salerules.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QLocale>

#include <cmath>

/// What a sale costs and what a ticket gives back, line by line.
class SaleRulesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void moneyTexts_data();
    void moneyTexts();
    void entryOfTheList_data();
    void entryOfTheList();
    void recordedDiscount_data();
    void recordedDiscount();
    void discountOfOneUnit_data();
    void discountOfOneUnit();
    void total_data();
    void total();
    void entryCountsAsPercentage_data();
    void entryCountsAsPercentage();
    void endless();
    void ticketPrice_data();
    void ticketPrice();
};

namespace {

/// The locale of the machine, as long as it lives.
class DefaultLocale
{
public:
    explicit DefaultLocale(const QLocale &locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(m_before); }
    Q_DISABLE_COPY(DefaultLocale)

private:
    const QLocale m_before;
};

bool same(double actual, double expected)
{
    return std::fabs(actual - expected) <= 1e-9 * std::fmax(1.0, std::fabs(expected));
}

#define COMPARE_MONEY(actual, expected) \
    do { \
        const double money_ = actual; \
        QVERIFY2(same(money_, expected), \
                 qPrintable(QStringLiteral("%1 instead of %2").arg(money_, 0, 'g', 17).arg(expected, 0, 'g', 17))); \
    } while (false)

} // namespace

void SaleRulesTest::moneyTexts_data()
{
    QTest::addColumn<double>("sum");
    QTest::addColumn<QString>("text");
    QTest::newRow("whole") << 200.0 << "200.00";
    QTest::newRow("hundredths") << 150.5 << "150.50";
    QTest::newRow("no groups") << 1234567.0 << "1234567.00";
}

// The same on every machine.
void SaleRulesTest::moneyTexts()
{
    QFETCH(double, sum);
    QFETCH(QString, text);
    const DefaultLocale russian(QLocale(QLocale::Russian, QLocale::Russia));
    QCOMPARE(SaleRules::moneyLocale().language(), QLocale::C);
    QCOMPARE(SaleRules::moneyLocale().toCurrencyString(sum), text);
}

void SaleRulesTest::entryOfTheList_data()
{
    QTest::addColumn<bool>("isFixed");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    // The locale has no sign of a currency: its blank stays alone.
    QTest::newRow("amount") << true << 50.0 << "50 ";
    QTest::newRow("amount, fraction") << true << 12.5 << "12.5 ";
    QTest::newRow("amount, six digits") << true << 123456.0 << "123456 ";
    QTest::newRow("amount, seven digits") << true << 1234567.0 << "1.23457e+06 ";
    QTest::newRow("amount, single precision") << true << double(0.1F) << "0.1 ";
    QTest::newRow("percentage") << false << 10.0 << "10 %";
    QTest::newRow("percentage, none") << false << 0.0 << "0 %";
    QTest::newRow("percentage, negative") << false << -5.0 << "-5 %";
}

void SaleRulesTest::entryOfTheList()
{
    QFETCH(bool, isFixed);
    QFETCH(double, value);
    QFETCH(QString, text);
    const DefaultLocale russian(QLocale(QLocale::Russian, QLocale::Russia));
    QCOMPARE(SaleRules::discountEntry({isFixed, value}), text);
}

void SaleRulesTest::recordedDiscount_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("recorded");
    QTest::newRow("nothing") << ""
                             << "";
    QTest::newRow("blanks only") << "   "
                                 << "";
    QTest::newRow("no discount") << "-"
                                 << "-";
    QTest::newRow("percentage") << "10 %"
                                << "10%";
    QTest::newRow("amount of the list") << "50 "
                                        << "50";
    QTest::newRow("amount") << " = 5 0 "
                            << "=50";
    QTest::newRow("words") << "для своих 10"
                           << "длясвоих10";
    QTest::newRow("nothing to remove") << "=12.5"
                                       << "=12.5";
}

void SaleRulesTest::recordedDiscount()
{
    QFETCH(QString, typed);
    QFETCH(QString, recorded);
    QCOMPARE(SaleRules::recordedDiscount(typed), recorded);
}

void SaleRulesTest::discountOfOneUnit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("discount");

    QTest::newRow("nothing") << "" << 200.0 << 0.0;
    QTest::newRow("blanks") << "   " << 200.0 << 0.0;
    QTest::newRow("no discount") << "-" << 200.0 << 0.0;
    QTest::newRow("no discount, blanks") << " - " << 200.0 << 0.0;
    QTest::newRow("words") << "скидка" << 200.0 << 0.0;
    QTest::newRow("percent sign alone") << "%" << 200.0 << 0.0;

    QTest::newRow("digits") << "10" << 200.0 << -20.0;
    QTest::newRow("percent sign") << "10%" << 200.0 << -20.0;
    QTest::newRow("percent sign and blank") << "10 %" << 200.0 << -20.0;
    QTest::newRow("blanks around") << "  10  " << 200.0 << -20.0;
    QTest::newRow("blank inside") << "1 0" << 200.0 << -20.0;
    QTest::newRow("sign in front") << "-10" << 200.0 << -20.0;
    QTest::newRow("plus in front") << "+10" << 200.0 << -20.0;
    QTest::newRow("words around") << "для своих 10 процентов" << 200.0 << -20.0;
    QTest::newRow("point vanishes") << "12.5" << 200.0 << -250.0;
    QTest::newRow("comma vanishes") << "1,5" << 200.0 << -30.0;
    QTest::newRow("digits run together") << "1a2b" << 200.0 << -24.0;
    QTest::newRow("exponent is no exponent") << "1e2" << 200.0 << -24.0;
    QTest::newRow("leading zeros") << "007" << 200.0 << -14.0;
    QTest::newRow("zero") << "0" << 200.0 << 0.0;
    QTest::newRow("other digits") << QStringLiteral("٣٣") << 200.0 << 0.0;
    QTest::newRow("whole price") << "100" << 200.0 << -200.0;
    QTest::newRow("more than the price") << "150" << 200.0 << -300.0;
    QTest::newRow("fraction of a price") << "7" << 99.9 << -6.993;
    QTest::newRow("price of nothing") << "10" << 0.0 << 0.0;
    QTest::newRow("negative price") << "10" << -200.0 << 20.0;

    QTest::newRow("amount") << "=50" << 200.0 << -50.0;
    QTest::newRow("amount, blanks") << " = 50 " << 200.0 << -50.0;
    QTest::newRow("amount, point vanishes") << "=12.5" << 200.0 << -125.0;
    QTest::newRow("amount, sign") << "=-50" << 200.0 << -50.0;
    QTest::newRow("amount, currency") << "=50 руб." << 200.0 << -50.0;
    QTest::newRow("amount, percent sign") << "=10 %" << 200.0 << -10.0;
    QTest::newRow("amount, two marks") << "==50" << 200.0 << -50.0;
    QTest::newRow("amount, nothing") << "=" << 200.0 << 0.0;
    QTest::newRow("amount, words") << "=abc" << 200.0 << 0.0;
    QTest::newRow("amount above the price") << "=300" << 200.0 << -300.0;
    QTest::newRow("amount of a price of nothing") << "=50" << 0.0 << -50.0;
    QTest::newRow("mark behind") << "50=" << 200.0 << -100.0;
    QTest::newRow("mark inside") << "5=0" << 200.0 << -100.0;
}

void SaleRulesTest::discountOfOneUnit()
{
    QFETCH(QString, text);
    QFETCH(double, price);
    QFETCH(double, discount);
    COMPARE_MONEY(SaleRules::unitDiscount(text, price), discount);
}

void SaleRulesTest::total_data()
{
    QTest::addColumn<QString>("discount");
    QTest::addColumn<double>("price");
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("sum");

    QTest::newRow("no discount") << "-" << 200.0 << 1 << 200.0;
    QTest::newRow("empty discount") << "" << 200.0 << 3 << 600.0;
    QTest::newRow("typed amount") << "=50" << 200.0 << 2 << 300.0;
    QTest::newRow("percentage with blank and sign") << "10 %" << 200.0 << 1 << 180.0;
    QTest::newRow("percentage of several") << "10" << 200.0 << 3 << 540.0;
    QTest::newRow("amount of the list") << "50 " << 200.0 << 1 << 100.0;
    QTest::newRow("a hundred percent") << "100 %" << 200.0 << 4 << 0.0;
    QTest::newRow("amount as high as the price") << "=200" << 200.0 << 4 << 0.0;
    QTest::newRow("negative") << "150" << 200.0 << 2 << -200.0;
    QTest::newRow("amount above the price") << "=250" << 200.0 << 2 << -100.0;
    QTest::newRow("point vanishes") << "12.5 %" << 200.0 << 1 << -50.0;
    QTest::newRow("nothing sold") << "-" << 200.0 << 0 << 0.0;
    QTest::newRow("price of nothing") << "-" << 0.0 << 5 << 0.0;
    QTest::newRow("not rounded") << "7" << 99.99 << 3 << 278.9721;
    QTest::newRow("thirds of a hundredth") << "33" << 0.01 << 1 << 0.0067;
    QTest::newRow("many") << "-" << 99999.99 << 9999 << 999899900.01;
}

void SaleRulesTest::total()
{
    QFETCH(QString, discount);
    QFETCH(double, price);
    QFETCH(int, count);
    QFETCH(double, sum);
    COMPARE_MONEY(SaleRules::saleTotal(discount, price, count), sum);
}

void SaleRulesTest::entryCountsAsPercentage_data()
{
    QTest::addColumn<bool>("isFixed");
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("sum");
    QTest::newRow("percentage") << false << 10.0 << 180.0;
    QTest::newRow("negative percentage") << false << -10.0 << 180.0;
    QTest::newRow("amount") << true << 50.0 << 100.0;
    QTest::newRow("amount with a fraction") << true << 12.5 << -50.0;
}

// An amount that stands in the list has no equals sign any more.
void SaleRulesTest::entryCountsAsPercentage()
{
    QFETCH(bool, isFixed);
    QFETCH(double, value);
    QFETCH(double, sum);
    COMPARE_MONEY(SaleRules::saleTotal(SaleRules::discountEntry({isFixed, value}), 200.0, 1), sum);
}

// More digits than a number has room for never make anything payable.
void SaleRulesTest::endless()
{
    const QString digits(400, QLatin1Char('9'));
    QVERIFY(!(SaleRules::saleTotal(digits, 200.0, 1) > 0.0));
    QVERIFY(!(SaleRules::saleTotal(QLatin1Char('=') + digits, 200.0, 1) > 0.0));
    QVERIFY(!(SaleRules::saleTotal(digits, 0.0, 1) > 0.0));
    QVERIFY(SaleRules::unitDiscount(QStringLiteral("=99999999999999999999"), 1.0) == -1e20);
}

void SaleRulesTest::ticketPrice_data()
{
    QTest::addColumn<QByteArray>("seat");
    QTest::addColumn<double>("price");
    const auto row = [](const char *name, const char *seat, double price) {
        QTest::newRow(name) << QByteArray(seat) << price;
    };
    row("no discount", R"({"price": 200})", 200.0);
    row("empty discount", R"({"price": 200, "discountValue": ""})", 200.0);
    row("null discount", R"({"price": 200, "discountValue": null})", 200.0);
    row("percentage as text", R"({"price": 200, "discountValue": "10"})", 180.0);
    row("percentage as number", R"({"price": 200, "discountValue": 10})", 180.0);
    row("fraction as text", R"({"price": 200, "discountValue": "12.5"})", 175.0);
    row("fraction as number", R"({"price": 200, "discountValue": 12.5})", 175.0);
    row("comma is no number", R"({"price": 200, "discountValue": "12,5"})", 200.0);
    row("percent sign is no number", R"({"price": 200, "discountValue": "10%"})", 200.0);
    row("percent sign and blank", R"({"price": 200, "discountValue": "10 %"})", 200.0);
    row("no discount of a sale", R"({"price": 200, "discountValue": "-"})", 200.0);
    row("words", R"({"price": 200, "discountValue": "abc"})", 200.0);
    row("zero", R"({"price": 200, "discountValue": "0"})", 200.0);
    row("negative percentage", R"({"price": 200, "discountValue": "-10"})", 220.0);
    row("whole price", R"({"price": 200, "discountValue": "100"})", 0.0);
    row("more than the price", R"({"price": 200, "discountValue": 150})", -100.0);
    row("amount", R"({"price": 200, "discountValue": "=50"})", 150.0);
    row("amount with a fraction", R"({"price": 200, "discountValue": "=12.5"})", 187.5);
    row("amount, comma", R"({"price": 200, "discountValue": "=12,5"})", 200.0);
    row("amount, currency", R"({"price": 200, "discountValue": "=50 руб."})", 200.0);
    row("amount, percent sign", R"({"price": 200, "discountValue": "=50%"})", 200.0);
    row("amount, nothing", R"({"price": 200, "discountValue": "="})", 200.0);
    row("amount, two marks", R"({"price": 200, "discountValue": "==50"})", 200.0);
    row("amount, negative", R"({"price": 200, "discountValue": "=-50"})", 250.0);
    row("amount above the price", R"({"price": 200, "discountValue": "=250"})", -50.0);
    row("blank before the mark", R"({"price": 200, "discountValue": " =50"})", 200.0);
    row("not rounded", R"({"price": 99.99, "discountValue": "7"})", 92.9907);
    row("no price", R"({"discountValue": "10"})", 0.0);
    row("no price, amount", R"({"discountValue": "=50"})", -50.0);
    row("price as text", R"({"price": "200", "discountValue": "10"})", 0.0);
    row("nothing at all", "{}", 0.0);
}

void SaleRulesTest::ticketPrice()
{
    QFETCH(QByteArray, seat);
    QFETCH(double, price);
    COMPARE_MONEY(SaleRules::ticketPrice(JsonMatch::object(seat.constData())), price);
}

DESK_TEST_MAIN(SaleRulesTest)
#include "tst_salerules.moc"
