// Deleting for good on several connections at once, each taking whole folders, against a real
// Dovecot behind a proxy: exactly the chosen messages go, whatever happens to the extra
// connections, and a folder renumbered meanwhile is touched by none of them.
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <numeric>

#include "outlook/constants.h"
#include "store/imap/imap_store.h"
#include "store/imap/side_by_side.h"
#include "store/maildir/maildir_writer.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/failure_text.h"
#include "tests/support/folder_lookup.h"
#include "tests/support/imap_test_client.h"
#include "tests/support/loopback_account.h"
#include "tests/support/proxied_dovecot.h"
#include "tests/support/qt_printers.h"
#include "tests/support/tcp_proxy.h"
#include "tests/support/temp_home.h"

namespace tf::store::imap {
namespace {

using outlook::StorePtr;
using testing::failureOf;

TEST(ShareOut, LargestFoldersFirstEachToTheLeastBusyConnection) {
    EXPECT_EQ(shareOut({10, 9, 2, 1}, 2), (std::vector<std::size_t>{0, 1, 1, 0}));
    // More connections than folders: one folder each, the largest on the own connection.
    EXPECT_EQ(shareOut({3, 7}, 4), (std::vector<std::size_t>{1, 0}));
    EXPECT_EQ(shareOut({5, 5, 5}, 1), (std::vector<std::size_t>{0, 0, 0}));
    EXPECT_TRUE(shareOut({}, 3).empty());
    // Twenty folders of uneven size over three connections: no connection carries more than
    // the others by more than the largest folder.
    std::vector<std::size_t> sizes;
    for (std::size_t i = 0; i < 20; ++i) {
        sizes.push_back(100 + (i * 37) % 900);
    }
    const std::vector<std::size_t> taker = shareOut(sizes, 3);
    std::vector<std::size_t> load(3, 0);
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        ASSERT_LT(taker[i], 3u);
        load[taker[i]] += sizes[i];
    }
    EXPECT_LE(
        *std::max_element(load.begin(), load.end()) - *std::min_element(load.begin(), load.end()),
        *std::max_element(sizes.begin(), sizes.end()));
    EXPECT_EQ(std::accumulate(load.begin(), load.end(), std::size_t{0}),
              std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}));
}

constexpr int kPerFolder = 150;
const QStringList kFolders = {QString(), QStringLiteral(".Archive"), QStringLiteral(".Lists"),
                              QStringLiteral(".Projects")};
const QList<QByteArray> kMailboxes = {"INBOX", "Archive", "Lists", "Projects"};

class ImapSideBySideTest : public testing::ProxiedDovecotTest {
  protected:
    // Four folders of kPerFolder messages, "f-n@example.org" the Message-ID of folder f's n-th.
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(startWith([](maildir::MaildirWriter& writer) {
            for (int f = 0; f < kFolders.size(); ++f) {
                if (!kFolders[f].isEmpty()) {
                    writer.addFolder(kFolders[f]);
                }
                fillFolder(writer, f);
            }
        }));
    }

    static void fillFolder(maildir::MaildirWriter& writer, int f) {
        const QDateTime start(QDate(2021, 3, 1), QTime(9, 0));
        for (int n = 1; n <= kPerFolder; ++n) {
            writer.deliver(kFolders[f],
                           testing::testMail(QStringLiteral("Note %1").arg(n),
                                             QStringLiteral("Bo Lund"), start.addSecs(n * 60),
                                             QStringLiteral("<%1-%2@example.org>").arg(f).arg(n)),
                           1600000000 + n, std::nullopt);
        }
    }

    StorePtr open(Batching batching) {
        auto connection = std::make_unique<ImapConnection>(
            testing::loopbackAccount(proxy_->port()), [] { return QByteArray("secret"); }, 5);
        return openImapStore(std::move(connection), batching);
    }

    // Extra connections for any run of 100 or more, sets of 20 UIDs, two sets to a write.
    static Batching sideBySide(std::size_t connections) {
        Batching batching;
        batching.deleteConnections = connections;
        batching.sideBySideFrom = 100;
        batching.uidsPerCommand = 20;
        batching.setsPerWrite = 2;
        return batching;
    }

    // Removes for good, in one change group, every message of every folder whose number is not
    // a multiple of four. Returns what endChanges said.
    static QString removeAllButEveryFourth(const StorePtr& store) {
        std::vector<outlook::ItemsPtr> folders;
        folders.push_back(store->GetDefaultFolder(outlook::olFolderInbox)->Items());
        for (const char* name : {"Archive", "Lists", "Projects"}) {
            folders.push_back(
                testing::childNamed(store->TopFolder(), QString::fromLatin1(name))->Items());
        }
        for (const outlook::ItemsPtr& items : folders) {
            EXPECT_EQ(items->Count(), kPerFolder);
        }
        store->beginChanges();
        for (const outlook::ItemsPtr& items : folders) {
            for (long i = items->Count(); i >= 1; --i) {
                if (items->Item(i)->Subject().section(QLatin1Char(' '), 1).toInt() % 4 != 0) {
                    items->Remove(i);
                }
            }
        }
        return failureOf([&] { store->endChanges(); });
    }

    // The Message-IDs a folder should hold after removeAllButEveryFourth, plus any extra.
    static QStringList everyFourth(int f, const QStringList& extra = {}) {
        QStringList ids;
        for (int n = 4; n <= kPerFolder; n += 4) {
            ids << QStringLiteral("<%1-%2@example.org>").arg(f).arg(n);
        }
        ids << extra;
        ids.sort();
        return ids;
    }
    QStringList held(const QByteArray& mailbox) const {
        testing::ImapTestClient check(server_->imapPort());
        QStringList ids = check.messageIds(mailbox);
        ids.sort();
        return ids;
    }
};

