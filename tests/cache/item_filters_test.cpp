#include "cache/item_filters.h"

#include <gtest/gtest.h>

#include "app/main_window_logic.h"
#include "tests/support/memory_store.h"

namespace tf::testing {
namespace {

// The filters over a one-folder tree whose cache the tests fill by hand.
class ItemFilterTest : public ::testing::Test {
  protected:
    ItemFilterTest() : filters(controls, tree, records) {
        records.recreate();
        tree.add(0, QStringLiteral("K"), QStringLiteral("Inbox"));
        tree.setChecked(1, true);
    }
    void set(Control name, int value) {
        controls.update(name, [&](ControlState& c) { c.value = value; });
    }
    void subjectFilter(const QString& text, bool matchCase, bool matchWord) {
        set(Control::chkSelectSubject, 1);
        set(Control::chkMatchCase, matchCase ? 1 : 0);
        set(Control::chkMatchWord, matchWord ? 1 : 0);
        controls.setCaption(Control::txtSelectSubject, text);
    }
    int add(const ItemData& item) {
        records[1].ItemCache.push_back(item);
        return static_cast<int>(records[1].ItemCache.size());
    }
    static ItemData mail(const QString& subject, OleDate date = dateSerial(2003, 1, 1)) {
        ItemData item;
        item.ItemClass = 43;
        item.Subject = subject;
        item.ItemDate = date;
        return item;
    }

    Controls controls;
    FolderTree tree;
    FolderRecords records;
    ItemFilters filters;
};

TEST_F(ItemFilterTest, ASubjectMustStartWithTheTextInAnyCase) {
    subjectFilter(QStringLiteral("re"), false, false);
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("RE: invoice")));
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("Reply")));
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("   re")));
    EXPECT_FALSE(filters.Check_Subject(QStringLiteral("Fw: re")));
    EXPECT_FALSE(filters.Check_Subject(QStringLiteral("r")));
}

TEST_F(ItemFilterTest, MatchWordWantsTheWholeSubject) {
    subjectFilter(QStringLiteral(" re "), false, true);
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("RE")));
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("  Re  ")));
    EXPECT_FALSE(filters.Check_Subject(QStringLiteral("RE: invoice")));
}

TEST_F(ItemFilterTest, MatchCaseKeepsCaseAndLeadingBlanks) {
    subjectFilter(QStringLiteral("Re"), true, false);
    EXPECT_FALSE(filters.Check_Subject(QStringLiteral("RE: x")));
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("Re: x")));
    EXPECT_FALSE(filters.Check_Subject(QStringLiteral("  Re: x")));
    // Trailing blanks are dropped on both sides even then.
    subjectFilter(QStringLiteral("Re  "), true, true);
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("Re   ")));
}

TEST_F(ItemFilterTest, AnEmptyTextSelectsEverythingUnlessTheWholeSubjectMustMatch) {
    subjectFilter(QString(), false, false);
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("anything")));
    EXPECT_TRUE(filters.Check_Subject(QString()));
    subjectFilter(QStringLiteral("   "), false, true);
    EXPECT_FALSE(filters.Check_Subject(QStringLiteral("anything")));
    EXPECT_TRUE(filters.Check_Subject(QStringLiteral("  ")));
}

TEST_F(ItemFilterTest, TheCutOffDayItselfIsIncludedWhateverTheTimeInThePicker) {
    set(Control::chkSelectDate, 1);
    controls.update(Control::dtpCutoffDate,
                    [](ControlState& c) { c.date = dateSerial(2003, 6, 30) + 0.75; });
    EXPECT_TRUE(filters.Check_Date(dateSerial(2003, 6, 30)));
    EXPECT_TRUE(filters.Check_Date(dateSerial(1999, 1, 1)));
    EXPECT_FALSE(filters.Check_Date(dateSerial(2003, 7, 1)));
    controls.update(Control::dtpCutoffDate,
                    [](ControlState& c) { c.date = dateSerial(2003, 6, 30); });
    EXPECT_TRUE(filters.Check_Date(dateSerial(2003, 6, 30)));
    set(Control::chkSelectDate, 0);
    EXPECT_TRUE(filters.Check_Date(dateSerial(2099, 1, 1)));
}

