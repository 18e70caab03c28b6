#include "store/maildir/maildir_writer.h"

#include <unistd.h>

#include <QDir>
#include <QFile>

#include "common/failure.h"
#include "store/maildir/message_headers.h"

namespace tf::store::maildir {

namespace {

[[noreturn]] void cannotWrite(const QString& path) {
    throw Failure(err::kPermissionDenied, QStringLiteral("Cannot write %1.").arg(path));
}

void makeMaildir(const QString& dir) {
    for (const char* sub : {"cur", "new", "tmp"}) {
        if (!QDir().mkpath(QDir(dir).filePath(QLatin1String(sub)))) {
            cannotWrite(dir);
        }
    }
}

}  // namespace

QByteArray composeMail(const MailToWrite& mail) {
    QByteArray out;
    out += "From: " + encodeMailbox(mail.senderName, mail.senderAddress) + "\r\n";
    out += "To: reader@example.org\r\n";
    out += "Subject: " + encodeSubject(mail.subject) + "\r\n";
    if (mail.date) {
        out += "Date: " + mail.date->toString(Qt::RFC2822Date).toLatin1() + "\r\n";
    }
    if (!mail.messageId.isEmpty()) {
        out += "Message-ID: <" + mail.messageId.toUtf8() + ">\r\n";
    }
    out +=
        "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n"
        "Content-Transfer-Encoding: 8bit\r\n\r\n";
    out += mail.body.toUtf8();
    return out;
}

MaildirWriter::MaildirWriter(QString root) : root_(std::move(root)) {
    makeMaildir(root_);
}

QString MaildirWriter::dirNameOf(const QStringList& path) {
    QString dir;
    for (const QString& part : path) {
        if (part.isEmpty() || part.contains(QLatin1Char('.')) || part.contains(QLatin1Char('/'))) {
            throw Failure(err::kInvalidArgument,
                          QStringLiteral("The folder name \"%1\" cannot be written in a Maildir++ "
                                         "tree.")
                              .arg(part));
        }
        dir += QLatin1Char('.') + part;
    }
    return dir;
}

QString MaildirWriter::addFolder(const QString& dirName) {
    const QString dir = dirName.isEmpty() ? root_ : QDir(root_).filePath(dirName);
    makeMaildir(dir);
    return dir;
}

QString MaildirWriter::deliver(const QString& dirName, const QByteArray& message,
                               qint64 deliveredAt, const std::optional<QString>& flags) {
    const QDir dir(dirName.isEmpty() ? root_ : QDir(root_).filePath(dirName));
    ++counter_;
    // The microseconds field keeps messages delivered in one second in the order written.
    const QString unique = QStringLiteral("%1.M%2P%3Q%4.tidyfold")
                               .arg(deliveredAt)
                               .arg(counter_ % 1000000)
                               .arg(::getpid())
                               .arg(counter_);
    const QString staging = dir.filePath(QStringLiteral("tmp/") + unique);
    QFile file(staging);
    if (!file.open(QIODevice::WriteOnly) || file.write(message) != message.size()) {
        cannotWrite(staging);
    }
    file.close();
    const QString target =
        flags ? dir.filePath(QStringLiteral("cur/") + unique + QStringLiteral(":2,") + *flags)
              : dir.filePath(QStringLiteral("new/") + unique);
    if (!QFile::rename(staging, target)) {
        cannotWrite(target);
    }
    return target;
}

}  // namespace tf::store::maildir
