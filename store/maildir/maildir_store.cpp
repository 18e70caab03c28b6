#include "store/maildir/maildir_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <map>
#include <type_traits>
#include <unordered_map>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/maildir/maildir_names.h"
#include "store/maildir/maildir_tree.h"
#include "store/maildir/message_headers.h"

namespace tf::store::maildir {

namespace {

using outlook::FolderPtr;
using outlook::FoldersPtr;
using outlook::ItemPtr;
using outlook::ItemsPtr;
using TreePtr = std::shared_ptr<MaildirTree>;

// A whole message is read only to show it; a larger one is shown cut off.
constexpr qsizetype kBodyLimit = 64 << 20;

[[noreturn]] void itemGone(const std::string& unique) {
    throw Failure(err::kAutomation,
                  QStringLiteral("The operation failed. The message %1 no longer exists; it has "
                                 "been moved or deleted since it was read.")
                      .arg(entryIdOf(stemOf(unique))));
}

[[noreturn]] void folderGone(const QString& name) {
    throw Failure(
        err::kAutomation,
        QStringLiteral("The operation failed. The folder \"%1\" no longer exists.").arg(name));
}

// A time in seconds since 1970 as the local wall-clock date. The offset from UTC is looked up
// once per day (a day with a clock change is converted on its own), since the zone rules are
// slow to consult for every message of a large folder.
OleDate localDate(qint64 millis) {
    constexpr qint64 kMillisPerDay = 86400000;
    constexpr double kUnixEpochDay = 25569.0;  // 1970-01-01 as a day count from 1899-12-30
    thread_local std::unordered_map<qint64, qint64> offsetOfDay;
    const qint64 day = millis >= 0 ? millis / kMillisPerDay : (millis + 1) / kMillisPerDay - 1;
    auto found = offsetOfDay.find(day);
    if (found == offsetOfDay.end()) {
        const qint64 start = QDateTime::fromMSecsSinceEpoch(day * kMillisPerDay).offsetFromUtc();
        const qint64 end =
            QDateTime::fromMSecsSinceEpoch((day + 1) * kMillisPerDay - 1).offsetFromUtc();
        if (start != end) {
            return toOleDate(QDateTime::fromMSecsSinceEpoch(millis));
        }
        found = offsetOfDay.emplace(day, start * 1000).first;
    }
    const double local =
        static_cast<double>(millis + found->second) / kMillisPerDay + kUnixEpochDay;
    // Before 1899-12-30 the day count is negative and the time a positive fraction after it.
    return local >= 0 ? local : toOleDate(QDateTime::fromMSecsSinceEpoch(millis));
}

// The file's modification time: when a client last rewrote the message.
OleDate modifiedTime(int fd) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) {
        return kNoDate;
    }
    return localDate(qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000);
}

struct MessageData {
    QString subject;
    QString sender;
    OleDate received = kNoDate;
};

// The fields the list shows. A message without a Date header is dated by its delivery time, and
// without one of those by its file's modification time.
MessageData dataOf(const MessageHeaders& headers, const IndexEntry& entry) {
    MessageData data;
    data.subject = headers.subject;
    data.sender = headers.sender;
    if (headers.date) {
        data.received = localDate(*headers.date * 1000);
    } else if (const std::optional<std::int64_t> delivered = deliveryMicros(entry.unique)) {
        data.received = localDate(*delivered / 1000);
    } else if (entry.mtime != 0) {
        data.received = localDate(entry.mtime / 1000000);
    }
    return data;
}

QByteArray readWhole(int fd) {
    QByteArray message;
    char buffer[65536];
    while (message.size() < kBodyLimit) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        message.append(buffer, got);
    }
    return message;
}

FolderPtr makeFolder(const TreePtr& tree, const FolderNode& node);

// The folder as it is now; fails, naming it, when it has been deleted since it was read.
const FolderNode& existingFolder(MaildirTree& tree, const std::string& key, const QString& name) {
    const FolderNode* node = tree.folder(key);
    if (node == nullptr) {
        folderGone(name);
    }
    return *node;
}

class MaildirItem : public outlook::Item {
  public:
    MaildirItem(TreePtr tree, std::string folder, IndexEntry entry)
        : tree_(std::move(tree)), folder_(std::move(folder)), entry_(std::move(entry)) {}

  protected:
    long doClass() const override { return outlook::olMail; }
    QString doSubject() const override { return data().subject; }
    QString doEntryID() const override { return MaildirTree::idOf(entry_); }
    QString doBody() const override {
        return withFile([](int fd, const std::string&) { return messageBodyText(readWhole(fd)); });
    }
    std::optional<QString> doSender() const override { return data().sender; }
    OleDate doReceivedTime() const override { return data().received; }
    OleDate doLastModificationTime() const override {
        return withFile([](int fd, const std::string&) { return modifiedTime(fd); });
    }
    // Mail has none of these; the base refuses them before they are asked.
    OleDate doDateCompleted() const override { return kNoDate; }
    OleDate doDueDate() const override { return kNoDate; }
    OleDate doEnd() const override { return kNoDate; }
    bool doUnRead() const override { return !isSeen(entry_.info); }

