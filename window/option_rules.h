#pragma once

#include <array>

#include "window/control_ids.h"

namespace tf {

// A value that an option forces on another box.
struct ForcedValue {
    Control box;
    int value;
};

// What ticking Delete Folders forces: a folder is deleted whole, for good and unfiltered, with its
// sub-folders.
inline constexpr std::array<ForcedValue, 10> kDeleteFoldersForces = {
    {{Control::chkSelectByRow, 0},
     {Control::chkMarkSubFolders, 1},
     {Control::chkCollapseFolders, 0},
     {Control::chkTurbo, 0},
     {Control::chkPermanentDelete, 1},
     {Control::chkConfirmItems, 0},
     {Control::chkSelectUnread, 1},
     {Control::chkSelectSubject, 0},
     {Control::chkSelectDate, 0},
     {Control::chkSelectType, 0}}};

// What ticking Turbo forces: every item of the marked folders goes, for good and unconfirmed.
inline constexpr std::array<ForcedValue, 8> kTurboForces = {{{Control::chkSelectByRow, 0},
                                                             {Control::chkDeleteFolders, 0},
                                                             {Control::chkPermanentDelete, 1},
                                                             {Control::chkConfirmItems, 0},
                                                             {Control::chkSelectUnread, 1},
                                                             {Control::chkSelectDate, 0},
                                                             {Control::chkSelectSubject, 0},
                                                             {Control::chkSelectType, 0}}};

// What switching Select By Row on forces: every row shows, and the run takes rows, not folders.
inline constexpr std::array<ForcedValue, 4> kSelectByRowForces = {
    {{Control::chkShowSelectedItems, 1},
     {Control::chkShowUnselectedItems, 1},
     {Control::chkTurbo, 0},
     {Control::chkDeleteFolders, 0}}};

}  // namespace tf
