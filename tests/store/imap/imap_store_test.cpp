// The IMAP store against a real Dovecot started for each test: signing in safely, folders as
// servers lay them out, and changes that lose nothing when the server or another client
// misbehaves.
#include "store/imap/imap_store.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSet>
#include <QSettings>
#include <QTcpServer>
#include <QTemporaryDir>
#include <atomic>
#include <memory>
#include <set>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/imap/imap_server_backend.h"
#include "store/store_locator.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/imap_test_client.h"
#include "tests/support/loopback_account.h"
#include "tests/support/qt_printers.h"
#include "tests/support/tcp_proxy.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_certificates.h"

namespace tf::store::imap {
namespace {

using outlook::FolderPtr;
using outlook::StorePtr;

QString failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Failure& failure) {
        return failure.description();
    }
    return {};
}

FolderPtr childNamed(const FolderPtr& parent, const QString& name) {
    auto folders = parent->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        if (folders->Item(i)->Name() == name) {
            return folders->Item(i);
        }
    }
    return nullptr;
}

QStringList childNames(const FolderPtr& parent) {
    QStringList names;
    auto folders = parent->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        names << folders->Item(i)->Name();
    }
    names.sort();
    return names;
}

QStringList subjectsOf(const FolderPtr& folder) {
    QStringList out;
    auto items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        out << items->Item(i)->Subject();
    }
    return out;
}

// Every Message-ID of the mailbox and Trash together, each as often as it is there.
std::multiset<QString> everyMessageId(quint16 port) {
    testing::ImapTestClient check(port);
    std::multiset<QString> all;
    for (const QString& id : check.messageIds("INBOX") + check.messageIds("Trash")) {
        all.insert(id);
    }
    return all;
}

class ImapStoreTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(dir_.isValid()); }

    // Starts the server; false (with a failure added) when it does not come up.
    // A server without MOVE, with that many messages in the Inbox.
    bool startWithoutMove(int messages) {
        testing::DovecotOptions options;
        options.capability = QStringLiteral("IMAP4rev1 LITERAL+ UIDPLUS");
        if (!startServer(options)) {
            return false;
        }
        fill("INBOX", messages, false);
        return true;
    }
    // Moves the Inbox's first `count` messages to Deleted Items in one change group; returns what
    // the end of the group said.
    static QString moveFirstInGroup(const StorePtr& store, int count) {
        auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
        store->beginChanges();
        for (int i = 0; i < count; ++i) {
            inbox->Item(1)->Delete();
        }
        return failureOf([&] { store->endChanges(); });
    }

    bool startServer(testing::DovecotOptions options = {}) {
        const QString where = dir_.filePath(QStringLiteral("server"));
        QDir().mkpath(where);
        server_ = std::make_unique<testing::DovecotServer>(where, std::move(options));
        QString why;
        if (!server_->start(why)) {
            ADD_FAILURE() << why.toStdString();
            return false;
        }
        return true;
    }

    // Fills a mailbox with count messages "NAME 1".."NAME count" whose Message-IDs are
    // <NAME-i@example.org>.
    void fill(const QByteArray& mailbox, int count, bool create = true) {
        testing::ImapTestClient client(server_->imapPort());
        if (create) {
            client.create(mailbox);
        }
        const QString name = QString::fromUtf8(mailbox).replace(QLatin1Char('/'), QLatin1Char('_'));
        for (int i = 1; i <= count; ++i) {
            client.append(mailbox,
                          testing::testMail(QStringLiteral("%1 %2").arg(name).arg(i),
                                            QStringLiteral("Ann Jensen"),
                                            QDateTime(QDate(2020, 1, 1), QTime(10, 0)).addDays(i),
                                            QStringLiteral("<%1-%2@example.org>").arg(name).arg(i)),
                          i % 2 == 0, QDateTime(QDate(2020, 1, 1), QTime(10, 0)).addDays(i));
        }
    }

    ImapAccount plainAccount() const { return testing::loopbackAccount(server_->imapPort()); }

    // Opens the account; the secret source counts how often the password was handed over.
    StorePtr open(const ImapAccount& account, Batching batching = {},
                  const QByteArray& password = "secret",
                  int timeoutSeconds = ImapConnection::kDefaultTimeoutSeconds) {
        auto connection = std::make_unique<ImapConnection>(
            account,
            [this, password] {
                ++secretsGiven_;
                return password;
            },
            timeoutSeconds);
        return openImapStore(std::move(connection), batching);
    }

    testing::TempHome home_;
    QTemporaryDir dir_;
    std::unique_ptr<testing::DovecotServer> server_;
    std::atomic<int> secretsGiven_{0};
};

// --- Signing in -----------------------------------------------------------------------------

TEST_F(ImapStoreTest, AWrongPasswordGivesOneClearMessageThatDoesNotRepeatIt) {
    ASSERT_TRUE(startServer());
    const QString message = failureOf([&] { open(plainAccount(), {}, "not-the-password-4711"); });
    EXPECT_TRUE(message.contains(QStringLiteral("did not accept the password for ann")))
        << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("127.0.0.1")));
    EXPECT_FALSE(message.contains(QStringLiteral("4711")));
    // One attempt, no retry that could lock the account.
    EXPECT_EQ(secretsGiven_, 1);
}

