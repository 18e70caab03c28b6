#pragma once

#include <QLocale>
#include <QString>
#include <optional>

namespace tf {

// Number to text with room for the sign: " 5" for 5, "-5" for -5, " 0" for 0.
QString Str(long long value);
inline QString Str(long value) {
    return Str(static_cast<long long>(value));
}
inline QString Str(int value) {
    return Str(static_cast<long long>(value));
}
// The same for fractional numbers, in the classic form: " 2.5", " .5", "-.25", " 1E+16".
QString Str(double value);

// Reads the longest leading number, as the classic Val: blanks, tabs and line breaks anywhere are
// skipped, "&H1F" and "&O17" are hexadecimal and octal, the decimal point is always ".",
// and text with no number gives 0 ("12abc" -> 12, "1 000" -> 1000, "abc" -> 0).
double Val(const QString& text);

// Parses the whole text as a number in the given locale (group separators allowed, blanks
// around it trimmed). Empty when the text is not a number. Stands in for the classic IsNumeric
// and CDbl.
std::optional<double> parseLocaleNumber(const QString& text, const QLocale& locale = QLocale());
inline bool isNumeric(const QString& text, const QLocale& locale = QLocale()) {
    return parseLocaleNumber(text, locale).has_value();
}

// Removes leading and trailing blanks (spaces only, as the classic Trim; tabs stay).
QString Trim(const QString& text);
QString LTrim(const QString& text);
QString RTrim(const QString& text);
QString UCase(const QString& text);

}  // namespace tf
