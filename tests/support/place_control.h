#pragma once

#include "app/controls.h"

namespace tf::testing {

// Puts a control where a test wants it, in twips.
inline void place(Controls& controls, const QString& name, double left, double top, double width,
                  double height) {
    controls.update(name, [&](ControlState& c) {
        c.left = left;
        c.top = top;
        c.width = width;
        c.height = height;
    });
}

}  // namespace tf::testing