TEST_F(ImapStoreTest, APasswordCommandSignsIn) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 2, false);
    ImapAccount account = plainAccount();
    account.passwordCommand = QStringLiteral("printf 'secret\\nignored second line\\n'");
    StorePtr store = openImapStore(account, nullptr, nullptr);
    EXPECT_EQ(subjectsOf(store->GetDefaultFolder(outlook::olFolderInbox)),
              (QStringList{QStringLiteral("INBOX 1"), QStringLiteral("INBOX 2")}));
}

TEST_F(ImapStoreTest, AServerWithoutStartTlsIsRefusedBeforeThePasswordIsSent) {
    ASSERT_TRUE(startServer());  // no certificate: no STARTTLS
    ImapAccount account = plainAccount();
    account.tls = TlsMode::StartTls;
    const QString message = failureOf([&] { open(account); });
    EXPECT_TRUE(message.contains(QStringLiteral("does not offer STARTTLS")))
        << message.toStdString();
    EXPECT_EQ(secretsGiven_, 0);
}

class ImapTlsTest : public ImapStoreTest {
  protected:
    // A server whose certificate, for serverName, comes from a CA of the test's own.
    bool startTlsServer(const QString& serverName) {
        ca_ = std::make_unique<testing::TestCertificateAuthority>(dir_.path());
        const testing::PemFiles files = ca_->issueServer(serverName, QStringLiteral("server"));
        testing::DovecotOptions options;
        options.certFile = files.certificate;
        options.keyFile = files.key;
        return startServer(options);
    }
    ImapAccount tlsAccount(TlsMode mode) const {
        ImapAccount account = plainAccount();
        account.tls = mode;
        account.port = mode == TlsMode::Implicit ? server_->imapsPort() : server_->imapPort();
        return account;
    }
    std::unique_ptr<testing::TestCertificateAuthority> ca_;
};

TEST_F(ImapTlsTest, AnUntrustedCertificateIsRefusedBeforeThePasswordIsSent) {
    ASSERT_TRUE(startTlsServer(QStringLiteral("127.0.0.1")));
    for (TlsMode mode : {TlsMode::Implicit, TlsMode::StartTls}) {
        SCOPED_TRACE(mode == TlsMode::Implicit ? "imaps" : "starttls");
        const QString message = failureOf([&] { open(tlsAccount(mode)); });
        EXPECT_TRUE(message.contains(QStringLiteral("127.0.0.1"))) << message.toStdString();
        EXPECT_TRUE(message.contains(QStringLiteral("not trusted"))) << message.toStdString();
    }
    EXPECT_EQ(secretsGiven_, 0);
}

TEST_F(ImapTlsTest, ACertificateForAnotherNameIsRefusedBeforeThePasswordIsSent) {
    ASSERT_TRUE(startTlsServer(QStringLiteral("mail.example.org")));
    for (TlsMode mode : {TlsMode::Implicit, TlsMode::StartTls}) {
        SCOPED_TRACE(mode == TlsMode::Implicit ? "imaps" : "starttls");
        ImapAccount account = tlsAccount(mode);
        account.caFile = ca_->caFile();  // trusted, but issued for another name
        const QString message = failureOf([&] { open(account); });
        EXPECT_TRUE(message.contains(QStringLiteral("name does not match")))
            << message.toStdString();
    }
    EXPECT_EQ(secretsGiven_, 0);
}

TEST_F(ImapTlsTest, TheAccountsCaFileMakesTheCertificateTrusted) {
    ASSERT_TRUE(startTlsServer(QStringLiteral("127.0.0.1")));
    fill("INBOX", 1, false);
    for (TlsMode mode : {TlsMode::Implicit, TlsMode::StartTls}) {
        SCOPED_TRACE(mode == TlsMode::Implicit ? "imaps" : "starttls");
        ImapAccount account = tlsAccount(mode);
        account.caFile = ca_->caFile();
        StorePtr store = open(account);
        EXPECT_EQ(subjectsOf(store->GetDefaultFolder(outlook::olFolderInbox)),
                  QStringList{QStringLiteral("INBOX 1")});
    }
    EXPECT_EQ(secretsGiven_, 2);
}

TEST_F(ImapTlsTest, ConnectionsThatDeleteSideBySideCheckTheServerAndSignInLikeTheFirst) {
    ASSERT_TRUE(startTlsServer(QStringLiteral("127.0.0.1")));
    for (const QByteArray& folder : {QByteArray("Work"), QByteArray("Home"), QByteArray("Club")}) {
        fill(folder, 12);
    }
    ImapAccount account = tlsAccount(TlsMode::Implicit);
    account.caFile = ca_->caFile();
    Batching batching;
    batching.deleteConnections = 3;
    batching.sideBySideFrom = 10;
    batching.uidsPerCommand = 5;
    StorePtr store = open(account, batching);
    ASSERT_EQ(secretsGiven_, 1);
    std::vector<outlook::ItemsPtr> folders;
    for (const char* name : {"Work", "Home", "Club"}) {
        folders.push_back(childNamed(store->TopFolder(), QString::fromLatin1(name))->Items());
    }
    store->beginChanges();
    for (const outlook::ItemsPtr& items : folders) {
        for (long i = items->Count(); i >= 1; --i) {
            items->Remove(i);
        }
    }
    EXPECT_EQ(failureOf([&] { store->endChanges(); }), QString());
    // Two more sign-ins, each after its own check of the certificate against the account's CA.
    EXPECT_EQ(secretsGiven_, 3);
    testing::ImapTestClient check(server_->imapPort());
    for (const QByteArray& folder : {QByteArray("Work"), QByteArray("Home"), QByteArray("Club")}) {
        EXPECT_TRUE(check.messageIds(folder).isEmpty()) << folder.toStdString();
    }
}

