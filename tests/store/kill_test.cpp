// A process killed with SIGKILL in the middle of deleting leaves a sound store: every item is
// where it was, in Deleted Items, or gone because a delete for good had started.
#include <gtest/gtest.h>

#include <QFile>
#include <QHash>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <random>

#include "store/local/local_store.h"
#include "store/local/sample_content.h"

namespace tf::store::local {
namespace {

void collectIds(const outlook::FolderPtr& folder, QHash<QString, int>& ids) {
    auto items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        ids[items->Item(i)->EntryID()] += 1;
    }
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        collectIds(folders->Item(i), ids);
    }
}

QHash<QString, int> idsOf(const QString& path) {
    QHash<QString, int> ids;
    collectIds(openLocalStores(path).at(0)->TopFolder(), ids);
    return ids;
}

TEST(KillTest, KilledDeletesLeaveEveryItemAccountedFor) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("k.tfs"));
    const QString log = dir.filePath(QStringLiteral("steps.log"));
    SampleOptions options;
    options.items = 4000;
    writeSampleStoreFile(path, options);
    const QHash<QString, int> original = idsOf(path);
    ASSERT_EQ(original.size(), 4000);

    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    int killedMidRun = 0;
    for (int round = 0; round < 12; ++round) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QStringLiteral(TF_KILL_HELPER),
                    {path, log, QString::number(random() % 100000)});
        ASSERT_TRUE(child.waitForStarted(10000));
        ASSERT_TRUE(child.waitForReadyRead(20000)) << "the helper did not open the store";
        QThread::msleep(5 + random() % 300);
        if (child.state() == QProcess::Running) {
            ++killedMidRun;
        }
        child.kill();
        ASSERT_TRUE(child.waitForFinished(10000));

        ASSERT_EQ(checkStoreFile(path), QStringList()) << "round " << round;
        QSet<QString> started;
        QSet<QString> done;
        QFile steps(log);
        ASSERT_TRUE(steps.open(QIODevice::ReadOnly));
        for (const QByteArray& line : steps.readAll().split('\n')) {
            if (line.size() > 2) {
                (line[0] == 'P' ? started : done).insert(QString::fromLatin1(line.mid(2)));
            }
        }
        const QHash<QString, int> now = idsOf(path);
        for (auto it = now.cbegin(); it != now.cend(); ++it) {
            EXPECT_EQ(it.value(), 1) << "duplicate " << it.key().toStdString();
            EXPECT_TRUE(original.contains(it.key())) << "unknown " << it.key().toStdString();
            EXPECT_FALSE(done.contains(it.key())) << "deleted yet present";
        }
        for (auto it = original.cbegin(); it != original.cend(); ++it) {
            if (!now.contains(it.key())) {
                EXPECT_TRUE(started.contains(it.key()))
                    << "lost without a delete for good " << it.key().toStdString();
            }
        }
        if (::testing::Test::HasFailure()) {
            break;
        }
    }
    EXPECT_GE(killedMidRun, 10);
}

}  // namespace
}  // namespace tf::store::local
