#pragma once

#include <QString>
#include <optional>

#include "outlook/mapi_utils.h"
#include "tree/folder_tree_builder.h"
#include "window/folder_rows.h"
#include "window/item_data.h"
#include "window/window_parts.h"

namespace tf {

// Reads every item of every folder once into the folders' item caches, in the window's own
// thread, yielding after every item. The selected folder goes first, then the marked folders,
// then the rest; a folder broken off is resumed later at its first unread item.
class ItemCacheLoader {
  public:
    ItemCacheLoader(WindowParts parts, FolderTreeBuilder& builder, FolderRows& grid)
        : w_(parts), builder_(builder), grid_(grid) {}

    void Cache_Folder_Items();
    // The first marked node, in index order, still in the not-loaded colour; 0 for none.
    int Get_Next_Unloaded_Checked_Node() const;
    bool All_Folders_Cached() const;
    // True when nothing is left to load; sizes the folder's cache before its first item.
    bool Check_Cache_Status(int folder, int node);
    // True when the folder was read to its end, false when loading was broken off.
    bool Cache_Selected_Folder(int folder, int node);
    // True when the item was read; false when reading it failed part-way.
    bool Cache_Current_Item(int item, int folder, const outlook::Items& items);
    void Add_100_New_Rows(int folder, int node);
    void Display_Cache_Status(const QString& folderName, long count);

  private:
    WindowParts w_;
    FolderTreeBuilder& builder_;
    FolderRows& grid_;
    std::optional<outlook::TidyMAPIUtils> MapiUtils;
};

// The item's date by its class, date part only.
OleDate Get_Item_Date(const outlook::Item& item);
// The later of two dates, where the empty date gives way to the other.
OleDate laterDate(OleDate a, OleDate b);
// Closes the holes that deleted items left in a folder's cache; the rest keep their order.
void Pack_Items_Array(FolderData& record);

}  // namespace tf