TEST_F(ImapStoreTest, ADeadServerTimesOutInsteadOfHanging) {
    // Accepts the connection and never says a word.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    const ImapAccount account = testing::loopbackAccount(silent.serverPort());
    auto connection = std::make_unique<ImapConnection>(
        account, [this] { return ++secretsGiven_, QByteArray("secret"); }, 1);
    const QString message = failureOf([&] { openImapStore(std::move(connection), {}); });
    EXPECT_FALSE(message.isEmpty());
    EXPECT_EQ(secretsGiven_, 0);
}

TEST_F(ImapStoreTest, TheLocatorOpensServerLocationsAsOneStoreEach) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 1, false);
    const QString location =
        QStringLiteral("imap://ann@127.0.0.1:%1?tls=none&password-command=echo%20secret")
            .arg(server_->imapPort());
    const std::vector<StorePtr> stores = store::openStores(location);
    ASSERT_EQ(stores.size(), 1u);
    EXPECT_EQ(stores[0]->TopFolder()->Name(), QStringLiteral("ann@127.0.0.1"));
    EXPECT_EQ(subjectsOf(stores[0]->GetDefaultFolder(outlook::olFolderInbox)),
              QStringList{QStringLiteral("INBOX 1")});
    // Headless, without a command, nobody is asked: the message says what is missing.
    const QString message = failureOf([&] {
        store::openStores(
            QStringLiteral("imap://ann@127.0.0.1:%1?tls=none").arg(server_->imapPort()));
    });
    EXPECT_FALSE(message.isEmpty());
    EXPECT_FALSE(message.contains(QStringLiteral("secret")));
}

TEST_F(ImapStoreTest, TheLocatorHandsTheWindowsYieldToTheServerStore) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 2, false);
    int yields = 0;
    store::ServerCredentials credentials;
    credentials.yield = [&yields] { ++yields; };
    const std::vector<StorePtr> stores = store::openStores(
        QStringLiteral("imap://ann@127.0.0.1:%1?tls=none&password-command=echo%20secret")
            .arg(server_->imapPort()),
        credentials);
    ASSERT_EQ(stores.size(), 1u);
    auto inbox = stores[0]->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 2);
    const int afterLoad = yields;
    EXPECT_GE(afterLoad, 1);
    inbox->Item(1)->Delete();
    EXPECT_GT(yields, afterLoad);
}

TEST_F(ImapStoreTest, ReadingAMessagesTextLeavesItUnread) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 1, false);  // INBOX 1 is unread
    StorePtr store = open(plainAccount());
    outlook::ItemPtr item = store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Item(1);
    ASSERT_TRUE(item->UnRead());
    EXPECT_EQ(item->Body().trimmed(), QStringLiteral("Hello."));
    StorePtr again = open(plainAccount());
    EXPECT_TRUE(again->GetDefaultFolder(outlook::olFolderInbox)->Items()->Item(1)->UnRead());
}

// --- Folders ---------------------------------------------------------------------------------

TEST_F(ImapStoreTest, FoldersShowWithTheirOwnNamesNestedByTheDelimiter) {
    for (const char* separator : {"/", "."}) {
        SCOPED_TRACE(separator);
        testing::DovecotOptions options;
        options.separator = QString::fromLatin1(separator);
        ASSERT_TRUE(startServer(options));
        const QByteArray sep(separator);
        fill("Entw&APw-rfe", 1);  // "Entwürfe" in modified UTF-7
        fill("Projects", 1);
        fill("Projects" + sep + "2024", 2);
        fill("Projects" + sep + "2024" + sep + "Q1", 1);
        StorePtr store = open(plainAccount());
        FolderPtr top = store->TopFolder();
        EXPECT_EQ(top->Name(), QStringLiteral("ann@127.0.0.1"));
        EXPECT_EQ(childNames(top),
                  (QStringList{QStringLiteral("Deleted Items"), QStringLiteral("Entwürfe"),
                               QStringLiteral("Inbox"), QStringLiteral("Projects")}));
        FolderPtr y2024 =
            childNamed(childNamed(top, QStringLiteral("Projects")), QStringLiteral("2024"));
        ASSERT_TRUE(y2024);
        EXPECT_EQ(y2024->Items()->Count(), 2);
        EXPECT_EQ(childNames(y2024), QStringList{QStringLiteral("Q1")});
        EXPECT_EQ(subjectsOf(childNamed(top, QStringLiteral("Entwürfe"))).size(), 1);
        // A message moves out of a nested folder with a non-ASCII sibling and back for good.
        y2024->Items()->Item(1)->Delete();
        EXPECT_EQ(y2024->Items()->Count(), 1);
        EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 1);
        server_.reset();
        dir_.remove();
        ASSERT_TRUE(QDir().mkpath(dir_.path()));
    }
}

