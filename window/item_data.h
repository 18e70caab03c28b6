#pragma once

#include <QString>
#include <cstdint>

#include "common/dates.h"

namespace tf {

// One item as the cache keeps it: what the grid shows and the filters test, and the EntryID by
// which the item is found again in the store.
struct ItemData {
    // The item's object class; 0 while not yet read, kHole once a run has deleted the item.
    std::int32_t ItemClass = 0;
    QString SenderOrText;  // a mail's sender; the first 20 characters of any other item's body
    QString Subject;
    OleDate ItemDate = 0;     // date part only
    std::int16_t Unread = 0;  // the classic Boolean: -1 true, 0 false
    QString EntryID;

    static constexpr std::int32_t kHole = -1;
    bool isHole() const { return ItemClass < 0; }
};

}  // namespace tf
