#include "store/maildir/maildir_names.h"

#include <QByteArray>
#include <algorithm>

namespace tf::store::maildir {

namespace {

constexpr std::string_view kInfoMark = ":2,";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads the decimal digits at the front of text; nothing when there are none or too many.
std::optional<std::int64_t> leadingNumber(std::string_view text, std::size_t& used) {
    used = 0;
    std::int64_t value = 0;
    while (used < text.size() && isDigit(text[used])) {
        if (used >= 15) {
            return std::nullopt;
        }
        value = value * 10 + (text[used] - '0');
        ++used;
    }
    if (used == 0) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

MessageName splitMessageName(std::string_view fileName) {
    const std::size_t at = fileName.rfind(kInfoMark);
    if (at == std::string_view::npos) {
        return {std::string(fileName), {}};
    }
    return {std::string(fileName.substr(0, at)), std::string(fileName.substr(at))};
}

QString entryIdOf(const std::string& unique) {
    // Nearly every name is plain ASCII: that is its own EntryID with no check of UTF-8.
    if (std::all_of(unique.begin(), unique.end(),
                    [](char c) { return static_cast<unsigned char>(c) < 0x80 && c != '%'; })) {
        return QString::fromLatin1(unique.data(), static_cast<qsizetype>(unique.size()));
    }
    const QByteArray bytes = QByteArray::fromStdString(unique);
    if (!bytes.contains('%')) {
        const QString text = QString::fromUtf8(bytes);
        if (text.toUtf8() == bytes) {
            return text;
        }
    }
    return QString::fromLatin1(bytes.toPercentEncoding(QByteArray(), QByteArray(), '%'));
}

std::string uniqueOf(const QString& entryId) {
    const QByteArray utf8 = entryId.toUtf8();
    if (!utf8.contains('%')) {
        return utf8.toStdString();
    }
    return QByteArray::fromPercentEncoding(entryId.toLatin1()).toStdString();
}

std::string stemOf(std::string_view unique) {
    if (unique.find(",U=") == std::string_view::npos) {
        return std::string(unique);
    }
    // The fields after the first comma are "K=value" pairs (Dovecot's S= and W=, mbsync's U=).
    std::string stem;
    std::size_t start = 0;
    bool first = true;
    while (start <= unique.size()) {
        std::size_t comma = unique.find(',', start);
        if (comma == std::string_view::npos) {
            comma = unique.size();
        }
        const std::string_view field = unique.substr(start, comma - start);
        if (first || field.substr(0, 2) != "U=") {
            if (!first) {
                stem += ',';
            }
            stem += field;
        }
        first = false;
        start = comma + 1;
    }
    return stem;
}

std::string_view flagsOf(std::string_view info) {
    if (info.substr(0, kInfoMark.size()) != kInfoMark) {
        return {};
    }
    return info.substr(kInfoMark.size());
}

std::string infoWith(std::string flags) {
    std::sort(flags.begin(), flags.end());
    flags.erase(std::unique(flags.begin(), flags.end()), flags.end());
    return std::string(kInfoMark) + flags;
}

bool isSeen(std::string_view info) {
    if (info.substr(0, kInfoMark.size()) != kInfoMark) {
        return false;
    }
    return info.find('S', kInfoMark.size()) != std::string_view::npos;
}

std::optional<std::int64_t> deliveryMicros(std::string_view unique) {
    std::size_t used = 0;
    const std::optional<std::int64_t> seconds = leadingNumber(unique, used);
    if (!seconds || (used < unique.size() && unique[used] != '.')) {
        return std::nullopt;
    }
    std::int64_t micros = 0;
    // "1700000000.M123456P42Q1.host": the M field holds the microseconds of the delivery.
    if (used + 2 < unique.size() && unique[used + 1] == 'M') {
        std::size_t digits = 0;
        if (auto m = leadingNumber(unique.substr(used + 2), digits); m && *m < 1000000) {
            micros = *m;
        }
    }
    return *seconds * 1000000 + micros;
}

DeliveryKey deliveryKey(std::string_view unique) {
    const std::optional<std::int64_t> micros = deliveryMicros(unique);
    return {!micros, micros.value_or(0)};
}

bool deliveredBefore(std::string_view a, std::string_view b) {
    const DeliveryKey ka = deliveryKey(a);
    const DeliveryKey kb = deliveryKey(b);
    return ka != kb ? ka < kb : a < b;
}

std::optional<QStringList> folderPathOf(std::string_view dirName) {
    if (dirName.size() < 2 || dirName[0] != '.') {
        return std::nullopt;
    }
    QStringList path;
    std::size_t start = 1;
    while (true) {
        const std::size_t dot = dirName.find('.', start);
        const std::string_view part = dirName.substr(start, dot - start);
        if (part.empty()) {
            return std::nullopt;
        }
        path << decodeFolderName(part);
        if (dot == std::string_view::npos) {
            return path;
        }
        start = dot + 1;
    }
}

QString decodeFolderName(std::string_view part) {
    const QByteArray raw(part.data(), static_cast<qsizetype>(part.size()));
    if (!raw.contains('&')) {
        return QString::fromUtf8(raw);
    }
    QString out;
    qsizetype i = 0;
    while (i < raw.size()) {
        if (raw[i] != '&') {
            const qsizetype next = raw.indexOf('&', i);
            const qsizetype stop = next < 0 ? raw.size() : next;
            out += QString::fromUtf8(raw.mid(i, stop - i));
            i = stop;
            continue;
        }
        const qsizetype end = raw.indexOf('-', i + 1);
        if (end < 0) {
            return QString::fromUtf8(raw);
        }
        if (end == i + 1) {
            out += QLatin1Char('&');
        } else {
            QByteArray base64 = raw.mid(i + 1, end - i - 1);
            base64.replace(',', '/');
            const auto decoded = QByteArray::fromBase64Encoding(
                base64, QByteArray::AbortOnBase64DecodingErrors | QByteArray::OmitTrailingEquals);
            if (!decoded || decoded.decoded.size() % 2 != 0) {
                return QString::fromUtf8(raw);
            }
            for (qsizetype k = 0; k < decoded.decoded.size(); k += 2) {
                const auto high = static_cast<unsigned char>(decoded.decoded.at(k));
                const auto low = static_cast<unsigned char>(decoded.decoded.at(k + 1));
                out += QChar(static_cast<char16_t>((high << 8) | low));
            }
        }
        i = end + 1;
    }
    return out;
}

}  // namespace tf::store::maildir
