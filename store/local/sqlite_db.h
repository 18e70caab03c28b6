#pragma once

#include <QByteArrayView>
#include <QString>
#include <QtGlobal>
#include <memory>
#include <string>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace tf::store::local {

class Database;

// A cached prepared statement on loan: bindings and state are reset when the loan ends.
class Statement {
  public:
    Statement(Database& db, sqlite3_stmt* stmt) : db_(&db), stmt_(stmt) {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(int index, qint64 value);
    Statement& bind(int index, int value) { return bind(index, static_cast<qint64>(value)); }
    Statement& bind(int index, long value) { return bind(index, static_cast<qint64>(value)); }
    Statement& bind(int index, double value);
    Statement& bind(int index, const QString& value);
    // Bytes kept as they are (a BLOB), copied at once.
    Statement& bindBlob(int index, QByteArrayView value);
    Statement& bindNull(int index);

    // Advances to the next row; false when there is none.
    bool step();
    // Runs a statement that returns no rows.
    void run();

    qint64 int64(int column) const;
    double real(int column) const;
    QString text(int column) const;
    // Valid until the next step or the end of the loan.
    QByteArrayView blob(int column) const;
    bool isNull(int column) const;

  private:
    Database* db_;
    sqlite3_stmt* stmt_;
};

// One connection to an SQLite file. Every SQLite error becomes a tf::Failure that names the file.
class Database {
  public:
    enum class Mode { ReadWrite, ReadOnly, Create };
    Database(const QString& path, Mode mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    Statement prepare(const char* sql);
    void exec(const char* sql);
    // For undoing on the way out of a failure: errors are ignored.
    void execQuietly(const char* sql) noexcept;
    qint64 lastInsertId() const;
    int changes() const;
    const QString& path() const { return path_; }
    sqlite3* handle() const { return db_; }

    // Throws the failure that fits an SQLite result code.
    [[noreturn]] void fail(int rc, const QString& during) const;
    void check(int rc, const QString& during) const;

  private:
    QString path_;
    sqlite3* db_ = nullptr;
    std::unordered_map<std::string, sqlite3_stmt*> cache_;
};

// The message a store file's failure carries, with the file named.
QString describeSqliteFailure(const QString& path, int rc, const QString& detail);

}  // namespace tf::store::local
