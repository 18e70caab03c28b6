#pragma once

#include <QString>
#include <array>
#include <cstdint>

#include "app/controls.h"
#include "common/dates.h"
#include "outlook/folder_data.h"
#include "outlook/folder_tree.h"
#include "outlook/object_model.h"

namespace tf {

// One member of the item-type check box array: the control's name, the item class it stands for
// and its caption.
struct TypeBox {
    std::int32_t itemClass;
    const char* name;
    const char* caption;
};
// The array in its own order, which is the order the type filter visits it in.
inline constexpr std::array<TypeBox, 6> kTypeBoxes = {{{43, "chkType43", "Mail"},
                                                       {26, "chkType26", "Appointments"},
                                                       {40, "chkType40", "Contacts"},
                                                       {42, "chkType42", "Journals"},
                                                       {48, "chkType48", "Tasks"},
                                                       {44, "chkType44", "Notes"}}};

// Decides from the filter options whether a cached item is selected for cleaning. The grid marks
// rows and the cleaning run deletes by the same answer, so the two always agree.
class ItemFilters {
  public:
    ItemFilters(const Controls& controls, const FolderTree& tree, const FolderRecords& records)
        : controls_(controls), tree_(tree), records_(records) {}

    // The item passes when its folder is marked and every filter that is on lets it through.
    bool Check_Filtered_Record(int node, int folder, int item) const;
    bool Check_Type(std::int32_t itemClass) const;
    bool Check_Date(OleDate itemDate) const;
    bool Check_Subject(const QString& subject) const;

  private:
    bool on(const QString& name) const;

    const Controls& controls_;
    const FolderTree& tree_;
    const FolderRecords& records_;
};

// An item's unread state; false when it cannot be read.
bool Check_Unread(const outlook::Item& item);

}  // namespace tf
