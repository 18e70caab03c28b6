#include "store/local/local_store.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <optional>
#include <unordered_map>

#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/item_fields.h"
#include "store/local/schema.h"
#include "store/local/sqlite_db.h"

namespace tf::store::local {

namespace {

using outlook::FolderPtr;
using outlook::FoldersPtr;
using outlook::ItemPtr;
using outlook::ItemsPtr;

// Rows are read in pages: a window loop over Items.Item(1..N) costs one query per page.
constexpr long kPageSize = 512;
constexpr std::size_t kRowCacheLimit = 4 * kPageSize;

[[noreturn]] void itemGone() {
    throw Failure(err::kAutomation,
                  QStringLiteral("The operation failed. The item no longer exists; it has been "
                                 "deleted since it was read."));
}

[[noreturn]] void folderGone(const QString& name) {
    throw Failure(
        err::kAutomation,
        QStringLiteral("The operation failed. The folder \"%1\" no longer exists.").arg(name));
}

struct Row : outlook::ItemFields {
    qint64 id = 0;
    qint64 store = 0;
    qint64 folder = 0;
    QString entryId;
    bool hasSender = false;
};
using RowPtr = std::shared_ptr<const Row>;

#define TF_ITEM_COLUMNS                                                                    \
    "id, store, folder, entry_id, class, subject, body, sender, received, modified, due, " \
    "completed, end_time, unread"

OleDate dateAt(const Statement& s, int column) {
    return s.isNull(column) ? kNoDate : s.real(column);
}

RowPtr readRow(const Statement& s, int first) {
    auto row = std::make_shared<Row>();
    row->id = s.int64(first);
    row->store = s.int64(first + 1);
    row->folder = s.int64(first + 2);
    row->entryId = s.text(first + 3);
    row->itemClass = static_cast<long>(s.int64(first + 4));
    row->subject = s.text(first + 5);
    row->body = s.text(first + 6);
    row->hasSender = !s.isNull(first + 7);
    row->sender = s.text(first + 7);
    row->received = dateAt(s, first + 8);
    row->modified = dateAt(s, first + 9);
    row->due = dateAt(s, first + 10);
    row->completed = dateAt(s, first + 11);
    row->end = dateAt(s, first + 12);
    row->unread = s.int64(first + 13) != 0;
    return row;
}

struct FolderRow {
    qint64 id = 0;
    qint64 store = 0;
    qint64 parent = 0;  // 0: a store's top folder
    QString name;
    QString entryId;
    long defaultType = 0;
    long defaultFolder = 0;
};

#define TF_FOLDER_COLUMNS \
    "id, store, coalesce(parent, 0), name, entry_id, default_type, default_folder"

FolderRow readFolder(const Statement& s) {
    FolderRow f;
    f.id = s.int64(0);
    f.store = s.int64(1);
    f.parent = s.int64(2);
    f.name = s.text(3);
    f.entryId = s.text(4);
    f.defaultType = static_cast<long>(s.int64(5));
    f.defaultFolder = static_cast<long>(s.int64(6));
    return f;
}

// The positions of one folder's items: their seq numbers in order. Removing the first or the
// last item is O(1), so deleting a folder's items one by one from either end stays linear.
struct FolderIndex {
    std::vector<qint64> seqs;
    std::size_t head = 0;
    std::unordered_map<qint64, RowPtr> rows;  // seq -> row, a few pages at most

    long count() const { return static_cast<long>(seqs.size() - head); }
    qint64 at(long position) const { return seqs[head + static_cast<std::size_t>(position)]; }
    void erase(qint64 seq) {
        rows.erase(seq);
        if (count() == 0) {
            return;
        }
        if (seqs[head] == seq) {
            ++head;
            if (head >= 4096 && head * 2 >= seqs.size()) {
                seqs.erase(seqs.begin(), seqs.begin() + static_cast<std::ptrdiff_t>(head));
                head = 0;
            }
        } else if (seqs.back() == seq) {
            seqs.pop_back();
        } else {
            auto found =
                std::lower_bound(seqs.begin() + static_cast<std::ptrdiff_t>(head), seqs.end(), seq);
            if (found != seqs.end() && *found == seq) {
                seqs.erase(found);
            }
        }
    }
};

// What all stores of one file share: the connection and the position caches.
class File : public std::enable_shared_from_this<File> {
  public:
    explicit File(const QString& path) : db(path, Database::Mode::ReadWrite) {}

