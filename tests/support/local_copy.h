#pragma once

#include <QString>
#include <map>
#include <memory>
#include <vector>

#include "tests/support/memory_store.h"

namespace tf::testing {

// Writes stores laid out with the MemoryStore builder into one embedded store file, folders and
// items in the same order, so that a test may build its layout once and run it on the real store.
void writeLocalStoreFile(const std::vector<std::shared_ptr<MemoryStore>>& stores,
                         const QString& path);

// What a store file holds now, read through a connection of its own: the number of items in
// every folder, keyed "Store/Folder/Sub".
std::map<QString, int> folderCounts(const QString& path);
// The subjects of one folder's items, in order.
QStringList subjectsIn(const QString& path, const QString& folderPath);

}  // namespace tf::testing
