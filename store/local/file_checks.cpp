#include "store/local/file_checks.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "common/failure.h"
#include "store/local/local_store.h"
#include "store/local/schema.h"

namespace tf::store::local {

namespace {

[[noreturn]] void notAStore(const QString& path, const QString& why) {
    throw Failure(err::kAutomation, QStringLiteral("The file %1 is not a Tidyfold store file (%2).")
                                        .arg(QDir::toNativeSeparators(path), why));
}

}  // namespace

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

void checkFormat(Database& db, const QString& path) {
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
