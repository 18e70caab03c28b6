#include "marking/processing_options.h"

#include <gtest/gtest.h>

#include "tests/marking/marking_fixture.h"
#include "window/option_rules.h"

namespace tf::testing {
namespace {

const QString kOneMarked =
    QStringLiteral("There is currently 1 marked folder that will be deleted.  Unmark it?");
const QString kDefaultSelected =
    QStringLiteral("Cannot mark \"Delete Folders\" while default folders are selected.");
const QString kUnmarkedChild = QStringLiteral(
    "Cannot mark \"Delete Folders\" while there is any unmarked child folder of a marked parent "
    "folder.");
const QString kDeletedItemsSelected =
    QStringLiteral("Cannot unckeck Permanent Delete box while \"Deleted Items\" is selected.");

class ProcessingOptionsTest : public MarkingFixture {
  protected:
    void SetUp() override { load(); }

    template <typename Forces>
    void expectForced(const Forces& forces) {
        for (const ForcedValue& f : forces) {
            EXPECT_EQ(value(f.box), f.value) << f.box;
            EXPECT_FALSE(enabled(f.box)) << f.box << " stays the user's to change";
        }
    }
};

TEST_F(ProcessingOptionsTest, DeleteFoldersWithADefaultFolderMarkedIsRefusedAndChangesNothingElse) {
    tick("Inbox");
    const auto before = optionValues();
    prompter.answer(Prompter::No);
    set(Control::chkDeleteFolders, 1);

    EXPECT_EQ(prompter.texts(), (QStringList{kOneMarked, kDefaultSelected}));
    EXPECT_EQ(prompter.shown()[0].buttons, Prompter::YesNo);
    EXPECT_EQ(prompter.shown()[1].buttons, Prompter::OkOnly | Prompter::Critical);
    EXPECT_EQ(optionValues(), before);
    EXPECT_TRUE(checked("Inbox"));
    EXPECT_TRUE(enabled(Control::chkTurbo));
}

TEST_F(ProcessingOptionsTest, AMarkedRootFolderRefusesDeleteFoldersLikeADefaultOne) {
    logic.tree.setChecked(node(QStringLiteral("Personal Folders")), true);
    prompter.answer(Prompter::No);
    set(Control::chkDeleteFolders, 1);
    EXPECT_EQ(prompter.texts().last(), kDefaultSelected);
    EXPECT_EQ(value(Control::chkDeleteFolders), 0);
}

TEST_F(ProcessingOptionsTest, AnsweringYesUnmarksEveryFolderAndThenForcesTheOptions) {
    tick("Inbox");
    tick("Beta");
    set(Control::chkSelectDate, 1);
    set(Control::chkSelectType, 1);
    set(Control::chkConfirmItems, 1);
    prompter.answer(Prompter::Yes);
    set(Control::chkDeleteFolders, 1);

    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("There are currently 2 marked folders that will be "
                                         "deleted.  Unmark them?")});
    EXPECT_EQ(logic.marking.Count_Selected_Nodes(), 0);
    EXPECT_EQ(value(Control::chkDeleteFolders), 1);
    expectForced(kDeleteFoldersForces);
    // The forced values went through their own handlers: the filters' controls are off too.
    EXPECT_FALSE(enabled(Control::dtpCutoffDate));
    EXPECT_FALSE(enabled(Control::chkType43));
    EXPECT_TRUE(enabled(Control::chkConfirmFolders));

    set(Control::chkDeleteFolders, 0);
    EXPECT_TRUE(enabled(Control::chkTurbo));
    EXPECT_TRUE(enabled(Control::chkSelectDate));
    EXPECT_EQ(value(Control::chkPermanentDelete), 1);  // what was forced is not taken back
}

TEST_F(ProcessingOptionsTest, DeleteFoldersNeedsEverySubFolderOfAMarkedFolderMarked) {
    tick("Projects");
    prompter.answer(Prompter::No);
    set(Control::chkDeleteFolders, 1);
    EXPECT_EQ(prompter.texts(), (QStringList{kOneMarked, kUnmarkedChild}));
    EXPECT_EQ(value(Control::chkDeleteFolders), 0);

    set(Control::chkMarkSubFolders, 1);
    tick("Projects");
    tick("Projects");
    ASSERT_TRUE(checked("Old"));
    prompter.forget();
    prompter.answer(Prompter::No);
    set(Control::chkDeleteFolders, 1);
    EXPECT_EQ(value(Control::chkDeleteFolders), 1);
    EXPECT_EQ(logic.marking.Count_Selected_Nodes(), 4);
    EXPECT_EQ(prompter.texts().size(), 1);  // the question only
}

