#include "cli/clean_command.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include "app/main_window_logic.h"
#include "store/imap/credentials.h"
#include "store/store_locator.h"

namespace tf::cli {

namespace {

// The window's questions before a run, and the options that make it ask them.
struct AskingOption {
    const char* start;
    const char* name;
};
constexpr AskingOption kAskingOptions[] = {
    {"CAUTION!\r\n\r\nTurbo selected.", "Turbo"},
    {"CAUTION!\r\n\r\nALL selected FOLDERS", "Delete Folders (--delete-folders)"},
    {"Permanently delete items", "Permanent Delete (--permanent)"},
    {"Selecting the date ", "a cut-off of today or later (--older-than)"},
};

QString askingOption(const QString& question) {
    for (const AskingOption& option : kAskingOptions) {
        if (question.startsWith(QLatin1String(option.start))) {
            return QLatin1String(option.name);
        }
    }
    return plainText(question).section(QLatin1Char('\n'), 0, 0);
}

QString indented(const QString& text) {
    return QStringLiteral("  ") +
           plainText(text).replace(QLatin1Char('\n'), QStringLiteral("\n  "));
}

}  // namespace

QString plainText(const QString& text) {
    return QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

int CleanCommand::run(const CleanOptions& options) {
    options_ = &options;
    started_ = QDateTime::currentDateTimeUtc();
    return finish(execute(options));
}

void CleanCommand::say(const QString& text) {
    err_ << "tidyfold-clean: " << text << "\n";
}

int CleanCommand::execute(const CleanOptions& options) {
    std::optional<cleanings::Cleaning> saved;
    if (!options.cleaning.isEmpty()) {
        try {
            saved = cleanings::load(cleanings::cleaningFile(options.cleaning));
        } catch (const cleanings::CleaningError& error) {
            result_ = QStringLiteral("bad saved cleaning");
            say(error.message());
            return kUsage;
        }
    }
    Plan plan = makePlan(options, saved);
    cleaning_ = plan.cleaning;
    if (plan.stores.isEmpty()) {
        const QString fallback = store::defaultStorePath();
        if (!QFileInfo::exists(fallback)) {
            result_ = QStringLiteral("store not opened");
            say(QStringLiteral("the default store %1 does not exist yet. Open Tidyfold once, or "
                               "name a store with --store.")
                    .arg(fallback));
            return kStoreNotOpened;
        }
        plan.stores << fallback;
    }
    for (const QString& location : plan.stores) {
        stores_ << cleanings::withoutCredentials(location);
    }

    CommandPrompter prompter;
    CommandYield yield;
    NoWindow window;
    // A server account's password may come from the keyring; nobody is there to be asked. Its
    // long fetches show progress and hear Ctrl+C as the other loops do.
    store::imap::SystemKeyring keyring;
    const std::unique_ptr<ApplicationSource> source =
        openStores ? openStores(plan.stores)
                   : std::make_unique<store::StoreApplicationSource>(
                         plan.stores, store::defaultStorePath(),
                         store::ServerCredentials{&keyring, nullptr, [&yield] { yield.yield(); }});
    RemoveItemsLogic logic(prompter, yield, window, window, *source);
    yield.logic = &logic;
    yield.interrupted = interrupted;

    if (!logic.Form_Load() || interrupted() || !logic.flags.AllFoldersCached) {
        if (interrupted()) {
            result_ = QStringLiteral("interrupted");
            interruptedRun_ = true;
            say(QStringLiteral("interrupted while reading the stores; nothing was changed."));
            return kInterrupted;
        }
        result_ = QStringLiteral("store not opened");
        QStringList reasons = logic.session.startFailures;
        reasons.removeDuplicates();  // attaching and starting fail alike on a missing store
        for (QString reason : reasons) {
            // A store's own message may repeat its location, password and all.
            for (const QString& location : plan.stores) {
                reason.replace(location, cleanings::withoutCredentials(location));
            }
            say(plainText(reason).replace(QLatin1Char('\n'), QLatin1Char(' ')).simplified());
        }
        if (logic.session.startFailures.isEmpty()) {
            for (const auto& shown : prompter.shown) {
                if (CommandPrompter::isCritical(shown.buttons)) {
                    say(plainText(shown.text)
                            .replace(QLatin1Char('\n'), QLatin1Char(' '))
                            .simplified());
                }
            }
        }
        return kStoreNotOpened;
    }
    // What the stores said while loading is told once, as the window tells it.
    prompter.shown.clear();

    // From here on every message is the window speaking; refusals go to standard error.
    prompter.onShown = [&](const CommandPrompter::Shown& shown) {
        if (CommandPrompter::isItemFailure(shown.text)) {
            return;
        }
        messages_ << plainText(shown.text);
    };
    const cleanings::ApplyResult applied =
        cleanings::apply(logic, plan.cleaning, today, plan.mode, plan.anyStore);
    if (!applied.missing.isEmpty()) {
        result_ = QStringLiteral("bad saved cleaning");
        for (const QString& path : applied.missing) {
            say(QStringLiteral("the folder \"%1\" is not in the stores that are open; nothing was "
                               "changed.")
                    .arg(path));
        }
        return kUsage;
    }
    if (!applied.overridden.isEmpty()) {
        result_ = QStringLiteral("usage");
        say(QStringLiteral("these options do not go with Turbo or Delete Folders, which switch "
                           "them off in the window: %1.")
                .arg(applied.overridden.join(QStringLiteral(", "))));
        return kUsage;
    }
    if (!applied.refused.isEmpty()) {
        result_ = QStringLiteral("refused");
        for (const auto& shown : prompter.shown) {
            say(QStringLiteral("refused: ") + plainText(shown.text));
        }
        return kRefused;
    }

    // What the marks said on the way (a sub-folder the rules left out, say), in the window's words.
    const std::vector<CommandPrompter::Shown> marking = prompter.shown;

    // The report names every option as the run had it, the window's own start values included.
    const bool asAge = plan.cleaning.cutoff &&
                       plan.cleaning.cutoff->kind == cleanings::Cutoff::Kind::OlderThanDays;
    cleaning_ = cleanings::capture(logic, asAge, today);

    CurrentFolderWatch watch(logic.tree);
    logic.tree.setObserver(&watch);
    std::vector<int> nodes;
    for (const cleanings::FolderPreview& preview : cleanings::previewRun(logic)) {
        nodes.push_back(preview.node);
        folders_.push_back({preview.ref.store, cleanings::pathText(preview.ref.path), preview.items,
                            preview.selected, 0, 0});
    }
    // The gate asked as the window would ask it, every question answered Yes so that each one is
    // seen; it changes nothing.
    prompter.shown.clear();
    prompter.answerYes = true;
    logic.cleaning.checks.Check_Screen();
    const std::vector<CommandPrompter::Shown> gate = prompter.shown;
    QStringList asking;
    QStringList refusals;
    for (const auto& shown : gate) {
        if (CommandPrompter::isCritical(shown.buttons)) {
            refusals << shown.text;
        } else if (CommandPrompter::isQuestion(shown.buttons)) {
            asking << askingOption(shown.text);
        }
    }
    if (logic.controls.isOn(Control::chkConfirmFolders)) {
        asking << QStringLiteral("Confirm Folders");
    }
    if (logic.controls.isOn(Control::chkConfirmItems)) {
        asking << QStringLiteral("Confirm Items");
    }

    if (!options.apply) {
        out_ << "Dry run: nothing is changed. Add --apply to clean.\n\n";
        printTable(false);
        out_ << "\nThe window would say:\n";
        for (const auto& shown : marking) {
            out_ << indented(shown.text) << "\n";
        }
        for (const auto& shown : gate) {
            out_ << indented(shown.text) << "\n";
        }
        if (!asking.isEmpty()) {
            out_ << "\n--apply would ask about: " << asking.join(QStringLiteral(", "))
                 << " (add --yes to answer Yes).\n";
        }
        out_.flush();
        result_ = refusals.isEmpty() ? QStringLiteral("dry run") : QStringLiteral("refused");
        complete_ = refusals.isEmpty();
        for (const QString& refusal : refusals) {
            say(QStringLiteral("--apply would be refused: ") + plainText(refusal));
        }
        return refusals.isEmpty() ? kDone : kRefused;
    }

    if (!refusals.isEmpty()) {
        result_ = QStringLiteral("refused");
        for (const QString& refusal : refusals) {
            say(QStringLiteral("refused: ") + plainText(refusal));
        }
        return kRefused;
    }
    if (!asking.isEmpty() && !options.yes) {
        result_ = QStringLiteral("refused");
        say(QStringLiteral("--apply does not start: the run would ask about %1, and nobody is "
                           "here to answer. Add --yes to answer Yes.")
                .arg(asking.join(QStringLiteral(", "))));
        return kRefused;
    }
    if (interrupted()) {
        result_ = QStringLiteral("interrupted");
        interruptedRun_ = true;
        say(QStringLiteral("interrupted before the run; nothing was changed."));
        return kInterrupted;
    }

    // The run itself: the window's Clean button, with the window's messages printed.
    prompter.shown.clear();
    messages_.clear();
    for (const auto& shown : marking) {
        messages_ << plainText(shown.text);
        out_ << plainText(shown.text) << "\n";
    }
    prompter.answerYes = options.yes;
    prompter.onShown = [&](const CommandPrompter::Shown& shown) {
        if (CommandPrompter::isItemFailure(shown.text)) {
            const auto it = std::find(nodes.begin(), nodes.end(), watch.node);
            failedFolders_.push_back(
                it == nodes.end() ? QString()
                                  : folders_[static_cast<std::size_t>(it - nodes.begin())].path);
            return;
        }
        if (CommandPrompter::isQuestion(shown.buttons) &&
            shown.text != QLatin1String("Quit processing records?")) {
            answered_ << plainText(shown.text);
            if ((shown.buttons & 7) == Prompter::YesNoCancel) {
                return;  // one per item: counted in the report, not printed
            }
        }
        messages_ << plainText(shown.text);
        if (progressOnTerminal) {
            // The progress line gives way to the message, and comes back at the next yield.
            err_ << "\r\033[K";
            err_.flush();
        }
        out_ << plainText(shown.text) << "\n";
        out_.flush();
    };
    QElapsedTimer clock;
    clock.start();
    const bool tty = progressOnTerminal;
    if (tty) {
        yield.onProgress = [&] {
            const double seconds = std::max(0.001, clock.elapsed() / 1000.0);
            const long done = logic.cleaning.state.ProcessedCount;
            const QString where =
                watch.node != 0
                    ? logic.records[logic.treeBuilder.Get_Node_Index(watch.node)].Folder->Name()
                    : QString();
            err_ << "\r\033[K" << where << ": " << done << " of "
                 << logic.cleaning.state.SelectedTotal << " taken, "
                 << static_cast<long>(done / seconds) << " a second";
            err_.flush();
        };
    }
    applied_ = true;
    logic.cleaning.state.RunTrace.clear();
    logic.cleaning.cmdRun_Click();
    if (tty) {
        err_ << "\r\033[K";
        err_.flush();
    }
    failedItems_ = prompter.failures;
    const bool started = !logic.cleaning.state.RunTrace.isEmpty();
    const bool deleteFolders = cleaning_->option(Control::chkDeleteFolders) == 1;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const int node = nodes[i];
        folders_[i].taken =
            deleteFolders ? (logic.tree.attached(node) ? 0 : 1)
                          : logic.records[logic.treeBuilder.Get_Node_Index(node)].DeletedCount;
        folders_[i].failed = static_cast<long>(
            std::count(failedFolders_.begin(), failedFolders_.end(), folders_[i].path));
    }
    logic.tree.setObserver(nullptr);
    if (!started) {
        result_ = QStringLiteral("refused");
        for (const auto& shown : prompter.shown) {
            if (CommandPrompter::isCritical(shown.buttons)) {
                say(QStringLiteral("refused: ") + plainText(shown.text));
            }
        }
        return kRefused;
    }
    out_ << "\n";
    printTable(true);
    out_.flush();
    if (yield.cancelPressed()) {
        interruptedRun_ = true;
        result_ = QStringLiteral("interrupted");
        say(QStringLiteral("interrupted: the run stopped after the item it was on."));
        return kInterrupted;
    }
    complete_ = true;
    if (logic.cleaning.state.NotAllDeleted) {
        result_ = QStringLiteral("not all deleted");
        for (const auto& failure : failedItems_) {
            say(QStringLiteral("not deleted: %1: %2").arg(failure.item, failure.reason));
        }
        return kNotAllDeleted;
    }
    result_ = QStringLiteral("done");
    return kDone;
}

void CleanCommand::printTable(bool applied) {
    const bool deleteFolders = cleaning_ && cleaning_->option(Control::chkDeleteFolders) == 1;
    int width = 6;
    for (const FolderOutcome& f : folders_) {
        width = std::max(width, static_cast<int>(f.path.size()));
    }
    const auto cell = [](const QString& text, int w) { return text.rightJustified(w); };
    out_ << QStringLiteral("Folder").leftJustified(width) << cell(QStringLiteral("Items"), 9);
    if (applied) {
        out_ << cell(QStringLiteral("Taken"), 9) << cell(QStringLiteral("Failed"), 9)
             << cell(QStringLiteral("Kept"), 9);
    } else {
        out_ << cell(deleteFolders ? QStringLiteral("Deletes") : QStringLiteral("Would take"), 12);
    }
    out_ << "\n";
    long items = 0;
    long selected = 0;
    long taken = 0;
    long failed = 0;
    for (const FolderOutcome& f : folders_) {
        out_ << f.path.leftJustified(width) << cell(QString::number(f.items), 9);
        if (applied) {
            out_ << cell(QString::number(f.taken), 9) << cell(QString::number(f.failed), 9)
                 << cell(QString::number(f.kept()), 9);
        } else {
            out_ << cell(deleteFolders ? QStringLiteral("folder") : QString::number(f.selected),
                         12);
        }
        out_ << "\n";
        items += f.items;
        selected += f.selected;
        taken += f.taken;
        failed += f.failed;
    }
    const auto plural = [](long n, const char* word) {
        return QStringLiteral("%1 %2%3").arg(n).arg(QLatin1String(word)).arg(n == 1 ? "" : "s");
    };
    const QString what = deleteFolders ? QStringLiteral("folder") : QStringLiteral("item");
    if (applied) {
        out_ << "Total: " << plural(taken, deleteFolders ? "folder" : "item") << " taken, "
             << failed << " failed, from " << plural(static_cast<long>(folders_.size()), "folder")
             << ".\n";
    } else {
        out_ << "Total: " << plural(selected, deleteFolders ? "folder" : "item") << " of "
             << plural(items, "item") << " in "
             << plural(static_cast<long>(folders_.size()), "folder") << ".\n";
    }
    Q_UNUSED(what);
}

int CleanCommand::finish(int code) {
    exit_ = code;
    if (options_ != nullptr && !options_->report.isEmpty()) {
        writeReport();
    }
    return code;
}

void CleanCommand::writeReport() {
    QJsonObject report;
    report.insert(QStringLiteral("program"), QStringLiteral("tidyfold-clean"));
    report.insert(QStringLiteral("version"), QStringLiteral(TIDYFOLD_VERSION));
    report.insert(QStringLiteral("cleaning"), options_->cleaning);
    report.insert(QStringLiteral("apply"), options_->apply);
    report.insert(QStringLiteral("yes"), options_->yes);
    QJsonObject options;
    if (cleaning_) {
        options = QJsonDocument::fromJson(cleanings::toJson(*cleaning_)).object();
        options.remove(QStringLiteral("format"));
        options.remove(QStringLiteral("version"));
    }
    options.insert(QStringLiteral("stores"), QJsonArray::fromStringList(stores_));
    report.insert(QStringLiteral("options"), options);
    QJsonArray folders;
    for (const FolderOutcome& f : folders_) {
        folders.append(
            QJsonObject{{QStringLiteral("store"), cleanings::withoutCredentials(f.store)},
                        {QStringLiteral("path"), f.path},
                        {QStringLiteral("items"), static_cast<double>(f.items)},
                        {QStringLiteral("selected"), static_cast<double>(f.selected)},
                        {QStringLiteral("taken"), static_cast<double>(f.taken)},
                        {QStringLiteral("kept"), static_cast<double>(f.kept())},
                        {QStringLiteral("failed"), static_cast<double>(f.failed)}});
    }
    report.insert(QStringLiteral("folders"), folders);
    QJsonArray failed;
    for (std::size_t i = 0; i < failedItems_.size(); ++i) {
        failed.append(QJsonObject{
            {QStringLiteral("folder"), i < failedFolders_.size() ? failedFolders_[i] : QString()},
            {QStringLiteral("item"), failedItems_[i].item},
            {QStringLiteral("reason"), failedItems_[i].reason}});
    }
    report.insert(QStringLiteral("failedItems"), failed);
    // Questions are listed once each, with how often they were answered.
    QJsonArray answered;
    QStringList seen;
    for (const QString& question : answered_) {
        if (!seen.contains(question)) {
            seen << question;
            answered.append(QJsonObject{{QStringLiteral("question"), question},
                                        {QStringLiteral("answer"), QStringLiteral("Yes")},
                                        {QStringLiteral("times"), answered_.count(question)}});
        }
    }
    report.insert(QStringLiteral("answeredYes"), answered);
    report.insert(QStringLiteral("messages"), QJsonArray::fromStringList(messages_));
    const QDateTime finished = QDateTime::currentDateTimeUtc();
    report.insert(QStringLiteral("started"), started_.toString(Qt::ISODateWithMs));
    report.insert(QStringLiteral("finished"), finished.toString(Qt::ISODateWithMs));
    report.insert(QStringLiteral("seconds"), started_.msecsTo(finished) / 1000.0);
    report.insert(QStringLiteral("applied"), applied_);
    report.insert(QStringLiteral("complete"), complete_);
    report.insert(QStringLiteral("interrupted"), interruptedRun_);
    report.insert(QStringLiteral("result"), result_);
    report.insert(QStringLiteral("exitCode"), exit_);

    QSaveFile file(options_->report);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(report).toJson(QJsonDocument::Indented)) < 0 || !file.commit()) {
        say(QStringLiteral("the report %1 could not be written: %2")
                .arg(options_->report, file.errorString()));
    }
}

}  // namespace tf::cli
