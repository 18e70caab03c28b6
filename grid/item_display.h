#pragma once

#include "outlook/item_window.h"
#include "tree/folder_tree_builder.h"
#include "window/window_parts.h"

namespace tf {

// Opens the item of a grid row in the read-only item window: by a double click on the row, or
// by Enter, which opens the row last pressed with the mouse.
class ItemDisplay {
  public:
    static constexpr int kEnter = 13;

    ItemDisplay(WindowParts parts, FolderTreeBuilder& builder) : w_(parts), builder_(builder) {}

    // The window items open in; none until the program hands one over.
    void setItemWindow(outlook::ItemWindow* window) { window_ = window; }

    // The grid's mouse-down: the row under the pointer becomes the current row.
    void grdItems_MouseDown(int row) { CurrentRow = row; }
    void grdItems_DblClick(int mouseRow);
    // gridRow is the row the grid's cursor is on, which only has to be a data row.
    void grdItems_KeyPress(int keyCode, int gridRow);
    void Display_Current_Item();

    int CurrentRow = 0;

  private:
    WindowParts w_;
    FolderTreeBuilder& builder_;
    outlook::ItemWindow* window_ = nullptr;
};

}  // namespace tf
