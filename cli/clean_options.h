#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <variant>

#include "cleanings/cleaning_file.h"
#include "cleanings/cleaning_in_window.h"

namespace tf::cli {

// The exit codes, as --help and the manual page list them.
enum Exit : int {
    kDone = 0,
    kNotAllDeleted = 1,
    kUsage = 2,  // also a saved cleaning that cannot be used
    kStoreNotOpened = 3,
    kRefused = 4,  // a marking rule, the Deleted Items capacity, a question without --yes
    kInterrupted = 5,
};

// What the command line asks for. Options left out are empty, so that a saved cleaning's value
// stands unless the command line says otherwise.
struct CleanOptions {
    QString cleaning;  // NAME or FILE
    QStringList stores;
    QStringList folders;  // "Store/Inbox/Projects"
    bool subFolders = false;
    std::optional<cleanings::Cutoff> olderThan;
    std::optional<QString> subject;
    bool matchCase = false;
    bool matchWord = false;
    std::optional<QStringList> types;  // the type boxes' names in a cleaning: "mail", "tasks"
    bool unread = false;
    bool permanent = false;
    bool deleteFolders = false;
    bool apply = false;
    bool yes = false;
    QString report;
};

// Either the options, or what to print and the exit code (--help, --version, a mistake).
struct ParseOutcome {
    std::optional<CleanOptions> options;
    QString out;  // for standard output
    QString err;  // for standard error
    int exit = kDone;
};
ParseOutcome parseArguments(const QStringList& arguments);

QString helpText();

// The cleaning a run works with: the saved one with the command line's options over it, or the
// command line's alone. Without a saved cleaning the per-folder and per-item confirmations are
// off, as nobody is there to answer them; every other option starts as in the window.
struct Plan {
    cleanings::Cleaning cleaning;
    QStringList stores;  // the locations to open, in order
    cleanings::MarkMode mode = cleanings::MarkMode::Exactly;
    bool anyStore = false;  // folders are looked for by path in whatever stores are open
};
Plan makePlan(const CleanOptions& options, const std::optional<cleanings::Cleaning>& saved);

}  // namespace tf::cli
