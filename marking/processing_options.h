#pragma once

#include "grid/grid_logic.h"
#include "marking/folder_marking.h"
#include "tree/deleted_items.h"
#include "tree/folder_tree_builder.h"
#include "window/control_enabling.h"
#include "window/window_parts.h"

namespace tf {

// The processing options' click handlers: each refuses a state that the marks forbid, or forces
// the other options into one that goes with it. They run when the code sets a box as well.
class ProcessingOptions {
  public:
    // Registers the handlers with the controls.
    ProcessingOptions(WindowParts parts, FolderMarking& marking, FolderTreeBuilder& builder,
                      const DeletedItemsFolders& deletedItems, GridLogic& grid,
                      ControlEnabling& enabling);

    void chkDeleteFolders_Click();
    void chkPermanentDelete_Click();
    void chkTurbo_Click();
    void chkCollapseFolders_Click();
    void mnuResetOptions_Click();

  private:
    // Delete Folders just ticked: false when the marks forbid it and the box was set back.
    bool deleteFoldersAllowed();
    template <typename Forces>
    void force(const Forces& forces);

    WindowParts w_;
    FolderMarking& marking_;
    FolderTreeBuilder& builder_;
    const DeletedItemsFolders& deletedItems_;
    GridLogic& grid_;
    ControlEnabling& enabling_;
};

}  // namespace tf
