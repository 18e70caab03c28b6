#include "cli/clean_options.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include "window/type_boxes.h"

namespace tf::cli {

namespace {

const QString kTry = QStringLiteral("Try 'tidyfold-clean --help' for the options.\n");

ParseOutcome usage(const QString& why) {
    ParseOutcome outcome;
    outcome.err = QStringLiteral("tidyfold-clean: ") + why + QStringLiteral("\n") + kTry;
    outcome.exit = kUsage;
    return outcome;
}

// "mail", "appointment" or "appointments": the names of the window's type boxes.
std::optional<QString> typeNamed(const QString& word) {
    const QString w = word.trimmed().toLower();
    for (const TypeBox& box : kTypeBoxes) {
        const QString name = QString::fromLatin1(box.caption).toLower();
        if (w == name || w + QLatin1Char('s') == name) {
            return name;
        }
    }
    return std::nullopt;
}

}  // namespace

QString helpText() {
    return QStringLiteral(
        "Usage: tidyfold-clean [NAME|FILE] [options]\n"
        "\n"
        "Cleans mail stores without a window, with the window's own rules. Runs a saved\n"
        "cleaning (NAME is one saved in the window with File > Save Cleaning As..., FILE a\n"
        "cleaning file), or the folders and filters given as options, or both: the options\n"
        "override the saved cleaning. Nothing is changed unless --apply is given.\n"
        "\n"
        "What to clean:\n"
        "  --store LOCATION       Opens the store at LOCATION (local:FILE, FILE or\n"
        "                         maildir:FOLDER) instead of the cleaning's stores. Repeatable.\n"
        "  --folder PATH          Marks the folder at PATH, as Store/Inbox/Projects. Repeatable.\n"
        "  --sub-folders          Marks the sub-folders of each marked folder too.\n"
        "  --older-than DAYS|YYYY-MM-DD\n"
        "                         Takes items older than DAYS days, or dated on or before the "
        "day.\n"
        "  --subject TEXT         Takes items whose subject begins with TEXT.\n"
        "  --match-case           The subject must match in case.\n"
        "  --match-word           The subject must be TEXT as a whole.\n"
        "  --types LIST           Takes items of these types only: mail, appointments,\n"
        "                         contacts, journals, tasks, notes (comma-separated).\n"
        "  --unread               Takes unread items too.\n"
        "  --permanent            Deletes for good instead of moving to \"Deleted Items\".\n"
        "  --delete-folders       Deletes the marked folders themselves.\n"
        "\n"
        "How to run:\n"
        "  --apply                Cleans. Without it, a dry run shows what would go.\n"
        "  --yes                  Answers Yes to the questions the window would ask (Turbo,\n"
        "                         Delete Folders, Permanent Delete, a cut-off of today or later,\n"
        "                         Confirm Folders, Confirm Items). Without it --apply refuses\n"
        "                         to start when the run would ask one.\n"
        "  --report FILE          Writes a JSON report of the run to FILE.\n"
        "  -h, --help             Shows this text.\n"
        "  --version              Shows the version.\n"
        "\n"
        "Exit codes:\n"
        "  0  done\n"
        "  1  not all items could be deleted\n"
        "  2  usage error, or a saved cleaning that cannot be used\n"
        "  3  a store could not be opened\n"
        "  4  refused by a safety check (a marking rule, the Deleted Items capacity, a\n"
        "     question without --yes)\n"
        "  5  interrupted (SIGINT or SIGTERM); the current item was finished\n");
}

ParseOutcome parseArguments(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, {});
    const QCommandLineOption version(QStringLiteral("version"), {});
    const QCommandLineOption store(QStringLiteral("store"), {}, QStringLiteral("location"));
    const QCommandLineOption folder(QStringLiteral("folder"), {}, QStringLiteral("path"));
    const QCommandLineOption subFolders(QStringLiteral("sub-folders"), {});
    const QCommandLineOption olderThan(QStringLiteral("older-than"), {}, QStringLiteral("when"));
    const QCommandLineOption subject(QStringLiteral("subject"), {}, QStringLiteral("text"));
    const QCommandLineOption matchCase(QStringLiteral("match-case"), {});
    const QCommandLineOption matchWord(QStringLiteral("match-word"), {});
    const QCommandLineOption types(QStringLiteral("types"), {}, QStringLiteral("list"));
    const QCommandLineOption unread(QStringLiteral("unread"), {});
    const QCommandLineOption permanent(QStringLiteral("permanent"), {});
    const QCommandLineOption deleteFolders(QStringLiteral("delete-folders"), {});
    const QCommandLineOption apply(QStringLiteral("apply"), {});
    const QCommandLineOption yes(QStringLiteral("yes"), {});
    const QCommandLineOption report(QStringLiteral("report"), {}, QStringLiteral("file"));
    parser.addOptions({help, version, store, folder, subFolders, olderThan, subject, matchCase,
                       matchWord, types, unread, permanent, deleteFolders, apply, yes, report});
    if (!parser.parse(arguments)) {
        return usage(parser.errorText());
    }
    ParseOutcome outcome;
    if (parser.isSet(help)) {
        outcome.out = helpText();
        return outcome;
    }
    if (parser.isSet(version)) {
        outcome.out = QStringLiteral("tidyfold-clean %1\n").arg(QStringLiteral(TIDYFOLD_VERSION));
        return outcome;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1) {
        return usage(QStringLiteral("name one saved cleaning, not %1.").arg(positional.size()));
    }
    for (const QCommandLineOption& once : {olderThan, subject, types, report}) {
        if (parser.values(once).size() > 1) {
            return usage(QStringLiteral("--%1 may be given once.").arg(once.names().first()));
        }
    }

