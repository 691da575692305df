#ifndef SCANNUMBER_H
#define SCANNUMBER_H

#include <QString>

#include <optional>

/// Numbers that a person typed into a text, read the way C's scanf reads them: leading blanks are passed over, reading
/// stops at the first character that does not belong to the number, and the decimal point is a point in every locale.
namespace ScanNumber {

/// "%f": a number in single precision at the start of the text.
std::optional<float> single(const QString &text);

/// "=%f": the same behind an equals sign, which must be the first character.
std::optional<float> singleAfterEquals(const QString &text);

/// "%d": a whole number at the start of the text; one that does not fit counts as the nearest that does.
std::optional<int> integer(const QString &text);

} // namespace ScanNumber

#endif // SCANNUMBER_H
