#pragma once

#include "app/controls.h"
#include "grid/grid_logic.h"
#include "outlook/folder_tree.h"

namespace tf {

// Switches the commands that need a selection on and off.
class ControlEnabling {
  public:
    ControlEnabling(Controls& controls, const FolderTree& tree, const GridLogic& grid)
        : controls_(controls), tree_(tree), grid_(grid) {}

    // Clean needs something to clean: a selected row with select-by-row on, a marked folder
    // otherwise. Unmark needs a marked folder.
    void Enable_Command_Buttons();
    int markedNodes() const;

  private:
    Controls& controls_;
    const FolderTree& tree_;
    const GridLogic& grid_;
};

}  // namespace tf
