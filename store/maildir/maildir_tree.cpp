#include "store/maildir/maildir_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/maildir/maildir_names.h"

namespace tf::store::maildir {

namespace {

// Folders being removed are renamed to this first, so that a killed removal never leaves half a
// folder in the tree; what is left of one is finished when the store is next opened.
constexpr std::string_view kRemovingPrefix = "tidyfold-removing.";

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QString nameText(const std::string& unique) {
    return entryIdOf(unique);
}

[[noreturn]] void messageGone(const std::string& unique) {
    throw Failure(err::kAutomation,
                  QStringLiteral("The operation failed. The message %1 no longer exists; another "
                                 "program has deleted it since it was read.")
                      .arg(nameText(unique)));
}

[[noreturn]] void fileFailure(const QString& what, const std::string& path, int error) {
    throw Failure(error == EACCES || error == EPERM || error == EROFS ? err::kPermissionDenied
                                                                      : err::kAutomation,
                  QStringLiteral("The operation failed. %1 %2 (%3).")
                      .arg(what, QString::fromStdString(path), systemError(error)));
}

bool isRealDir(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

timespec mtimeOf(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        return {};
    }
    return st.st_mtim;
}

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

int openDir(const std::string& dir) {
    return ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// The names in a directory, without following a symbolic link to it; nothing when it is gone.
template <typename Visit>
void listDir(const std::string& dir, Visit visit) {
    const int fd = openDir(dir);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP) {
            return;
        }
        fileFailure(QStringLiteral("Cannot read the folder"), dir, errno);
    }
    DIR* listing = ::fdopendir(fd);
    if (listing == nullptr) {
        const int error = errno;
        ::close(fd);
        fileFailure(QStringLiteral("Cannot read the folder"), dir, error);
    }
    while (const dirent* entry = ::readdir(listing)) {
        visit(fd, entry);
    }
    ::closedir(listing);
}

void listMessages(const std::string& dir, bool inNew, std::vector<IndexEntry>& out) {
    listDir(dir, [&](int fd, const dirent* entry) {
        if (entry->d_name[0] == '.') {
            return;
        }
        bool regular = entry->d_type == DT_REG;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat st {};
            regular =
                ::fstatat(fd, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(st.st_mode);
        }
        if (regular) {
            MessageName name = splitMessageName(entry->d_name);
            out.push_back({std::move(name.unique), std::move(name.info), inNew});
        }
    });
}

// A rename that never replaces a file already at the target.
template <typename At>
int renameNoReplace(const At& from, const At& to) {
    if (::renameat2(from.dir, from.name.c_str(), to.dir, to.name.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // A file system without RENAME_NOREPLACE: look first, then rename.
    struct stat st {};
    if (::fstatat(to.dir, to.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        return EEXIST;
    }
    return ::renameat(from.dir, from.name.c_str(), to.dir, to.name.c_str()) == 0 ? 0 : errno;
}

void makeDir(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) != 0 && !(errno == EEXIST && isRealDir(path))) {
        fileFailure(QStringLiteral("Cannot make the folder"), path,
                    errno == EEXIST ? ENOTDIR : errno);
    }
}

std::vector<std::string> splitParts(std::string_view dirName) {
    std::vector<std::string> parts;
    std::size_t start = 1;
    while (true) {
        const std::size_t dot = dirName.find('.', start);
        parts.emplace_back(dirName.substr(start, dot - start));
        if (dot == std::string_view::npos) {
            return parts;
        }
        start = dot + 1;
    }
}

}  // namespace

MaildirTree::MaildirTree(std::string root, QString account)
    : root_(std::move(root)), account_(std::move(account)) {
    std::vector<std::string> leftovers;
    listDir(root_, [&](int, const dirent* entry) {
        if (std::string_view(entry->d_name).substr(0, kRemovingPrefix.size()) == kRemovingPrefix &&
            isRealDir(root_ + "/" + entry->d_name)) {
            leftovers.push_back(root_ + "/" + entry->d_name);
        }
    });
    for (const std::string& path : leftovers) {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    rebuildFolders();
}

MaildirTree::DirHandle& MaildirTree::DirHandle::operator=(DirHandle&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

MaildirTree::DirHandle::~DirHandle() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

MaildirTree::FileAt MaildirTree::fileAt(const std::string& folder, bool inNew,
                                        const std::string& name) {
    auto found = messages_.find(folder);
    if (found != messages_.end()) {
        const int dir = (inNew ? found->second.fresh : found->second.cur).fd();
        if (dir >= 0) {
            return {dir, name};
        }
    }
    return {AT_FDCWD, dirOf(folder) + (inNew ? "/new/" : "/cur/") + name};
}

int MaildirTree::openMessage(const std::string& folder, const IndexEntry& entry) {
    const FileAt file = fileAt(folder, entry.inNew, entry.unique + entry.info);
    const int fd = ::openat(file.dir, file.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0 && errno != ENOENT && errno != ELOOP) {
        fileFailure(QStringLiteral("Cannot read the message"), pathOf(folder, entry), errno);
    }
    return fd;
}

std::string MaildirTree::dirOf(const std::string& key) const {
    return key.empty() ? root_ : root_ + "/" + key;
}

std::string MaildirTree::pathOf(const std::string& folder, const IndexEntry& entry) const {
    return dirOf(folder) + (entry.inNew ? "/new/" : "/cur/") + entry.unique + entry.info;
}

void MaildirTree::rebuildFolders() {
    folders_.clear();
    rootTime_ = mtimeOf(root_);
    FolderNode& top = folders_[kTopKey];
    top.key = kTopKey;
    top.name = account_;
    FolderNode& inbox = folders_[kInboxKey];
    inbox.key = kInboxKey;
    inbox.parent = kTopKey;
    inbox.name = QStringLiteral("Inbox");
    inbox.defaultFolder = outlook::olFolderInbox;
    inbox.onDisk = true;
    top.children.push_back(kInboxKey);

    std::vector<std::string> names;
    listDir(root_, [&](int, const dirent* entry) { names.emplace_back(entry->d_name); });
    for (const std::string& dirName : names) {
        const std::optional<QStringList> path = folderPathOf(dirName);
        if (!path || !isRealDir(root_ + "/" + dirName) ||
            !isRealDir(root_ + "/" + dirName + "/cur")) {
            continue;
        }
        const bool underInbox =
            path->first().compare(QLatin1String("INBOX"), Qt::CaseInsensitive) == 0;
        if (underInbox && path->size() == 1) {
            continue;  // would be the Inbox twice
        }
        const std::vector<std::string> parts = splitParts(dirName);
        std::string parent = underInbox ? kInboxKey : kTopKey;
        std::string key = underInbox ? "." + parts[0] : std::string();
        for (std::size_t i = underInbox ? 1 : 0; i < parts.size(); ++i) {
            key += "." + parts[i];
            auto [node, added] = folders_.try_emplace(key);
            if (added) {
                node->second.key = key;
                node->second.parent = parent;
                node->second.name = path->at(static_cast<qsizetype>(i));
                folders_[parent].children.push_back(key);
            }
            parent = key;
        }
        folders_[key].onDisk = true;
    }
    ensureTrash();

    FolderNode& topNow = folders_[kTopKey];
    auto assign = [&](std::initializer_list<const char*> candidates, long type) {
        for (const char* name : candidates) {
            for (const std::string& key : topNow.children) {
                FolderNode& node = folders_[key];
                if (node.defaultFolder == 0 &&
                    node.name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) {
                    node.defaultFolder = type;
                    return;
                }
            }
        }
    };
    assign({"Sent Items", "Sent", "Sent Messages", "Sent Mail"}, outlook::olFolderSentMail);
    assign({"Drafts"}, outlook::olFolderDrafts);
    for (auto& [key, node] : folders_) {
        std::sort(node.children.begin(), node.children.end(),
                  [this](const std::string& a, const std::string& b) {
                      if (a.empty() || b.empty()) {
                          return a.empty() && !b.empty();  // the Inbox first
                      }
                      const int byName =
                          folders_[a].name.compare(folders_[b].name, Qt::CaseInsensitive);
                      return byName != 0 ? byName < 0 : a < b;
                  });
    }
    forgetReplacedFolders();
    haveFolders_ = true;
}

// A folder that is gone, or was deleted and made again by another program, is read afresh: the
// open directories of the old one lead nowhere.
void MaildirTree::forgetReplacedFolders() {
    for (auto it = messages_.begin(); it != messages_.end();) {
        auto node = folders_.find(it->first);
        bool same = node != folders_.end() && node->second.onDisk;
        struct stat open {};
        struct stat now {};
        if (same && it->second.cur.fd() >= 0) {
            same = ::fstat(it->second.cur.fd(), &open) == 0 &&
                   ::lstat((dirOf(it->first) + "/cur").c_str(), &now) == 0 &&
                   open.st_dev == now.st_dev && open.st_ino == now.st_ino;
        }
        it = same ? std::next(it) : messages_.erase(it);
    }
}

void MaildirTree::ensureTrash() {
    FolderNode& top = folders_[kTopKey];
    std::string trash;
    for (const char* name : {"Deleted Items", "Trash", "Deleted Messages", "Deleted"}) {
        for (const std::string& key : top.children) {
            if (trash.empty() && !key.empty() &&
                folders_[key].name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) {
                trash = key;
            }
        }
    }
    if (trash.empty()) {
        trash = ".Trash";
        FolderNode& node = folders_[trash];
        node.key = trash;
        node.parent = kTopKey;
        top.children.push_back(trash);
    }
    FolderNode& node = folders_[trash];
    if (!node.onDisk || !isRealDir(dirOf(trash) + "/new") || !isRealDir(dirOf(trash) + "/tmp")) {
        makeDir(dirOf(trash));
        for (const char* sub : {"/cur", "/new", "/tmp"}) {
            makeDir(dirOf(trash) + sub);
        }
        node.onDisk = true;
        rootTime_ = mtimeOf(root_);
    }
    node.name = QStringLiteral("Deleted Items");
    node.defaultFolder = outlook::olFolderDeletedItems;
    trashKey_ = trash;
}

const FolderNode* MaildirTree::folder(const std::string& key) {
    if (!haveFolders_ || !sameTime(mtimeOf(root_), rootTime_)) {
        rebuildFolders();
    }
    auto found = folders_.find(key);
    return found == folders_.end() ? nullptr : &found->second;
}

std::optional<std::string> MaildirTree::defaultFolder(long type) {
    folder(kTopKey);
    for (const auto& [key, node] : folders_) {
        if (type != 0 && node.defaultFolder == type) {
            return key;
        }
    }
    return std::nullopt;
}

MaildirTree::Messages& MaildirTree::loaded(const std::string& key) {
    Messages& messages = messages_[key];
    if (!messages.loaded) {
        rescan(key, messages);
    }
    return messages;
}

void MaildirTree::rescan(const std::string& key, Messages& messages) {
    std::vector<IndexEntry> listing;
    if (key != kTopKey) {
        const std::string dir = dirOf(key);
        messages.curTime = mtimeOf(dir + "/cur");
        messages.newTime = mtimeOf(dir + "/new");
        messages.cur = DirHandle(openDir(dir + "/cur"));
        messages.fresh = DirHandle(openDir(dir + "/new"));
        listMessages(dir + "/cur", false, listing);
        listMessages(dir + "/new", true, listing);
    }
    messages.index.merge(std::move(listing));
    messages.loaded = true;
}

MessageIndex& MaildirTree::messages(const std::string& key, bool checkChanges) {
    const bool wasLoaded = messages_.count(key) != 0 && messages_[key].loaded;
    Messages& messages = loaded(key);
    if (checkChanges && wasLoaded && key != kTopKey) {
        const std::string dir = dirOf(key);
        if (!sameTime(mtimeOf(dir + "/cur"), messages.curTime) ||
            !sameTime(mtimeOf(dir + "/new"), messages.newTime)) {
            rescan(key, messages);
        }
    }
    return messages.index;
}

void MaildirTree::noteOwnChange(const std::string& key, bool inNew) {
    Messages& messages = messages_[key];
    struct stat st {};
    if (::fstat((inNew ? messages.fresh : messages.cur).fd(), &st) == 0) {
        (inNew ? messages.newTime : messages.curTime) = st.st_mtim;
    }
}

std::optional<Location> MaildirTree::locate(const std::string& unique, const std::string& hint) {
    auto lookIn = [&](const std::string& key) -> std::optional<Location> {
        auto found = messages_.find(key);
        if (found == messages_.end() || !found->second.loaded) {
            return std::nullopt;
        }
        const IndexEntry* entry = found->second.index.find(unique);
        if (entry == nullptr) {
            return std::nullopt;
        }
        struct stat st {};
        const FileAt file = fileAt(key, entry->inNew, entry->unique + entry->info);
        if (::fstatat(file.dir, file.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            rescan(key, found->second);  // changed behind our back: look again below
            return std::nullopt;
        }
        return Location{key, *entry};
    };
    if (auto here = lookIn(hint)) {
        return here;
    }
    std::vector<std::string> keys;
    for (const auto& [key, messages] : messages_) {
        keys.push_back(key);
    }
    for (const std::string& key : keys) {
        if (auto there = lookIn(key)) {
            return there;
        }
    }
    // Not where we last saw it: read every folder that is new to us or has changed.
    folder(kTopKey);
    keys.clear();
    for (const auto& [key, node] : folders_) {
        if (node.onDisk) {
            keys.push_back(key);
        }
    }
    for (const std::string& key : keys) {
        messages(key, true);
        if (auto there = lookIn(key)) {
            return there;
        }
    }
    return std::nullopt;
}

IndexEntry MaildirTree::requireIn(const std::string& folder, const std::string& unique) {
    Messages& messages = loaded(folder);
    if (const IndexEntry* entry = messages.index.find(unique)) {
        return *entry;
    }
    rescan(folder, messages);
    if (const IndexEntry* entry = messages.index.find(unique)) {
        return *entry;
    }
    if (locate(unique, folder)) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The operation failed. Another program has moved the message "
                                     "%1 to another folder since it was read; it was left there.")
                          .arg(nameText(unique)));
    }
    messageGone(unique);
}

std::optional<std::string> MaildirTree::deleteMessage(const std::string& folder,
                                                      const std::string& unique) {
    return deleteMessage(folder, unique, true);
}

std::optional<std::string> MaildirTree::deleteMessage(const std::string& folder,
                                                      const std::string& unique,
                                                      bool mayRemakeTrash) {
    // The tree as last read: a Deleted Items folder removed since is noticed by the move failing,
    // which has the tree read again.
    if (!haveFolders_) {
        rebuildFolders();
    }
    const std::string trash = trashKey_;
    IndexEntry entry = requireIn(folder, unique);
    // Once more after a fresh look when the file has changed its name (new flags) meanwhile.
    auto retrying = [&](auto attempt) {
        int error = attempt(entry);
        if (error == ENOENT) {
            rescan(folder, messages_[folder]);
            entry = requireIn(folder, unique);
            error = attempt(entry);
        }
        return error;
    };
    if (folder == trash) {
        const int error = retrying([this, &folder](const IndexEntry& e) {
            const FileAt file = fileAt(folder, e.inNew, e.unique + e.info);
            return ::unlinkat(file.dir, file.name.c_str(), 0) == 0 ? 0 : errno;
        });
        if (error == ENOENT) {
            messageGone(unique);
        }
        if (error != 0) {
            fileFailure(QStringLiteral("Cannot delete the message"), pathOf(folder, entry), error);
        }
        messages_[folder].index.erase(unique);
        noteOwnChange(folder, entry.inNew);
        return std::nullopt;
    }
    Messages& bin = loaded(trash);
    auto alreadyThere = [&unique] {
        throw Failure(err::kAutomation,
                      QStringLiteral("The operation failed. \"Deleted Items\" already holds a "
                                     "message named %1; the message was left where it is.")
                          .arg(nameText(unique)));
    };
    if (bin.index.find(unique) != nullptr) {
        alreadyThere();
    }
    auto infoIn = [](const IndexEntry& e) { return e.info.empty() ? std::string(":2,") : e.info; };
    const int error = retrying([&](const IndexEntry& e) {
        return renameNoReplace(fileAt(folder, e.inNew, e.unique + e.info),
                               fileAt(trash, false, unique + infoIn(e)));
    });
    if (error == ENOENT) {
        struct stat st {};
        const FileAt source = fileAt(folder, entry.inNew, entry.unique + entry.info);
        if (::fstatat(source.dir, source.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
            // Deleted Items itself is gone: reading the tree again makes it anew.
            if (mayRemakeTrash) {
                rebuildFolders();
                return deleteMessage(folder, unique, false);
            }
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. The \"Deleted Items\" folder has "
                                         "been deleted by another program; the message %1 was "
                                         "left where it is.")
                              .arg(nameText(unique)));
        }
        messageGone(unique);
    }
    if (error == EEXIST) {
        alreadyThere();
    }
    if (error != 0) {
        fileFailure(QStringLiteral("Cannot move the message"), pathOf(folder, entry), error);
    }
    messages_[folder].index.erase(unique);
    bin.index.append({unique, infoIn(entry), false});
    noteOwnChange(folder, entry.inNew);
    noteOwnChange(trash, false);
    return trash;
}

