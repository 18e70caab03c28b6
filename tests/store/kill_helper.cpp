// Child of the kill test: deletes items of a store one step at a time until it is killed.
// Before a step that deletes for good it logs "P <EntryID>", after it "D <EntryID>", so the
// parent knows which items may be gone.
#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cstdio>
#include <random>
#include <vector>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/local/local_store.h"

namespace {

void logLine(int fd, char kind, const QString& id) {
    const QByteArray line = QByteArray(1, kind) + ' ' + id.toLatin1() + '\n';
    if (::write(fd, line.constData(), static_cast<size_t>(line.size())) != line.size()) {
        std::_Exit(3);
    }
}

void collect(const tf::outlook::FolderPtr& folder, std::vector<tf::outlook::FolderPtr>& out) {
    out.push_back(folder);
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        collect(folders->Item(i), out);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s STORE LOG SEED\n", argv[0]);
        return 2;
    }
    const int log = ::open(argv[2], O_WRONLY | O_APPEND | O_CREAT, 0644);
    if (log < 0) {
        return 2;
    }
    std::mt19937 random(static_cast<unsigned>(std::atoi(argv[3])));
    try {
        auto store = tf::store::local::openLocalStores(QString::fromLocal8Bit(argv[1])).at(0);
        const QString trash = store->GetDefaultFolder(tf::outlook::olFolderDeletedItems)->EntryID();
        std::vector<tf::outlook::FolderPtr> folders;
        collect(store->TopFolder(), folders);
        std::printf("ready\n");
        std::fflush(stdout);
        for (int idle = 0; idle < 1000;) {
            const auto& folder = folders[random() % folders.size()];
            auto items = folder->Items();
            const long count = items->Count();
            if (count == 0) {
                ++idle;
                continue;
            }
            const long position = 1 + static_cast<long>(random() % static_cast<unsigned>(count));
            auto item = items->Item(position);
            const QString id = item->EntryID();
            const unsigned roll = random() % 100;
            if (folder->EntryID() == trash || roll < 20) {
                logLine(log, 'P', id);
                // In Deleted Items, Delete is for good too; elsewhere only Remove is.
                if (folder->EntryID() == trash && roll % 2 == 1) {
                    item->Delete();
                } else {
                    items->Remove(position);
                }
                logLine(log, 'D', id);
            } else {
                item->Delete();
            }
        }
    } catch (const tf::Failure& failure) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(failure.description()));
        return 1;
    }
    return 0;
}
