#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>

#include "outlook/item_fields.h"
#include "store/local/sqlite_db.h"

// The items' and folders' rows as the store file holds them, and how they are read.
namespace tf::store::local {

struct ItemRow : outlook::ItemFields {
    qint64 id = 0;
    qint64 store = 0;
    qint64 folder = 0;
    QString entryId;
    bool hasSender = false;
};
using ItemRowPtr = std::shared_ptr<const ItemRow>;

// The columns readItemRow expects, in its order.
#define TF_ITEM_COLUMNS                                                                    \
    "id, store, folder, entry_id, class, subject, body, sender, received, modified, due, " \
    "completed, end_time, unread"

// The item whose TF_ITEM_COLUMNS start at column first.
ItemRowPtr readItemRow(const Statement& s, int first);

struct FolderRow {
    qint64 id = 0;
    qint64 store = 0;
    qint64 parent = 0;  // 0: a store's top folder
    QString name;
    QString entryId;
    long defaultType = 0;
    long defaultFolder = 0;
};

// The columns readFolderRow expects, from the first column on.
#define TF_FOLDER_COLUMNS \
    "id, store, coalesce(parent, 0), name, entry_id, default_type, default_folder"

FolderRow readFolderRow(const Statement& s);

}  // namespace tf::store::local
