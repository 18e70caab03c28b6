#pragma once

#include "outlook/object_model.h"
#include "store/local/store_file.h"

namespace tf::store::local {

// One store of a store file as the object model shows it: the store, its folders and items are
// views of rows that read and change the file through the shared StoreFile.
outlook::StorePtr makeLocalStore(StoreFilePtr file, qint64 id, qint64 topFolder);

}  // namespace tf::store::local