TEST_F(ProcessingOptionsTest, PermanentDeleteStaysOnWhileDeletedItemsIsMarked) {
    set(Control::chkPermanentDelete, 1);
    tick("Deleted Items");
    ASSERT_TRUE(checked("Deleted Items"));
    set(Control::chkPermanentDelete, 0);
    EXPECT_EQ(prompter.texts(), QStringList{kDeletedItemsSelected});
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);
    EXPECT_EQ(value(Control::chkPermanentDelete), 1);

    // Reset Options cannot take it away either.
    logic.processing.mnuResetOptions_Click();
    EXPECT_EQ(value(Control::chkPermanentDelete), 1);
    EXPECT_TRUE(logic.grid.Redraw());
}

TEST_F(ProcessingOptionsTest, UntickingPermanentDeleteLetsGoOfRowsPickedInDeletedItems) {
    set(Control::chkPermanentDelete, 1);
    click("Deleted Items");  // shown, not marked
    set(Control::chkSelectByRow, 1);
    logic.rows.grdItems_MouseUp(1, 0, 1);
    logic.rows.grdItems_MouseUp(1, RowSelection::kShift, 2);
    ASSERT_EQ(selectedRows(), 2);
    ASSERT_TRUE(enabled(Control::cmdRun));

    set(Control::chkPermanentDelete, 0);
    EXPECT_EQ(value(Control::chkPermanentDelete), 0);
    EXPECT_EQ(selectedRows(), 0);
    for (int r = 1; r <= rows(); ++r) {
        EXPECT_EQ(logic.grid.row(r).background, GridRow::kNoBackground);
    }
    EXPECT_FALSE(enabled(Control::cmdRun));
}

TEST_F(ProcessingOptionsTest, TurboMeansAPermanentUnconfirmedUnfilteredRun) {
    set(Control::chkSelectDate, 1);
    set(Control::chkSelectSubject, 1);
    set(Control::chkConfirmItems, 1);
    set(Control::chkDeleteFolders, 1);
    set(Control::chkTurbo, 1);
    EXPECT_EQ(value(Control::chkDeleteFolders), 0);
    EXPECT_EQ(value(Control::chkPermanentDelete), 1);
    expectForced(kTurboForces);
    EXPECT_FALSE(enabled(Control::txtSelectSubject));
    EXPECT_TRUE(enabled(Control::chkConfirmFolders));
    EXPECT_TRUE(enabled(Control::chkShowAllFolders));

    set(Control::chkTurbo, 0);
    for (const ForcedValue& f : kTurboForces) {
        EXPECT_TRUE(enabled(f.box)) << f.box;
    }
}

TEST_F(ProcessingOptionsTest, CollapseFoldersOpensTheMarkedFoldersThatHoldItems) {
    const int alpha = node(QStringLiteral("Alpha"));
    const int beta = node(QStringLiteral("Beta"));
    mark(QStringLiteral("Alpha"));
    ASSERT_FALSE(logic.tree.node(alpha).Expanded);
    set(Control::chkCollapseFolders, 1);
    EXPECT_TRUE(logic.tree.node(alpha).Expanded);
    EXPECT_EQ(logic.tree.node(alpha).Text, QStringLiteral("Alpha - (5)"));
    EXPECT_FALSE(logic.tree.node(beta).Expanded);  // not marked
    EXPECT_FALSE(logic.tree.node(node(QStringLiteral("Projects"))).Expanded);

    set(Control::chkCollapseFolders, 0);
    EXPECT_TRUE(logic.tree.node(alpha).Expanded);
}

TEST_F(ProcessingOptionsTest, ResetOptionsPutsEveryBoxBackToItsDefault) {
    set(Control::chkShowAllFolders, 1);
    set(Control::chkConfirmFolders, 0);
    set(Control::chkMarkSubFolders, 1);
    set(Control::chkTurbo, 1);
    set(Control::chkSelectType, 1);  // disabled under Turbo, but the code may still set it
    set(Control::chkType44, 0);

    logic.processing.mnuResetOptions_Click();
    for (const OptionDefault& option : defaultOptions()) {
        EXPECT_EQ(value(option.box), option.value) << option.box;
    }
    EXPECT_TRUE(enabled(Control::chkSelectUnread));
    EXPECT_FALSE(enabled(Control::chkType43));
    EXPECT_TRUE(logic.grid.Redraw());
    EXPECT_TRUE(prompter.texts().isEmpty());
}

}  // namespace
}  // namespace tf::testing
