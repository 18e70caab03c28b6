#include "app/open_stores.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <memory>

#include "app/main_window_logic.h"
#include "app/store_choice.h"
#include "store/local/sample_content.h"
#include "store/maildir/maildir_writer.h"
#include "store/store_locator.h"
#include "store/store_opener.h"
#include "tests/support/qt_printers.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/temp_home.h"
#include "tests/support/window_fakes.h"

namespace tf::testing {
namespace {

// The window's logic over real store files and Maildir folders, with the real settings file in
// a temporary home; each start() is a new run of the program on the same settings.
class OpenStoresTest : public ::testing::Test {
  protected:
    OpenStoresTest() {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                           home.file(QStringLiteral(".config")));
    }
    ~OpenStoresTest() override { stop(); }

    QString storeFile(const QString& name, int storeCount = 1) {
        const QString path = home.file(name);
        store::local::SampleOptions options;
        options.stores = storeCount;
        options.items = 40;
        store::local::writeSampleStoreFile(path, options);
        return path;
    }
    QString maildir(const QString& name) {
        store::maildir::MaildirWriter writer(home.file(name));
        writer.addFolder(QStringLiteral(".Archive"));
        store::maildir::MailToWrite mail;
        mail.subject = QStringLiteral("Hello");
        writer.deliver(QString(), store::maildir::composeMail(mail), 1, std::nullopt);
        return writer.root();
    }
    QString samplePath() const { return home.file(QStringLiteral("data/default.tidystore")); }

    // One run: a new window logic on the settings as the last run left them.
    bool start(const QStringList& commandLine = {}) {
        stop();
        prompter.forget();
        stores = std::make_unique<OpenStores>(opener, remembered, commandLine);
        logic = std::make_unique<RemoveItemsLogic>(prompter, yield, messageWindow, shell, *stores);
        logic->openStores = stores.get();
        return logic->Form_Load();
    }
    void stop() {
        logic.reset();
        stores.reset();
    }

    // The names of the stores in the tree, top to bottom.
    QStringList treeStores() const {
        const FolderTree& tree = logic->tree;
        if (tree.count() == 0) {
            return {};
        }
        if (!logic->treeBuilder.severalStores()) {
            return {logic->records[1].Folder->Name()};
        }
        QStringList names;
        for (const int child : tree.node(1).children) {
            names << logic->records[logic->treeBuilder.Get_Node_Index(child)].Folder->Name();
        }
        return names;
    }
    QStringList rememberedNames() const {
        QStringList names;
        for (const RememberedStore& store : remembered.load().value_or(QList<RememberedStore>{})) {
            names << store.name;
        }
        return names;
    }
    int topNodeOf(const QString& storeName) const {
        const FolderTree& tree = logic->tree;
        for (int n = 1; n <= tree.count(); ++n) {
            const outlook::FolderPtr& folder = logic->records[n].Folder;
            if (folder && folder->Name() == storeName && (n == 1 || tree.node(n).parent == 1)) {
                return n;
            }
        }
        return 0;
    }
    void select(const QString& storeName) { logic->tree.select(topNodeOf(storeName)); }

    static QByteArray digest(const QString& path) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
    }

    TempHome home;
    store::LocatorStoreOpener opener{home.file(QStringLiteral("data/default.tidystore"))};
    RememberedStores remembered;
    ScriptedPrompter prompter;
    ScriptedYield yield;
    WindowLog log;
    RecordingMessageWindow messageWindow{log};
    RecordingShell shell{log};
    std::unique_ptr<OpenStores> stores;
    std::unique_ptr<RemoveItemsLogic> logic;
};

const QString kLoaded = QStringLiteral("All Folders Loaded");

TEST_F(OpenStoresTest, TheFirstRunOpensTheSampleStoreLabelledAsSuchAndRemembersNothing) {
    ASSERT_TRUE(start());
    EXPECT_EQ(prompter.texts(), QStringList{kLoaded});
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Sample Mailbox")});
    EXPECT_EQ(stores->title(), QStringLiteral("Sample Mailbox - Tidyfold"));
    EXPECT_TRUE(QFile::exists(samplePath()));
    EXPECT_FALSE(remembered.load().has_value());
}

