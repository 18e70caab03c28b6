// A process killed with SIGKILL while it moves thousands of messages to Deleted Items leaves
// every message exactly once in the tree, and nothing half-written in tmp/.
#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <random>

#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

// Message-ID -> how many files carry it, read from the files themselves, not through the store.
QHash<QByteArray, int> messageIdsOnDisk(const QString& root, QStringList& inTmp) {
    QHash<QByteArray, int> ids;
    QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.mid(root.size()).contains(QStringLiteral("/tmp/"))) {
            inTmp << path;
            continue;
        }
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            ADD_FAILURE() << "cannot read " << path.toStdString();
            continue;
        }
        for (const QByteArray& line : file.read(4096).split('\n')) {
            if (line.startsWith("Message-ID: ")) {
                ids[line.mid(12).trimmed()] += 1;
            }
        }
    }
    return ids;
}

long itemsIn(const outlook::FolderPtr& folder) {
    long total = folder->Items()->Count();
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        total += itemsIn(folders->Item(i));
    }
    return total;
}

TEST(MaildirKillTest, KilledMovesLeaveEveryMessageExactlyOnce) {
    QTemporaryDir dir;
    const testing::TempHome home;  // the header cache goes there
    const QString root = dir.filePath(QStringLiteral("Mail"));
    constexpr int kMessages = 4000;
    {
        MaildirWriter writer(root);
        writer.addFolder(QStringLiteral(".Work"));
        for (int i = 0; i < kMessages; ++i) {
            MailToWrite mail;
            mail.subject = QStringLiteral("Message %1").arg(i);
            mail.messageId = QStringLiteral("m%1@example.org").arg(i);
            const QString folder = i % 3 == 0 ? QStringLiteral(".Work") : QString();
            writer.deliver(folder, composeMail(mail), 1600000000 + i,
                           i % 2 == 0 ? std::optional<QString>(QStringLiteral("S")) : std::nullopt);
        }
    }

    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    int killedMidRun = 0;
    for (int round = 0; round < 10; ++round) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QStringLiteral(TF_MAILDIR_KILL_HELPER),
                    {root, QString::number(random() % 100000)});
        ASSERT_TRUE(child.waitForStarted(10000));
        ASSERT_TRUE(child.waitForReadyRead(30000)) << "the helper did not open the store";
        QThread::msleep(2 + random() % 150);
        if (child.state() == QProcess::Running) {
            ++killedMidRun;
        }
        child.kill();
        ASSERT_TRUE(child.waitForFinished(10000));

        QStringList inTmp;
        const QHash<QByteArray, int> ids = messageIdsOnDisk(root, inTmp);
        EXPECT_EQ(inTmp, QStringList()) << "round " << round;
        EXPECT_EQ(ids.size(), kMessages) << "round " << round;
        for (auto it = ids.cbegin(); it != ids.cend(); ++it) {
            EXPECT_EQ(it.value(), 1) << "round " << round << ": " << it.key().toStdString();
        }
        EXPECT_EQ(itemsIn(openMaildirStore(root)->TopFolder()), kMessages) << "round " << round;
        if (::testing::Test::HasFailure()) {
            break;
        }
    }
    EXPECT_GE(killedMidRun, 5);
    // The moves went somewhere: Deleted Items holds what the killed runs moved.
    EXPECT_GT(
        openMaildirStore(root)->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(),
        0);
}

}  // namespace
}  // namespace tf::store::maildir
