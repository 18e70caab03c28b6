#pragma once

#include "errors/error_trap.h"
#include "tree/folder_tree_builder.h"
#include "window/controls.h"
#include "window/folder_data.h"
#include "window/folder_tree.h"

namespace tf {

// Finds each store's "Deleted Items" folder once the tree is built, records it in every folder
// record of the store, and answers whether a node is such a folder and whether it may be marked.
class DeletedItemsFolders {
  public:
    static inline const QString kName = QStringLiteral("Deleted Items");

    DeletedItemsFolders(ErrorContext& errors, const FolderTree& tree, FolderRecords& records,
                        const FolderTreeBuilder& builder, const Controls& controls)
        : errors_(errors), tree_(tree), records_(records), builder_(builder), controls_(controls) {}

    void Assigne_Deleted_Items_Folders();
    // The record index of the store's own top-level "Deleted Items", 0 when it has none.
    int Get_Deleted_Items_Folder(int storeNode);
    void Assign_Deleted_Items_Folder_Index(int node, int index);
    bool Is_Deleted_Items_Folder(int node) const;
    // A marked "Deleted Items" folder is allowed only while Permanent Delete is on.
    bool Allow_Deleted_Items_Folder(int node) const;

  private:
    ErrorContext& errors_;
    const FolderTree& tree_;
    FolderRecords& records_;
    const FolderTreeBuilder& builder_;
    const Controls& controls_;
};

}  // namespace tf
