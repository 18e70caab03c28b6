// The Maildir++ backend over trees with the oddities real mail has, and what it does on disk.
#include "store/maildir/maildir_store.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <random>

#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/item_window.h"
#include "outlook/mapi_utils.h"
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

constexpr double kOneSecond = 1.0 / 86400;

OleDate localOf(qint64 secondsSince1970) {
    return toOleDate(QDateTime::fromSecsSinceEpoch(secondsSince1970));
}

class MaildirStoreTest : public ::testing::Test {
  protected:
    QString root() const { return dir_.filePath(QStringLiteral("Mail")); }
    QString at(const QString& relative) const { return QDir(root()).filePath(relative); }

    // Delivers raw bytes and returns the message's unique name (its EntryID).
    QString put(const QString& folder, const QByteArray& raw, qint64 delivered = 1600000000,
                const std::optional<QString>& flags = QStringLiteral("S")) {
        const QString path = writer_.deliver(folder, raw, delivered, flags);
        return QFileInfo(path).fileName().section(QStringLiteral(":2,"), 0, 0);
    }
    ItemPtr only(const FolderPtr& folder) {
        auto items = folder->Items();
        EXPECT_EQ(items->Count(), 1);
        return items->Item(1);
    }
    ItemPtr inboxItem(const StorePtr& store, long index) {
        return store->GetDefaultFolder(outlook::olFolderInbox)->Items()->Item(index);
    }
    QStringList files(const QString& sub) const {
        return QDir(at(sub)).entryList(QDir::Files | QDir::System | QDir::Hidden, QDir::Name);
    }
    static FolderPtr child(const FolderPtr& parent, const QString& name) {
        return testing::childNamed(parent, name);
    }
    static QStringList names(const FolderPtr& parent) {
        QStringList out;
        auto folders = parent->Folders();
        for (long i = 1; i <= folders->Count(); ++i) {
            out << folders->Item(i)->Name();
        }
        return out;
    }

    QTemporaryDir dir_;
    testing::TempHome home_;  // the header cache goes there
    MaildirWriter writer_{root()};
};

TEST_F(MaildirStoreTest, HeadersAreDecodedWhateverTheirCharset) {
    put({},
        "From: =?ISO-8859-1?Q?Andr=E9?= Pirard <pirard@example.org>\r\n"
        "Subject: =?ISO-8859-1?B?SWYgeW91IGNhbiByZWFkIHRoaXMgeW8=?=\r\n"
        " =?ISO-8859-2?B?dSB1bmRlcnN0YW5kIHRoZSBleGFtcGxlLg==?=\r\n"
        "Date: Tue, 1 Jul 2003 10:52:37 +0200\r\n\r\nbody\r\n",
        1000);
    put({},
        "From: \"M\xc3\xbcller, J\xc3\xb6rg\" <j@example.org>\nSubject: "
        "=?UTF-8?B?5pel5pys6Kqe?=\n\n",
        2000);
    put({}, "from: <only@example.org>\nSUBJECT: a long\n  folded\tsubject\n\n", 3000);
    put({}, "From: bare@example.org\nSubject: =?koi8-r?Q?=F0=D2=C9=D7=C5=D4?=\n\n", 4000);
    StorePtr store = openMaildirStore(root());
    const outlook::TidyMAPIUtils utils;
    auto sender = [&](long i) {
        return utils.HrGetOneProp(inboxItem(store, i)->MAPIOBJECT(), outlook::PR_SENDER_NAME);
    };
    EXPECT_EQ(inboxItem(store, 1)->Subject(),
              QStringLiteral("If you can read this you understand the example."));
    EXPECT_EQ(sender(1), QStringLiteral("André Pirard"));
    EXPECT_NEAR(inboxItem(store, 1)->ReceivedTime(), localOf(1057049557), kOneSecond);
    EXPECT_EQ(inboxItem(store, 2)->Subject(), QStringLiteral("日本語"));
    EXPECT_EQ(sender(2), QStringLiteral("Müller, Jörg"));
    EXPECT_EQ(inboxItem(store, 3)->Subject(), QStringLiteral("a long  folded\tsubject"));
    EXPECT_EQ(sender(3), QStringLiteral("only@example.org"));
    EXPECT_EQ(inboxItem(store, 4)->Subject(), QStringLiteral("Привет"));
    EXPECT_EQ(sender(4), QStringLiteral("bare@example.org"));
    for (long i = 1; i <= 4; ++i) {
        EXPECT_EQ(inboxItem(store, i)->Class(), outlook::olMail);
        EXPECT_THROW(inboxItem(store, i)->DueDate(), Failure);
        EXPECT_THROW(inboxItem(store, i)->End(), Failure);
    }
}