    FolderPtr doParent() const override {
        relocate();
        const FolderNode* node = tree_->folder(folder_);
        if (node == nullptr) {
            itemGone(entry_.unique);
        }
        return makeFolder(tree_, *node);
    }

    void doDelete() override {
        if (std::optional<Location> now = tree_->deleteMessage(folder_, entry_)) {
            folder_ = std::move(now->folder);
            entry_ = std::move(now->entry);
        }
    }

  private:
    const MessageData& data() const {
        if (data_) {
            return *data_;
        }
        if (std::optional<MessageHeaders> kept = tree_->headerCache().find(folder_, entry_)) {
            data_ = dataOf(*kept, entry_);
            return *data_;
        }
        if (std::optional<MessageHeaders> ahead = tree_->readAhead(folder_, entry_)) {
            tree_->headerCache().keep(folder_, entry_, *ahead);
            data_ = dataOf(*ahead, entry_);
            return *data_;
        }
        try {
            const MessageHeaders headers = withFile([](int fd, const std::string& path) {
                return parseHeaders(readHeaderBlock(fd, QString::fromStdString(path)));
            });
            // withFile may have found the message under a new name: entry_ is its file now.
            tree_->headerCache().keep(folder_, entry_, headers);
            data_ = dataOf(headers, entry_);
        } catch (const Failure& failure) {
            if (failure.number() != err::kPermissionDenied) {
                throw;
            }
            // A read error in the middle of the file: the message shows with no subject or
            // sender, and the user hears of it once, after loading.
            tree_->noteUnreadable(tree_->pathOf(folder_, entry_));
            data_ = dataOf({}, entry_);
        }
        return *data_;
    }

    // Runs read on the message's file, looking for the message once more when another program
    // has renamed it (new flags) or moved it since it was listed.
    template <typename Read>
    std::invoke_result_t<Read, int, const std::string&> withFile(Read read) const {
        for (int attempt = 0; attempt < 2; ++attempt) {
            const std::string path = tree_->pathOf(folder_, entry_);
            const int fd = tree_->openMessage(folder_, entry_);
            if (fd >= 0) {
                struct Closer {
                    int fd;
                    ~Closer() { ::close(fd); }
                } closer{fd};
                return read(fd, path);
            }
            relocate();
        }
        itemGone(entry_.unique);
    }

    void relocate() const {
        std::optional<Location> where = tree_->locate(MaildirTree::idOf(entry_), folder_);
        if (!where) {
            itemGone(entry_.unique);
        }
        folder_ = std::move(where->folder);
        entry_ = std::move(where->entry);
    }

    TreePtr tree_;
    mutable std::string folder_;
    mutable IndexEntry entry_;
    mutable std::optional<MessageData> data_;
};

class MaildirItems : public outlook::Items {
  public:
    MaildirItems(TreePtr tree, std::string folder)
        : tree_(std::move(tree)), folder_(std::move(folder)) {}

  protected:
    long doCount() const override { return tree_->messages(folder_, false).count(); }
    ItemPtr doItem(long index) const override {
        return std::make_shared<MaildirItem>(tree_, folder_,
                                             tree_->messages(folder_, false).at(index - 1));
    }
    void doRemove(long index) override { tree_->removeAt(folder_, index - 1); }

  private:
    TreePtr tree_;
    std::string folder_;
};

class MaildirFolders : public outlook::Folders {
  public:
    MaildirFolders(TreePtr tree, std::string parent, QString name)
        : tree_(std::move(tree)), parent_(std::move(parent)), name_(std::move(name)) {}

  protected:
    long doCount() const override { return static_cast<long>(node().children.size()); }
    FolderPtr doItem(long index) const override {
        const FolderNode& parent = node();
        // A copy: looking the child up may re-read the tree, which replaces the parent's node.
        const std::string key = parent.children[static_cast<std::size_t>(index - 1)];
        return makeFolder(tree_, existingFolder(*tree_, key, name_));
    }
    void doRemove(long index) override { tree_->removeFolder(parent_, index); }

  private:
    const FolderNode& node() const { return existingFolder(*tree_, parent_, name_); }

    TreePtr tree_;
    std::string parent_;
    QString name_;
};

class MaildirFolder : public outlook::MAPIFolder {
  public:
    MaildirFolder(TreePtr tree, const FolderNode& node)
        : tree_(std::move(tree)), key_(node.key), name_(node.name) {}

    FolderPtr Parent() const override {
        const FolderNode& now = current();
        if (now.key == MaildirTree::kTopKey) {
            return nullptr;
        }
        const std::string parent = now.parent;  // a copy, as the lookup may re-read the tree
        return makeFolder(tree_, existingFolder(*tree_, parent, name_));
    }
    long DefaultItemType() const override { return outlook::olMailItem; }
    QString EntryID() const override {
        if (key_.empty()) {
            return QStringLiteral("INBOX");
        }
        return QString::fromStdString(key_);
    }
    FoldersPtr Folders() const override {
        current();
        return std::make_shared<MaildirFolders>(tree_, key_, name_);
    }
    ItemsPtr Items() const override {
        if (current().onDisk) {
            tree_->messages(key_, true);
        }
        return std::make_shared<MaildirItems>(tree_, key_);
    }
    QString Name() const override { return name_; }
    QString StoreID() const override { return tree_->storeId(); }