    Database db;
    QString location;
    std::unordered_map<qint64, QString> storeIds;  // stores.id -> StoreID

    // Drops every cache when another connection has changed the file since.
    void sync() {
        Statement s = db.prepare("PRAGMA data_version");
        s.step();
        const qint64 version = s.int64(0);
        if (version != dataVersion_) {
            indexes_.clear();
            deletedItems_.clear();
            dataVersion_ = version;
        }
    }

    FolderIndex& index(qint64 folder) {
        auto found = indexes_.find(folder);
        if (found != indexes_.end()) {
            return found->second;
        }
        FolderIndex fresh;
        Statement s = db.prepare("SELECT seq FROM items WHERE folder = ? ORDER BY seq");
        s.bind(1, folder);
        while (s.step()) {
            fresh.seqs.push_back(s.int64(0));
        }
        return indexes_.emplace(folder, std::move(fresh)).first->second;
    }

    long count(qint64 folder) {
        sync();
        return index(folder).count();
    }

    RowPtr rowAt(qint64 folder, long position) {
        {
            FolderIndex& idx = index(folder);
            if (position < 0 || position >= idx.count()) {
                outlook::indexOutOfBounds();
            }
            auto found = idx.rows.find(idx.at(position));
            if (found != idx.rows.end()) {
                return found->second;
            }
        }
        sync();
        FolderIndex& idx = index(folder);
        if (position >= idx.count()) {
            outlook::indexOutOfBounds();
        }
        const long first = position / kPageSize * kPageSize;
        const long last = std::min(first + kPageSize, idx.count()) - 1;
        if (idx.rows.size() >= kRowCacheLimit) {
            idx.rows.clear();
        }
        Statement s = db.prepare("SELECT seq, " TF_ITEM_COLUMNS
                                 " FROM items WHERE folder = ? AND seq BETWEEN ? AND ? "
                                 "ORDER BY seq");
        s.bind(1, folder).bind(2, idx.at(first)).bind(3, idx.at(last));
        while (s.step()) {
            idx.rows[s.int64(0)] = readRow(s, 1);
        }
        auto found = idx.rows.find(idx.at(position));
        if (found == idx.rows.end()) {
            indexes_.erase(folder);
            itemGone();
        }
        return found->second;
    }

    std::optional<FolderRow> folderById(qint64 id) {
        Statement s = db.prepare("SELECT " TF_FOLDER_COLUMNS " FROM folders WHERE id = ?");
        s.bind(1, id);
        if (!s.step()) {
            return std::nullopt;
        }
        return readFolder(s);
    }

    // The folder as it is now; fails when it has been deleted since it was read.
    FolderRow currentFolder(const FolderRow& folder) {
        std::optional<FolderRow> now = folderById(folder.id);
        if (!now || now->entryId != folder.entryId) {
            folderGone(folder.name);
        }
        return *now;
    }

    std::optional<FolderRow> childAt(qint64 parent, long index) {
        if (index < 1) {
            return std::nullopt;
        }
        Statement s = db.prepare("SELECT " TF_FOLDER_COLUMNS
                                 " FROM folders WHERE parent = ? ORDER BY id LIMIT 1 OFFSET ?");
        s.bind(1, parent).bind(2, static_cast<qint64>(index - 1));
        if (!s.step()) {
            return std::nullopt;
        }
        return readFolder(s);
    }

    long childCount(qint64 parent) {
        Statement s = db.prepare("SELECT count(*) FROM folders WHERE parent = ?");
        s.bind(1, parent);
        s.step();
        return static_cast<long>(s.int64(0));
    }

