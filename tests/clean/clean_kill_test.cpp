// A cleaning run killed with SIGKILL at a random moment loses nothing: every item is where it
// was, in "Deleted Items" (a move run), or gone (Turbo, which deletes for good), exactly once,
// and the store file passes its integrity check.
#include <gtest/gtest.h>

#include <QHash>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <random>

#include "store/local/local_store.h"
#include "tests/support/local_copy.h"
#include "tests/support/memory_store.h"

namespace tf::testing {
namespace {

using Places = QHash<QString, QString>;  // EntryID -> folder name

void collect(const outlook::FolderPtr& folder, Places& places, int& duplicates) {
    const outlook::ItemsPtr items = folder->Items();
    for (long i = 1; i <= items->Count(); ++i) {
        const QString id = items->Item(i)->EntryID();
        duplicates += places.contains(id) ? 1 : 0;
        places.insert(id, folder->Name());
    }
    const outlook::FoldersPtr folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        collect(folders->Item(i), places, duplicates);
    }
}

Places placesIn(const QString& path, int& duplicates) {
    Places places;
    duplicates = 0;
    collect(store::local::openLocalStores(path).at(0)->TopFolder(), places, duplicates);
    return places;
}

void writeStore(const QString& path) {
    auto s =
        MemoryStore::withDefaultFolders(QStringLiteral("Personal Folders"), QStringLiteral("S"));
    s->addItems(s->folder(QStringLiteral("Inbox")), 1500);
    s->addItems(s->addFolder(s->top(), QStringLiteral("Archive")), 500);
    s->addItems(s->folder(QStringLiteral("Deleted Items")), 10);
    s->addItems(s->folder(QStringLiteral("Sent Items")), 20);
    writeLocalStoreFile({s}, path);
}

TEST(CleanKillTest, KilledRunsLoseNothing) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    int killedMidRun = 0;
    int partlyDone = 0;
    for (int round = 0; round < 10; ++round) {
        const bool turbo = round % 2 == 1;
        SCOPED_TRACE(::testing::Message() << "round " << round << (turbo ? " turbo" : " move"));
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("k.tfs"));
        writeStore(path);
        int duplicates = 0;
        const Places original = placesIn(path, duplicates);
        ASSERT_EQ(original.size(), 2030);

        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QStringLiteral(TF_CLEAN_KILL_HELPER),
                    {path, turbo ? QStringLiteral("turbo") : QStringLiteral("move")});
        ASSERT_TRUE(child.waitForStarted(10000));
        // Killed once the run has removed a random number of items, a few microseconds on, so
        // that the signal lands anywhere in a step.
        const int target = static_cast<int>(random() % 1900);
        bool running = true;
        for (bool atTarget = false; !atTarget && running;) {
            if (!child.canReadLine() && !child.waitForReadyRead(30000)) {
                running = child.state() == QProcess::Running;
                ASSERT_FALSE(running) << "the helper went quiet";
                break;
            }
            while (child.canReadLine()) {
                const QByteArray line = child.readLine().trimmed();
                if (line.startsWith("done")) {
                    running = false;
                } else if (line.startsWith("n ") && line.mid(2).toInt() >= target) {
                    atTarget = true;
                }
            }
        }
        QThread::usleep(random() % 3000);
        if (child.state() == QProcess::Running) {
            ++killedMidRun;
        }
        child.kill();
        ASSERT_TRUE(child.waitForFinished(10000));

        ASSERT_EQ(store::local::checkStoreFile(path), QStringList());
        const Places now = placesIn(path, duplicates);
        EXPECT_EQ(duplicates, 0);
        int moved = 0;
        int gone = 0;
        for (auto it = original.cbegin(); it != original.cend(); ++it) {
            if (!now.contains(it.key())) {
                ++gone;
                EXPECT_TRUE(turbo) << "a move run lost " << it.value().toStdString();
                EXPECT_NE(it.value(), QStringLiteral("Sent Items"));
                continue;
            }
            const QString& place = now.value(it.key());
            if (place != it.value()) {
                ++moved;
                EXPECT_EQ(place, QStringLiteral("Deleted Items"));
                EXPECT_FALSE(turbo) << "Turbo deletes for good; it moves nothing";
                EXPECT_NE(it.value(), QStringLiteral("Sent Items"));
            }
        }
        for (auto it = now.cbegin(); it != now.cend(); ++it) {
            EXPECT_TRUE(original.contains(it.key())) << "an item appeared";
        }
        // Changes are committed in groups, so a kill may find fewer done than the run counted.
        partlyDone += moved + gone > 0 && moved + gone < 2000 ? 1 : 0;
    }
    EXPECT_GE(killedMidRun, 8) << "most kills must land while the run is going";
    EXPECT_GE(partlyDone, 4) << "most kills must find a run partly committed";
}

}  // namespace
}  // namespace tf::testing