  private:
    const FolderNode& current() const { return existingFolder(*tree_, key_, name_); }

    TreePtr tree_;
    std::string key_;
    QString name_;
};

FolderPtr makeFolder(const TreePtr& tree, const FolderNode& node) {
    return std::make_shared<MaildirFolder>(tree, node);
}

// The one report of what the listings passed over: how many messages could not be read, and in
// which folders, and the folders whose names are no folder name.
QString readNotesText(const Skipped& skipped) {
    constexpr std::size_t kShown = 10;
    QStringList lines;
    if (const std::size_t count = skipped.unreadable.size(); count > 0) {
        std::map<std::string, int> perDir;
        for (const std::string& path : skipped.unreadable) {
            ++perDir[path.substr(0, path.rfind('/'))];
        }
        lines << (count == 1 ? QStringLiteral("1 message could not be read and is not listed:")
                             : QStringLiteral("%1 messages could not be read and are not listed:")
                                   .arg(count));
        std::size_t shown = 0;
        for (const auto& [dir, n] : perDir) {
            if (++shown > kShown) {
                lines << QStringLiteral("and %1 more folders").arg(perDir.size() - kShown);
                break;
            }
            lines << QStringLiteral("%1 (%2)").arg(QString::fromStdString(dir)).arg(n);
        }
    }
    for (const std::string& dir : skipped.folders) {
        lines << QStringLiteral("The folder %1 is not shown: its name is not a valid folder name.")
                     .arg(QString::fromStdString(dir));
    }
    return lines.join(QStringLiteral("\r\n"));
}

class MaildirStore : public outlook::Store {
  public:
    explicit MaildirStore(TreePtr tree) : tree_(std::move(tree)) {}

    FolderPtr TopFolder() const override {
        return makeFolder(tree_, *tree_->folder(MaildirTree::kTopKey));
    }
    FolderPtr GetDefaultFolder(long folderType) const override {
        const std::optional<std::string> key = tree_->defaultFolder(folderType);
        if (!key) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The store has no default folder of type %1.").arg(folderType));
        }
        return makeFolder(tree_, *tree_->folder(*key));
    }
    ItemPtr GetItemFromID(const QString& entryID) const override {
        std::optional<Location> where = tree_->locate(entryID, lastFound_);
        if (!where) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. An object could not be found: "
                                         "the item %1 is not in the store; it may have been "
                                         "deleted.")
                              .arg(entryID));
        }
        lastFound_ = where->folder;
        return std::make_shared<MaildirItem>(tree_, where->folder, where->entry);
    }
    QString StoreID() const override { return tree_->storeId(); }
    QString location() const override { return QStringLiteral("maildir:") + tree_->storeId(); }
    void beginChanges() override { tree_->beginChanges(); }
    void endChanges() override { tree_->endChanges(); }
    QString takeReadNotes() override { return readNotesText(tree_->takeSkipped()); }

  private:
    TreePtr tree_;
    mutable std::string lastFound_;
};

[[noreturn]] void notAMaildir(const QString& root, const QString& why) {
    throw Failure(err::kFileNotFound, QStringLiteral("%1 is not a Maildir folder (%2).")
                                          .arg(QDir::toNativeSeparators(root), why));
}

}  // namespace

outlook::StorePtr openMaildirStore(const QString& root, const QString& accountName) {
    const QFileInfo info(root);
    if (!info.exists()) {
        throw Failure(err::kFileNotFound, QStringLiteral("The Maildir folder %1 does not exist.")
                                              .arg(QDir::toNativeSeparators(root)));
    }
    if (!info.isDir()) {
        notAMaildir(root, QStringLiteral("it is a file"));
    }
    const QString canonical = info.canonicalFilePath();
    const QDir dir(canonical);
    for (const char* sub : {"cur", "new"}) {
        const QFileInfo part(dir.filePath(QLatin1String(sub)));
        if (!part.isDir() || part.isSymLink()) {
            notAMaildir(root, QStringLiteral("it has no %1/ folder; name the folder that holds "
                                             "cur/, new/ and tmp/")
                                  .arg(QLatin1String(sub)));
        }
    }
    for (const QString& path : {canonical, dir.filePath(QStringLiteral("cur"))}) {
        if (::access(QFile::encodeName(path).constData(), W_OK) != 0) {
            throw Failure(err::kPermissionDenied,
                          QStringLiteral("The Maildir folder %1 is read-only. Tidyfold moves and "
                                         "deletes messages and must be able to change it.")
                              .arg(QDir::toNativeSeparators(path)));
        }
    }
    const QString account = accountName.isEmpty() ? dir.dirName() : accountName;
    auto tree = std::make_shared<MaildirTree>(QFile::encodeName(canonical).toStdString(), account);
    return std::make_shared<MaildirStore>(std::move(tree));
}

}  // namespace tf::store::maildir
