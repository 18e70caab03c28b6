// tidyfold-bench load --items N [--stores S] [--dir DIR] [--store FILE]
// Makes a store of N items with the generator, then loads it headless through the window's own
// logic: the tree, the whole item cache and a grid filled with every item. Prints the figures
// and, as the floor, the time to read the same fields straight from SQLite.
#include <sqlite3.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

#include "app/main_window_logic.h"
#include "bench/bench_support.h"
#include "bench/headless_window.h"
#include "outlook/session.h"
#include "store/local/local_store.h"
#include "store/local/sample_content.h"

namespace tf::bench {
namespace {

// Counts the yields; the first one after the tree is built marks every folder, so that the grid
// takes every item.
class MarkingYield : public Yield {
  public:
    void yield() override {
        ++count;
        if (!marked && logic != nullptr && logic->tree.count() > 1 &&
            logic->flags.CurrentNodeIndex != 0) {
            marked = true;
            for (int node = 1; node <= logic->tree.count(); ++node) {
                logic->tree.setChecked(node, true);
            }
        }
    }
    RemoveItemsLogic* logic = nullptr;
    bool marked = false;
    long long count = 0;
};

// Reads what the cache keeps of every item, in the folders' order, with SQLite alone.
long long rawScan(const QString& path) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READONLY, nullptr) !=
        SQLITE_OK) {
        throw Failure(err::kFileNotFound, QStringLiteral("cannot open %1").arg(path));
    }
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db,
                       "SELECT class, subject, CASE WHEN class = 43 THEN sender ELSE "
                       "substr(body, 1, 20) END, received, modified, due, completed, end_time, "
                       "unread, entry_id FROM items ORDER BY folder, seq",
                       -1, &stmt, nullptr);
    long long rows = 0;
    qsizetype chars = 0;
    const auto text = [&](int col) {
        return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, col)),
                                 sqlite3_column_bytes(stmt, col));
    };
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        chars += text(1).size() + text(2).size() + text(9).size();
        chars += sqlite3_column_int(stmt, 0) + sqlite3_column_int(stmt, 8);
        chars += static_cast<qsizetype>(sqlite3_column_double(stmt, 3));
        ++rows;
    }
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return chars > 0 ? rows : 0;
}

int run(const QStringList& args) {
    const Options options(args, {QStringLiteral("items"), QStringLiteral("stores"),
                                 QStringLiteral("dir"), QStringLiteral("store")});
    if (!options.valid()) {
        std::fprintf(stderr, "tidyfold-bench load: %s\n", qPrintable(options.error()));
        return 2;
    }
    const qint64 items = options.number(QStringLiteral("items"), 100000);
    QTemporaryDir scratch(options.text(QStringLiteral("dir"), QDir::tempPath()) +
                          QStringLiteral("/tidyfold-bench-XXXXXX"));
    // --store FILE keeps the generated store for the next run, which then loads it as it is.
    const QString path =
        options.text(QStringLiteral("store"), scratch.filePath(QStringLiteral("load.tidystore")));
    if (!QFile::exists(path)) {
        store::local::SampleOptions sample;
        sample.items = items;
        sample.stores = static_cast<int>(options.number(QStringLiteral("stores"), 1));
        print("make_store_s", seconds([&] { store::local::writeSampleStoreFile(path, sample); }));
    }

    QuietPrompter prompter;
    MarkingYield yield;
    NoWindow window;
    StoresFrom source(path);
    double before = 0;
    double load = 0;
    {
        RemoveItemsLogic logic(prompter, yield, window, window, source);
        yield.logic = &logic;
        // Every folder's rows go to the grid, as with all folders shown.
        logic.controls.update(Control::chkShowAllFolders, [](ControlState& c) { c.value = 1; });
        before = residentMb();
        load = seconds([&] { logic.Form_Load(); });
        long long cached = 0;
        for (int i = 1; i <= logic.records.upperBoundIndex(); ++i) {
            cached += logic.records[i].CachedCount;
        }
        if (!logic.flags.AllFoldersCached || cached != items || logic.grid.Rows() - 1 != items) {
            std::fprintf(stderr, "load incomplete: %lld cached, %d rows\n", cached,
                         logic.grid.Rows() - 1);
            return 1;
        }
        print("items", static_cast<double>(items));
        print("load_s", load);
        print("items_per_s", static_cast<double>(items) / load);
        print("yields", static_cast<double>(yield.count));
        print("grid_rows", logic.grid.Rows() - 1);
        const double peak = peakRssMb();
        print("peak_rss_mb", peak);
        print("bytes_per_item", (peak - before) * 1024.0 * 1024.0 / static_cast<double>(items));

        print("sort_s", seconds([&] { logic.gridLogic.Set_Grid_Order(); }));
        logic.controls.update(Control::txtSelectSubject,
                              [](ControlState& c) { c.caption = QStringLiteral("Re"); });
        logic.controls.update(Control::chkSelectSubject, [](ControlState& c) { c.value = 1; });
        print("filter_s", seconds([&] { logic.gridLogic.Change_Filtered_Rows(); }));
        print("selected_after_filter", logic.gridLogic.Get_Rows_Selected_Count());
    }
    long long raw = 0;
    const double rawSeconds = seconds([&] { raw = rawScan(path); });
    print("raw_scan_s", rawSeconds);
    print("load_over_raw", load / rawSeconds);
    return raw == items ? 0 : 1;
}

const bool registered =
    addCommand({QStringLiteral("load"),
                QStringLiteral("--items N [--stores S] [--dir DIR] [--store FILE]"), run});

}  // namespace
}  // namespace tf::bench