void MaildirTree::removeAt(const std::string& folder, long position) {
    Messages& messages = loaded(folder);
    const IndexEntry entry = messages.index.at(position);
    const FileAt file = fileAt(folder, entry.inNew, entry.unique + entry.info);
    if (::unlinkat(file.dir, file.name.c_str(), 0) != 0) {
        const int error = errno;
        if (error == ENOENT) {
            rescan(folder, messages);
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. The message %1 is no longer at "
                                         "this place; another program has changed the folder "
                                         "since it was read. Nothing was deleted.")
                              .arg(nameText(entry.unique)));
        }
        fileFailure(QStringLiteral("Cannot delete the message"), pathOf(folder, entry), error);
    }
    messages.index.erase(entry.unique);
    noteOwnChange(folder, entry.inNew);
}

void MaildirTree::removeFolder(const std::string& parent, long position) {
    const FolderNode* node = folder(parent);
    if (node == nullptr) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The operation failed. The folder no longer exists."));
    }
    if (position < 1 || position > static_cast<long>(node->children.size())) {
        throw Failure(err::kAutomation, QStringLiteral("Array index out of bounds."));
    }
    const FolderNode& child = folders_.at(node->children[static_cast<std::size_t>(position - 1)]);
    if (child.defaultFolder != 0) {
        throw Failure(err::kAutomation,
                      QStringLiteral("Cannot delete this folder. \"%1\" is a standard folder of "
                                     "the store.")
                          .arg(child.name));
    }
    const std::string below = child.key + ".";
    std::vector<std::string> doomed;
    for (const auto& [key, each] : folders_) {
        if (each.onDisk && (key == child.key || key.compare(0, below.size(), below) == 0)) {
            doomed.push_back(key);
        }
    }
    std::vector<std::string> aside;
    for (const std::string& key : doomed) {
        std::string target = root_ + "/" + std::string(kRemovingPrefix) +
                             std::to_string(::getpid()) + "." + std::to_string(++removals_);
        if (::rename(dirOf(key).c_str(), target.c_str()) != 0) {
            if (errno == ENOENT) {
                continue;
            }
            haveFolders_ = false;
            fileFailure(QStringLiteral("Cannot delete the folder"), dirOf(key), errno);
        }
        aside.push_back(std::move(target));
        messages_.erase(key);
    }
    haveFolders_ = false;
    for (const std::string& path : aside) {
        std::error_code error;
        std::filesystem::remove_all(path, error);
        if (error) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The operation failed. The folder was taken out of the "
                               "store, but %1 could not be deleted (%2).")
                    .arg(QString::fromStdString(path), QString::fromStdString(error.message())));
        }
    }
}

}  // namespace tf::store::maildir
