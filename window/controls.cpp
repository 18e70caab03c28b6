#include "window/controls.h"

namespace tf {

std::optional<Control> controlNamed(const QString& name) {
    for (std::size_t i = 0; i < kControlNames.size(); ++i) {
        if (name == QLatin1String(kControlNames[i])) {
            return static_cast<Control>(i);
        }
    }
    return std::nullopt;
}

const std::array<Control, kControlCount>& allControls() {
    static const std::array<Control, kControlCount> all = [] {
        std::array<Control, kControlCount> controls{};
        for (std::size_t i = 0; i < controls.size(); ++i) {
            controls[i] = static_cast<Control>(i);
        }
        return controls;
    }();
    return all;
}

void Controls::setValue(Control box, int value) {
    if ((*this)[box].value == value) {
        return;
    }
    update(box, [&](ControlState& c) { c.value = value; });
    if (const std::function<void()>& handler = handlers_[slot(box)]) {
        handler();
    }
}

}  // namespace tf
