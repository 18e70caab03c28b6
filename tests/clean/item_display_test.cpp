// Opening a grid row's item in the item window, by double click or Enter.
#include "outlook/item_window.h"
#include "tests/clean/clean_fixture.h"

namespace tf::testing {
namespace {

class RecordingItemWindow : public outlook::ItemWindow {
  public:
    void show(const outlook::ItemContent& content) override { captions << content.caption; }
    QStringList captions;
};

class ItemDisplayTest : public CleanFixture {
  protected:
    ItemDisplayTest() { logic.itemDisplay.setItemWindow(&window); }
    ~ItemDisplayTest() override { logic.itemDisplay.setItemWindow(nullptr); }

    void SetUp() override {
        auto layout = sampleStore();
        const auto beta = layout->folder(QStringLiteral("Projects/Beta"));
        for (int i = 4; i <= 12; ++i) {
            layout->addItem(beta, dated(2020, 1, i, QStringLiteral("Beta note %1").arg(i)));
        }
        loadLocal({layout});
        click("Beta");
    }
    QString subjectOfRow(int r) const {
        return logic.gridLogic.cell(logic.grid.row(r), kFieldSubject);
    }
    ItemDisplay& display() { return logic.itemDisplay; }

    RecordingItemWindow window;
};

TEST_F(ItemDisplayTest, DoubleClickOpensTheRowsOwnItem) {
    ASSERT_GE(rows(), 9);
    display().grdItems_MouseDown(7);
    display().grdItems_DblClick(7);
    ASSERT_EQ(window.captions.size(), 1);
    EXPECT_EQ(window.captions[0], subjectOfRow(7) + QStringLiteral(" - Message"));
    EXPECT_TRUE(prompter.texts().isEmpty());
}

TEST_F(ItemDisplayTest, HeaderRowAndEmptyPlacesOpenNothing) {
    display().grdItems_MouseDown(0);
    display().grdItems_DblClick(0);
    display().grdItems_MouseDown(rows() + 5);
    display().grdItems_DblClick(3);
    EXPECT_TRUE(window.captions.isEmpty());
    EXPECT_TRUE(prompter.texts().isEmpty());
}

TEST_F(ItemDisplayTest, EnterOpensTheRowLastPressedNotTheKeyboardsRow) {
    display().grdItems_MouseDown(5);
    display().grdItems_KeyPress(ItemDisplay::kEnter, 9);
    display().grdItems_KeyPress('x', 9);
    ASSERT_EQ(window.captions.size(), 1);
    EXPECT_EQ(window.captions[0], subjectOfRow(5) + QStringLiteral(" - Message"));
    display().grdItems_KeyPress(ItemDisplay::kEnter, 0);
    EXPECT_EQ(window.captions.size(), 1);
}

TEST_F(ItemDisplayTest, ItemDeletedSinceItWasListedCannotBeRetrieved) {
    const QString subject = subjectOfRow(2);
    const outlook::StorePtr other = store::local::openLocalStores(path).at(0);
    const outlook::ItemsPtr deleted =
        other->GetDefaultFolder(outlook::olFolderDeletedItems)->Items();
    const outlook::ItemsPtr beta =
        other->TopFolder()->Folders()->Item(11)->Folders()->Item(2)->Items();
    for (long i = 1; i <= beta->Count(); ++i) {
        if (beta->Item(i)->Subject() == subject) {
            beta->Item(i)->Delete();
            deleted->Remove(deleted->Count());
            break;
        }
    }
    display().grdItems_MouseDown(2);
    display().grdItems_DblClick(2);
    EXPECT_TRUE(window.captions.isEmpty());
    EXPECT_EQ(prompter.texts(), QStringList({QStringLiteral("Item could not be retrieved")}));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);
    EXPECT_EQ(rows(), 12);
}

TEST_F(ItemDisplayTest, AfterEarlierItemsWereDeletedARowStillOpensItsOwnItem) {
    // Rows picked and deleted by a row run leave gaps in the folder's positions.
    set(Control::chkSelectByRow, 1);
    logic.rows.grdItems_MouseUp(RowSelection::kLeftButton, 0, 1);
    logic.rows.grdItems_MouseUp(RowSelection::kLeftButton, RowSelection::kShift, 4);
    clean();
    ASSERT_EQ(rows(), 8);
    prompter.forget();
    for (int r = 1; r <= rows(); ++r) {
        display().grdItems_MouseDown(r);
        display().grdItems_DblClick(r);
        EXPECT_EQ(window.captions.last(), subjectOfRow(r) + QStringLiteral(" - Message"));
    }
    EXPECT_TRUE(prompter.texts().isEmpty());
}

}  // namespace
}  // namespace tf::testing
