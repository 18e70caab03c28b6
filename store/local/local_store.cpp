#include "store/local/local_store.h"

#include <QFileInfo>

#include "store/local/file_checks.h"
#include "store/local/local_objects.h"
#include "store/local/store_file.h"

namespace tf::store::local {

std::vector<outlook::StorePtr> openLocalStores(const QString& path) {
    checkAccess(path);
    checkHeader(path);
    auto file = std::make_shared<StoreFile>(path);
    // Links resolved, so that one file named two ways is recognised as one store.
    const QFileInfo info(path);
    file->location =
        QStringLiteral("local:") +
        (info.canonicalFilePath().isEmpty() ? info.absoluteFilePath() : info.canonicalFilePath());
    checkFormat(file->db, path);
    {
        // WAL with synchronous=NORMAL: a killed process loses at most its unfinished step.
        Statement s = file->db.prepare("PRAGMA journal_mode=WAL");
        s.step();
        file->db.exec("PRAGMA synchronous=NORMAL");
        // Checkpoints are what syncs to disk; fewer of them make one-by-one deletes cheap
        // without weakening what a commit guarantees.
        file->db.exec("PRAGMA wal_autocheckpoint=8192");
    }
    std::vector<outlook::StorePtr> stores;
    Statement s = file->db.prepare("SELECT id, store_id, top_folder FROM stores ORDER BY id");
    while (s.step()) {
        file->storeIds[s.int64(0)] = s.text(1);
        stores.push_back(makeLocalStore(file, s.int64(0), s.int64(2)));
    }
    return stores;
}

}  // namespace tf::store::local
