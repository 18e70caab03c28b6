// The command line of tidyfold-clean: every option read as documented, mistakes answered with
// one line and exit code 2, and the command line's options laid over a saved cleaning.
#include "cli/clean_options.h"

#include <gtest/gtest.h>

#include "tests/support/qt_printers.h"

namespace tf::cli {
namespace {

ParseOutcome parse(QStringList args) {
    args.prepend(QStringLiteral("tidyfold-clean"));
    return parseArguments(args);
}

TEST(CleanOptionsTest, EveryOptionIsRead) {
    const ParseOutcome p = parse({"monthly",
                                  "--store",
                                  "a.tidystore",
                                  "--store",
                                  "maildir:/m",
                                  "--folder",
                                  "Store/Inbox/Projects",
                                  "--folder",
                                  "Store/Lists",
                                  "--sub-folders",
                                  "--older-than",
                                  "90",
                                  "--subject",
                                  "Re:",
                                  "--match-case",
                                  "--match-word",
                                  "--types",
                                  "Mail, task,Notes",
                                  "--unread",
                                  "--permanent",
                                  "--delete-folders",
                                  "--apply",
                                  "--yes",
                                  "--report",
                                  "r.json"});
    ASSERT_TRUE(p.options) << p.err.toStdString();
    const CleanOptions& o = *p.options;
    EXPECT_EQ(o.cleaning, QStringLiteral("monthly"));
    EXPECT_EQ(o.stores, QStringList({"a.tidystore", "maildir:/m"}));
    EXPECT_EQ(o.folders, QStringList({"Store/Inbox/Projects", "Store/Lists"}));
    EXPECT_TRUE(o.subFolders);
    EXPECT_EQ(o.olderThan, (cleanings::Cutoff{cleanings::Cutoff::Kind::OlderThanDays, 90, {}}));
    EXPECT_EQ(o.subject, QStringLiteral("Re:"));
    EXPECT_TRUE(o.matchCase && o.matchWord && o.unread && o.permanent && o.deleteFolders);
    EXPECT_EQ(o.types, QStringList({"mail", "tasks", "notes"}));
    EXPECT_TRUE(o.apply && o.yes);
    EXPECT_EQ(o.report, QStringLiteral("r.json"));

    const ParseOutcome dated = parse({"--folder", "S/Inbox", "--older-than", "2024-02-29"});
    ASSERT_TRUE(dated.options);
    EXPECT_EQ(dated.options->olderThan,
              (cleanings::Cutoff{cleanings::Cutoff::Kind::FixedDate, 0, QDate(2024, 2, 29)}));
    EXPECT_FALSE(dated.options->apply);  // a dry run unless asked
}

TEST(CleanOptionsTest, MistakesGetOneLineAndExitCodeTwo) {
    const std::pair<QStringList, const char*> cases[] = {
        {{"--folder", "S/Inbox", "--bogus"}, "Unknown option 'bogus'."},
        {{}, "nothing to clean: name a saved cleaning or a --folder."},
        {{"a", "b"}, "name one saved cleaning, not 2."},
        {{"--folder", "S/Inbox", "--older-than", "soon"}, "--older-than wants a number of days"},
        {{"--folder", "S/Inbox", "--older-than", "2024-02-30"}, "--older-than wants a number"},
        {{"--folder", "S/Inbox", "--older-than", "99999"}, "--older-than wants a number"},
        {{"--folder", "S/Inbox", "--types", "mail,faxes"}, "\"faxes\" is not an item type"},
        {{"--folder", "S/Inbox", "--subject", " "}, "--subject wants a text."},
        {{"--folder", "S/Inbox", "--match-word"}, "--match-case and --match-word go with"},
        {{"--folder", "/"}, "--folder wants a path such as Store/Inbox"},
        {{"--folder", "S/Inbox", "--report", "a", "--report", "b"}, "--report may be given once."},
        {{"--folder", "S/Inbox", "--store"}, "Missing value after '--store'."},
    };
    for (const auto& [args, why] : cases) {
        SCOPED_TRACE(args.join(' ').toStdString());
        const ParseOutcome p = parse(args);
        EXPECT_FALSE(p.options);
        EXPECT_EQ(p.exit, kUsage);
        EXPECT_TRUE(p.err.startsWith(QStringLiteral("tidyfold-clean: ")));
        EXPECT_TRUE(p.err.contains(QLatin1String(why))) << p.err.toStdString();
        EXPECT_TRUE(p.out.isEmpty());
    }
}

TEST(CleanOptionsTest, HelpListsEveryOptionAndEveryExitCode) {
    const ParseOutcome p = parse({"--help"});
    EXPECT_FALSE(p.options);
    EXPECT_EQ(p.exit, kDone);
    for (const char* word : {"--store",
                             "--folder",
                             "--sub-folders",
                             "--older-than",
                             "--subject",
                             "--match-case",
                             "--match-word",
                             "--types",
                             "--unread",
                             "--permanent",
                             "--delete-folders",
                             "--apply",
                             "--yes",
                             "--report",
                             "0  done",
                             "1  not all items could be deleted",
                             "2  usage error",
                             "3  a store could not be opened",
                             "4  refused by a safety check",
                             "5  interrupted"}) {
        EXPECT_TRUE(p.out.contains(QLatin1String(word))) << word;
    }
}

TEST(CleanOptionsTest, WithoutASavedCleaningNobodyIsAskedPerFolderOrItem) {
    const ParseOutcome p = parse({"--folder", "Store/Inbox", "--permanent"});
    ASSERT_TRUE(p.options);
    const Plan plan = makePlan(*p.options, std::nullopt);
    EXPECT_EQ(plan.cleaning.option(Control::chkConfirmFolders), 0);
    EXPECT_EQ(plan.cleaning.option(Control::chkConfirmItems), 0);
    EXPECT_EQ(plan.cleaning.option(Control::chkPermanentDelete), 1);
    // Everything else starts as in the window: left out of the plan.
    EXPECT_FALSE(plan.cleaning.option(Control::chkSelectUnread));
    EXPECT_FALSE(plan.cleaning.option(Control::chkMarkSubFolders));
    EXPECT_EQ(plan.mode, cleanings::MarkMode::AsTicked);
    EXPECT_TRUE(plan.anyStore);
    ASSERT_EQ(plan.cleaning.folders.size(), 1u);
    EXPECT_EQ(plan.cleaning.folders[0].path, QStringList({"Store", "Inbox"}));
    EXPECT_TRUE(plan.stores.isEmpty());  // the default store
}

TEST(CleanOptionsTest, TheCommandLineOverridesTheSavedCleaning) {
    cleanings::Cleaning saved;
    saved.folders = {{"local:/a.tidystore", {"P", "Inbox"}},
                     {"maildir:/m", {"m", "Lists"}},
                     {"local:/a.tidystore", {"P", "Archive"}}};
    saved.setOption(Control::chkConfirmItems, 1);
    saved.setOption(Control::chkSelectSubject, 0);
    saved.setOption(Control::chkSelectType, 0);
    saved.setOption(Control::chkType43, 1);
    saved.subject = QStringLiteral("old");
    saved.cutoff = cleanings::Cutoff{cleanings::Cutoff::Kind::FixedDate, 0, QDate(2020, 1, 1)};

    const ParseOutcome bare = parse({"monthly"});
    ASSERT_TRUE(bare.options);
    const Plan kept = makePlan(*bare.options, saved);
    EXPECT_EQ(kept.cleaning, saved);
    EXPECT_EQ(kept.stores, QStringList({"local:/a.tidystore", "maildir:/m"}));
    EXPECT_EQ(kept.mode, cleanings::MarkMode::Exactly);
    EXPECT_FALSE(kept.anyStore);
    EXPECT_EQ(kept.cleaning.option(Control::chkConfirmItems), 1);  // the cleaning turned it on

    const ParseOutcome p = parse({"monthly", "--store", "b.tidystore", "--subject", "new",
                                  "--older-than", "30", "--types", "tasks"});
    ASSERT_TRUE(p.options);
    const Plan plan = makePlan(*p.options, saved);
    EXPECT_EQ(plan.stores, QStringList({"b.tidystore"}));
    EXPECT_TRUE(plan.anyStore);
    EXPECT_EQ(plan.cleaning.folders, saved.folders);
    EXPECT_EQ(plan.cleaning.subject, QStringLiteral("new"));
    EXPECT_EQ(plan.cleaning.option(Control::chkSelectSubject), 1);
    EXPECT_EQ(plan.cleaning.cutoff->kind, cleanings::Cutoff::Kind::OlderThanDays);
    EXPECT_EQ(plan.cleaning.option(Control::chkSelectDate), 1);
    EXPECT_EQ(plan.cleaning.option(Control::chkSelectType), 1);
    EXPECT_EQ(plan.cleaning.option(Control::chkType48), 1);
    EXPECT_EQ(plan.cleaning.option(Control::chkType43), 0);
}

}  // namespace
}  // namespace tf::cli
