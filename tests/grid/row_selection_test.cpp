#include "grid/row_selection.h"

#include <gtest/gtest.h>

#include "tests/marking/marking_fixture.h"

namespace tf::testing {
namespace {

constexpr int kLeft = RowSelection::kLeftButton;
constexpr int kRight = 2;

// The sample store with twelve items in its Inbox (one unread), the Inbox ticked and Select By
// Row on.
class RowSelectionTest : public MarkingFixture {
  protected:
    void SetUp() override {
        auto s = sampleStore();
        s->addItems(s->folder(QStringLiteral("Inbox")), 8);
        load({s});
        tick("Inbox");
        ASSERT_EQ(rows(), 12);
        set(Control::chkSelectByRow, 1);
        ASSERT_EQ(value(Control::chkSelectByRow), 1);
    }
    void press(int row, int shift = 0) { logic.rows.grdItems_MouseUp(kLeft, shift, row); }
    // The selected rows, top to bottom.
    std::vector<int> selection() const {
        std::vector<int> picked;
        for (int r = 1; r < logic.grid.Rows(); ++r) {
            if (logic.grid.row(r).mark == '1') {
                picked.push_back(r);
            }
        }
        return picked;
    }
    static std::vector<int> range(int first, int last) {
        std::vector<int> rows;
        for (int r = first; r <= last; ++r) {
            rows.push_back(r);
        }
        return rows;
    }
};

TEST_F(RowSelectionTest, OnlyALeftClickOnADataRowWithSelectByRowOnChangesMarks) {
    const std::vector<int> before = selection();
    ASSERT_EQ(before.size(), 11u);              // the filters' marks: every read item
    logic.rows.grdItems_MouseUp(kLeft, 0, 0);   // the header row
    logic.rows.grdItems_MouseUp(kLeft, 0, 13);  // below the last row
    logic.rows.grdItems_MouseUp(kRight, 0, 3);
    EXPECT_EQ(selection(), before);

    set(Control::chkSelectByRow, 0);
    press(3);
    EXPECT_EQ(selection(), before);
    EXPECT_TRUE(logic.grid.Redraw());
}

TEST_F(RowSelectionTest, ShiftSelectsFromTheAnchorWhichStaysWhereItWas) {
    press(5);
    EXPECT_EQ(selection(), std::vector<int>{5});
    press(2, RowSelection::kShift);
    EXPECT_EQ(selection(), range(2, 5));
    press(8, RowSelection::kShift);
    EXPECT_EQ(selection(), range(5, 8));
    EXPECT_EQ(logic.rows.anchor(), 5);
    for (int r = 1; r <= rows(); ++r) {
        EXPECT_EQ(logic.grid.row(r).background,
                  r >= 5 && r <= 8 ? logic.colours.highlight : GridRow::kNoBackground)
            << r;
    }
}

TEST_F(RowSelectionTest, ShiftWithoutAnAnchorActsAsAPlainClick) {
    press(4, RowSelection::kShift);
    EXPECT_EQ(selection(), std::vector<int>{4});
    EXPECT_EQ(logic.rows.anchor(), 4);
}

TEST_F(RowSelectionTest, CtrlTogglesOneRowAndMovesTheAnchor) {
    press(3);
    press(6, RowSelection::kCtrl);
    EXPECT_EQ(selection(), (std::vector<int>{3, 6}));
    EXPECT_EQ(logic.grid.row(6).background, logic.colours.highlight);
    press(6, RowSelection::kCtrl);
    EXPECT_EQ(selection(), std::vector<int>{3});
    EXPECT_EQ(logic.grid.row(6).background, GridRow::kNoBackground);
    EXPECT_EQ(logic.rows.anchor(), 6);
    press(8, RowSelection::kShift);
    EXPECT_EQ(selection(), range(6, 8));
}

TEST_F(RowSelectionTest, TheCleanButtonCountsPickedRowsNotMarkedFolders) {
    press(2);
    EXPECT_TRUE(enabled(Control::cmdRun));
    press(2, RowSelection::kCtrl);
    EXPECT_TRUE(selection().empty());
    EXPECT_FALSE(enabled(Control::cmdRun));
    EXPECT_TRUE(enabled(Control::mnuUnmark));  // the Inbox is still marked
}

TEST_F(RowSelectionTest, SwitchingOnShowsEveryRowAndRulesOutTurboAndDeleteFolders) {
    set(Control::chkSelectByRow, 0);
    set(Control::chkShowUnselectedItems, 0);
    ASSERT_EQ(rows(), 11);
    set(Control::chkTurbo, 1);
    set(Control::chkSelectByRow, 1);
    EXPECT_EQ(value(Control::chkTurbo), 0);
    EXPECT_EQ(value(Control::chkDeleteFolders), 0);
    EXPECT_EQ(value(Control::chkShowUnselectedItems), 1);
    EXPECT_EQ(rows(), 12);
    for (const Control box : {Control::chkTurbo, Control::chkDeleteFolders,
                              Control::chkShowSelectedItems, Control::chkShowUnselectedItems}) {
        EXPECT_FALSE(enabled(box)) << box;
    }

    // Off again, the filters decide the marks once more; Turbo had let the unread item in.
    press(1);
    ASSERT_EQ(selection().size(), 1u);
    set(Control::chkSelectByRow, 0);
    EXPECT_EQ(selection().size(), 12u);
    EXPECT_TRUE(enabled(Control::chkTurbo));
}

TEST_F(RowSelectionTest, SwitchingOnWaitsUntilTheFolderIsLoadedAndSwitchingOffAsksNothing) {
    set(Control::chkSelectByRow, 0);
    record(QStringLiteral("Inbox")).Loaded = false;
    set(Control::chkSelectByRow, 1);
    EXPECT_EQ(value(Control::chkSelectByRow), 0);
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("Cannot use Select By Row until folder is completely "
                                         "loaded (appears black in the Folder Tree).")});
}