    std::optional<FolderRow> defaultFolder(qint64 store, long type) {
        Statement s = db.prepare("SELECT " TF_FOLDER_COLUMNS
                                 " FROM folders WHERE store = ? AND default_folder = ? "
                                 "ORDER BY id LIMIT 1");
        s.bind(1, store).bind(2, type);
        if (!s.step()) {
            return std::nullopt;
        }
        return readFolder(s);
    }

    RowPtr itemByEntryId(qint64 store, const QString& entryId) {
        Statement s =
            db.prepare("SELECT " TF_ITEM_COLUMNS " FROM items WHERE store = ? AND entry_id = ?");
        s.bind(1, store).bind(2, entryId.toUpper());
        if (!s.step()) {
            return nullptr;
        }
        return readRow(s, 0);
    }

    // The folder that holds the item now, or nothing when the item is gone.
    std::optional<qint64> folderOfItem(const Row& row) {
        Statement s = db.prepare("SELECT folder FROM items WHERE id = ? AND entry_id = ?");
        s.bind(1, row.id).bind(2, row.entryId);
        if (!s.step()) {
            return std::nullopt;
        }
        return s.int64(0);
    }

    // Item::Delete: a move to the end of the store's Deleted Items, or a delete for good there.
    void deleteItem(const Row& row) {
        sync();
        qint64 from = 0;
        qint64 seq = 0;
        qint64 newSeq = 0;
        qint64 trash = 0;
        {
            Change change(*this);
            {
                Statement s =
                    db.prepare("SELECT folder, seq FROM items WHERE id = ? AND entry_id = ?");
                s.bind(1, row.id).bind(2, row.entryId);
                if (!s.step()) {
                    itemGone();
                }
                from = s.int64(0);
                seq = s.int64(1);
            }
            trash = deletedItemsOf(row.store);
            if (from == trash) {
                Statement s = db.prepare("DELETE FROM items WHERE id = ?");
                s.bind(1, row.id).run();
            } else {
                {
                    Statement s =
                        db.prepare("SELECT coalesce(max(seq), 0) + 1 FROM items WHERE folder = ?");
                    s.bind(1, trash);
                    s.step();
                    newSeq = s.int64(0);
                }
                Statement s = db.prepare("UPDATE items SET folder = ?, seq = ? WHERE id = ?");
                s.bind(1, trash).bind(2, newSeq).bind(3, row.id).run();
            }
            change.commit();
        }
        forget(from, seq);
        if (from != trash) {
            auto found = indexes_.find(trash);
            if (found != indexes_.end()) {
                found->second.seqs.push_back(newSeq);
            }
        }
    }

    // The store's "Deleted Items" folder; looked up once until the file changes elsewhere.
    qint64 deletedItemsOf(qint64 store) {
        const auto known = deletedItems_.find(store);
        if (known != deletedItems_.end()) {
            return known->second;
        }
        const std::optional<FolderRow> deleted =
            defaultFolder(store, outlook::olFolderDeletedItems);
        if (!deleted) {
            throw Failure(err::kAutomation, QStringLiteral("The operation failed. The store has no "
                                                           "\"Deleted Items\" folder."));
        }
        return deletedItems_.emplace(store, deleted->id).first->second;
    }

    // Items::Remove: deletes the item at a position for good.
    void removeAt(qint64 folder, long position) {
        sync();
        const long total = index(folder).count();
        if (position < 1 || position > total) {
            outlook::indexOutOfBounds();
        }
        const qint64 seq = index(folder).at(position - 1);
        {
            Change change(*this);
            Statement s = db.prepare("DELETE FROM items WHERE folder = ? AND seq = ?");
            s.bind(1, folder).bind(2, seq).run();
            if (db.changes() != 1) {
                indexes_.erase(folder);
                itemGone();
            }
            change.commit();
        }
        forget(folder, seq);
    }

