#pragma once

#include "window/folder_data.h"
#include "window/items_grid.h"

namespace tf {

// The cached item a grid row stands for; none when the row points past the cache or at an item
// a run has deleted.
const ItemData* cachedItemOf(const FolderRecords& records, const GridRow& row);

// The marked rows whose items are still in the cache of a real folder; with a Deleted Items index
// of 0 or more, only the rows of folders that move their items to that folder.
int markedRowCount(const ItemsGrid& grid, const FolderRecords& records, int deletedItemsIndex = -1);

}  // namespace tf
