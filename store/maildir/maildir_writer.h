#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

// Writes Maildir++ trees as a delivery agent would: for the tests, the benchmark and trying
// things out.
namespace tf::store::maildir {

struct MailToWrite {
    QString subject;
    QString senderName;
    QString senderAddress = QStringLiteral("sender@example.org");
    std::optional<QDateTime> date;  // no Date header when empty
    QString messageId;              // none when empty
    QString body;
};

// A plain-text message with its headers encoded as a mail client would.
QByteArray composeMail(const MailToWrite& mail);

class MaildirWriter {
  public:
    // Makes root's cur/, new/ and tmp/ when they are missing.
    explicit MaildirWriter(QString root);

    // The Maildir++ directory name of a folder path: ".Archive.Old Mail". Throws tf::Failure
    // when a part is empty or holds a dot or a slash, which the layout cannot express.
    static QString dirNameOf(const QStringList& path);
    // Makes the folder with the given directory name ("" is the root) and returns its path.
    QString addFolder(const QString& dirName);

    // Delivers a message through tmp/: into new/ when flags is empty, else into cur/ with
    // ":2,FLAGS". deliveredAt goes into the file's unique name. Returns the file's path.
    QString deliver(const QString& dirName, const QByteArray& message, qint64 deliveredAt,
                    const std::optional<QString>& flags);

    const QString& root() const { return root_; }

  private:
    QString root_;
    qint64 counter_ = 0;
};

}  // namespace tf::store::maildir
