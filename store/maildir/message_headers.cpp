#include "store/maildir/message_headers.h"

#include <unistd.h>

// GLib names a struct member "signals", which Qt defines as a keyword.
#undef signals
#include <gmime/gmime.h>

#include <QStringDecoder>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>

#include "common/failure.h"

// GLib's type-check macros are C casts.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace tf::store::maildir {

namespace {

void ensureGMime() {
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

struct GFreeDeleter {
    void operator()(char* text) const { g_free(text); }
};
using GText = std::unique_ptr<char, GFreeDeleter>;

struct UnrefDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using GRef = std::unique_ptr<T, UnrefDeleter>;

QString fromGText(const GText& text) {
    return text ? QString::fromUtf8(text.get()) : QString();
}

bool isPlainAscii(const QByteArray& text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\0') {
            return false;
        }
    }
    return !text.contains("=?");
}

// Raw 8-bit header text: UTF-8 when it is valid UTF-8, else Latin-1.
QString fromRaw(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

QString fromCharset(const QByteArray& bytes, const QByteArray& charset) {
    if (charset.compare("utf-8", Qt::CaseInsensitive) == 0 ||
        charset.compare("us-ascii", Qt::CaseInsensitive) == 0) {
        return fromRaw(bytes);
    }
    gsize written = 0;
    GText converted(g_convert(bytes.constData(), bytes.size(), "UTF-8", charset.constData(),
                              nullptr, &written, nullptr));
    if (!converted) {
        return fromRaw(bytes);
    }
    return QString::fromUtf8(converted.get(), static_cast<qsizetype>(written));
}

// One RFC 2047 encoded word: its charset and its payload decoded from B or Q.
struct EncodedWord {
    QByteArray charset;
    QByteArray bytes;
    qsizetype end = 0;  // just after its "?="
};

std::optional<EncodedWord> encodedWordAt(const QByteArray& text, qsizetype at) {
    if (!text.mid(at, 2).startsWith("=?")) {
        return std::nullopt;
    }
    const qsizetype charsetEnd = text.indexOf('?', at + 2);
    if (charsetEnd < 0 || charsetEnd + 3 > text.size() || text[charsetEnd + 2] != '?') {
        return std::nullopt;
    }
    const char encoding = text[charsetEnd + 1];
    const qsizetype payloadEnd = text.indexOf("?=", charsetEnd + 3);
    if (payloadEnd < 0) {
        return std::nullopt;
    }
    const QByteArray payload = text.mid(charsetEnd + 3, payloadEnd - charsetEnd - 3);
    if (payload.contains(' ') || payload.contains('\t')) {
        return std::nullopt;
    }
    EncodedWord word;
    word.charset = text.mid(at + 2, charsetEnd - at - 2);
    if (const qsizetype star = word.charset.indexOf('*'); star >= 0) {
        word.charset.truncate(star);  // RFC 2231 language
    }
    if (encoding == 'B' || encoding == 'b') {
        word.bytes = QByteArray::fromBase64(payload);
    } else if (encoding == 'Q' || encoding == 'q') {
        for (qsizetype i = 0; i < payload.size(); ++i) {
            const char c = payload[i];
            if (c == '_') {
                word.bytes += ' ';
            } else if (c == '=' && i + 2 < payload.size()) {
                bool ok = false;
                const int value = payload.mid(i + 1, 2).toInt(&ok, 16);
                word.bytes += ok ? static_cast<char>(value) : c;
                i += ok ? 2 : 0;
            } else {
                word.bytes += c;
            }
        }
    } else {
        return std::nullopt;
    }
    word.end = payloadEnd + 2;
    return word;
}

// Each encoded word is decoded on its own: a base64 word that ends in padding cannot be joined to
// the next before decoding. The bytes of neighbouring words in one charset are joined before the
// charset is applied, since mailers split a character across two words.
QString decodeText(const QByteArray& value) {
    if (isPlainAscii(value)) {
        return QString::fromLatin1(value);
    }
    QString out;
    QByteArray plain;
    QByteArray run;  // bytes of neighbouring encoded words in runCharset
    QByteArray runCharset;
    qsizetype pendingSpace = -1;  // where the blanks after an encoded word began
    auto flushRun = [&] {
        if (!runCharset.isNull()) {
            out += fromCharset(run, runCharset);
            run.clear();
            runCharset = QByteArray();
        }
    };
    qsizetype i = 0;
    while (i < value.size()) {
        if (std::optional<EncodedWord> word = encodedWordAt(value, i)) {
            out += fromRaw(plain);
            plain.clear();
            if (runCharset.isNull() ||
                word->charset.compare(runCharset, Qt::CaseInsensitive) != 0) {
                flushRun();
                runCharset = word->charset.isEmpty() ? QByteArray("") : word->charset;
            }
            run += word->bytes;
            pendingSpace = -1;
            i = word->end;
            // Blanks between two encoded words are dropped; before other text they stay.
            qsizetype j = i;
            while (j < value.size() && (value[j] == ' ' || value[j] == '\t')) {
                ++j;
            }
            if (j < value.size() && encodedWordAt(value, j)) {
                i = j;
                continue;
            }
            pendingSpace = i;
            continue;
        }
        if (pendingSpace >= 0) {
            flushRun();
            pendingSpace = -1;
        }
        plain += value[i];
        ++i;
    }
    flushRun();
    out += fromRaw(plain);
    return out;
}

bool isSpecial(char c) {
    return std::strchr("\"(),:;<>@[\\]", c) != nullptr;
}

// The common plain forms, read without GMime: "Name <addr>", "\"Name\" <addr>" and "addr".
std::optional<QString> plainSender(const QByteArray& value) {
    if (!isPlainAscii(value)) {
        return std::nullopt;
    }
    const qsizetype open = value.indexOf('<');
    if (open < 0) {
        for (char c : value) {
            if (c == ' ' || c == '\t' || (isSpecial(c) && c != '@')) {
                return std::nullopt;
            }
        }
        return QString::fromLatin1(value);
    }
    if (!value.endsWith('>') || value.indexOf('>') != value.size() - 1 ||
        value.indexOf('<', open + 1) >= 0) {
        return std::nullopt;
    }
    QByteArray name = value.left(open).trimmed();
    if (name.size() >= 2 && name.startsWith('"') && name.endsWith('"')) {
        name = name.mid(1, name.size() - 2);
        if (name.contains('"') || name.contains('\\')) {
            return std::nullopt;
        }
    } else {
        for (char c : name) {
            if (isSpecial(c)) {
                return std::nullopt;
            }
        }
    }
    name = name.simplified();
    const QByteArray address = value.mid(open + 1, value.size() - open - 2).trimmed();
    return QString::fromLatin1(name.isEmpty() ? address : name);
}

QString decodeSender(const QByteArray& value) {
    if (std::optional<QString> plain = plainSender(value)) {
        return *plain;
    }
    ensureGMime();
    GRef<InternetAddressList> list(internet_address_list_parse(nullptr, value.constData()));
    InternetAddress* first = nullptr;
    if (list && internet_address_list_length(list.get()) > 0) {
        first = internet_address_list_get_address(list.get(), 0);
        if (INTERNET_ADDRESS_IS_GROUP(first)) {
            InternetAddressList* members =
                internet_address_group_get_members(INTERNET_ADDRESS_GROUP(first));
            first = internet_address_list_length(members) > 0
                        ? internet_address_list_get_address(members, 0)
                        : nullptr;
        }
    }
    if (first == nullptr) {
        return decodeText(value);
    }
    const char* name = internet_address_get_name(first);
    if (name != nullptr && *name != '\0') {
        return QString::fromUtf8(name);
    }
    if (INTERNET_ADDRESS_IS_MAILBOX(first)) {
        return QString::fromUtf8(
            internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(first)));
    }
    return decodeText(value);
}

