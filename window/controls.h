#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>
#include <functional>

#include "common/dates.h"
#include "window/control_ids.h"

namespace tf {

// One control of the main window as the logic sees it. Positions are in twips (15 to a pixel at
// 96 dpi), the unit the layout arithmetic is written in.
struct ControlState {
    QString caption;  // also the text of a text box
    QString toolTip;
    bool enabled = true;
    bool visible = true;
    int value = 0;     // check boxes: 1 on, 0 off
    OleDate date = 0;  // the date picker
    double left = 0, top = 0, width = 0, height = 0;
    double x1 = 0, x2 = 0;  // lines
    int mousePointer = 0;   // 9: the west-east sizing arrow
    int whatsThisHelpID = 0;
    QString tag;
    std::uint32_t backColor = kWindowBackground;

    // The system colour of a window's background (COLOR_WINDOW).
    static constexpr std::uint32_t kWindowBackground = 0x80000005;
    // The system colour of a dialog's face, the main window's own background (COLOR_BTNFACE).
    static constexpr std::uint32_t kFormBackground = 0x8000000F;
};

// Told when the logic changes a control, so that the real widget follows.
class ControlsObserver {
  public:
    virtual ~ControlsObserver() = default;
    virtual void controlChanged(Control control) = 0;
};

// The main window's controls. The logic changes them through update(), which tells the observer;
// a widget shell reports the user's changes back the same way.
class Controls {
  public:
    const ControlState& operator[](Control control) const { return states_[slot(control)]; }

    template <typename Change>
    void update(Control control, Change&& change) {
        change(states_[slot(control)]);
        if (observer_ != nullptr) {
            observer_->controlChanged(control);
        }
    }
    void setCaption(Control control, const QString& caption) {
        update(control, [&](ControlState& c) { c.caption = caption; });
    }
    void setVisible(Control control, bool visible) {
        update(control, [&](ControlState& c) { c.visible = visible; });
    }
    void setEnabled(Control control, bool enabled) {
        update(control, [&](ControlState& c) { c.enabled = enabled; });
    }
    int value(Control control) const { return (*this)[control].value; }
    // True while the check box is ticked.
    bool isOn(Control box) const { return value(box) == 1; }
    // A check box's value. As with the real control, a change runs the box's click handler, so
    // that the interlocks hold whether the user or the code changed it.
    void setValue(Control box, int value);
    // Runs when setValue changes the value.
    void onClick(Control box, std::function<void()> handler) {
        handlers_[slot(box)] = std::move(handler);
    }

    void setObserver(ControlsObserver* observer) { observer_ = observer; }

  private:
    static std::size_t slot(Control control) { return static_cast<std::size_t>(control); }

    std::array<ControlState, kControlCount> states_;
    std::array<std::function<void()>, kControlCount> handlers_;
    ControlsObserver* observer_ = nullptr;
};

}  // namespace tf
