#pragma once

#include <sys/stat.h>

#include <QString>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

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

class MaildirTree {
  public:
    static constexpr const char* kTopKey = "/";
    static constexpr const char* kInboxKey = "";

    // root: the canonical path of a Maildir++ root.
    MaildirTree(std::string root, QString account);

    const std::string& root() const { return root_; }
    const QString& account() const { return account_; }
    QString storeId() const { return QString::fromStdString(root_); }

    // The folder as it is now, re-reading the root when it has changed; nothing when gone.
    const FolderNode* folder(const std::string& key);
    std::optional<std::string> defaultFolder(long type);

    // The folder's messages. With checkChanges, a folder changed by another program since it
    // was last read is read again (a merge that keeps the order of what was known).
    MessageIndex& messages(const std::string& key, bool checkChanges);

    // Finds a message: in the hinted folder first, then everywhere else.
    std::optional<Location> locate(const std::string& unique, const std::string& hint);
    // The message's file, for reading.
    std::string pathOf(const std::string& folder, const IndexEntry& entry) const;
    // Opens the message's file for reading, never through a symbolic link; -1 when it is not
    // there (any more). Throws tf::Failure when it cannot be read.
    int openMessage(const std::string& folder, const IndexEntry& entry);

    // Item.Delete: moves the message into the Deleted Items folder, or deletes it for good
    // there. Returns the folder it lies in afterwards (empty when deleted).
    std::optional<std::string> deleteMessage(const std::string& folder, const std::string& unique);
    // Items.Remove: deletes the message at a 0-based position for good.
    void removeAt(const std::string& folder, long position);
    // Folders.Remove: deletes a sub-folder with its sub-folders and messages for good.
    void removeFolder(const std::string& parent, long position);

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

    void rebuildFolders();
    void ensureTrash();
    void forgetReplacedFolders();
    Messages& loaded(const std::string& key);
    void rescan(const std::string& key, Messages& messages);
    void noteOwnChange(const std::string& key, bool inNew);
    IndexEntry requireIn(const std::string& folder, const std::string& unique);
    std::optional<std::string> deleteMessage(const std::string& folder, const std::string& unique,
                                             bool mayRemakeTrash);
    std::string dirOf(const std::string& key) const;

    std::string root_;
    QString account_;
    std::map<std::string, FolderNode> folders_;
    timespec rootTime_{};
    std::string trashKey_;
    bool haveFolders_ = false;
    std::unordered_map<std::string, Messages> messages_;
    int removals_ = 0;
};

}  // namespace tf::store::maildir