    // Folders::Remove: the folder with its sub-folders and their items, for good.
    void removeChild(qint64 parent, long position) {
        sync();
        std::vector<qint64> doomed;
        {
            Change change(*this);
            std::optional<FolderRow> child = childAt(parent, position);
            if (!child) {
                outlook::indexOutOfBounds();
            }
            if (child->defaultFolder != 0) {
                outlook::standardFolderNotRemovable(child->name);
            }
            {
                Statement s = db.prepare(
                    "WITH RECURSIVE sub(id) AS (SELECT ? UNION ALL "
                    "SELECT f.id FROM folders f JOIN sub ON f.parent = sub.id) SELECT id FROM sub");
                s.bind(1, child->id);
                while (s.step()) {
                    doomed.push_back(s.int64(0));
                }
            }
            for (qint64 id : doomed) {
                Statement items = db.prepare("DELETE FROM items WHERE folder = ?");
                items.bind(1, id).run();
                Statement folders = db.prepare("DELETE FROM folders WHERE id = ?");
                folders.bind(1, id).run();
            }
            change.commit();
        }
        for (qint64 id : doomed) {
            indexes_.erase(id);
        }
    }

    // A grouped run of changes (NameSpace::beginChanges); calls nest.
    void beginChanges() { ++groupDepth_; }
    void endChanges() {
        if (groupDepth_ > 0 && --groupDepth_ == 0) {
            commitGroup();
        }
    }

    // One change: a transaction of its own, or a savepoint within the open group, so that a
    // failed change is undone alone either way.
    class Change {
      public:
        explicit Change(File& file) : file_(file) { file_.beginChange(); }
        ~Change() {
            if (!done_) {
                file_.undoChange();
            }
        }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        void commit() {
            file_.endChange();
            done_ = true;
        }

      private:
        File& file_;
        bool done_ = false;
    };

  private:
    // A group is committed after this many changes or this long, whichever comes first: a killed
    // run then has at most this much undone, and undone changes leave items where they were.
    static constexpr int kGroupChanges = 256;
    static constexpr qint64 kGroupMs = 200;

    void beginChange() {
        if (groupDepth_ == 0) {
            db.exec("BEGIN IMMEDIATE");
            return;
        }
        if (!groupOpen_) {
            db.exec("BEGIN IMMEDIATE");
            groupOpen_ = true;
            groupChanges_ = 0;
            groupTimer_.start();
        }
        db.exec("SAVEPOINT change");
    }
    void endChange() {
        if (!groupOpen_) {
            db.exec("COMMIT");
            return;
        }
        db.exec("RELEASE change");
        if (++groupChanges_ >= kGroupChanges || groupTimer_.elapsed() >= kGroupMs) {
            commitGroup();
        }
    }
    void undoChange() {
        if (!groupOpen_) {
            db.execQuietly("ROLLBACK");
            return;
        }
        db.execQuietly("ROLLBACK TO change; RELEASE change");
    }
    void commitGroup() {
        if (!groupOpen_) {
            return;
        }
        groupOpen_ = false;
        try {
            db.exec("COMMIT");
        } catch (...) {
            // The group is undone: its items lie where they were, and the positions known here
            // no longer hold.
            db.execQuietly("ROLLBACK");
            indexes_.clear();
            deletedItems_.clear();
            throw;
        }
    }

    void forget(qint64 folder, qint64 seq) {
        auto found = indexes_.find(folder);
        if (found != indexes_.end()) {
            found->second.erase(seq);
        }
    }

    std::unordered_map<qint64, FolderIndex> indexes_;
    std::unordered_map<qint64, qint64> deletedItems_;  // store -> its Deleted Items folder
    qint64 dataVersion_ = -1;
    int groupDepth_ = 0;
    bool groupOpen_ = false;
    int groupChanges_ = 0;
    QElapsedTimer groupTimer_;
};
using FilePtr = std::shared_ptr<File>;

FolderPtr makeFolder(const FilePtr& file, const FolderRow& row);

class LocalItem : public outlook::Item {
  public:
    LocalItem(FilePtr file, RowPtr row) : file_(std::move(file)), row_(std::move(row)) {}