TEST_F(OpenStoresTest, AStoreOfTheUsersOwnTakesTheSampleStoresPlaceAndOpensAgainNextTime) {
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(maildirLocation(mail, {}));
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Mail")});
    EXPECT_EQ(stores->title(), QStringLiteral("Mail - Tidyfold"));
    const QList<RememberedStore> kept = remembered.load().value();
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(kept[0].location, QStringLiteral("maildir:") + QDir(mail).canonicalPath());
    EXPECT_EQ(kept[0].name, QStringLiteral("Mail"));

    ASSERT_TRUE(start());
    EXPECT_EQ(prompter.texts(), QStringList{kLoaded});
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Mail")});

    // The sample store comes back on request, and stays from then on.
    logic->mnuOpenSampleStore_Click();
    EXPECT_EQ(treeStores(),
              (QStringList{QStringLiteral("Mail"), QStringLiteral("Sample Mailbox")}));
    EXPECT_EQ(stores->title(), QStringLiteral("Tidyfold"));
    ASSERT_TRUE(start());
    EXPECT_EQ(treeStores(),
              (QStringList{QStringLiteral("Mail"), QStringLiteral("Sample Mailbox")}));
}

TEST_F(OpenStoresTest, TheTreeHoldsExactlyTheRememberedStoresInTheirOrderAfterOpenAndClose) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString mail = maildir(QStringLiteral("Mail"));
    const QString work = maildir(QStringLiteral("Work"));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(maildirLocation(work, QStringLiteral("Zeta Work")));
    logic->mnuOpenStore(storeFileLocation(a));
    logic->mnuOpenStore(maildirLocation(mail, {}));
    // In the order opened, not by name: the stores are not sorted under the root.
    const QStringList opened = {QStringLiteral("Zeta Work"), QStringLiteral("Personal Folders"),
                                QStringLiteral("Mail")};
    EXPECT_EQ(treeStores(), opened);
    EXPECT_EQ(rememberedNames(), opened);

    select(QStringLiteral("Personal Folders"));
    prompter.answer(Prompter::Yes);
    logic->mnuCloseStore_Click();
    EXPECT_EQ(treeStores(), (QStringList{QStringLiteral("Zeta Work"), QStringLiteral("Mail")}));
    EXPECT_EQ(rememberedNames(), treeStores());

    ASSERT_TRUE(start());
    EXPECT_EQ(treeStores(), (QStringList{QStringLiteral("Zeta Work"), QStringLiteral("Mail")}));
    EXPECT_EQ(rememberedNames(), treeStores());
}

TEST_F(OpenStoresTest, CloseAsksAndNoKeepsTheStoreAndNothingInAClosedStoreChanges) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString b = storeFile(QStringLiteral("b.tidystore"), 2);
    ASSERT_TRUE(start({}));
    logic->mnuOpenStore(storeFileLocation(a));
    logic->mnuOpenStore(storeFileLocation(b));
    const QByteArray before = digest(a);
    ASSERT_FALSE(before.isEmpty());

    select(QStringLiteral("Personal Folders"));
    prompter.forget();
    prompter.answer(Prompter::No);
    logic->mnuCloseStore_Click();
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().buttons, Prompter::YesNo);
    EXPECT_EQ(prompter.last().title, QStringLiteral("Close Store"));
    EXPECT_TRUE(prompter.last().text.startsWith(
        QStringLiteral("Close the store \"Personal Folders\"?\r\n\r\n")));
    EXPECT_EQ(treeStores().size(), 3);

    // A file of two stores closes as one: both its stores leave, and the question says so.
    select(QStringLiteral("Archive Folders"));
    prompter.forget();
    prompter.answer(Prompter::Yes);
    logic->mnuCloseStore_Click();
    EXPECT_TRUE(prompter.shown().front().text.contains(QStringLiteral("The 2 stores of")));
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Personal Folders")});
    EXPECT_EQ(digest(a), before);

    // The last store stays: an empty tree would end the program.
    select(QStringLiteral("Personal Folders"));
    prompter.forget();
    logic->mnuCloseStore_Click();
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("\"Personal Folders\" is the only open store. Open "
                                         "another store before closing this one.")});
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Personal Folders")});
    EXPECT_FALSE(logic->Unloaded);
}

