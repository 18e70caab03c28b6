#include "window/grid_rows.h"

namespace tf {

const ItemData* cachedItemOf(const FolderRecords& records, const GridRow& row) {
    if (row.folder < 1 || row.folder > records.upperBoundIndex() || row.item < 1) {
        return nullptr;
    }
    const FolderData& record = records[row.folder];
    if (static_cast<std::size_t>(row.item) > record.ItemCache.size()) {
        return nullptr;
    }
    const ItemData& item = record.ItemCache[static_cast<std::size_t>(row.item - 1)];
    return item.isHole() ? nullptr : &item;
}

int markedRowCount(const ItemsGrid& grid, const FolderRecords& records, int deletedItemsIndex) {
    int count = 0;
    for (int r = 1; r < grid.Rows(); ++r) {
        const GridRow& row = grid.row(r);
        if (row.mark == kRowMarked && cachedItemOf(records, row) != nullptr &&
            records[row.folder].Folder &&
            (deletedItemsIndex < 0 || records[row.folder].DeletedItemsIndex == deletedItemsIndex)) {
            ++count;
        }
    }
    return count;
}

}  // namespace tf
