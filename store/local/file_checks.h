#pragma once

#include <QString>

#include "store/local/sqlite_db.h"

// The checks a file passes before it is opened as a store file.
namespace tf::store::local {

// Refuses a path that is missing, a folder, read-only, or in a read-only folder.
void checkAccess(const QString& path);
// Refuses files that SQLite would open without complaint but cannot be a sound store: empty,
// foreign, or shorter than their own header says (a truncated copy).
void checkHeader(const QString& path);
// Refuses an open database that holds no Tidyfold store, or one written by a newer version.
void checkFormat(Database& db, const QString& path);

}  // namespace tf::store::local
