// Deleting for good in a change group: the files go in batches, side by side, and the folder's
// list, a fresh look at the folder and the failures all agree with what is on disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cerrno>
#include <numeric>

#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"
#include "store/maildir/unlink_batch.h"
#include "tests/support/failure_text.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

using outlook::FolderPtr;
using outlook::StorePtr;
using testing::failureOf;

TEST(UnlinkSideBySide, EveryJobIsDoneOnceAndItsErrorStaysWithIt) {
    for (const unsigned threads : {1U, 3U, 8U}) {
        QTemporaryDir dir;
        ASSERT_TRUE(dir.isValid());
        const int fd = ::open(QFile::encodeName(dir.path()).constData(), O_RDONLY | O_DIRECTORY);
        ASSERT_GE(fd, 0);
        std::vector<UnlinkJob> jobs;
        std::vector<int> expected;
        for (int i = 0; i < 700; ++i) {
            const std::string name = "m" + std::to_string(i);
            if (i % 97 == 5) {
                expected.push_back(ENOENT);  // never made
            } else if (i % 101 == 7) {
                ASSERT_EQ(::mkdirat(fd, name.c_str(), 0700), 0);
                expected.push_back(EISDIR);
            } else {
                QFile file(dir.filePath(QString::fromStdString(name)));
                ASSERT_TRUE(file.open(QIODevice::WriteOnly));
                expected.push_back(0);
            }
            jobs.push_back({fd, name});
        }
        EXPECT_EQ(unlinkSideBySide(jobs, threads), expected) << threads << " threads";
        // Only the directories are left.
        const QStringList left =
            QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        EXPECT_EQ(left.size(), std::count(expected.begin(), expected.end(), EISDIR));
        for (const QString& name : left) {
            EXPECT_TRUE(QFileInfo(dir.filePath(name)).isDir()) << name.toStdString();
        }
        ::close(fd);
    }
    EXPECT_TRUE(unlinkSideBySide({}, 4).empty());
}

class MaildirRemovalsTest : public ::testing::Test {
  protected:
    QString root() const { return dir_.filePath(QStringLiteral("Mail")); }
    QString at(const QString& relative) const { return QDir(root()).filePath(relative); }
    QStringList files(const QString& sub) const {
        return QDir(at(sub)).entryList(QDir::Files, QDir::Name);
    }
    // Delivers `count` read messages into the Inbox, "message 0" the oldest; returns their file
    // names in cur/.
    QStringList fill(int count) {
        QStringList names;
        for (int i = 0; i < count; ++i) {
            const QString path =
                writer_.deliver({}, QStringLiteral("Subject: message %1\n\nbody\n").arg(i).toUtf8(),
                                1600000000 + i, QStringLiteral("S"));
            names << QFileInfo(path).fileName();
        }
        return names;
    }
    static QStringList subjects(const FolderPtr& folder) {
        QStringList out;
        auto items = folder->Items();
        for (long i = 1; i <= items->Count(); ++i) {
            out << items->Item(i)->Subject();
        }
        return out;
    }
    // Deletes the Inbox's messages with these numbers for good, as a run does: a move to
    // Deleted Items and a delete there, found by EntryID each time.
    static void deleteForGood(const StorePtr& store, const QStringList& ids) {
        for (const QString& id : ids) {
            store->GetItemFromID(id)->Delete();
            store->GetItemFromID(id)->Delete();
        }
    }
    // Opens the tree and, in a change group left open, deletes the Inbox's messages at these
    // positions for good.
    StorePtr openAndDeleteForGood(const std::vector<int>& positions) {
        StorePtr store = openMaildirStore(root());
        const QStringList ids = idsOf(store, positions);
        store->beginChanges();
        deleteForGood(store, ids);
        return store;
    }
    static QStringList idsOf(const StorePtr& store, const std::vector<int>& positions) {
        QStringList ids;
        auto items = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
        for (const int position : positions) {
            ids << items->Item(position)->EntryID();
        }
        return ids;
    }

    QTemporaryDir dir_;
    testing::TempHome home_;
    MaildirWriter writer_{root()};
};

