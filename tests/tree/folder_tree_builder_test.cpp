#include "tree/folder_tree_builder.h"

#include "tests/tree/tree_fixture.h"

namespace tf::testing {
namespace {

// Personal Folders: the ten default folders, Inbox with 12 items, Inbox/Projects with 3,
// Inbox/Projects/Apollo with 2, a user folder Archive/Old Mail/Inbox with 4, Deleted Items with 5.
std::shared_ptr<MemoryStore> personalFolders(const QString& storeID = QStringLiteral("S1")) {
    auto store = MemoryStore::withDefaultFolders(QStringLiteral("Personal Folders"), storeID);
    const auto inbox = store->folder(QStringLiteral("Inbox"));
    store->addItems(inbox, 12);
    const auto projects = store->addFolder(inbox, QStringLiteral("Projects"));
    store->addItems(projects, 3);
    store->addItems(store->addFolder(projects, QStringLiteral("Apollo")), 2);
    const auto archive = store->addFolder(store->top(), QStringLiteral("Archive"));
    const auto old = store->addFolder(archive, QStringLiteral("Old Mail"));
    store->addItems(store->addFolder(old, QStringLiteral("Inbox")), 4);
    store->addItems(store->folder(QStringLiteral("Deleted Items")), 5);
    return store;
}

using FolderTreeBuild = TreeFixture;

TEST_F(FolderTreeBuild, OneStoreMakesItsTopFolderTheRoot) {
    auto store = personalFolders();
    open({store});

    ASSERT_EQ(tree.count(), 16);  // root, ten defaults, Projects, Apollo, Archive, Old Mail, Inbox
    EXPECT_FALSE(builder.severalStores());
    const TreeNode& root = tree.node(1);
    EXPECT_EQ(root.Key, QStringLiteral("OUTLOOK"));
    EXPECT_EQ(root.Tag, QStringLiteral("1"));
    EXPECT_EQ(root.Text, QStringLiteral("Personal Folders - (26)"));
    EXPECT_EQ(records[1].Folder->Name(), QStringLiteral("Personal Folders"));
    // The top folder itself holds nothing, so there is nothing to load for the root.
    EXPECT_TRUE(records[1].Loaded);
    EXPECT_EQ(root.ForeColor, colours.loaded);

    // One record per node, each node's Tag naming its own index.
    EXPECT_EQ(records.upperBoundIndex(), tree.count());
    for (int i = 2; i <= tree.count(); ++i) {
        EXPECT_EQ(tree.node(i).Tag, QString::number(i));
        const outlook::FolderPtr folder = records[i].Folder;
        ASSERT_TRUE(folder);
        EXPECT_EQ(tree.node(i).Key, QStringLiteral("-:::-") + folder->EntryID() +
                                        QStringLiteral("-:::-") + folder->StoreID());
        EXPECT_FALSE(records[i].Loaded);
        EXPECT_EQ(tree.node(i).ForeColor, colours.unloaded);
    }

    // Collapsed and unmarked: a node counts its own items and everything beneath.
    EXPECT_EQ(caption(QStringLiteral("Inbox")), QStringLiteral("Inbox - (17)"));
    EXPECT_EQ(caption(QStringLiteral("Projects")), QStringLiteral("Projects - (5)"));
    EXPECT_EQ(caption(QStringLiteral("Calendar")), QStringLiteral("Calendar - (0)"));
    EXPECT_EQ(caption(QStringLiteral("Deleted Items")), QStringLiteral("Deleted Items - (5)"));
}

TEST_F(FolderTreeBuild, TheRootKeepsTheStoreOrderAndSubFoldersAreSortedByCaption) {
    auto store = personalFolders();
    const auto inbox = store->folder(QStringLiteral("Inbox"));
    store->addFolder(inbox, QStringLiteral("Bills"));
    store->addFolder(inbox, QStringLiteral("apples"));
    open({store});

    QStringList topLevel;
    for (int n = tree.Child(1); n != 0; n = tree.Next(n)) {
        topLevel << tree.node(n).Text.section(QStringLiteral(" - ("), 0, 0);
    }
    EXPECT_EQ(topLevel.first(), QStringLiteral("Calendar"));
    EXPECT_EQ(topLevel.last(), QStringLiteral("Archive"));

    QStringList underInbox;
    for (int n = tree.Child(nodeNamed(QStringLiteral("Inbox"))); n != 0; n = tree.Next(n)) {
        underInbox << tree.node(n).Text.section(QStringLiteral(" - ("), 0, 0);
    }
    EXPECT_EQ(underInbox, (QStringList{QStringLiteral("apples"), QStringLiteral("Bills"),
                                       QStringLiteral("Projects")}));
}

TEST_F(FolderTreeBuild, SeveralStoresHangUnderAVirtualRoot) {
    auto personal = personalFolders(QStringLiteral("S1"));
    auto archive =
        MemoryStore::withDefaultFolders(QStringLiteral("Archive Folders"), QStringLiteral("S2"));
    archive->addItems(archive->folder(QStringLiteral("Inbox")), 7);
    open({personal, archive});

    EXPECT_TRUE(builder.severalStores());
    EXPECT_EQ(tree.node(1).Text, QStringLiteral("Outlook - (33)"));
    EXPECT_FALSE(records[1].Folder);
    EXPECT_TRUE(records[1].Loaded);

    const int first = tree.Child(1);
    const int second = tree.Next(first);
    EXPECT_EQ(tree.node(first).Text, QStringLiteral("Personal Folders - (26)"));
    EXPECT_EQ(tree.node(second).Text, QStringLiteral("Archive Folders - (7)"));
    EXPECT_EQ(tree.Next(second), 0);
    EXPECT_EQ(tree.Children(second), 10);
}

TEST_F(FolderTreeBuild, TheSameEntryIDInTwoStoresGivesTwoKeys) {
    auto a = MemoryStore::create(QStringLiteral("A"), QStringLiteral("STORE-A"));
    auto b = MemoryStore::create(QStringLiteral("B"), QStringLiteral("STORE-B"));
    a->addFolder(a->top(), QStringLiteral("Inbox"))->entryID = QStringLiteral("0001");
    b->addFolder(b->top(), QStringLiteral("Inbox"))->entryID = QStringLiteral("0001");
    open({a, b});

    ASSERT_EQ(tree.count(), 5);
    EXPECT_NE(tree.find(QStringLiteral("-:::-0001-:::-STORE-A")), 0);
    EXPECT_NE(tree.find(QStringLiteral("-:::-0001-:::-STORE-B")), 0);
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(FolderTreeBuild, AFolderWhoseIdentifiersCannotBeReadIsStillAdded) {
    auto store = personalFolders();
    store->breakIdentifiers(store->folder(QStringLiteral("Inbox/Projects")));
    open({store});

    const int projects = nodeNamed(QStringLiteral("Projects"));
    ASSERT_NE(projects, 0);
    EXPECT_EQ(tree.node(projects).Key, QStringLiteral("-:::--:::-"));
    EXPECT_NE(nodeNamed(QStringLiteral("Apollo")), 0);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_FALSE(errors.current.isSet());
}

TEST_F(FolderTreeBuild, TellsTheUserWhileItWorksAndLeavesTheTreeHidden) {
    open({personalFolders()});
    EXPECT_EQ(messageWindow.text(), QStringLiteral("Building Folder Tree.\r\n\r\nPlease wait ..."));
    EXPECT_EQ(log.events(), QStringList{QStringLiteral("message:show")});
    EXPECT_EQ(yield.count(), 1);
    EXPECT_FALSE(tree.visible());
    EXPECT_EQ(errors.stack.count(), 0);
}

TEST_F(FolderTreeBuild, RebuildingStartsFromScratch) {
    auto store = personalFolders();
    open({store});
    records[3].CachedCount = 9;
    tree.setChecked(3, true);
    store->addFolder(store->top(), QStringLiteral("New"));
    builder.Build_Folder_Tree();

    EXPECT_EQ(tree.count(), 17);
    EXPECT_EQ(records.upperBoundIndex(), 17);
    EXPECT_EQ(records[3].CachedCount, 0);
    EXPECT_FALSE(tree.node(3).Checked);
}

TEST_F(FolderTreeBuild, AFailureIsReportedWithTheStepItHappenedIn) {
    builder.Build_Folder_Tree();  // no session

    ASSERT_EQ(prompter.shown().size(), 2u);
    const QString report = prompter.shown()[0].text;
    EXPECT_TRUE(report.contains(QStringLiteral("Trap:      \t\tBuild_Folder_Tree\r\n")));
    EXPECT_TRUE(report.contains(
        QStringLiteral("Location:  \tBuild_Folder_Tree - Get Namespace Folders\r\n")));
    EXPECT_EQ(prompter.shown()[1].text,
              QStringLiteral("\r\nBuild_Folder_Tree\r\nBuild_Folder_Tree - Get Namespace Folders"));
    EXPECT_EQ(errors.stack.count(), 0);
}

TEST_F(FolderTreeBuild, CaptionsFollowMarksAndExpansion) {
    open({personalFolders()});
    const int inbox = nodeNamed(QStringLiteral("Inbox"));
    const int projects = nodeNamed(QStringLiteral("Projects"));

    tree.setChecked(projects, true);
    builder.Set_Node_Text(projects);
    builder.Set_Node_Text(inbox);
    builder.Set_Node_Text(1);
    // A checked node counts the marked items beneath it, itself included.
    EXPECT_EQ(tree.node(projects).Text, QStringLiteral("Projects - (3)"));
    EXPECT_TRUE(tree.node(projects).Bold);
    // An unmarked, collapsed node probes only its own mark, so it keeps counting everything
    // beneath it and stays plain.
    EXPECT_EQ(tree.node(inbox).Text, QStringLiteral("Inbox - (17)"));
    EXPECT_FALSE(tree.node(inbox).Bold);
    EXPECT_EQ(tree.node(1).Text, QStringLiteral("Personal Folders - (26)"));
    EXPECT_FALSE(tree.node(1).Bold);

    // Expanded, a node counts its own items only.
    tree.setExpanded(inbox, true);
    builder.Set_Node_Text(inbox);
    EXPECT_EQ(tree.node(inbox).Text, QStringLiteral("Inbox - (12)"));
    EXPECT_FALSE(tree.node(inbox).Bold);

    tree.setChecked(projects, false);
    builder.Set_Node_Text(projects);
    EXPECT_EQ(tree.node(projects).Text, QStringLiteral("Projects - (5)"));
    EXPECT_FALSE(tree.node(projects).Bold);
}

TEST_F(FolderTreeBuild, ItemCountsAddUpOverTheSubtree) {
    open({personalFolders()});
    const int inbox = nodeNamed(QStringLiteral("Inbox"));
    const int apollo = nodeNamed(QStringLiteral("Apollo"));
    EXPECT_EQ(builder.Get_Folder_Item_Count(0, false, true), 0);
    EXPECT_EQ(builder.Get_Folder_Item_Count(inbox, false, false), 12);
    EXPECT_EQ(builder.Get_Folder_Item_Count(inbox, false, true), 17);
    EXPECT_EQ(builder.Get_Folder_Item_Count(inbox, true, true), 0);
    tree.setChecked(apollo, true);
    tree.setChecked(inbox, true);
    EXPECT_EQ(builder.Get_Folder_Item_Count(inbox, true, true), 14);
    EXPECT_EQ(builder.Get_Folder_Item_Count(1, true, true), 14);
}

TEST_F(FolderTreeBuild, StartsAtTheStoresOwnInbox) {
    open({personalFolders()});
    builder.Set_Start_Folder();

    const int selected = tree.selected();
    ASSERT_NE(selected, 0);
    EXPECT_EQ(tree.Parent(selected), 1);  // not Archive/Old Mail/Inbox
    EXPECT_TRUE(tree.node(selected).Text.startsWith(QStringLiteral("Inbox - (")));
    EXPECT_EQ(controls[Control::lblCurrentFolder].caption, QStringLiteral("Current Folder: Inbox"));
    // The root was expanded to show the Inbox, so it now counts its own items only.
    EXPECT_TRUE(tree.node(1).Expanded);
    EXPECT_EQ(tree.node(1).Text, QStringLiteral("Personal Folders - (0)"));
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(FolderTreeBuild, WithSeveralStoresTheFirstStoresInboxIsTheStart) {
    auto second = MemoryStore::withDefaultFolders(QStringLiteral("B"), QStringLiteral("S2"));
    open({personalFolders(), second});
    builder.Set_Start_Folder();
    const int selected = tree.selected();
    ASSERT_NE(selected, 0);
    const int store = tree.Parent(selected);
    EXPECT_EQ(tree.Parent(store), 1);
    EXPECT_EQ(records[store].Folder->StoreID(), QStringLiteral("S1"));
}

TEST_F(FolderTreeBuild, ANotFoundStartFolderIsSaidAndLeavesNothingSelected) {
    auto store = personalFolders();
    store->breakDefaultFolders();
    open({store});
    builder.Set_Start_Folder();

    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("Error assigning startup folder")});
    EXPECT_EQ(tree.selected(), 0);
    EXPECT_FALSE(errors.current.isSet());
}

TEST(DefaultFolders, AreRecognisedByExactNameOnly) {
    auto store = MemoryStore::withDefaultFolders(QStringLiteral("P"), QStringLiteral("S"));
    for (long i = 1; i <= store->TopFolder()->Folders()->Count(); ++i) {
        const outlook::FolderPtr folder = store->TopFolder()->Folders()->Item(i);
        EXPECT_TRUE(FolderTreeBuilder::Check_Default_Folder(folder))
            << folder->Name().toStdString();
    }
    const auto user = store->addFolder(store->top(), QStringLiteral("Projects"));
    const auto deepInbox = store->addFolder(user, QStringLiteral("Inbox"));
    const auto lower = store->addFolder(user, QStringLiteral("inbox"));
    const auto spaced = store->addFolder(user, QStringLiteral("Tasks "));
    const auto foreign = store->addFolder(user, QStringLiteral("Posteingang"));
    EXPECT_TRUE(FolderTreeBuilder::Check_Default_Folder(store->wrap(deepInbox)));
    EXPECT_FALSE(FolderTreeBuilder::Check_Default_Folder(store->wrap(user)));
    EXPECT_FALSE(FolderTreeBuilder::Check_Default_Folder(store->wrap(lower)));
    EXPECT_FALSE(FolderTreeBuilder::Check_Default_Folder(store->wrap(spaced)));
    EXPECT_FALSE(FolderTreeBuilder::Check_Default_Folder(store->wrap(foreign)));
    EXPECT_FALSE(FolderTreeBuilder::Check_Default_Folder(nullptr));
}

}  // namespace
}  // namespace tf::testing
