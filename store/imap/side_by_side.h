#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "store/imap/imap_connection.h"

// Deleting for good on more than one connection. A server removes a folder's messages one file
// at a time, and on many disks each removal waits for the disk; while one connection's folder
// waits, another connection's folder can go ahead. Each extra connection takes whole folders, so
// no two connections ever work in the same folder. What an extra connection does not finish,
// for whatever reason, is left to the caller's own connection, which deletes it (again: deleting
// what is gone changes nothing) and reports what the server refuses.
namespace tf::store::imap {

// One folder's deletions as an extra connection takes them.
struct FolderDeletion {
    QByteArray key;
    std::uint32_t uidValidity = 0;  // as the folder was read; another one leaves it undone
    // UID sets written together, in order; each set is one STORE and one UID EXPUNGE.
    std::vector<std::vector<UidList>> groups;
    std::size_t groupsDone = 0;  // groups the server did whole
};

// Which of `sizes` (the folders' work) each of `connections` connections takes: 0 is the
// caller's own. Largest first, each to the connection with the least work so far.
std::vector<std::size_t> shareOut(const std::vector<std::size_t>& sizes, std::size_t connections);

// Runs each extra connection's folders on a thread of its own and waits for all of them,
// calling `meanwhile` first (the caller's own share) and then `waiting` now and then until the
// threads are done. Counts the commands the extra connections sent. Never throws from the
// threads; an exception from `meanwhile` waits for the threads before it goes on.
class SideBySide {
  public:
    void add(std::unique_ptr<ImapConnection> connection, std::vector<FolderDeletion> folders);
    void run(const std::function<void()>& meanwhile, const std::function<void()>& waiting);
    // After run: each extra connection's folders, with how far it got.
    const std::vector<std::vector<FolderDeletion>>& results() const { return folders_; }
    long commands() const { return commands_; }

  private:
    std::vector<std::unique_ptr<ImapConnection>> connections_;
    std::vector<std::vector<FolderDeletion>> folders_;
    long commands_ = 0;
};

// Signs in and deletes each folder's groups in order. A folder is left at its first group the
// server refuses in any part; everything is left at a failure. Never throws.
void deleteFolders(ImapConnection& connection, std::vector<FolderDeletion>& folders) noexcept;

}  // namespace tf::store::imap
