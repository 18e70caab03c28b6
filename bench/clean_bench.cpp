// tidyfold-bench clean --items N [--dir DIR]
// Makes a store file of four stores holding N mail items in all: half in each store's Inbox, half
// in an Archive beside it. Ticks the four Inboxes and presses Clean through the window's own
// logic, every question answered Yes: once moving the items to "Deleted Items", once, on a fresh
// file, with Permanent Delete. For each it prints the time of the whole Clean command and, as the
// floor, the same change made by one SQL statement in one transaction.
#include <sqlite3.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

#include "app/main_window_logic.h"
#include "bench/bench_support.h"
#include "bench/headless_window.h"
#include "outlook/constants.h"
#include "store/local/store_writer.h"

namespace tf::bench {
namespace {

constexpr int kStores = 4;

class CountingYield : public Yield {
  public:
    void yield() override { ++count; }
    long long count = 0;
};

void writeStores(const QString& path, qint64 items) {
    store::local::StoreWriter writer(path);
    const qint64 perStore = items / kStores;
    const OleDate first = dateSerial(2016, 1, 1);
    for (int s = 1; s <= kStores; ++s) {
        const qint64 top = writer.addStore(QStringLiteral("Mailbox %1").arg(s));
        writer.addFolder(top, QStringLiteral("Deleted Items"), outlook::olMailItem,
                         outlook::olFolderDeletedItems);
        const qint64 inbox = writer.addFolder(top, QStringLiteral("Inbox"), outlook::olMailItem,
                                              outlook::olFolderInbox);
        writer.addFolder(top, QStringLiteral("Sent Items"), outlook::olMailItem,
                         outlook::olFolderSentMail);
        const qint64 archive =
            writer.addFolder(top, QStringLiteral("Archive"), outlook::olMailItem);
        for (qint64 i = 0; i < perStore; ++i) {
            outlook::ItemFields mail;
            mail.subject = QStringLiteral("Quarterly figures, part %1").arg(i);
            mail.sender = QStringLiteral("Sender %1").arg(i % 97);
            mail.body = QStringLiteral("Please find the figures attached.");
            mail.received = first + static_cast<double>(i % 3650);
            writer.addItem(i % 2 == 0 ? inbox : archive, mail);
        }
    }
    writer.finish();
}

struct Pass {
    double seconds = 0;
    long processed = 0;
    bool allDeleted = false;
};

// Presses Clean over the four Inboxes of the file.
Pass clean(const QString& path, bool permanent) {
    QuietPrompter prompter;
    CountingYield yield;
    NoWindow window;
    StoresFrom source(path);
    RemoveItemsLogic logic(prompter, yield, window, window, source);
    Pass pass;
    if (!logic.Form_Load() || !logic.flags.AllFoldersCached) {
        return pass;
    }
    for (int node = 1; node <= logic.tree.count(); ++node) {
        const outlook::FolderPtr& folder = logic.records[node].Folder;
        if (folder && folder->Name() == QLatin1String("Inbox")) {
            logic.tree.setChecked(node, true);
        }
    }
    if (permanent) {
        logic.controls.setValue(Control::chkPermanentDelete, 1);
    }
    pass.seconds = seconds([&] { logic.cleaning.cmdRun_Click(); });
    pass.processed = logic.cleaning.state.ProcessedCount;
    pass.allDeleted = !logic.cleaning.state.NotAllDeleted;
    return pass;
}

sqlite3* openFile(const QString& path) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READWRITE, nullptr) !=
        SQLITE_OK) {
        throw Failure(err::kFileNotFound, QStringLiteral("cannot open %1").arg(path));
    }
    // The same durability as the store itself.
    sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL", nullptr, nullptr,
                 nullptr);
    return db;
}

// The whole change as one statement in one transaction: the floor for the engine.
double rawChange(const QString& path, bool permanent) {
    sqlite3* db = openFile(path);
    const char* sql =
        permanent ? "BEGIN; DELETE FROM items WHERE folder IN (SELECT id FROM folders WHERE "
                    "default_folder = 6); COMMIT;"
                  : "BEGIN; UPDATE items SET seq = seq + 1000000000, folder = (SELECT d.id FROM "
                    "folders d WHERE d.store = items.store AND d.default_folder = 3) WHERE folder "
                    "IN (SELECT id FROM folders WHERE default_folder = 6); COMMIT;";
    const double taken = seconds([&] { sqlite3_exec(db, sql, nullptr, nullptr, nullptr); });
    sqlite3_close(db);
    return taken;
}

// Items in the folders of one default type (6 Inbox, 3 Deleted Items) over all stores.
long long itemsIn(const QString& path, int defaultFolder) {
    sqlite3* db = openFile(path);
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db,
                       "SELECT count(*) FROM items WHERE folder IN (SELECT id FROM folders WHERE "
                       "default_folder = ?)",
                       -1, &stmt, nullptr);
    sqlite3_bind_int(stmt, 1, defaultFolder);
    const long long count = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : -1;
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return count;
}

int run(const QStringList& args) {
    const Options options(args, {QStringLiteral("items"), QStringLiteral("dir")});
    if (!options.valid()) {
        std::fprintf(stderr, "tidyfold-bench clean: %s\n", qPrintable(options.error()));
        return 2;
    }
    const qint64 items = options.number(QStringLiteral("items"), 100000);
    QTemporaryDir scratch(options.text(QStringLiteral("dir"), QDir::tempPath()) +
                          QStringLiteral("/tidyfold-bench-XXXXXX"));
    print("items", static_cast<double>(items));
    print("stores", kStores);
    int failures = 0;
    for (const bool permanent : {false, true}) {
        const QString engineFile = scratch.filePath(QStringLiteral("engine.tidystore"));
        const QString rawFile = scratch.filePath(QStringLiteral("raw.tidystore"));
        QFile::remove(engineFile);
        QFile::remove(rawFile);
        writeStores(engineFile, items);
        writeStores(rawFile, items);
        const long long inInbox = itemsIn(engineFile, outlook::olFolderInbox);

        const Pass pass = clean(engineFile, permanent);
        const double raw = rawChange(rawFile, permanent);
        print("pass", permanent ? QStringLiteral("permanent delete") : QStringLiteral("move"));
        print("cleaned", static_cast<double>(pass.processed));
        print("clean_s", pass.seconds);
        print("items_per_s", static_cast<double>(pass.processed) / pass.seconds);
        print("raw_s", raw);
        print("clean_over_raw", pass.seconds / raw);

        // The store must hold exactly what the run said it did.
        const long long inDeleted = itemsIn(engineFile, outlook::olFolderDeletedItems);
        const bool exact = pass.allDeleted && pass.processed == inInbox &&
                           itemsIn(engineFile, outlook::olFolderInbox) == 0 &&
                           inDeleted == (permanent ? 0 : inInbox);
        if (!exact) {
            std::fprintf(stderr,
                         "the store does not match the run: %ld cleaned, %lld in Deleted "
                         "Items\n",
                         pass.processed, inDeleted);
            ++failures;
        }
    }
    print("peak_rss_mb", peakRssMb());
    return failures == 0 ? 0 : 1;
}

const bool registered =
    addCommand({QStringLiteral("clean"), QStringLiteral("--items N [--dir DIR]"), run});

}  // namespace
}  // namespace tf::bench
