#pragma once

#include "window/items_grid.h"

namespace tf {

// What loading and reloading folders ask of the items grid: a folder's rows in and out, and the
// order again. The grid's rules implement it; the loops below them know no more of the grid.
class FolderRows {
  public:
    virtual ~FolderRows() = default;
    // Hands the folder's cached items that the grid has not shown yet to the grid.
    virtual void Add_Folder_Rows(int folder, int node, RowMarker marker) = 0;
    virtual void Remove_Folder_Rows(int folder) = 0;
    virtual void Set_Grid_Order() = 0;
};

}  // namespace tf
