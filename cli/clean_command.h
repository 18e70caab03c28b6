#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QTextStream>
#include <functional>
#include <memory>
#include <vector>

#include "cli/clean_options.h"
#include "cli/headless_parts.h"
#include "outlook/application_source.h"

namespace tf::cli {

// One folder's lines in the summary and the report.
struct FolderOutcome {
    QString store;
    QString path;
    long items = 0;     // items in the folder before the run
    long selected = 0;  // what the run would take
    long taken = 0;
    long failed = 0;
    long kept() const { return items - taken; }
};

// The whole command: reads the saved cleaning, opens the stores through the window's start-up,
// puts the cleaning into the window's logic, shows what the run would take and, with --apply,
// presses Clean. Returns the exit code.
class CleanCommand {
  public:
    CleanCommand(QTextStream& out, QTextStream& err) : out_(out), err_(err) {}

    int run(const CleanOptions& options);

    // Tells whether SIGINT or SIGTERM has asked the command to stop.
    std::function<bool()> interrupted = [] { return false; };
    // Whether the one-line progress display goes to standard error.
    bool progressOnTerminal = false;
    // The stores at these locations, as the window opens them; a test may wrap them.
    std::function<std::unique_ptr<ApplicationSource>(const QStringList&)> openStores;
    // Today, for the cut-off's age; a test fixes it.
    QDate today = QDate::currentDate();

  private:
    int execute(const CleanOptions& options);
    int finish(int code);
    void say(const QString& text);
    void printTable(bool applied);
    void writeReport();

    QTextStream& out_;
    QTextStream& err_;
    const CleanOptions* options_ = nullptr;
    std::optional<cleanings::Cleaning> cleaning_;
    QStringList stores_;
    std::vector<FolderOutcome> folders_;
    std::vector<CommandPrompter::FailedItem> failedItems_;
    std::vector<QString> failedFolders_;  // the folder of each failed item
    QStringList messages_;                // what the window said, in order
    QStringList answered_;                // the questions answered Yes
    QString result_;
    bool applied_ = false;
    bool complete_ = false;
    bool interruptedRun_ = false;
    QDateTime started_;
    int exit_ = kDone;
};

// The lines of a message as a terminal shows them.
QString plainText(const QString& text);

}  // namespace tf::cli