TEST_F(ImapStoreTest, FoldersComeInCaptionOrderWithTheInboxFirst) {
    testing::DovecotOptions options;
    options.separator = QStringLiteral("/");
    ASSERT_TRUE(startServer(options));
    for (const QByteArray& name :
         {QByteArray("Newsletters"), QByteArray("Projects"), QByteArray("zebra"),
          QByteArray("Archive"), QByteArray("Projects/2024"), QByteArray("Projects/alpha"),
          QByteArray("Projects/2023"), QByteArray("Projects/Beta")}) {
        fill(name, 0);
    }
    StorePtr store = open(plainAccount());
    QStringList top;
    auto folders = store->TopFolder()->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        top << folders->Item(i)->Name();
    }
    // Deleted Items sorts by the name it shows, not by the server's "Trash".
    EXPECT_EQ(top, (QStringList{QStringLiteral("Inbox"), QStringLiteral("Archive"),
                                QStringLiteral("Deleted Items"), QStringLiteral("Newsletters"),
                                QStringLiteral("Projects"), QStringLiteral("zebra")}));
    QStringList below;
    auto projects = childNamed(store->TopFolder(), QStringLiteral("Projects"))->Folders();
    for (long i = 1; i <= projects->Count(); ++i) {
        below << projects->Item(i)->Name();
    }
    EXPECT_EQ(below, (QStringList{QStringLiteral("2023"), QStringLiteral("2024"),
                                  QStringLiteral("alpha"), QStringLiteral("Beta")}));
}

TEST_F(ImapStoreTest, AGmailLikeLayoutUsesItsTrashAndMakesNoOther) {
    testing::DovecotOptions options;
    options.separator = QStringLiteral("/");
    options.standardSpecialUse = false;
    options.namespaceLines = {
        QStringLiteral("mailbox \"[Gmail]/Trash\" {\n    special_use = \\Trash\n  }"),
        QStringLiteral("mailbox \"[Gmail]/All Mail\" {\n    special_use = \\All\n  }"),
        QStringLiteral("mailbox \"[Gmail]/Sent Mail\" {\n    special_use = \\Sent\n  }"),
    };
    ASSERT_TRUE(startServer(options));
    fill("INBOX", 3, false);
    fill("[Gmail]/All Mail", 2);
    fill("[Gmail]/Trash", 0);
    fill("[Gmail]/Sent Mail", 1);
    StorePtr store = open(plainAccount());
    FolderPtr deleted = store->GetDefaultFolder(outlook::olFolderDeletedItems);
    EXPECT_EQ(deleted->Name(), QStringLiteral("Deleted Items"));
    EXPECT_EQ(deleted->Parent()->Name(), QStringLiteral("[Gmail]"));
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderSentMail)->Name(),
              QStringLiteral("Sent Mail"));
    // [Gmail] itself holds nothing.
    EXPECT_EQ(deleted->Parent()->Items()->Count(), 0);
    store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Item(1)->Delete();

    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("[Gmail]/Trash"),
              QStringList{QStringLiteral("<INBOX-1@example.org>")});
    EXPECT_FALSE(check.mailboxes().contains("Trash"));
}

TEST_F(ImapStoreTest, ATrashFolderIsMadeOnceWhenTheServerHasNone) {
    testing::DovecotOptions options;
    options.standardSpecialUse = false;
    ASSERT_TRUE(startServer(options));
    fill("INBOX", 1, false);
    open(plainAccount());
    StorePtr again = open(plainAccount());
    EXPECT_EQ(again->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 0);
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.mailboxes().count("Trash"), 1);
}

// --- Servers without MOVE or UIDPLUS -----------------------------------------------------------

TEST_F(ImapStoreTest, WithoutMoveMessagesAreCopiedAndOnlyTheirOwnUidsExpunged) {
    ASSERT_TRUE(startWithoutMove(4));
    StorePtr store = open(plainAccount());
    // Another program has marked INBOX 4 for deletion; our expunge must leave it.
    {
        testing::ImapTestClient other(server_->imapPort());
        other.expungeMessageIds("INBOX", {QStringLiteral("<INBOX-4@example.org>")}, false);
    }
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    store->beginChanges();
    inbox->Item(1)->Delete();
    inbox->Item(1)->Delete();
    store->endChanges();
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("INBOX"), (QStringList{QStringLiteral("<INBOX-3@example.org>"),
                                                      QStringLiteral("<INBOX-4@example.org>")}));
    EXPECT_EQ(check.messageIds("Trash"), (QStringList{QStringLiteral("<INBOX-1@example.org>"),
                                                      QStringLiteral("<INBOX-2@example.org>")}));
    // From Deleted Items, for good.
    store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Item(1)->Delete();
    EXPECT_EQ(check.messageIds("Trash"), QStringList{QStringLiteral("<INBOX-2@example.org>")});
}

