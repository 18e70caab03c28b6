// tidyfold-bench cli --items N [--runs R] [--dir DIR]
// What the tidyfold-clean program adds to the work it does: the same dry run over a store file of
// N mail items (half in the Inbox it cleans, half in an Archive beside it), once inside this
// process through the command's own code, once as the real program started as a child. The run
// deletes for good, so that the Deleted Items capacity check lets any size through. The
// difference is the program's start-up: loading its libraries, reading its arguments, opening
// the store afresh. Each figure is the median of R runs.
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>

#include "bench/bench_support.h"
#include "cli/clean_command.h"
#include "outlook/constants.h"
#include "store/local/store_writer.h"

namespace tf::bench {
namespace {

void writeStore(const QString& path, qint64 items) {
    store::local::StoreWriter writer(path);
    const qint64 top = writer.addStore(QStringLiteral("Mailbox"));
    writer.addFolder(top, QStringLiteral("Deleted Items"), outlook::olMailItem,
                     outlook::olFolderDeletedItems);
    const qint64 inbox =
        writer.addFolder(top, QStringLiteral("Inbox"), outlook::olMailItem, outlook::olFolderInbox);
    const qint64 archive = writer.addFolder(top, QStringLiteral("Archive"), outlook::olMailItem);
    const OleDate first = dateSerial(2016, 1, 1);
    for (qint64 i = 0; i < items; ++i) {
        outlook::ItemFields mail;
        mail.subject = QStringLiteral("Quarterly figures, part %1").arg(i);
        mail.sender = QStringLiteral("Sender %1").arg(i % 97);
        mail.received = first + static_cast<double>(i % 3650);
        writer.addItem(i % 2 == 0 ? inbox : archive, mail);
    }
    writer.finish();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The child's wall time, or -1 when it failed.
double timeProgram(const QStringList& arguments) {
    QProcess child;
    QElapsedTimer clock;
    clock.start();
    child.start(QStringLiteral(TF_CLEAN_EXE), arguments);
    if (!child.waitForFinished(600000) || child.exitCode() != 0) {
        std::fprintf(stderr, "tidyfold-clean failed: %s\n",
                     child.readAllStandardError().constData());
        return -1;
    }
    return clock.nsecsElapsed() / 1e9;
}

int run(const QStringList& args) {
    const Options options(args,
                          {QStringLiteral("items"), QStringLiteral("runs"), QStringLiteral("dir")});
    if (!options.valid()) {
        std::fprintf(stderr, "tidyfold-bench cli: %s\n", qPrintable(options.error()));
        return 2;
    }
    const qint64 items = options.number(QStringLiteral("items"), 100000);
    const int runs =
        static_cast<int>(std::max<qint64>(1, options.number(QStringLiteral("runs"), 5)));
    QTemporaryDir scratch(options.text(QStringLiteral("dir"), QDir::tempPath()) +
                          QStringLiteral("/tidyfold-bench-XXXXXX"));
    const QString path = scratch.filePath(QStringLiteral("cli.tidystore"));
    writeStore(path, items);
    const QStringList arguments = {QStringLiteral("--store"),      path,
                                   QStringLiteral("--folder"),     QStringLiteral("Mailbox/Inbox"),
                                   QStringLiteral("--older-than"), QStringLiteral("2020-12-31"),
                                   QStringLiteral("--permanent")};

    std::vector<double> inside;
    std::vector<double> outside;
    std::vector<double> version;
    for (int i = 0; i < runs; ++i) {
        const cli::ParseOutcome parsed =
            cli::parseArguments(QStringList{QStringLiteral("tidyfold-clean")} + arguments);
        QString out;
        QString err;
        QTextStream o(&out);
        QTextStream e(&err);
        cli::CleanCommand command(o, e);
        int code = -1;
        inside.push_back(seconds([&] { code = command.run(*parsed.options); }));
        outside.push_back(timeProgram(arguments));
        version.push_back(timeProgram({QStringLiteral("--version")}));
        if (code != 0 || outside.back() < 0 || version.back() < 0) {
            std::fprintf(stderr, "the dry run failed: %s\n", qPrintable(err));
            return 1;
        }
    }
    print("items", static_cast<double>(items));
    print("runs", runs);
    print("cli_dry_run_in_process_s", median(inside));
    print("cli_dry_run_program_s", median(outside));
    print("cli_startup_overhead_s", median(outside) - median(inside));
    print("cli_version_program_s", median(version));
    return 0;
}

const bool registered =
    addCommand({QStringLiteral("cli"), QStringLiteral("--items N [--runs R] [--dir DIR]"), run});

}  // namespace
}  // namespace tf::bench