  protected:
    long doClass() const override { return row_->itemClass; }
    QString doSubject() const override { return row_->subject; }
    QString doEntryID() const override { return row_->entryId; }
    QString doBody() const override { return row_->body; }
    std::optional<QString> doSender() const override {
        if (!row_->hasSender) {
            return std::nullopt;
        }
        return row_->sender;
    }
    OleDate doReceivedTime() const override { return row_->received; }
    OleDate doLastModificationTime() const override { return row_->modified; }
    OleDate doDateCompleted() const override { return row_->completed; }
    OleDate doDueDate() const override { return row_->due; }
    OleDate doEnd() const override { return row_->end; }
    bool doUnRead() const override { return row_->unread; }

    FolderPtr doParent() const override {
        std::optional<qint64> folder = file_->folderOfItem(*row_);
        if (!folder) {
            itemGone();
        }
        std::optional<FolderRow> row = file_->folderById(*folder);
        if (!row) {
            itemGone();
        }
        return makeFolder(file_, *row);
    }

    void doDelete() override { file_->deleteItem(*row_); }

  private:
    FilePtr file_;
    RowPtr row_;
};

class LocalItems : public outlook::Items {
  public:
    LocalItems(FilePtr file, qint64 folder) : file_(std::move(file)), folder_(folder) {}

  protected:
    long doCount() const override { return file_->count(folder_); }
    ItemPtr doItem(long index) const override {
        return std::make_shared<LocalItem>(file_, file_->rowAt(folder_, index - 1));
    }
    void doRemove(long index) override { file_->removeAt(folder_, index); }

  private:
    FilePtr file_;
    qint64 folder_;
};

class LocalFolders : public outlook::Folders {
  public:
    LocalFolders(FilePtr file, qint64 parent) : file_(std::move(file)), parent_(parent) {}

  protected:
    long doCount() const override { return file_->childCount(parent_); }
    FolderPtr doItem(long index) const override {
        std::optional<FolderRow> child = file_->childAt(parent_, index);
        if (!child) {
            outlook::indexOutOfBounds();
        }
        return makeFolder(file_, *child);
    }
    void doRemove(long index) override { file_->removeChild(parent_, index); }

  private:
    FilePtr file_;
    qint64 parent_;
};

class LocalFolder : public outlook::MAPIFolder {
  public:
    LocalFolder(FilePtr file, FolderRow row) : file_(std::move(file)), row_(std::move(row)) {}

    FolderPtr Parent() const override {
        const FolderRow now = file_->currentFolder(row_);
        if (now.parent == 0) {
            return nullptr;
        }
        std::optional<FolderRow> parent = file_->folderById(now.parent);
        if (!parent) {
            folderGone(row_.name);
        }
        return makeFolder(file_, *parent);
    }
    long DefaultItemType() const override { return row_.defaultType; }
    QString EntryID() const override { return row_.entryId; }
    FoldersPtr Folders() const override {
        file_->currentFolder(row_);
        return std::make_shared<LocalFolders>(file_, row_.id);
    }
    ItemsPtr Items() const override {
        file_->currentFolder(row_);
        return std::make_shared<LocalItems>(file_, row_.id);
    }
    QString Name() const override { return row_.name; }
    QString StoreID() const override { return file_->storeIds.at(row_.store); }

  private:
    FilePtr file_;
    FolderRow row_;
};

FolderPtr makeFolder(const FilePtr& file, const FolderRow& row) {
    return std::make_shared<LocalFolder>(file, row);
}

class LocalStore : public outlook::Store {
  public:
    LocalStore(FilePtr file, qint64 id, qint64 topFolder)
        : file_(std::move(file)), id_(id), topFolder_(topFolder) {}

