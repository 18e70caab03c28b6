#pragma once

#include "grid/grid_logic.h"
#include "tree/deleted_items.h"
#include "tree/folder_reload.h"
#include "tree/folder_tree_builder.h"
#include "window/control_enabling.h"
#include "window/window_parts.h"

namespace tf {

// The folder tree's check marks: which ticks the rules allow, what an allowed tick changes in the
// rest of the window, and the operations over all marks.
class FolderMarking {
  public:
    FolderMarking(WindowParts parts, FolderTreeBuilder& builder,
                  const DeletedItemsFolders& deletedItems, GridLogic& grid, FolderReload& reload,
                  ControlEnabling& enabling)
        : w_(parts),
          builder_(builder),
          deletedItems_(deletedItems),
          grid_(grid),
          reload_(reload),
          enabling_(enabling) {}

    // The tree's events. A tick or a click only records itself; the mouse-up (or the key-up, so
    // that the space bar ticks the same way) decides.
    void trvFolder_NodeCheck(int node, bool checked);
    void trvFolders_NodeClick(int node);
    void trvFolders_MouseUp();
    void trvFolders_KeyUp() { trvFolders_MouseUp(); }
    void trvFolders_Expand(int node);
    void trvFolders_Collapse(int node);

    // Applies the marking rules to a node the user has just ticked or unticked. False when the
    // change was refused: the message was shown and the mark set back.
    bool Check_Node_Click(int node);
    void Node_Click_Or_Check(int node);
    bool Check_Root_Node(int node) const;
    // True when some marked folder at or below node has an unmarked child.
    bool Check_For_Unmarked_Child(int node) const;
    // True when every marked folder is fully loaded.
    bool Check_Selected_Folders() const;
    int Count_Selected_Nodes() const;
    // Unmarks every node but the one with this index.
    void Deselect_Folder_Nodes(int keep);
    // Unmarks node, its siblings and everything below them.
    void Unmark_Nodes(int node);
    void mnuUnmark_Click();

    // With several stores under a virtual root, the stores' own nodes are root folders too.
    bool TopLevelIsRoot() const { return builder_.severalStores(); }

  private:
    enum class Refusal { None, DefaultFolder, RootFolder, DeletedItems, MarkedParent };
    // The rule that forbids the node's present mark, if any.
    Refusal refusalOf(int node) const;
    void tellRefusal(Refusal refusal);
    // Marks the sub-folders with their parent, leaving out what the rules forbid to mark.
    void markSubFolders(int node);
    // Unmarks the "Deleted Items" folders below node that Permanent Delete being off forbids;
    // true when there was one.
    bool unmarkDeletedItemsBelow(int node);
    void changeCurrentFolder(int node);

    WindowParts w_;
    FolderTreeBuilder& builder_;
    const DeletedItemsFolders& deletedItems_;
    GridLogic& grid_;
    FolderReload& reload_;
    ControlEnabling& enabling_;
    bool NodeClicked_ = false;
    bool NodeChecked_ = false;
};

}  // namespace tf
