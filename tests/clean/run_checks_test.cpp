// The gate before a run and its counts: every refusal leaves the store as it was.
#include <QDate>

#include "tests/clean/clean_fixture.h"

namespace tf::testing {
namespace {

class Gate : public CleanFixture {
  protected:
    void SetUp() override {
        loadLocal();
        logic.cleaning.checks.today = [] { return dateSerial(2026, 11, 22); };
    }
    std::map<QString, int> before() { return folderCounts(path); }
};

TEST_F(Gate, TurboAsksItsOwnQuestionAndNoMore) {
    tick("Beta");
    set(Control::chkTurbo, 1);
    // Delete Folders cannot be ticked beside Turbo; set behind the handlers, Turbo still wins.
    logic.controls.update(Control::chkDeleteFolders, [](ControlState& c) { c.value = 1; });
    const auto counts = before();
    prompter.answerWhen(QStringLiteral("CAUTION!"), Prompter::No);
    clean();
    EXPECT_EQ(
        prompter.texts(),
        QStringList({QStringLiteral("3 items in 1 folder identified for cleaning."),
                     QStringLiteral("CAUTION!\r\n\r\nTurbo selected.\r\nALL items in selected "
                                    "folders will be deleted.\r\n\r\nDo you wish to "
                                    "continue?")}));
    EXPECT_EQ(prompter.last().buttons, Prompter::YesNo);
    EXPECT_EQ(folderCounts(path), counts);
    EXPECT_TRUE(checked("Beta"));
}

TEST_F(Gate, PermanentDeleteIsAskedAndNoStops) {
    tick("Beta");
    set(Control::chkPermanentDelete, 1);
    const auto counts = before();
    prompter.answerWhen(QStringLiteral("Permanently"), Prompter::No);
    clean();
    EXPECT_EQ(prompter.texts().last(),
              QStringLiteral("Permanently delete items in selected folders?"));
    EXPECT_EQ(folderCounts(path), counts);
    EXPECT_EQ(logic.controls[Control::cmdRun].caption, QStringLiteral("&Clean"));
}

TEST_F(Gate, CutOffFromTodayOnIsQuestionedAndYesterdayIsNot) {
    tick("Beta");
    set(Control::chkSelectDate, 1);
    const auto counts = before();
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = dateSerial(2026, 11, 22) + 0.75; });
    prompter.answerWhen(QStringLiteral("Selecting the date"), Prompter::No);
    clean();
    EXPECT_EQ(prompter.texts().last(),
              QStringLiteral("Selecting the date 2026-11-22 may result in all items in selected "
                             "folders being deleted.  Continue?"));
    EXPECT_EQ(folderCounts(path), counts);

    prompter.forget();
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = dateSerial(2026, 11, 21); });
    clean();
    EXPECT_TRUE(prompter.texts().filter(QStringLiteral("Selecting the date")).isEmpty());
}

TEST_F(Gate, MissingSubjectAndTypeMakeOneMessageOfTwoLines) {
    tick("Beta");
    set(Control::chkSelectSubject, 1);
    set(Control::chkSelectType, 1);
    for (const TypeBox& box : kTypeBoxes) {
        set(box.control, 0);
    }
    const auto counts = before();
    clean();
    EXPECT_EQ(prompter.texts().last(),
              QStringLiteral("Subject required!\r\nNo item type selected!"));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);
    EXPECT_EQ(folderCounts(path), counts);
}

TEST_F(Gate, CountsSayItemOrItemsAndFolderOrFolders) {
    set(Control::chkSelectSubject, 1);
    logic.controls.setCaption(Control::txtSelectSubject, QStringLiteral("Beta item 2"));
    tick("Beta");
    prompter.answerWhen(QStringLiteral("Move items"), Prompter::No);
    clean();
    EXPECT_EQ(prompter.texts().first(),
              QStringLiteral("1 item in 1 folder identified for cleaning."));

    prompter.forget();
    set(Control::chkSelectSubject, 0);
    tick("Beta");
    tick("Old");
    prompter.answerWhen(QStringLiteral("Move items"), Prompter::No)
        .answerWhen(QStringLiteral("Move items"), Prompter::No);
    clean();
    EXPECT_EQ(prompter.texts().first(),
              QStringLiteral("5 items in 2 folders identified for cleaning."));
}

