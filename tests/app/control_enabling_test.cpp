#include "app/control_enabling.h"

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
    EXPECT_EQ(value("chkPermanentDelete"), 0);
    EXPECT_EQ(value("chkDeleteFolders"), 0);
    EXPECT_EQ(value("chkTurbo"), 0);
    EXPECT_EQ(value("chkSelectUnread"), 0);
    EXPECT_EQ(value("chkConfirmFolders"), 1);
    EXPECT_FALSE(enabled("dtpCutoffDate"));
    EXPECT_FALSE(enabled("chkType26"));
    EXPECT_EQ(logic.controls[QStringLiteral("txtSelectSubject")].backColor,
              ControlState::kFormBackground);
    // Every box the defaults name is a box of the window.
    std::set<QString> boxes;
    for (const OptionDefault& option : defaultOptions()) {
        EXPECT_TRUE(logic.controls.has(QLatin1String(option.box))) << option.box;
        boxes.insert(QLatin1String(option.box));
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
    for (const QString& name : logic.controls.names()) {
        EXPECT_EQ(logic.controls[name].enabled, name == QLatin1String("cmdRun"))
            << name.toStdString();
    }
    EXPECT_EQ(logic.controls[QStringLiteral("cmdRun")].caption, QStringLiteral("&Cancel"));

    logic.flags.Processing = false;
    logic.enabling.Enable_All_Controls(true);
    EXPECT_EQ(logic.controls[QStringLiteral("cmdRun")].caption, QStringLiteral("&Clean"));
    for (const char* name : {"cmdRun", "mnuRun", "mnuUnmark", "trvFolders", "chkTurbo"}) {
        EXPECT_TRUE(enabled(name)) << name;
    }
    // The interlocks hold again: a filter that is off keeps its controls off.
    EXPECT_FALSE(enabled("dtpCutoffDate"));
    EXPECT_FALSE(enabled("chkMatchCase"));
}

TEST_F(ControlEnablingTest, EveryControlHasItsTooltipFromStartUp) {
    load();
    EXPECT_EQ(controlTooltips().size(), 28u);
    for (const ControlTooltip& tip : controlTooltips()) {
        EXPECT_EQ(logic.controls[QLatin1String(tip.control)].toolTip, QLatin1String(tip.text))
            << tip.control;
        EXPECT_FALSE(QLatin1String(tip.text).isEmpty());
    }
    EXPECT_EQ(logic.controls[QStringLiteral("lblScreenOptions")].toolTip,
              QStringLiteral("Options controlling screen behaviour"));
    EXPECT_EQ(
        logic.controls[QStringLiteral("dtpCutoffDate")].toolTip,
        QStringLiteral("Click drop down box to pick date or \r\nuse arrow keys to change date "
                       "then press <Tab> or <Enter> to change filter."));
}

TEST_F(ControlEnablingTest, TheCommandsFollowTheMarkedFolders) {
    load();
    EXPECT_FALSE(enabled("cmdRun"));
    EXPECT_FALSE(enabled("mnuRun"));
    EXPECT_FALSE(enabled("mnuUnmark"));
    tick("Beta");
    EXPECT_TRUE(enabled("cmdRun"));
    EXPECT_TRUE(enabled("mnuRun"));
    EXPECT_TRUE(enabled("mnuUnmark"));
}

}  // namespace
}  // namespace tf::testing
