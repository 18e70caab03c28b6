#include "marking/folder_marking.h"

#include <gtest/gtest.h>

#include "tests/marking/marking_fixture.h"

namespace tf::testing {
namespace {

const QString kDefaultRefused =
    QStringLiteral("Cannot mark a default folder while \" Delete Folders\" is marked.");
const QString kRootRefused =
    QStringLiteral("Cannot select a root folder while \" Delete Folders\" is marked.");
const QString kDeletedItemsRefused =
    QStringLiteral("Cannot marked \"Deleted Items\" folder if Permanent Delete box is unchecked.");
const QString kParentRefused = QStringLiteral(
    "Cannot unmark a folder while its parent folder is marked and \"Delete "
    "Folders\" is also marked.");

class FolderMarkingTest : public MarkingFixture {
  protected:
    void SetUp() override { load(); }
    QStringList headers() const {
        QStringList words;
        for (int col = 2; col < logic.grid.Cols() - 1; ++col) {
            words << logic.grid.header(col);
        }
        return words;
    }
};

TEST_F(FolderMarkingTest, EachForbiddenTickIsPutBackWithItsOwnMessage) {
    tick("Deleted Items");
    EXPECT_FALSE(checked("Deleted Items"));

    set(Control::chkDeleteFolders, 1);  // nothing marked: no question, the options are forced
    ASSERT_EQ(value(Control::chkMarkSubFolders), 1);
    tick("Inbox");
    EXPECT_FALSE(checked("Inbox"));
    tick("Personal Folders");
    EXPECT_FALSE(checked("Personal Folders"));
    // A root folder marked before Delete Folders was ticked: unticking it is refused too, and it
    // ends unticked all the same.
    logic.tree.setChecked(node(QStringLiteral("Personal Folders")), true);
    tick("Personal Folders");
    EXPECT_FALSE(checked("Personal Folders"));

    tick("Projects");
    ASSERT_TRUE(checked("Alpha"));
    tick("Alpha");
    EXPECT_TRUE(checked("Alpha"));

    EXPECT_EQ(prompter.texts(), (QStringList{kDeletedItemsRefused, kDefaultRefused, kRootRefused,
                                             kRootRefused, kParentRefused}));
    for (const auto& box : prompter.shown()) {
        EXPECT_EQ(box.buttons, Prompter::OkOnly | Prompter::Critical);
        EXPECT_EQ(box.title, Prompter::kDefaultTitle);
    }
}

TEST_F(FolderMarkingTest, WithoutDeleteFoldersAChildMayBeUntickedUnderAMarkedParent) {
    set(Control::chkMarkSubFolders, 1);
    tick("Projects");
    tick("Alpha");
    EXPECT_FALSE(checked("Alpha"));
    // Unticking a parent leaves its branch as it is.
    tick("Projects");
    EXPECT_FALSE(checked("Projects"));
    EXPECT_TRUE(checked("Old"));
    EXPECT_TRUE(checked("Beta"));
    EXPECT_TRUE(prompter.texts().isEmpty());
}

TEST_F(FolderMarkingTest, ARefusedTickLeavesTheGridTheCurrentFolderAndTheButtonsAlone) {
    tick("Inbox");
    const int current = logic.flags.CurrentNodeIndex;
    ASSERT_EQ(current, node(QStringLiteral("Inbox")));
    ASSERT_EQ(rows(), 4);
    ASSERT_EQ(selectedRows(), 3);  // the unread one waits for its option
    ASSERT_TRUE(enabled(Control::cmdRun));

    tick("Deleted Items");
    EXPECT_EQ(logic.flags.CurrentNodeIndex, current);
    EXPECT_EQ(label(), QStringLiteral("Current Folder: Inbox"));
    EXPECT_EQ(rows(), 4);
    EXPECT_EQ(selectedRows(), 3);
    EXPECT_TRUE(enabled(Control::cmdRun));
    EXPECT_TRUE(checked("Inbox"));
}

TEST_F(FolderMarkingTest, TickingABranchMarksExpandsAndBoldsItAllAndShowsItsItems) {
    set(Control::chkMarkSubFolders, 1);
    set(Control::chkShowAllFolders, 1);
    tick("Projects");
    for (const char* folder : {"Projects", "Alpha", "Old", "Beta"}) {
        EXPECT_TRUE(checked(folder)) << folder;
        EXPECT_TRUE(bold(folder)) << folder;
    }
    EXPECT_TRUE(logic.tree.node(node(QStringLiteral("Projects"))).Expanded);
    EXPECT_EQ(label(), QStringLiteral("Current Folder: Projects"));
    EXPECT_EQ(rows(), 1 + 5 + 2 + 3);
    EXPECT_EQ(selectedRows(), rows());
    EXPECT_TRUE(enabled(Control::cmdRun));
    EXPECT_TRUE(enabled(Control::mnuUnmark));
}

TEST_F(FolderMarkingTest, TickingAStoreLeavesItsDeletedItemsOutUnlessPermanentDeleteIsOn) {
    set(Control::chkMarkSubFolders, 1);
    tick("Personal Folders");
    for (int n = 1; n <= logic.tree.count(); ++n) {
        EXPECT_EQ(logic.tree.node(n).Checked, n != node(QStringLiteral("Deleted Items")))
            << logic.tree.node(n).Text.toStdString();
    }
    EXPECT_EQ(prompter.texts(), QStringList{kDeletedItemsRefused});

    tick("Personal Folders");
    logic.marking.mnuUnmark_Click();
    set(Control::chkPermanentDelete, 1);
    tick("Personal Folders");
    EXPECT_TRUE(checked("Deleted Items"));
    EXPECT_EQ(prompter.texts().size(), 1);
}

TEST_F(FolderMarkingTest, UnmarkEmptiesTheListWhateverShowAllFoldersSays) {
    set(Control::chkShowAllFolders, 1);
    tick("Inbox");
    tick("Beta");
    ASSERT_EQ(rows(), 4 + 3);
    logic.marking.mnuUnmark_Click();
    EXPECT_EQ(rows(), 0);
    EXPECT_EQ(logic.marking.Count_Selected_Nodes(), 0);
    EXPECT_FALSE(enabled(Control::cmdRun));

    set(Control::chkShowAllFolders, 0);
    click("Alpha");
    ASSERT_EQ(rows(), 5);
    logic.marking.mnuUnmark_Click();
    EXPECT_EQ(rows(), 0);
}

TEST_F(FolderMarkingTest, DeletedItemsRulesHoldAfterItsRecordIsReset) {
    // Refresh Current on the store and on Deleted Items resets their records, index included.
    for (const char* folder : {"Personal Folders", "Deleted Items"}) {
        logic.tree.select(node(QLatin1String(folder)));
        logic.mnuRefreshCurrent_Click();
    }
    ASSERT_EQ(record(QStringLiteral("Deleted Items")).DeletedItemsIndex, 0);
    ASSERT_EQ(logic.records[1].DeletedItemsIndex, 0);

    tick("Deleted Items");
    EXPECT_FALSE(checked("Deleted Items"));
    EXPECT_EQ(prompter.texts(), QStringList{kDeletedItemsRefused});

    // Marking a branch still leaves Deleted Items out while Permanent Delete is off.
    set(Control::chkMarkSubFolders, 1);
    tick("Personal Folders");
    EXPECT_FALSE(checked("Deleted Items"));
    EXPECT_TRUE(checked("Inbox"));

    tick("Personal Folders");
    logic.marking.mnuUnmark_Click();
    set(Control::chkPermanentDelete, 1);
    tick("Deleted Items");
    EXPECT_TRUE(checked("Deleted Items"));
    // Permanent Delete cannot be taken away while Deleted Items is marked.
    set(Control::chkPermanentDelete, 0);
    EXPECT_EQ(value(Control::chkPermanentDelete), 1);
}

class TwoStoreMarkingTest : public MarkingFixture {
  protected:
    void SetUp() override {
        load({sampleStore(), sampleStore(QStringLiteral("Archive"), QStringLiteral("A"))});
    }
};

TEST_F(TwoStoreMarkingTest, TheVirtualRootIsNeverRefusedButDeleteFoldersTakesNothingBelowIt) {
    const int root = logic.tree.find(FolderTreeBuilder::kRootKey);
    set(Control::chkDeleteFolders, 1);
    tick(root);
    EXPECT_TRUE(logic.tree.node(root).Checked);
    EXPECT_EQ(logic.marking.Count_Selected_Nodes(), 1);
    EXPECT_TRUE(prompter.texts().isEmpty());

    // Without Delete Folders the whole tree is marked, but for both stores' Deleted Items.
    tick(root);
    set(Control::chkDeleteFolders, 0);
    set(Control::chkPermanentDelete, 0);
    tick(root);
    EXPECT_EQ(logic.marking.Count_Selected_Nodes(), logic.tree.count() - 2);
    EXPECT_EQ(prompter.texts(), QStringList{kDeletedItemsRefused});
}

TEST_F(FolderMarkingTest, TheClickedFolderBecomesCurrentWithTheColumnsOfItsType) {
    click("Journal");
    EXPECT_EQ(logic.flags.CurrentNodeIndex, node(QStringLiteral("Journal")));
    EXPECT_EQ(label(), QStringLiteral("Current Folder: Journal"));
    EXPECT_EQ(headers(), (QStringList{QStringLiteral("Type"), QStringLiteral("Subject"),
                                      QStringLiteral("Entry"), QStringLiteral("Date")}));
    EXPECT_EQ(rows(), 1);
    EXPECT_EQ(selectedRows(), 0);  // shown, not marked
    EXPECT_FALSE(enabled(Control::cmdRun));

    click("Inbox");
    EXPECT_EQ(headers(), (QStringList{QStringLiteral("Type"), QStringLiteral("Sender"),
                                      QStringLiteral("Subject"), QStringLiteral("Date")}));
    EXPECT_EQ(rows(), 4);

    // Ticking the folder already shown marks its rows in place.
    tick("Inbox");
    EXPECT_EQ(selectedRows(), 3);
    EXPECT_TRUE(enabled(Control::cmdRun));
    tick("Inbox");
    EXPECT_EQ(selectedRows(), 0);
    EXPECT_FALSE(enabled(Control::cmdRun));
}

TEST_F(FolderMarkingTest, ColumnsFollowTheFolderTypeChosenWhileAllFoldersShowed) {
    set(Control::chkShowAllFolders, 1);
    click("Journal");
    EXPECT_EQ(headers().first(), QStringLiteral("Folder"));
    set(Control::chkShowAllFolders, 0);
    EXPECT_EQ(headers(), (QStringList{QStringLiteral("Type"), QStringLiteral("Subject"),
                                      QStringLiteral("Entry"), QStringLiteral("Date")}));
}

TEST_F(FolderMarkingTest, SelectByRowOnOneFolderUnmarksTheFolderLeftBehind) {
    tick("Inbox");
    tick("Beta");
    EXPECT_TRUE(checked("Inbox"));  // without select-by-row, marks add up

    set(Control::chkSelectByRow, 1);
    tick("Alpha");
    EXPECT_FALSE(checked("Beta"));
    EXPECT_FALSE(bold("Beta"));
    EXPECT_TRUE(checked("Alpha"));
    EXPECT_TRUE(checked("Inbox"));  // only the folder just left is let go

    // With every marked folder shown the rows of all of them are in view: nothing is let go.
    set(Control::chkShowAllFolders, 1);
    tick("Old");
    EXPECT_TRUE(checked("Alpha"));
    EXPECT_TRUE(checked("Old"));
}

TEST_F(FolderMarkingTest, OnlyARecordedClickOrTickIsDecidedOnAndAKeyDecidesLikeTheMouse) {
    const int inbox = node(QStringLiteral("Inbox"));
    const int beta = node(QStringLiteral("Beta"));
    logic.tree.select(beta);  // the keyboard moved the selection; no click was recorded
    logic.marking.trvFolders_MouseUp();
    EXPECT_EQ(logic.flags.CurrentNodeIndex, inbox);
    EXPECT_FALSE(logic.marking.Check_Node_Click(beta));

    // The space bar ticks the node; its key-up decides as a mouse-up does.
    logic.marking.trvFolder_NodeCheck(beta, true);
    logic.marking.trvFolders_KeyUp();
    EXPECT_TRUE(checked("Beta"));
    EXPECT_TRUE(bold("Beta"));
    EXPECT_EQ(logic.flags.CurrentNodeIndex, beta);
    EXPECT_EQ(rows(), 3);
    EXPECT_TRUE(logic.grid.Redraw());
}

TEST_F(FolderMarkingTest, ExpandingAndCollapsingRecountTheCaption) {
    const int projects = node(QStringLiteral("Projects"));
    EXPECT_EQ(logic.tree.node(projects).Text, QStringLiteral("Projects - (11)"));
    logic.marking.trvFolders_Expand(projects);
    EXPECT_EQ(logic.tree.node(projects).Text, QStringLiteral("Projects - (1)"));
    logic.marking.trvFolders_Collapse(projects);
    EXPECT_EQ(logic.tree.node(projects).Text, QStringLiteral("Projects - (11)"));
}

TEST_F(FolderMarkingTest, RootFoldersAreTheTopLevelOrTheStoresUnderTheVirtualRoot) {
    EXPECT_FALSE(logic.marking.TopLevelIsRoot());
    EXPECT_TRUE(logic.marking.Check_Root_Node(node(QStringLiteral("Personal Folders"))));
    EXPECT_FALSE(logic.marking.Check_Root_Node(node(QStringLiteral("Inbox"))));
}

TEST_F(TwoStoreMarkingTest, UnderTheVirtualRootTheStoresAreRootFoldersToo) {
    EXPECT_TRUE(logic.marking.TopLevelIsRoot());
    EXPECT_TRUE(logic.marking.Check_Root_Node(logic.tree.find(FolderTreeBuilder::kRootKey)));
    EXPECT_TRUE(logic.marking.Check_Root_Node(node(QStringLiteral("Archive"))));
    EXPECT_FALSE(logic.marking.Check_Root_Node(node(QStringLiteral("Inbox"))));
}

TEST_F(FolderMarkingTest, AnUnmarkedChildCountsOnlyUnderAMarkedParentAtAnyDepth) {
    FolderMarking& m = logic.marking;
    EXPECT_FALSE(m.Check_For_Unmarked_Child(1));  // nothing marked
    mark(QStringLiteral("Alpha"));
    EXPECT_TRUE(m.Check_For_Unmarked_Child(1));  // Old, two levels down
    mark(QStringLiteral("Old"));
    EXPECT_FALSE(m.Check_For_Unmarked_Child(1));
    mark(QStringLiteral("Projects"));
    EXPECT_TRUE(m.Check_For_Unmarked_Child(1));  // Beta
    mark(QStringLiteral("Beta"));
    EXPECT_FALSE(m.Check_For_Unmarked_Child(1));
    EXPECT_FALSE(m.Check_For_Unmarked_Child(node(QStringLiteral("Beta"))));  // no children
}

TEST_F(FolderMarkingTest, CountingLoadedFoldersAndDeselectingAllButOne) {
    FolderMarking& m = logic.marking;
    for (const char* folder : {"Inbox", "Alpha", "Beta"}) {
        mark(QLatin1String(folder));
    }
    EXPECT_EQ(m.Count_Selected_Nodes(), 3);
    EXPECT_TRUE(m.Check_Selected_Folders());
    record(QStringLiteral("Tasks")).Loaded = false;  // not marked: does not count
    EXPECT_TRUE(m.Check_Selected_Folders());
    record(QStringLiteral("Beta")).Loaded = false;
    EXPECT_FALSE(m.Check_Selected_Folders());

    logic.tree.setBold(node(QStringLiteral("Inbox")), true);
    m.Deselect_Folder_Nodes(node(QStringLiteral("Alpha")));
    EXPECT_EQ(m.Count_Selected_Nodes(), 1);
    EXPECT_TRUE(checked("Alpha"));
    EXPECT_FALSE(bold("Inbox"));
}

TEST_F(FolderMarkingTest, UnmarkClearsEveryMarkAndLeavesNothingToClean) {
    set(Control::chkMarkSubFolders, 1);
    tick("Projects");
    tick("Inbox");
    ASSERT_TRUE(enabled(Control::mnuUnmark));
    logic.tree.setExpanded(1, false);

    logic.marking.mnuUnmark_Click();
    EXPECT_EQ(logic.marking.Count_Selected_Nodes(), 0);
    EXPECT_FALSE(bold("Alpha"));
    EXPECT_TRUE(logic.tree.node(1).Expanded);  // the store stays open
    EXPECT_EQ(rows(), 0);                      // the list is empty until a folder is picked again
    EXPECT_EQ(selectedRows(), 0);
    EXPECT_FALSE(enabled(Control::cmdRun));
    EXPECT_FALSE(enabled(Control::mnuUnmark));
    EXPECT_TRUE(logic.grid.Redraw());
}

}  // namespace
}  // namespace tf::testing
