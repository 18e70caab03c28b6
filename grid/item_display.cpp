#include "grid/item_display.h"

#include "common/failure.h"
#include "common/text.h"

namespace tf {

void ItemDisplay::grdItems_DblClick(int mouseRow) {
    if (mouseRow >= 1) {
        Display_Current_Item();
    }
}

void ItemDisplay::grdItems_KeyPress(int keyCode, int gridRow) {
    if (keyCode == kEnter && gridRow > 0) {
        Display_Current_Item();
    }
}

void ItemDisplay::Display_Current_Item() {
    w_.errors.run(QStringLiteral("Display_Current_Item"), [&](Procedure&) {
        if (CurrentRow < 1 || CurrentRow >= w_.grid.Rows()) {
            return;
        }
        const GridRow& row = w_.grid.row(CurrentRow);
        const int folder = row.folder;
        const int item = row.item;
        if (folder < 1 || item < 1 || folder > w_.records.upperBoundIndex() ||
            !w_.records[folder].Folder) {
            return;
        }
        const FolderData& record = w_.records[folder];
        // The cache knows the item by its EntryID, which still names it after earlier items of
        // the folder were deleted; the position is used only for an item the cache lacks.
        QString entryID;
        bool deleted = false;
        if (static_cast<std::size_t>(item) <= record.ItemCache.size()) {
            const ItemData& cached = record.ItemCache[static_cast<std::size_t>(item - 1)];
            deleted = cached.isHole();
            entryID = cached.EntryID;
        }
        if (!deleted && Trim(entryID).isEmpty()) {
            entryID = record.Folder->Items()->Item(item)->EntryID();
        }
        const QString storeID = record.Folder->StoreID();
        if (!deleted && (Trim(entryID).isEmpty() || Trim(storeID).isEmpty())) {
            return;
        }
        outlook::ItemPtr found;
        if (!deleted) {
            w_.errors.attempt(
                [&] { found = builder_.nameSpace()->GetItemFromID(entryID, storeID); });
        }
        w_.errors.current.clear();
        if (!found) {
            w_.prompter.ask(QStringLiteral("Item could not be retrieved"),
                            Prompter::OkOnly | Prompter::Critical);
            return;
        }
        if (window_ == nullptr) {
            throw Failure(err::kNotSupported, QStringLiteral("No item window is available."));
        }
        found->Display(*window_);
    });
}

}  // namespace tf
