#include "store/local/store_writer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <cstdio>
#include <unordered_map>
#include <vector>

#include "common/failure.h"
#include "store/local/schema.h"
#include "store/local/sqlite_db.h"

namespace tf::store::local {

namespace {
struct StoreState {
    qint64 id = 0;
    QString uid;
    quint64 counter = 0;
};
struct FolderState {
    std::size_t store = 0;
    qint64 nextSeq = 1;
};

void bindDate(Statement& stmt, int index, OleDate date) {
    if (isNoDate(date)) {
        stmt.bindNull(index);
    } else {
        stmt.bind(index, date);
    }
}
}  // namespace

struct StoreWriter::State {
    QString path;
    QString partPath;
    std::unique_ptr<Database> db;
    std::vector<StoreState> stores;
    std::unordered_map<qint64, FolderState> folders;
    bool finished = false;
};

StoreWriter::StoreWriter(const QString& path) : state_(std::make_unique<State>()) {
    state_->path = path;
    state_->partPath = path + QStringLiteral(".part");
    QFile::remove(state_->partPath);
    QFile::remove(state_->partPath + QStringLiteral("-journal"));
    state_->db = std::make_unique<Database>(state_->partPath, Database::Mode::Create);
    // The file is not in use until finish() renames it, so nothing needs a journal yet.
    state_->db->exec("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-65536");
    state_->db->exec("BEGIN");
    state_->db->exec(schema::kTables);
    Statement meta = state_->db->prepare("INSERT INTO meta(key, value) VALUES (?, ?)");
    meta.bind(1, QStringLiteral("format")).bind(2, QString::fromLatin1(schema::kFormat)).run();
    Statement version = state_->db->prepare("INSERT INTO meta(key, value) VALUES (?, ?)");
    version.bind(1, QStringLiteral("schema_version"))
        .bind(2, QString::number(schema::kVersion))
        .run();
}

StoreWriter::~StoreWriter() {
    if (!state_->finished) {
        state_->db.reset();
        QFile::remove(state_->partPath);
    }
}

qint64 StoreWriter::addStore(const QString& topFolderName) {
    StoreState store;
    store.uid = QUuid::createUuid().toString(QUuid::Id128).toUpper();
    Statement insert =
        state_->db->prepare("INSERT INTO stores(store_id, uid, top_folder) VALUES (?, ?, 0)");
    insert.bind(1, schema::storeIdFor(store.uid)).bind(2, store.uid).run();
    store.id = state_->db->lastInsertId();
    state_->stores.push_back(store);
    const std::size_t index = state_->stores.size() - 1;

    StoreState& s = state_->stores.back();
    Statement folder = state_->db->prepare(
        "INSERT INTO folders(store, parent, name, entry_id, default_type, default_folder) "
        "VALUES (?, NULL, ?, ?, 0, 0)");
    folder.bind(1, s.id)
        .bind(2, topFolderName)
        .bind(3, schema::entryIdFor(s.uid, true, ++s.counter));
    folder.run();
    const qint64 top = state_->db->lastInsertId();
    Statement link = state_->db->prepare("UPDATE stores SET top_folder = ? WHERE id = ?");
    link.bind(1, top).bind(2, s.id).run();
    state_->folders[top] = FolderState{index, 1};
    return top;
}

qint64 StoreWriter::addFolder(qint64 parent, const QString& name, long defaultItemType,
                              long defaultFolderType) {
    auto found = state_->folders.find(parent);
    if (found == state_->folders.end()) {
        throw Failure(err::kInvalidArgument, QStringLiteral("Unknown parent folder."));
    }
    const std::size_t storeIndex = found->second.store;
    StoreState& s = state_->stores[storeIndex];
    Statement insert = state_->db->prepare(
        "INSERT INTO folders(store, parent, name, entry_id, default_type, default_folder) "
        "VALUES (?, ?, ?, ?, ?, ?)");
    insert.bind(1, s.id)
        .bind(2, parent)
        .bind(3, name)
        .bind(4, schema::entryIdFor(s.uid, true, ++s.counter))
        .bind(5, defaultItemType)
        .bind(6, defaultFolderType)
        .run();
    const qint64 id = state_->db->lastInsertId();
    state_->folders[id] = FolderState{storeIndex, 1};
    return id;
}

void StoreWriter::addItem(qint64 folder, const ItemData& item) {
    auto found = state_->folders.find(folder);
    if (found == state_->folders.end()) {
        throw Failure(err::kInvalidArgument, QStringLiteral("Unknown folder."));
    }
    StoreState& s = state_->stores[found->second.store];
    Statement insert = state_->db->prepare(
        "INSERT INTO items(store, folder, seq, entry_id, class, subject, body, sender, received, "
        "modified, due, completed, end_time, unread) "
        "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.bind(1, s.id)
        .bind(2, folder)
        .bind(3, found->second.nextSeq++)
        .bind(4, schema::entryIdFor(s.uid, false, ++s.counter))
        .bind(5, item.itemClass)
        .bind(6, item.subject)
        .bind(7, item.body);
    if (item.sender.isNull()) {
        insert.bindNull(8);
    } else {
        insert.bind(8, item.sender);
    }
    bindDate(insert, 9, item.received);
    bindDate(insert, 10, item.modified);
    bindDate(insert, 11, item.due);
    bindDate(insert, 12, item.completed);
    bindDate(insert, 13, item.end);
    insert.bind(14, item.unread ? 1 : 0);
    insert.run();
}

void StoreWriter::finish() {
    state_->db->exec(schema::kIndexes);
    state_->db->exec("COMMIT");
    state_->db->exec("PRAGMA journal_mode=WAL");
    state_->db.reset();
    // A log left by the file being replaced belongs to it, not to the new one.
    const QByteArray target = QFile::encodeName(state_->path);
    QFile::remove(state_->path + QStringLiteral("-wal"));
    QFile::remove(state_->path + QStringLiteral("-shm"));
    if (std::rename(QFile::encodeName(state_->partPath).constData(), target.constData()) != 0) {
        throw Failure(err::kPermissionDenied,
                      QStringLiteral("The store file %1 could not be written.")
                          .arg(QDir::toNativeSeparators(state_->path)));
    }
    state_->finished = true;
}

}  // namespace tf::store::local
