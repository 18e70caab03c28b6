#include "store/maildir/header_cache.h"

#include <sqlite3.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include "common/failure.h"
#include "store/local/sqlite_db.h"
#include "store/maildir/maildir_names.h"

namespace tf::store::maildir {

namespace {

// Written into the file, so that a cache of another layout is started afresh.
constexpr int kLayout = 1;
// Rows read from files are written in batches of this many, each in one transaction.
constexpr std::size_t kBatch = 4096;

}  // namespace

HeaderCache::HeaderCache(const std::string& root) : root_(root) {}

HeaderCache::~HeaderCache() {
    try {
        flush();
    } catch (...) {
        // Only time is lost: the next opening reads those files again.
    }
    {
        const std::lock_guard lock(queueMutex_);
        closing_ = true;
    }
    queued_.notify_one();
    if (writer_.joinable()) {
        writer_.join();
    }
}

QString HeaderCache::pathFor(const std::string& root) {
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const QByteArray key =
        QCryptographicHash::hash(QByteArray::fromStdString(root), QCryptographicHash::Sha1).toHex();
    return QDir(base).filePath(QStringLiteral("Tidyfold/maildir/") + QString::fromLatin1(key) +
                               QStringLiteral(".sqlite"));
}

// Called with dbMutex_ held.
bool HeaderCache::open() {
    if (tried_) {
        return db_ != nullptr;
    }
    tried_ = true;
    const QString path = pathFor(root_);
    if (!QDir().mkpath(QFileInfo(path).path())) {
        unusable_ = true;
        return false;
    }
    // A damaged file, or one of another layout, is replaced once; if that fails too, the
    // tree is read without a cache.
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            db_ = std::make_unique<local::Database>(path, local::Database::Mode::Create);
            sqlite3_busy_timeout(db_->handle(), 200);
            db_->exec("PRAGMA journal_mode=WAL");
            db_->exec("PRAGMA synchronous=OFF");
            auto version = db_->prepare("PRAGMA user_version");
            const qint64 layout = version.step() ? version.int64(0) : -1;
            if (layout != kLayout) {
                db_->exec("DROP TABLE IF EXISTS messages");
                db_->exec(
                    "CREATE TABLE messages (folder TEXT NOT NULL, stem TEXT NOT NULL, "
                    "size INTEGER NOT NULL, mtime INTEGER NOT NULL, subject TEXT, sender TEXT, "
                    "date INTEGER, PRIMARY KEY (folder, stem)) WITHOUT ROWID");
                db_->exec("PRAGMA user_version=1");
            }
            return true;
        } catch (const Failure&) {
            db_.reset();
            QFile::remove(path);
            QFile::remove(path + QStringLiteral("-wal"));
            QFile::remove(path + QStringLiteral("-shm"));
        }
    }
    unusable_ = true;
    return false;
}

void HeaderCache::drop() {
    unusable_ = true;
    db_.reset();
    folders_.clear();
    kept_.clear();
}

void HeaderCache::loadFolder(const std::string& folder) {
    auto& rows = folders_[folder];
    const std::lock_guard lock(dbMutex_);
    if (!open()) {
        return;
    }
    try {
        auto select = db_->prepare(
            "SELECT stem, size, mtime, subject, sender, date FROM messages WHERE folder = ?");
        select.bind(1, entryIdOf(folder));
        while (select.step()) {
            Row row;
            row.size = select.int64(1);
            row.mtime = select.int64(2);
            row.headers.subject = select.text(3);
            row.headers.sender = select.text(4);
            if (!select.isNull(5)) {
                row.headers.date = select.int64(5);
            }
            rows.emplace(uniqueOf(select.text(0)), std::move(row));
        }
    } catch (const Failure&) {
        drop();  // a damaged cache: the files are read instead
    }
}

std::optional<MessageHeaders> HeaderCache::find(const std::string& folder,
                                                const IndexEntry& entry) {
    if (folder != lastFolder_) {
        flush();  // the load has moved on to another folder: what the last one read is saved
        lastFolder_ = folder;
    }
    auto rows = folders_.find(folder);
    if (rows == folders_.end()) {
        loadFolder(folder);
        rows = folders_.find(folder);
        if (rows == folders_.end()) {
            return std::nullopt;
        }
    }
    auto found = rows->second.find(stemOf(entry.unique));
    if (found == rows->second.end()) {
        return std::nullopt;
    }
    std::optional<MessageHeaders> headers;
    if (found->second.size == entry.size && found->second.mtime == entry.mtime) {
        headers = std::move(found->second.headers);
    }
    rows->second.erase(found);
    return headers;
}

bool HeaderCache::holds(const std::string& folder, const IndexEntry& entry) {
    auto rows = folders_.find(folder);
    if (rows == folders_.end()) {
        loadFolder(folder);
        rows = folders_.find(folder);
        if (rows == folders_.end()) {
            return false;
        }
    }
    const auto found = rows->second.find(stemOf(entry.unique));
    return found != rows->second.end() && found->second.size == entry.size &&
           found->second.mtime == entry.mtime;
}

void HeaderCache::keep(const std::string& folder, const IndexEntry& entry,
                       const MessageHeaders& headers) {
    if (unusable_.load(std::memory_order_relaxed)) {
        return;  // no cache can be had: nothing to keep
    }
    kept_.push_back({folder, stemOf(entry.unique), {entry.size, entry.mtime, headers}});
    if (kept_.size() >= kBatch) {
        flush();
    }
}

void HeaderCache::flush() {
    if (kept_.empty()) {
        return;
    }
    {
        const std::lock_guard lock(queueMutex_);
        queue_.push_back(std::move(kept_));
    }
    kept_.clear();
    if (!writer_.joinable()) {
        writer_ = std::thread([this] { writeQueued(); });
    }
    queued_.notify_one();
}

void HeaderCache::writeQueued() {
    for (;;) {
        std::vector<Kept> batch;
        {
            std::unique_lock lock(queueMutex_);
            queued_.wait(lock, [this] { return closing_ || !queue_.empty(); });
            if (queue_.empty()) {
                return;
            }
            batch = std::move(queue_.front());
            queue_.pop_front();
        }
        write(batch);
    }
}

void HeaderCache::write(const std::vector<Kept>& batch) {
    const std::lock_guard lock(dbMutex_);
    if (!open()) {
        return;
    }
    try {
        db_->exec("BEGIN");
        auto insert = db_->prepare(
            "INSERT OR REPLACE INTO messages (folder, stem, size, mtime, subject, sender, date) "
            "VALUES (?, ?, ?, ?, ?, ?, ?)");
        for (const Kept& each : batch) {
            // Names as EntryIDs: text that leads back to exactly the bytes of the name.
            insert.bind(1, entryIdOf(each.folder));
            insert.bind(2, entryIdOf(each.stem));
            insert.bind(3, static_cast<qint64>(each.row.size));
            insert.bind(4, static_cast<qint64>(each.row.mtime));
            insert.bind(5, each.row.headers.subject);
            insert.bind(6, each.row.headers.sender);
            if (each.row.headers.date) {
                insert.bind(7, static_cast<qint64>(*each.row.headers.date));
            } else {
                insert.bindNull(7);
            }
            insert.run();
        }
        db_->exec("COMMIT");
    } catch (const Failure&) {
        db_->execQuietly("ROLLBACK");
    }
}

}  // namespace tf::store::maildir
