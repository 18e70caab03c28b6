#pragma once

#include <cstdint>
#include <functional>

#include "errors/error_trap.h"
#include "layout/slider_bar.h"
#include "window/controls.h"

namespace tf {

// The main window's outer width, in twips. Setting it may give the window less or more than was
// asked when the window cannot take that width; reading it back tells what it took.
class WindowWidth {
  public:
    virtual ~WindowWidth() = default;
    virtual double Width() const = 0;
    virtual void setWidth(double twips) = 0;
};

// The main window's two splitter bars: picSlider between the folder tree and the items grid,
// picSlider2 between the grid and the options frame, with the window's handlers for them. The
// first bar moves the boundary inside the window; the second one keeps the options frame's width
// and changes the window's width instead. After every release the current-folder label and the
// Clean button are brought back in line and the grid's columns follow its new width.
class SplitterLayout {
  public:
    SplitterLayout(ErrorContext& errors, Controls& controls);

    // Set by the window shell; until then the window takes any width it is given.
    void setWindow(WindowWidth* window) { window_ = window != nullptr ? window : &freeWindow_; }
    // Lets the grid's columns follow its width; does nothing until the grid is wired in.
    std::function<void()> resetColumnWidths = [] {};

    // Hands each bar its three controls, then brings everything into line once.
    void setUp();
    // After loading: a drag that the loading interrupted is finished off.
    void reapplyInterruptedDrag();

    void picSlider_MouseDown();
    void picSlider_MouseMove(double x);
    void picSlider_MouseUp();
    void picSlider2_MouseDown();
    void picSlider2_MouseMove(double x);
    void picSlider2_MouseUp();

    SliderBar first;
    SliderBar second;
    // The grid's and the options frame's widths when the first bar was last pressed.
    std::int32_t savedGridWidth = 0;
    std::int32_t savedOptionsWidth = 0;

  private:
    class FreeWindow : public WindowWidth {
      public:
        double Width() const override { return width_; }
        void setWidth(double twips) override { width_ = twips; }

      private:
        double width_ = 0;
    };

    void alignCurrentFolderLabel();

    ErrorContext& errors_;
    Controls& controls_;
    FreeWindow freeWindow_;
    WindowWidth* window_ = &freeWindow_;
};

}  // namespace tf
