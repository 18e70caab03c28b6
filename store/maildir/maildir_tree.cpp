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
#include "store/maildir/read_ahead.h"
#include "store/maildir/unlink_batch.h"

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

Failure fileFailureOf(const QString& what, const std::string& path, int error) {
    return Failure(error == EACCES || error == EPERM || error == EROFS ? err::kPermissionDenied
                                                                       : err::kAutomation,
                   QStringLiteral("The operation failed. %1 %2 (%3).")
                       .arg(what, QString::fromStdString(path), systemError(error)));
}

[[noreturn]] void fileFailure(const QString& what, const std::string& path, int error) {
    throw fileFailureOf(what, path, error);
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

// Deletes a folder that was set aside for deletion: its message files side by side (see
// unlinkSideBySide), then whatever is left.
void removeSetAside(const std::string& path, std::error_code& error) {
    constexpr unsigned kThreads = 8;
    for (const char* sub : {"/cur", "/new", "/tmp"}) {
        const int fd = openDir(path + sub);
        DIR* listing = fd >= 0 ? ::fdopendir(fd) : nullptr;
        if (listing == nullptr) {
            if (fd >= 0) {
                ::close(fd);
            }
            continue;  // what is not listed here goes below
        }
        std::vector<UnlinkJob> jobs;
        while (const dirent* entry = ::readdir(listing)) {
            if (entry->d_type == DT_REG) {
                jobs.push_back({fd, entry->d_name});
            }
        }
        unlinkSideBySide(jobs, kThreads);
        ::closedir(listing);
    }
    std::filesystem::remove_all(path, error);
}

// A folder's message files as one look at cur/ and new/ finds them, with the times the two
// directories had just before the look.
struct FolderListing {
    timespec curTime{};
    timespec newTime{};
    std::vector<IndexEntry> entries;
    std::vector<std::string> unreadable;  // listed but not readable by us
};

// True when this process may read a file with these attributes.
bool readable(int dir, const char* name, const struct stat& st, uid_t me) {
    if (me == 0) {
        return true;
    }
    if (st.st_uid == me) {
        return (st.st_mode & S_IRUSR) != 0;
    }
    return ::faccessat(dir, name, R_OK, AT_EACCESS) == 0;
}

std::int64_t nanosOf(const timespec& t) {
    return std::int64_t(t.tv_sec) * 1000000000 + t.tv_nsec;
}

void listMessages(const std::string& dir, bool inNew, FolderListing& out) {
    const uid_t me = ::geteuid();
    listDir(dir, [&](int fd, const dirent* entry) {
        if (entry->d_name[0] == '.' || (entry->d_type != DT_REG && entry->d_type != DT_UNKNOWN)) {
            return;
        }
        struct stat st {};
        if (::fstatat(fd, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(st.st_mode)) {
            return;
        }
        if (!readable(fd, entry->d_name, st, me)) {
            // Left alone and not listed; the user hears of it once, after loading.
            out.unreadable.push_back(dir + "/" + entry->d_name);
            return;
        }
        MessageName name = splitMessageName(entry->d_name);
        IndexEntry listed;
        listed.unique = std::move(name.unique);
        listed.info = std::move(name.info);
        listed.inNew = inNew;
        listed.size = st.st_size;
        listed.mtime = nanosOf(st.st_mtim);
        out.entries.push_back(std::move(listed));
    });
}

FolderListing listFolder(const std::string& dir) {
    FolderListing listing;
    listing.curTime = mtimeOf(dir + "/cur");
    listing.newTime = mtimeOf(dir + "/new");
    listMessages(dir + "/cur", false, listing);
    listMessages(dir + "/new", true, listing);
    return listing;
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

// Junk folders count as the store's standard folders but carry no protected name.
constexpr long kJunkFolder = 23;

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
    : root_(std::move(root)), account_(std::move(account)), cache_(root_) {
    std::vector<std::string> leftovers;
    listDir(root_, [&](int, const dirent* entry) {
        if (std::string_view(entry->d_name).substr(0, kRemovingPrefix.size()) == kRemovingPrefix &&
            isRealDir(root_ + "/" + entry->d_name)) {
            leftovers.push_back(root_ + "/" + entry->d_name);
        }
    });
    for (const std::string& path : leftovers) {
        std::error_code ignored;
        removeSetAside(path, ignored);
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
    settle();
    const FileAt file = fileAt(folder, entry.inNew, entry.unique + entry.info);
    // Reading a message for the list is not reading the mail: the access time stays as it was,
    // and the file system is spared an inode write per message. Only the file's owner may ask.
    int fd = -1;
    if (!noAtimeRefused_) {
        fd = ::openat(file.dir, file.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOATIME);
        noAtimeRefused_ = fd < 0 && errno == EPERM;
    }
    if (fd < 0 && (noAtimeRefused_ || errno == EINVAL)) {
        fd = ::openat(file.dir, file.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    }
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
        const std::string dir = root_ + "/" + dirName;
        // Dovecot lists a folder that has only new/ so far; cur/ is made when a message moves in.
        struct stat cur {};
        const bool noCur = ::lstat((dir + "/cur").c_str(), &cur) != 0 && errno == ENOENT;
        if (dirName[0] != '.' || dirName == "." || dirName == ".." || !isRealDir(dir) ||
            !(S_ISDIR(cur.st_mode) || (noCur && isRealDir(dir + "/new")))) {
            continue;
        }
        const std::optional<QStringList> path = folderPathOf(dirName);
        if (!path) {
            // A mail folder all the same: say once that it is not shown, rather than drop it
            // without a word.
            if (reported_.insert(dir).second) {
                skipped_.folders.push_back(dir);
            }
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
    for (const std::string& key : ghosts_) {
        std::string parent = kTopKey;
        if (const std::size_t dot = key.rfind('.'); dot != 0 && dot != std::string::npos) {
            parent = key.substr(0, dot);
        }
        if (parent == ".INBOX") {
            parent = kInboxKey;
        }
        if (folders_.count(key) != 0 || folders_.count(parent) == 0) {
            continue;  // there again by itself, or its parent has gone too
        }
        FolderNode& node = folders_[key];
        node.key = key;
        node.parent = parent;
        node.name = decodeFolderName(std::string_view(key).substr(key.rfind('.') + 1));
        folders_[parent].children.push_back(key);
    }
    ensureTrash();

    FolderNode& topNow = folders_[kTopKey];
    // Dovecot's and Thunderbird's names for the standard folders. Sent and Drafts show under the
    // names the folder rules protect, as the Trash shows as Deleted Items.
    auto assign = [&](std::initializer_list<const char*> candidates, long type, QString shown) {
        for (const char* name : candidates) {
            for (const std::string& key : topNow.children) {
                FolderNode& node = folders_[key];
                if (node.defaultFolder == 0 && node.onDisk &&
                    node.name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) {
                    node.defaultFolder = type;
                    if (!shown.isEmpty()) {
                        node.name = shown;
                    }
                    return;
                }
            }
        }
    };
    assign({"Sent Items", "Sent", "Sent Messages", "Sent Mail"}, outlook::olFolderSentMail,
           QStringLiteral("Sent Items"));
    assign({"Drafts"}, outlook::olFolderDrafts, QStringLiteral("Drafts"));
    assign({"Junk", "Spam", "Junk E-mail"}, kJunkFolder, {});
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
    flushRemovals();
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
    if (!node.onDisk || !isRealDir(dirOf(trash) + "/cur") || !isRealDir(dirOf(trash) + "/new") ||
        !isRealDir(dirOf(trash) + "/tmp")) {
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

// A waiting move changes no folder, so looking at the folders leaves it waiting.
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

// Lists the folders of a tree on a thread of its own, ahead of the window's loop, which asks for
// one folder's items after the other.
class MaildirTree::ListingAhead {
  public:
    explicit ListingAhead(std::vector<std::pair<std::string, std::string>> folders)
        : folders_(std::move(folders)) {
        for (std::size_t i = 0; i < folders_.size(); ++i) {
            slotOf_.emplace(folders_[i].first, i);
        }
        lister_.emplace(
            folders_.size(),
            [this](std::size_t i) { return std::optional(listFolder(folders_[i].second)); }, 4);
    }

    // The folder's listing, when it was made and the folder has not changed since.
    std::optional<FolderListing> take(const std::string& key, const std::string& dir) {
        const auto slot = slotOf_.find(key);
        if (slot == slotOf_.end()) {
            return std::nullopt;
        }
        std::optional<FolderListing> listing = lister_->take(slot->second);
        if (!listing || !sameTime(mtimeOf(dir + "/cur"), listing->curTime) ||
            !sameTime(mtimeOf(dir + "/new"), listing->newTime)) {
            return std::nullopt;
        }
        return listing;
    }

  private:
    std::vector<std::pair<std::string, std::string>> folders_;  // key, directory
    std::unordered_map<std::string, std::size_t> slotOf_;
    std::optional<ReadAhead<FolderListing>> lister_;  // last: stops before the rest goes
};

MaildirTree::~MaildirTree() {
    try {
        flushRemovals();
    } catch (...) {
        // Nobody is left to tell; what was not deleted is still where it was.
    }
}

void MaildirTree::startListingAhead(const std::string& first) {
    listedAhead_ = true;
    std::vector<std::pair<std::string, std::string>> folders;
    for (const auto& [key, node] : folders_) {
        if (node.onDisk && key != first && key != kTopKey && messages_.count(key) == 0) {
            folders.emplace_back(key, dirOf(key));
        }
    }
    if (folders.size() >= 2) {
        listingAhead_ = std::make_unique<ListingAhead>(std::move(folders));
    }
}

void MaildirTree::rescan(const std::string& key, Messages& messages) {
    flushRemovals();
    FolderListing listing;
    if (key != kTopKey) {
        const std::string dir = dirOf(key);
        std::optional<FolderListing> ahead;
        if (!messages.loaded) {
            if (!listedAhead_ && haveFolders_) {
                startListingAhead(key);
            } else if (listingAhead_) {
                ahead = listingAhead_->take(key, dir);
            }
        }
        listing = ahead ? std::move(*ahead) : listFolder(dir);
        messages.curTime = listing.curTime;
        messages.newTime = listing.newTime;
        messages.cur = DirHandle(openDir(dir + "/cur"));
        messages.fresh = DirHandle(openDir(dir + "/new"));
        for (std::string& path : listing.unreadable) {
            if (reported_.insert(path).second) {
                skipped_.unreadable.push_back(std::move(path));
            }
        }
    }
    // A name that another folder lists already (a copy, a hard link) is told apart by its folder.
    const std::uint32_t here = ordinalOf(key);
    messages.index.merge(std::move(listing.entries), [&](IndexEntry& entry) {
        const std::string stem = stemOf(entry.unique);
        // Nearly every name is new to the tree: one hash tells so without asking every folder.
        if (!noteHome(stem, here, false)) {
            return;
        }
        for (const auto& [other, theirs] : messages_) {
            const IndexEntry* twin = other == key ? nullptr : theirs.index.find(stem);
            if (twin != nullptr && twin->id.empty()) {
                entry.id = (maildir::entryIdOf(key) + QLatin1Char('/') + maildir::entryIdOf(stem))
                               .toUtf8()
                               .toStdString();
                namedAt_[entry.id] = {key, stem};
                return;
            }
        }
        noteHome(stem, here, true);
    });
    messages.loaded = true;
}

MessageIndex& MaildirTree::messages(const std::string& key, bool checkChanges) {
    settle();
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

std::uint32_t MaildirTree::ordinalOf(const std::string& key) {
    auto ordinal = folderOrdinals_.find(key);
    if (ordinal == folderOrdinals_.end()) {
        ordinal =
            folderOrdinals_.emplace(key, static_cast<std::uint32_t>(folderKeys_.size())).first;
        folderKeys_.push_back(key);
    }
    return ordinal->second;
}

bool MaildirTree::noteHome(const std::string& stem, std::uint32_t folder, bool replace) {
    const auto [home, added] = stemHomes_.try_emplace(std::hash<std::string>{}(stem), folder);
    if (!added && replace) {
        home->second = folder;
    }
    return !added;
}

const std::string* MaildirTree::homeOf(const std::string& stem) const {
    const auto home = stemHomes_.find(std::hash<std::string>{}(stem));
    return home == stemHomes_.end() ? nullptr : &folderKeys_[home->second];
}

std::optional<MessageHeaders> MaildirTree::readAhead(const std::string& folder,
                                                     const IndexEntry& entry) {
    // A folder this small is read faster than a thread starts.
    constexpr std::size_t kWorthReadingAhead = 64;
    if (readAheadFolders_.insert(folder).second) {
        prefetch_.reset();
        Messages& messages = loaded(folder);
        std::vector<HeaderPrefetch::Wanted> wanted;
        for (long i = 0; i < messages.index.count(); ++i) {
            const IndexEntry& listed = messages.index.at(i);
            if (!cache_.holds(folder, listed)) {
                wanted.push_back(
                    {stemOf(listed.unique), listed.unique + listed.info, listed.inNew});
            }
        }
        if (wanted.size() >= kWorthReadingAhead) {
            prefetch_ = std::make_unique<HeaderPrefetch>(messages.cur.fd(), messages.fresh.fd(),
                                                         std::move(wanted));
            prefetchFolder_ = folder;
        }
    }
    if (!prefetch_ || prefetchFolder_ != folder) {
        return std::nullopt;
    }
    return prefetch_->take(stemOf(entry.unique), entry.unique + entry.info, entry.inNew);
}

QString MaildirTree::idOf(const IndexEntry& entry) {
    if (!entry.id.empty()) {
        return QString::fromUtf8(entry.id.data(), static_cast<qsizetype>(entry.id.size()));
    }
    return maildir::entryIdOf(stemOf(entry.unique));
}

std::optional<Location> MaildirTree::lookIn(const std::string& key, const std::string& stem,
                                            const std::string& id) {
    auto found = messages_.find(key);
    if (found == messages_.end() || !found->second.loaded) {
        return std::nullopt;
    }
    const IndexEntry* entry = found->second.index.find(stem);
    if (entry == nullptr || entry->id != id) {
        return std::nullopt;
    }
    struct stat st {};
    const FileAt file = fileAt(key, entry->inNew, entry->unique + entry->info);
    if (::fstatat(file.dir, file.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        rescan(key, found->second);  // changed behind our back: look again below
        return std::nullopt;
    }
    return Location{key, *entry};
}

// id is empty for a message whose EntryID is its stem.
std::optional<Location> MaildirTree::search(const std::string& stem, const std::string& id,
                                            const std::string& hint) {
    if (auto here = lookIn(hint, stem, id)) {
        return here;
    }
    if (const std::string* home = homeOf(stem); home != nullptr && *home != hint) {
        const std::string key = *home;  // a copy: a rescan may add folders
        if (auto there = lookIn(key, stem, id)) {
            return there;
        }
    }
    std::vector<std::string> keys;
    for (const auto& [key, messages] : messages_) {
        keys.push_back(key);
    }
    for (const std::string& key : keys) {
        if (auto there = lookIn(key, stem, id)) {
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
        if (auto there = lookIn(key, stem, id)) {
            return there;
        }
    }
    return std::nullopt;
}

std::optional<Location> MaildirTree::locate(const QString& entryId, const std::string& hint) {
    if (pending_ && idOf(pending_->from) == entryId) {
        return Location{trashKey_, pending_->to};
    }
    settle();
    const std::string text = entryId.toUtf8().toStdString();
    if (auto named = namedAt_.find(text); named != namedAt_.end()) {
        const auto [key, stem] = named->second;  // copies: a rescan may drop the map's entry
        if (auto there = lookIn(key, stem, text)) {
            return there;
        }
        if (auto there = search(stem, text, key)) {
            return there;
        }
        return std::nullopt;
    }
    const qsizetype slash = entryId.indexOf(QLatin1Char('/'));
    if (slash >= 0) {
        // A copy's EntryID names its folder: that folder may not have been read yet.
        const std::string key = uniqueOf(entryId.left(slash));
        if (folder(key) == nullptr || !folders_[key].onDisk) {
            return std::nullopt;
        }
        messages(key, true);
        return lookIn(key, uniqueOf(entryId.mid(slash + 1)), text);
    }
    return search(uniqueOf(entryId), {}, hint);
}

IndexEntry MaildirTree::requireIn(const std::string& folder, const IndexEntry& listed) {
    const std::string stem = stemOf(listed.unique);
    Messages& messages = loaded(folder);
    const IndexEntry* entry = messages.index.find(stem);
    if (entry == nullptr || entry->id != listed.id) {
        rescan(folder, messages);
        entry = messages.index.find(stem);
    }
    if (entry != nullptr && entry->id == listed.id) {
        return *entry;
    }
    if (locate(idOf(listed), folder)) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The operation failed. Another program has moved the message "
                                     "%1 to another folder since it was read; it was left there.")
                          .arg(nameText(listed.unique)));
    }
    messageGone(listed.unique);
}

void MaildirTree::settle() {
    if (pending_) {
        const PendingMove move = std::move(*pending_);
        pending_.reset();
        moveToTrash(move.folder, move.from, true);
    }
}

void MaildirTree::beginChanges() {
    settle();
    grouping_ = true;
}

void MaildirTree::endChanges() {
    grouping_ = false;
    flushRemovals();
    try {
        settle();
    } catch (const Failure& failure) {
        failedRemovals_.insert(failedRemovals_.begin(), failure);
    }
    reportFailedRemovals();
}

void MaildirTree::queueRemoval(const std::string& folder, const IndexEntry& entry) {
    // Enough to keep the disk busy, few enough that a failure is reported while the run goes on.
    constexpr std::size_t kBatch = 4096;
    queuedRemovals_.push_back(
        {folder, entry, fileAt(folder, entry.inNew, entry.unique + entry.info)});
    messages_[folder].index.erase(stemOf(entry.unique));
    if (!entry.id.empty()) {
        namedAt_.erase(entry.id);
    }
    if (queuedRemovals_.size() >= kBatch) {
        flushRemovals();
        reportFailedRemovals();
    }
}

bool MaildirTree::unchangedSinceRead(const std::string& key, bool inNew) {
    Messages& messages = messages_[key];
    struct stat st {};
    return ::fstat((inNew ? messages.fresh : messages.cur).fd(), &st) == 0 &&
           sameTime(st.st_mtim, inNew ? messages.newTime : messages.curTime);
}

void MaildirTree::flushRemovals() {
    // Each thread mostly waits for the disk, so more of them than cores pay off.
    constexpr unsigned kThreads = 8;
    if (queuedRemovals_.empty()) {
        return;
    }
    const std::vector<QueuedRemoval> batch = std::exchange(queuedRemovals_, {});
    // A directory another program has changed meanwhile is left to be read again, rather than
    // its new time being taken for ours.
    std::map<std::pair<std::string, bool>, bool> touched;
    std::vector<UnlinkJob> jobs;
    jobs.reserve(batch.size());
    for (const QueuedRemoval& removal : batch) {
        const auto where = std::make_pair(removal.folder, removal.entry.inNew);
        if (touched.count(where) == 0) {
            touched[where] = unchangedSinceRead(removal.folder, removal.entry.inNew);
        }
        jobs.push_back({removal.file.dir, removal.file.name});
    }
    const std::vector<int> errors = unlinkSideBySide(jobs, kThreads);
    for (const auto& [where, unchanged] : touched) {
        if (unchanged) {
            noteOwnChange(where.first, where.second);
        }
    }
    std::vector<const QueuedRemoval*> renamed;
    std::set<std::string> lookAgain;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        if (errors[i] == 0) {
            continue;
        }
        // Back in its folder's list: it is still there, or is looked for again from there.
        const QueuedRemoval& removal = batch[i];
        messages_[removal.folder].index.append(removal.entry);
        if (!removal.entry.id.empty()) {
            namedAt_[removal.entry.id] = {removal.folder, stemOf(removal.entry.unique)};
        }
        if (errors[i] == ENOENT) {
            renamed.push_back(&removal);
            lookAgain.insert(removal.folder);
        } else {
            failedRemovals_.push_back(fileFailureOf(QStringLiteral("Cannot delete the message"),
                                                    pathOf(removal.folder, removal.entry),
                                                    errors[i]));
        }
    }
    for (const std::string& folder : lookAgain) {
        rescan(folder, messages_[folder]);
    }
    for (const QueuedRemoval* removal : renamed) {
        retryRemoval(*removal);
    }
}

// Once more after a fresh look at its folder, when the file has changed its name (new flags)
// meanwhile.
void MaildirTree::retryRemoval(const QueuedRemoval& removal) {
    try {
        const IndexEntry entry = requireIn(removal.folder, removal.entry);
        const FileAt file = fileAt(removal.folder, entry.inNew, entry.unique + entry.info);
        if (::unlinkat(file.dir, file.name.c_str(), 0) != 0) {
            const int error = errno;
            if (error == ENOENT) {
                messageGone(entry.unique);
            }
            fileFailure(QStringLiteral("Cannot delete the message"), pathOf(removal.folder, entry),
                        error);
        }
        messages_[removal.folder].index.erase(stemOf(entry.unique));
        if (!entry.id.empty()) {
            namedAt_.erase(entry.id);
        }
        noteOwnChange(removal.folder, entry.inNew);
    } catch (const Failure& failure) {
        failedRemovals_.push_back(failure);
    }
}

void MaildirTree::reportFailedRemovals() {
    constexpr std::size_t kNamed = 10;
    if (failedRemovals_.empty()) {
        return;
    }
    const std::vector<Failure> failures = std::exchange(failedRemovals_, {});
    if (failures.size() == 1) {
        throw failures.front();
    }
    QStringList lines;
    for (std::size_t i = 0; i < std::min(kNamed, failures.size()); ++i) {
        lines << failures[i].description();
    }
    if (failures.size() > kNamed) {
        lines << QStringLiteral("%1 more message(s) could not be deleted either.")
                     .arg(failures.size() - kNamed);
    }
    throw Failure(failures.front().number(), lines.join(QStringLiteral("\r\n")));
}

void MaildirTree::noteUnreadable(const std::string& path) {
    if (reported_.insert(path).second) {
        skipped_.unreadable.push_back(path);
    }
}

Skipped MaildirTree::takeSkipped() {
    return std::exchange(skipped_, {});
}

KeywordTable& MaildirTree::keywordsOf(const std::string& key) {
    KeywordTable& table = keywords_[key];
    table.load(dirOf(key));
    return table;
}

// A unique name as a delivery agent makes one: the time, the microseconds, our process and a
// counter, and the host.
std::string MaildirTree::freshUnique() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    char host[256] = "localhost";
    ::gethostname(host, sizeof host - 1);
    std::string safeHost;
    for (const char* c = host; *c != '\0'; ++c) {
        safeHost += *c == '/'   ? std::string("\\057")
                    : *c == ':' ? std::string("\\072")
                                : std::string(1, *c);
    }
    return std::to_string(now.tv_sec) + ".M" + std::to_string(now.tv_nsec / 1000) + "P" +
           std::to_string(::getpid()) + "Q" + std::to_string(++renames_) + "." + safeHost;
}

IndexEntry MaildirTree::movedEntry(const std::string& folder, const IndexEntry& entry) {
    IndexEntry moved = entry;
    moved.inNew = false;
    // mbsync's UID belongs to the folder the message leaves: without it, mbsync uploads the
    // message to Deleted Items as a new one instead of finding a duplicate UID there.
    moved.unique = stemOf(entry.unique);
    Messages& bin = loaded(trashKey_);
    if (bin.index.find(moved.unique) != nullptr) {
        moved.unique = freshUnique();
    }
    if (moved.id.empty() && moved.unique != stemOf(entry.unique)) {
        moved.id = maildir::entryIdOf(stemOf(entry.unique)).toUtf8().toStdString();
    }
    std::string flags(flagsOf(entry.info));
    if (std::any_of(flags.begin(), flags.end(), [](char c) { return c >= 'a' && c <= 'z'; })) {
        flags = translateFlags(flags, keywordsOf(folder), keywordsOf(trashKey_), dirOf(trashKey_));
    }
    moved.info = infoWith(std::move(flags));
    return moved;
}

void MaildirTree::unlinkMessage(const std::string& folder, const IndexEntry& listed) {
    IndexEntry entry = requireIn(folder, listed);
    if (grouping_) {
        queueRemoval(folder, entry);
        return;
    }
    auto attempt = [&] {
        const FileAt file = fileAt(folder, entry.inNew, entry.unique + entry.info);
        return ::unlinkat(file.dir, file.name.c_str(), 0) == 0 ? 0 : errno;
    };
    int error = attempt();
    if (error == ENOENT) {
        // Once more after a fresh look when the file has changed its name (new flags) meanwhile.
        rescan(folder, messages_[folder]);
        entry = requireIn(folder, listed);
        error = attempt();
    }
    if (error == ENOENT) {
        messageGone(listed.unique);
    }
    if (error != 0) {
        fileFailure(QStringLiteral("Cannot delete the message"), pathOf(folder, entry), error);
    }
    messages_[folder].index.erase(stemOf(entry.unique));
    if (!entry.id.empty()) {
        namedAt_.erase(entry.id);
    }
    noteOwnChange(folder, entry.inNew);
}

std::optional<Location> MaildirTree::deleteMessage(const std::string& folder,
                                                   const IndexEntry& entry) {
    if (pending_ && folder == trashKey_ && idOf(pending_->to) == idOf(entry) &&
        stemOf(pending_->to.unique) == stemOf(entry.unique)) {
        // Moved and deleted in one group: the file goes from where it still lies.
        const PendingMove move = std::move(*pending_);
        pending_.reset();
        unlinkMessage(move.folder, move.from);
        return std::nullopt;
    }
    settle();
    // The tree as last read: a Deleted Items folder removed since is noticed by the move failing,
    // which has the tree read again.
    if (!haveFolders_) {
        rebuildFolders();
    }
    if (folder == trashKey_) {
        unlinkMessage(folder, entry);
        return std::nullopt;
    }
    if (grouping_) {
        const IndexEntry current = requireIn(folder, entry);
        pending_ = PendingMove{folder, current, movedEntry(folder, current)};
        return Location{trashKey_, pending_->to};
    }
    return moveToTrash(folder, entry, true);
}

std::optional<Location> MaildirTree::moveToTrash(const std::string& folder,
                                                 const IndexEntry& listed, bool mayRemakeTrash) {
    const std::string trash = trashKey_;
    IndexEntry entry = requireIn(folder, listed);
    IndexEntry moved = movedEntry(folder, entry);
    auto attempt = [&] {
        return renameNoReplace(fileAt(folder, entry.inNew, entry.unique + entry.info),
                               fileAt(trash, false, moved.unique + moved.info));
    };
    int error = attempt();
    if (error == ENOENT) {
        // Once more after a fresh look when the file has changed its name (new flags) meanwhile.
        rescan(folder, messages_[folder]);
        entry = requireIn(folder, listed);
        moved = movedEntry(folder, entry);
        error = attempt();
    }
    if (error == EEXIST) {
        // Another program put a file of that name there meanwhile: ours takes a new name.
        moved = movedEntry(folder, entry);
        if (moved.unique == stemOf(entry.unique)) {
            moved.unique = freshUnique();
            if (moved.id.empty()) {
                moved.id = maildir::entryIdOf(stemOf(entry.unique)).toUtf8().toStdString();
            }
        }
        error = attempt();
    }
    if (error == ENOENT) {
        struct stat st {};
        const FileAt source = fileAt(folder, entry.inNew, entry.unique + entry.info);
        if (::fstatat(source.dir, source.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
            // Deleted Items itself is gone: reading the tree again makes it anew.
            if (mayRemakeTrash) {
                rebuildFolders();
                return moveToTrash(folder, listed, false);
            }
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. The \"Deleted Items\" folder has "
                                         "been deleted by another program; the message %1 was "
                                         "left where it is.")
                              .arg(nameText(entry.unique)));
        }
        messageGone(entry.unique);
    }
    if (error != 0) {
        fileFailure(QStringLiteral("Cannot move the message"), pathOf(folder, entry), error);
    }
    messages_[folder].index.erase(stemOf(entry.unique));
    Messages& bin = loaded(trash);
    if (moved.id.empty()) {
        noteHome(moved.unique, ordinalOf(trash), true);
    }
    bin.index.append(moved);
    if (!moved.id.empty()) {
        namedAt_[moved.id] = {trash, moved.unique};
    }
    noteOwnChange(folder, entry.inNew);
    noteOwnChange(trash, false);
    return Location{trash, moved};
}

void MaildirTree::removeAt(const std::string& folder, long position) {
    settle();
    Messages& messages = loaded(folder);
    const IndexEntry entry = messages.index.at(position);
    if (grouping_) {
        queueRemoval(folder, entry);
        return;
    }
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
    messages.index.erase(stemOf(entry.unique));
    if (!entry.id.empty()) {
        namedAt_.erase(entry.id);
    }
    noteOwnChange(folder, entry.inNew);
}

void MaildirTree::removeFolder(const std::string& parent, long position) {
    settle();
    flushRemovals();
    const FolderNode* node = folder(parent);
    if (node == nullptr) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The operation failed. The folder no longer exists."));
    }
    if (position < 1 || position > static_cast<long>(node->children.size())) {
        throw Failure(err::kAutomation, QStringLiteral("Array index out of bounds."));
    }
    const FolderNode& child = folders_.at(node->children[static_cast<std::size_t>(position - 1)]);
    if (child.defaultFolder != 0 && child.defaultFolder != kJunkFolder) {
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
    // Dovecot lists a subscribed folder in LSUB whether or not it is still there.
    std::vector<std::string> names{child.key};
    for (const auto& [key, each] : folders_) {
        if (key.compare(0, below.size(), below) == 0) {
            names.push_back(key);
        }
    }
    // Parents that were there only through this folder go with it; a run that deletes them
    // next still finds them, empty.
    for (std::string above = child.parent; above != kTopKey && above != kInboxKey;) {
        const FolderNode& up = folders_.at(above);
        if (up.onDisk) {
            break;
        }
        ghosts_.insert(above);
        above = up.parent;
    }
    std::erase_if(ghosts_, [&](const std::string& key) {
        return key == child.key || key.compare(0, below.size(), below) == 0;
    });
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
    unsubscribe(root_, names);
    for (const std::string& path : aside) {
        std::error_code error;
        removeSetAside(path, error);
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
