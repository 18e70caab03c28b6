#include "store/maildir/header_cache.h"

#include <sqlite3.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QtEndian>
#include <algorithm>

#include "common/failure.h"
#include "store/local/sqlite_db.h"
#include "store/maildir/maildir_names.h"

namespace tf::store::maildir {

namespace {

// Written into the file, so that a cache of another layout is started afresh.
constexpr int kLayout = 2;
// Rows read from files are written in batches of this many, each as one chunk of a folder.
constexpr std::size_t kBatch = 4096;

// A folder's rows are kept as chunks: one blob per batch, so that writing or reading thousands
// of rows is one SQLite row each way instead of thousands. A later chunk's row for a stem
// replaces an earlier one's.
class ChunkWriter {
  public:
    void row(const std::string& stem, std::int64_t size, std::int64_t mtime,
             const MessageHeaders& headers) {
        number(std::uint32_t(stem.size()));
        bytes_.append(stem.data(), static_cast<qsizetype>(stem.size()));
        number(size);
        number(mtime);
        number(std::uint8_t(headers.date ? 1 : 0));
        number(headers.date.value_or(0));
        text(headers.subject);
        text(headers.sender);
    }
    const QByteArray& bytes() const { return bytes_; }

  private:
    template <typename T>
    void number(T value) {
        const T little = qToLittleEndian(value);
        bytes_.append(reinterpret_cast<const char*>(&little), sizeof little);
    }
    void text(const QString& value) {
        number(std::uint32_t(value.size()));
        const qsizetype at = bytes_.size();
        bytes_.resize(at + value.size() * 2);
        qToLittleEndian<char16_t>(value.utf16(), value.size(), bytes_.data() + at);
    }

    QByteArray bytes_;
};

// Reads a chunk back; any length that runs past its end marks the chunk, and so the cache, as
// damaged.
class ChunkReader {
  public:
    explicit ChunkReader(QByteArrayView bytes) : bytes_(bytes) {}

    bool atEnd() const { return at_ == bytes_.size(); }

    template <typename Row>
    bool row(std::string& stem, Row& row) {
        std::uint32_t stemSize = 0;
        std::uint8_t hasDate = 0;
        std::int64_t date = 0;
        if (!number(stemSize) || !take(stemSize)) {
            return false;
        }
        stem.assign(bytes_.data() + at_ - stemSize, stemSize);
        if (!number(row.size) || !number(row.mtime) || !number(hasDate) || !number(date) ||
            !text(row.headers.subject) || !text(row.headers.sender)) {
            return false;
        }
        row.headers.date = hasDate != 0 ? std::optional(date) : std::nullopt;
        return true;
    }

  private:
    bool take(qsizetype size) {
        if (size < 0 || size > bytes_.size() - at_) {
            return false;
        }
        at_ += size;
        return true;
    }
    template <typename T>
    bool number(T& value) {
        if (!take(sizeof value)) {
            return false;
        }
        value = qFromLittleEndian<T>(bytes_.data() + at_ - sizeof value);
        return true;
    }
    bool text(QString& value) {
        std::uint32_t units = 0;
        if (!number(units) || !take(qsizetype(units) * 2)) {
            return false;
        }
        value.resize(units);
        qFromLittleEndian<char16_t>(bytes_.data() + at_ - qsizetype(units) * 2, units,
                                    value.data());
        return true;
    }

    QByteArrayView bytes_;
    qsizetype at_ = 0;
};

QByteArrayView keyOf(const std::string& folder) {
    return {folder.data(), static_cast<qsizetype>(folder.size())};
}

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
                db_->exec("DROP TABLE IF EXISTS chunks");
                db_->exec(
                    "CREATE TABLE chunks (folder BLOB NOT NULL, seq INTEGER NOT NULL, "
                    "rows BLOB NOT NULL, PRIMARY KEY (folder, seq)) WITHOUT ROWID");
                db_->exec("PRAGMA user_version=2");
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
    std::size_t read = 0;
    qint64 chunks = 0;
    bool damaged = false;
    {
        const std::lock_guard lock(dbMutex_);
        if (!open()) {
            return;
        }
        try {
            auto select = db_->prepare("SELECT rows FROM chunks WHERE folder = ? ORDER BY seq");
            select.bindBlob(1, keyOf(folder));
            std::string stem;
            Row row;
            while (!damaged && select.step()) {
                ++chunks;
                for (ChunkReader reader(select.blob(0)); !damaged && !reader.atEnd(); ++read) {
                    damaged = !reader.row(stem, row);
                    if (!damaged) {
                        rows.insert_or_assign(stem, std::move(row));
                    }
                }
            }
        } catch (const Failure&) {
            drop();  // a damaged cache file: the files are read instead
            return;
        }
    }
    if (damaged) {
        // The folder's files are read again, and its rows written anew in place of the chunks.
        rows.clear();
        enqueue(Batch{{}, folder});
        return;
    }
    // Rows read again after a change are added as new chunks; once they outweigh the rest, or
    // the chunks are many and small, the folder's rows are written afresh as few full chunks.
    const bool superseded = read - rows.size() > std::max(rows.size(), kBatch);
    const bool scattered = std::size_t(chunks) > rows.size() / kBatch + 16;
    if (superseded || scattered) {
        Batch rewrite;
        rewrite.replaces = folder;
        rewrite.rows.reserve(rows.size());
        for (const auto& [stem, row] : rows) {
            rewrite.rows.push_back({folder, stem, row});
        }
        enqueue(std::move(rewrite));
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
    Batch batch;
    batch.rows = std::move(kept_);
    kept_.clear();
    enqueue(std::move(batch));
}

void HeaderCache::enqueue(Batch batch) {
    {
        const std::lock_guard lock(queueMutex_);
        queue_.push_back(std::move(batch));
    }
    if (!writer_.joinable()) {
        writer_ = std::thread([this] { writeQueued(); });
    }
    queued_.notify_one();
}

void HeaderCache::writeQueued() {
    for (;;) {
        Batch batch;
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

void HeaderCache::write(const Batch& batch) {
    const std::lock_guard lock(dbMutex_);
    if (!open()) {
        return;
    }
    try {
        db_->exec("BEGIN");
        if (batch.replaces) {
            db_->prepare("DELETE FROM chunks WHERE folder = ?")
                .bindBlob(1, keyOf(*batch.replaces))
                .run();
        }
        // One chunk per folder and at most kBatch rows, after the folder's last chunk.
        for (std::size_t from = 0; from < batch.rows.size();) {
            const std::string& folder = batch.rows[from].folder;
            ChunkWriter chunk;
            std::size_t to = from;
            for (; to < batch.rows.size() && to - from < kBatch && batch.rows[to].folder == folder;
                 ++to) {
                const Kept& each = batch.rows[to];
                chunk.row(each.stem, each.row.size, each.row.mtime, each.row.headers);
            }
            auto last = db_->prepare("SELECT max(seq) FROM chunks WHERE folder = ?");
            last.bindBlob(1, keyOf(folder));
            const qint64 seq = last.step() && !last.isNull(0) ? last.int64(0) + 1 : 0;
            db_->prepare("INSERT INTO chunks (folder, seq, rows) VALUES (?, ?, ?)")
                .bindBlob(1, keyOf(folder))
                .bind(2, seq)
                .bindBlob(3, chunk.bytes())
                .run();
            from = to;
        }
        db_->exec("COMMIT");
    } catch (const Failure&) {
        db_->execQuietly("ROLLBACK");
    }
}

}  // namespace tf::store::maildir