TEST_F(OpenStoresTest, CloseWantsAStoresTopFolder) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    ASSERT_TRUE(start({}));
    logic->mnuOpenSampleStore_Click();
    logic->mnuOpenStore(storeFileLocation(a));
    ASSERT_EQ(treeStores().size(), 2);
    for (int n = 1; n <= logic->tree.count(); ++n) {
        const outlook::FolderPtr& folder = logic->records[n].Folder;
        if (folder && folder->Name() == QStringLiteral("Inbox")) {
            logic->tree.select(n);
            break;
        }
    }
    prompter.forget();
    logic->mnuCloseStore_Click();
    EXPECT_EQ(
        prompter.texts(),
        QStringList{QStringLiteral("Select the top folder of the store to close in the tree.")});
    logic->tree.select(1);  // the virtual root over both
    logic->mnuCloseStore_Click();
    EXPECT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(treeStores().size(), 2);
}

TEST_F(OpenStoresTest, AStoreThatFailsToOpenIsToldAndTheOpenStoresStayAsTheyAre) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString notAStore = home.file(QStringLiteral("notes.txt"));
    QFile text(notAStore);
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("Shopping list: milk, bread.\n");
    text.close();
    QDir(home.path()).mkpath(QStringLiteral("Plain/sub"));
    ASSERT_TRUE(start({}));
    logic->mnuOpenStore(storeFileLocation(a));
    const QList<RememberedStore> before = remembered.load().value();
    const int nodesBefore = logic->tree.count();

    for (const QString& location :
         {storeFileLocation(notAStore), maildirLocation(home.file(QStringLiteral("Plain")), {}),
          storeFileLocation(home.file(QStringLiteral("gone.tidystore")))}) {
        prompter.forget();
        logic->mnuOpenStore(location);
        ASSERT_EQ(prompter.shown().size(), 1u) << location.toStdString();
        EXPECT_TRUE(prompter.last().text.startsWith(
            QStringLiteral("The store \"%1\" could not be opened.\r\n\r\n").arg(location)))
            << prompter.last().text.toStdString();
        EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Personal Folders")});
        EXPECT_EQ(remembered.load().value(), before);
        EXPECT_EQ(logic->tree.count(), nodesBefore);
    }
    // The file that is not a store is left as it was.
    QFile check(notAStore);
    ASSERT_TRUE(check.open(QIODevice::ReadOnly));
    EXPECT_EQ(check.readAll(), QByteArray("Shopping list: milk, bread.\n"));
}

TEST_F(OpenStoresTest, AFailedFirstOpenKeepsTheSampleStore) {
    ASSERT_TRUE(start());
    logic->mnuOpenStore(maildirLocation(home.file(QStringLiteral("NoMail")), {}));
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Sample Mailbox")});
    EXPECT_FALSE(remembered.load().has_value());
}

// Named twice on the command line this used to end in the internal error report "Key is not
// unique in collection" before the window opened.
TEST_F(OpenStoresTest, TheSameStoreTwiceOnTheCommandLineIsToldOnceAndOpenedOnce) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString copy = home.file(QStringLiteral("copy.tidystore"));
    ASSERT_TRUE(QFile::copy(a, copy));
    QDir(home.path()).mkpath(QStringLiteral("sub"));
    const QString otherSpelling = home.file(QStringLiteral("sub/../a.tidystore"));
    const QString mail = maildir(QStringLiteral("Mail"));

    ASSERT_TRUE(start({a, QStringLiteral("local:") + otherSpelling, copy,
                       QStringLiteral("maildir:") + mail, maildirLocation(mail, "Work")}));
    EXPECT_EQ(
        prompter.texts(),
        (QStringList{
            QStringLiteral("local:%1 is already open as \"Personal Folders\".").arg(otherSpelling),
            QStringLiteral("%1 is already open as \"Personal Folders\".").arg(copy),
            QStringLiteral("maildir:%1#Work is already open as \"Mail\".").arg(mail), kLoaded}));
    EXPECT_EQ(treeStores(),
              (QStringList{QStringLiteral("Personal Folders"), QStringLiteral("Mail")}));
    for (const QString& text : prompter.texts()) {
        EXPECT_FALSE(text.contains(QStringLiteral("not unique"))) << text.toStdString();
    }
    // The command line is for this run only.
    EXPECT_FALSE(remembered.load().has_value());
}

