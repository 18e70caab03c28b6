#include "layout/slider_bar.h"

#include "common/numbers.h"

namespace tf {

void SliderBar::Setup(Control left, Control right, Control bar, std::int16_t barWidth) {
    left_ = left;
    right_ = right;
    bar_ = bar;
    const ControlState& l = state(left_);
    controls_.update(bar_, [&](ControlState& b) {
        b.mousePointer = kSizeWestEast;
        if (barWidth > 0) {
            b.width = barWidth;
        }
        b.top = l.top;
        b.height = l.height;
    });
    const ControlState& b = state(bar_);
    controls_.update(right_, [&](ControlState& r) {
        r.top = l.top;
        r.height = l.height;
    });
    controls_.update(left_, [&](ControlState& s) { s.width = b.left - s.left; });
    controls_.update(right_, [&](ControlState& r) { r.left = b.left + b.width; });
}

void SliderBar::Mouse_Move(double x) {
    if (!resizing_) {
        return;
    }
    const ControlState& l = state(left_);
    const ControlState& r = state(right_);
    controls_.update(bar_, [&](ControlState& b) {
        if (b.left + x < l.left) {
            b.left = l.left;
        } else if (b.left + b.width + x > r.left + r.width) {
            b.left = r.left + r.width - b.width;
        } else {
            b.left = b.left + x;
        }
    });
}

void SliderBar::Mouse_Up() {
    const ControlState& b = state(bar_);
    if (b.left - state(left_).left > 0) {
        controls_.update(left_, [&](ControlState& l) { l.width = b.left - l.left; });
    } else {
        controls_.update(left_, [](ControlState& l) { l.width = 0; });
        const ControlState& l = state(left_);
        controls_.update(bar_, [&](ControlState& s) { s.left = l.left + l.width; });
    }

    const ControlState& r = state(right_);
    const std::int32_t rightEdge = toInt32(r.left + r.width);
    controls_.update(right_, [&](ControlState& s) {
        s.left = rightEdge - (b.left + b.width) > 0 ? b.left + b.width : rightEdge;
    });
    controls_.update(right_, [&](ControlState& s) {
        if (rightEdge - s.left > 0) {
            s.width = rightEdge - s.left;
        } else {
            s.width = 0;
            s.left = rightEdge - s.width;
        }
    });
    resizing_ = false;
}

}  // namespace tf
