// tidyfold-bench maildir [--messages N] [--dir DIR]
// Generates two like Maildir++ trees of N messages in twenty folders. On the first it runs the
// window's scan (every message's cached fields) with no header cache, then again from a second
// opening with the cache the first one left, and cleans: a quarter of the messages moved to
// Deleted Items one by one, another quarter deleted for good as a run does it (a move and a delete
// in one change group). On the second tree it measures the floor of the same work done with plain
// system calls. Every measurement starts after a sync, so that none of them pays for the
// write-back of the one before.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <string>
#include <vector>

#include "bench/bench_mail.h"
#include "bench/bench_support.h"
#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/mapi_utils.h"
#include "store/maildir/maildir_store.h"
#include "store/maildir/maildir_writer.h"

namespace {

using namespace tf;

struct ScanSink {
    qint64 items = 0;
    qint64 chars = 0;
    double dates = 0;
    std::vector<QString> half;  // every second EntryID: the messages the clean removes
    bool keep = true;
};

// What the window's item cache reads of every mail item of a folder.
void scanItems(const outlook::FolderPtr& folder, ScanSink& sink) {
    const outlook::TidyMAPIUtils utils;
    auto items = folder->Items();
    const long count = items->Count();
    for (long i = 1; i <= count; ++i) {
        outlook::ItemPtr item = items->Item(i);
        sink.chars += item->Class() + item->Subject().size() + item->EntryID().size();
        sink.chars += utils.HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME).size();
        sink.dates += item->ReceivedTime() + (item->UnRead() ? 1 : 0);
        if (sink.items++ % 2 == 0 && sink.keep) {
            sink.half.push_back(item->EntryID());
        }
    }
}

void collectFolders(const outlook::FolderPtr& folder, std::vector<outlook::FolderPtr>& out) {
    out.push_back(folder);
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        collectFolders(folders->Item(i), out);
    }
}

std::vector<std::string> namesIn(const std::string& dir) {
    std::vector<std::string> names;
    if (DIR* listing = ::opendir(dir.c_str())) {
        while (const dirent* entry = ::readdir(listing)) {
            if (entry->d_name[0] != '.') {
                names.emplace_back(entry->d_name);
            }
        }
        ::closedir(listing);
    }
    return names;
}

// The floor of the scan: list a folder and read the first 4 KB of every message.
qint64 rawRead(const std::string& folder) {
    qint64 bytes = 0;
    char buffer[4096];
    for (const char* sub : {"/cur/", "/new/"}) {
        const std::string dir = folder + sub;
        for (const std::string& name : namesIn(dir)) {
            const int fd = ::open((dir + name).c_str(), O_RDONLY | O_CLOEXEC);
            if (fd >= 0) {
                bytes += ::read(fd, buffer, sizeof buffer);
                ::close(fd);
            }
        }
    }
    return bytes;
}

struct Turns {
    double ours = 0;
    double floor = 0;
};

// Ours and the floor take turns, a fiftieth of the work at a time, each after a sync, so that a
// change in the load of the machine or the disk during the run weighs on both alike.
template <typename Ours, typename Floor>
Turns inTurns(std::size_t oursTotal, std::size_t floorTotal, Ours ours, Floor floor) {
    constexpr std::size_t kTurns = 50;
    Turns turns;
    for (std::size_t k = 0; k < kTurns; ++k) {
        ::sync();
        turns.ours += bench::seconds([&] {
            for (std::size_t i = oursTotal * k / kTurns; i < oursTotal * (k + 1) / kTurns; ++i) {
                ours(i);
            }
        });
        ::sync();
        turns.floor += bench::seconds([&] {
            for (std::size_t i = floorTotal * k / kTurns; i < floorTotal * (k + 1) / kTurns; ++i) {
                floor(i);
            }
        });
    }
    return turns;
}