TEST_F(MaildirStoreTest, DatesFallBackToTheDeliveryTimeThenToTheFile) {
    put({}, "Subject: no date\n\n", 1600000000);
    put({}, "Subject: broken\nDate: sometime last week, probably\n\n", 1600000100);
    QFile odd(at(QStringLiteral("cur/odd-name-without-a-time:2,S")));
    ASSERT_TRUE(odd.open(QIODevice::WriteOnly));
    odd.write("Subject: only the file knows\n\n");
    odd.close();
    const QDateTime fileTime = QDateTime::fromSecsSinceEpoch(1500000000);
    ASSERT_TRUE(odd.open(QIODevice::ReadWrite));
    ASSERT_TRUE(odd.setFileTime(fileTime, QFileDevice::FileModificationTime));
    odd.close();

    StorePtr store = openMaildirStore(root());
    EXPECT_NEAR(inboxItem(store, 1)->ReceivedTime(), localOf(1600000000), kOneSecond);
    EXPECT_NEAR(inboxItem(store, 2)->ReceivedTime(), localOf(1600000100), kOneSecond);
    ItemPtr third = inboxItem(store, 3);
    EXPECT_EQ(third->Subject(), QStringLiteral("only the file knows"));
    EXPECT_NEAR(third->ReceivedTime(), localOf(1500000000), kOneSecond);
    EXPECT_NEAR(third->LastModificationTime(), localOf(1500000000), kOneSecond);
}

TEST_F(MaildirStoreTest, MessagesWithoutHeadersOrFullOfGarbageReadAsEmptyFields) {
    put({}, "just a line of text: with a colon\nand more\n", 1000);
    put({}, QByteArray(), 2000);
    std::mt19937 random(7);
    QByteArray garbage;
    for (int i = 0; i < 65536; ++i) {
        garbage.append(static_cast<char>(random() % 256));
    }
    put({}, garbage, 3000);
    put({}, "Subject: " + QByteArray(1 << 20, 'x') + "\nFrom: Big <big@example.org>\n\nbody\n",
        4000);

    StorePtr store = openMaildirStore(root());
    auto items = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(items->Count(), 4);
    EXPECT_EQ(items->Item(1)->Subject(), QString());
    EXPECT_TRUE(items->Item(1)->Body().contains(QStringLiteral("and more")));
    EXPECT_NEAR(items->Item(1)->ReceivedTime(), localOf(1000), kOneSecond);
    EXPECT_EQ(items->Item(2)->Subject(), QString());
    EXPECT_EQ(items->Item(2)->Body(), QString());
    ItemPtr junk = items->Item(3);
    EXPECT_NO_THROW(junk->Subject());
    EXPECT_NO_THROW(junk->Body());
    EXPECT_NO_THROW(junk->MAPIOBJECT());
    EXPECT_NEAR(junk->ReceivedTime(), localOf(3000), kOneSecond);
    EXPECT_EQ(items->Item(4)->Subject().size(), 1 << 20);
    EXPECT_EQ(outlook::TidyMAPIUtils().HrGetOneProp(items->Item(4)->MAPIOBJECT(),
                                                    outlook::PR_SENDER_NAME),
              QStringLiteral("Big"));
}

class CapturingWindow : public outlook::ItemWindow {
  public:
    void show(const outlook::ItemContent& content) override { shown.push_back(content); }
    std::vector<outlook::ItemContent> shown;
};

TEST_F(MaildirStoreTest, DisplayShowsTheHeadersAndTheDecodedTextPart) {
    put({},
        "From: =?UTF-8?Q?Zo=C3=AB?= <zoe@example.org>\r\n"
        "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\r\n"
        "Date: Mon, 2 Mar 2020 09:30:00 +0000\r\n"
        "MIME-Version: 1.0\r\n"
        "Content-Type: multipart/alternative; boundary=\"b\"\r\n\r\n"
        "--b\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<p>html</p>\r\n"
        "--b\r\nContent-Type: text/plain; charset=iso-8859-1\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\nViele Gr=FC=DFe\r\n--b--\r\n");
    CapturingWindow window;
    StorePtr store = openMaildirStore(root());
    inboxItem(store, 1)->Display(window);
    ASSERT_EQ(window.shown.size(), 1u);
    const outlook::ItemContent& content = window.shown[0];
    EXPECT_EQ(content.caption, QStringLiteral("Grüße - Message"));
    ASSERT_GE(content.fields.size(), 3);
    EXPECT_EQ(content.fields[0], qMakePair(QStringLiteral("From"), QStringLiteral("Zoë")));
    EXPECT_EQ(content.fields[1], qMakePair(QStringLiteral("Subject"), QStringLiteral("Grüße")));
    EXPECT_EQ(content.fields[2].first, QStringLiteral("Received"));
    EXPECT_TRUE(content.body.startsWith(QStringLiteral("Viele Grüße")))
        << content.body.toStdString();
}

