#pragma once

#include <QString>
#include <optional>

#include "cache/item_filters.h"
#include "clean/cleaning_status.h"
#include "clean/run_checks.h"
#include "clean/run_state.h"
#include "errors/process_error.h"
#include "grid/grid_logic.h"
#include "tree/folder_tree_builder.h"
#include "window/window_parts.h"

namespace tf {

// The ways a run removes things: item by item through one shared operation, a whole folder's
// items at once (Turbo), or whole folders. Each adds what it removed to the run's count, reports
// a failure through the run's ProcessError, sets NotAllDeleted and goes on, and stops at its next
// test once Processing is off.
class DeletionStrategies {
  public:
    enum class Outcome { Deleted, Kept, Failed };

    DeletionStrategies(WindowParts parts, FolderTreeBuilder& builder, const ItemFilters& filters,
                       GridLogic& grid, RunChecks& checks, CleaningStatus& status, RunState& state);

    // A run's failures are reported through one ProcessError, so that "suppress further
    // messages" lasts for the run.
    void beginRun();

    // One item of the folder behind record `index`: confirm, then move it to "Deleted Items",
    // and for a permanent delete delete it there. entryID may be empty (read from the item).
    Outcome Delete_Current_Item(const outlook::ItemPtr& item, int index, QString entryID = {});

    // Turbo: every item of the folder, last to first, unfiltered and unconfirmed.
    void Delete_All_Items(const outlook::FolderPtr& folder, int index);
    // The folder's live items, last to first, through the filters.
    void Delete_Selected_Items_By_MAPIFolder(const outlook::FolderPtr& folder, int index, int node);
    // The folder's cached items, first to last, through the filters.
    void Delete_Filtered_Items_By_FolderData_Array(int node, int index);
    // The grid's picked rows, last to first.
    void Delete_Filtered_Items_By_Row();
    // The folder itself, with its items, for good.
    void Delete_Selected_Folder(const outlook::FolderPtr& folder, int node);

  private:
    // What Delete_Current_Item needs to know of a folder, read once per folder.
    struct Place {
        QString folderID;        // EntryID of the folder being cleaned
        QString storeID;         // its store
        QString deletedItemsID;  // EntryID of that store's "Deleted Items"; empty when unknown
    };
    const Place& placeOf(int index);
    void failed(const QString& process, const QString& item);
    void noteUnfinished(bool ran);
    // The frame of every item strategy: its procedure on the error stack and its changes in one
    // group; a loop broken off by a failure still leaves the summary saying not all went.
    template <typename Loop>
    void inChangeGroup(const QString& procedure, Loop&& loop);
    // One item's outcome: counted for the run and its folder (true), kept, or reported.
    bool tally(Outcome outcome, int folder, const QString& process, const QString& item);
    bool on(Control box) const { return w_.controls.isOn(box); }
    bool stopped() const { return !w_.flags.Processing; }
    // The failure Delete_Current_Item reports for an item it refuses to touch.
    void refuse(const QString& why);

    WindowParts w_;
    FolderTreeBuilder& builder_;
    const ItemFilters& filters_;
    GridLogic& grid_;
    RunChecks& checks_;
    CleaningStatus& status_;
    RunState& state_;
    std::optional<ProcessError> processError_;
    int placeIndex_ = 0;
    Place place_;
};

}  // namespace tf
