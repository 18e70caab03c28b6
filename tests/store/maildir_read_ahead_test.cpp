// Reading a Maildir tree ahead of the window's loop on other threads: the loop gets exactly the
// fields and listings it would have read itself, never those of another message or of a folder as
// it was before another program changed it, and reading leaves the files' access times alone.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"
#include "store/maildir/read_ahead.h"
#include "tests/support/folder_lookup.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

using namespace std::chrono_literals;
using outlook::StorePtr;

// Waits until done() holds, for at most five seconds.
template <typename Done>
bool eventually(Done done) {
    const auto until = std::chrono::steady_clock::now() + 5s;
    while (!done()) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

// ---- the read-ahead itself ----------------------------------------------------------------

// Every rule holds whether one thread reads ahead or several.
class ReadAheadThreads : public ::testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(OneOrMore, ReadAheadThreads, ::testing::Values(1U, 2U, 4U));

TEST_P(ReadAheadThreads, GivesEachJobsResultOnceAndInItsPlace) {
    std::atomic<int> produced{0};
    ReadAhead<int> ahead(
        50,
        [&](std::size_t i) {
            ++produced;
            return std::optional<int>(static_cast<int>(i) * 7);
        },
        100, GetParam());
    ASSERT_TRUE(eventually([&] { return produced == 50; }));
    for (std::size_t i = 0; i < 50; ++i) {
        EXPECT_EQ(ahead.take(i), std::optional<int>(static_cast<int>(i) * 7)) << i;
        EXPECT_EQ(ahead.take(i), std::nullopt) << "given twice: " << i;
    }
    EXPECT_EQ(ahead.take(50), std::nullopt);
}

TEST_P(ReadAheadThreads, AJobTheCallerReachesFirstIsLeftToTheCallerAndNeverDone) {
    std::mutex mutex;
    std::condition_variable released;
    bool go = false;
    std::map<std::size_t, int> done;
    ReadAhead<int> ahead(
        10,
        [&](std::size_t i) {
            std::unique_lock lock(mutex);
            released.wait(lock, [&] { return go; });
            ++done[i];
            return std::optional<int>(1);
        },
        100, GetParam());
    // The thread is held at job 0: the caller comes to job 5 first and does it itself.
    EXPECT_EQ(ahead.take(5), std::nullopt);
    {
        const std::lock_guard lock(mutex);
        go = true;
    }
    released.notify_all();
    ASSERT_TRUE(eventually([&] {
        const std::lock_guard lock(mutex);
        return done.size() == 9;
    }));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(done.count(5), 0u);
    for (const auto& [job, times] : done) {
        EXPECT_EQ(times, 1) << job;
    }
}

TEST_P(ReadAheadThreads, StaysWithinItsLeadOfTheCaller) {
    std::atomic<std::size_t> furthest{0};
    std::atomic<int> produced{0};
    ReadAhead<int> ahead(
        1000,
        [&](std::size_t i) {
            for (std::size_t seen = furthest;
                 seen < i && !furthest.compare_exchange_weak(seen, i);) {
            }
            ++produced;
            return std::optional<int>(0);
        },
        8, GetParam());
    ASSERT_TRUE(eventually([&] { return produced == 8; }));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(produced, 8);
    EXPECT_EQ(furthest, 7u);
    ahead.take(20);  // the caller has got to job 20: the thread may go on to job 28
    ASSERT_TRUE(eventually([&] { return furthest == 28u; }));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(furthest, 28u);
}

TEST_P(ReadAheadThreads, AJobThatFailsIsLeftToTheCaller) {
    std::atomic<int> produced{0};
    ReadAhead<std::string> ahead(
        4,
        [&](std::size_t i) -> std::optional<std::string> {
            ++produced;
            if (i == 1) {
                throw std::runtime_error("unreadable");
            }
            if (i == 2) {
                return std::nullopt;
            }
            return std::to_string(i);
        },
        10, GetParam());
    ASSERT_TRUE(eventually([&] { return produced == 4; }));
    EXPECT_EQ(ahead.take(0), std::optional<std::string>("0"));
    EXPECT_EQ(ahead.take(1), std::nullopt);
    EXPECT_EQ(ahead.take(2), std::nullopt);
    EXPECT_EQ(ahead.take(3), std::optional<std::string>("3"));
}

TEST_P(ReadAheadThreads, StopsSoonWhenDroppedWithMostJobsLeft) {
    std::atomic<int> produced{0};
    const auto started = std::chrono::steady_clock::now();
    {
        ReadAhead<int> ahead(
            100000,
            [&](std::size_t) {
                ++produced;
                std::this_thread::sleep_for(1ms);
                return std::optional<int>(0);
            },
            100000, GetParam());
        ASSERT_TRUE(eventually([&] { return produced > 0; }));
    }
    EXPECT_LT(produced, 100000);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
}

TEST(ReadAhead, SeveralThreadsDoJobsSideBySide) {
    // Job 0 finishes only once job 1 has started: one thread alone would never get there.
    std::atomic<bool> secondStarted{false};
    std::atomic<bool> overlapped{false};
    std::atomic<int> produced{0};
    ReadAhead<int> ahead(
        2,
        [&](std::size_t i) {
            if (i == 1) {
                secondStarted = true;
            } else {
                overlapped = eventually([&] { return secondStarted.load(); });
            }
            ++produced;
            return std::optional<int>(static_cast<int>(i));
        },
        10, 2);
    ASSERT_TRUE(eventually([&] { return produced == 2; }));
    EXPECT_TRUE(overlapped);
    EXPECT_EQ(ahead.take(0), std::optional<int>(0));
    EXPECT_EQ(ahead.take(1), std::optional<int>(1));
}

// ---- read ahead in a Maildir tree -------------------------------------------------------------

class MaildirReadAheadTest : public ::testing::Test {
  protected:
    QString root() const { return dir_.filePath(QStringLiteral("Mail")); }

    // Delivers count messages into the folder; each subject names its message's stem.
    void deliver(const QString& folder, int count) {
        writer_.addFolder(folder);
        for (int i = 0; i < count; ++i) {
            MailToWrite mail;
            mail.subject = QStringLiteral("message %1 of %2").arg(++delivered_).arg(folder);
            mail.senderName = QStringLiteral("Sender %1").arg(delivered_);
            mail.date = QDateTime(QDate(2021, 3, 1), QTime(9, 0), Qt::UTC).addSecs(delivered_);
            const QString path = writer_.deliver(folder, composeMail(mail), 1600000000 + delivered_,
                                                 std::optional(QStringLiteral("S")));
            const QString name = QFileInfo(path).fileName();
            subjectOf_[name.left(name.indexOf(QLatin1Char(':')))] = mail.subject;
            paths_[folder] << path;
        }
    }

    static outlook::FolderPtr folderCalled(const StorePtr& store, const QString& name) {
        outlook::FolderPtr folder = testing::childNamed(store->TopFolder(), name);
        EXPECT_NE(folder, nullptr) << name.toStdString();
        return folder;
    }

    // Every item's subject, checked against the subject written into its own file.
    void expectOwnSubjects(const outlook::FolderPtr& folder) {
        auto items = folder->Items();
        for (long i = 1; i <= items->Count(); ++i) {
            auto item = items->Item(i);
            const QString id = item->EntryID();
            ASSERT_TRUE(subjectOf_.contains(id)) << id.toStdString();
            EXPECT_EQ(item->Subject(), subjectOf_[id]) << id.toStdString();
        }
    }

    QTemporaryDir dir_;
    MaildirWriter writer_{root()};
    std::map<QString, QString> subjectOf_;  // by stem, which is the EntryID of these messages
    std::map<QString, QStringList> paths_;  // by folder
    int delivered_ = 0;
    testing::TempHome home_;  // the header cache goes there
};

TEST_F(MaildirReadAheadTest, EveryMessageShowsItsOwnFieldsAlsoWhenRenamedMeanwhile) {
    deliver(QStringLiteral(".Big"), 300);
    StorePtr store = openMaildirStore(root());
    outlook::FolderPtr big = folderCalled(store, QStringLiteral("Big"));
    ASSERT_EQ(big->Items()->Count(), 300);
    // Another program flags every third message after the listing: those files have new names.
    for (int i = 0; i < 300; i += 3) {
        const QString path = paths_[QStringLiteral(".Big")][i];
        ASSERT_TRUE(QFile::rename(path, path + QStringLiteral("F")));
    }
    expectOwnSubjects(big);
    // And a second opening, from the cache the first one wrote.
    store.reset();
    expectOwnSubjects(folderCalled(openMaildirStore(root()), QStringLiteral("Big")));
}

TEST_F(MaildirReadAheadTest, AFolderChangedAfterItWasListedAheadIsListedAgain) {
    deliver(QString(), 3);
    for (const char* name : {".One", ".Two", ".Three", ".Four"}) {
        deliver(QString::fromLatin1(name), 5);
    }
    StorePtr store = openMaildirStore(root());
    // Opening the Inbox sets the other folders' listing going; it has time to list them all.
    ASSERT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), 3);
    std::this_thread::sleep_for(300ms);
    deliver(QStringLiteral(".Two"), 1);
    ASSERT_TRUE(QFile::remove(paths_[QStringLiteral(".Three")].first()));
    EXPECT_EQ(folderCalled(store, QStringLiteral("One"))->Items()->Count(), 5);
    EXPECT_EQ(folderCalled(store, QStringLiteral("Two"))->Items()->Count(), 6);
    EXPECT_EQ(folderCalled(store, QStringLiteral("Three"))->Items()->Count(), 4);
    expectOwnSubjects(folderCalled(store, QStringLiteral("Two")));
}

// Access times the scan must keep: older than the files' modification, which a reading under
// relatime would move on to now.
class MaildirAccessTimeTest : public MaildirReadAheadTest,
                              public ::testing::WithParamInterface<int> {};

TEST_P(MaildirAccessTimeTest, ReadingTheFieldsLeavesAccessTimesAlone) {
    deliver(QStringLiteral(".Folder"), GetParam());
    const timespec old{1000000000, 0};  // 2001
    for (const QString& path : paths_[QStringLiteral(".Folder")]) {
        struct stat st {};
        ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &st), 0);
        const timespec times[2] = {old, st.st_mtim};
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
    }
    StorePtr store = openMaildirStore(root());
    expectOwnSubjects(folderCalled(store, QStringLiteral("Folder")));
    for (const QString& path : paths_[QStringLiteral(".Folder")]) {
        struct stat st {};
        ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &st), 0);
        EXPECT_EQ(st.st_atim.tv_sec, old.tv_sec) << path.toStdString();
    }
}

// A few messages are read by the window's own thread, many by the reader ahead of it.
INSTANTIATE_TEST_SUITE_P(SmallAndLargeFolders, MaildirAccessTimeTest, ::testing::Values(5, 200));

}  // namespace
}  // namespace tf::store::maildir