TEST_F(ImapStoreTest, WithoutMoveACutAroundTheCopyNeverPutsAMessageInDeletedItemsTwice) {
    ASSERT_TRUE(startWithoutMove(40));
    struct Cut {
        const char* where;
        QByteArray text;
        testing::TcpProxy::Toward toward;
        bool delivered;
    };
    using Toward = testing::TcpProxy::Toward;
    // Right after the server's OK to the copy; instead of that OK, so the client cannot know
    // that the copy was made; and as the copy reaches the server, which may or may not make it.
    const Cut cuts[] = {{"after the OK", "[COPYUID", Toward::Client, true},
                        {"instead of the OK", "[COPYUID", Toward::Client, false},
                        {"with the command", "UID COPY", Toward::Server, true}};
    int round = 0;
    for (const Cut& cut : cuts) {
        SCOPED_TRACE(cut.where);
        ++round;
        testing::TcpProxy proxy(server_->imapPort());
        ImapAccount account = plainAccount();
        account.port = proxy.port();
        Batching batching;
        batching.uidsPerCommand = 10;
        StorePtr store = open(account, batching, "secret", 5);
        auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
        FolderPtr deleted = store->GetDefaultFolder(outlook::olFolderDeletedItems);
        ASSERT_EQ(deleted->Items()->Count(), (round - 1) * 10);
        if (cut.delivered) {
            proxy.cutAfterText(cut.text, cut.toward);
        } else {
            proxy.cutInsteadOfText(cut.text, cut.toward);
        }
        EXPECT_EQ(moveFirstInGroup(store, 10), QString());
        EXPECT_EQ(proxy.cuts(), 1);

        testing::ImapTestClient check(server_->imapPort());
        const QStringList trash = check.messageIds("Trash");
        EXPECT_EQ(trash.size(), round * 10);
        EXPECT_EQ(QSet<QString>(trash.begin(), trash.end()).size(), round * 10);
        EXPECT_EQ(check.messageIds("INBOX").size(), 40 - round * 10);
        const std::multiset<QString> all = everyMessageId(server_->imapPort());
        EXPECT_EQ(std::set<QString>(all.begin(), all.end()).size(), 40u);
        EXPECT_EQ(all.size(), 40u);
        // The store agrees with the server.
        EXPECT_EQ(inbox->Count(), 40 - round * 10);
        EXPECT_EQ(deleted->Items()->Count(), round * 10);
    }
}

TEST_F(ImapStoreTest, WithoutMoveACopyMadeBeforeTheProgramEndedIsNotCopiedAgainAfterARestart) {
    ASSERT_TRUE(startWithoutMove(20));
    testing::TcpProxy proxy(server_->imapPort());
    ImapAccount account = plainAccount();
    account.port = proxy.port();
    {
        // The copy is made, then the connection drops for good and the program ends, as one
        // killed between the copy and the expunge would: nothing of it is left in memory.
        StorePtr store = open(account, {}, "secret", 5);
        proxy.cutAfterText("[COPYUID", testing::TcpProxy::Toward::Client);
        proxy.refuseNewConnections(true);
        EXPECT_FALSE(moveFirstInGroup(store, 10).isEmpty());
        testing::ImapTestClient check(server_->imapPort());
        ASSERT_EQ(check.messageIds("Trash").size(), 10);
    }
    proxy.refuseNewConnections(false);
    StorePtr store = open(account, {}, "secret", 5);
    ASSERT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), 20);
    EXPECT_EQ(moveFirstInGroup(store, 10), QString());
    const std::multiset<QString> all = everyMessageId(server_->imapPort());
    EXPECT_EQ(all.size(), 20u);
    EXPECT_EQ(std::set<QString>(all.begin(), all.end()).size(), 20u);
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("Trash").size(), 10);
    EXPECT_EQ(check.messageIds("INBOX").size(), 10);
    // Confirmed copies are forgotten: the next run has nothing to look for.
    EXPECT_FALSE(QFile::exists(movedIdsFile(account) + QStringLiteral(".copies")));
}

TEST_F(ImapStoreTest, WithoutMoveARunThatFailedAfterTheCopyIsNotCopiedAgainByTheNext) {
    ASSERT_TRUE(startWithoutMove(20));
    testing::TcpProxy proxy(server_->imapPort());
    ImapAccount account = plainAccount();
    account.port = proxy.port();
    StorePtr store = open(account, {}, "secret", 5);
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    FolderPtr deleted = store->GetDefaultFolder(outlook::olFolderDeletedItems);
    ASSERT_EQ(deleted->Items()->Count(), 0);
    // The copy is made, then the connection drops and the server cannot be reached again:
    // the run fails with the messages copied but not yet expunged.
    proxy.cutAfterText("[COPYUID", testing::TcpProxy::Toward::Client);
    proxy.refuseNewConnections(true);
    EXPECT_FALSE(moveFirstInGroup(store, 10).isEmpty());
    EXPECT_EQ(proxy.cuts(), 1);
    {
        testing::ImapTestClient check(server_->imapPort());
        ASSERT_EQ(check.messageIds("Trash").size(), 10);
        ASSERT_EQ(check.messageIds("INBOX").size(), 20);
    }

    // The server is back; the same messages are cleaned again.
    proxy.refuseNewConnections(false);
    ASSERT_EQ(inbox->Count(), 20);
    EXPECT_EQ(moveFirstInGroup(store, 10), QString());
    testing::ImapTestClient check(server_->imapPort());
    const QStringList trash = check.messageIds("Trash");
    EXPECT_EQ(trash.size(), 10);
    EXPECT_EQ(QSet<QString>(trash.begin(), trash.end()).size(), 10);
    EXPECT_EQ(check.messageIds("INBOX").size(), 10);
    const std::multiset<QString> all = everyMessageId(server_->imapPort());
    EXPECT_EQ(all.size(), 20u);
    EXPECT_EQ(std::set<QString>(all.begin(), all.end()).size(), 20u);
    EXPECT_EQ(inbox->Count(), 10);
    EXPECT_EQ(deleted->Items()->Count(), 10);
}