int run(const QStringList& args) {
    const bench::Options options(args, {QStringLiteral("messages"), QStringLiteral("dir")});
    if (!options.valid()) {
        std::fprintf(stderr, "%s\n", qPrintable(options.error()));
        return 2;
    }
    const qint64 messages = options.number(QStringLiteral("messages"), 10000);
    const std::unique_ptr<QTemporaryDir> scratch = bench::scratchWithCache(options);
    QTemporaryDir& dir = *scratch;
    const QString ours = dir.filePath(QStringLiteral("ours"));
    const QString floor = dir.filePath(QStringLiteral("floor"));
    bench::print("generate_s", bench::seconds([&] {
                     bench::writeBenchMaildir(ours, messages);
                     bench::writeBenchMaildir(floor, messages);
                 }));
    bench::print("messages", static_cast<double>(messages));

    // The scan takes turns with its floor folder by folder, as the clean does below.
    const std::string floorRoot = QFile::encodeName(floor).toStdString();
    std::vector<std::string> floorFolders;
    for (const QString& folderDir : bench::benchFolderDirs()) {
        std::string path = floorRoot;
        if (!folderDir.isEmpty()) {
            path += '/';
            path += QFile::encodeName(folderDir).toStdString();
        }
        floorFolders.push_back(std::move(path));
    }
    ScanSink sink;
    outlook::StorePtr store;
    std::vector<outlook::FolderPtr> folders;
    Turns scans;
    qint64 bytes = 0;
    ::sync();
    scans.ours += bench::seconds([&] {
        store = store::maildir::openMaildirStore(ours);
        collectFolders(store->TopFolder(), folders);
    });
    for (std::size_t k = 0; k < std::max(folders.size(), floorFolders.size()); ++k) {
        ::sync();
        scans.ours += bench::seconds([&] {
            if (k < folders.size()) {
                scanItems(folders[k], sink);
            }
        });
        ::sync();
        scans.floor += bench::seconds([&] {
            if (k < floorFolders.size()) {
                bytes += rawRead(floorFolders[k]);
            }
        });
    }
    bench::print("scan_s", scans.ours);
    bench::print("raw_read_s", scans.floor);
    if (sink.items != messages || bytes <= 0) {
        throw Failure(
            err::kInternal,
            QStringLiteral("The scan saw %1 of %2 messages.").arg(sink.items).arg(messages));
    }

    // A second opening: the fields come from the cache the first one left.
    store.reset();
    folders.clear();
    ScanSink again;
    again.keep = false;
    ::sync();
    bench::print("scan_warm_s", bench::seconds([&] {
                     store = store::maildir::openMaildirStore(ours);
                     collectFolders(store->TopFolder(), folders);
                     for (const outlook::FolderPtr& folder : folders) {
                         scanItems(folder, again);
                     }
                 }));
    if (again.items != messages || again.chars != sink.chars) {
        throw Failure(err::kInternal, QStringLiteral("The second scan saw %1 of %2 messages.")
                                          .arg(again.items)
                                          .arg(messages));
    }

    // Of every second message, one half is moved and the other deleted for good; the floor does
    // the same to the same share of the other tree, chosen from its listings.
    std::vector<QString> toMove;
    std::vector<QString> toDelete;
    for (std::size_t i = 0; i < sink.half.size(); ++i) {
        (i % 2 == 0 ? toMove : toDelete).push_back(sink.half[i]);
    }
    std::vector<std::pair<std::string, std::string>> floorMoves;
    std::vector<std::string> floorDeletes;
    for (const std::string& folder : floorFolders) {
        for (const char* sub : {"/cur/", "/new/"}) {
            const std::vector<std::string> names = namesIn(folder + sub);
            for (std::size_t i = 0; i < names.size(); i += 2) {
                if (i % 4 == 0) {
                    floorMoves.emplace_back(folder + sub + names[i],
                                            floorRoot + "/.Trash/cur/" + names[i]);
                } else {
                    floorDeletes.push_back(folder + sub + names[i]);
                }
            }
        }
    }
    const Turns moves = inTurns(
        toMove.size(), floorMoves.size(),
        [&](std::size_t i) { store->GetItemFromID(toMove[i])->Delete(); },
        [&](std::size_t i) {
            ::rename(floorMoves[i].first.c_str(), floorMoves[i].second.c_str());
        });
    bench::print("move_s", moves.ours);
    bench::print("raw_rename_s", moves.floor);
    store->beginChanges();
    Turns deletes = inTurns(
        toDelete.size(), floorDeletes.size(),
        [&](std::size_t i) {
            store->GetItemFromID(toDelete[i])->Delete();
            store->GetItemFromID(toDelete[i])->Delete();
        },
        [&](std::size_t i) { ::unlink(floorDeletes[i].c_str()); });
    // Deletions may wait for a batch to fill; the last batch goes at the end of the group.
    deletes.ours += bench::seconds([&] { store->endChanges(); });
    bench::print("delete_s", deletes.ours);
    bench::print("raw_unlink_s", deletes.floor);
    long left = 0;
    for (const outlook::FolderPtr& folder : folders) {
        if (folder->EntryID() !=
            store->GetDefaultFolder(outlook::olFolderDeletedItems)->EntryID()) {
            left += folder->Items()->Count();
        }
    }
    const long inTrash = store->GetDefaultFolder(outlook::olFolderDeletedItems)->Items()->Count();
    if (left != messages - static_cast<long>(sink.half.size()) ||
        inTrash != static_cast<long>(toMove.size())) {
        throw Failure(err::kInternal, QStringLiteral("The clean left %1 in the folders and %2 in "
                                                     "Deleted Items.")
                                          .arg(left)
                                          .arg(inTrash));
    }
    bench::print("doveadm", QStringLiteral("not installed; no doveadm figures"));
    bench::print("peak_rss_mb", bench::peakRssMb());
    return 0;
}

const bool registered = bench::addCommand(
    {QStringLiteral("maildir"), QStringLiteral("[--messages N] [--dir DIR]"), run});

}  // namespace
