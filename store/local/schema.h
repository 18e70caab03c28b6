#pragma once

#include <QString>
#include <QtGlobal>

// The layout of a store file. Internal to store/local.
namespace tf::store::local::schema {

// meta('format') holds kFormat; meta('schema_version') the layout's version.
inline constexpr char kFormat[] = "tidyfold-store";
inline constexpr int kVersion = 1;

// Tables without indexes, so that a bulk load can add the indexes afterwards.
inline constexpr char kTables[] = R"(
CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE stores(
    id INTEGER PRIMARY KEY,
    store_id TEXT NOT NULL UNIQUE,
    uid TEXT NOT NULL,
    top_folder INTEGER NOT NULL);
CREATE TABLE folders(
    id INTEGER PRIMARY KEY,
    store INTEGER NOT NULL,
    parent INTEGER,
    name TEXT NOT NULL,
    entry_id TEXT NOT NULL,
    default_type INTEGER NOT NULL,
    default_folder INTEGER NOT NULL DEFAULT 0);
CREATE TABLE items(
    id INTEGER PRIMARY KEY,
    store INTEGER NOT NULL,
    folder INTEGER NOT NULL,
    seq INTEGER NOT NULL,
    entry_id TEXT NOT NULL,
    class INTEGER NOT NULL,
    subject TEXT NOT NULL,
    body TEXT NOT NULL,
    sender TEXT,
    received REAL,
    modified REAL,
    due REAL,
    completed REAL,
    end_time REAL,
    unread INTEGER NOT NULL);
)";

inline constexpr char kIndexes[] = R"(
CREATE UNIQUE INDEX items_position ON items(folder, seq);
CREATE UNIQUE INDEX items_entry ON items(store, entry_id);
CREATE INDEX folders_children ON folders(parent, id);
CREATE UNIQUE INDEX folders_entry ON folders(store, entry_id);
)";

// Outlook-like identifiers: long upper-case hex. StoreIDs carry the store's random uid; EntryIDs
// the uid and a per-store counter passed through a bijective mix, so they are unique per store.
QString storeIdFor(const QString& uid);
QString entryIdFor(const QString& uid, bool folder, quint64 counter);

}  // namespace tf::store::local::schema
