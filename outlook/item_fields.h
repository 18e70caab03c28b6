#pragma once

#include <QString>

#include "common/dates.h"
#include "outlook/constants.h"

namespace tf::outlook {

// What an item says about itself, as a backend keeps it. Dates left at kNoDate are absent; which
// of them an item class shows is decided in item_properties.h.
struct ItemFields {
    long itemClass = olMail;
    QString subject;
    QString body;
    QString sender;
    OleDate received = kNoDate;
    OleDate modified = kNoDate;
    OleDate due = kNoDate;
    OleDate completed = kNoDate;
    OleDate start = kNoDate;
    OleDate end = kNoDate;
    bool unread = false;
};

}  // namespace tf::outlook
