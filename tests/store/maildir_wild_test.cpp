// The Maildir backend on trees as Dovecot, mbsync and people copying files leave them, and what
// it writes for the programs that share the tree.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"
#include "tests/support/failure_text.h"
#include "tests/support/folder_lookup.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::store::maildir {
namespace {

using outlook::FolderPtr;
using outlook::ItemPtr;
using outlook::StorePtr;
using testing::failureOf;

class MaildirWildTest : public ::testing::Test {
  protected:
    QString root() const { return dir_.filePath(QStringLiteral("Mail")); }
    QString at(const QString& relative) const { return QDir(root()).filePath(relative); }

    // Writes a message file under the exact name given ("cur/1.host,U=7:2,S").
    void place(const QString& relative, const QByteArray& raw) {
        QDir().mkpath(QFileInfo(at(relative)).path());
        QFile file(at(relative));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(raw);
    }
    QStringList files(const QString& sub) const {
        return QDir(at(sub)).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }
    QByteArray contents(const QString& relative) const {
        QFile file(at(relative));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    static FolderPtr child(const FolderPtr& parent, const QString& name) {
        return testing::childNamed(parent, name);
    }
    // Folder deletion as a cleaning run does it: through the parent's collection, by EntryID.
    static void removeThroughParent(const FolderPtr& folder) {
        auto siblings = folder->Parent()->Folders();
        const QString id = folder->EntryID();
        for (long i = 1; i <= siblings->Count(); ++i) {
            if (siblings->Item(i)->EntryID() == id) {
                siblings->Remove(i);
                return;
            }
        }
        throw Failure(err::kAutomation, QStringLiteral("not found in its parent"));
    }
    StorePtr open() { return openMaildirStore(root()); }
    FolderPtr trashOf(const StorePtr& store) {
        return store->GetDefaultFolder(outlook::olFolderDeletedItems);
    }

    QTemporaryDir dir_;
    testing::TempHome home_;  // the header cache goes there
    MaildirWriter writer_{root()};
};

TEST_F(MaildirWildTest, AMovedMessageLosesMbsyncsUidAndKeepsItsFlagsAndEntryId) {
    writer_.addFolder(QStringLiteral(".Archive"));
    place(QStringLiteral("cur/1700000000.1_1.host,U=17:2,FS"), "Subject: one\n\n");
    place(QStringLiteral(".Archive/cur/1700000001.2_1.host,U=3:2,S"), "Subject: two\n\n");
    place(QStringLiteral("new/1700000002.3_1.host,U=18"), "Subject: three\n\n");
    StorePtr store = open();
    QStringList ids;
    std::vector<ItemPtr> items;
    for (const FolderPtr& folder : {store->GetDefaultFolder(outlook::olFolderInbox),
                                    child(store->TopFolder(), QStringLiteral("Archive"))}) {
        auto listed = folder->Items();
        for (long i = 1; i <= listed->Count(); ++i) {
            items.push_back(listed->Item(i));
            ids << items.back()->EntryID();
        }
    }
    ASSERT_EQ(items.size(), 3u);
    for (const ItemPtr& item : items) {
        item->Delete();
    }
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")),
              (QStringList{QStringLiteral("1700000000.1_1.host:2,FS"),
                           QStringLiteral("1700000001.2_1.host:2,S"),
                           QStringLiteral("1700000002.3_1.host:2,")}));
    EXPECT_TRUE(files(QStringLiteral("cur")).isEmpty());
    EXPECT_TRUE(files(QStringLiteral(".Archive/cur")).isEmpty());
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i]->EntryID(), ids[static_cast<qsizetype>(i)]);
        EXPECT_EQ(store->GetItemFromID(ids[static_cast<qsizetype>(i)])->Parent()->EntryID(),
                  trashOf(store)->EntryID());
    }
    // mbsync later gives the message in Deleted Items a UID of its own: still the same message.
    ASSERT_TRUE(QFile::rename(at(QStringLiteral(".Trash/cur/1700000000.1_1.host:2,FS")),
                              at(QStringLiteral(".Trash/cur/1700000000.1_1.host,U=1:2,FS"))));
    EXPECT_EQ(store->GetItemFromID(ids[0])->Subject(), QStringLiteral("one"));
    EXPECT_EQ(openMaildirStore(root())->GetItemFromID(ids[0])->Subject(), QStringLiteral("one"));
}

