#pragma once

#include <QString>
#include <functional>

#include "cache/item_filters.h"
#include "clean/run_state.h"
#include "common/dates.h"
#include "grid/grid_logic.h"
#include "marking/folder_marking.h"
#include "tree/folder_tree_builder.h"
#include "window/window_parts.h"

namespace tf {

// The questions before and during a cleaning run: the gate that a run must pass before anything
// is touched, and the per-folder and per-item confirmations. Every check that cannot finish
// (a store that fails while it counts) answers "stop".
class RunChecks {
  public:
    // Most items one store's "Deleted Items" may hold after a run.
    static constexpr std::int32_t kDeletedItemsLimit = 16383;

    RunChecks(WindowParts parts, FolderTreeBuilder& builder, GridLogic& grid,
              const ItemFilters& filters, const FolderMarking& marking, RunState& state);

    // The whole gate, once per Clean command; false ends the command with nothing changed.
    bool Check_Screen();
    // Tells the user what the run will touch; warns when marked folders are not fully loaded.
    bool Confirm_Selection_Count();
    // False when a run that moves items would overfill a store's "Deleted Items".
    bool Check_Deleted_Items_Folder();
    // Asks about the node's folder when Confirm Folders is on.
    bool Confirm_Current_Folder(int node);
    // Yes, No or Cancel for one item; Yes without asking when Confirm Items is off.
    int Confirm_Current_Item(const outlook::Item& item);

    // Today's date; a test fixes it.
    std::function<OleDate()> today;

  private:
    bool on(Control box) const { return w_.controls.isOn(box); }
    // "Move" or "Delete", and the ending that says where the items go.
    QString verb() const;
    QString destination() const;
    // The folder's names from the store's top folder down, as the user knows its place.
    QString folderPath(int node) const;
    long countMarkedItems(long& folders) const;

    WindowParts w_;
    FolderTreeBuilder& builder_;
    GridLogic& grid_;
    const ItemFilters& filters_;
    const FolderMarking& marking_;
    RunState& state_;
};

}  // namespace tf
