#include "grid/grid_logic.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <set>

#include "store/local/local_store.h"
#include "store/local/sample_content.h"
#include "tests/support/window_fixture.h"

namespace tf::testing {
namespace {

outlook::ItemFields withSubject(const QString& subject) {
    outlook::ItemFields fields;
    fields.subject = subject;
    return fields;
}

class GridRules : public WindowFixture {
  protected:
    // Headers from column 2 on.
    QStringList headers() const {
        QStringList words;
        for (int col = 2; col < logic.grid.Cols(); ++col) {
            words << logic.grid.header(col);
        }
        return words;
    }
    void set(Control name, int value) { logic.controls.setValue(name, value); }
    // An Inbox of read mails "Invoice 1..n" and "Lunch 1..n", the Inbox marked.
    std::shared_ptr<MemoryStore> invoicesAndLunches(int n) {
        auto s = MemoryStore::withDefaultFolders(QStringLiteral("P"), QStringLiteral("S"));
        for (int i = 1; i <= n; ++i) {
            s->addItem(s->folder(QStringLiteral("Inbox")),
                       withSubject(QStringLiteral("Invoice %1").arg(i)));
            s->addItem(s->folder(QStringLiteral("Inbox")),
                       withSubject(QStringLiteral("Lunch %1").arg(i)));
        }
        return s;
    }
    void filterSubject(const QString& text) {
        logic.controls.setCaption(Control::txtSelectSubject, text);
        set(Control::chkSelectSubject, 1);
    }
};

TEST_F(GridRules, EachViewHasItsColumnsAndSortFields) {
    open({storeWithInbox(2)});
    ASSERT_TRUE(logic.Form_Load());
    struct Case {
        bool showAll;
        int itemType;
        QStringList headers;
        std::vector<int> columnOfField;  // fields 0..5
    };
    const int no = 999;
    const std::vector<Case> cases = {
        {true, 0, {"Folder", "Type", "Sender", "Subject", "Date", "TYPE"}, {2, 3, 4, 5, no, 6}},
        {false, 0, {"Type", "Sender", "Subject", "Date", "TYPE"}, {no, 2, 3, 4, no, 5}},
        {false, 4, {"Type", "Subject", "Entry", "Date", "TYPE"}, {no, 2, no, 3, 4, 5}},
        {false, 2, {"Type", "Subject", "Date", "TYPE"}, {no, 2, no, 3, no, 4}},
    };
    for (const Case& c : cases) {
        logic.controls.update(Control::chkShowAllFolders,
                              [&](ControlState& s) { s.value = c.showAll ? 1 : 0; });
        logic.flags.CurrentGridItemType = c.itemType;
        logic.gridLogic.Set_Grid_Columns();
        EXPECT_EQ(headers(), c.headers) << c.showAll << " " << c.itemType;
        for (int field = 0; field <= 5; ++field) {
            const int col = c.columnOfField[static_cast<std::size_t>(field)];
            EXPECT_EQ(logic.gridLogic.Get_Sort_Column(field), col) << field;
            if (col != no) {
                EXPECT_EQ(logic.gridLogic.Get_Sort_Field(col), field);
            }
        }
        // A column that is no field's sorts by the type.
        EXPECT_EQ(logic.gridLogic.Get_Sort_Field(0), kFieldType);
        EXPECT_EQ(logic.gridLogic.Get_Sort_Field(77), kFieldType);
    }
}

TEST(GridTypeNames, FollowTheClassTableInOrder) {
    const std::vector<std::pair<int, const char*>> names = {{43, "Mail"},
                                                            {26, "Appointment"},
                                                            {40, "Contact"},
                                                            {48, "Task"},
                                                            {69, "Distribution List"},
                                                            {42, "Journal Entry"},
                                                            {44, "Note"},
                                                            {49, "Task Request"},
                                                            {50, "Task Request"},
                                                            {52, "Task Request"},
                                                            {53, "Meeting Notice"},
                                                            {54, "Meeting Notice"},
                                                            {55, "Meeting Response"},
                                                            {57, "Meeting Response"},
                                                            {99, "Undefined - 99"},
                                                            {45, "Undefined - 45"},
                                                            {0, "Undefined - 0"}};
    for (const auto& [itemClass, name] : names) {
        EXPECT_EQ(GridLogic::typeName(itemClass), QLatin1String(name)) << itemClass;
    }
}

TEST_F(GridRules, TheCurrentFolderShowsAllItsRowsAndMarksFollowTheFilters) {
    open({invoicesAndLunches(3)});
    ASSERT_TRUE(logic.Form_Load());
    ASSERT_EQ(logic.grid.Rows() - 1, 6);
    // Not marked: nothing selected.
    EXPECT_EQ(logic.gridLogic.Get_Rows_Selected_Count(), 0);
    mark(QStringLiteral("Inbox"));
    filterSubject(QStringLiteral("invoice"));
    EXPECT_EQ(logic.grid.Rows() - 1, 6);
    EXPECT_EQ(logic.gridLogic.Get_Rows_Selected_Count(), 3);
    // Re-marked in place, and built afresh: the selected rows stand out either way.
    for (int pass = 0; pass < 2; ++pass) {
        if (pass == 1) {
            logic.gridLogic.Change_Folder_Rows();
        }
        for (int r = 1; r < logic.grid.Rows(); ++r) {
            const bool invoice = logic.grid.TextMatrix(r, 4).startsWith(QStringLiteral("Invoice"));
            EXPECT_EQ(logic.grid.TextMatrix(r, 1),
                      invoice ? QStringLiteral("1") : QStringLiteral("0"));
            EXPECT_EQ(logic.grid.row(r).background,
                      invoice ? logic.colours.highlight : GridRow::kNoBackground);
        }
    }
}

TEST_F(GridRules, TheShowOptionsTakeRowsAwayAndBringThemBackOnce) {
    open({invoicesAndLunches(3)});
    ASSERT_TRUE(logic.Form_Load());
    mark(QStringLiteral("Inbox"));
    filterSubject(QStringLiteral("invoice"));
    const int subject = columnHeaded(QStringLiteral("Subject"));

    set(Control::chkShowUnselectedItems, 0);
    EXPECT_EQ(column(subject), (QStringList{"Invoice 1", "Invoice 2", "Invoice 3"}))
        << column(subject).join(QStringLiteral(",")).toStdString();
    set(Control::chkShowSelectedItems, 0);
    EXPECT_EQ(logic.grid.Rows(), 1);
    set(Control::chkShowUnselectedItems, 1);
    EXPECT_EQ(column(subject).size(), 3);
    EXPECT_TRUE(column(subject).first().startsWith(QStringLiteral("Lunch")));
    set(Control::chkShowSelectedItems, 1);
    const QStringList all = column(subject);
    const std::set<QString> unique(all.begin(), all.end());
    EXPECT_EQ(all.size(), 6);
    EXPECT_EQ(unique.size(), 6u);
    // With the unselected rows hidden a filter change rebuilds the grid from the cache.
    set(Control::chkShowUnselectedItems, 0);
    filterSubject(QStringLiteral("lunch"));
    logic.options.txtSelectSubject_KeyPress(OptionHandlers::kEnter);
    EXPECT_EQ(column(subject), (QStringList{"Lunch 1", "Lunch 2", "Lunch 3"}));
}

TEST_F(GridRules, AllMarkedFoldersShowWithTheirFolderNameAndMarkerWord) {
    auto s = invoicesAndLunches(2);
    s->addItems(s->folder(QStringLiteral("Drafts")), 3);
    outlook::ItemFields note;
    note.itemClass = outlook::olNote;
    s->addItems(s->folder(QStringLiteral("Notes")), 4, note);
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    mark(QStringLiteral("Drafts"));
    mark(QStringLiteral("Notes"));
    set(Control::chkShowAllFolders, 1);
    const int folder = columnHeaded(QStringLiteral("Folder"));
    ASSERT_EQ(folder, 2);
    QStringList folders = column(folder);
    EXPECT_EQ(folders.count(QStringLiteral("Drafts")), 3);
    EXPECT_EQ(folders.count(QStringLiteral("Notes")), 4);
    EXPECT_EQ(folders.size(), 7);
    EXPECT_EQ(column(logic.grid.Cols() - 1), QStringList(7, QStringLiteral("NONE")));
    EXPECT_TRUE(column(columnHeaded(QStringLiteral("Type"))).contains(QStringLiteral("Note")));
    set(Control::chkShowAllFolders, 0);
    EXPECT_EQ(columnHeaded(QStringLiteral("Folder")), -1);
    EXPECT_EQ(logic.grid.Rows() - 1, 4);  // the Inbox again
    EXPECT_EQ(column(logic.grid.Cols() - 1), QStringList(4, QString()));
}

TEST_F(GridRules, AFullGridSaysSoOnceAndKeepsWhatItHas) {
    open({storeWithInbox(30)});
    logic.grid.setMaxRows(10);
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(logic.grid.Rows() - 1, 10);
    EXPECT_EQ(prompter.texts(),
              (QStringList{QStringLiteral("Insufficient memory to display all selected items.\r\n"
                                          "Select fewer folders or change Screen Options to "
                                          "diplay fewer items."),
                           QStringLiteral("All Folders Loaded")}));
}

TEST_F(GridRules, ARangeSelectionSkipsDeletedItemsRowsAndSaysSoOnce) {
    auto s = storeWithInbox(2);
    s->addItems(s->folder(QStringLiteral("Deleted Items")), 3);
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    mark(QStringLiteral("Inbox"));
    mark(QStringLiteral("Deleted Items"));
    set(Control::chkShowAllFolders, 1);
    ASSERT_EQ(logic.grid.Rows() - 1, 5);
    // Rows already selected stay so; the rule guards the rows that a range would add.
    logic.gridLogic.Mark_Or_Unmark_Filtered_Rows(GridLogic::Marking::None);
    EXPECT_EQ(logic.gridLogic.Get_Rows_Selected_Count(), 0);
    prompter.forget();
    logic.gridLogic.Mark_And_Unmark_Selected_Range(1, 5);
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("Cannot select items in \"Deleted Items\" folder unless "
                                         "Permanent delete is marked.")});
    for (int r = 1; r < logic.grid.Rows(); ++r) {
        const bool deleted = logic.grid.TextMatrix(r, 2) == QStringLiteral("Deleted Items");
        EXPECT_EQ(logic.grid.row(r).mark, deleted ? '0' : '1') << r;
    }
    logic.gridLogic.Mark_And_Unmark_Selected_Range(2, 2);
    EXPECT_EQ(logic.gridLogic.Get_Rows_Selected_Count(),
              logic.grid.TextMatrix(2, 2) == QStringLiteral("Deleted Items") ? 0 : 1);

