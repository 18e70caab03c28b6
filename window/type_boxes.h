#pragma once

#include <array>
#include <cstdint>

#include "window/control_ids.h"

namespace tf {

// One member of the item-type check box array: the control, the item class it stands for
// and its caption.
struct TypeBox {
    std::int32_t itemClass;
    Control control;
    const char* caption;
};
// The array in its own order, which is the order the type filter visits it in.
inline constexpr std::array<TypeBox, 6> kTypeBoxes = {{{43, Control::chkType43, "Mail"},
                                                       {26, Control::chkType26, "Appointments"},
                                                       {40, Control::chkType40, "Contacts"},
                                                       {42, Control::chkType42, "Journals"},
                                                       {48, Control::chkType48, "Tasks"},
                                                       {44, Control::chkType44, "Notes"}}};

}  // namespace tf
