#include "layout/splitter_layout.h"

#include <gtest/gtest.h>

#include "app/main_window_logic.h"
#include "tests/support/place_control.h"
#include "tests/support/scripted_prompter.h"

namespace tf::testing {
namespace {

// A window that takes widths between a minimum and a maximum only.
class ClampedWindow : public WindowWidth {
  public:
    double Width() const override { return width; }
    void setWidth(double twips) override {
        asked.push_back(twips);
        width = std::clamp(twips, minimum, maximum);
    }
    double width = 15000;
    double minimum = 6000;
    double maximum = 20000;
    std::vector<double> asked;
};

// The main window's panes as designed: tree 90..3090, bar 3090..3165, grid 3165..11000,
// bar 11000..11075, options 11075..14900 in a window 15000 twips wide.
class SplitterLayoutTest : public ::testing::Test {
  protected:
    void SetUp() override {
        place(Control::trvFolders, 90, 450, 3000, 9000);
        place(Control::picSlider, 3090, 450, 75, 9000);
        place(Control::grdItems, 3165, 450, 7835, 9000);
        place(Control::picSlider2, 11000, 450, 75, 9000);
        place(Control::frmOptions, 11075, 450, 3825, 8000);
        place(Control::cmdRun, 11075, 9600, 3825, 500);
        layout.setWindow(&window);
        layout.resetColumnWidths = [this] { ++columnResets; };
        layout.setUp();
    }
    void place(Control control, double left, double top, double width, double height) {
        testing::place(controls, control, left, top, width, height);
    }
    const ControlState& operator()(Control control) const { return controls[control]; }
    void drag(void (SplitterLayout::*down)(), void (SplitterLayout::*move)(double),
              void (SplitterLayout::*up)(), double by) {
        (layout.*down)();
        (layout.*move)(by);
        (layout.*up)();
    }
    void expectLabelSpansGridAndOptions() {
        EXPECT_EQ((*this)(Control::lblCurrentFolder).left, (*this)(Control::grdItems).left + 75);
        EXPECT_EQ((*this)(Control::lblCurrentFolder).width,
                  (*this)(Control::grdItems).width + 75 + (*this)(Control::frmOptions).width - 75);
    }