TEST_F(MaildirStoreTest, TheFolderTreeFollowsMaildirPlusPlusNames) {
    for (const char* folder :
         {".Projects.2024.v1.5", ".Entw&APw-rfe", ".INBOX.Sub", ".Sent", ".Drafts", ".Junk",
          ".Deleted Messages", "..evil", ".a..b", "notafolder", ".INBOX"}) {
        writer_.addFolder(QString::fromUtf8(folder));
    }
    QDir(root()).mkpath(QStringLiteral(".NoCur/new"));
    put(QStringLiteral(".Projects.2024.v1.5"), "Subject: deep\n\n");
    put(QStringLiteral(".INBOX"), "Subject: hidden twin of the Inbox\n\n");

    StorePtr store = openMaildirStore(root());
    FolderPtr top = store->TopFolder();
    EXPECT_EQ(top->Name(), QStringLiteral("Mail"));
    EXPECT_EQ(names(top), (QStringList{QStringLiteral("Inbox"), QStringLiteral("Deleted Items"),
                                       QStringLiteral("Drafts"), QStringLiteral("Entwürfe"),
                                       QStringLiteral("Junk"), QStringLiteral("NoCur"),
                                       QStringLiteral("Projects"), QStringLiteral("Sent Items")}));
    EXPECT_EQ(names(child(top, QStringLiteral("Inbox"))), QStringList{QStringLiteral("Sub")});
    FolderPtr year = child(child(top, QStringLiteral("Projects")), QStringLiteral("2024"));
    ASSERT_TRUE(year);
    EXPECT_EQ(year->Items()->Count(), 0);
    FolderPtr leaf = child(child(year, QStringLiteral("v1")), QStringLiteral("5"));
    ASSERT_TRUE(leaf);
    EXPECT_EQ(only(leaf)->Subject(), QStringLiteral("deep"));
    EXPECT_EQ(leaf->Parent()->Parent()->EntryID(), year->EntryID());

    // The Trash that exists is used and named; none is made beside it.
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->EntryID(),
              QStringLiteral(".Deleted Messages"));
    EXPECT_FALSE(QFileInfo::exists(at(QStringLiteral(".Trash"))));
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderSentMail)->Name(),
              QStringLiteral("Sent Items"));
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDrafts)->Name(), QStringLiteral("Drafts"));
    EXPECT_THROW(store->GetDefaultFolder(outlook::olFolderCalendar), Failure);

    auto topFolders = top->Folders();
    for (long i = 1; i <= topFolders->Count(); ++i) {
        const QString name = topFolders->Item(i)->Name();
        if (name != QLatin1String("Junk") && name != QStringLiteral("Entwürfe") &&
            name != QLatin1String("Projects") && name != QLatin1String("NoCur")) {
            EXPECT_TRUE(failureOf([&] {
                            topFolders->Remove(i);
                        }).contains(QStringLiteral("standard folder")))
                << name.toStdString();
        }
    }
    EXPECT_EQ(topFolders->Count(), 8);
}

TEST_F(MaildirStoreTest, ATrashIsMadeWhenThereIsNone) {
    StorePtr store = openMaildirStore(root());
    for (const char* sub : {".Trash/cur", ".Trash/new", ".Trash/tmp"}) {
        EXPECT_TRUE(QFileInfo(at(QLatin1String(sub))).isDir()) << sub;
    }
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Name(),
              QStringLiteral("Deleted Items"));
}

