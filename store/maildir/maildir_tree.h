#pragma once

#include <sys/stat.h>

#include <QString>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/failure.h"
#include "store/maildir/dovecot_files.h"
#include "store/maildir/header_cache.h"
#include "store/maildir/header_prefetch.h"
#include "store/maildir/message_index.h"

// The file-system side of a Maildir++ store: its folders and each folder's messages, and every
// change the object model makes. Folder keys are the Maildir++ directory names (".A.B"), "" for
// the root (the Inbox) and "/" for the store's top folder. Nothing is ever done to a path that
// did not come from listing the root, and symbolic links are never followed below it.
namespace tf::store::maildir {

struct FolderNode {
    std::string key;
    std::string parent;
    QString name;
    long defaultFolder = 0;  // OlDefaultFolders number; 0 for a user folder
    bool onDisk = false;     // false: only implied by a sub-folder (".A.B" without ".A")
    std::vector<std::string> children;
};

// Where a message lies now.
struct Location {
    std::string folder;
    IndexEntry entry;
};

// Files and folders the listing passed over, for the one report after loading.
struct Skipped {
    std::vector<std::string> unreadable;  // message files that cannot be read
    std::vector<std::string> folders;     // directories whose names are no folder name
};

class MaildirTree {
  public:
    static constexpr const char* kTopKey = "/";
    static constexpr const char* kInboxKey = "";

    // root: the canonical path of a Maildir++ root.
    MaildirTree(std::string root, QString account);
    ~MaildirTree();
    MaildirTree(const MaildirTree&) = delete;
    MaildirTree& operator=(const MaildirTree&) = delete;

    const std::string& root() const { return root_; }
    const QString& account() const { return account_; }
    QString storeId() const { return QString::fromStdString(root_); }

    // The folder as it is now, re-reading the root when it has changed; nothing when gone.
    const FolderNode* folder(const std::string& key);
    std::optional<std::string> defaultFolder(long type);

    // The folder's messages. With checkChanges, a folder changed by another program since it
    // was last read is read again (a merge that keeps the order of what was known).
    MessageIndex& messages(const std::string& key, bool checkChanges);

    // The EntryID of a listed message.
    static QString idOf(const IndexEntry& entry);
    // Finds a message by its EntryID: in the hinted folder first, then everywhere else.
    std::optional<Location> locate(const QString& entryId, const std::string& hint);
    // The message's file, for reading.
    std::string pathOf(const std::string& folder, const IndexEntry& entry) const;
    // Opens the message's file for reading, never through a symbolic link; -1 when it is not
    // there (any more). Throws tf::Failure when it cannot be read.
    int openMessage(const std::string& folder, const IndexEntry& entry);

    // Item.Delete: moves the message into the Deleted Items folder, or deletes it for good
    // there. Returns where it lies afterwards (nothing when deleted). The moved file loses
    // mbsync's UID field and, when Deleted Items holds its name already, gets a new name; its
    // flags stay and its keywords are spelled with Deleted Items' own letters.
    std::optional<Location> deleteMessage(const std::string& folder, const IndexEntry& entry);
    // Items.Remove: deletes the message at a 0-based position for good.
    void removeAt(const std::string& folder, long position);
    // Folders.Remove: deletes a sub-folder with its sub-folders and messages for good, and takes
    // them out of Dovecot's subscriptions.
    void removeFolder(const std::string& parent, long position);

    // Between these two, a move to Deleted Items waits until the next change: when that change
    // deletes the same message for good, the two together are one unlink. Anything else carries
    // the waiting move out first, so a process killed meanwhile finds the message where it was.
    // Deletions for good leave the folder's list at once but wait, a few thousand at most, to be
    // done side by side; a process killed meanwhile leaves those files where they were. What
    // could not be deleted is back in its folder's list and reported when its batch is done, by
    // the change that filled the batch or by endChanges.
    void beginChanges();
    void endChanges();

    // What the listings have passed over since the last call.
    Skipped takeSkipped();
    // A message file that could be listed but not read.
    void noteUnreadable(const std::string& path);
    // The header fields kept from earlier runs.
    HeaderCache& headerCache() { return cache_; }
    // The header fields of a message that is not in the cache, when a reader on another thread
    // has read them already. The first call for a folder sets that reader going through the
    // folder's messages in their order; nothing when the caller should read the file itself.
    std::optional<MessageHeaders> readAhead(const std::string& folder, const IndexEntry& entry);

  private:
    // An open directory, so that opening a message needs no walk of its whole path.
    class DirHandle {
      public:
        DirHandle() = default;
        explicit DirHandle(int fd) : fd_(fd) {}
        DirHandle(DirHandle&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
        DirHandle& operator=(DirHandle&& other) noexcept;
        DirHandle(const DirHandle&) = delete;
        DirHandle& operator=(const DirHandle&) = delete;
        ~DirHandle();
        int fd() const { return fd_; }

      private:
        int fd_ = -1;
    };

