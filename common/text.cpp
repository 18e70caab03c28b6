#include "common/text.h"

#include <cmath>

namespace tf {

QString Str(long long value) {
    const QString digits = QString::number(value);
    return value < 0 ? digits : QLatin1Char(' ') + digits;
}

QString Str(double value) {
    if (value == std::trunc(value) && std::fabs(value) < 1e15) {
        return Str(static_cast<long long>(value));
    }
    QString text = QString::number(value, 'g', 15).toUpper();
    // The classic runtime drops the zero before the decimal point.
    if (text.startsWith(QLatin1String("0."))) {
        text.remove(0, 1);
    } else if (text.startsWith(QLatin1String("-0."))) {
        text.remove(1, 1);
    }
    return value < 0 ? text : QLatin1Char(' ') + text;
}

namespace {

bool isSkipped(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') ||
           c == QLatin1Char('\r');
}

double radixValue(const QString& digits, int radix) {
    double value = 0;
    for (const QChar c : digits) {
        const int digit = c.isDigit() ? c.digitValue() : (c.toUpper().unicode() - 'A' + 10);
        if (c.unicode() > 127 || digit < 0 || digit >= radix) {
            break;
        }
        value = value * radix + digit;
    }
    return value;
}

}  // namespace

double Val(const QString& text) {
    QString s;
    s.reserve(text.size());
    for (const QChar c : text) {
        if (!isSkipped(c)) {
            s.append(c);
        }
    }
    if (s.startsWith(QLatin1String("&H"), Qt::CaseInsensitive)) {
        return radixValue(s.mid(2), 16);
    }
    if (s.startsWith(QLatin1String("&O"), Qt::CaseInsensitive)) {
        return radixValue(s.mid(2), 8);
    }

    // Longest prefix of the form [+-] digits [. digits] [(E|D) [+-] digits].
    qsizetype i = 0;
    const auto isAsciiDigit = [&](qsizetype at) {
        return at < s.size() && s[at] >= QLatin1Char('0') && s[at] <= QLatin1Char('9');
    };
    if (i < s.size() && (s[i] == QLatin1Char('+') || s[i] == QLatin1Char('-'))) {
        ++i;
    }
    bool anyDigit = false;
    while (isAsciiDigit(i)) {
        ++i;
        anyDigit = true;
    }
    if (i < s.size() && s[i] == QLatin1Char('.')) {
        ++i;
        while (isAsciiDigit(i)) {
            ++i;
            anyDigit = true;
        }
    }
    if (!anyDigit) {
        return 0;
    }
    qsizetype end = i;
    if (i < s.size() && QStringLiteral("eEdD").contains(s[i])) {
        qsizetype j = i + 1;
        if (j < s.size() && (s[j] == QLatin1Char('+') || s[j] == QLatin1Char('-'))) {
            ++j;
        }
        if (isAsciiDigit(j)) {
            while (isAsciiDigit(j)) {
                ++j;
            }
            end = j;
        }
    }
    QString number = s.left(end);
    number.replace(QLatin1Char('d'), QLatin1Char('e')).replace(QLatin1Char('D'), QLatin1Char('e'));
    bool ok = false;
    const double value = number.toDouble(&ok);
    return ok && std::isfinite(value) ? value : 0;
}

std::optional<double> parseLocaleNumber(const QString& text, const QLocale& locale) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return std::nullopt;
    }
    bool ok = false;
    const double value = locale.toDouble(trimmed, &ok);
    if (ok && std::isfinite(value)) {
        return value;
    }
    return std::nullopt;
}

QString LTrim(const QString& text) {
    qsizetype start = 0;
    while (start < text.size() && text[start] == QLatin1Char(' ')) {
        ++start;
    }
    return text.mid(start);
}

QString RTrim(const QString& text) {
    qsizetype end = text.size();
    while (end > 0 && text[end - 1] == QLatin1Char(' ')) {
        --end;
    }
    return text.left(end);
}

QString Trim(const QString& text) {
    return LTrim(RTrim(text));
}

QString UCase(const QString& text) {
    return text.toUpper();
}

}  // namespace tf
