#pragma once

#include <QString>

#include "cache/item_cache.h"
#include "cache/item_filters.h"
#include "clean/cleaning_status.h"
#include "clean/deletion_strategies.h"
#include "clean/run_checks.h"
#include "clean/run_state.h"
#include "grid/grid_logic.h"
#include "marking/folder_marking.h"
#include "tree/deleted_items.h"
#include "tree/folder_reload.h"
#include "tree/folder_tree_builder.h"
#include "window/control_enabling.h"
#include "window/window_parts.h"

namespace tf {

// The Clean button: the gate, the walk over the marked folders (or the picked rows), the window
// made whole again afterwards, and the summary. While a run goes the button is its Cancel.
class CleaningRun {
  public:
    CleaningRun(WindowParts parts, FolderTreeBuilder& builder, DeletedItemsFolders& deletedItems,
                const ItemFilters& filters, GridLogic& grid, FolderReload& reload,
                ItemCacheLoader& cache, ControlEnabling& enabling, const FolderMarking& marking);

    // Starts a run, or, pressed during one, offers to cancel it.
    void cmdRun_Click();
    // Children first, then the node itself when it is marked.
    void Process_Each_Node(int node, int depth);
    // True when any grid row is picked.
    bool Check_For_Marked_Rows() const;

    // What the closing message says for this many things removed.
    static QString summaryText(bool deleteFolders, bool permanentDelete, long processed);

    RunState state;
    CleaningStatus status;
    RunChecks checks;
    DeletionStrategies strategies;

  private:
    // Steps 8 onwards: always run in full once a run has started.
    void finishRun();
    // False when the run was cancelled before the folder was touched.
    bool cleanFolder(int node, int index);
    bool on(Control box) const { return w_.controls.isOn(box); }

    WindowParts w_;
    FolderTreeBuilder& builder_;
    DeletedItemsFolders& deletedItems_;
    GridLogic& grid_;
    FolderReload& reload_;
    ItemCacheLoader& cache_;
    ControlEnabling& enabling_;
};

}  // namespace tf