TEST_F(MaildirStoreTest, RemovingAFolderStopsAtTheNameBoundary) {
    writer_.addFolder(QStringLiteral(".A"));
    writer_.addFolder(QStringLiteral(".A.B"));
    writer_.addFolder(QStringLiteral(".AB"));
    put(QStringLiteral(".A.B"), "Subject: in A/B\n\n");
    put(QStringLiteral(".AB"), "Subject: in AB\n\n");
    StorePtr store = openMaildirStore(root());
    auto top = store->TopFolder()->Folders();
    for (long i = 1; i <= top->Count(); ++i) {
        if (top->Item(i)->Name() == QLatin1String("A")) {
            top->Remove(i);
            break;
        }
    }
    EXPECT_FALSE(QFileInfo::exists(at(QStringLiteral(".A"))));
    EXPECT_FALSE(QFileInfo::exists(at(QStringLiteral(".A.B"))));
    EXPECT_EQ(files(QStringLiteral(".AB/cur")).size(), 1);
    EXPECT_EQ(names(store->TopFolder()), (QStringList{QStringLiteral("Inbox"), QStringLiteral("AB"),
                                                      QStringLiteral("Deleted Items")}));
    EXPECT_TRUE(QDir(root()).entryList({QStringLiteral("tidyfold-*")}, QDir::AllEntries).isEmpty());
}

TEST_F(MaildirStoreTest, NothingOutsideTheRootIsFollowedOrTouched) {
    QTemporaryDir outside;
    MaildirWriter elsewhere(outside.path());
    const QString outsideMessage =
        elsewhere.deliver({}, "Subject: outside\n\n", 100, QStringLiteral("S"));
    elsewhere.addFolder(QStringLiteral(".Other"));
    put({}, "Subject: inside\n\n");
    writer_.addFolder(QStringLiteral(".Plain"));
    ASSERT_TRUE(QFile::link(outside.path(), at(QStringLiteral(".Escape"))));
    ASSERT_TRUE(QFile::link(outsideMessage, at(QStringLiteral("cur/1.linked:2,S"))));
    QDir(root()).mkpath(QStringLiteral(".Hollow/new"));
    ASSERT_TRUE(
        QFile::link(outside.filePath(QStringLiteral("cur")), at(QStringLiteral(".Hollow/cur"))));
    ASSERT_TRUE(QFile::link(outside.filePath(QStringLiteral("cur")),
                            at(QStringLiteral(".Plain/cur/2.dirlink:2,"))));

    StorePtr store = openMaildirStore(root());
    EXPECT_EQ(names(store->TopFolder()),
              (QStringList{QStringLiteral("Inbox"), QStringLiteral("Deleted Items"),
                           QStringLiteral("Plain")}));
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ASSERT_EQ(inbox->Count(), 1);
    EXPECT_EQ(inbox->Item(1)->Subject(), QStringLiteral("inside"));
    EXPECT_THROW(store->GetItemFromID(QStringLiteral("1.linked")), Failure);
    EXPECT_THROW(store->GetItemFromID(QStringLiteral("../../") + outside.path()), Failure);
    EXPECT_THROW(store->GetItemFromID(QString()), Failure);

    // Clean out everything the store offers.
    inbox->Item(1)->Delete();
    store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Item(1)->Delete();
    auto top = store->TopFolder()->Folders();
    top->Remove(3);
    EXPECT_TRUE(QFile::exists(outsideMessage));
    EXPECT_TRUE(QFileInfo(outside.filePath(QStringLiteral(".Other/cur"))).isDir());
    EXPECT_EQ(QDir(outside.filePath(QStringLiteral("cur"))).entryList(QDir::Files).size(), 1);

    // A Trash that is a link out of the root is refused, not used.
    QDir(at(QStringLiteral(".Trash"))).removeRecursively();
    ASSERT_TRUE(QFile::link(outside.path(), at(QStringLiteral(".Trash"))));
    EXPECT_FALSE(failureOf([&] { openMaildirStore(root()); }).isEmpty());
}

