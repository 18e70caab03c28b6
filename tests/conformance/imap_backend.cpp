#include <QDir>
#include <memory>

#include "store/imap/imap_store.h"
#include "tests/conformance/backend.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/imap_test_client.h"
#include "tests/support/loopback_account.h"
#include "tests/support/temp_home.h"

namespace tf::conformance {

namespace {

// The described tree on a private Dovecot with "/" as its delimiter: the Inbox is INBOX, Deleted
// Items the special-use Trash, folders below the Inbox "INBOX/Name". The server is filled by a
// separate client with APPEND, in delivery order, and the store signs in with a password.
class ImapBackend : public Backend {
  public:
    outlook::StorePtr create(const StoreSpec& spec, const QString& dir) override {
        name_ = spec.name;
        testing::DovecotOptions options;
        options.separator = QStringLiteral("/");
        server_ = std::make_unique<testing::DovecotServer>(
            QDir(dir).filePath(QStringLiteral("server")), options);
        QDir().mkpath(QDir(dir).filePath(QStringLiteral("server")));
        QString why;
        if (!server_->start(why)) {
            ADD_FAILURE() << why.toStdString();
            return nullptr;
        }
        testing::ImapTestClient client(server_->imapPort());
        int serial = 0;
        for (const FolderSpec& folder : spec.folders) {
            const QByteArray mailbox = mailboxOf(folder.path);
            if (mailbox != "INBOX") {
                client.create(mailbox);
            }
            for (const MailSpec& mail : folder.mails) {
                client.append(
                    mailbox,
                    testing::testMail(mail.subject, mail.sender, mail.received,
                                      QStringLiteral("<m%1@example.org>").arg(++serial), mail.body),
                    !mail.unread, mail.received);
            }
        }
        return reopen(dir);
    }

    outlook::StorePtr reopen(const QString&) override {
        store::imap::ImapAccount account = testing::loopbackAccount(server_->imapPort());
        account.displayName = name_;
        auto connection = std::make_unique<store::imap::ImapConnection>(
            account, [] { return QByteArray("secret"); });
        return store::imap::openImapStore(std::move(connection), store::imap::Batching{});
    }

  private:
    static QByteArray mailboxOf(const QString& path) {
        if (path == QLatin1String("Inbox")) {
            return "INBOX";
        }
        if (path == QLatin1String("Deleted Items")) {
            return "Trash";
        }
        QStringList parts = path.split(QLatin1Char('/'));
        if (parts.first() == QLatin1String("Inbox")) {
            parts.first() = QStringLiteral("INBOX");
        }
        return parts.join(QLatin1Char('/')).toUtf8();
    }

    testing::TempHome home_;  // moved messages' EntryIDs are kept in its cache folder
    QString name_;
    std::unique_ptr<testing::DovecotServer> server_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Imap, ObjectModelConformance,
                         ::testing::Values(BackendParam{
                             "Imap", [] { return std::make_unique<ImapBackend>(); }}),
                         backendName);

}  // namespace tf::conformance
