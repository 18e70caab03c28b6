#pragma once

#include <QHash>
#include <QString>
#include <memory>

#include "grid/grid_logic.h"
#include "window/folder_data.h"
#include "window/items_grid.h"

namespace tf {

// Where a folder lies: the store it belongs to and the folder names from the store down.
struct FolderPlace {
    QString store;
    QString path;  // "Personal Folders › Inbox › Projects"
};

// What a view of the grid shows beside the grid's own texts: which store a row's folder comes
// from, and what a row showed before a run took its item. The grid's texts themselves are the
// logic's and stay as they are.
class RowPresentation {
  public:
    RowPresentation(const FolderRecords& records, const GridLogic& grid)
        : records_(records), grid_(grid) {}

    // True while the row stands for an item that a run has deleted.
    bool removed(const GridRow& row) const;
    // The text the column shows for the row's item; once the item has gone, what it showed,
    // with "Deleted" for its type.
    QString shownText(const GridRow& row, int column) const;
    // True when the window shows several stores, whose folder names may repeat.
    bool severalStores() const;
    // The folder's store and path; empty for a record without a folder. Looked up once per
    // folder object.
    FolderPlace place(int folder) const;

  private:
    const FolderRecords& records_;
    const GridLogic& grid_;
    struct KnownPlace {
        std::weak_ptr<outlook::MAPIFolder> folder;  // to tell a reused address from the same folder
        FolderPlace place;
    };
    mutable QHash<const void*, KnownPlace> places_;
};

}  // namespace tf
