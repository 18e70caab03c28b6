#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// What the scan reads of a message: the header block only, decoded with GMime.
namespace tf::store::maildir {

struct MessageHeaders {
    QString subject;
    QString sender;              // the From display name, else its address
    std::optional<qint64> date;  // seconds since 1970 (UTC)
};

// Decodes Subject, From and Date from a header block (or any bytes at all: a message without
// headers, or garbage, gives empty fields).
MessageHeaders parseHeaders(const QByteArray& block);

// The header block of an open file: read in growing chunks until the blank line that ends it,
// and never more than limit bytes. Throws tf::Failure when the file cannot be read.
QByteArray readHeaderBlock(int fd, const QString& path, qsizetype limit = 4 << 20);

// The text a reader sees: the first text/plain part decoded to Unicode, else the first text
// part, else the raw text after the headers.
QString messageBodyText(const QByteArray& message);

// A header value encoded for a message we write: RFC 2047 where it is not plain ASCII.
QByteArray encodeSubject(const QString& subject);
QByteArray encodeMailbox(const QString& name, const QString& address);

}  // namespace tf::store::maildir
