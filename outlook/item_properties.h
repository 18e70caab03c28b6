#pragma once

#include "common/failure.h"
#include "outlook/constants.h"

// Which properties an item class carries, as on the mail client's own item objects. Received
// messages (mail, posts, reports, meeting messages) have ReceivedTime; tasks and task requests
// DueDate and DateCompleted; appointments and journal entries End. Every class has
// LastModificationTime. Item's date getters apply these rules for every backend.
namespace tf::outlook {

inline bool hasSender(long c) {
    return c == olMail || c == olPost || c == olReport ||
           (c >= olTaskRequest && c <= olMeetingResponseTentative);
}
inline bool hasReceivedTime(long c) {
    return c == olMail || c == olPost || c == olReport ||
           (c >= olMeetingRequest && c <= olMeetingResponseTentative);
}
inline bool hasTaskDates(long c) {
    return c == olTask || (c >= olTaskRequest && c <= olTaskRequestDecline);
}
inline bool hasStart(long c) {
    return c == olAppointment;
}
inline bool hasEnd(long c) {
    return c == olAppointment || c == olJournal;
}

// What a late-bound call on a property the item does not have raises.
[[noreturn]] inline void notSupported() {
    throw Failure(err::kNotSupported,
                  QStringLiteral("Object doesn't support this property or method"));
}

}  // namespace tf::outlook
