// Each way of removing things, run on the embedded store and counted in the store file. A failing
// store must leave every item where it was, in "Deleted Items", or gone only when asked.
#include "tests/clean/clean_fixture.h"

namespace tf::testing {
namespace {

using Strategy = CleanFixture;

const QString kNotAll = QStringLiteral("Not all items could be deleted");
const QString kReport = QStringLiteral("An processing error has occurred.");

std::shared_ptr<MemoryStore> datedInbox() {
    auto s =
        MemoryStore::withDefaultFolders(QStringLiteral("Personal Folders"), QStringLiteral("S"));
    const auto inbox = s->folder(QStringLiteral("Inbox"));
    s->addItem(inbox, dated(2019, 5, 1, QStringLiteral("spring 2019")));
    s->addItem(inbox, dated(2026, 1, 2, QStringLiteral("this year")));
    s->addItem(inbox, dated(2020, 12, 31, QStringLiteral("end of 2020")));
    s->addItem(inbox, dated(2021, 1, 1, QStringLiteral("new year 2021")));
    return s;
}

void cutOff(RemoveItemsLogic& logic, int year, int month, int day) {
    logic.controls.setValue(Control::chkSelectDate, 1);
    logic.controls.update(Control::dtpCutoffDate,
                          [&](ControlState& c) { c.date = dateSerial(year, month, day); });
}

TEST_F(Strategy, CachedItemsGoByTheFiltersAndTheCacheIsPackedAfter) {
    loadLocal({datedInbox()});
    cutOff(logic, 2021, 1, 1);
    tick("Inbox");
    clean();
    EXPECT_EQ(subjects(QStringLiteral("Inbox")), QStringList({QStringLiteral("this year")}));
    EXPECT_EQ(subjects(QStringLiteral("Deleted Items")),
              QStringList({QStringLiteral("spring 2019"), QStringLiteral("end of 2020"),
                           QStringLiteral("new year 2021")}));
    const FolderData& inbox = record(QStringLiteral("Inbox"));
    EXPECT_EQ(inbox.CachedCount, 1);
    EXPECT_EQ(inbox.ItemCache.front().Subject, QStringLiteral("this year"));
    EXPECT_TRUE(inbox.Loaded);
}

TEST_F(Strategy, FolderNotFullyLoadedIsFilteredLiveAndReadAgain) {
    loadLocal({datedInbox()});
    cutOff(logic, 2020, 12, 31);
    tick("Inbox");
    record(QStringLiteral("Inbox")).Loaded = false;
    clean();
    EXPECT_TRUE(
        shown(QStringLiteral("Warning!  Not all marked folders have be fully loaded.\r\n"
                             "These folders may be cleaned but not all items to be\r\n"
                             "cleaned have been displayed or counted.\r\n\r\nPress OK to "
                             "continue with cleaning.")));
    EXPECT_EQ(subjects(QStringLiteral("Inbox")),
              QStringList({QStringLiteral("this year"), QStringLiteral("new year 2021")}));
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 2);
    // Walked from the last item to the first.
    EXPECT_EQ(subjects(QStringLiteral("Deleted Items")),
              QStringList({QStringLiteral("end of 2020"), QStringLiteral("spring 2019")}));
    // Its cache was read again from the store after the run.
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 2);
    EXPECT_TRUE(record(QStringLiteral("Inbox")).Loaded);
    EXPECT_TRUE(panels.saw(QStringLiteral("2:Checked: 4, Deleted: Folder - 2, Total - 2")));
}

TEST_F(Strategy, TurboDeletesEveryItemForGoodAndReportsEveryHundred) {
    auto layout = sampleStore();
    layout->addItems(layout->folder(QStringLiteral("Projects/Alpha")), 245);
    loadLocal({layout});
    set(Control::chkTurbo, 1);
    tick("Alpha");
    clean();
    EXPECT_EQ(inStore(QStringLiteral("Projects/Alpha")), 0);
    EXPECT_EQ(inStore(QStringLiteral("Projects/Alpha/Old")), 2);
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 2);
    EXPECT_EQ(faults->removes, 250);
    EXPECT_TRUE(shown(QStringLiteral(" 250 items were deleted.")));
    const std::vector<QString> progress = panels.startingWith(QStringLiteral("2:Checked"));
    EXPECT_EQ(progress, (std::vector<QString>{
                            QStringLiteral("2:Checked: 100, Deleted: Folder - 100, Total - 100"),
                            QStringLiteral("2:Checked: 200, Deleted: Folder - 200, Total - 200")}));
    EXPECT_TRUE(panels.saw(QStringLiteral("1:Cleaning Folder \"Alpha\"")));
}

