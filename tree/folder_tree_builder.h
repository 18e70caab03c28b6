#pragma once

#include "outlook/object_model.h"
#include "window/message_window.h"
#include "window/window_parts.h"

namespace tf {

// Builds the folder tree from the open stores, one FolderData record per node, and keeps the
// nodes' captions.
class FolderTreeBuilder {
  public:
    static inline const QString kRootKey = QStringLiteral("OUTLOOK");
    static inline const QString kRootName = QStringLiteral("Outlook");

    FolderTreeBuilder(WindowParts parts, MessageWindow& messageWindow)
        : w_(parts), messageWindow_(messageWindow) {}

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
    WindowParts w_;
    MessageWindow& messageWindow_;
    outlook::NameSpacePtr nameSpace_;
    bool severalStores_ = false;
};

}  // namespace tf
