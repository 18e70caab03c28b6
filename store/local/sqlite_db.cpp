#include "store/local/sqlite_db.h"

#include <sqlite3.h>

#include <QDir>
#include <QFile>

#include "common/failure.h"

namespace tf::store::local {

QString describeSqliteFailure(const QString& path, int rc, const QString& detail) {
    const QString file = QDir::toNativeSeparators(path);
    switch (rc & 0xFF) {
        case SQLITE_CORRUPT:
            return QStringLiteral("The store file %1 is damaged and cannot be used (%2).")
                .arg(file, detail);
        case SQLITE_NOTADB:
            return QStringLiteral("The file %1 is not a Tidyfold store file (%2).")
                .arg(file, detail);
        case SQLITE_READONLY:
            return QStringLiteral(
                       "The store file %1 is read-only. Tidyfold needs to change the store to "
                       "remove items; make the file writable and try again (%2).")
                .arg(file, detail);
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return QStringLiteral("The store file %1 is in use by another program (%2).")
                .arg(file, detail);
        case SQLITE_FULL:
            return QStringLiteral("The disk that holds the store file %1 is full (%2).")
                .arg(file, detail);
        case SQLITE_CANTOPEN:
            return QStringLiteral("The store file %1 cannot be opened (%2).").arg(file, detail);
        default:
            return QStringLiteral("The store file %1 could not be read or written (%2).")
                .arg(file, detail);
    }
}

namespace {
int failureNumber(int rc) {
    switch (rc & 0xFF) {
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return err::kPermissionDenied;
        case SQLITE_NOMEM:
            return err::kOutOfMemory;
        default:
            return err::kAutomation;
    }
}
}  // namespace

Database::Database(const QString& path, Mode mode) : path_(path) {
    int flags = SQLITE_OPEN_NOMUTEX;
    switch (mode) {
        case Mode::ReadWrite:
            flags |= SQLITE_OPEN_READWRITE;
            break;
        case Mode::ReadOnly:
            flags |= SQLITE_OPEN_READONLY;
            break;
        case Mode::Create:
            flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
            break;
    }
    const QByteArray name = QFile::encodeName(path);
    const int rc = sqlite3_open_v2(name.constData(), &db_, flags, nullptr);
    if (rc != SQLITE_OK) {
        const QString detail = db_ != nullptr ? QString::fromUtf8(sqlite3_errmsg(db_))
                                              : QString::fromUtf8(sqlite3_errstr(rc));
        sqlite3_close(db_);
        db_ = nullptr;
        throw Failure(failureNumber(rc), describeSqliteFailure(path_, rc, detail));
    }
    sqlite3_extended_result_codes(db_, 1);
    // Another Tidyfold or a checkpoint may hold the lock for a moment.
    sqlite3_busy_timeout(db_, 5000);
}

Database::~Database() {
    for (auto& entry : cache_) {
        sqlite3_finalize(entry.second);
    }
    sqlite3_close(db_);
}

void Database::fail(int rc, const QString& during) const {
    QString detail = QString::fromUtf8(sqlite3_errmsg(db_));
    if (!during.isEmpty()) {
        detail = during + QStringLiteral(": ") + detail;
    }
    throw Failure(failureNumber(rc), describeSqliteFailure(path_, rc, detail));
}

void Database::check(int rc, const QString& during) const {
    if (rc != SQLITE_OK && rc != SQLITE_ROW && rc != SQLITE_DONE) {
        fail(rc, during);
    }
}

Statement Database::prepare(const char* sql) {
    auto found = cache_.find(sql);
    if (found != cache_.end()) {
        return Statement(*this, found->second);
    }
    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK) {
        fail(rc, QString());
    }
    cache_.emplace(sql, stmt);
    return Statement(*this, stmt);
}

void Database::exec(const char* sql) {
    char* message = nullptr;
    const int rc = sqlite3_exec(db_, sql, nullptr, nullptr, &message);
    if (rc != SQLITE_OK) {
        sqlite3_free(message);
        fail(rc, QString());
    }
}

qint64 Database::lastInsertId() const {
    return sqlite3_last_insert_rowid(db_);
}

int Database::changes() const {
    return sqlite3_changes(db_);
}

Statement::~Statement() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
}

Statement& Statement::bind(int index, qint64 value) {
    db_->check(sqlite3_bind_int64(stmt_, index, value), QString());
    return *this;
}

Statement& Statement::bind(int index, double value) {
    db_->check(sqlite3_bind_double(stmt_, index, value), QString());
    return *this;
}

Statement& Statement::bind(int index, const QString& value) {
    const QByteArray utf8 = value.toUtf8();
    db_->check(sqlite3_bind_text(stmt_, index, utf8.constData(), static_cast<int>(utf8.size()),
                                 SQLITE_TRANSIENT),
               QString());
    return *this;
}

Statement& Statement::bindBlob(int index, QByteArrayView value) {
    db_->check(sqlite3_bind_blob64(stmt_, index, value.data(),
                                   static_cast<sqlite3_uint64>(value.size()), SQLITE_TRANSIENT),
               QString());
    return *this;
}

Statement& Statement::bindNull(int index) {
    db_->check(sqlite3_bind_null(stmt_, index), QString());
    return *this;
}

bool Statement::step() {
    const int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) {
        return true;
    }
    if (rc == SQLITE_DONE) {
        return false;
    }
    db_->fail(rc, QString());
}

void Statement::run() {
    while (step()) {
    }
    // Ready for new bindings, as a statement that returns no rows is often run again at once.
    sqlite3_reset(stmt_);
}

qint64 Statement::int64(int column) const {
    return sqlite3_column_int64(stmt_, column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(stmt_, column);
}

QString Statement::text(int column) const {
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, column));
    const int size = sqlite3_column_bytes(stmt_, column);
    return QString::fromUtf8(data, size);
}

QByteArrayView Statement::blob(int column) const {
    const auto* data = static_cast<const char*>(sqlite3_column_blob(stmt_, column));
    return {data, sqlite3_column_bytes(stmt_, column)};
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

void Database::execQuietly(const char* sql) noexcept {
    sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
}

}  // namespace tf::store::local