TEST_F(Strategy, TurboStatusCountsHundredsOfTheWholeRun) {
    auto layout = sampleStore();
    layout->addItems(layout->folder(QStringLiteral("Projects/Alpha")), 145);  // 150 in all
    layout->addItems(layout->folder(QStringLiteral("Projects/Beta")), 150);   // 153 in all
    loadLocal({layout});
    set(Control::chkTurbo, 1);
    tick("Alpha");
    tick("Beta");
    clean();
    EXPECT_TRUE(shown(QStringLiteral(" 303 items were deleted.")));
    const std::vector<QString> progress = panels.startingWith(QStringLiteral("2:Checked"));
    EXPECT_EQ(progress, (std::vector<QString>{
                            QStringLiteral("2:Checked: 100, Deleted: Folder - 100, Total - 100"),
                            QStringLiteral("2:Checked: 50, Deleted: Folder - 50, Total - 200"),
                            QStringLiteral("2:Checked: 150, Deleted: Folder - 150, Total - 300")}));
}

TEST_F(Strategy, PermanentDeleteInAUsersOwnDeletedItemsFolderLeavesTheItemsRecoverable) {
    auto layout = sampleStore();
    const auto own = layout->addFolder(layout->folder(QStringLiteral("Projects")),
                                       QStringLiteral("Deleted Items"));
    layout->addItem(own, dated(2020, 3, 1, QStringLiteral("kept draft")));
    layout->addItem(own, dated(2020, 3, 2, QStringLiteral("old notes")));
    loadLocal({layout});
    int ownNode = 0;
    for (int n = logic.tree.Child(node(QStringLiteral("Projects"))); n != 0;
         n = logic.tree.Next(n)) {
        if (logic.records[n].Folder->Name() == QStringLiteral("Deleted Items")) {
            ownNode = n;
        }
    }
    ASSERT_NE(ownNode, 0);
    set(Control::chkPermanentDelete, 1);
    tick(ownNode);
    ASSERT_TRUE(logic.tree.node(ownNode).Checked);
    clean();

    EXPECT_EQ(inStore(QStringLiteral("Projects/Deleted Items")), 0);
    // Deleted once, as items already in a folder of that name are: into the store's own.
    const QStringList inDeletedItems = subjects(QStringLiteral("Deleted Items"));
    EXPECT_EQ(inDeletedItems.size(), 4);
    EXPECT_TRUE(inDeletedItems.contains(QStringLiteral("kept draft")));
    EXPECT_TRUE(inDeletedItems.contains(QStringLiteral("old notes")));
    EXPECT_FALSE(shown(kNotAll));
    EXPECT_TRUE(shown(QStringLiteral(" 2 items were deleted.")));
}

TEST_F(Strategy, PickedRowsAloneAreMovedAndTheOtherPicksStay) {
    loadLocal();
    click("Beta");
    tick("Beta");
    set(Control::chkSelectByRow, 1);
    const auto subjectOfRow = [&](int r) {
        return logic.gridLogic.cell(logic.grid.row(r), kFieldSubject);
    };
    const QString first = subjectOfRow(1);
    const QString third = subjectOfRow(3);
    logic.rows.grdItems_MouseUp(RowSelection::kLeftButton, 0, 1);
    logic.rows.grdItems_MouseUp(RowSelection::kLeftButton, RowSelection::kCtrl, 3);
    clean();

    EXPECT_EQ(prompter.texts().first(), QStringLiteral("2 items identified for cleaning"));
    EXPECT_TRUE(prompter.texts().filter(QStringLiteral("Move items in")).isEmpty());
    EXPECT_TRUE(shown(QStringLiteral(" 2 items were moved to the \"Deleted Items\" folder.")));
    const QStringList moved = subjects(QStringLiteral("Deleted Items"));
    EXPECT_TRUE(moved.contains(first));
    EXPECT_TRUE(moved.contains(third));
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 1);
    EXPECT_TRUE(panels.saw(QStringLiteral("1:Cleaning Items")));
    EXPECT_TRUE(panels.saw(QStringLiteral("2:Processed - 3, Cleaned - 2")));
    // The moved rows are gone; the one left is not picked, so Clean has nothing to take.
    EXPECT_EQ(rows(), 1);
    EXPECT_EQ(selectedRows(), 0);
    EXPECT_FALSE(enabled(Control::cmdRun));
}

TEST_F(Strategy, PermanentDeleteMovesThenDeletesFromDeletedItems) {
    loadLocal();
    set(Control::chkPermanentDelete, 1);
    tick("Beta");
    clean();
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 0);
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 2);
    EXPECT_EQ(faults->deletes, 6);
    EXPECT_TRUE(shown(QStringLiteral(" 3 items were deleted.")));
}

TEST_F(Strategy, ItemsAlreadyInDeletedItemsAreDeletedOnce) {
    loadLocal();
    set(Control::chkPermanentDelete, 1);
    tick("Deleted Items");
    clean();
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 0);
    EXPECT_EQ(faults->deletes, 2);
    EXPECT_FALSE(shown(kNotAll));
}

