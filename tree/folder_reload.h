#pragma once

#include "tree/folder_tree_builder.h"
#include "window/folder_rows.h"
#include "window/window_parts.h"

namespace tf {

// Resets folder records so that their items are loaded again, and carries a mark down a subtree.
class FolderReload {
  public:
    FolderReload(WindowParts parts, FolderTreeBuilder& builder, FolderRows& grid)
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
    FolderRows& grid_;
};

}  // namespace tf
