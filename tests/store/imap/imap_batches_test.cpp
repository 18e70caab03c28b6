// Reads and changes that travel in few round trips, against a real Dovecot behind a counting
// proxy: every chunk of a folder asked for in one write, deletions written a few sets at a time,
// and exactly the chosen messages gone also when the connection breaks inside such a write.
#include <gtest/gtest.h>

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <vector>

#include "outlook/constants.h"
#include "store/imap/imap_store.h"
#include "store/maildir/maildir_writer.h"
#include "tests/support/dovecot_server.h"
#include "tests/support/imap_test_client.h"
#include "tests/support/loopback_account.h"
#include "tests/support/proxied_dovecot.h"
#include "tests/support/tcp_proxy.h"
#include "tests/support/temp_home.h"

namespace tf::store::imap {
namespace {

using outlook::StorePtr;

constexpr int kMessages = 2400;

// The n of each "report-n@example.org" among the Message-IDs.
std::multiset<int> reportNumbers(const QStringList& messageIds) {
    static const QRegularExpression number(QStringLiteral("report-(\\d+)@"));
    std::multiset<int> out;
    for (const QString& id : messageIds) {
        const QRegularExpressionMatch match = number.match(id);
        EXPECT_TRUE(match.hasMatch()) << id.toStdString();
        out.insert(match.captured(1).toInt());
    }
    return out;
}

// The n of a "Report n" subject.
int reportNumber(const QString& subject) {
    return subject.section(QLatin1Char(' '), 1).toInt();
}

class ImapBatchesTest : public testing::ProxiedDovecotTest {
  protected:
    // An Inbox of kMessages messages "Report 1".. written before the server starts, and a
    // proxy in front of the server that counts round trips.
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(startWith([](maildir::MaildirWriter& writer) {
            const QDateTime start(QDate(2020, 1, 1), QTime(10, 0));
            for (int i = 1; i <= kMessages; ++i) {
                writer.deliver(
                    QString(),
                    testing::testMail(QStringLiteral("Report %1").arg(i),
                                      QStringLiteral("Ann Jensen"), start.addSecs(i * 60),
                                      QStringLiteral("report-%1@example.org").arg(i)),
                    1600000000 + i, std::nullopt);
            }
        }));
    }

    StorePtr openThroughProxy(Batching batching, int timeoutSeconds = 30) {
        auto connection = std::make_unique<ImapConnection>(
            testing::loopbackAccount(proxy_->port()), [] { return QByteArray("secret"); },
            timeoutSeconds);
        return openImapStore(std::move(connection), batching);
    }

    // Removes for good, in one change group, every message whose number is not a multiple of
    // six: 2,000 UIDs with a gap after every five.
    static void removeAllButEverySixth(const StorePtr& store) {
        auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
        store->beginChanges();
        for (long i = inbox->Count(); i >= 1; --i) {
            if (reportNumber(inbox->Item(i)->Subject()) % 6 != 0) {
                inbox->Remove(i);
            }
        }
        store->endChanges();
    }

    // What the server holds afterwards: the multiples of six in the Inbox, once each, and
    // nothing in Trash.
    void expectOnlyEverySixthLeft() {
        testing::ImapTestClient check(server_->imapPort());
        std::multiset<int> expected;
        for (int n = 6; n <= kMessages; n += 6) {
            expected.insert(n);
        }
        const std::multiset<int> left = reportNumbers(check.messageIds("INBOX"));
        std::vector<int> missing, extra;
        std::set_difference(expected.begin(), expected.end(), left.begin(), left.end(),
                            std::back_inserter(missing));
        std::set_difference(left.begin(), left.end(), expected.begin(), expected.end(),
                            std::back_inserter(extra));
        EXPECT_TRUE(missing.empty()) << missing.size() << " deleted that were not chosen, from "
                                     << (missing.empty() ? 0 : missing.front());
        EXPECT_TRUE(extra.empty()) << extra.size() << " chosen but still there, from "
                                   << (extra.empty() ? 0 : extra.front());
        EXPECT_TRUE(check.messageIds("Trash").isEmpty());
    }
};

TEST_F(ImapBatchesTest, AFolderIsReadFourChunksToARoundTripInTheServersOrder) {
    Batching batching;
    batching.messagesPerFetch = 300;  // eight chunks
    batching.fetchesPerWrite = 4;
    StorePtr store = openThroughProxy(batching);
    proxy_->resetCounters();
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), kMessages);
    // SELECT, then the FETCH commands written four at a time.
    EXPECT_LE(proxy_->roundTrips(), 3);
    // Every message once, in the server's order: no chunk's answer taken for another's.
    long outOfPlace = 0;
    for (long i = 1; i <= inbox->Count(); ++i) {
        outOfPlace += reportNumber(inbox->Item(i)->Subject()) != i ? 1 : 0;
    }
    EXPECT_EQ(outOfPlace, 0);
}

TEST_F(ImapBatchesTest, DeletionsGoOutAFewSetsPerWriteAndTakeExactlyTheChosenMessages) {
    Batching batching;
    batching.uidsPerCommand = 100;
    batching.setsPerWrite = 4;
    StorePtr store = openThroughProxy(batching);
    ASSERT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kMessages);
    proxy_->resetCounters();
    const long before = imapCommandsSent(store);
    removeAllButEverySixth(store);
    // Twenty sets of at most 100 UIDs, each one STORE and one UID EXPUNGE; four sets at a time,
    // their STOREs written together, then their EXPUNGEs: ten round trips where one per
    // command would take forty.
    EXPECT_EQ(imapCommandsSent(store) - before, 40);
    EXPECT_LE(proxy_->roundTrips(), 10);
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kMessages / 6);
    expectOnlyEverySixthLeft();
}

TEST_F(ImapBatchesTest, ACutInsideAWrittenBatchIsSentAgainAndStillTakesExactlyTheChosen) {
    Batching batching;
    batching.uidsPerCommand = 100;
    batching.setsPerWrite = 4;
    StorePtr store = openThroughProxy(batching, 3);
    ASSERT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kMessages);
    // The first write's answers alone are some 6,000 bytes of EXPUNGE lines.
    proxy_->cutAfter(3000);
    removeAllButEverySixth(store);
    EXPECT_EQ(proxy_->cuts(), 1);
    EXPECT_EQ(proxy_->connectionsAccepted(), 2);
    expectOnlyEverySixthLeft();
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), kMessages / 6);
}

}  // namespace
}  // namespace tf::store::imap
