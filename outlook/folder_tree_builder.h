#pragma once

#include "app/controls.h"
#include "common/message_window.h"
#include "common/prompter.h"
#include "common/yield.h"
#include "errors/error_trap.h"
#include "grid/items_grid.h"
#include "outlook/folder_data.h"
#include "outlook/folder_tree.h"
#include "outlook/object_model.h"

namespace tf {

// The colours the window paints rows and nodes with, set at start-up.
struct WindowColours {
    ColorRef highlight = 0x00FFFF00;         // selected grid rows
    ColorRef unloaded = rgb(150, 150, 255);  // a folder whose items are not all cached
    ColorRef loaded = 0;                     // a fully cached folder
};

// What the folder tree's logic works on: the window's shared state and its interfaces.
struct FolderTreeWindow {
    ErrorContext& errors;
    Prompter& prompter;
    Yield& yield;
    MessageWindow& messageWindow;
    FolderTree& tree;
    FolderRecords& records;
    ItemsGrid& grid;
    Controls& controls;
    const WindowColours& colours;
};

// Builds the folder tree from the open stores, one FolderData record per node, and keeps the
// nodes' captions.
class FolderTreeBuilder {
  public:
    static inline const QString kRootKey = QStringLiteral("OUTLOOK");
    static inline const QString kRootName = QStringLiteral("Outlook");

    explicit FolderTreeBuilder(FolderTreeWindow window) : w_(window) {}

    void setNameSpace(outlook::NameSpacePtr nameSpace) { nameSpace_ = std::move(nameSpace); }
    const outlook::NameSpacePtr& nameSpace() const { return nameSpace_; }
    // True while the root node is a virtual root over several stores.
    bool severalStores() const { return severalStores_; }

    void Build_Folder_Tree();
    void Add_Tree_Node(const outlook::FolderPtr& folder, int parentNode);
    void Set_Start_Folder();
    void Set_Node_Text(int node);
    long Get_Folder_Item_Count(int node, bool onlyMarked, bool includeChildren);
    int Get_Node_Index(int node) const;
    void Set_Folder_Label(int recordIndex);

    // "-:::-" + EntryID + "-:::-" + StoreID
    static QString nodeKey(const QString& entryID, const QString& storeID);
    // True for a folder with one of the ten default folder names, compared case-sensitively.
    static bool Check_Default_Folder(const outlook::FolderPtr& folder);

  private:
    FolderTreeWindow w_;
    outlook::NameSpacePtr nameSpace_;
    bool severalStores_ = false;
};

}  // namespace tf
