// Reading a message's header block from its file and taking the wanted headers out of it.
#include "store/maildir/message_headers.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QDateTime>
#include <random>

#include "tests/support/qt_printers.h"

namespace tf::store::maildir {
namespace {

// The header block of bytes as read from a file.
QByteArray headerBlockOf(const QByteArray& bytes, qsizetype limit = 4 << 20) {
    const int fd = ::memfd_create("message", MFD_CLOEXEC);
    EXPECT_GE(fd, 0);
    EXPECT_EQ(::write(fd, bytes.constData(), static_cast<size_t>(bytes.size())), bytes.size());
    ::lseek(fd, 0, SEEK_SET);
    QByteArray block = readHeaderBlock(fd, QStringLiteral("test"), limit);
    ::close(fd);
    return block;
}

TEST(MessageHeaders, TheBlockEndsAtTheFirstBlankLineWhateverItsLineEnding) {
    EXPECT_EQ(headerBlockOf("A: b\r\nC: d\r\n\r\nbody\n\nmore\n"), QByteArray("A: b\r\nC: d\r\n"));
    EXPECT_EQ(headerBlockOf("A: b\nC: d\n\nbody\r\n\r\n"), QByteArray("A: b\nC: d\n"));
    EXPECT_EQ(headerBlockOf("A: b\n"), QByteArray("A: b\n"));
    EXPECT_EQ(headerBlockOf(""), QByteArray());
}

TEST(MessageHeaders, ABlankLineAcrossTwoReadsIsFoundAndALimitStopsTheRead) {
    for (qsizetype length : {4093, 4094, 4095, 4096, 4097, 8190, 8191}) {
        const QByteArray header = "X: " + QByteArray(length - 4, 'x') + "\n";
        ASSERT_EQ(header.size(), length);
        EXPECT_EQ(headerBlockOf(header + "\r\nbody " + QByteArray(9000, 'b')), header) << length;
        EXPECT_EQ(headerBlockOf(header + "\nbody " + QByteArray(9000, 'b')), header) << length;
    }
    const QByteArray endless = QByteArray("Subject: x\n").repeated(2000);
    EXPECT_EQ(headerBlockOf(endless, 6000), endless.left(6000));
}

TEST(MessageHeaders, TheFirstOfEachHeaderCountsWhateverTheCaseOfItsName) {
    const MessageHeaders headers = parseHeaders(
        "Received: from x\n\tby y\nsubject : first\nSubject: second\nFROM: A <a@x>\n"
        "From: B <b@x>\nDate: Thu, 01 Jan 2004 00:00:00 +0000\n\nSubject: in the body\n");
    EXPECT_EQ(headers.subject, QStringLiteral("first"));
    EXPECT_EQ(headers.sender, QStringLiteral("A"));
    EXPECT_EQ(headers.date, 1072915200);
}

TEST(MessageHeaders, SendersInEveryCommonForm) {
    auto sender = [](const char* from) {
        return parseHeaders(QByteArray("From: ") + from + "\n\n").sender;
    };
    EXPECT_EQ(sender("Ann Jensen <ann@example.org>"), QStringLiteral("Ann Jensen"));
    EXPECT_EQ(sender("\"Jensen, Ann\" <ann@example.org>"), QStringLiteral("Jensen, Ann"));
    EXPECT_EQ(sender("<ann@example.org>"), QStringLiteral("ann@example.org"));
    EXPECT_EQ(sender("ann@example.org"), QStringLiteral("ann@example.org"));
    EXPECT_EQ(sender("ann@example.org (Ann Jensen)"), QStringLiteral("Ann Jensen"));
    EXPECT_EQ(sender("=?utf-8?q?Zo=C3=AB?= <z@example.org>"), QStringLiteral("Zoë"));
    EXPECT_EQ(sender("Team: Ann <ann@example.org>, Bob <bob@example.org>;"), QStringLiteral("Ann"));
    EXPECT_EQ(parseHeaders("Subject: none\n\n").sender, QString());
}

TEST(MessageHeaders, EveryEncodedWordOfASubjectIsDecodedEvenAfterPadding) {
    // The first base64 word ends in "=" padding: joining the words before decoding loses the rest.
    EXPECT_EQ(parseHeaders("Subject: =?utf-8?B?0J/RgNC40LLQtdGCLA==?= =?utf-8?B?INC80LjRgA==?=\n\n")
                  .subject,
              QStringLiteral("Привет, мир"));
    EXPECT_EQ(parseHeaders("Subject: =?GB2312?B?xOO6ww==?=\n =?GB2312?B?ysC95w==?=\n\n").subject,
              QStringLiteral("你好世界"));
    // A character split across two words of one charset, and words among plain text.
    EXPECT_EQ(parseHeaders("Subject: =?UTF-8?Q?caf=C3?= =?UTF-8?Q?=A9_au_lait?=\n\n").subject,
              QStringLiteral("café au lait"));
    EXPECT_EQ(parseHeaders("Subject: Re: =?iso-8859-1?q?Gr=FC=DFe?= aus =?utf-8?b?S8O2bG4=?= !\n\n")
                  .subject,
              QStringLiteral("Re: Grüße aus Köln !"));
    // Broken words stay as they were written.
    EXPECT_EQ(parseHeaders("Subject: =?utf-8?X?abc?= and =?utf-8?B?\n\n").subject,
              QStringLiteral("=?utf-8?X?abc?= and =?utf-8?B?"));
}

TEST(MessageHeaders, NoHeaderBlockAtAllGivesNothing) {
    const MessageHeaders headers = parseHeaders("Hello there, Subject: not a header\n\n");
    EXPECT_EQ(headers.subject, QString());
    EXPECT_EQ(headers.sender, QString());
    EXPECT_FALSE(headers.date);
    EXPECT_FALSE(parseHeaders("Date: 31 Feb 20x4 99:99\n\n").date);
}

std::optional<qint64> dateOf(const QByteArray& value) {
    return parseHeaders("Date: " + value + "\n\n").date;
}

TEST(MessageHeaders, DatesInTheCommonFormAgreeWithAnIndependentReading) {
    static const char* const kMonths[] = {"Jan", "FEB", "mar", "Apr", "May", "Jun",
                                          "Jul", "aug", "Sep", "Oct", "Nov", "Dec"};
    static const char* const kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    std::mt19937 random(20261124);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int i = 0; i < 3000; ++i) {
        const QDate day(pick(1000, 9999), pick(1, 12), 1);
        const QDate date = day.addDays(pick(0, day.daysInMonth() - 1));
        const QTime time(pick(0, 23), pick(0, 59), pick(0, 59));
        const int offset = pick(-14 * 60, 14 * 60) * 60;
        const bool seconds = pick(0, 3) != 0;
        QByteArray text;
        if (pick(0, 1) != 0) {
            text += QByteArray(kDays[date.dayOfWeek() - 1]) + ", ";
        }
        text += QByteArray::number(date.day()) + ' ' + kMonths[date.month() - 1] + ' ' +
                QByteArray::number(date.year()) + ' ' +
                time.toString(seconds ? QStringLiteral("HH:mm:ss") : QStringLiteral("HH:mm"))
                    .toLatin1() +
                ' ' + (offset < 0 ? '-' : '+') +
                QByteArray::number(std::abs(offset) / 3600 * 100 + std::abs(offset) % 3600 / 60)
                    .rightJustified(4, '0');
        if (pick(0, 4) == 0) {
            text += " (CET)";
        }
        const QTime shown = seconds ? time : QTime(time.hour(), time.minute());
        const qint64 expected =
            QDateTime(date, shown, Qt::OffsetFromUTC, offset).toSecsSinceEpoch();
        ASSERT_EQ(dateOf(text), std::optional(expected)) << text.constData();
    }
}

TEST(MessageHeaders, DatesInOtherFormsAreStillRead) {
    const qint64 noon = QDateTime(QDate(2024, 1, 2), QTime(12, 0), Qt::UTC).toSecsSinceEpoch();
    EXPECT_EQ(dateOf("Tue, 2 Jan 2024 12:00:00 GMT"), noon);
    EXPECT_EQ(dateOf("Tue, 2 Jan 2024 07:00:00 EST"), noon);
    EXPECT_EQ(dateOf("2 Jan 2024 12:00:00 UT"), noon);
    EXPECT_EQ(dateOf("Tue,  2 Jan 2024   13:00:00   +0100"), noon);
    EXPECT_EQ(dateOf("Tue, 02 Jan 2024 12:00:00 -0000"), noon);
    // A day the month does not have is not taken as another day.
    const std::optional<qint64> february = dateOf("30 Feb 2024 12:00:00 +0000");
    EXPECT_NE(february, QDateTime(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC).toSecsSinceEpoch());
}

}  // namespace
}  // namespace tf::store::maildir
