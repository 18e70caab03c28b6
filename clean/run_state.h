#pragma once

#include <QString>
#include <cstdint>

namespace tf {

// What one cleaning run keeps while it goes; cleared when a run starts.
struct RunState {
    std::int32_t ProcessedCount = 0;  // items or folders removed so far
    bool NotAllDeleted = false;       // something could not be removed
    bool ItemsDeleted = false;        // an item strategy ran, so the grid must be rebuilt
    QString RunTrace;                 // one line per visited node
    long SelectedTotal = 0;           // what the gate counted and the user was told
};

}  // namespace tf
