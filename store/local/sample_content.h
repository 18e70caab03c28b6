#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

namespace tf::store::local {

struct SampleOptions {
    int stores = 1;
    // Items in the whole file, spread over the stores; below zero: kDefaultItemsPerStore each.
    qint64 items = -1;
    // The same seed gives the same folders and item content (ids differ from file to file).
    quint64 seed = 1;
    // Dates lie in the ten years before this moment; invalid: the current time.
    QDateTime now;
    // The first store's name; empty: "Personal Folders".
    QString firstStoreName;
};

inline constexpr qint64 kDefaultItemsPerStore = 600;

// Writes a store file with realistic content: the ten standard folders, nested folders of the
// user's, items of every class with read and unread ones, non-ASCII senders and empty subjects.
// Replaces an existing file; the caller decides whether that is wanted.
void writeSampleStoreFile(const QString& path, const SampleOptions& options);

}  // namespace tf::store::local