TEST_F(MaildirStoreTest, OldMailMovesToDeletedItemsAndTheListingAgrees) {
    struct Mail {
        const char* subject;
        int year;
        std::optional<QString> flags;
    };
    const std::vector<Mail> mails = {{"old unread", 2015, std::nullopt},
                                     {"old flagged", 2016, QStringLiteral("FS")},
                                     {"recent", 2023, QStringLiteral("S")},
                                     {"old read", 2018, QStringLiteral("S")},
                                     {"newest", 2024, std::nullopt}};
    QStringList oldIds;
    qint64 delivered = 1700000000;
    for (const Mail& mail : mails) {
        MailToWrite out;
        out.subject = QString::fromUtf8(mail.subject);
        out.date = QDateTime(QDate(mail.year, 6, 1), QTime(12, 0));
        const QString id = put({}, composeMail(out), delivered++, mail.flags);
        if (mail.year < 2020) {
            oldIds << id;
        }
    }
    StorePtr store = openMaildirStore(root());
    const OleDate cutoff = dateSerial(2020, 1, 1);
    QStringList chosen;
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    for (long i = 1; i <= inbox->Count(); ++i) {
        if (inbox->Item(i)->ReceivedTime() < cutoff) {
            chosen << inbox->Item(i)->EntryID();
        }
    }
    EXPECT_EQ(chosen, oldIds);
    for (const QString& id : chosen) {
        store->GetItemFromID(id)->Delete();
    }
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")),
              (QStringList{oldIds[0] + QStringLiteral(":2,"), oldIds[1] + QStringLiteral(":2,FS"),
                           oldIds[2] + QStringLiteral(":2,S")}));
    const QStringList left = files(QStringLiteral("cur")) + files(QStringLiteral("new"));
    EXPECT_EQ(left.size(), 2);
    for (const QString& id : oldIds) {
        EXPECT_TRUE(left.filter(id).isEmpty()) << id.toStdString();
    }
    EXPECT_TRUE(files(QStringLiteral("tmp")).isEmpty());
    EXPECT_TRUE(files(QStringLiteral(".Trash/tmp")).isEmpty());
    // The moved mail is still unread where it was.
    EXPECT_TRUE(store->GetItemFromID(oldIds[0])->UnRead());
    EXPECT_FALSE(store->GetItemFromID(oldIds[1])->UnRead());
}

TEST_F(MaildirStoreTest, ChangesByAnotherProgramFailForThatMessageOnly) {
    writer_.addFolder(QStringLiteral(".Archive"));
    const QString gone = put({}, "Subject: deleted meanwhile\n\n", 1);
    const QString moved = put({}, "Subject: moved meanwhile\n\n", 2);
    const QString flagged = put({}, "Subject: read meanwhile\n\n", 3, std::nullopt);
    const QString untouched = put({}, "Subject: untouched\n\n", 4);
    StorePtr store = openMaildirStore(root());
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    std::vector<ItemPtr> items;
    for (long i = 1; i <= inbox->Count(); ++i) {
        items.push_back(inbox->Item(i));
    }
    ASSERT_EQ(items.size(), 4u);
    ASSERT_TRUE(QFile::remove(at(QStringLiteral("cur/") + gone + QStringLiteral(":2,S"))));
    ASSERT_TRUE(
        QFile::rename(at(QStringLiteral("cur/") + moved + QStringLiteral(":2,S")),
                      at(QStringLiteral(".Archive/cur/") + moved + QStringLiteral(":2,S"))));
    ASSERT_TRUE(QFile::rename(at(QStringLiteral("new/") + flagged),
                              at(QStringLiteral("cur/") + flagged + QStringLiteral(":2,RS"))));

    QStringList failures;
    for (const ItemPtr& item : items) {
        failures << failureOf([&] { item->Delete(); });
    }
    EXPECT_TRUE(failures[0].contains(QStringLiteral("no longer exists")))
        << failures[0].toStdString();
    EXPECT_TRUE(failures[1].contains(QStringLiteral("moved"))) << failures[1].toStdString();
    EXPECT_EQ(failures[2], QString());
    EXPECT_EQ(failures[3], QString());
    EXPECT_TRUE(
        QFile::exists(at(QStringLiteral(".Archive/cur/") + moved + QStringLiteral(":2,S"))));
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")),
              (QStringList{flagged + QStringLiteral(":2,RS"), untouched + QStringLiteral(":2,S")}));
    EXPECT_EQ(items[2]->Parent()->Name(), QStringLiteral("Deleted Items"));
}

TEST_F(MaildirStoreTest, ADeletedItemsFolderRemovedMeanwhileIsMadeAgain) {
    put({}, "Subject: one\n\n", 1);
    put({}, "Subject: two\n\n", 2);
    StorePtr store = openMaildirStore(root());
    auto inbox = store->GetDefaultFolder(outlook::olFolderInbox)->Items();
    ItemPtr first = inbox->Item(1);
    ItemPtr second = inbox->Item(2);
    first->Delete();
    ASSERT_TRUE(QDir(at(QStringLiteral(".Trash"))).removeRecursively());
    // The move notices, makes it again, and goes into the new one.
    second->Delete();
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")).size(), 1);
    EXPECT_TRUE(files(QStringLiteral("cur")).isEmpty());
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 1);
}

