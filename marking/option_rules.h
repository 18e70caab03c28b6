#pragma once

#include <array>

namespace tf {

// A value that an option forces on another box.
struct ForcedValue {
    const char* box;
    int value;
};

// What ticking Delete Folders forces: a folder is deleted whole, for good and unfiltered, with its
// sub-folders.
inline constexpr std::array<ForcedValue, 10> kDeleteFoldersForces = {{{"chkSelectByRow", 0},
                                                                      {"chkMarkSubFolders", 1},
                                                                      {"chkCollapseFolders", 0},
                                                                      {"chkTurbo", 0},
                                                                      {"chkPermanentDelete", 1},
                                                                      {"chkConfirmItems", 0},
                                                                      {"chkSelectUnread", 1},
                                                                      {"chkSelectSubject", 0},
                                                                      {"chkSelectDate", 0},
                                                                      {"chkSelectType", 0}}};

// What ticking Turbo forces: every item of the marked folders goes, for good and unconfirmed.
inline constexpr std::array<ForcedValue, 8> kTurboForces = {{{"chkSelectByRow", 0},
                                                             {"chkDeleteFolders", 0},
                                                             {"chkPermanentDelete", 1},
                                                             {"chkConfirmItems", 0},
                                                             {"chkSelectUnread", 1},
                                                             {"chkSelectDate", 0},
                                                             {"chkSelectSubject", 0},
                                                             {"chkSelectType", 0}}};

// What switching Select By Row on forces: every row shows, and the run takes rows, not folders.
inline constexpr std::array<ForcedValue, 4> kSelectByRowForces = {{{"chkShowSelectedItems", 1},
                                                                   {"chkShowUnselectedItems", 1},
                                                                   {"chkTurbo", 0},
                                                                   {"chkDeleteFolders", 0}}};

}  // namespace tf
