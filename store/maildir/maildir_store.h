#pragma once

#include <QString>

#include "outlook/object_model.h"

namespace tf::store::maildir {

// Opens a Maildir++ tree as one store. The root's cur/ and new/ are the Inbox; ".Name" and
// ".Parent.Child" are folders (".INBOX.Child" a folder below the Inbox). The store's top folder
// is called accountName, or after the root folder when that is empty. The Trash folder (Deleted
// Items, Trash, Deleted Messages or Deleted at the top) shows as "Deleted Items" and is made
// when there is none. Throws tf::Failure, naming the folder, when root is not a writable
// Maildir.
outlook::StorePtr openMaildirStore(const QString& root, const QString& accountName = {});

}  // namespace tf::store::maildir
