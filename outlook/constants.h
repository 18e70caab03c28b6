#pragma once

#include <cstdint>

namespace tf::outlook {

// The object class of an item (Item::Class).
enum OlObjectClass : long {
    olAppointment = 26,
    olContact = 40,
    olDocument = 41,
    olJournal = 42,
    olMail = 43,
    olNote = 44,
    olPost = 45,
    olReport = 46,
    olRemote = 47,
    olTask = 48,
    olTaskRequest = 49,
    olTaskRequestUpdate = 50,
    olTaskRequestAccept = 51,
    olTaskRequestDecline = 52,
    olMeetingRequest = 53,
    olMeetingCancellation = 54,
    olMeetingResponseNegative = 55,
    olMeetingResponsePositive = 56,
    olMeetingResponseTentative = 57,
    olDistributionList = 69,
};

// What a folder holds (MAPIFolder::DefaultItemType).
enum OlItemType : long {
    olMailItem = 0,
    olAppointmentItem = 1,
    olContactItem = 2,
    olTaskItem = 3,
    olJournalItem = 4,
    olNoteItem = 5,
    olPostItem = 6,
    olDistributionListItem = 7,
};

// The folder-type numbers of NameSpace::GetDefaultFolder.
enum OlDefaultFolders : long {
    olFolderDeletedItems = 3,
    olFolderOutbox = 4,
    olFolderSentMail = 5,
    olFolderInbox = 6,
    olFolderCalendar = 9,
    olFolderContacts = 10,
    olFolderJournal = 11,
    olFolderNotes = 12,
    olFolderTasks = 13,
    olFolderDrafts = 16,
};

// The sender's display name, as an 8-bit string property.
inline constexpr std::uint32_t PR_SENDER_NAME = 0x0C1A001E;
// The same as a Unicode string, and the subject in both forms.
inline constexpr std::uint32_t PR_SENDER_NAME_W = 0x0C1A001F;
inline constexpr std::uint32_t PR_SUBJECT = 0x0037001E;
inline constexpr std::uint32_t PR_SUBJECT_W = 0x0037001F;

}  // namespace tf::outlook