TEST_F(ImapStoreTest, WithoutMoveAndUidplusTheStoreIsReadOnlyAndSaysWhyOnce) {
    testing::DovecotOptions options;
    options.capability = QStringLiteral("IMAP4rev1 LITERAL+");
    ASSERT_TRUE(startServer(options));
    fill("INBOX", 2, false);
    StorePtr store = open(plainAccount());
    const QString note = store->takeReadNotes();
    EXPECT_TRUE(note.contains(QStringLiteral("neither MOVE nor UIDPLUS"))) << note.toStdString();
    EXPECT_TRUE(note.contains(QStringLiteral("read-only")));
    EXPECT_TRUE(store->takeReadNotes().isEmpty());
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    EXPECT_THROW(inbox->Item(1)->Delete(), Failure);
    EXPECT_THROW(inbox->Remove(1), Failure);
    EXPECT_EQ(inbox->Count(), 2);
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("INBOX").size(), 2);
    // Not even a Trash folder was made.
    EXPECT_FALSE(check.mailboxes().contains("Trash"));
}

// --- Changes in groups -----------------------------------------------------------------------

TEST_F(ImapStoreTest, AGroupSendsOneCommandPerFewHundredMessages) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 250, false);
    Batching batching;
    batching.uidsPerCommand = 100;
    StorePtr store = open(plainAccount(), batching);
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    FolderPtr deleted = store->GetDefaultFolder(outlook::olFolderDeletedItems);
    deleted->Items();
    const long before = imapCommandsSent(store);
    store->beginChanges();
    for (int i = 0; i < 250; ++i) {
        inbox->Item(1)->Delete();
        // Positions and counts change at once.
        ASSERT_EQ(inbox->Count(), 249 - i);
    }
    EXPECT_EQ(deleted->Items()->Count(), 250);
    store->endChanges();
    // Three moves of at most 100 UIDs each, and the SELECT before them.
    EXPECT_LE(imapCommandsSent(store) - before, 4);
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("Trash").size(), 250);
    EXPECT_TRUE(check.messageIds("INBOX").isEmpty());
}

TEST_F(ImapStoreTest, LongFetchesAndQueuedCommandsLetTheWindowRunBetweenChunks) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 35, false);
    Batching batching;
    batching.messagesPerFetch = 5;  // seven fetches, asked for four at a time
    batching.uidsPerCommand = 6;
    int yields = 0;
    long inboxRowsAtYield = -1;
    std::shared_ptr<outlook::Items> inbox;
    auto connection = std::make_unique<ImapConnection>(plainAccount(), [] { return "secret"; });
    StorePtr store = openImapStore(std::move(connection), batching, [&] { ++yields; });
    EXPECT_EQ(yields, 0);  // the folder list is one short command
    inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 35);
    EXPECT_EQ(yields, 2);

    // Between the queued moves too: 20 messages, six to a command.
    yields = 0;
    store->beginChanges();
    for (int i = 0; i < 20; ++i) {
        inbox->Item(1)->Delete();
        inboxRowsAtYield = yields > 0 && inboxRowsAtYield < 0 ? inbox->Count() : inboxRowsAtYield;
    }
    store->endChanges();
    EXPECT_GE(yields, 4);
    // The first yield came while the group was still being queued, not only at its end.
    EXPECT_GT(inboxRowsAtYield, 15);
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("Trash").size(), 20);
}

TEST_F(ImapStoreTest, WhatTheWindowAsksOfAFolderWhileItIsReadIsAnsweredFromWhatHasArrived) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 35, false);
    Batching batching;
    batching.messagesPerFetch = 5;
    StorePtr store;
    std::vector<long> countsSeen;
    auto connection = std::make_unique<ImapConnection>(plainAccount(), [] { return "secret"; });
    // The window's events, run between chunks, look at the very folder being read.
    store = openImapStore(std::move(connection), batching, [&] {
        if (store) {
            countsSeen.push_back(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count());
        }
    });
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 35);
    ASSERT_FALSE(countsSeen.empty());
    EXPECT_EQ(countsSeen.front(), 20);  // the first four chunks
    QSet<QString> subjects;
    for (long i = 1; i <= inbox->Count(); ++i) {
        subjects.insert(inbox->Item(i)->Subject());
    }
    EXPECT_EQ(subjects.size(), 35);
}