TEST_F(MaildirWildTest, KeywordLettersAreTranslatedThroughBothFoldersKeywordFiles) {
    place(QStringLiteral("dovecot-keywords"), "0 $Label1\n1 todo\n2 $Forwarded\n");
    writer_.addFolder(QStringLiteral(".Trash"));
    place(QStringLiteral(".Trash/dovecot-keywords"), "0 Junk\n1 $Forwarded\n");
    place(QStringLiteral("cur/1.a.host:2,Sab"), "Subject: labelled\n\n");
    place(QStringLiteral("cur/2.b.host:2,Sc"), "Subject: forwarded\n\n");
    place(QStringLiteral("cur/3.c.host:2,Sz"), "Subject: unknown letter\n\n");
    StorePtr store = open();
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 3);
    for (long i = inbox->Count(); i >= 1; --i) {
        inbox->Item(i)->Delete();
    }
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")),
              (QStringList{QStringLiteral("1.a.host:2,Scd"), QStringLiteral("2.b.host:2,Sb"),
                           QStringLiteral("3.c.host:2,S")}));
    EXPECT_EQ(contents(QStringLiteral(".Trash/dovecot-keywords")),
              QByteArray("0 Junk\n1 $Forwarded\n2 $Label1\n3 todo\n"));
    EXPECT_EQ(files(QStringLiteral(".Trash")), QStringList{QStringLiteral("dovecot-keywords")});
    EXPECT_EQ(contents(QStringLiteral("dovecot-keywords")),
              QByteArray("0 $Label1\n1 todo\n2 $Forwarded\n"));
}

TEST_F(MaildirWildTest, TheSameFileNameInTwoFoldersIsTwoItems) {
    writer_.addFolder(QStringLiteral(".Archive"));
    writer_.addFolder(QStringLiteral(".Lists"));
    const QByteArray raw = "Subject: copied\n\n";
    place(QStringLiteral("cur/1700000000.M1P1.host,S=17:2,S"), raw);
    place(QStringLiteral(".Archive/cur/1700000000.M1P1.host,S=17:2,S"), raw);
    ASSERT_EQ(
        ::link(
            QFile::encodeName(at(QStringLiteral("cur/1700000000.M1P1.host,S=17:2,S"))).constData(),
            QFile::encodeName(at(QStringLiteral(".Lists/new/1700000000.M1P1.host,S=17")))
                .constData()),
        0);
    StorePtr store = open();
    struct Listed {
        FolderPtr folder;
        QString id;
    };
    std::vector<Listed> listed;
    for (const QString& name :
         {QStringLiteral("Archive"), QStringLiteral("Inbox"), QStringLiteral("Lists")}) {
        FolderPtr folder = child(store->TopFolder(), name);
        ASSERT_TRUE(folder);
        auto items = folder->Items();
        ASSERT_EQ(items->Count(), 1) << name.toStdString();
        listed.push_back({folder, items->Item(1)->EntryID()});
    }
    EXPECT_NE(listed[0].id, listed[1].id);
    EXPECT_NE(listed[1].id, listed[2].id);
    EXPECT_NE(listed[0].id, listed[2].id);
    // Each EntryID leads back to its own folder's copy, and each copy can be cleaned.
    for (const Listed& each : listed) {
        ItemPtr item = store->GetItemFromID(each.id);
        EXPECT_EQ(item->Parent()->EntryID(), each.folder->EntryID()) << each.id.toStdString();
        item->Delete();
        EXPECT_EQ(item->EntryID(), each.id);
    }
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")).size(), 3);
    for (const Listed& each : listed) {
        EXPECT_EQ(store->GetItemFromID(each.id)->Parent()->EntryID(), trashOf(store)->EntryID());
        store->GetItemFromID(each.id)->Delete();
    }
    EXPECT_TRUE(files(QStringLiteral(".Trash/cur")).isEmpty());
}

TEST_F(MaildirWildTest, AFolderWithOnlyNewIsShownAndCurIsMadeWhenAMessageMovesIn) {
    QDir(root()).mkpath(QStringLiteral(".Lists/new"));
    place(QStringLiteral(".Lists/new/1700000000.x.host"), "Subject: fresh\n\n");
    QDir(root()).mkpath(QStringLiteral(".Trash/new"));
    QDir(root()).mkpath(QStringLiteral(".Trash/tmp"));
    StorePtr store = open();
    FolderPtr lists = child(store->TopFolder(), QStringLiteral("Lists"));
    ASSERT_TRUE(lists);
    auto items = lists->Items();
    ASSERT_EQ(items->Count(), 1);
    EXPECT_EQ(items->Item(1)->Subject(), QStringLiteral("fresh"));
    EXPECT_EQ(trashOf(store)->EntryID(), QStringLiteral(".Trash"));
    items->Item(1)->Delete();
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")),
              QStringList{QStringLiteral("1700000000.x.host:2,")});
}

