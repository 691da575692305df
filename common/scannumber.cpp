#include "common/scannumber.h"

#include <QByteArray>

#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

namespace {

/// Walks over the bytes of a text. Past the end, and at a zero byte as in C, it sees zero bytes.
class Cursor
{
public:
    explicit Cursor(const QByteArray &text)
        : bytes(text)
    {
    }

    char peek(int ahead = 0) const { return position + ahead < bytes.size() ? bytes.at(position + ahead) : '\0'; }
    void advance(int count = 1) { position += count; }

    bool take(char expected)
    {
        if (peek() != expected)
            return false;
        advance();
        return true;
    }

    /// Takes a word of ASCII letters, given in lower case, in any case.
    bool takeWord(const char *word)
    {
        const int length = int(qstrlen(word));
        if (qstrnicmp(bytes.constData() + position, word, uint(length)) != 0)
            return false;
        advance(length);
        return true;
    }

private:
    QByteArray bytes;
    int position = 0;
};

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

int hexValue(char c)
{
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// The exponent behind a letter, with its sign; empty, and nothing taken, if no digit follows.
QByteArray takeExponent(Cursor &cursor)
{
    const bool isSigned = cursor.peek(1) == '+' || cursor.peek(1) == '-';
    if (!isDigit(cursor.peek(isSigned ? 2 : 1)))
        return QByteArray();
    cursor.advance();
    QByteArray exponent;
    do {
        exponent.append(cursor.peek());
        cursor.advance();
    } while (isDigit(cursor.peek()));
    return exponent;
}

/// Reads an exponent of any length; what is beyond the range of every number is cut there.
int exponentValue(const QByteArray &exponent)
{
    const int limit = 100000;
    int value = 0;
    for (const char c : exponent) {
        if (isDigit(c))
            value = qMin(value * 10 + (c - '0'), limit);
    }
    return exponent.startsWith('-') ? -value : value;
}

/// A hexadecimal number behind its "0x".
std::optional<float> takeHexadecimal(Cursor &cursor)
{
    // Eight digits more than the precision of a float; all beyond them only tell whether anything remains.
    const int kept = 14;
    quint64 mantissa = 0;
    int digits = 0;
    int shift = 0;
    bool anyDigit = false;
    bool behindPoint = false;
    while (true) {
        if (!behindPoint && cursor.take('.')) {
            behindPoint = true;
            continue;
        }
        const int value = hexValue(cursor.peek());
        if (value < 0)
            break;
        cursor.advance();
        anyDigit = true;
        if (digits < kept) {
            mantissa = mantissa * 16 + quint64(value);
            digits += mantissa != 0 ? 1 : 0;
            shift -= behindPoint ? 4 : 0;
        } else {
            mantissa |= value != 0 ? 1U : 0U;
            shift += behindPoint ? 0 : 4;
        }
    }
    if (!anyDigit)
        return std::nullopt;
    if (cursor.peek() == 'p' || cursor.peek() == 'P')
        shift += exponentValue(takeExponent(cursor));
    return std::ldexp(static_cast<float>(mantissa), shift);
}

/// A decimal number. The stream with the classic locale rounds once, straight to single precision, in every locale.
std::optional<float> takeDecimal(Cursor &cursor)
{
    QByteArray number;
    bool anyDigit = false;
    bool behindPoint = false;
    bool nonZero = false;
    while (true) {
        if (!behindPoint && cursor.take('.')) {
            behindPoint = true;
            number.append('.');
            continue;
        }
        if (!isDigit(cursor.peek()))
            break;
        anyDigit = true;
        nonZero = nonZero || cursor.peek() != '0';
        number.append(cursor.peek());
        cursor.advance();
    }
    if (!anyDigit)
        return std::nullopt;
    if (cursor.peek() == 'e' || cursor.peek() == 'E') {
        const QByteArray exponent = takeExponent(cursor);
        if (!exponent.isEmpty())
            number.append('e').append(exponent);
    }
    if (!nonZero)
        return 0.0F;

    std::istringstream stream(number.toStdString());
    stream.imbue(std::locale::classic());
    float value = 0.0F;
    stream >> value;
    // A stream that refuses a number that long stops at the largest or the smallest one; scanf goes on to the limit.
    if (stream.fail())
        return value >= 1.0F ? std::numeric_limits<float>::infinity() : 0.0F;
    return value;
}

std::optional<float> takeSingle(Cursor &cursor)
{
    while (isBlank(cursor.peek()))
        cursor.advance();
    const bool negative = cursor.peek() == '-';
    if (negative || cursor.peek() == '+')
        cursor.advance();

    std::optional<float> number;
    if (cursor.takeWord("infinity") || (cursor.takeWord("inf") && !cursor.takeWord("i")))
        number = std::numeric_limits<float>::infinity();
    else if (cursor.takeWord("nan"))
        number = std::numeric_limits<float>::quiet_NaN();
    else if (cursor.takeWord("0x"))
        number = takeHexadecimal(cursor);
    else
        number = takeDecimal(cursor);
    if (number && negative)
        number = -*number;
    return number;
}

} // namespace

std::optional<float> ScanNumber::single(const QString &text)
{
    Cursor cursor(text.toUtf8());
    return takeSingle(cursor);
}

std::optional<float> ScanNumber::singleAfterEquals(const QString &text)
{
    Cursor cursor(text.toUtf8());
    if (!cursor.take('='))
        return std::nullopt;
    return takeSingle(cursor);
}

std::optional<int> ScanNumber::integer(const QString &text)
{
    Cursor cursor(text.toUtf8());
    while (isBlank(cursor.peek()))
        cursor.advance();
    const bool negative = cursor.peek() == '-';
    if (negative || cursor.peek() == '+')
        cursor.advance();
    if (!isDigit(cursor.peek()))
        return std::nullopt;
    constexpr qint64 Smallest = std::numeric_limits<int>::min();
    constexpr qint64 Largest = std::numeric_limits<int>::max();
    qint64 number = 0;
    for (; isDigit(cursor.peek()); cursor.advance())
        number = qMin(number * 10 + (cursor.peek() - '0'), -Smallest);
    return static_cast<int>(qBound(Smallest, negative ? -number : number, Largest));
}