TEST_F(ImapStoreTest, MessagesAnotherClientExpungedFailOneByOneAndTheRunGoesOn) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 5, false);
    StorePtr store = open(plainAccount());
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 5);
    {
        testing::ImapTestClient other(server_->imapPort());
        other.expungeMessageIds("INBOX", {QStringLiteral("<INBOX-2@example.org>"),
                                          QStringLiteral("<INBOX-4@example.org>")});
    }
    store->beginChanges();
    while (inbox->Count() > 0) {
        inbox->Item(1)->Delete();
    }
    const QString message = failureOf([&] { store->endChanges(); });
    EXPECT_TRUE(message.contains(QStringLiteral("\"INBOX 2\""))) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("\"INBOX 4\"")));
    EXPECT_FALSE(message.contains(QStringLiteral("\"INBOX 1\"")));
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("Trash"), (QStringList{QStringLiteral("<INBOX-1@example.org>"),
                                                      QStringLiteral("<INBOX-3@example.org>"),
                                                      QStringLiteral("<INBOX-5@example.org>")}));
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 3);
}

TEST_F(ImapStoreTest, AFolderRenumberedSinceItWasReadIsReadAfreshAndNothingInItChanges) {
    ASSERT_TRUE(startServer());
    fill("Work", 3);
    StorePtr store = open(plainAccount());
    FolderPtr work = childNamed(store->TopFolder(), QStringLiteral("Work"));
    auto items = work->Items();
    ASSERT_EQ(items->Count(), 3);
    const outlook::ItemPtr first = items->Item(1);
    {
        // The same name with new messages and a new UIDVALIDITY, as after DELETE and CREATE
        // by another program while the server was restarted.
        testing::ImapTestClient other(server_->imapPort());
        const std::uint32_t before = other.uidValidity("Work");
        server_->stop();
        ASSERT_TRUE(QDir(server_->mailDir() + QStringLiteral("/.Work")).removeRecursively());
        QString why;
        ASSERT_TRUE(server_->start(why)) << why.toStdString();
        fill("Work", 2);
        testing::ImapTestClient after(server_->imapPort());
        ASSERT_NE(after.uidValidity("Work"), before);
    }
    const QString message = failureOf([&] { first->Delete(); });
    EXPECT_TRUE(message.contains(QStringLiteral("renumbered"))) << message.toStdString();
    testing::ImapTestClient check(server_->imapPort());
    EXPECT_EQ(check.messageIds("Work").size(), 2);
    EXPECT_TRUE(check.messageIds("Trash").isEmpty());
    // Read afresh: the folder shows what the server holds now.
    EXPECT_EQ(work->Items()->Count(), 2);
}

TEST_F(ImapStoreTest, AServerKilledInTheMiddleOfARunLosesAndDuplicatesNothing) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 300, false);
    Batching batching;
    batching.uidsPerCommand = 50;
    StorePtr store = open(plainAccount(), batching);
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    store->beginChanges();
    int failed = 0;
    for (int i = 0; i < 300; ++i) {
        if (i == 120) {
            server_->kill();
        }
        try {
            if (inbox->Count() > 0) {
                inbox->Item(1)->Delete();
            }
        } catch (const Failure& failure) {
            ++failed;
            EXPECT_FALSE(failure.description().isEmpty());
        }
    }
    try {
        store->endChanges();
    } catch (const Failure&) {
        ++failed;
    }
    EXPECT_GT(failed, 0);

    QString why;
    ASSERT_TRUE(server_->start(why)) << why.toStdString();
    const std::multiset<QString> all = everyMessageId(server_->imapPort());
    EXPECT_EQ(all.size(), 300u);
    EXPECT_EQ(std::set<QString>(all.begin(), all.end()).size(), 300u);
    testing::ImapTestClient check(server_->imapPort());
    // The batches sent before the server died are in Deleted Items.
    EXPECT_GE(check.messageIds("Trash").size(), 100);
}

TEST_F(ImapStoreTest, AConnectionCutInTheMiddleOfARunIsMadeAgainAndNothingIsLostOrDoubled) {
    ASSERT_TRUE(startServer());
    fill("INBOX", 300, false);
    testing::TcpProxy proxy(server_->imapPort());
    ASSERT_NE(proxy.port(), 0);
    ImapAccount account = plainAccount();
    account.port = proxy.port();
    Batching batching;
    batching.uidsPerCommand = 40;
    StorePtr store = open(account, batching, "secret", 3);
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    store->beginChanges();
    for (long i = 0; i < 100; ++i) {
        if (i == 50) {
            proxy.cutNow();  // with 40 moves sent and 10 waiting
        }
        inbox->Item(1)->Delete();
    }
    store->endChanges();
    EXPECT_EQ(proxy.cuts(), 1);
    EXPECT_EQ(proxy.connectionsAccepted(), 2);
    const std::multiset<QString> all = everyMessageId(server_->imapPort());
    EXPECT_EQ(all.size(), 300u);
    EXPECT_EQ(std::set<QString>(all.begin(), all.end()).size(), 300u);
    testing::ImapTestClient check(server_->imapPort());
    // One reconnect is enough for the run to finish its work, and the store agrees.
    EXPECT_EQ(check.messageIds("INBOX").size(), 200);
    EXPECT_EQ(check.messageIds("Trash").size(), 100);
    EXPECT_EQ(inbox->Count(), 200);
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 100);

    // Now inside a command: every other message, so that the UID MOVE line is long, cut when
    // the client has sent 100 bytes of the SELECT and the move.
    proxy.cutAfter(100, testing::TcpProxy::Counting::ToServerOnly);
    store->beginChanges();
    for (long position = 1; position <= 40; ++position) {
        inbox->Item(position)->Delete();  // the next one moves up to `position`, and stays
    }
    store->endChanges();
    EXPECT_EQ(proxy.cuts(), 2);
    EXPECT_EQ(proxy.connectionsAccepted(), 3);
    const std::multiset<QString> after = everyMessageId(server_->imapPort());
    EXPECT_EQ(after.size(), 300u);
    EXPECT_EQ(std::set<QString>(after.begin(), after.end()).size(), 300u);
    EXPECT_EQ(check.messageIds("INBOX").size(), 160);
    EXPECT_EQ(check.messageIds("Trash").size(), 140);
    // The ones left are the even ones of those the first part left.
    EXPECT_EQ(check.messageIds("INBOX").first(), QStringLiteral("<INBOX-102@example.org>"));
    EXPECT_EQ(inbox->Count(), 160);
}