    struct Messages {
        MessageIndex index;
        timespec curTime{};
        timespec newTime{};
        DirHandle cur;
        DirHandle fresh;  // new/
        bool loaded = false;
    };

    // A message file as the *at() calls take it: its folder's open directory and its name, or
    // the whole path when the directory is not open.
    struct FileAt {
        int dir;
        std::string name;
    };
    FileAt fileAt(const std::string& folder, bool inNew, const std::string& name);

    // A move to Deleted Items that waits for the next change.
    struct PendingMove {
        std::string folder;
        IndexEntry from;
        IndexEntry to;  // as it will lie in Deleted Items
    };

    // A deletion for good that waits for its batch; the file as it was named when asked for.
    struct QueuedRemoval {
        std::string folder;
        IndexEntry entry;
        FileAt file;
    };

    void rebuildFolders();
    void ensureTrash();
    void forgetReplacedFolders();
    Messages& loaded(const std::string& key);
    void rescan(const std::string& key, Messages& messages);
    class ListingAhead;
    // Sets the other folders' listing going on a thread of its own, once per opening.
    void startListingAhead(const std::string& first);
    void noteOwnChange(const std::string& key, bool inNew);
    // Notes the folder that lists a message under its bare stem (when replace, or when the stem
    // is new to the tree); true when the stem may have been noted before, so that another folder
    // may hold a message of that name.
    bool noteHome(const std::string& stem, std::uint32_t folder, bool replace);
    // The folder's number in folderKeys_, given on first use.
    std::uint32_t ordinalOf(const std::string& key);
    // The folder last noted as listing the stem, if any; only a hint, checked by the caller.
    const std::string* homeOf(const std::string& stem) const;
    void settle();
    IndexEntry requireIn(const std::string& folder, const IndexEntry& listed);
    std::optional<Location> lookIn(const std::string& key, const std::string& stem,
                                   const std::string& id);
    std::optional<Location> search(const std::string& stem, const std::string& id,
                                   const std::string& hint);
    IndexEntry movedEntry(const std::string& folder, const IndexEntry& entry);
    std::string freshUnique();
    void unlinkMessage(const std::string& folder, const IndexEntry& entry);
    void queueRemoval(const std::string& folder, const IndexEntry& entry);
    // Carries out the waiting deletions. Every call that closes a folder's open directories or
    // lists a folder again comes here first, so the waiting names still mean what they meant.
    // What failed is kept for reportFailedRemovals.
    void flushRemovals();
    void retryRemoval(const QueuedRemoval& removal);
    void reportFailedRemovals();
    // Whether a folder's cur/ (or new/) is as it was when last read or changed by us.
    bool unchangedSinceRead(const std::string& key, bool inNew);
    std::optional<Location> moveToTrash(const std::string& folder, const IndexEntry& entry,
                                        bool mayRemakeTrash);
    void carryOut(const PendingMove& move);
    KeywordTable& keywordsOf(const std::string& key);
    std::string dirOf(const std::string& key) const;

    std::string root_;
    QString account_;
    HeaderCache cache_;
    std::map<std::string, FolderNode> folders_;
    timespec rootTime_{};
    std::string trashKey_;
    bool haveFolders_ = false;
    std::unordered_map<std::string, Messages> messages_;
    // EntryIDs that are not their message's stem, and the folder that holds each now.
    std::unordered_map<std::string, std::pair<std::string, std::string>> namedAt_;  // folder, stem
    std::unordered_map<std::string, KeywordTable> keywords_;
    // For the hash of every stem a folder has listed as its EntryID, the folder that last did.
    // Never shrinks, so a missing hash proves that no folder holds the name, and finding a
    // message by its EntryID asks one folder instead of all; a hash found is only a hint.
    std::unordered_map<std::size_t, std::uint32_t> stemHomes_;
    std::unordered_map<std::string, std::uint32_t> folderOrdinals_;
    std::vector<std::string> folderKeys_;
    // Folders that were there only through sub-folders we removed: kept, empty, until they are
    // removed themselves, so that a run that deletes them finds them.
    std::set<std::string> ghosts_;
    std::optional<PendingMove> pending_;
    bool grouping_ = false;
    std::vector<QueuedRemoval> queuedRemovals_;
    std::vector<Failure> failedRemovals_;
    Skipped skipped_;
    // One folder is read ahead at a time, and each folder at most once per opening, so that a
    // run that goes back and forth between folders never starts a reader again and again.
    std::unique_ptr<HeaderPrefetch> prefetch_;
    std::set<std::string> readAheadFolders_;
    std::string prefetchFolder_;
    std::unique_ptr<ListingAhead> listingAhead_;
    bool listedAhead_ = false;
    std::set<std::string> reported_;
    int removals_ = 0;
    // Set once a message file of another owner refused O_NOATIME; such trees are read without it.
    bool noAtimeRefused_ = false;
    long renames_ = 0;
};

}  // namespace tf::store::maildir
