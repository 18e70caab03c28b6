#include "tests/support/local_copy.h"

#include "store/local/local_store.h"
#include "store/local/store_writer.h"

namespace tf::testing {

namespace {

void copyFolder(store::local::StoreWriter& writer, qint64 parent, const MemoryStore::Folder& from) {
    const qint64 id =
        writer.addFolder(parent, from->name, from->defaultItemType, from->defaultFolderType);
    for (const auto& item : from->items) {
        writer.addItem(id, item->spec);
    }
    for (const auto& child : from->folders) {
        copyFolder(writer, id, child);
    }
}

void countFolder(const outlook::FolderPtr& folder, const QString& path,
                 std::map<QString, int>& counts) {
    counts[path] = static_cast<int>(folder->Items()->Count());
    const outlook::FoldersPtr children = folder->Folders();
    for (long i = 1; i <= children->Count(); ++i) {
        const outlook::FolderPtr child = children->Item(i);
        countFolder(child, path + QLatin1Char('/') + child->Name(), counts);
    }
}

outlook::FolderPtr folderAt(const QString& path, const QString& file) {
    const QStringList names = path.split(QLatin1Char('/'));
    for (const outlook::StorePtr& store : store::local::openLocalStores(file)) {
        outlook::FolderPtr at = store->TopFolder();
        if (at->Name() != names.first()) {
            continue;
        }
        for (qsizetype n = 1; at && n < names.size(); ++n) {
            const outlook::FoldersPtr children = at->Folders();
            outlook::FolderPtr next;
            for (long i = 1; i <= children->Count() && !next; ++i) {
                if (children->Item(i)->Name() == names[n]) {
                    next = children->Item(i);
                }
            }
            at = next;
        }
        return at;
    }
    return nullptr;
}

}  // namespace

void writeLocalStoreFile(const std::vector<std::shared_ptr<MemoryStore>>& stores,
                         const QString& path) {
    store::local::StoreWriter writer(path);
    for (const auto& memory : stores) {
        const qint64 top = writer.addStore(memory->top()->name);
        for (const auto& item : memory->top()->items) {
            writer.addItem(top, item->spec);
        }
        for (const auto& child : memory->top()->folders) {
            copyFolder(writer, top, child);
        }
    }
    writer.finish();
}

std::map<QString, int> folderCounts(const QString& path) {
    std::map<QString, int> counts;
    for (const outlook::StorePtr& store : store::local::openLocalStores(path)) {
        const outlook::FolderPtr top = store->TopFolder();
        countFolder(top, top->Name(), counts);
    }
    return counts;
}

QStringList subjectsIn(const QString& path, const QString& folderPath) {
    QStringList subjects;
    const outlook::FolderPtr folder = folderAt(folderPath, path);
    if (folder) {
        const outlook::ItemsPtr items = folder->Items();
        for (long i = 1; i <= items->Count(); ++i) {
            subjects << items->Item(i)->Subject();
        }
    }
    return subjects;
}

}  // namespace tf::testing