// --- The Open Store dialog's server kind ----------------------------------------------------

namespace imap_dialog {

outlook::ServerAccount dialogAccount(outlook::ServerAccount::Tls tls, int port) {
    outlook::ServerAccount account;
    account.host = QStringLiteral("127.0.0.1");
    account.user = QStringLiteral("ann");
    account.tls = tls;
    account.port = port;
    return account;
}

}  // namespace imap_dialog

TEST(ImapServerBackend, TheDialogsAccountBecomesALocationThatReadsBackTheSame) {
    ImapServerBackend backend;
    outlook::ServerAccount account;
    account.host = QStringLiteral("mail.example.org");
    account.user = QStringLiteral("ann@example.com");
    account.signIn = outlook::ServerAccount::SignIn::PasswordCommand;
    account.command = QStringLiteral("pass show 'mail/a&b' #1 ?x=y");
    ImapAccount read = parseImapLocation(backend.location(account));
    EXPECT_EQ(read.user, account.user);
    EXPECT_EQ(read.host, account.host);
    EXPECT_EQ(read.port, 993);
    EXPECT_EQ(read.tls, TlsMode::Implicit);
    EXPECT_EQ(read.passwordCommand, account.command);
    EXPECT_TRUE(read.tokenCommand.isEmpty());

    account.tls = outlook::ServerAccount::Tls::StartTls;
    account.port = 1143;
    account.host = QStringLiteral("::1");
    account.signIn = outlook::ServerAccount::SignIn::OAuth2TokenCommand;
    account.command = QStringLiteral("oama access ann@example.com");
    read = parseImapLocation(backend.location(account));
    EXPECT_EQ(read.tls, TlsMode::StartTls);
    EXPECT_EQ(read.port, 1143);
    EXPECT_EQ(read.host, QStringLiteral("::1"));
    EXPECT_EQ(read.tokenCommand, account.command);
    EXPECT_TRUE(read.passwordCommand.isEmpty());

    account.signIn = outlook::ServerAccount::SignIn::Password;
    account.port = 143;
    EXPECT_EQ(backend.location(account), QStringLiteral("imap://ann%40example.com@[::1]"));
}

TEST_F(ImapTlsTest, TestConnectionSignsInWithTheTypedPasswordAndGivesTheServersReasons) {
    ASSERT_TRUE(startTlsServer(QStringLiteral("127.0.0.1")));
    ImapServerBackend backend;
    const outlook::ServerAccount account =
        imap_dialog::dialogAccount(outlook::ServerAccount::Tls::Implicit, server_->imapsPort());
    // Not trusted yet: the certificate check's own words, and no password sent.
    outlook::ConnectionTest test = backend.testConnection(account, QStringLiteral("secret"));
    EXPECT_FALSE(test.ok);
    EXPECT_TRUE(test.reason.contains(QStringLiteral("not trusted"))) << test.reason.toStdString();
    // The test's CA, as a person's company CA, kept in the accounts file.
    {
        QSettings settings(accountSettingsFile(), QSettings::IniFormat);
        settings.setValue(QStringLiteral("ann@127.0.0.1/cafile"), ca_->caFile());
    }
    test = backend.testConnection(account, QStringLiteral("Hunter2-typed"));
    EXPECT_FALSE(test.ok);
    EXPECT_FALSE(test.reason.isEmpty());
    EXPECT_FALSE(test.reason.contains(QStringLiteral("Hunter2"))) << test.reason.toStdString();
    test = backend.testConnection(account, QStringLiteral("secret"));
    EXPECT_TRUE(test.ok) << test.reason.toStdString();
    test = backend.testConnection(
        imap_dialog::dialogAccount(outlook::ServerAccount::Tls::StartTls, server_->imapPort()),
        QStringLiteral("secret"));
    EXPECT_TRUE(test.ok) << test.reason.toStdString();
}

}  // namespace
}  // namespace tf::store::imap