TEST_F(RowSelectionTest, DeletedItemsRowsNeedPermanentDelete) {
    click("Deleted Items");
    ASSERT_EQ(rows(), 2);
    press(1);
    EXPECT_TRUE(selection().empty());
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral(
                  "Cannot select \"Deleted Items\" items unless Permanent Delete is marked")});

    set(Control::chkPermanentDelete, 1);
    press(1);
    EXPECT_EQ(selection(), std::vector<int>{1});
}

TEST_F(RowSelectionTest, ARangeAcrossDeletedItemsTakesTheOtherRowsAndSaysSoOnce) {
    // A "Deleted Items" marked while the rules were bypassed: the grid guards its rows itself.
    mark(QStringLiteral("Deleted Items"));
    set(Control::chkShowAllFolders, 1);
    ASSERT_EQ(rows(), 14);
    // Dated so that the newest-first order puts the "Deleted Items" rows among the others.
    int day = 1;
    for (ItemData& item : record(QStringLiteral("Inbox")).ItemCache) {
        item.ItemDate = dateSerial(2020, 1, day);
        day += 2;
    }
    record(QStringLiteral("Deleted Items")).ItemCache[0].ItemDate = dateSerial(2020, 1, 6);
    record(QStringLiteral("Deleted Items")).ItemCache[1].ItemDate = dateSerial(2020, 1, 10);
    logic.gridLogic.Set_Grid_Order();
    const int deletedItems = node(QStringLiteral("Deleted Items"));
    ASSERT_NE(logic.grid.RowData(1), deletedItems);
    ASSERT_NE(logic.grid.RowData(rows()), deletedItems);
    press(1);
    press(rows(), RowSelection::kShift);
    for (int r = 1; r <= rows(); ++r) {
        EXPECT_EQ(logic.grid.row(r).mark, logic.grid.RowData(r) == deletedItems ? '0' : '1') << r;
    }
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("Cannot select items in \"Deleted Items\" folder unless "
                                         "Permanent delete is marked.")});
}

}  // namespace
}  // namespace tf::testing
