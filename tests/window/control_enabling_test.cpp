#include "window/control_enabling.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/marking/marking_fixture.h"

namespace tf::testing {
namespace {

class ControlEnablingTest : public MarkingFixture {};

TEST_F(ControlEnablingTest, AFirstRunStartsWithTheDefaultsThatDeleteNothingForGood) {
    for (const OptionDefault& option : defaultOptions()) {
        EXPECT_EQ(value(option.box), option.value) << option.box;
    }
    EXPECT_EQ(value(Control::chkPermanentDelete), 0);
    EXPECT_EQ(value(Control::chkDeleteFolders), 0);
    EXPECT_EQ(value(Control::chkTurbo), 0);
    EXPECT_EQ(value(Control::chkSelectUnread), 0);
    EXPECT_EQ(value(Control::chkConfirmFolders), 1);
    EXPECT_FALSE(enabled(Control::dtpCutoffDate));
    EXPECT_FALSE(enabled(Control::chkType26));
    EXPECT_EQ(logic.controls[Control::txtSelectSubject].backColor, ControlState::kFormBackground);
    // Every box the defaults name is a box of the window.
    std::set<Control> boxes;
    for (const OptionDefault& option : defaultOptions()) {
        EXPECT_TRUE(controlName(option.box).startsWith(QLatin1String("chk"))) << option.box;
        boxes.insert(option.box);
    }
    EXPECT_EQ(boxes.size(), defaultOptions().size());
}

TEST_F(ControlEnablingTest, ARunSwitchesEverythingOffButTheCancelButton) {
    load();
    tick("Inbox");
    logic.flags.Processing = true;
    logic.enabling.Enable_All_Controls(false);
    // Whatever else asks for the buttons during the run changes nothing.
    logic.enabling.Enable_Check_Boxes();
    logic.enabling.Enable_Command_Buttons();
    for (const Control control : allControls()) {
        EXPECT_EQ(logic.controls[control].enabled, control == Control::cmdRun) << control;
    }
    EXPECT_EQ(logic.controls[Control::cmdRun].caption, QStringLiteral("&Cancel"));

    logic.flags.Processing = false;
    logic.enabling.Enable_All_Controls(true);
    EXPECT_EQ(logic.controls[Control::cmdRun].caption, QStringLiteral("&Clean"));
    for (const Control name : {Control::cmdRun, Control::mnuRun, Control::mnuUnmark,
                               Control::trvFolders, Control::chkTurbo}) {
        EXPECT_TRUE(enabled(name)) << name;
    }
    // The interlocks hold again: a filter that is off keeps its controls off.
    EXPECT_FALSE(enabled(Control::dtpCutoffDate));
    EXPECT_FALSE(enabled(Control::chkMatchCase));
}

TEST_F(ControlEnablingTest, EveryControlHasItsTooltipFromStartUp) {
    load();
    EXPECT_EQ(controlTooltips().size(), 28u);
    for (const ControlTooltip& tip : controlTooltips()) {
        EXPECT_EQ(logic.controls[tip.control].toolTip, QLatin1String(tip.text)) << tip.control;
        EXPECT_FALSE(QLatin1String(tip.text).isEmpty());
    }
    EXPECT_EQ(logic.controls[Control::lblScreenOptions].toolTip,
              QStringLiteral("Options controlling screen behaviour"));
    EXPECT_EQ(
        logic.controls[Control::dtpCutoffDate].toolTip,
        QStringLiteral("Click drop down box to pick date or \r\nuse arrow keys to change date "
                       "then press <Tab> or <Enter> to change filter."));
}

TEST_F(ControlEnablingTest, TheCommandsFollowTheMarkedFolders) {
    load();
    EXPECT_FALSE(enabled(Control::cmdRun));
    EXPECT_FALSE(enabled(Control::mnuRun));
    EXPECT_FALSE(enabled(Control::mnuUnmark));
    tick("Beta");
    EXPECT_TRUE(enabled(Control::cmdRun));
    EXPECT_TRUE(enabled(Control::mnuRun));
    EXPECT_TRUE(enabled(Control::mnuUnmark));
}

}  // namespace
}  // namespace tf::testing
