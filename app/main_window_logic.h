#pragma once

#include <QString>

#include "app/open_stores.h"
#include "app/start_outlook.h"
#include "cache/item_cache.h"
#include "cache/item_filters.h"
#include "clean/cleaning_run.h"
#include "common/prompter.h"
#include "errors/error_trap.h"
#include "grid/grid_logic.h"
#include "grid/item_display.h"
#include "grid/option_handlers.h"
#include "grid/row_selection.h"
#include "help/main_window_help.h"
#include "layout/splitter_layout.h"
#include "marking/folder_marking.h"
#include "marking/processing_options.h"
#include "tree/deleted_items.h"
#include "tree/folder_reload.h"
#include "tree/folder_tree_builder.h"
#include "window/control_enabling.h"
#include "window/controls.h"
#include "window/folder_data.h"
#include "window/folder_tree.h"
#include "window/items_grid.h"
#include "window/message_window.h"
#include "window/status_panels.h"
#include "window/window_flags.h"
#include "window/window_parts.h"
#include "window/window_shell.h"
#include "window/yield.h"

namespace tf {

// The main window's logic (frmRemoveItems): start-up, the loading loop, quitting and unloading.
// It owns the window-level state that the other parts of the window share.
class RemoveItemsLogic {
  public:
    RemoveItemsLogic(Prompter& prompter, Yield& yield, MessageWindow& messageWindow,
                     WindowShell& shell, ApplicationSource& source);

    // Start-up. Returns false when the program is to close (no session could be had).
    bool Form_Load();
    void Load_Interface();
    void mnuQuit_Click();
    // Rebuilds everything from the stores; while loading runs, has the loading start over.
    void mnuRefresh_Click();
    // Loads the selected folder's items again.
    void mnuRefreshCurrent_Click();
    // The unload handler: also reached by closing the window. Never cancelled.
    void Form_Unload();
    // Opening and closing stores from the window; each rebuilds the tree when the stores changed.
    void mnuOpenStore(const QString& location);
    void mnuOpenSampleStore_Click();
    // Closes the store whose top folder is selected, after asking.
    void mnuCloseStore_Click();
    // The StoreID of the store whose top folder is the selected node; empty for any other node.
    QString selectedStoreTop() const;

    // The stores opened and closed from the window; none when the session comes from elsewhere.
    OpenStores* openStores = nullptr;

    ErrorContext errors;
    FolderTree tree;
    FolderRecords records;
    ItemsGrid grid;
    Controls controls;
    WindowColours colours;
    WindowFlags flags;
    StatusPanels status;
    FolderTreeBuilder treeBuilder;
    DeletedItemsFolders deletedItems;
    ItemFilters filters;
    GridLogic gridLogic;
    ItemCacheLoader cache;
    FolderReload reload;
    ControlEnabling enabling;
    OptionHandlers options;
    FolderMarking marking;
    ProcessingOptions processing;
    RowSelection rows;
    CleaningRun cleaning;
    ItemDisplay itemDisplay;
    OutlookSession session;
    SplitterLayout splitters;
    MainWindowHelp help;

    bool Debug = false;
    bool Unloaded = false;

    // Texts used by the About and Help windows.
    QString companyName;
    QString homePage;
    QString productPage;

  private:
    WindowParts parts(Prompter& prompter, Yield& yield);
    void alignControls(Procedure& p);
    void setDesignTimeValues();
    void startFolderIsCurrent();
    void storesChanged(bool changed);

    Prompter& prompter_;
    Yield& yield_;
    MessageWindow& messageWindow_;
    WindowShell& shell_;
    ApplicationSource& source_;
};

}  // namespace tf
