#pragma once

#include <QString>
#include <QStringList>
#include <vector>

#include "outlook/object_model.h"

namespace tf::store::local {

// Opens every store of a store file, in the order they were created. Throws tf::Failure, with
// the file named, when the file is missing, read-only, damaged, not a store file, or written by a
// newer version. The stores share one connection; each change is one transaction.
std::vector<outlook::StorePtr> openLocalStores(const QString& path);

// Problems found in a store file: SQLite's own check, items in folders that do not exist, two
// items at one position of a folder, an EntryID used twice in a store, folders without their
// parent. Empty when the file is sound. Never changes the file.
QStringList checkStoreFile(const QString& path);

}  // namespace tf::store::local