TEST_F(ImapSideBySideTest,
       ThreeConnectionsTakeExactlyTheChosenMessagesAndNothingAnotherClientFlagged) {
    // Another program has marked a message it will expunge itself later; no connection of ours
    // may expunge it with ours.
    {
        testing::ImapTestClient other(server_->imapPort());
        other.expungeMessageIds("Lists", {QStringLiteral("<2-4@example.org>")}, false);
    }
    StorePtr store = open(sideBySide(3));
    proxy_->resetCounters();
    EXPECT_EQ(removeAllButEveryFourth(store), QString());
    EXPECT_EQ(proxy_->connectionsAccepted(), 3) << "the deletions did not go side by side";
    for (int f = 0; f < kMailboxes.size(); ++f) {
        EXPECT_EQ(held(kMailboxes[f]), everyFourth(f)) << kMailboxes[f].toStdString();
    }
    EXPECT_TRUE(held("Trash").isEmpty());
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kPerFolder / 4);
}

TEST_F(ImapSideBySideTest, WhenNoOtherConnectionIsLetInTheOwnOneDoesItAll) {
    StorePtr store = open(sideBySide(3));
    // Signed in already; every later connection is closed at once, as by a server at its limit.
    ASSERT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kPerFolder);
    proxy_->refuseNewConnections(true);
    EXPECT_EQ(removeAllButEveryFourth(store), QString());
    for (int f = 0; f < kMailboxes.size(); ++f) {
        EXPECT_EQ(held(kMailboxes[f]), everyFourth(f)) << kMailboxes[f].toStdString();
    }
}

TEST_F(ImapSideBySideTest, ACutOfEveryConnectionInTheMiddleStillTakesExactlyTheChosen) {
    StorePtr store = open(sideBySide(3));
    ASSERT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kPerFolder);
    // Some 3,500 bytes of commands go out in all, the extra connections' last; at 3,000 they
    // are at work in their folders, and every open connection goes down.
    proxy_->resetCounters();
    proxy_->cutAfter(3000, testing::TcpProxy::Counting::ToServerOnly);
    EXPECT_EQ(removeAllButEveryFourth(store), QString());
    EXPECT_EQ(proxy_->cuts(), 1);
    EXPECT_GT(proxy_->bytesToServer(), 3000);
    EXPECT_EQ(proxy_->connectionsAccepted(), 4) << "a connection cut was not made again";
    for (int f = 0; f < kMailboxes.size(); ++f) {
        EXPECT_EQ(held(kMailboxes[f]), everyFourth(f)) << kMailboxes[f].toStdString();
    }
}

TEST_F(ImapSideBySideTest, AFolderRenumberedMeanwhileIsLeftAsItIsAndSaysSo) {
    // One connection per folder; Projects, last in name order, is an extra connection's.
    StorePtr store = open(sideBySide(4));
    std::vector<outlook::ItemsPtr> folders;
    folders.push_back(store->GetDefaultFolder(outlook::olFolderInbox)->Items());
    for (const char* name : {"Archive", "Lists", "Projects"}) {
        folders.push_back(
            testing::childNamed(store->TopFolder(), QString::fromLatin1(name))->Items());
    }
    store->beginChanges();
    for (const outlook::ItemsPtr& items : folders) {
        for (long i = items->Count(); i >= 1; --i) {
            items->Remove(i);
        }
    }
    // Before the deletions go, another program replaces Projects by a new folder of that name.
    server_->stop();
    ASSERT_TRUE(QDir(server_->mailDir() + QStringLiteral("/.Projects")).removeRecursively());
    {
        maildir::MaildirWriter writer(server_->mailDir());
        writer.addFolder(kFolders[3]);
        fillFolder(writer, 3);
    }
    testing::DovecotServer::giveToMailUser(server_->mailDir());
    QString why;
    ASSERT_TRUE(server_->start(why)) << why.toStdString();
    const QString said = failureOf([&] { store->endChanges(); });
    EXPECT_TRUE(said.contains(QStringLiteral("renumbered"))) << said.toStdString();
    EXPECT_EQ(held("Projects").size(), kPerFolder);
    for (const int f : {0, 1, 2}) {
        EXPECT_TRUE(held(kMailboxes[f]).isEmpty()) << kMailboxes[f].toStdString();
    }
}

}  // namespace
}  // namespace tf::store::imap