TEST_F(MaildirStoreTest, AFileNameInAnotherCharsetCanStillBeFoundAndMoved) {
    // Written with the raw bytes: Qt would turn the Latin-1 byte into a replacement character.
    const QByteArray path =
        QFile::encodeName(at(QStringLiteral("cur/"))) + "1600000000.caf\xe9:2,S";
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(fd, 0);
    const QByteArray text = "Subject: latin-1 name\n\n";
    ASSERT_EQ(::write(fd, text.constData(), static_cast<size_t>(text.size())), text.size());
    ::close(fd);
    StorePtr store = openMaildirStore(root());
    const QString id = inboxItem(store, 1)->EntryID();
    store->GetItemFromID(id)->Delete();
    // Listed with the raw bytes too, as Qt's listing passes over such names.
    auto rawNames = [this](const QString& sub) {
        std::vector<std::string> names;
        DIR* dir = ::opendir(QFile::encodeName(at(sub)).constData());
        while (const dirent* entry = dir != nullptr ? ::readdir(dir) : nullptr) {
            if (entry->d_name[0] != '.') {
                names.emplace_back(entry->d_name);
            }
        }
        if (dir != nullptr) {
            ::closedir(dir);
        }
        return names;
    };
    EXPECT_TRUE(rawNames(QStringLiteral("cur")).empty());
    EXPECT_EQ(rawNames(QStringLiteral(".Trash/cur")),
              std::vector<std::string>{"1600000000.caf\xe9:2,S"});
    EXPECT_EQ(store->GetItemFromID(id)->Subject(), QStringLiteral("latin-1 name"));
}

TEST_F(MaildirStoreTest, ANameClashInDeletedItemsGivesTheMovedMessageANewNameAndKeepsBoth) {
    const QString id = put({}, "Subject: twin\n\n", 1600000000, QStringLiteral("RS"));
    writer_.addFolder(QStringLiteral(".Trash"));
    QFile::copy(at(QStringLiteral("cur/") + id + QStringLiteral(":2,RS")),
                at(QStringLiteral(".Trash/cur/") + id + QStringLiteral(":2,")));
    StorePtr store = openMaildirStore(root());
    ItemPtr item = inboxItem(store, 1);
    item->Delete();
    EXPECT_TRUE(files(QStringLiteral("cur")).isEmpty());
    const QStringList trash = files(QStringLiteral(".Trash/cur"));
    ASSERT_EQ(trash.size(), 2);
    EXPECT_TRUE(trash.contains(id + QStringLiteral(":2,")));
    const QStringList renamed = trash.filter(QStringLiteral(":2,RS"));
    ASSERT_EQ(renamed.size(), 1);
    EXPECT_FALSE(renamed[0].startsWith(id));
    // The moved message keeps its EntryID under its new name, and the one that was there its own.
    EXPECT_EQ(item->EntryID(), id);
    EXPECT_EQ(store->GetItemFromID(id)->Subject(), QStringLiteral("twin"));
    EXPECT_FALSE(store->GetItemFromID(id)->UnRead());
    EXPECT_EQ(store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count(), 2);
    store->GetItemFromID(id)->Delete();
    EXPECT_EQ(files(QStringLiteral(".Trash/cur")), QStringList{id + QStringLiteral(":2,")});
}

TEST_F(MaildirStoreTest, ArrivalsShowAtTheEndAndRemoveDeletesForGood) {
    put({}, "Subject: first\n\n", 100);
    put({}, "Subject: second\n\n", 200);
    StorePtr store = openMaildirStore(root());
    FolderPtr inbox = store->GetDefaultFolder(outlook::olFolderInbox);
    ASSERT_EQ(inbox->Items()->Count(), 2);
    put({}, "Subject: delivered earlier but found later\n\n", 50, std::nullopt);
    auto items = inbox->Items();
    ASSERT_EQ(items->Count(), 3);
    EXPECT_EQ(items->Item(1)->Subject(), QStringLiteral("first"));
    EXPECT_EQ(items->Item(3)->Subject(), QStringLiteral("delivered earlier but found later"));
    EXPECT_TRUE(items->Item(3)->UnRead());
    items->Remove(1);
    EXPECT_EQ(items->Item(1)->Subject(), QStringLiteral("second"));
    EXPECT_EQ(files(QStringLiteral("cur")).size(), 1);
    EXPECT_TRUE(files(QStringLiteral(".Trash/cur")).isEmpty());
}

}  // namespace
}  // namespace tf::store::maildir