// Days from 1970-01-01 to a day of the proleptic Gregorian calendar.
qint64 daysFromCivil(qint64 year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const qint64 era = (year >= 0 ? year : year - 399) / 400;
    const qint64 yearOfEra = year - era * 400;
    const qint64 dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const qint64 dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

int daysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

// The form nearly every message has, "[Tue, ]2 Jan 2024 10:00[:00] +0100 [(comment)]", read
// here because GMime's general parser makes a time zone object for every date. Anything else
// is left to GMime.
std::optional<qint64> decodeCommonDate(QByteArrayView text) {
    qsizetype at = 0;
    const auto spaces = [&] {
        const qsizetype from = at;
        while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) {
            ++at;
        }
        return at > from;
    };
    const auto number = [&](int fewest, int most, int& value) {
        int count = 0;
        value = 0;
        while (at < text.size() && count < most && text[at] >= '0' && text[at] <= '9') {
            value = value * 10 + (text[at++] - '0');
            ++count;
        }
        return count >= fewest && (at == text.size() || text[at] < '0' || text[at] > '9');
    };
    const auto letter = [&](qsizetype i) {
        return i < text.size() && ((text[i] | 0x20) >= 'a' && (text[i] | 0x20) <= 'z');
    };
    spaces();
    if (letter(at)) {
        if (!letter(at + 1) || !letter(at + 2) || at + 3 >= text.size() || text[at + 3] != ',') {
            return std::nullopt;
        }
        at += 4;
        spaces();
    }
    int day = 0;
    int year = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int zone = 0;
    if (!number(1, 2, day) || !spaces() || !letter(at) || !letter(at + 1) || !letter(at + 2)) {
        return std::nullopt;
    }
    static constexpr const char* kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                              "jul", "aug", "sep", "oct", "nov", "dec"};
    int month = 0;
    for (int m = 0; m < 12 && month == 0; ++m) {
        if (qstrnicmp(text.data() + at, kMonths[m], 3) == 0) {
            month = m + 1;
        }
    }
    at += 3;
    if (month == 0 || letter(at) || !spaces() || !number(4, 4, year) || year < 1000 || !spaces() ||
        !number(2, 2, hour) || at >= text.size() || text[at++] != ':' || !number(2, 2, minute)) {
        return std::nullopt;
    }
    if (at < text.size() && text[at] == ':') {
        ++at;
        if (!number(2, 2, second)) {
            return std::nullopt;
        }
    }
    if (!spaces() || at >= text.size() || (text[at] != '+' && text[at] != '-')) {
        return std::nullopt;
    }
    const int sign = text[at++] == '-' ? -1 : 1;
    if (!number(4, 4, zone)) {
        return std::nullopt;
    }
    spaces();
    if (at < text.size() && text[at] != '(') {
        return std::nullopt;
    }
    if (day < 1 || day > daysInMonth(year, month) || hour > 23 || minute > 59 || second > 59 ||
        zone / 100 > 14 || zone % 100 > 59) {
        return std::nullopt;
    }
    const qint64 offset = sign * ((zone / 100) * 3600 + (zone % 100) * 60);
    return daysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second - offset;
}

