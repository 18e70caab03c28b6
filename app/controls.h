#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <map>

#include "common/dates.h"

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
    virtual void controlChanged(const QString& name) = 0;
};

// The main window's controls by name. The logic changes them through update(), which tells the
// observer; a widget shell reports the user's changes back the same way.
class Controls {
  public:
    explicit Controls(const QStringList& names);

    const ControlState& operator[](const QString& name) const;
    bool has(const QString& name) const { return controls_.count(name) != 0; }
    QStringList names() const;

    template <typename Change>
    void update(const QString& name, Change&& change) {
        change(mutableState(name));
        if (observer_ != nullptr) {
            observer_->controlChanged(name);
        }
    }
    void setCaption(const QString& name, const QString& caption) {
        update(name, [&](ControlState& c) { c.caption = caption; });
    }
    void setVisible(const QString& name, bool visible) {
        update(name, [&](ControlState& c) { c.visible = visible; });
    }
    void setEnabled(const QString& name, bool enabled) {
        update(name, [&](ControlState& c) { c.enabled = enabled; });
    }
    int value(const QString& name) const { return (*this)[name].value; }
    // True while the check box is ticked.
    bool isOn(const char* box) const { return value(QLatin1String(box)) == 1; }
    // A check box's value. As with the real control, a change runs the box's click handler, so
    // that the interlocks hold whether the user or the code changed it.
    void setValue(const QString& name, int value);
    // Runs when setValue changes the value.
    void onClick(const QString& name, std::function<void()> handler) {
        handlers_[name] = std::move(handler);
    }

    void setObserver(ControlsObserver* observer) { observer_ = observer; }

  private:
    ControlState& mutableState(const QString& name);

    std::map<QString, ControlState> controls_;
    std::map<QString, std::function<void()>> handlers_;
    ControlsObserver* observer_ = nullptr;
};

}  // namespace tf
