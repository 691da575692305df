#include "common/scannumber.h"

#include "desktest.h"

#include <QLocale>

#include <cmath>
#include <limits>
#include <locale>

namespace {

const float infinity = std::numeric_limits<float>::infinity();

/// A locale in which a comma stands before the fraction.
class CommaPoint : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

class ScanNumberTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void number_data();
    void number();
    void notANumber();
    void noNumber_data();
    void noNumber();
    void signOfZero();
    void equalsSignComesFirst_data();
    void equalsSignComesFirst();
    void pointInEveryLocale();
    void integer_data();
    void integer();
    void noInteger();
};

void ScanNumberTest::number_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<float>("expected");

    QTest::newRow("digits") << "150" << 150.0F;
    QTest::newRow("plus") << "+5" << 5.0F;
    QTest::newRow("minus") << "-5" << -5.0F;
    QTest::newRow("blank, tab") << " \t5" << 5.0F;
    QTest::newRow("all blanks of C") << "\v\f\r\n7" << 7.0F;
    QTest::newRow("leading zeros") << "00012" << 12.0F;
    QTest::newRow("fraction") << "12.5" << 12.5F;
    QTest::newRow("single precision") << "0.1" << 0.1F;
    QTest::newRow("more digits than precision") << "16777217" << 16777216.0F;
    QTest::newRow("point at the end") << "1." << 1.0F;
    QTest::newRow("point at the start") << ".5" << 0.5F;
    QTest::newRow("comma ends it") << "5,5" << 5.0F;
    QTest::newRow("second point ends it") << "1.5.5" << 1.5F;
    QTest::newRow("letters end it") << QStringLiteral("100р") << 100.0F;
    QTest::newRow("apostrophe ends it") << "1'000" << 1.0F;
    QTest::newRow("exponent") << "1e3" << 1000.0F;
    QTest::newRow("capital exponent") << "1E+3" << 1000.0F;
    QTest::newRow("negative exponent") << "25e-1" << 2.5F;
    QTest::newRow("exponent ends at a point") << "1e2.5" << 100.0F;
    QTest::newRow("exponent without digits") << "100ergs" << 100.0F;
    QTest::newRow("exponent with a sign only") << "1e+" << 1.0F;
    QTest::newRow("second exponent") << "1e5e5" << 100000.0F;
    QTest::newRow("too large") << "1e39" << infinity;
    QTest::newRow("much too large") << "1e99999999999999999999" << infinity;
    QTest::newRow("just too large") << "3.4028236e38" << infinity;
    QTest::newRow("largest") << "3.4028235e38" << std::numeric_limits<float>::max();
    QTest::newRow("too small for the other side") << "-1e99" << -infinity;
    QTest::newRow("too little") << "1e-60" << 0.0F;
    QTest::newRow("much too little") << "1e-99999999999999999999" << 0.0F;
    QTest::newRow("smallest") << "1.4e-45" << std::numeric_limits<float>::denorm_min();
    QTest::newRow("zero with a large exponent") << "0e99999" << 0.0F;
    QTest::newRow("infinity, short") << "inf" << infinity;
    QTest::newRow("infinity, capitals") << "-INF" << -infinity;
    QTest::newRow("infinity, long") << "Infinityx" << infinity;
    QTest::newRow("hexadecimal") << "0x1F" << 31.0F;
    QTest::newRow("hexadecimal, capital") << "0XaB" << 171.0F;
    QTest::newRow("hexadecimal, fraction") << "0x1.8z" << 1.5F;
    QTest::newRow("hexadecimal, point first") << "-0x.8" << -0.5F;
    QTest::newRow("hexadecimal, exponent") << "0x1p3" << 8.0F;
    QTest::newRow("hexadecimal, negative exponent") << "0x1P-1" << 0.5F;
    QTest::newRow("hexadecimal, exponent without digits") << "0x1p" << 1.0F;
    QTest::newRow("hexadecimal, rounding") << "0x1000001" << 16777216.0F;
    QTest::newRow("hexadecimal, many digits") << "0x100000000000000000000" << std::ldexp(1.0F, 80);
    QTest::newRow("hexadecimal, rest beyond all digits") << "0x100000100000000000001" << std::ldexp(8388609.0F, 57);
    QTest::newRow("hexadecimal, leading zeros") << "0x0000000000000000000001" << 1.0F;
    QTest::newRow("hexadecimal, zeros behind the point") << "0x0.00000000000000008p64" << 0.5F;
    QTest::newRow("hexadecimal, too large") << "0x1p200" << infinity;
}

void ScanNumberTest::number()
{
    QFETCH(QString, text);
    QFETCH(float, expected);
    const std::optional<float> value = ScanNumber::single(text);
    QVERIFY(value.has_value());
    QVERIFY2(*value == expected, qPrintable(QString::number(double(*value), 'g', 12)));

    const std::optional<float> afterEquals = ScanNumber::singleAfterEquals(QLatin1Char('=') + text);
    QVERIFY(afterEquals.has_value());
    QVERIFY(*afterEquals == expected);
}

