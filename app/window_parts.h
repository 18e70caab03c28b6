#pragma once

#include "app/controls.h"
#include "app/status_panels.h"
#include "app/window_flags.h"
#include "common/prompter.h"
#include "common/yield.h"
#include "errors/error_trap.h"
#include "grid/items_grid.h"
#include "outlook/folder_data.h"
#include "outlook/folder_tree.h"
#include "outlook/folder_tree_builder.h"

namespace tf {

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
