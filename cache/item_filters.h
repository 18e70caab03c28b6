#pragma once

#include <QString>
#include <array>
#include <cstdint>

#include "common/dates.h"
#include "outlook/object_model.h"
#include "window/controls.h"
#include "window/folder_data.h"
#include "window/folder_tree.h"
#include "window/item_data.h"
#include "window/type_boxes.h"

namespace tf {

// Decides from the filter options whether a cached item is selected for cleaning. The grid marks
// rows and the cleaning run deletes by the same answer, so the two always agree.
class ItemFilters {
  public:
    ItemFilters(const Controls& controls, const FolderTree& tree, const FolderRecords& records)
        : controls_(controls), tree_(tree), records_(records) {}

    // The item passes when its folder is marked and every filter that is on lets it through.
    bool Check_Filtered_Record(int node, int folder, int item) const;
    // The one test of an item's fields that the grid's marks and every cleaning strategy share:
    // its folder is marked and each filter that is on lets it through.
    bool selects(bool folderMarked, const ItemData& item) const;
    bool Check_Type(std::int32_t itemClass) const;
    bool Check_Date(OleDate itemDate) const;
    bool Check_Subject(const QString& subject) const;

  private:
    bool on(Control box) const;

    const Controls& controls_;
    const FolderTree& tree_;
    const FolderRecords& records_;
};

// An item's unread state; false when it cannot be read.
bool Check_Unread(const outlook::Item& item);

}  // namespace tf
