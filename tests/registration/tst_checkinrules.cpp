#include "registration/checkinitem.h"
#include "registration/checkinrules.h"

#include "desktest.h"

#include <QVector>

#include <limits>

namespace {

using MinorRuns = QVector<QPair<int, double>>;

CheckInItem family(int runs, double price, const MinorRuns &minors, const QString &discount)
{
    CheckInItem racer;
    racer.runCount = runs;
    racer.price = price;
    racer.discountValue = discount;
    for (const auto &[minorRuns, minorPrice] : minors) {
        auto minor = std::make_unique<CheckInItem>();
        minor->runCount = minorRuns;
        minor->price = minorPrice;
        racer.subItems.push_back(std::move(minor));
    }
    return racer;
}

/// All codes of that many digits.
QSet<QString> allPins(int digits, int count)
{
    QSet<QString> pins;
    for (int code = 0; code < count; ++code)
        pins.insert(QStringLiteral("%1").arg(code, digits, 10, QLatin1Char('0')));
    return pins;
}

} // namespace

Q_DECLARE_METATYPE(MinorRuns)

class CheckInRulesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sum_data();
    void sum();
    void names_data();
    void names();
    void discountTexts_data();
    void discountTexts();
    void fullDiscount_data();
    void fullDiscount();
    void expiry_data();
    void expiry();
    void pin_data();
    void pin();
    void pool_data();
    void pool();
    void foreignRuns_data();
    void foreignRuns();
};

void CheckInRulesTest::sum_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<double>("price");
    QTest::addColumn<MinorRuns>("minors");
    QTest::addColumn<QString>("discount");
    QTest::addColumn<double>("expected");

    const auto single = [](const char *name, const QString &discount, double expected) {
        QTest::newRow(name) << 3 << 500.0 << MinorRuns() << discount << expected;
    };
    single("no discount", "0", 1500);
    single("empty discount", "", 1500);
    single("dashes", "--", 1500);
    single("letters", "abc", 1500);
    single("letters behind the equals sign", "=abc", 1500);
    single("equals sign alone", "=", 1500);
    single("blank before the equals sign", " =100", 1500);
    single("percent", "10", 1350);
    single("percent sign typed", "10%", 1350);
    single("blank before the number", " 10", 1350);
    single("comma ends the number", "10,9", 1350);
    single("exponent", "1e1", 1350);
    single("everything", "100", 0);
    single("more than everything", "200", -1500);
    single("negative percent", "-10", 1650);
    single("percent in single precision", "0.1", (100.0 - static_cast<double>(0.1F)) * 1500.0 / 100.0);
    single("fixed", "=100", 1200);
    single("fixed, blank behind the sign", "= 100", 1200);
    single("fixed, below zero", "=600", -300);
    single("fixed, negative", "=-50", 1650);
    single("fixed in single precision", "=0.1", 1500.0 - static_cast<double>(3.0F * 0.1F));

    const MinorRuns minors{{1, 300}, {1, 50.5}};
    QTest::newRow("family") << 3 << 500.0 << minors << "0" << 1850.5;
    QTest::newRow("percent for the whole family") << 3 << 500.0 << minors << "50" << 925.25;
    QTest::newRow("fixed for the parent's runs alone") << 3 << 500.0 << minors << "=100" << 1550.5;
    QTest::newRow("fixed without own runs") << 0 << 500.0 << minors << "=100" << 350.5;
    QTest::newRow("three runs and two of minors") << 3 << 500.0 << MinorRuns{{2, 500}} << "=100" << 2200.0;
    QTest::newRow("500 off a sale of 300") << 1 << 300.0 << MinorRuns() << "=500" << -200.0;
    QTest::newRow("beyond single precision") << 1 << 0.0 << MinorRuns() << "=16777217" << -16777216.0;
    QTest::newRow("product in single precision")
        << 3 << 0.0 << MinorRuns() << "=16777215" << -static_cast<double>(3.0F * 16777215.0F);
    QTest::newRow("no rounding") << 1 << 0.125 << MinorRuns() << "50" << 0.0625;
    QTest::newRow("nothing sold") << 0 << 0.0 << MinorRuns() << "10" << 0.0;
}

void CheckInRulesTest::sum()
{
    QFETCH(int, runs);
    QFETCH(double, price);
    QFETCH(MinorRuns, minors);
    QFETCH(QString, discount);
    QFETCH(double, expected);
    QCOMPARE(CheckInRules::registrationSum(family(runs, price, minors, discount)), expected);
}

void CheckInRulesTest::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("blanks") << "   "
                            << "";
    QTest::newRow("lower case") << "иванов"
                                << "Иванов";
    QTest::newRow("upper case") << "ИВАНОВ"
                                << "Иванов";
    QTest::newRow("mixed, double blanks") << "  иВАН   пЁТР "
                                          << "Иван Пётр";
    QTest::newRow("hyphen is a letter like others") << "анна-МАРИЯ"
                                                    << "Анна-мария";
    QTest::newRow("tabulator is no blank") << "ab\tcd"
                                           << "Ab\tcd";
    QTest::newRow("digit first") << "2ПАК"
                                 << "2пак";
    QTest::newRow("one letter") << "я"
                                << "Я";
}

void CheckInRulesTest::names()
{
    QFETCH(QString, name);
    QTEST(CheckInRules::normalisedName(name), "expected");
}

void CheckInRulesTest::discountTexts_data()
{
    QTest::addColumn<QString>("discount");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("zero") << "0"
                          << "";
    QTest::newRow("dashes") << "--"
                            << "";
    QTest::newRow("percent") << "10"
                             << "10%";
    QTest::newRow("other zero") << "0.0"
                                << "0.0%";
    QTest::newRow("fixed") << "=100"
                           << "=100";
    QTest::newRow("equals sign alone") << "="
                                       << "=";
    QTest::newRow("letters") << "abc"
                             << "abc%";
}