std::optional<qint64> decodeDate(const QByteArray& value) {
    if (const std::optional<qint64> common = decodeCommonDate(value)) {
        return common;
    }
    ensureGMime();
    GDateTime* parsed = g_mime_utils_header_decode_date(value.constData());
    if (parsed == nullptr) {
        return std::nullopt;
    }
    const qint64 seconds = g_date_time_to_unix(parsed);
    g_date_time_unref(parsed);
    // Years 1 to 9999: what a QDateTime and the store's dates can hold.
    constexpr qint64 kFirst = -62135596800LL;
    constexpr qint64 kLast = 253402300799LL;
    if (seconds < kFirst || seconds > kLast) {
        return std::nullopt;
    }
    return seconds;
}

bool sameName(QByteArrayView line, qsizetype colon, const char* name) {
    const auto length = static_cast<qsizetype>(std::strlen(name));
    qsizetype end = colon;
    while (end > 0 && (line[end - 1] == ' ' || line[end - 1] == '\t')) {
        --end;
    }
    return end == length && qstrnicmp(line.data(), name, static_cast<uint>(length)) == 0;
}

}  // namespace

MessageHeaders parseHeaders(const QByteArray& block) {
    QByteArray subject;
    QByteArray from;
    QByteArray date;
    bool haveSubject = false;
    bool haveFrom = false;
    bool haveDate = false;
    QByteArray* current = nullptr;  // the wanted header being unfolded, if any
    qsizetype start = 0;
    bool first = true;
    const QByteArrayView all(block);
    while (start < all.size()) {
        qsizetype end = block.indexOf('\n', start);
        if (end < 0) {
            end = all.size();
        }
        QByteArrayView line = all.sliced(start, end - start);
        start = end + 1;
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        if (line.isEmpty()) {
            break;
        }
        if (line[0] == ' ' || line[0] == '\t') {
            if (current != nullptr) {
                current->append(line);
            }
            continue;
        }
        current = nullptr;
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            if (first) {
                break;  // no header block at all
            }
            continue;
        }
        first = false;
        const QByteArrayView value = line.sliced(colon + 1);
        if (!haveSubject && sameName(line, colon, "subject")) {
            haveSubject = true;
            subject = value.toByteArray();
            current = &subject;
        } else if (!haveFrom && sameName(line, colon, "from")) {
            haveFrom = true;
            from = value.toByteArray();
            current = &from;
        } else if (!haveDate && sameName(line, colon, "date")) {
            haveDate = true;
            date = value.toByteArray();
            current = &date;
        }
    }
    MessageHeaders headers;
    headers.subject = decodeText(subject.trimmed());
    if (haveFrom) {
        headers.sender = decodeSender(from.trimmed());
    }
    if (haveDate) {
        headers.date = decodeDate(date.trimmed());
    }
    return headers;
}