    ScriptedPrompter prompter;
    ErrorContext errors{prompter};
    Controls controls;
    ClampedWindow window;
    SplitterLayout layout{errors, controls};
    int columnResets = 0;
};

TEST_F(SplitterLayoutTest, SetUpBringsEverythingIntoLineWithoutChangingTheWindow) {
    EXPECT_EQ((*this)(Control::frmOptions).height, 9000);  // lined up with the grid
    EXPECT_EQ((*this)(Control::grdItems).width, 7835);
    EXPECT_EQ((*this)(Control::frmOptions).left, 11075);
    EXPECT_EQ(window.width, 15000);
    EXPECT_EQ(columnResets, 2);
    expectLabelSpansGridAndOptions();
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(SplitterLayoutTest, TheFirstBarMovesTheBoundaryBetweenTreeAndGrid) {
    drag(&SplitterLayout::picSlider_MouseDown, &SplitterLayout::picSlider_MouseMove,
         &SplitterLayout::picSlider_MouseUp, 1500);
    EXPECT_EQ(layout.savedGridWidth, 7835);
    EXPECT_EQ(layout.savedOptionsWidth, 3825);
    EXPECT_EQ((*this)(Control::trvFolders).width, 4500);
    EXPECT_EQ((*this)(Control::grdItems).left, 4665);
    EXPECT_EQ((*this)(Control::grdItems).width, 6335);
    EXPECT_EQ((*this)(Control::frmOptions).left, 11075);
    EXPECT_EQ(window.width, 15000);
    EXPECT_EQ(columnResets, 3);
    expectLabelSpansGridAndOptions();
}

TEST_F(SplitterLayoutTest, TheSecondBarWidensTheWindowAndKeepsTheOptionsWidth) {
    drag(&SplitterLayout::picSlider2_MouseDown, &SplitterLayout::picSlider2_MouseMove,
         &SplitterLayout::picSlider2_MouseUp, 2000);
    EXPECT_EQ(window.asked.back(), 17000);
    EXPECT_EQ(window.width, 17000);
    EXPECT_EQ((*this)(Control::picSlider2).left, 13000);
    EXPECT_EQ((*this)(Control::grdItems).width, 9835);
    EXPECT_EQ((*this)(Control::frmOptions).left, 13075);
    EXPECT_EQ((*this)(Control::frmOptions).width, 3825);
    EXPECT_EQ((*this)(Control::cmdRun).left, 13075);
    EXPECT_EQ((*this)(Control::trvFolders).width, 3000);
    EXPECT_FALSE(layout.second.ResizingWindows());
    EXPECT_EQ(columnResets, 3);
    expectLabelSpansGridAndOptions();
}

TEST_F(SplitterLayoutTest, TheSecondBarStopsWhereTheWindowCannotGrow) {
    window.maximum = 16000;
    drag(&SplitterLayout::picSlider2_MouseDown, &SplitterLayout::picSlider2_MouseMove,
         &SplitterLayout::picSlider2_MouseUp, 3000);
    EXPECT_EQ(window.asked.back(), 18000);
    EXPECT_EQ(window.width, 16000);
    // 2000 twips short: the bar moves back by that much.
    EXPECT_EQ((*this)(Control::picSlider2).left, 12000);
    EXPECT_EQ((*this)(Control::grdItems).width, 8835);
    EXPECT_EQ((*this)(Control::frmOptions).left, 12075);
    EXPECT_EQ((*this)(Control::cmdRun).left, 12075);
}

TEST_F(SplitterLayoutTest, TheSecondBarMovesRightWhereTheWindowCannotShrink) {
    window.minimum = 12000;
    drag(&SplitterLayout::picSlider2_MouseDown, &SplitterLayout::picSlider2_MouseMove,
         &SplitterLayout::picSlider2_MouseUp, -6000);
    EXPECT_EQ(window.asked.back(), 9000);
    EXPECT_EQ(window.width, 12000);
    EXPECT_EQ((*this)(Control::picSlider2).left, 8000);
    EXPECT_EQ((*this)(Control::grdItems).width, 4835);
    EXPECT_EQ((*this)(Control::frmOptions).left, 8075);
}

TEST_F(SplitterLayoutTest, ANarrowGridAndOptionsFrameLeaveTheLabelNoWidth) {
    place(Control::frmOptions, 11075, 450, 0, 9000);
    drag(&SplitterLayout::picSlider_MouseDown, &SplitterLayout::picSlider_MouseMove,
         &SplitterLayout::picSlider_MouseUp, 20000);
    EXPECT_EQ((*this)(Control::grdItems).width, 0);
    // 0 + 75 + 0 - 75 is below 1.
    EXPECT_EQ((*this)(Control::lblCurrentFolder).width, 0);
}

TEST_F(SplitterLayoutTest, ADragCutShortByLoadingIsFinishedAfterwards) {
    layout.picSlider2_MouseDown();
    layout.picSlider2_MouseMove(1000);
    layout.reapplyInterruptedDrag();
    EXPECT_EQ(window.width, 16000);
    EXPECT_FALSE(layout.second.ResizingWindows());

    const int resets = columnResets;
    layout.reapplyInterruptedDrag();  // nothing was being dragged
    EXPECT_EQ(columnResets, resets);
}

TEST_F(SplitterLayoutTest, AFailingHandlerIsReportedUnderItsOwnName) {
    layout.resetColumnWidths = [] { throw Failure(err::kInvalidArgument, QStringLiteral("x")); };
    layout.picSlider_MouseUp();
    const QString shown = prompter.texts().join(QLatin1Char('|'));
    EXPECT_TRUE(shown.contains(QStringLiteral("picSlider_MouseUp"))) << shown.toStdString();
    EXPECT_EQ(errors.stack.count(), 0);
}

}  // namespace
}  // namespace tf::testing
