// tidyfold-bench-store [--items N] [--dir DIR] [--deletes N]
// Writes a sample store file, reads every item as the window's loading loop does, then moves
// items to Deleted Items one by one and removes items for good one by one.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdio>
#include <functional>

#include "bench/bench_support.h"
#include "common/failure.h"
#include "outlook/constants.h"
#include "outlook/mapi_utils.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"

namespace {

using namespace tf;

// What the window's item cache reads of each item.
struct Sink {
    qint64 items = 0;
    qint64 chars = 0;
    double dates = 0;
    qint64 unread = 0;
};

void readFolder(const outlook::FolderPtr& folder, Sink& sink) {
    const outlook::TidyMAPIUtils utils;
    auto items = folder->Items();
    const long count = items->Count();
    for (long i = 1; i <= count; ++i) {
        outlook::ItemPtr item = items->Item(i);
        const long c = item->Class();
        sink.chars += item->Subject().size() + item->EntryID().size();
        if (c == outlook::olMail) {
            sink.chars += utils.HrGetOneProp(item->MAPIOBJECT(), outlook::PR_SENDER_NAME).size();
            sink.dates += item->ReceivedTime();
        } else {
            sink.chars += item->Body().left(40).size();
            if (c == outlook::olTask) {
                sink.dates += item->DueDate() + item->DateCompleted();
            } else if (c == outlook::olAppointment) {
                sink.dates += item->End();
            } else {
                sink.dates += item->LastModificationTime();
            }
        }
        sink.unread += item->UnRead() ? 1 : 0;
        ++sink.items;
    }
    auto folders = folder->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        readFolder(folders->Item(i), sink);
    }
}

double seconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return timer.nsecsElapsed() / 1e9;
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    qint64 count = 1'000'000;
    long deletes = 50'000;
    QString dirPath;
    const QStringList args = QCoreApplication::arguments();
    for (qsizetype i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--items")) {
            count = args[i + 1].toLongLong();
        } else if (args[i] == QLatin1String("--deletes")) {
            deletes = args[i + 1].toLong();
        } else if (args[i] == QLatin1String("--dir")) {
            dirPath = args[i + 1];
        }
    }
    QTemporaryDir temp(dirPath.isEmpty() ? QDir::tempPath() + QStringLiteral("/tfbench-XXXXXX")
                                         : dirPath + QStringLiteral("/tfbench-XXXXXX"));
    const QString path = temp.filePath(QStringLiteral("bench.tfs"));
    try {
        store::local::SampleOptions options;
        options.items = count;
        std::printf("generate_s: %.3f\n",
                    seconds([&] { store::local::writeSampleStoreFile(path, options); }));
        std::printf("file_mb: %.1f\n", QFileInfo(path).size() / 1048576.0);

        Sink sink;
        std::vector<outlook::StorePtr> stores;
        const double read = seconds([&] {
            stores = store::local::openLocalStores(path);
            for (const auto& s : stores) {
                readFolder(s->TopFolder(), sink);
            }
        });
        std::printf("items: %lld\n", static_cast<long long>(sink.items));
        std::printf("read_s: %.3f\n", read);
        std::printf("items_per_s: %.0f\n", sink.items / read);
        std::printf("peak_rss_mb: %.0f\n", bench::peakRssMb());

        auto inbox = stores.at(0)->GetDefaultFolder(outlook::olFolderInbox)->Items();
        const long moves = std::min<long>(deletes, inbox->Count() / 2);
        std::printf("move_front_s: %.3f (%ld moves to Deleted Items, from the front)\n",
                    seconds([&] {
                        for (long i = 0; i < moves; ++i) {
                            inbox->Item(1)->Delete();
                        }
                    }),
                    moves);
        const long removes = std::min<long>(deletes, inbox->Count());
        std::printf("remove_back_s: %.3f (%ld Items.Remove, from the back)\n", seconds([&] {
                        for (long i = 0; i < removes; ++i) {
                            inbox->Remove(inbox->Count());
                        }
                    }),
                    removes);
        std::printf("peak_rss_mb: %.0f\n", bench::peakRssMb());
        const QStringList problems = store::local::checkStoreFile(path);
        std::printf("check_problems: %lld\n", static_cast<long long>(problems.size()));
    } catch (const Failure& failure) {
        std::fprintf(stderr, "tidyfold-bench-store: %s\n", qUtf8Printable(failure.description()));
        return 1;
    }
    return 0;
}
