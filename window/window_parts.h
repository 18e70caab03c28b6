#pragma once

#include "common/prompter.h"
#include "errors/error_trap.h"
#include "window/controls.h"
#include "window/folder_data.h"
#include "window/folder_tree.h"
#include "window/items_grid.h"
#include "window/status_panels.h"
#include "window/window_flags.h"
#include "window/yield.h"

namespace tf {

// The colours the window paints rows and nodes with, set at start-up.
struct WindowColours {
    ColorRef highlight = 0x00FFFF00;         // selected grid rows
    ColorRef unloaded = rgb(150, 150, 255);  // a folder whose items are not all cached
    ColorRef loaded = 0;                     // a fully cached folder
};

// The main window's shared state and interfaces, as the parts of its logic reach them.
struct WindowParts {
    ErrorContext& errors;
    Prompter& prompter;
    Yield& yield;
    FolderTree& tree;
    FolderRecords& records;
    ItemsGrid& grid;
    Controls& controls;
    const WindowColours& colours;
    WindowFlags& flags;
    StatusPanels& status;
};

}  // namespace tf