    logic.controls.update(Control::chkPermanentDelete, [](ControlState& c) { c.value = 1; });
    prompter.forget();
    logic.gridLogic.Mark_And_Unmark_Selected_Range(1, 5);
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(logic.gridLogic.Get_Rows_Selected_Count(), 5);
}

TEST_F(GridRules, SelectByRowWaitsForItsFoldersToLoad) {
    open({storeWithInbox(3)});
    ASSERT_TRUE(logic.Form_Load());
    mark(QStringLiteral("Inbox"));
    prompter.forget();
    EXPECT_TRUE(logic.gridLogic.Check_Select_By_Row());
    record(QStringLiteral("Inbox")).Loaded = false;
    EXPECT_FALSE(logic.gridLogic.Check_Select_By_Row());
    logic.controls.update(Control::chkShowAllFolders, [](ControlState& c) { c.value = 1; });
    EXPECT_FALSE(logic.gridLogic.Check_Select_By_Row());
    EXPECT_EQ(prompter.texts(),
              (QStringList{QStringLiteral("Cannot use Select By Row until folder is completely "
                                          "loaded (appears black in the Folder Tree)."),
                           QStringLiteral("Cannot select or use Show All Seleted Folders and "
                                          "Select By Row until all selected folders have been "
                                          "loaded.")}));
}

