#pragma once

#include <cstdint>

namespace tf {

// The window-level state that the long loops and the handlers running inside their yields share.
// Handlers only set flags; the loops read them after every yield.
struct WindowFlags {
    bool Processing = false;        // a cleaning run is under way
    bool Loading = false;           // the tree is being built or items are being loaded
    bool StopCaching = false;       // end the loading run altogether
    bool InterruptCaching = false;  // stop loading the current folder now
    bool AllFoldersCached = false;  // loading finished without interruption
    bool ReloadRequested = false;   // Refresh was pressed while loading ran
    bool LoadFailed = false;        // kept for its message; nothing sets it
    bool Closing = false;           // the window is unloading; a run ends without its messages
    std::int32_t LastSelectedNode = 0;
    std::int32_t CurrentNodeIndex = 0;     // the node whose items the grid shows
    std::int32_t CurrentGridItemType = 0;  // default item type of that folder
};

}  // namespace tf