TEST_F(MaildirRemovalsTest, ALookAtTheFolderInTheMiddleOfAGroupNeverBringsDeletedMessagesBack) {
    fill(10);
    StorePtr store = openMaildirStore(root());
    FolderPtr inbox = store->GetDefaultFolder(outlook::olFolderInbox);
    ASSERT_EQ(inbox->Items()->Count(), 10);
    const QStringList ids = idsOf(store, {1, 2, 3, 5, 8, 10});
    store->beginChanges();
    deleteForGood(store, ids);
    EXPECT_EQ(inbox->Items()->Count(), 4);
    // Another program delivers meanwhile, so the folder is read again before the group ends.
    writer_.deliver({}, "Subject: arrived\n\n", 1700000000, std::nullopt);
    EXPECT_EQ(subjects(inbox),
              (QStringList{QStringLiteral("message 3"), QStringLiteral("message 5"),
                           QStringLiteral("message 6"), QStringLiteral("message 8"),
                           QStringLiteral("arrived")}));
    EXPECT_EQ(failureOf([&] { store->endChanges(); }), QString());
    EXPECT_EQ(files(QStringLiteral("cur")).size() + files(QStringLiteral("new")).size(), 5);
    EXPECT_TRUE(files(QStringLiteral(".Trash/cur")).isEmpty());
    for (const QString& id : ids) {
        EXPECT_FALSE(failureOf([&] { store->GetItemFromID(id); }).isEmpty()) << id.toStdString();
    }
    // A fresh opening sees the same.
    store.reset();
    EXPECT_EQ(openMaildirStore(root())->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(),
              5);
}

TEST_F(MaildirRemovalsTest, ManyBatchesInOneGroupDeleteExactlyWhatWasAskedFor) {
    // More than one batch, so a batch is carried out in the middle of the run too.
    const int total = 9000;
    fill(total);
    StorePtr store = openMaildirStore(root());
    auto items = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(items->Count(), total);
    store->beginChanges();
    // The way Turbo Delete does it: from the last position down, every third one kept.
    long kept = 0;
    for (long i = total; i >= 1; --i) {
        if (i % 3 == 0) {
            ++kept;
            continue;
        }
        items->Remove(i);
    }
    EXPECT_EQ(items->Count(), kept);
    EXPECT_EQ(failureOf([&] { store->endChanges(); }), QString());
    const QStringList left = files(QStringLiteral("cur"));
    ASSERT_EQ(left.size(), kept);
    auto listed = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(listed->Count(), kept);
    for (long i = 1; i <= kept; ++i) {
        const int number = listed->Item(i)->Subject().section(QLatin1Char(' '), 1).toInt();
        EXPECT_EQ((number + 1) % 3, 0) << "message " << number << " should have gone";
    }
}

TEST_F(MaildirRemovalsTest, AMessageGivenNewFlagsMeanwhileIsStillDeleted) {
    const QStringList names = fill(3);
    StorePtr store = openAndDeleteForGood({1, 2});
    // mbsync or a mail client marks the first one answered before the batch goes.
    QString answered = names[0];
    answered.replace(QStringLiteral(":2,S"), QStringLiteral(":2,RS"));
    ASSERT_TRUE(QFile::rename(at(QStringLiteral("cur/") + names[0]),
                              at(QStringLiteral("cur/") + answered)));
    EXPECT_EQ(failureOf([&] { store->endChanges(); }), QString());
    EXPECT_EQ(files(QStringLiteral("cur")), QStringList{names[2]});
    EXPECT_EQ(subjects(store->GetDefaultFolder(outlook::olFolderInbox)),
              QStringList{QStringLiteral("message 2")});
}

