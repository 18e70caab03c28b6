#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>

#include "common/dates.h"
#include "outlook/item_fields.h"

namespace tf::store::local {

// One item as the writer stores it. Dates left at kNoDate are stored as absent.
using ItemData = outlook::ItemFields;

// Writes a new store file in one transaction. The file appears under its name only when
// finish() has succeeded; until then it is built beside it, so a failed or killed run never
// leaves a half-written store behind, nor destroys the file it replaces.
class StoreWriter {
  public:
    // Replaces an existing file at path when finish() succeeds.
    explicit StoreWriter(const QString& path);
    ~StoreWriter();
    StoreWriter(const StoreWriter&) = delete;
    StoreWriter& operator=(const StoreWriter&) = delete;

    // A new store; returns the id of its top folder.
    qint64 addStore(const QString& topFolderName);
    // A folder below parent. defaultFolderType is the OlDefaultFolders number of a standard
    // folder, 0 for a folder of the user's.
    qint64 addFolder(qint64 parent, const QString& name, long defaultItemType,
                     long defaultFolderType = 0);
    // Appends an item at the end of the folder.
    void addItem(qint64 folder, const ItemData& item);
    void finish();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tf::store::local