TEST_F(OpenStoresTest, TheSameStoreOpenedAgainFromTheWindowIsRefused) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString copy = home.file(QStringLiteral("copy.tidystore"));
    ASSERT_TRUE(QFile::copy(a, copy));
    QFile::link(a, home.file(QStringLiteral("link.tidystore")));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(storeFileLocation(a));
    const int nodes = logic->tree.count();
    for (const QString& again : {storeFileLocation(a), storeFileLocation(copy),
                                 storeFileLocation(home.file(QStringLiteral("link.tidystore")))}) {
        prompter.forget();
        logic->mnuOpenStore(again);
        EXPECT_EQ(
            prompter.texts(),
            QStringList{QStringLiteral("%1 is already open as \"Personal Folders\".").arg(again)});
        EXPECT_EQ(logic->tree.count(), nodes);
    }
    EXPECT_EQ(rememberedNames(), QStringList{QStringLiteral("Personal Folders")});
}

TEST_F(OpenStoresTest, TheCommandLineReplacesTheRememberedStoresForThatRunOnly) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(maildirLocation(mail, {}));
    const QList<RememberedStore> kept = remembered.load().value();

    ASSERT_TRUE(start({a}));
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Personal Folders")});
    // Opening and closing in such a run leaves the remembered stores alone.
    logic->mnuOpenSampleStore_Click();
    EXPECT_EQ(treeStores().size(), 2);
    EXPECT_EQ(remembered.load().value(), kept);

    ASSERT_TRUE(start());
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Mail")});
}

TEST_F(OpenStoresTest, ARememberedStoreGoneFromDiskIsToldAndLeftOut) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(storeFileLocation(a));
    logic->mnuOpenStore(maildirLocation(mail, {}));
    stop();
    ASSERT_TRUE(QDir(mail).removeRecursively());

    ASSERT_TRUE(start());
    ASSERT_EQ(prompter.texts().size(), 2);
    EXPECT_TRUE(prompter.texts()[0].startsWith(
        QStringLiteral("The store \"Mail\" could not be opened.\r\n\r\n")));
    EXPECT_TRUE(prompter.texts()[0].endsWith(
        QStringLiteral("It is no longer opened at start; File > Open Store opens it again.")));
    EXPECT_EQ(prompter.texts()[1], kLoaded);
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Personal Folders")});
    EXPECT_EQ(rememberedNames(), QStringList{QStringLiteral("Personal Folders")});

    // With every remembered store gone, the sample store opens rather than an empty window.
    stop();
    ASSERT_TRUE(QFile::remove(a));
    ASSERT_TRUE(start());
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Sample Mailbox")});
    EXPECT_FALSE(logic->Unloaded);
}

TEST_F(OpenStoresTest, AFreshSettingsFileStartsOverWithTheSampleStore) {
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(maildirLocation(mail, {}));
    stop();
    const QString settings = home.file(QStringLiteral(".config/Tidyfold/HKEY_LOCAL_MACHINE.ini"));
    ASSERT_TRUE(QFile::exists(settings));
    ASSERT_TRUE(QFile::remove(settings));
    ASSERT_TRUE(start());
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Sample Mailbox")});
}

