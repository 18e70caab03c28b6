#include "tree/deleted_items.h"

namespace tf {

void DeletedItemsFolders::Assigne_Deleted_Items_Folders() {
    errors_.run(QStringLiteral("Assigne_Deleted_Items_Folders"), [&](Procedure&) {
        if (tree_.count() == 0) {
            return;
        }
        const int root = tree_.find(FolderTreeBuilder::kRootKey);
        const int first = builder_.severalStores() ? tree_.Child(root) : root;
        for (int store = first; store != 0; store = tree_.Next(store)) {
            Assign_Deleted_Items_Folder_Index(store, Get_Deleted_Items_Folder(store));
        }
    });
}

int DeletedItemsFolders::Get_Deleted_Items_Folder(int storeNode) {
    int found = 0;
    errors_.run(QStringLiteral("Get_Deleted_Items_Folder"), [&](Procedure&) {
        for (int child = tree_.Child(storeNode); child != 0; child = tree_.Next(child)) {
            const int index = builder_.Get_Node_Index(child);
            const outlook::FolderPtr& folder = records_[index].Folder;
            if (!folder) {
                continue;
            }
            QString name;
            // A folder whose name cannot be read is passed over.
            if (!errors_.attempt([&] { name = folder->Name(); })) {
                errors_.current.clear();
                continue;
            }
            if (name == kName) {
                found = index;
                return;
            }
        }
    });
    return found;
}

void DeletedItemsFolders::Assign_Deleted_Items_Folder_Index(int node, int index) {
    records_[builder_.Get_Node_Index(node)].DeletedItemsIndex = index;
    for (int child = tree_.Child(node); child != 0; child = tree_.Next(child)) {
        Assign_Deleted_Items_Folder_Index(child, index);
    }
}

bool DeletedItemsFolders::Is_Deleted_Items_Folder(int node) const {
    const outlook::FolderPtr& folder = records_[builder_.Get_Node_Index(node)].Folder;
    return folder && folder->Name() == kName;
}

bool DeletedItemsFolders::Allow_Deleted_Items_Folder(int node) const {
    return controls_[Control::chkPermanentDelete].value == 1 || !Is_Deleted_Items_Folder(node) ||
           !tree_.node(node).Checked;
}

}  // namespace tf
