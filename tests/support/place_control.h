#pragma once

#include "window/controls.h"

namespace tf::testing {

// Puts a control where a test wants it, in twips.
inline void place(Controls& controls, Control control, double left, double top, double width,
                  double height) {
    controls.update(control, [&](ControlState& c) {
        c.left = left;
        c.top = top;
        c.width = width;
        c.height = height;
    });
}

}  // namespace tf::testing
