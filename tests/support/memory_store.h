#pragma once

#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "outlook/constants.h"
#include "outlook/item_fields.h"
#include "outlook/object_model.h"

namespace tf::testing {

using MemoryItemSpec = outlook::ItemFields;

struct MemoryFolderData;
struct MemoryItemData {
    QString entryID;
    MemoryItemSpec spec;
    mutable int fetched = 0;  // how often Items.Item handed this item out
};

struct MemoryFolderData {
    QString name;
    QString entryID;
    long defaultItemType = outlook::olMailItem;
    long defaultFolderType = 0;
    std::weak_ptr<MemoryFolderData> parent;
    std::vector<std::shared_ptr<MemoryFolderData>> folders;
    std::vector<std::shared_ptr<MemoryItemData>> items;
};

// A store kept in memory, for the window's logic tests: folders and items built by the test, and
// failures injected where a test wants them.
class MemoryStore : public outlook::Store, public std::enable_shared_from_this<MemoryStore> {
  public:
    using Folder = std::shared_ptr<MemoryFolderData>;

    static std::shared_ptr<MemoryStore> create(const QString& name, const QString& storeID);
    // A store with the ten default folders under its top folder.
    static std::shared_ptr<MemoryStore> withDefaultFolders(const QString& name,
                                                           const QString& storeID);

    Folder top() const { return top_; }
    Folder addFolder(const Folder& parent, const QString& name,
                     long defaultItemType = outlook::olMailItem, long defaultFolderType = 0);
    // The folder at a path of names below the top folder ("Inbox/Projects"); empty if none.
    Folder folder(const QString& path) const;
    void addItems(const Folder& folder, int count, const MemoryItemSpec& spec = {});
    std::shared_ptr<MemoryItemData> addItem(const Folder& folder, const MemoryItemSpec& spec);
    // Makes EntryID and StoreID of this folder fail.
    void breakIdentifiers(const Folder& folder) { brokenIds_.push_back(folder); }
    // Makes GetDefaultFolder fail for every type.
    void breakDefaultFolders() { defaultFoldersBroken_ = true; }
    // How many times the object model has been asked for Items.Count of any folder.
    int itemCountCalls() const { return itemCountCalls_; }
    // What the next takeReadNotes says once, as a store that passed over unreadable messages.
    void passOver(const QString& note) { readNotes_ = note; }
    QString takeReadNotes() override { return std::exchange(readNotes_, QString()); }

    outlook::FolderPtr wrap(const Folder& folder) const;
    outlook::ItemPtr wrap(const std::shared_ptr<MemoryItemData>& item, const Folder& in) const;

    // outlook::Store
    outlook::FolderPtr TopFolder() const override { return wrap(top_); }
    outlook::FolderPtr GetDefaultFolder(long folderType) const override;
    outlook::ItemPtr GetItemFromID(const QString& entryID) const override;
    QString StoreID() const override { return storeID_; }
    QString location() const override { return QStringLiteral("memory:") + top_->name; }

    // Used by the wrappers.
    bool contains(const Folder& folder) const;
    bool identifiersBroken(const MemoryFolderData* folder) const;
    void countCalled() const { ++itemCountCalls_; }
    Folder deletedItems() const;
    QString nextEntryID();

  private:
    MemoryStore() = default;

    Folder top_;
    QString storeID_;
    int nextId_ = 1;
    QString readNotes_;
    bool defaultFoldersBroken_ = false;
    std::vector<Folder> brokenIds_;
    mutable int itemCountCalls_ = 0;
};

}  // namespace tf::testing
