#include "layout/splitter_layout.h"

#include "common/numbers.h"

namespace tf {

namespace {
constexpr Control kTree = Control::trvFolders;
constexpr Control kGrid = Control::grdItems;
constexpr Control kOptions = Control::frmOptions;
constexpr Control kBar1 = Control::picSlider;
constexpr Control kBar2 = Control::picSlider2;
constexpr Control kLabel = Control::lblCurrentFolder;
constexpr Control kRun = Control::cmdRun;
}  // namespace

SplitterLayout::SplitterLayout(ErrorContext& errors, Controls& controls)
    : first(controls), second(controls), errors_(errors), controls_(controls) {}

void SplitterLayout::setUp() {
    first.Setup(kTree, kGrid, kBar1, 0);
    second.Setup(kGrid, kOptions, kBar2, 0);
    picSlider_MouseUp();
    picSlider2_MouseUp();
}

void SplitterLayout::reapplyInterruptedDrag() {
    if (first.ResizingWindows()) {
        picSlider_MouseUp();
    } else if (second.ResizingWindows()) {
        picSlider2_MouseUp();
    }
}

void SplitterLayout::picSlider_MouseDown() {
    errors_.run(QStringLiteral("picSlider_MouseDown"), [&](Procedure&) {
        first.Mouse_Down();
        savedGridWidth = toInt32(controls_[kGrid].width);
        savedOptionsWidth = toInt32(controls_[kOptions].width);
    });
}

void SplitterLayout::picSlider_MouseMove(double x) {
    errors_.run(QStringLiteral("picSlider_MouseMove"), [&](Procedure&) { first.Mouse_Move(x); });
}

void SplitterLayout::picSlider_MouseUp() {
    errors_.run(QStringLiteral("picSlider_MouseUp"), [&](Procedure&) {
        first.Mouse_Up();
        alignCurrentFolderLabel();
        resetColumnWidths();
    });
}

void SplitterLayout::picSlider2_MouseDown() {
    errors_.run(QStringLiteral("picSlider2_MouseDown"), [&](Procedure&) { second.Mouse_Down(); });
}

void SplitterLayout::picSlider2_MouseMove(double x) {
    errors_.run(QStringLiteral("picSlider2_MouseMove"), [&](Procedure&) { second.Mouse_Move(x); });
}

void SplitterLayout::picSlider2_MouseUp() {
    errors_.run(QStringLiteral("picSlider2_MouseUp"), [&](Procedure&) {
        const std::int32_t rightSpace = toInt32(window_->Width() - controls_[kOptions].left);
        const ControlState& bar = controls_[kBar2];
        const std::int32_t barEnd = toInt32(bar.left + bar.width);
        window_->setWidth(barEnd + rightSpace);

        // A window that could not take the width asked for moves the bar by the difference.
        const double taken = window_->Width() - barEnd;
        if (taken != rightSpace) {
            controls_.update(kBar2, [&](ControlState& b) { b.left -= rightSpace - taken; });
        }
        const ControlState& grid = controls_[kGrid];
        controls_.update(kGrid, [&](ControlState& g) {
            g.width = bar.left - grid.left > 0 ? bar.left - grid.left : 0;
        });
        controls_.update(kOptions, [&](ControlState& o) { o.left = bar.left + bar.width; });
        const double optionsLeft = controls_[kOptions].left;
        controls_.update(kRun, [&](ControlState& r) { r.left = optionsLeft; });
        second.setResizingWindows(false);
        alignCurrentFolderLabel();
        resetColumnWidths();
    });
}

void SplitterLayout::alignCurrentFolderLabel() {
    // The label spans the grid, the second bar and the options frame, inset by 75 twips.
    const ControlState& grid = controls_[kGrid];
    const double width =
        roundHalfEven(grid.width + controls_[kBar2].width + controls_[kOptions].width - 75);
    controls_.update(kLabel, [&](ControlState& l) {
        l.left = grid.left + 75;
        l.width = width >= 1 ? width : 0;
    });
}

}  // namespace tf