TEST_F(MaildirRemovalsTest, WhatCouldNotBeDeletedIsNamedAndTheRestStillGoes) {
    const QStringList names = fill(20);
    std::vector<int> all(20);
    std::iota(all.begin(), all.end(), 1);
    StorePtr store = openAndDeleteForGood(all);
    // Another program deletes twelve of them first, and puts a directory in place of one more.
    for (int i = 0; i < 12; ++i) {
        ASSERT_TRUE(QFile::remove(at(QStringLiteral("cur/") + names[i])));
    }
    ASSERT_TRUE(QFile::remove(at(QStringLiteral("cur/") + names[12])));
    ASSERT_TRUE(QDir(at(QStringLiteral("cur"))).mkdir(names[12]));
    const QString failure = failureOf([&] { store->endChanges(); });
    const QStringList lines = failure.split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), 11) << failure.toStdString();
    EXPECT_EQ(lines.filter(QStringLiteral("no longer exists")).size() +
                  lines.filter(QStringLiteral("Cannot delete the message")).size(),
              10)
        << failure.toStdString();
    EXPECT_EQ(lines.last(), QStringLiteral("3 more message(s) could not be deleted either."));
    // The other seven went; only the directory is left.
    EXPECT_TRUE(files(QStringLiteral("cur")).isEmpty());
    EXPECT_EQ(QDir(at(QStringLiteral("cur"))).entryList(QDir::Dirs | QDir::NoDotAndDotDot),
              QStringList{names[12]});
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), 0);
}

TEST_F(MaildirRemovalsTest, ASingleFailureKeepsItsOwnText) {
    const QStringList names = fill(2);
    StorePtr store = openAndDeleteForGood({1, 2});
    ASSERT_TRUE(QFile::remove(at(QStringLiteral("cur/") + names[1])));
    ASSERT_TRUE(QDir(at(QStringLiteral("cur"))).mkdir(names[1]));
    const QString failure = failureOf([&] { store->endChanges(); });
    EXPECT_TRUE(
        failure.startsWith(QStringLiteral("The operation failed. Cannot delete the message")))
        << failure.toStdString();
    EXPECT_TRUE(failure.contains(names[1])) << failure.toStdString();
    EXPECT_FALSE(failure.contains(QStringLiteral("\r\n"))) << failure.toStdString();
    EXPECT_FALSE(QFile::exists(at(QStringLiteral("cur/") + names[0])));
    // Nothing is left over for the next group to report.
    store->beginChanges();
    EXPECT_EQ(failureOf([&] { store->endChanges(); }), QString());
}

TEST_F(MaildirRemovalsTest, ADeletedFolderTakesAllItsFilesAndNothingItLinksTo) {
    QTemporaryDir outside;
    const QString kept = outside.filePath(QStringLiteral("kept"));
    {
        QFile file(kept);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    writer_.addFolder(QStringLiteral(".Old"));
    writer_.addFolder(QStringLiteral(".Old.Older"));
    writer_.addFolder(QStringLiteral(".Other"));
    for (int i = 0; i < 300; ++i) {
        writer_.deliver(QStringLiteral(".Old"), "Subject: old\n\n", 1600000000 + i,
                        i % 3 == 0 ? std::nullopt : std::optional<QString>(QStringLiteral("S")));
        writer_.deliver(QStringLiteral(".Old.Older"), "Subject: older\n\n", 1500000000 + i,
                        QStringLiteral("S"));
    }
    writer_.deliver(QStringLiteral(".Other"), "Subject: other\n\n", 1600000000, std::nullopt);
    ASSERT_TRUE(QFile::link(kept, at(QStringLiteral(".Old/cur/1.link:2,S"))));
    StorePtr store = openMaildirStore(root());
    auto top = store->TopFolder()->Folders();
    long old = 0;
    for (long i = 1; i <= top->Count(); ++i) {
        old = top->Item(i)->Name() == QLatin1String("Old") ? i : old;
    }
    ASSERT_NE(old, 0);
    top->Remove(old);
    EXPECT_FALSE(QFileInfo::exists(at(QStringLiteral(".Old"))));
    EXPECT_FALSE(QFileInfo::exists(at(QStringLiteral(".Old.Older"))));
    EXPECT_TRUE(QDir(root()).entryList({QStringLiteral("tidyfold-*")}, QDir::AllEntries).isEmpty());
    EXPECT_TRUE(QFile::exists(kept));
    EXPECT_EQ(QDir(at(QStringLiteral(".Other/new"))).entryList(QDir::Files).size(), 1);
}

}  // namespace
}  // namespace tf::store::maildir