TEST_F(ItemFilterTest, TheTypeFilterKnowsOnlyTheSixTypesOfItsBoxes) {
    EXPECT_TRUE(filters.Check_Type(outlook::olMeetingRequest));  // filter off: all pass
    set(Control::chkSelectType, 1);
    for (const TypeBox& box : kTypeBoxes) {
        set(box.control, box.itemClass == outlook::olMail ? 1 : 0);
    }
    EXPECT_TRUE(filters.Check_Type(outlook::olMail));
    EXPECT_FALSE(filters.Check_Type(outlook::olMeetingRequest));
    EXPECT_FALSE(filters.Check_Type(outlook::olTask));
    set(Control::chkType48, 1);
    EXPECT_TRUE(filters.Check_Type(outlook::olTask));
    EXPECT_FALSE(filters.Check_Type(outlook::olTaskRequest));
    EXPECT_FALSE(filters.Check_Type(outlook::olDistributionList));
}

TEST_F(ItemFilterTest, AnUnreadItemNeedsTheUnreadOption) {
    ItemData unread = mail(QStringLiteral("x"));
    unread.Unread = -1;
    const int item = add(unread);
    const int read = add(mail(QStringLiteral("y")));
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, item));
    EXPECT_TRUE(filters.Check_Filtered_Record(1, 1, read));
    set(Control::chkSelectUnread, 1);
    EXPECT_TRUE(filters.Check_Filtered_Record(1, 1, item));
    EXPECT_TRUE(filters.Check_Filtered_Record(1, 1, read));
}

TEST_F(ItemFilterTest, NothingPassesInAnUnmarkedFolderOrBeyondTheCache) {
    const int item = add(mail(QStringLiteral("x")));
    EXPECT_TRUE(filters.Check_Filtered_Record(1, 1, item));
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, item + 1));
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, 0));
    tree.setChecked(1, false);
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, item));
}

TEST_F(ItemFilterTest, EveryFilterThatIsOnMustLetTheItemThrough) {
    set(Control::chkSelectDate, 1);
    controls.update(Control::dtpCutoffDate,
                    [](ControlState& c) { c.date = dateSerial(2003, 6, 30); });
    subjectFilter(QStringLiteral("invoice"), false, false);
    set(Control::chkSelectType, 1);
    set(Control::chkType43, 1);
    const int old = add(mail(QStringLiteral("Invoice 1"), dateSerial(2003, 6, 1)));
    const int young = add(mail(QStringLiteral("Invoice 2"), dateSerial(2003, 7, 1)));
    const int other = add(mail(QStringLiteral("Lunch"), dateSerial(2003, 6, 1)));
    ItemData note = mail(QStringLiteral("Invoice 3"), dateSerial(2003, 6, 1));
    note.ItemClass = outlook::olNote;
    const int noted = add(note);
    set(Control::chkType44, 0);
    EXPECT_TRUE(filters.Check_Filtered_Record(1, 1, old));
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, young));
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, other));
    EXPECT_FALSE(filters.Check_Filtered_Record(1, 1, noted));
}

class FailingUnread : public outlook::Item {
  protected:
    long doClass() const override { return outlook::olMail; }
    QString doSubject() const override { return {}; }
    QString doEntryID() const override { return {}; }
    QString doBody() const override { return {}; }
    std::optional<QString> doSender() const override { return std::nullopt; }
    OleDate doReceivedTime() const override { return 0; }
    OleDate doLastModificationTime() const override { return 0; }
    OleDate doDateCompleted() const override { return 0; }
    OleDate doDueDate() const override { return 0; }
    OleDate doEnd() const override { return 0; }
    bool doUnRead() const override { throw Failure(err::kAutomation, QStringLiteral("gone")); }
    outlook::FolderPtr doParent() const override { return nullptr; }
    void doDelete() override {}
};

TEST(CheckUnread, AnUnreadableStateCountsAsRead) {
    EXPECT_FALSE(Check_Unread(FailingUnread()));
}

}  // namespace
}  // namespace tf::testing
