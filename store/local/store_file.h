#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>
#include <optional>
#include <unordered_map>

#include "store/local/change_grouping.h"
#include "store/local/folder_positions.h"
#include "store/local/sqlite_db.h"
#include "store/local/store_rows.h"

namespace tf::store::local {

// What all stores of one store file share: the connection, the folders' item positions, and
// every read and change the object model makes. A position counts from 0, an index from 1 as
// in the object model.
class StoreFile {
  public:
    explicit StoreFile(const QString& path);

    Database db;
    QString location;
    std::unordered_map<qint64, QString> storeIds;  // stores.id -> StoreID

    long count(qint64 folder);
    // The count as last read, without looking for changes made elsewhere.
    long knownCount(qint64 folder) { return positions(folder).count(); }
    ItemRowPtr rowAt(qint64 folder, long position);
    // Empty when the store holds no such item.
    ItemRowPtr itemByEntryId(qint64 store, const QString& entryId);
    // The folder that holds the item now, or nothing when the item is gone.
    std::optional<qint64> folderOfItem(const ItemRow& row);

    std::optional<FolderRow> folderById(qint64 id);
    // The folder as it is now; fails when it has been deleted since it was read.
    FolderRow currentFolder(const FolderRow& folder);
    std::optional<FolderRow> childAt(qint64 parent, long index);
    long childCount(qint64 parent);
    std::optional<FolderRow> defaultFolder(qint64 store, long type);

    // Item::Delete: a move to the end of the store's Deleted Items, or a delete for good there.
    void deleteItem(const ItemRow& row);
    // Items::Remove: deletes the item at a position for good.
    void removeAt(qint64 folder, long index);
    // Folders::Remove: the folder with its sub-folders and their items, for good.
    void removeChild(qint64 parent, long index);

    // A grouped run of changes (NameSpace::beginChanges); calls nest.
    void beginChanges() { changes_.beginGroup(); }
    void endChanges() { changes_.endGroup(); }

  private:
    // Drops every cache when another connection has changed the file since.
    void sync();
    // Drops every cache, as after a group that was undone.
    void forgetAll();
    FolderPositions& positions(qint64 folder);
    void forget(qint64 folder, qint64 seq);
    // The store's "Deleted Items" folder; looked up once until the file changes elsewhere.
    qint64 deletedItemsOf(qint64 store);

    std::unordered_map<qint64, FolderPositions> positions_;
    std::unordered_map<qint64, qint64> deletedItems_;  // store -> its Deleted Items folder
    qint64 dataVersion_ = -1;
    ChangeGrouping changes_;
};
using StoreFilePtr = std::shared_ptr<StoreFile>;

// The failures of objects read before the file changed under them.
[[noreturn]] void itemGone();
[[noreturn]] void folderGone(const QString& name);

}  // namespace tf::store::local
