#include "store/local/store_file.h"

#include <algorithm>

#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/object_model.h"

namespace tf::store::local {

namespace {

// Rows are read in pages: a window loop over Items.Item(1..N) costs one query per page.
constexpr long kPageSize = 512;
constexpr std::size_t kRowCacheLimit = 4 * kPageSize;

}  // namespace

void itemGone() {
    throw Failure(err::kAutomation,
                  QStringLiteral("The operation failed. The item no longer exists; it has been "
                                 "deleted since it was read."));
}

void folderGone(const QString& name) {
    throw Failure(
        err::kAutomation,
        QStringLiteral("The operation failed. The folder \"%1\" no longer exists.").arg(name));
}

StoreFile::StoreFile(const QString& path)
    : db(path, Database::Mode::ReadWrite), changes_(db, [this] { forgetAll(); }) {}

void StoreFile::sync() {
    Statement s = db.prepare("PRAGMA data_version");
    s.step();
    const qint64 version = s.int64(0);
    if (version != dataVersion_) {
        forgetAll();
        dataVersion_ = version;
    }
}

void StoreFile::forgetAll() {
    positions_.clear();
    deletedItems_.clear();
}

FolderPositions& StoreFile::positions(qint64 folder) {
    auto found = positions_.find(folder);
    if (found != positions_.end()) {
        return found->second;
    }
    FolderPositions fresh;
    Statement s = db.prepare("SELECT seq FROM items WHERE folder = ? ORDER BY seq");
    s.bind(1, folder);
    while (s.step()) {
        fresh.seqs.push_back(s.int64(0));
    }
    return positions_.emplace(folder, std::move(fresh)).first->second;
}

void StoreFile::forget(qint64 folder, qint64 seq) {
    auto found = positions_.find(folder);
    if (found != positions_.end()) {
        found->second.erase(seq);
    }
}

long StoreFile::count(qint64 folder) {
    sync();
    return positions(folder).count();
}

ItemRowPtr StoreFile::rowAt(qint64 folder, long position) {
    {
        FolderPositions& at = positions(folder);
        if (position < 0 || position >= at.count()) {
            outlook::indexOutOfBounds();
        }
        auto found = at.rows.find(at.at(position));
        if (found != at.rows.end()) {
            return found->second;
        }
    }
    sync();
    FolderPositions& at = positions(folder);
    if (position >= at.count()) {
        outlook::indexOutOfBounds();
    }
    const long first = position / kPageSize * kPageSize;
    const long last = std::min(first + kPageSize, at.count()) - 1;
    if (at.rows.size() >= kRowCacheLimit) {
        at.rows.clear();
    }
    Statement s = db.prepare("SELECT seq, " TF_ITEM_COLUMNS
                             " FROM items WHERE folder = ? AND seq BETWEEN ? AND ? "
                             "ORDER BY seq");
    s.bind(1, folder).bind(2, at.at(first)).bind(3, at.at(last));
    while (s.step()) {
        at.rows[s.int64(0)] = readItemRow(s, 1);
    }
    auto found = at.rows.find(at.at(position));
    if (found == at.rows.end()) {
        positions_.erase(folder);
        itemGone();
    }
    return found->second;
}

std::optional<FolderRow> StoreFile::folderById(qint64 id) {
    Statement s = db.prepare("SELECT " TF_FOLDER_COLUMNS " FROM folders WHERE id = ?");
    s.bind(1, id);
    if (!s.step()) {
        return std::nullopt;
    }
    return readFolderRow(s);
}

FolderRow StoreFile::currentFolder(const FolderRow& folder) {
    std::optional<FolderRow> now = folderById(folder.id);
    if (!now || now->entryId != folder.entryId) {
        folderGone(folder.name);
    }
    return *now;
}

std::optional<FolderRow> StoreFile::childAt(qint64 parent, long index) {
    if (index < 1) {
        return std::nullopt;
    }
    Statement s = db.prepare("SELECT " TF_FOLDER_COLUMNS
                             " FROM folders WHERE parent = ? ORDER BY id LIMIT 1 OFFSET ?");
    s.bind(1, parent).bind(2, static_cast<qint64>(index - 1));
    if (!s.step()) {
        return std::nullopt;
    }
    return readFolderRow(s);
}

long StoreFile::childCount(qint64 parent) {
    Statement s = db.prepare("SELECT count(*) FROM folders WHERE parent = ?");
    s.bind(1, parent);
    s.step();
    return static_cast<long>(s.int64(0));
}

std::optional<FolderRow> StoreFile::defaultFolder(qint64 store, long type) {
    Statement s = db.prepare("SELECT " TF_FOLDER_COLUMNS
                             " FROM folders WHERE store = ? AND default_folder = ? "
                             "ORDER BY id LIMIT 1");
    s.bind(1, store).bind(2, type);
    if (!s.step()) {
        return std::nullopt;
    }
    return readFolderRow(s);
}

ItemRowPtr StoreFile::itemByEntryId(qint64 store, const QString& entryId) {
    Statement s =
        db.prepare("SELECT " TF_ITEM_COLUMNS " FROM items WHERE store = ? AND entry_id = ?");
    s.bind(1, store).bind(2, entryId.toUpper());
    if (!s.step()) {
        return nullptr;
    }
    return readItemRow(s, 0);
}

std::optional<qint64> StoreFile::folderOfItem(const ItemRow& row) {
    Statement s = db.prepare("SELECT folder FROM items WHERE id = ? AND entry_id = ?");
    s.bind(1, row.id).bind(2, row.entryId);
    if (!s.step()) {
        return std::nullopt;
    }
    return s.int64(0);
}

void StoreFile::deleteItem(const ItemRow& row) {
    sync();
    qint64 from = 0;
    qint64 seq = 0;
    qint64 newSeq = 0;
    qint64 trash = 0;
    {
        Change change(changes_);
        {
            Statement s = db.prepare("SELECT folder, seq FROM items WHERE id = ? AND entry_id = ?");
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
        auto found = positions_.find(trash);
        if (found != positions_.end()) {
            found->second.seqs.push_back(newSeq);
        }
    }
}

qint64 StoreFile::deletedItemsOf(qint64 store) {
    const auto known = deletedItems_.find(store);
    if (known != deletedItems_.end()) {
        return known->second;
    }
    const std::optional<FolderRow> deleted = defaultFolder(store, outlook::olFolderDeletedItems);
    if (!deleted) {
        throw Failure(err::kAutomation, QStringLiteral("The operation failed. The store has no "
                                                       "\"Deleted Items\" folder."));
    }
    return deletedItems_.emplace(store, deleted->id).first->second;
}

void StoreFile::removeAt(qint64 folder, long index) {
    sync();
    const long total = positions(folder).count();
    if (index < 1 || index > total) {
        outlook::indexOutOfBounds();
    }
    const qint64 seq = positions(folder).at(index - 1);
    {
        Change change(changes_);
        Statement s = db.prepare("DELETE FROM items WHERE folder = ? AND seq = ?");
        s.bind(1, folder).bind(2, seq).run();
        if (db.changes() != 1) {
            positions_.erase(folder);
            itemGone();
        }
        change.commit();
    }
    forget(folder, seq);
}

void StoreFile::removeChild(qint64 parent, long index) {
    sync();
    std::vector<qint64> doomed;
    {
        Change change(changes_);
        std::optional<FolderRow> child = childAt(parent, index);
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
        positions_.erase(id);
    }
}

}  // namespace tf::store::local
