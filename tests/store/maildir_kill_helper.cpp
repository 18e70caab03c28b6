// Child of the Maildir kill test: moves every message of the store to Deleted Items, one
// Item.Delete at a time in a random order, until it is done or killed.
#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/maildir/maildir_store.h"

namespace {

void collect(const tf::outlook::FolderPtr& folder, const QString& trash, QStringList& ids) {
    if (folder->EntryID() != trash) {
        auto items = folder->Items();
        for (long i = 1; i <= items->Count(); ++i) {
            ids << items->Item(i)->EntryID();
        }
    }
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        collect(folders->Item(i), trash, ids);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s MAILDIR SEED\n", argv[0]);
        return 2;
    }
    try {
        auto store = tf::store::maildir::openMaildirStore(QString::fromLocal8Bit(argv[1]));
        const QString trash = store->GetDefaultFolder(tf::outlook::olFolderDeletedItems)->EntryID();
        QStringList ids;
        collect(store->TopFolder(), trash, ids);
        std::mt19937 random(static_cast<unsigned>(std::atoi(argv[2])));
        std::shuffle(ids.begin(), ids.end(), random);
        std::printf("ready %lld\n", static_cast<long long>(ids.size()));
        std::fflush(stdout);
        for (const QString& id : ids) {
            store->GetItemFromID(id)->Delete();
        }
    } catch (const tf::Failure& failure) {
        std::fprintf(stderr, "%s\n", qPrintable(failure.description()));
        return 1;
    }
    return 0;
}