    FolderPtr TopFolder() const override {
        std::optional<FolderRow> top = file_->folderById(topFolder_);
        if (!top) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The store in %1 has lost its top folder.").arg(file_->location));
        }
        return makeFolder(file_, *top);
    }
    FolderPtr GetDefaultFolder(long folderType) const override {
        std::optional<FolderRow> folder = file_->defaultFolder(id_, folderType);
        if (!folder || folderType == 0) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The store has no default folder of type %1.").arg(folderType));
        }
        return makeFolder(file_, *folder);
    }
    ItemPtr GetItemFromID(const QString& entryID) const override {
        RowPtr row = file_->itemByEntryId(id_, entryID);
        if (!row) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. An object could not be found: "
                                         "the item %1 is not in the store; it may have been "
                                         "deleted.")
                              .arg(entryID));
        }
        return std::make_shared<LocalItem>(file_, row);
    }
    void beginChanges() override { file_->beginChanges(); }
    void endChanges() override { file_->endChanges(); }
    QString StoreID() const override { return file_->storeIds.at(id_); }
    QString location() const override { return file_->location; }

  private:
    FilePtr file_;
    qint64 id_;
    qint64 topFolder_;
};

[[noreturn]] void notAStore(const QString& path, const QString& why) {
    throw Failure(err::kAutomation, QStringLiteral("The file %1 is not a Tidyfold store file (%2).")
                                        .arg(QDir::toNativeSeparators(path), why));
}

// Refuses files that SQLite would open without complaint but cannot be a sound store: empty,
// foreign, or shorter than their own header says (a truncated copy).
void checkHeader(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The store file %1 cannot be read (%2).")
                          .arg(QDir::toNativeSeparators(path), file.errorString()));
    }
    const QByteArray header = file.read(100);
    if (header.isEmpty()) {
        notAStore(path, QStringLiteral("the file is empty"));
    }
    if (header.size() < 100 || !header.startsWith(QByteArray("SQLite format 3\0", 16))) {
        notAStore(path, QStringLiteral("it is not an SQLite database"));
    }
    auto u32 = [&header](int at) {
        const auto* p = reinterpret_cast<const unsigned char*>(header.constData() + at);
        return (quint32(p[0]) << 24) | (quint32(p[1]) << 16) | (quint32(p[2]) << 8) | p[3];
    };
    const auto* p = reinterpret_cast<const unsigned char*>(header.constData());
    quint64 pageSize = (quint64(p[16]) << 8) | p[17];
    if (pageSize == 1) {
        pageSize = 65536;
    }
    const quint64 pages = u32(28);
    const bool sizeValid = pages != 0 && u32(24) == u32(92);
    // With a non-empty log, pages may still live only there; then SQLite's own checks apply.
    const QFileInfo wal(path + QStringLiteral("-wal"));
    if (sizeValid && !(wal.exists() && wal.size() > 0) &&
        static_cast<quint64>(file.size()) < pages * pageSize) {
        throw Failure(err::kAutomation,
                      QStringLiteral("The store file %1 is damaged and cannot be used (it is "
                                     "shorter than its own header says; it may have been cut "
                                     "off while being copied).")
                          .arg(QDir::toNativeSeparators(path)));
    }
}

void checkAccess(const QString& path) {
    const QFileInfo info(path);
    const QString file = QDir::toNativeSeparators(path);
    if (!info.exists()) {
        throw Failure(err::kFileNotFound,
                      QStringLiteral("The store file %1 does not exist.").arg(file));
    }
    if (info.isDir()) {
        throw Failure(err::kFileNotFound,
                      QStringLiteral("%1 is a folder, not a store file.").arg(file));
    }
    // The user bits say what this process may do, which for root is everything; a file that
    // nobody may write to is meant to stay as it is.
    const auto writeBits =
        QFileDevice::WriteOwner | QFileDevice::WriteGroup | QFileDevice::WriteOther;
    if (!info.isWritable() || (info.permissions() & writeBits) == 0) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The store file %1 is read-only. Tidyfold removes items "
                                     "from the store and must be able to change the file; make "
                                     "it writable and try again.")
                          .arg(file));
    }
    const QFileInfo dir(info.absolutePath());
    if (!dir.isWritable()) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The folder of the store file %1 is read-only. Tidyfold "
                                     "keeps its change log beside the store and must be able to "
                                     "write there.")
                          .arg(file));
    }
}

}  // namespace

