#include "layout/slider_bar.h"

#include <gtest/gtest.h>

#include "tests/support/place_control.h"

namespace tf::testing {
namespace {

// A tree 3000 twips wide at 90, a 75-twip bar, a grid reaching to 9000.
class SliderBarTest : public ::testing::Test {
  protected:
    void SetUp() override {
        place(controls, id("left"), 90, 400, 3000, 6000);
        place(controls, id("bar"), 3090, 0, 75, 100);
        place(controls, id("right"), 3200, 900, 5800, 10);
        bar.Setup(id("left"), id("right"), id("bar"), 0);
    }
    // The three controls a bar joins, by their parts: the tree, the first bar and the grid.
    static Control id(const char* part) {
        const std::string name = part;
        return name == "left" ? Control::trvFolders
                              : (name == "bar" ? Control::picSlider : Control::grdItems);
    }
    const ControlState& operator()(const char* name) const { return controls[id(name)]; }

    Controls controls;
    SliderBar bar{controls};
};

TEST_F(SliderBarTest, SetupLinesEverythingUpWithTheLeftPane) {
    EXPECT_EQ((*this)("bar").mousePointer, kSizeWestEast);
    EXPECT_EQ((*this)("bar").width, 75);  // the designed width is kept
    for (const char* name : {"bar", "right"}) {
        EXPECT_EQ((*this)(name).top, 400) << name;
        EXPECT_EQ((*this)(name).height, 6000) << name;
    }
    EXPECT_EQ((*this)("left").width, 3000);
    EXPECT_EQ((*this)("right").left, 3165);
    // Setup leaves the right pane's width alone; the first mouse-up settles it.
    EXPECT_EQ((*this)("right").width, 5800);
    EXPECT_FALSE(bar.ResizingWindows());

    bar.Setup(id("left"), id("right"), id("bar"), 120);
    EXPECT_EQ((*this)("bar").width, 120);
    EXPECT_EQ((*this)("right").left, 3210);
}

TEST_F(SliderBarTest, TheBarFollowsThePointerOnlyWhileTheButtonIsDown) {
    bar.Mouse_Move(500);
    EXPECT_EQ((*this)("bar").left, 3090);

    bar.Mouse_Down();
    EXPECT_TRUE(bar.ResizingWindows());
    bar.Mouse_Move(500);
    bar.Mouse_Move(-1250.5);
    EXPECT_DOUBLE_EQ((*this)("bar").left, 2339.5);
    // The panes wait for the release.
    EXPECT_EQ((*this)("left").width, 3000);
    EXPECT_EQ((*this)("right").left, 3165);

    bar.Mouse_Up();
    EXPECT_FALSE(bar.ResizingWindows());
    EXPECT_DOUBLE_EQ((*this)("left").width, 2249.5);
    EXPECT_DOUBLE_EQ((*this)("right").left, 2414.5);
    // The right pane keeps its right edge (3165 + 5800 = 8965).
    EXPECT_DOUBLE_EQ((*this)("right").left + (*this)("right").width, 8965);
}

TEST_F(SliderBarTest, DraggingPastTheLeftEdgeCollapsesTheLeftPane) {
    bar.Mouse_Down();
    bar.Mouse_Move(-5000);
    EXPECT_EQ((*this)("bar").left, 90);
    bar.Mouse_Up();
    EXPECT_EQ((*this)("left").width, 0);
    EXPECT_EQ((*this)("bar").left, 90);
    EXPECT_EQ((*this)("right").left, 165);
    EXPECT_EQ((*this)("right").width, 8800);
}

TEST_F(SliderBarTest, DraggingPastTheRightEdgeCollapsesTheRightPane) {
    bar.Mouse_Up();  // settles the right pane: 3165 to 8965
    bar.Mouse_Down();
    bar.Mouse_Move(9000);
    EXPECT_EQ((*this)("bar").left, 8965 - 75);
    bar.Mouse_Up();
    EXPECT_EQ((*this)("left").width, 8890 - 90);
    EXPECT_EQ((*this)("right").width, 0);
    EXPECT_EQ((*this)("right").left, 8965);
}

TEST_F(SliderBarTest, AMouseUpWithoutADragReappliesTheLayout) {
    controls.update(id("left"), [](ControlState& c) { c.width = 10; });
    controls.update(id("right"), [](ControlState& c) {
        c.left = 7000;
        c.width = 1965;
    });
    bar.Mouse_Up();
    EXPECT_EQ((*this)("left").width, 3000);
    EXPECT_EQ((*this)("right").left, 3165);
    EXPECT_EQ((*this)("right").width, 5800);
}

TEST_F(SliderBarTest, TheRightEdgeIsTakenAsAWholeNumber) {
    controls.update(id("right"), [](ControlState& c) { c.width = 5800.5; });
    bar.Mouse_Up();  // 3165 + 5800.5 rounds half to even: 8966
    EXPECT_EQ((*this)("right").width, 8966 - 3165);
}

}  // namespace
}  // namespace tf::testing