TEST_F(MaildirWildTest, AParentThatExistsOnlyThroughItsSubFolderGoesWithItWithoutAnError) {
    writer_.addFolder(QStringLiteral(".Projects.2024"));
    writer_.addFolder(QStringLiteral(".Projects.2025"));
    writer_.addFolder(QStringLiteral(".INBOX.Old.Mail"));
    writer_.deliver(QStringLiteral(".Projects.2024"), "Subject: plan\n\n", 1, std::nullopt);
    StorePtr store = open();
    FolderPtr projects = child(store->TopFolder(), QStringLiteral("Projects"));
    FolderPtr old =
        child(child(store->TopFolder(), QStringLiteral("Inbox")), QStringLiteral("Old"));
    ASSERT_TRUE(projects && old);
    // Sub-folders first, as a run goes; the parent is still there for its own turn.
    removeThroughParent(child(projects, QStringLiteral("2024")));
    removeThroughParent(child(projects, QStringLiteral("2025")));
    EXPECT_EQ(projects->Folders()->Count(), 0);
    EXPECT_EQ(projects->Items()->Count(), 0);
    EXPECT_EQ(failureOf([&] { removeThroughParent(projects); }), QString());
    removeThroughParent(child(old, QStringLiteral("Mail")));
    EXPECT_EQ(failureOf([&] { removeThroughParent(old); }), QString());
    EXPECT_EQ(child(store->TopFolder(), QStringLiteral("Projects")), nullptr);
    EXPECT_EQ(store->TopFolder()->Folders()->Count(), 2);  // the Inbox and Deleted Items
    EXPECT_TRUE(QDir(root())
                    .entryList({QStringLiteral(".P*"), QStringLiteral(".I*")},
                               QDir::AllEntries | QDir::Hidden)
                    .isEmpty());
}

TEST_F(MaildirWildTest, RemovedFoldersLeaveDovecotsSubscriptions) {
    for (const char* dir : {".Sent", ".Projects.2024", ".Projects.2024.Q1", ".ProjectsOld",
                            ".INBOX.Lists", ".Entw&APw-rfe"}) {
        writer_.addFolder(QString::fromUtf8(dir));
    }
    place(QStringLiteral("subscriptions"),
          "V\t2\n\nSent\nProjects\nProjects\t2024\nProjects\t2024\tQ1\nProjectsOld\nINBOX\tLists\n"
          "Entw&APw-rfe\n");
    StorePtr store = open();
    FolderPtr projects = child(store->TopFolder(), QStringLiteral("Projects"));
    removeThroughParent(child(projects, QStringLiteral("2024")));
    EXPECT_EQ(contents(QStringLiteral("subscriptions")),
              QByteArray("V\t2\n\nSent\nProjects\nProjectsOld\nINBOX\tLists\nEntw&APw-rfe\n"));
    removeThroughParent(projects);
    removeThroughParent(child(store->TopFolder(), QStringLiteral("Entwürfe")));
    removeThroughParent(
        child(child(store->TopFolder(), QStringLiteral("Inbox")), QStringLiteral("Lists")));
    EXPECT_EQ(contents(QStringLiteral("subscriptions")), QByteArray("V\t2\n\nSent\nProjectsOld\n"));
    EXPECT_FALSE(QFile::exists(at(QStringLiteral("subscriptions.lock"))));

    // The old form: one name a line, levels joined with dots.
    place(QStringLiteral("subscriptions"), "Sent\nProjectsOld\n");
    removeThroughParent(child(store->TopFolder(), QStringLiteral("ProjectsOld")));
    EXPECT_EQ(contents(QStringLiteral("subscriptions")), QByteArray("Sent\n"));
}

TEST_F(MaildirWildTest, DovecotAndThunderbirdNamesAreTheStandardFolders) {
    for (const char* dir : {".Sent Messages", ".drafts", ".Spam", ".Sent Mail"}) {
        writer_.addFolder(QString::fromUtf8(dir));
    }
    StorePtr store = open();
    FolderPtr sent = store->GetDefaultFolder(outlook::olFolderSentMail);
    EXPECT_EQ(sent->EntryID(), QStringLiteral(".Sent Messages"));
    // Shown under the names that the folder rules protect.
    EXPECT_EQ(sent->Name(), QStringLiteral("Sent Items"));
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDrafts)->Name(), QStringLiteral("Drafts"));
    EXPECT_EQ(store->GetDefaultFolder(23)->EntryID(), QStringLiteral(".Spam"));
    EXPECT_TRUE(child(store->TopFolder(), QStringLiteral("Sent Mail")));
    EXPECT_TRUE(
        failureOf([&] { removeThroughParent(sent); }).contains(QStringLiteral("standard folder")));
    EXPECT_TRUE(QFileInfo(at(QStringLiteral(".Sent Messages/cur"))).isDir());
}