std::vector<outlook::StorePtr> openLocalStores(const QString& path) {
    checkAccess(path);
    checkHeader(path);
    auto file = std::make_shared<File>(path);
    file->location = QStringLiteral("local:") + QFileInfo(path).absoluteFilePath();
    Database& db = file->db;
    {
        Statement s = db.prepare(
            "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN "
            "('meta', 'stores', 'folders', 'items')");
        s.step();
        if (s.int64(0) != 4) {
            notAStore(path, QStringLiteral("it holds no Tidyfold store"));
        }
    }
    {
        Statement s = db.prepare("SELECT value FROM meta WHERE key = 'format'");
        if (!s.step() || s.text(0) != QLatin1String(schema::kFormat)) {
            notAStore(path, QStringLiteral("its format marker is missing"));
        }
    }
    {
        Statement s = db.prepare("SELECT value FROM meta WHERE key = 'schema_version'");
        bool ok = false;
        const int version = s.step() ? s.text(0).toInt(&ok) : 0;
        if (!ok || version < 1) {
            notAStore(path, QStringLiteral("its version is unknown"));
        }
        if (version > schema::kVersion) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The store file %1 was written by a newer version of "
                                         "Tidyfold (store format %2; this version reads up to "
                                         "%3). Please update Tidyfold.")
                              .arg(QDir::toNativeSeparators(path))
                              .arg(version)
                              .arg(schema::kVersion));
        }
    }
    {
        // WAL with synchronous=NORMAL: a killed process loses at most its unfinished step.
        Statement s = db.prepare("PRAGMA journal_mode=WAL");
        s.step();
        db.exec("PRAGMA synchronous=NORMAL");
        // Checkpoints are what syncs to disk; fewer of them make one-by-one deletes cheap
        // without weakening what a commit guarantees.
        db.exec("PRAGMA wal_autocheckpoint=8192");
    }
    std::vector<outlook::StorePtr> stores;
    Statement s = db.prepare("SELECT id, store_id, top_folder FROM stores ORDER BY id");
    while (s.step()) {
        file->storeIds[s.int64(0)] = s.text(1);
        stores.push_back(std::make_shared<LocalStore>(file, s.int64(0), s.int64(2)));
    }
    return stores;
}

QStringList checkStoreFile(const QString& path) {
    QStringList problems;
    if (!QFileInfo::exists(path)) {
        return {QStringLiteral("The store file %1 does not exist.").arg(path)};
    }
    try {
        Database db(path, Database::Mode::ReadOnly);
        auto list = [&db, &problems](const char* sql, const QString& what) {
            Statement s = db.prepare(sql);
            while (s.step()) {
                problems << what.arg(s.text(0));
            }
        };
        {
            Statement s = db.prepare("PRAGMA integrity_check");
            while (s.step()) {
                if (s.text(0) != QLatin1String("ok")) {
                    problems << QStringLiteral("integrity: ") + s.text(0);
                }
            }
        }
        list(
            "SELECT i.entry_id FROM items i LEFT JOIN folders f ON f.id = i.folder "
            "WHERE f.id IS NULL",
            QStringLiteral("item %1 lies in a folder that does not exist"));
        list(
            "SELECT i.entry_id FROM items i JOIN folders f ON f.id = i.folder "
            "WHERE f.store <> i.store",
            QStringLiteral("item %1 lies in a folder of another store"));
        list("SELECT folder || ':' || seq FROM items GROUP BY folder, seq HAVING count(*) > 1",
             QStringLiteral("two items share the position %1"));
        list("SELECT entry_id FROM items GROUP BY store, entry_id HAVING count(*) > 1",
             QStringLiteral("EntryID %1 is used twice in one store"));
        list(
            "SELECT f.name FROM folders f LEFT JOIN folders p ON p.id = f.parent "
            "WHERE f.parent IS NOT NULL AND p.id IS NULL",
            QStringLiteral("folder %1 has lost its parent folder"));
        list(
            "SELECT s.store_id FROM stores s LEFT JOIN folders f ON f.id = s.top_folder "
            "WHERE f.id IS NULL",
            QStringLiteral("store %1 has lost its top folder"));
    } catch (const Failure& failure) {
        problems << failure.description();
    }
    return problems;
}

}  // namespace tf::store::local