QByteArray readHeaderBlock(int fd, const QString& path, qsizetype limit) {
    QByteArray block;
    qsizetype chunk = 4096;
    qsizetype searched = 0;
    while (block.size() < limit) {
        const qsizetype want = std::min(chunk, limit - block.size());
        const qsizetype had = block.size();
        block.resize(had + want);
        ssize_t got = 0;
        do {
            got = ::read(fd, block.data() + had, static_cast<size_t>(want));
        } while (got < 0 && errno == EINTR);
        if (got < 0) {
            throw Failure(err::kPermissionDenied,
                          QStringLiteral("The message %1 cannot be read (%2).")
                              .arg(path, QString::fromLocal8Bit(std::strerror(errno))));
        }
        block.resize(had + got);
        // The blank line may straddle two chunks: look again from a little before the new part.
        const qsizetype from = std::max<qsizetype>(0, searched - 3);
        // The first blank line, whichever line ending it has.
        qsizetype blank = -1;
        for (const char* mark : {"\n\n", "\n\r\n"}) {
            const qsizetype at = block.indexOf(mark, from);
            if (at >= 0 && (blank < 0 || at < blank)) {
                blank = at;
            }
        }
        if (blank >= 0) {
            block.truncate(blank + 1);
            return block;
        }
        searched = block.size();
        if (got < want) {
            break;
        }
        chunk *= 2;
    }
    return block;
}

QString messageBodyText(const QByteArray& message) {
    ensureGMime();
    GRef<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(
        message.constData(), static_cast<size_t>(message.size())));
    GRef<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    GRef<GMimeMessage> parsed(g_mime_parser_construct_message(parser.get(), nullptr));
    GMimeObject* top = parsed ? g_mime_message_get_mime_part(parsed.get()) : nullptr;
    GMimeTextPart* anyText = nullptr;
    GMimeTextPart* plain = nullptr;
    auto consider = [&](GMimeObject* part) {
        if (part == nullptr || !GMIME_IS_TEXT_PART(part)) {
            return;
        }
        auto* text = GMIME_TEXT_PART(part);
        if (anyText == nullptr) {
            anyText = text;
        }
        if (plain == nullptr &&
            g_mime_content_type_is_type(g_mime_object_get_content_type(part), "text", "plain")) {
            plain = text;
        }
    };
    consider(top);
    if (top != nullptr && GMIME_IS_MULTIPART(top)) {
        GMimePartIter* iter = g_mime_part_iter_new(top);
        for (bool more = g_mime_part_iter_is_valid(iter); more && plain == nullptr;
             more = g_mime_part_iter_next(iter)) {
            consider(g_mime_part_iter_get_current(iter));
        }
        g_mime_part_iter_free(iter);
    }
    if (GMimeTextPart* chosen = plain != nullptr ? plain : anyText) {
        return fromGText(GText(g_mime_text_part_get_text(chosen)));
    }
    const qsizetype blank = message.indexOf("\n\n");
    return QString::fromUtf8(blank < 0 ? message : message.mid(blank + 2));
}

QByteArray encodeSubject(const QString& subject) {
    ensureGMime();
    const QByteArray utf8 = subject.toUtf8();
    GText encoded(g_mime_utils_header_encode_text(nullptr, utf8.constData(), nullptr));
    return encoded ? QByteArray(encoded.get()) : utf8;
}

QByteArray encodeMailbox(const QString& name, const QString& address) {
    ensureGMime();
    GRef<InternetAddress> mailbox(
        internet_address_mailbox_new(name.toUtf8().constData(), address.toUtf8().constData()));
    GText text(internet_address_to_string(mailbox.get(), nullptr, TRUE));
    return text ? QByteArray(text.get()) : address.toUtf8();
}

}  // namespace tf::store::maildir