void CheckInRulesTest::discountTexts()
{
    QFETCH(QString, discount);
    QTEST(CheckInRules::discountText(discount), "expected");
}

void CheckInRulesTest::fullDiscount_data()
{
    QTest::addColumn<QString>("discount");
    QTest::addColumn<bool>("expected");

    QTest::newRow("100") << "100" << true;
    QTest::newRow("100.0") << "100.0" << true;
    QTest::newRow("exponent") << "1e2" << true;
    QTest::newRow("50") << "50" << false;
    QTest::newRow("just below") << "99.999" << false;
    QTest::newRow("above") << "101" << false;
    QTest::newRow("fixed") << "=100" << false;
    QTest::newRow("percent sign typed") << "100%" << false;
    QTest::newRow("letters") << "abc" << false;
    QTest::newRow("empty") << "" << false;
}

void CheckInRulesTest::fullDiscount()
{
    QFETCH(QString, discount);
    QTEST(CheckInRules::isFullDiscount(discount), "expected");
}

void CheckInRulesTest::expiry_data()
{
    QTest::addColumn<quint64>("regTime");
    QTest::addColumn<qint64>("now");
    QTest::addColumn<bool>("expected");

    QTest::newRow("to the second") << quint64(1000) << qint64(2800) << false;
    QTest::newRow("one second more") << quint64(1000) << qint64(2801) << true;
    QTest::newRow("never") << quint64(0) << qint64(1700000000) << false;
    QTest::newRow("from the future") << quint64(5000) << qint64(2801) << false;
    QTest::newRow("end of time") << std::numeric_limits<quint64>::max() << qint64(1700000000) << false;
    QTest::newRow("clock before its beginning") << quint64(1) << qint64(-1) << false;
}

void CheckInRulesTest::expiry()
{
    QFETCH(quint64, regTime);
    QFETCH(qint64, now);
    QTEST(CheckInRules::isExpired(regTime, 1800, now), "expected");
}

void CheckInRulesTest::pin_data()
{
    QTest::addColumn<QSet<QString>>("used");
    QTest::addColumn<int>("digits");
    QTest::addColumn<QVector<quint32>>("numbers");
    QTest::addColumn<QString>("expected");

    using Numbers = QVector<quint32>;
    QTest::newRow("leading zeros") << QSet<QString>() << 4 << Numbers{7} << "0007";
    QTest::newRow("zero") << QSet<QString>() << 4 << Numbers{0} << "0000";
    QTest::newRow("last four digits") << QSet<QString>() << 4 << Numbers{12345678} << "5678";
    QTest::newRow("largest number") << QSet<QString>() << 4 << Numbers{4294967295U} << "7295";
    QTest::newRow("used ones are passed over")
        << QSet<QString>{"0007", "5678"} << 4 << Numbers{7, 10007, 12345678, 9999} << "9999";
    QTest::newRow("five digits") << allPins(4, 10000) << 5 << Numbers{123456789} << "56789";
    QTest::newRow("small one of five digits") << QSet<QString>() << 5 << Numbers{100042} << "00042";
    QSet<QString> allButOne = allPins(4, 10000);
    allButOne.remove(QStringLiteral("4711"));
    QTest::newRow("the last free one") << allButOne << 4 << Numbers{4710, 4712, 4711} << "4711";
}

void CheckInRulesTest::pin()
{
    QFETCH(QSet<QString>, used);
    QFETCH(int, digits);
    QFETCH(QVector<quint32>, numbers);
    int drawn = 0;
    const QString pin = CheckInRules::drawPin(used, digits, [&] { return numbers.value(drawn++, 0); });
    QTEST(pin, "expected");
    QCOMPARE(drawn, numbers.size());
}

void CheckInRulesTest::pool_data()
{
    QTest::addColumn<QSet<QString>>("used");
    QTest::addColumn<int>("digits");
    QTest::addColumn<bool>("full");

    QTest::newRow("empty") << QSet<QString>() << 4 << false;
    QTest::newRow("all but one") << allPins(4, 9999) << 4 << false;
    QTest::newRow("all") << allPins(4, 10000) << 4 << true;
    QTest::newRow("all of four, asked for five") << allPins(4, 10000) << 5 << false;
    // Journals may have brought anything.
    const QSet<QString> junk{"", "12", "abcd", "00000", "-001", "1 23"};
    QTest::newRow("what is no code does not count") << allPins(4, 9999) + junk << 4 << false;
    QTest::newRow("and does not hide a full pool") << allPins(4, 10000) + junk << 4 << true;
}

void CheckInRulesTest::pool()
{
    QFETCH(QSet<QString>, used);
    QFETCH(int, digits);
    QTEST(CheckInRules::pinPoolFull(used, digits), "full");
}

void CheckInRulesTest::foreignRuns_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<int>("expected");

    QTest::newRow("usual") << 5 << 5;
    QTest::newRow("limit") << 1000 << 1000;
    QTest::newRow("above") << 1001 << 1000;
    QTest::newRow("largest") << std::numeric_limits<int>::max() << 1000;
    QTest::newRow("negative") << -5 << 0;
}

void CheckInRulesTest::foreignRuns()
{
    QFETCH(int, runs);
    QTEST(CheckInRules::foreignRunCount(runs), "expected");
}

DESK_TEST_MAIN(CheckInRulesTest)
#include "tst_checkinrules.moc"