TEST_F(GridRules, TheDateColumnSortsAsItsTextDoesBothWays) {
    auto s = MemoryStore::withDefaultFolders(QStringLiteral("P"), QStringLiteral("S"));
    const std::vector<OleDate> dates = {dateSerial(2020, 5, 1) + 0.9, dateSerial(1999, 12, 31),
                                        dateSerial(2020, 5, 1) + 0.1, dateSerial(2101, 1, 2),
                                        dateSerial(1900, 3, 1),       kNoDate};
    for (const OleDate date : dates) {
        outlook::ItemFields fields;
        fields.received = date;
        s->addItem(s->folder(QStringLiteral("Inbox")), fields);
    }
    open({s});
    ASSERT_TRUE(logic.Form_Load());
    const int date = columnHeaded(QStringLiteral("Date"));
    for (const bool ascending : {true, false}) {
        if (logic.gridLogic.sortAscending() != ascending) {
            logic.gridLogic.sortByColumn(date);
        }
        ASSERT_EQ(logic.gridLogic.sortAscending(), ascending);
        QStringList expected = column(date);
        std::sort(expected.begin(), expected.end());
        if (!ascending) {
            std::reverse(expected.begin(), expected.end());
        }
        EXPECT_EQ(column(date), expected);
        EXPECT_EQ(column(date).first(),
                  ascending ? QStringLiteral("1900-03-01") : QStringLiteral("4501-01-01"));
    }
}

