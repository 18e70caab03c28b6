#pragma once

#include <QString>

#include "app/controls.h"
#include "app/window_shell.h"
#include "common/message_window.h"
#include "common/prompter.h"
#include "common/yield.h"
#include "errors/error_trap.h"
#include "grid/items_grid.h"
#include "help/main_window_help.h"
#include "layout/splitter_layout.h"
#include "outlook/folder_data.h"
#include "outlook/folder_tree.h"
#include "outlook/folder_tree_builder.h"
#include "outlook/start_outlook.h"

namespace tf {

// The names of the main window's controls, as the logic and the help address them.
QStringList mainWindowControlNames();

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
    // The unload handler: also reached by closing the window. Never cancelled.
    void Form_Unload();

    ErrorContext errors;
    FolderTree tree;
    FolderRecords records;
    ItemsGrid grid;
    Controls controls;
    WindowColours colours;
    FolderTreeBuilder treeBuilder;
    OutlookSession session;
    SplitterLayout splitters;
    MainWindowHelp help;

    // Window-level flags.
    bool Processing = false;  // a cleaning run is under way
    bool Debug = false;
    bool StopCaching = false;
    bool InterruptCaching = false;
    bool LoadingComplete = false;
    bool ReloadRequested = false;
    bool Unloaded = false;

    // Texts used by the About and Help windows.
    QString companyName;
    QString homePage;
    QString productPage;

  private:
    void alignControls(Procedure& p);

    Prompter& prompter_;
    Yield& yield_;
    MessageWindow& messageWindow_;
    WindowShell& shell_;
    ApplicationSource& source_;
};

}  // namespace tf