TEST_F(OpenStoresTest, TheSettingsHoldLocationAndNameOnlyBesideTheNumberedSettings) {
    const QString mail = maildir(QStringLiteral("Mail"));
    ASSERT_TRUE(start());
    logic->mnuOpenStore(maildirLocation(mail, QStringLiteral("Work")));
    QSettings raw(home.file(QStringLiteral(".config/Tidyfold/HKEY_LOCAL_MACHINE.ini")),
                  QSettings::IniFormat);
    raw.beginGroup(QStringLiteral("Software/Tidyfold"));
    QStringList keys = raw.allKeys();
    keys.sort();
    EXPECT_EQ(keys, (QStringList{QStringLiteral("Stores/1/location"),
                                 QStringLiteral("Stores/1/name"), QStringLiteral("Stores/size")}));
    EXPECT_EQ(raw.value(QStringLiteral("Stores/1/location")).toString(),
              QStringLiteral("maildir:%1#Work").arg(QDir(mail).canonicalPath()));
    EXPECT_EQ(raw.value(QStringLiteral("Stores/1/name")).toString(), QStringLiteral("Work"));
}

TEST_F(OpenStoresTest, NothingIsOpenedOrClosedDuringARun) {
    const QString a = storeFile(QStringLiteral("a.tidystore"));
    const QString b = storeFile(QStringLiteral("b.tidystore"));
    ASSERT_TRUE(start({}));
    logic->mnuOpenStore(storeFileLocation(a));
    logic->mnuOpenStore(storeFileLocation(b));
    const QList<RememberedStore> before = remembered.load().value();
    select(QStringLiteral("Personal Folders"));
    prompter.forget();
    logic->flags.Processing = true;
    logic->mnuOpenSampleStore_Click();
    logic->mnuCloseStore_Click();
    logic->flags.Processing = false;
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(treeStores().size(), 2);
    EXPECT_EQ(remembered.load().value(), before);
}

// Opened inside a yield of the loading loop, as a menu command runs while loading goes on: the
// load stops and starts over with the new store, and only the finished pass says so.
TEST_F(OpenStoresTest, AStoreOpenedWhileLoadingJoinsWhenTheLoadStartsOver) {
    const QString mail = maildir(QStringLiteral("Mail"));
    yield.at(3, [&] { logic->mnuOpenStore(maildirLocation(mail, {})); });
    ASSERT_TRUE(start());
    EXPECT_EQ(prompter.texts(), QStringList{kLoaded});
    EXPECT_EQ(treeStores(), QStringList{QStringLiteral("Mail")});
    EXPECT_TRUE(logic->flags.AllFoldersCached);
    // The tree was built twice: once on the sample store, once more with the Maildir.
    EXPECT_EQ(log.events().count(QStringLiteral("message:show")), 2);
    EXPECT_EQ(rememberedNames(), QStringList{QStringLiteral("Mail")});
}

TEST(StoreChoice, AMaildirFolderNeedsCurNewAndTmp) {
    TempHome home;
    EXPECT_TRUE(maildirProblem(QString()).startsWith(QStringLiteral("No folder is chosen yet.")));
    const QString missing = home.file(QStringLiteral("none"));
    EXPECT_EQ(maildirProblem(missing), QStringLiteral("%1 does not exist.").arg(missing));
    QDir root(home.path());
    root.mkpath(QStringLiteral("M/cur"));
    const QString m = home.file(QStringLiteral("M"));
    EXPECT_EQ(maildirProblem(m),
              QStringLiteral("%1 is not a Maildir folder: it has no new/ and tmp/. Choose the "
                             "folder that holds cur/, new/ and tmp/ (often ~/Mail or ~/Maildir).")
                  .arg(m));
    root.mkpath(QStringLiteral("M/new"));
    EXPECT_TRUE(maildirProblem(m).contains(QStringLiteral("it has no tmp/.")));
    root.mkpath(QStringLiteral("M/tmp"));
    EXPECT_EQ(maildirProblem(m), QString());
    QFile file(home.file(QStringLiteral("f")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_TRUE(
        maildirProblem(file.fileName()).contains(QStringLiteral("is a file, not a folder")));

    EXPECT_EQ(maildirLocation(QStringLiteral(" /m "), QStringLiteral(" Work ")),
              QStringLiteral("maildir:/m#Work"));
    EXPECT_EQ(maildirLocation(QStringLiteral("/m"), QString()), QStringLiteral("maildir:/m"));
    EXPECT_EQ(storeFileLocation(QStringLiteral("/a b.tidystore")),
              QStringLiteral("local:/a b.tidystore"));
}

}  // namespace
}  // namespace tf::testing