TEST_F(MaildirWildTest, MovedThenDeletedInOneGroupIsOneUnlinkAndDeletedItemsIsNotTouched) {
    for (int i = 0; i < 4; ++i) {
        writer_.deliver({}, "Subject: old\n\n", 1000 + i, QStringLiteral("S"));
    }
    StorePtr store = open();
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 4);
    const QByteArray trashCur = QFile::encodeName(at(QStringLiteral(".Trash/cur")));
    struct stat before {};
    ASSERT_EQ(::stat(trashCur.constData(), &before), 0);
    ::usleep(50000);  // a rename into Deleted Items would now show in its time
    // Two deleted for good the way a run with Permanent Delete does it.
    store->beginChanges();
    for (int i = 0; i < 2; ++i) {
        const QString id = inbox->Item(1)->EntryID();
        store->GetItemFromID(id)->Delete();
        ItemPtr there = store->GetItemFromID(id);
        EXPECT_EQ(there->Parent()->EntryID(), trashOf(store)->EntryID());
        there->Delete();
        EXPECT_THROW(store->GetItemFromID(id), Failure);
    }
    store->endChanges();
    struct stat after {};
    ASSERT_EQ(::stat(trashCur.constData(), &after), 0);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(files(QStringLiteral("cur")).size(), 2);
    EXPECT_TRUE(files(QStringLiteral(".Trash/cur")).isEmpty());

    // One only moved: the group's end carries the move out.
    store->beginChanges();
    const QString moved = inbox->Item(1)->EntryID();
    store->GetItemFromID(moved)->Delete();
    store->endChanges();
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")).size(), 1);
    EXPECT_EQ(store->GetItemFromID(moved)->Parent()->EntryID(), trashOf(store)->EntryID());

    // A move waiting in a group is carried out before anything else looks at the folders.
    store->beginChanges();
    auto again = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    again->Item(1)->Delete();
    EXPECT_EQ(again->Count(), 0);
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")).size(), 2);
    store->endChanges();
}

TEST_F(MaildirWildTest, UnreadableMessagesAndInvalidFolderNamesAreSkippedAndReportedOnce) {
    writer_.addFolder(QStringLiteral(".a..b"));
    writer_.deliver(QStringLiteral(".a..b"), "Subject: in a bad name\n\n", 1, std::nullopt);
    place(QStringLiteral("cur/1.ok.host:2,S"), "Subject: fine\n\n");
    place(QStringLiteral("cur/2.locked.host:2,S"), "Subject: locked\n\n");
    // Root reads everything: the test drops to another user for the store's part.
    const bool asRoot = ::geteuid() == 0;
    if (asRoot) {
        ASSERT_EQ(std::system(QStringLiteral("chown -R 65534 '%1'").arg(dir_.path()).toLocal8Bit()),
                  0);
        ASSERT_EQ(::seteuid(65534), 0);
    }
    struct Restore {
        bool asRoot;
        ~Restore() {
            if (asRoot) {
                EXPECT_EQ(::seteuid(0), 0);
            }
        }
    } restore{asRoot};
    ASSERT_TRUE(QFile::setPermissions(at(QStringLiteral("cur/2.locked.host:2,S")), {}));
    StorePtr store = open();
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 1);
    EXPECT_EQ(inbox->Item(1)->Subject(), QStringLiteral("fine"));
    const QString notes = store->takeReadNotes();
    EXPECT_TRUE(notes.contains(QStringLiteral("1 message could not be read")))
        << notes.toStdString();
    EXPECT_TRUE(notes.contains(at(QStringLiteral("cur")))) << notes.toStdString();
    EXPECT_TRUE(notes.contains(at(QStringLiteral(".a..b")))) << notes.toStdString();
    EXPECT_EQ(store->TopFolder()->Folders()->Count(), 2);
    // Said once: reading again finds nothing new to say.
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Count(), 1);
    EXPECT_EQ(store->takeReadNotes(), QString());
    EXPECT_TRUE(QFile::exists(at(QStringLiteral("cur/2.locked.host:2,S"))));
}

}  // namespace
}  // namespace tf::store::maildir
