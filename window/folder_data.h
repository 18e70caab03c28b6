#pragma once

#include <cstdint>
#include <vector>

#include "common/failure.h"
#include "outlook/object_model.h"
#include "window/item_data.h"

namespace tf {

// The per-folder record behind one tree node; record i belongs to the node whose Tag is "i".
struct FolderData {
    std::int32_t DeletedCount = 0;       // kept by the deletion strategies
    outlook::FolderPtr Folder;           // empty for the virtual root over several stores
    std::int32_t DeletedItemsIndex = 0;  // record of this store's "Deleted Items", 0 if none
    std::int32_t CachedCount = 0;        // leading items of the folder read into the cache
    std::int32_t GridCount = 0;          // leading cached items already handed to the grid
    bool Loaded = false;                 // nothing (more) to load into the item cache
    bool Reload = false;                 // to be reset and loaded again
    std::vector<ItemData> ItemCache;     // ItemCache[i - 1] is the folder's item i
    std::uint32_t Resets = 0;            // how often the record was reset, for a loader in flight
};

// The FolderData array: indexed from 1, one record per tree node.
class FolderRecords {
  public:
    // Re-creates the array with one empty record.
    void recreate() { records_.assign(1, FolderData{}); }
    // Grows the array to upperBound records, keeping the contents.
    void grow(int upperBound) {
        if (upperBound > upperBoundIndex()) {
            records_.resize(static_cast<std::size_t>(upperBound));
        }
    }
    int upperBoundIndex() const { return static_cast<int>(records_.size()); }

    FolderData& operator[](int index) { return records_.at(checked(index)); }
    const FolderData& operator[](int index) const { return records_.at(checked(index)); }

    // Clears the three numbers after the folder, the flags and the items it had cached; the
    // folder stays. The store's "Deleted Items" index is found again by the next tree build.
    void reset(int index) {
        FolderData& record = (*this)[index];
        record.DeletedItemsIndex = 0;
        record.CachedCount = 0;
        record.GridCount = 0;
        record.Loaded = false;
        record.Reload = false;
        record.ItemCache = {};
        ++record.Resets;
    }

  private:
    std::size_t checked(int index) const {
        if (index < 1 || index > upperBoundIndex()) {
            throw Failure(err::kSubscriptOutOfRange, QStringLiteral("Subscript out of range"));
        }
        return static_cast<std::size_t>(index - 1);
    }

    std::vector<FolderData> records_;
};

}  // namespace tf
