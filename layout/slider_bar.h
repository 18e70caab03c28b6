#pragma once

#include <QString>
#include <cstdint>

#include "window/controls.h"

namespace tf {

// The pointer shape of a bar that can be dragged sideways.
inline constexpr int kSizeWestEast = 9;

// One draggable vertical bar between two panes. While the mouse button is held the bar follows
// the pointer, held between the left pane's left edge and the right pane's right edge; on release
// the panes are resized to meet it. All arithmetic is in twips on the controls' own values.
class SliderBar {
  public:
    explicit SliderBar(Controls& controls) : controls_(controls) {}

    void setResizingWindows(bool resizing) { resizing_ = resizing; }
    bool ResizingWindows() const { return resizing_; }

    // Keeps the three controls, lines the bar and the right pane up with the left pane and
    // makes the panes meet the bar. A barWidth of 0 or less keeps the bar's designed width.
    void Setup(Control left, Control right, Control bar, std::int16_t barWidth);
    void Mouse_Down() { resizing_ = true; }
    // x: the pointer's position inside the bar, in twips.
    void Mouse_Move(double x);
    // Runs whether or not a drag is under way, so it also re-applies the layout.
    void Mouse_Up();

    Control bar() const { return bar_; }

  private:
    const ControlState& state(Control control) const { return controls_[control]; }

    Controls& controls_;
    Control left_ = Control::trvFolders;
    Control right_ = Control::grdItems;
    Control bar_ = Control::picSlider;
    bool resizing_ = false;
};

}  // namespace tf