    CleanOptions o;
    o.cleaning = positional.value(0);
    o.stores = parser.values(store);
    o.folders = parser.values(folder);
    for (const QString& path : o.folders) {
        if (path.split(QLatin1Char('/'), Qt::SkipEmptyParts).isEmpty()) {
            return usage(
                QStringLiteral("--folder wants a path such as Store/Inbox, not \"%1\".").arg(path));
        }
    }
    if (o.cleaning.isEmpty() && o.folders.isEmpty()) {
        return usage(QStringLiteral("nothing to clean: name a saved cleaning or a --folder."));
    }
    o.subFolders = parser.isSet(subFolders);
    if (parser.isSet(olderThan)) {
        const QString when = parser.value(olderThan).trimmed();
        static const QRegularExpression days(QStringLiteral("^\\d{1,5}$"));
        if (days.match(when).hasMatch() && when.toInt() <= 36500) {
            o.olderThan =
                cleanings::Cutoff{cleanings::Cutoff::Kind::OlderThanDays, when.toInt(), {}};
        } else if (const QDate date = QDate::fromString(when, Qt::ISODate);
                   date.isValid() && when.size() == 10) {
            o.olderThan = cleanings::Cutoff{cleanings::Cutoff::Kind::FixedDate, 0, date};
        } else {
            return usage(QStringLiteral("--older-than wants a number of days (0 to 36500) or a "
                                        "date as YYYY-MM-DD, not \"%1\".")
                             .arg(when));
        }
    }
    if (parser.isSet(subject)) {
        if (parser.value(subject).trimmed().isEmpty()) {
            return usage(QStringLiteral("--subject wants a text."));
        }
        o.subject = parser.value(subject);
    }
    o.matchCase = parser.isSet(matchCase);
    o.matchWord = parser.isSet(matchWord);
    if ((o.matchCase || o.matchWord) && !o.subject && o.cleaning.isEmpty()) {
        return usage(QStringLiteral("--match-case and --match-word go with --subject."));
    }
    if (parser.isSet(types)) {
        QStringList names;
        for (const QString& word : parser.value(types).split(QLatin1Char(','))) {
            const std::optional<QString> name = typeNamed(word);
            if (!name) {
                return usage(QStringLiteral("\"%1\" is not an item type; --types takes mail, "
                                            "appointments, contacts, journals, tasks, notes.")
                                 .arg(word.trimmed()));
            }
            names << *name;
        }
        o.types = names;
    }
    o.unread = parser.isSet(unread);
    o.permanent = parser.isSet(permanent);
    o.deleteFolders = parser.isSet(deleteFolders);
    o.apply = parser.isSet(apply);
    o.yes = parser.isSet(yes);
    o.report = parser.value(report);
    outcome.options = o;
    return outcome;
}

Plan makePlan(const CleanOptions& options, const std::optional<cleanings::Cleaning>& saved) {
    Plan plan;
    if (saved) {
        plan.cleaning = *saved;
    } else {
        plan.cleaning.setOption(Control::chkConfirmFolders, 0);
        plan.cleaning.setOption(Control::chkConfirmItems, 0);
    }
    cleanings::Cleaning& c = plan.cleaning;
    if (!options.folders.isEmpty()) {
        c.folders.clear();
        for (const QString& path : options.folders) {
            c.folders.push_back({QString(), path.split(QLatin1Char('/'), Qt::SkipEmptyParts)});
        }
        // Folders named on the command line are ticked as a user ticks them, sub-folders and all
        // when asked for.
        plan.mode = cleanings::MarkMode::AsTicked;
        plan.anyStore = true;
    }
    if (options.subFolders) {
        c.setOption(Control::chkMarkSubFolders, 1);
        plan.mode = cleanings::MarkMode::AsTicked;
    }
    if (options.olderThan) {
        c.cutoff = options.olderThan;
        c.setOption(Control::chkSelectDate, 1);
    }
    if (options.subject) {
        c.subject = *options.subject;
        c.setOption(Control::chkSelectSubject, 1);
    }
    if (options.matchCase) {
        c.setOption(Control::chkMatchCase, 1);
    }
    if (options.matchWord) {
        c.setOption(Control::chkMatchWord, 1);
    }
    if (options.types) {
        c.setOption(Control::chkSelectType, 1);
        for (const TypeBox& box : kTypeBoxes) {
            c.setOption(
                box.control,
                options.types->contains(QString::fromLatin1(box.caption).toLower()) ? 1 : 0);
        }
    }
    if (options.unread) {
        c.setOption(Control::chkSelectUnread, 1);
    }
    if (options.permanent) {
        c.setOption(Control::chkPermanentDelete, 1);
    }
    if (options.deleteFolders) {
        c.setOption(Control::chkDeleteFolders, 1);
    }
    if (!options.stores.isEmpty()) {
        plan.stores = options.stores;
        plan.anyStore = true;
    } else {
        for (const cleanings::FolderRef& ref : c.folders) {
            if (!ref.store.isEmpty() && !plan.stores.contains(ref.store)) {
                plan.stores << ref.store;
            }
        }
    }
    return plan;
}

}  // namespace tf::cli