void ScanNumberTest::notANumber()
{
    for (const char *text : {"nan", "NaN", "-nan", "nan(abc)"}) {
        const std::optional<float> value = ScanNumber::single(QString::fromLatin1(text));
        QVERIFY2(value.has_value() && std::isnan(*value), text);
    }
}

void ScanNumberTest::noNumber_data()
{
    QTest::addColumn<QString>("text");
    const QStringList texts{QString(),
                            QStringLiteral(" "),
                            QStringLiteral("abc"),
                            QStringLiteral("+"),
                            QStringLiteral("-"),
                            QStringLiteral("."),
                            QStringLiteral("-."),
                            QStringLiteral("+-1"),
                            QStringLiteral("- 1"),
                            QStringLiteral("e5"),
                            QStringLiteral(",5"),
                            QStringLiteral("na"),
                            QStringLiteral("in"),
                            QStringLiteral("infi"),
                            QStringLiteral("0x"),
                            QStringLiteral("0xg"),
                            QStringLiteral("р100"),
                            QString(QChar(0x00a0)) + QStringLiteral("5"),
                            QString(QChar(0)) + QStringLiteral("5")};
    for (int i = 0; i < texts.size(); ++i)
        QTest::newRow(qPrintable(QStringLiteral("%1: %2").arg(i).arg(texts.at(i)))) << texts.at(i);
}

void ScanNumberTest::noNumber()
{
    QFETCH(QString, text);
    QVERIFY(!ScanNumber::single(text).has_value());
    QVERIFY(!ScanNumber::singleAfterEquals(QLatin1Char('=') + text).has_value());
}

void ScanNumberTest::signOfZero()
{
    QVERIFY(std::signbit(ScanNumber::single(QStringLiteral("-0")).value()));
    QVERIFY(!std::signbit(ScanNumber::single(QStringLiteral("0")).value()));
}

void ScanNumberTest::equalsSignComesFirst_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("read");
    QTest::newRow("none") << "100" << false;
    QTest::newRow("behind a blank") << " =100" << false;
    QTest::newRow("behind the number") << "100=" << false;
    QTest::newRow("twice") << "==100" << false;
    QTest::newRow("alone") << "=" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("blank before the number") << "= 100" << true;
    QTest::newRow("first") << "=100" << true;
}

void ScanNumberTest::equalsSignComesFirst()
{
    QFETCH(QString, text);
    QFETCH(bool, read);
    const std::optional<float> value = ScanNumber::singleAfterEquals(text);
    QCOMPARE(value.has_value(), read);
    if (read)
        QCOMPARE(*value, 100.0F);
}

void ScanNumberTest::pointInEveryLocale()
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    QLocale::setDefault(QLocale(QLocale::Russian));
    const std::optional<float> point = ScanNumber::single(QStringLiteral("1234.5"));
    const std::optional<float> comma = ScanNumber::single(QStringLiteral("1234,5"));
    QLocale::setDefault(QLocale::c());
    std::locale::global(before);
    QCOMPARE(point.value(), 1234.5F);
    QCOMPARE(comma.value(), 1234.0F);
}

void ScanNumberTest::integer_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");
    QTest::newRow("digits") << "150" << 150;
    QTest::newRow("plus") << "+5" << 5;
    QTest::newRow("minus") << "-5" << -5;
    QTest::newRow("blanks in front") << " \t\n7" << 7;
    QTest::newRow("leading zeros") << "0012" << 12;
    QTest::newRow("point ends it") << "12.9" << 12;
    QTest::newRow("letters end it") << QStringLiteral("5р") << 5;
    QTest::newRow("no hexadecimal") << "0x10" << 0;
    QTest::newRow("no exponent") << "1e3" << 1;
    QTest::newRow("largest") << "2147483647" << std::numeric_limits<int>::max();
    QTest::newRow("too large") << "2147483648" << std::numeric_limits<int>::max();
    QTest::newRow("much too large") << QString(100, QLatin1Char('9')) << std::numeric_limits<int>::max();
    QTest::newRow("smallest") << "-2147483648" << std::numeric_limits<int>::min();
    QTest::newRow("too small") << "-99999999999999999999" << std::numeric_limits<int>::min();
}

void ScanNumberTest::integer()
{
    QFETCH(QString, text);
    QFETCH(int, expected);
    const std::optional<int> value = ScanNumber::integer(text);
    QVERIFY(value.has_value());
    QCOMPARE(*value, expected);
}

void ScanNumberTest::noInteger()
{
    for (const char *text : {"", " ", "-", "+-1", "- 1", ".5", "abc", "inf"})
        QVERIFY2(!ScanNumber::integer(QString::fromLatin1(text)).has_value(), text);
}

QTEST_GUILESS_MAIN(ScanNumberTest)
#include "tst_scannumber.moc"