TEST_F(Gate, FoldersNotFullyLoadedAreWarnedAboutAndCancelStops) {
    tick("Beta");
    record(QStringLiteral("Beta")).Loaded = false;
    const auto counts = before();
    prompter.answerWhen(QStringLiteral("Warning!"), Prompter::Cancel);
    clean();
    EXPECT_EQ(prompter.texts().last(),
              QStringLiteral("Warning!  Not all marked folders have be fully loaded.\r\nThese "
                             "folders may be cleaned but not all items to be\r\ncleaned have been "
                             "displayed or counted.\r\n\r\nPress OK to continue with cleaning."));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkCancel);
    EXPECT_EQ(folderCounts(path), counts);
}

// The capacity of one store's "Deleted Items", counted on in-memory stores of the right size.
class Capacity : public MarkingFixture {
  protected:
    static std::shared_ptr<MemoryStore> storeHolding(int deleted, int inbox, const QString& name,
                                                     const QString& id) {
        auto s = MemoryStore::withDefaultFolders(name, id);
        s->addItems(s->folder(QStringLiteral("Deleted Items")), deleted);
        s->addItems(s->folder(QStringLiteral("Inbox")), inbox);
        return s;
    }
    bool fits() { return logic.cleaning.checks.Check_Deleted_Items_Folder(); }
};

TEST_F(Capacity, SixteenThousandThreeHundredEightyThreeFitAndOneMoreDoesNot) {
    auto store = storeHolding(16000, 384, QStringLiteral("Personal Folders"), QStringLiteral("S"));
    load({store});
    tick("Inbox");
    EXPECT_FALSE(fits());
    EXPECT_EQ(prompter.texts(),
              QStringList({QStringLiteral(
                  "Deleted Items Folder Overflow: \r\n\r\n     Deleted Items Folder:\t\t 16000\r\n"
                  "     Selected total:\t\t 384\r\n     Combined:\t\t 16384\r\n     Total "
                  "Allowed:\t\t 16383\r\n\r\nYou must either: \r\n   - Delete items from the "
                  "Deleted Items Folder OR \r\n   - Select fewer items to delete OR \r\n   - Check "
                  "the Permanent Delete box")}));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);

    prompter.forget();
    store->folder(QStringLiteral("Inbox"))->items.pop_back();
    EXPECT_TRUE(fits());
    EXPECT_TRUE(prompter.texts().isEmpty());
}

TEST_F(Capacity, EveryOverfullStoreHasItsOwnMessage) {
    load({storeHolding(16383, 1, QStringLiteral("Ann"), QStringLiteral("A")),
          storeHolding(16383, 2, QStringLiteral("Bob"), QStringLiteral("B")),
          storeHolding(10, 2, QStringLiteral("Cy"), QStringLiteral("C"))});
    for (int n = 1; n <= logic.tree.count(); ++n) {
        const outlook::FolderPtr& folder = logic.records[n].Folder;
        if (folder && folder->Name() == QLatin1String("Inbox")) {
            logic.tree.setChecked(n, true);
        }
    }
    EXPECT_FALSE(fits());
    ASSERT_EQ(prompter.texts().size(), 2);
    EXPECT_TRUE(prompter.texts()[0].contains(QStringLiteral("Combined:\t\t 16384")));
    EXPECT_TRUE(prompter.texts()[1].contains(QStringLiteral("Combined:\t\t 16385")));
}

TEST_F(Capacity, PermanentDeleteNeedsNoRoom) {
    load({storeHolding(16383, 5, QStringLiteral("Personal Folders"), QStringLiteral("S"))});
    tick("Inbox");
    logic.controls.update(Control::chkPermanentDelete, [](ControlState& c) { c.value = 1; });
    EXPECT_TRUE(fits());
    EXPECT_TRUE(prompter.texts().isEmpty());
}

TEST_F(Capacity, PickedRowsCountForTheirOwnStoreOnly) {
    load({storeHolding(16382, 3, QStringLiteral("Personal Folders"), QStringLiteral("S"))});
    click("Inbox");
    tick("Inbox");
    set(Control::chkSelectByRow, 1);
    logic.rows.grdItems_MouseUp(RowSelection::kLeftButton, 0, 1);
    EXPECT_TRUE(fits());
    logic.rows.grdItems_MouseUp(RowSelection::kLeftButton, RowSelection::kShift, 2);
    EXPECT_FALSE(fits());
    EXPECT_TRUE(prompter.texts().last().contains(QStringLiteral("Selected total:\t\t 2")));
}

}  // namespace
}  // namespace tf::testing
