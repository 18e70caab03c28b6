#include <QDir>

#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"
#include "tests/conformance/backend.h"

namespace tf::conformance {

namespace {

// The described tree as a Maildir++ tree: the Inbox is the root, Deleted Items is the usual
// ".Trash", folders below the Inbox are ".INBOX.Name", and the store's name comes from the URL.
class MaildirBackend : public Backend {
  public:
    outlook::StorePtr create(const StoreSpec& spec, const QString& dir) override {
        name_ = spec.name;
        store::maildir::MaildirWriter writer(root(dir));
        qint64 delivered = 1700000000;
        for (const FolderSpec& folder : spec.folders) {
            const QString dirName = dirNameOf(folder.path);
            writer.addFolder(dirName);
            for (const MailSpec& mail : folder.mails) {
                store::maildir::MailToWrite out;
                out.subject = mail.subject;
                out.senderName = mail.sender;
                out.date = mail.received;
                out.body = mail.body;
                const std::optional<QString> flags =
                    mail.unread ? std::nullopt : std::optional<QString>(QStringLiteral("S"));
                writer.deliver(dirName, store::maildir::composeMail(out), delivered++, flags);
            }
        }
        return reopen(dir);
    }

    outlook::StorePtr reopen(const QString& dir) override {
        return store::maildir::openMaildirStore(root(dir), name_);
    }

  private:
    static QString root(const QString& dir) { return QDir(dir).filePath(QStringLiteral("Mail")); }

    static QString dirNameOf(const QString& path) {
        if (path == QLatin1String("Inbox")) {
            return {};
        }
        if (path == QLatin1String("Deleted Items")) {
            return QStringLiteral(".Trash");
        }
        QStringList parts = path.split(QLatin1Char('/'));
        if (parts.first() == QLatin1String("Inbox")) {
            parts.first() = QStringLiteral("INBOX");
        }
        return store::maildir::MaildirWriter::dirNameOf(parts);
    }

    QString name_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Maildir, ObjectModelConformance,
                         ::testing::Values(BackendParam{
                             "Maildir", [] { return std::make_unique<MaildirBackend>(); }}),
                         backendName);

}  // namespace tf::conformance
