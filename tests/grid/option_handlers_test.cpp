#include "grid/option_handlers.h"

#include <gtest/gtest.h>

#include "tests/support/window_fixture.h"

namespace tf::testing {
namespace {

class OptionHandlerTest : public WindowFixture {
  protected:
    void SetUp() override {
        auto s = storeWithInbox(0);
        for (const char* subject : {"Invoice 7", "Lunch", "invoice 8"}) {
            outlook::ItemFields fields;
            fields.subject = QLatin1String(subject);
            fields.received = dateSerial(2020, 5, 1);
            s->addItem(s->folder(QStringLiteral("Inbox")), fields);
        }
        open({s});
        ASSERT_TRUE(logic.Form_Load());
        mark(QStringLiteral("Inbox"));
        logic.grid.setObserver(&counter);
    }
    void TearDown() override { logic.grid.setObserver(nullptr); }
    bool enabled(Control name) const { return logic.controls[name].enabled; }
    void set(Control name, int value) { logic.controls.setValue(name, value); }
    int selected() const { return logic.gridLogic.Get_Rows_Selected_Count(); }

    // The grid's rebuilds and row changes show a handler's refiltering.
    CountingGridObserver counter;
};

TEST_F(OptionHandlerTest, EachFilterSwitchEnablesExactlyItsOwnControls) {
    EXPECT_FALSE(enabled(Control::dtpCutoffDate));
    set(Control::chkSelectDate, 1);
    EXPECT_TRUE(enabled(Control::dtpCutoffDate));
    set(Control::chkSelectDate, 0);
    EXPECT_FALSE(enabled(Control::dtpCutoffDate));

    EXPECT_EQ(logic.controls[Control::txtSelectSubject].backColor, ControlState::kFormBackground);
    set(Control::chkSelectSubject, 1);
    for (const Control name :
         {Control::txtSelectSubject, Control::chkMatchCase, Control::chkMatchWord}) {
        EXPECT_TRUE(enabled(name)) << name;
    }
    EXPECT_EQ(logic.controls[Control::txtSelectSubject].backColor, 0x80000005u);
    set(Control::chkSelectSubject, 0);
    EXPECT_FALSE(enabled(Control::chkMatchWord));
    EXPECT_EQ(logic.controls[Control::txtSelectSubject].backColor, ControlState::kFormBackground);

    set(Control::chkSelectType, 1);
    for (const TypeBox& box : kTypeBoxes) {
        EXPECT_TRUE(enabled(box.control)) << box.control;
    }
    set(Control::chkSelectType, 0);
    EXPECT_FALSE(enabled(Control::chkType44));
}

TEST_F(OptionHandlerTest, TheSubjectTakesEffectOnEnterOrWhenTheBoxIsLeft) {
    set(Control::chkSelectSubject, 1);
    EXPECT_EQ(selected(), 3);
    logic.controls.setCaption(Control::txtSelectSubject, QStringLiteral("inv"));
    const int before = counter.changes;
    logic.options.txtSelectSubject_KeyPress('i');
    EXPECT_EQ(selected(), 3);
    EXPECT_EQ(counter.changes, before);
    logic.options.txtSelectSubject_KeyPress(OptionHandlers::kEnter);
    EXPECT_EQ(selected(), 2);
    logic.controls.setCaption(Control::txtSelectSubject, QStringLiteral("lunch"));
    logic.options.txtSelectSubject_Validate();
    EXPECT_EQ(selected(), 1);
}

TEST_F(OptionHandlerTest, TheDateTakesEffectOnCloseUpEnterOrValidation) {
    set(Control::chkSelectDate, 1);
    EXPECT_EQ(selected(), 3);
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = dateSerial(2020, 4, 30); });
    logic.options.dtpCutoffDate_KeyDown(40);  // an arrow key changes the date only
    EXPECT_EQ(selected(), 3);
    logic.options.dtpCutoffDate_KeyDown(OptionHandlers::kEnter);
    EXPECT_EQ(selected(), 0);
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = dateSerial(2020, 5, 1); });
    logic.options.dtpCutoffDate_CloseUp();
    EXPECT_EQ(selected(), 3);
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = dateSerial(2001, 1, 1); });
    logic.options.dtpCutoffDate_Validate();
    EXPECT_EQ(selected(), 0);
}

TEST_F(OptionHandlerTest, MatchCaseAndTypesRefilterAndTheCleanButtonFollowsTheMarks) {
    set(Control::chkSelectSubject, 1);
    logic.controls.setCaption(Control::txtSelectSubject, QStringLiteral("Invoice"));
    logic.options.txtSelectSubject_Validate();
    EXPECT_EQ(selected(), 2);
    set(Control::chkMatchCase, 1);
    EXPECT_EQ(selected(), 1);
    set(Control::chkSelectType, 1);
    set(Control::chkType43, 0);
    EXPECT_EQ(selected(), 0);
    // One marked folder: Clean and Unmark are there to use.
    EXPECT_TRUE(enabled(Control::cmdRun));
    EXPECT_TRUE(enabled(Control::mnuUnmark));
    logic.tree.setChecked(node(QStringLiteral("Inbox")), false);
    set(Control::chkType43, 1);
    EXPECT_FALSE(enabled(Control::cmdRun));
    EXPECT_FALSE(enabled(Control::mnuUnmark));
}

}  // namespace
}  // namespace tf::testing