TEST_F(Strategy, FailedDeleteIsReportedCountedOutAndTheRunGoesOn) {
    loadLocal();
    faults->failDeleteAt = 2;
    tick("Beta");
    clean();
    EXPECT_EQ(subjects(QStringLiteral("Projects/Beta")),
              QStringList({QStringLiteral("Beta item 2")}));
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 4);
    const QStringList reports = prompter.texts().filter(kReport);
    ASSERT_EQ(reports.size(), 1);
    EXPECT_TRUE(reports[0].contains(QStringLiteral("Filtered Delete - Beta item 2")));
    EXPECT_TRUE(reports[0].contains(QStringLiteral("(injected)")));
    const QStringList texts = prompter.texts();
    EXPECT_EQ(texts[texts.size() - 2], kNotAll);
    EXPECT_EQ(texts.last(), QStringLiteral(" 2 items were moved to the \"Deleted Items\" folder."));
    // The cache keeps the item that stayed, and only that.
    EXPECT_EQ(record(QStringLiteral("Beta")).CachedCount, 1);
    EXPECT_EQ(record(QStringLiteral("Beta")).ItemCache.front().Subject,
              QStringLiteral("Beta item 2"));
    EXPECT_EQ(inStore(QStringLiteral("Inbox")), 4);
}

TEST_F(Strategy, FailedSecondDeleteLeavesTheItemInDeletedItems) {
    loadLocal();
    set(Control::chkPermanentDelete, 1);
    faults->failDeleteAt = 2;  // the first item's delete from Deleted Items
    tick("Beta");
    clean();
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 0);
    EXPECT_TRUE(subjects(QStringLiteral("Deleted Items")).contains(QStringLiteral("Beta item 1")));
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 3);
    EXPECT_TRUE(shown(kNotAll));
    EXPECT_TRUE(shown(QStringLiteral(" 2 items were deleted.")));
}

TEST_F(Strategy, ItemMovedElsewhereSinceListedIsLeftAlone) {
    loadLocal();
    // Another program moves an item to Deleted Items after the window listed it; deleting it
    // there would be for good, which this run did not ask for.
    const outlook::StorePtr other = store::local::openLocalStores(path).at(0);
    const outlook::ItemsPtr beta =
        other->TopFolder()->Folders()->Item(11)->Folders()->Item(2)->Items();
    ASSERT_EQ(beta->Item(1)->Subject(), QStringLiteral("Beta item 1"));
    beta->Item(1)->Delete();

    tick("Beta");
    clean();
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 0);
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 5);
    EXPECT_TRUE(subjects(QStringLiteral("Deleted Items")).contains(QStringLiteral("Beta item 1")));
    EXPECT_TRUE(shown(kNotAll));
    EXPECT_TRUE(shown(QStringLiteral(" 2 items were moved to the \"Deleted Items\" folder.")));
}

TEST_F(Strategy, ItemMovedToAnUnmarkedFolderIsNotDeletedThere) {
    // On an in-memory store, where a test can move an item between ordinary folders as a mail
    // rule on another computer would.
    auto store = sampleStore();
    load({store});
    set(Control::chkPermanentDelete, 1);
    tick("Beta");
    auto& beta = store->folder(QStringLiteral("Projects/Beta"))->items;
    store->folder(QStringLiteral("Inbox"))->items.push_back(beta.front());
    beta.erase(beta.begin());
    clean();
    EXPECT_TRUE(beta.empty());
    EXPECT_EQ(store->folder(QStringLiteral("Inbox"))->items.size(), 5u);
    EXPECT_TRUE(shown(kNotAll));
    EXPECT_TRUE(shown(QStringLiteral(" 2 items were deleted.")));
}

TEST(CleaningStatusLine, NamesTheFolderTrimmedAndWritesNoughts) {
    ScriptedPrompter prompter;
    ErrorContext errors(prompter);
    StatusPanels panels;
    CleaningStatus status(errors.stack, panels);
    status.Display_Cleaning_Status(QStringLiteral("  Old Mail "), 0, 0, 12);
    EXPECT_EQ(panels.text(1), QStringLiteral("Cleaning Folder \"Old Mail\""));
    EXPECT_EQ(panels.text(2), QStringLiteral("Checked: 0, Deleted: Folder - 0, Total - 12"));
    status.Display_Delete_By_Selected_Status(100, 0);
    EXPECT_EQ(panels.text(1), QStringLiteral("Cleaning Folder \"Old Mail\""));
    EXPECT_EQ(panels.text(2), QStringLiteral("Processed - 100, Cleaned - 0"));
    EXPECT_EQ(errors.stack.count(), 0);
}

}  // namespace
}  // namespace tf::testing
