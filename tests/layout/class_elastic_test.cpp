#include "layout/class_elastic.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>

#include "common/failure.h"
#include "tests/support/qt_printers.h"

namespace tf::testing {
namespace {

// A control with a name and a place; it can lack its size or refuse negative sizes, as some
// real controls do.
class FakeControl : public ElasticControl {
  public:
    FakeControl(QString name, double x, double y, double w, double h)
        : left(x), top(y), width(w), height(h), name_(std::move(name)) {}

    QString Name() const override { return name_; }
    double Top() const override { return top; }
    double Left() const override { return left; }
    double Height() const override { return check(height); }
    double Width() const override { return check(width); }
    void setLeft(double twips) override { left = twips; }
    void setHeight(double twips) override { height = refuseNegative(twips); }
    void setWidth(double twips) override { width = refuseNegative(twips); }

    double left, top, width, height;
    bool hasSize = true;
    bool refusesNegative = false;

  private:
    double check(double value) const {
        if (!hasSize) {
            throw Failure(err::kNotSupported, QStringLiteral("Object doesn't support this"));
        }
        return value;
    }
    double refuseNegative(double value) const {
        if (refusesNegative && value < 0) {
            throw Failure(err::kInvalidArgument, QStringLiteral("Invalid property value"));
        }
        return value;
    }
    QString name_;
};

class FakeWindow : public ElasticWindow {
  public:
    double Width() const override { return width; }
    double Height() const override { return height; }
    bool AutoRedraw() const override { return autoRedraw; }
    void setAutoRedraw(bool on) override { autoRedraw = on; }
    int controlCount() const override { return static_cast<int>(controls.size()); }
    ElasticControl& control(int index) override {
        return controls.at(static_cast<std::size_t>(index));
    }
    FakeControl& named(const QString& name) {
        for (FakeControl& c : controls) {
            if (c.Name() == name) {
                return c;
            }
        }
        throw std::out_of_range("no such control");
    }

    double width = 9000;
    double height = 6000;
    bool autoRedraw = false;
    std::deque<FakeControl> controls;
};

// The help browser: its web browser fills the window; a toolbar and a status label besides.
class ElasticTest : public ::testing::Test {
  protected:
    void SetUp() override {
        window.controls.emplace_back(QStringLiteral("WebBrowser1"), 0, 0, 9000, 6000);
        window.controls.emplace_back(QStringLiteral("Toolbar3"), 7000, 0, 2000, 400);
        window.controls.emplace_back(QStringLiteral("lblStatus"), 100, 5600, 3000, 300);
        elastic.Init(window);
    }
    void resize(double width, double height) {
        window.width = width;
        window.height = height;
        elastic.FormResize(window);
    }

    FakeWindow window;
    class_Elastic elastic;
};

TEST_F(ElasticTest, TheFirstResizeChangesNothingAndLeavesAutoRedrawOn) {
    resize(12000, 8000);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser1")).width, 9000);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser1")).height, 6000);
    EXPECT_TRUE(window.autoRedraw);
}

TEST_F(ElasticTest, LaterResizesAddTheWindowsChangeToListedControls) {
    resize(9000, 6000);
    window.autoRedraw = false;
    resize(10000, 6500);
    const FakeControl& browser = window.named(QStringLiteral("WebBrowser1"));
    EXPECT_EQ(browser.width, 10000);
    EXPECT_EQ(browser.height, 6500);
    EXPECT_EQ(browser.left, 0);
    EXPECT_EQ(browser.top, 0);
    // The toolbar keeps its distance from the right edge and its size.
    const FakeControl& toolbar = window.named(QStringLiteral("Toolbar3"));
    EXPECT_EQ(toolbar.left, 8000);
    EXPECT_EQ(toolbar.width, 2000);
    // A control in no list stays where it is.
    const FakeControl& status = window.named(QStringLiteral("lblStatus"));
    EXPECT_EQ(status.width, 3000);
    EXPECT_EQ(status.top, 5600);
    EXPECT_FALSE(window.autoRedraw);  // restored

    resize(9000, 6000);
    EXPECT_EQ(browser.width, 9000);
    EXPECT_EQ(browser.height, 6000);
    EXPECT_EQ(toolbar.left, 7000);
}

TEST_F(ElasticTest, BothSpellingsOfTheBrowserFrameGetOneAdjustmentEach) {
    window.controls.emplace_back(QStringLiteral("FrameWEBrowser"), 0, 0, 1000, 1000);
    window.controls.emplace_back(QStringLiteral("FrameWebBrowser"), 0, 0, 1000, 1000);
    window.controls.emplace_back(QStringLiteral("ListTemplates"), 0, 0, 1000, 1000);
    elastic.Init(window);
    resize(9000, 6000);
    resize(9500, 6300);
    EXPECT_EQ(window.named(QStringLiteral("FrameWEBrowser")).width, 1500);
    EXPECT_EQ(window.named(QStringLiteral("FrameWEBrowser")).height, 1000);
    EXPECT_EQ(window.named(QStringLiteral("FrameWebBrowser")).width, 1000);
    EXPECT_EQ(window.named(QStringLiteral("FrameWebBrowser")).height, 1300);
    EXPECT_EQ(window.named(QStringLiteral("ListTemplates")).width, 1000);
    EXPECT_EQ(window.named(QStringLiteral("ListTemplates")).height, 1300);
    EXPECT_EQ(class_Elastic::widthNames().size(), 21U);
    EXPECT_EQ(class_Elastic::heightNames().size(), 19U);
}

TEST_F(ElasticTest, AControlThatRefusesAValueKeepsItsOldOneAndTheOthersGoOn) {
    window.controls.emplace_front(QStringLiteral("TabStrip1"), 0, 0, 500, 500);
    window.controls.front().refusesNegative = true;
    elastic.Init(window);
    resize(9000, 6000);
    resize(8000, 5000);  // TabStrip1 would get -500
    EXPECT_EQ(window.named(QStringLiteral("TabStrip1")).width, 500);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser1")).width, 8000);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser1")).height, 5000);
}

TEST_F(ElasticTest, AControlWithoutASizeIsRecordedAsZero) {
    window.controls.emplace_back(QStringLiteral("WebBrowser2"), 0, 0, 700, 700);
    window.controls.back().hasSize = false;
    elastic.Init(window);
    window.controls.back().hasSize = true;
    resize(9000, 6000);
    resize(9100, 6200);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser2")).width, 100);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser2")).height, 200);
}

TEST_F(ElasticTest, ControlsAddedAfterInitAreNotSeen) {
    window.controls.emplace_back(QStringLiteral("WebBrowser2"), 0, 0, 700, 700);
    resize(9000, 6000);
    resize(9900, 6000);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser2")).width, 700);
    EXPECT_EQ(window.named(QStringLiteral("WebBrowser1")).width, 9900);
}

TEST(Elastic, AWindowBeyondSixteenBitsFailsInInit) {
    FakeWindow window;
    window.width = 32768;
    class_Elastic elastic;
    try {
        elastic.Init(window);
        FAIL() << "no overflow";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.number(), err::kOverflow);
    }
    window.width = 32767;
    EXPECT_NO_THROW(elastic.Init(window));
}

}  // namespace
}  // namespace tf::testing