TEST_F(GridRules, TheSelectedTotalGoesToTheStatusBar) {
    open({storeWithInbox(3)});
    ASSERT_TRUE(logic.Form_Load());
    logic.gridLogic.Display_Selected_Items_Total(1234);
    EXPECT_EQ(logic.status.text(1), QStringLiteral("Total Selected:  1234"));
}

// The whole window over store files made by the generator: every row leads back to its item.
TEST_F(GridRules, RowsOfAGeneratedStoreLeadBackToTheirItems) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("two.tidystore"));
    store::local::SampleOptions options;
    options.stores = 2;
    options.items = 1500;
    store::local::writeSampleStoreFile(path, options);
    source.created =
        std::make_shared<outlook::SessionApplication>(store::local::openLocalStores(path));
    ASSERT_TRUE(logic.Form_Load());
    for (int n = 1; n <= logic.tree.count(); ++n) {
        if (logic.records[n].Folder) {
            logic.tree.setChecked(n, true);
        }
    }
    set(Control::chkShowAllFolders, 1);
    ASSERT_GT(logic.grid.Rows() - 1, 1000);
    const int subject = columnHeaded(QStringLiteral("Subject"));
    const int type = columnHeaded(QStringLiteral("Type"));
    const int date = columnHeaded(QStringLiteral("Date"));
    const auto nameSpace = logic.session.nameSpace;
    std::set<QString> types;
    for (int r = 1; r < logic.grid.Rows(); r += 37) {
        const int folder = logic.grid.RowData(r);
        const int item = ItemsGrid::itemOfKey(logic.grid.TextMatrix(r, 0));
        EXPECT_TRUE(logic.grid.TextMatrix(r, 0).startsWith(
            QStringLiteral("%1-").arg(folder, 3, 10, QLatin1Char('0'))));
        const ItemData& cached =
            logic.records[folder].ItemCache[static_cast<std::size_t>(item - 1)];
        const outlook::ItemPtr stored =
            nameSpace->GetItemFromID(cached.EntryID, logic.records[folder].Folder->StoreID());
        EXPECT_EQ(stored->Subject(), logic.grid.TextMatrix(r, subject));
        EXPECT_EQ(GridLogic::typeName(static_cast<std::int32_t>(stored->Class())),
                  logic.grid.TextMatrix(r, type));
        EXPECT_EQ(logic.grid.TextMatrix(r, date).size(), 10);
        types.insert(logic.grid.TextMatrix(r, type));
    }
    EXPECT_GE(types.size(), 5u);
    // Newest first, as text.
    const QStringList dates = column(date);
    EXPECT_TRUE(std::is_sorted(dates.rbegin(), dates.rend()));
}

}  // namespace
}  // namespace tf::testing
