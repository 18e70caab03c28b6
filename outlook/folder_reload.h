#pragma once

#include "app/window_parts.h"
#include "grid/grid_logic.h"
#include "outlook/folder_tree_builder.h"

namespace tf {

// Resets folder records so that their items are loaded again, and carries a mark down a subtree.
class FolderReload {
  public:
    FolderReload(WindowParts parts, FolderTreeBuilder& builder, GridLogic& grid)
        : w_(parts), builder_(builder), grid_(grid) {}

    void Reset_Folder_Node(int index);
    // Resets every folder marked for reload, each exactly once.
    void Reload_Marked_Folders();
    // Marks (or unmarks) node, its following siblings and all their sub-folders that are not
    // marked yet.
    void Set_Children_Nodes_Checkboxes(int node, bool checked);

  private:
    WindowParts w_;
    FolderTreeBuilder& builder_;
    GridLogic& grid_;
};

}  // namespace tf
