// The Clean button end to end over the embedded store: what is asked, in which order, what the
// store holds afterwards, and what the window shows.
#include <QRegularExpression>

#include "tests/clean/clean_fixture.h"

namespace tf::testing {
namespace {

using CleanRun = CleanFixture;

const QString kQuit = QStringLiteral("Quit processing records?");

QString moveQuestion(const QString& path) {
    return QStringLiteral("Move items in \"Personal Folders\\") + path +
           QStringLiteral("\" folder to \"Deleted Items\" folder?");
}

TEST_F(CleanRun, MovesTheTickedFolderAndLeavesTheWindowMatchingTheStore) {
    loadLocal();
    tick("Inbox");
    clean();

    EXPECT_EQ(
        prompter.texts(),
        QStringList({QStringLiteral("3 items in 1 folder identified for cleaning."),
                     moveQuestion(QStringLiteral("Inbox")),
                     QStringLiteral(" 3 items were moved to the \"Deleted Items\" folder.")}));
    EXPECT_EQ(prompter.shown()[1].buttons, Prompter::YesNo);
    // The unread item stays, since Unread Items is off.
    EXPECT_EQ(inStore(QStringLiteral("Inbox")), 1);
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 5);
    EXPECT_TRUE(subjects(QStringLiteral("Deleted Items")).contains(QStringLiteral("Inbox item 3")));

    EXPECT_FALSE(checked("Inbox"));
    EXPECT_TRUE(panels.saw(QStringLiteral("1:Total Selected:  3")));
    EXPECT_TRUE(panels.saw(QStringLiteral("2:Total Processed:  3")));
    EXPECT_EQ(logic.status.text(1), QString());
    EXPECT_EQ(logic.status.text(2), QString());
    EXPECT_FALSE(logic.flags.Processing);
    EXPECT_EQ(logic.controls[Control::cmdRun].caption, QStringLiteral("&Clean"));
    EXPECT_TRUE(enabled(Control::trvFolders));
    // The cache was packed and Deleted Items read again, so both match the store.
    EXPECT_EQ(record(QStringLiteral("Inbox")).CachedCount, 1);
    EXPECT_EQ(record(QStringLiteral("Deleted Items")).CachedCount, 5);
    EXPECT_EQ(rows(), 1);
    EXPECT_TRUE(logic.flags.AllFoldersCached);
}

TEST_F(CleanRun, WalksChildrenBeforeParentsMarkingTheFolderAtWork) {
    loadLocal();
    set(Control::chkMarkSubFolders, 1);
    tick("Projects");
    std::vector<QString> marked;
    yield.onEvery = [&] {
        for (int n = 1; n <= logic.tree.count(); ++n) {
            const QString text = logic.tree.node(n).Text;
            if (text.endsWith(QLatin1String(" <<<<")) &&
                std::find(marked.begin(), marked.end(), text) == marked.end()) {
                marked.push_back(text);
            }
        }
    };
    clean();

    QStringList questions;
    for (const QString& text : prompter.texts()) {
        if (text.startsWith(QLatin1String("Move items in"))) {
            questions << text;
        }
    }
    EXPECT_EQ(questions, QStringList({moveQuestion(QStringLiteral("Projects\\Alpha\\Old")),
                                      moveQuestion(QStringLiteral("Projects\\Alpha")),
                                      moveQuestion(QStringLiteral("Projects\\Beta")),
                                      moveQuestion(QStringLiteral("Projects"))}));
    ASSERT_EQ(marked.size(), 4u);
    EXPECT_TRUE(marked[0].startsWith(QLatin1String("Old")));
    EXPECT_TRUE(marked[3].startsWith(QLatin1String("Projects")));

    // One line per visited node, children first, as many stars as the node is deep plus one.
    const QStringList trace = run().RunTrace.split(QStringLiteral("\r\n"));
    EXPECT_EQ(trace.first(), QStringLiteral("START"));
    EXPECT_TRUE(trace.last().startsWith(QLatin1String("*Personal Folders")));
    const auto line = [&](const char* pattern) {
        return static_cast<int>(trace.indexOf(QRegularExpression(QLatin1String(pattern))));
    };
    EXPECT_GE(line("^\\*{4}Old.*"), 0);
    EXPECT_LT(line("^\\*{4}Old.*"), line("^\\*{3}Alpha.*"));
    EXPECT_LT(line("^\\*{3}Alpha.*"), line("^\\*{3}Beta.*"));
    EXPECT_LT(line("^\\*{3}Beta.*"), line("^\\*{2}Projects.*"));
    EXPECT_EQ(trace.size(), logic.tree.count() + 1);

    EXPECT_TRUE(shown(QStringLiteral(" 11 items were moved to the \"Deleted Items\" folder.")));
    for (const char* folder :
         {"Projects", "Projects/Alpha", "Projects/Alpha/Old", "Projects/Beta"}) {
        EXPECT_EQ(inStore(QLatin1String(folder)), 0) << folder;
    }
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 13);
}

TEST_F(CleanRun, CancelAnsweredNoGoesOnAndYesStopsWithWhatWasDone) {
    auto layout = sampleStore();
    layout->addItems(layout->folder(QStringLiteral("Projects/Alpha")), 25);
    loadLocal({layout});
    tick("Alpha");
    tick("Beta");
    prompter.answerWhen(kQuit, Prompter::No).answerWhen(kQuit, Prompter::Yes);
    yield.when([&] { return run().ProcessedCount >= 3; }, [&] { clean(); });
    yield.when([&] { return run().ProcessedCount >= 7; }, [&] { clean(); });
    clean();

    EXPECT_EQ(prompter.texts().count(kQuit), 2);
    EXPECT_EQ(run().ProcessedCount, 7);
    EXPECT_TRUE(shown(QStringLiteral(" 7 items were moved to the \"Deleted Items\" folder.")));
    EXPECT_EQ(inStore(QStringLiteral("Projects/Alpha")), 23);
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 9);
    // Beta was not reached: its mark and its items stay.
    EXPECT_TRUE(checked("Beta"));
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 3);
    EXPECT_FALSE(shown(moveQuestion(QStringLiteral("Projects\\Beta"))));
    EXPECT_FALSE(logic.flags.Processing);
}

TEST_F(CleanRun, CancelInAnItemQuestionEndsTheRunAfterThatItem) {
    loadLocal();
    set(Control::chkConfirmItems, 1);
    tick("Beta");
    tick("Projects");
    prompter.answerWhen(QStringLiteral("Move item "), Prompter::Yes)
        .answerWhen(QStringLiteral("Move item "), Prompter::No)
        .answerWhen(QStringLiteral("Move item "), Prompter::Cancel);
    clean();

    EXPECT_TRUE(shown(QStringLiteral("Move item Beta item 1 to \"Deleted Items\" folder?")));
    EXPECT_EQ(shownStartingWith(QStringLiteral("Move item ")), 3);
    EXPECT_EQ(prompter.shown()[2].buttons, Prompter::YesNoCancel);
    // Item 1 went, item 2 was kept (No), item 3 was kept and stopped the run; Projects, walked
    // after its children, was not reached.
    EXPECT_EQ(subjects(QStringLiteral("Projects/Beta")),
              QStringList({QStringLiteral("Beta item 2"), QStringLiteral("Beta item 3")}));
    EXPECT_EQ(inStore(QStringLiteral("Projects")), 1);
    EXPECT_TRUE(checked("Projects"));
    EXPECT_TRUE(shown(QStringLiteral("1 item was moved to the \"Deleted Items\" folder.")));
}

TEST_F(CleanRun, DeclinedFolderIsUnmarkedAndUntouched) {
    loadLocal();
    tick("Inbox");
    tick("Beta");
    prompter.answerWhen(moveQuestion(QStringLiteral("Inbox")), Prompter::No);
    clean();

    EXPECT_FALSE(checked("Inbox"));
    EXPECT_EQ(inStore(QStringLiteral("Inbox")), 4);
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 0);
    EXPECT_TRUE(shown(QStringLiteral(" 3 items were moved to the \"Deleted Items\" folder.")));
}

TEST_F(CleanRun, CleanedFoldersKeepTheirMarksOnlyWhileAllFoldersShow) {
    loadLocal();
    set(Control::chkShowAllFolders, 1);
    tick("Beta");
    tick("Old");
    clean();
    EXPECT_TRUE(checked("Beta"));
    EXPECT_TRUE(checked("Old"));
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 0);
    EXPECT_EQ(rows(), 0);
}

TEST_F(CleanRun, NothingSelectedEndsWithNoItemsAndATotalOfNought) {
    loadLocal();
    set(Control::chkSelectSubject, 1);
    logic.controls.setCaption(Control::txtSelectSubject, QStringLiteral("no such words"));
    tick("Inbox");
    clean();
    EXPECT_EQ(prompter.texts().first(),
              QStringLiteral("0 items in 1 folder identified for cleaning."));
    EXPECT_EQ(prompter.texts().last(), QStringLiteral("No items were processed."));
    EXPECT_TRUE(panels.saw(QStringLiteral("2:Total Processed:  0")));
    EXPECT_EQ(inStore(QStringLiteral("Inbox")), 4);
}

TEST(RunSummary, NumbersComeWithTheClassicBlankAndTheEndingFollowsPermanentDelete) {
    EXPECT_EQ(CleaningRun::summaryText(true, true, 0), QStringLiteral("No folders were deleted."));
    EXPECT_EQ(CleaningRun::summaryText(true, true, 1), QStringLiteral("1 folder was deleted."));
    EXPECT_EQ(CleaningRun::summaryText(true, false, 12),
              QStringLiteral(" 12 folders were deleted."));
    EXPECT_EQ(CleaningRun::summaryText(false, false, 0),
              QStringLiteral("No items were processed."));
    EXPECT_EQ(CleaningRun::summaryText(false, true, 1), QStringLiteral("1 item was deleted."));
    EXPECT_EQ(CleaningRun::summaryText(false, false, 2),
              QStringLiteral(" 2 items were moved to the \"Deleted Items\" folder."));
}

// Delete Folders: the walk removes a branch from its leaves up, and ends with the item summary
// because the option is switched off before the summary reads it.
class FolderRun : public CleanFixture {
  protected:
    void SetUp() override {
        loadLocal();
        set(Control::chkDeleteFolders, 1);
    }
    static QString deleteQuestion(const QString& path) {
        return QStringLiteral("Delete items in \"Personal Folders\\") + path +
               QStringLiteral("\" folder?");
    }
};

TEST_F(FolderRun, RemovesTheBranchLeavesFirstAndResetsTheOption) {
    tick("Projects");
    clean();

    const QStringList texts = prompter.texts();
    EXPECT_EQ(texts.first(), QStringLiteral("4 folders identified for deletion."));
    EXPECT_EQ(texts[1],
              QStringLiteral("CAUTION!\r\n\r\nALL selected FOLDERS and their content will "
                             "be permanantly deleted.\r\n\r\nPress Yes to delete "
                             "folders?"));
    EXPECT_EQ(texts[2], deleteQuestion(QStringLiteral("Projects\\Alpha\\Old")));
    EXPECT_EQ(texts[5], deleteQuestion(QStringLiteral("Projects")));
    EXPECT_EQ(texts.last(), QStringLiteral(" 4 items were deleted."));
    EXPECT_TRUE(panels.saw(QStringLiteral("2:Total Processed:  4")));
    EXPECT_EQ(value(Control::chkDeleteFolders), 0);

    EXPECT_EQ(inStore(QStringLiteral("Projects")), -1);
    EXPECT_EQ(inStore(QStringLiteral("Deleted Items")), 2);
    EXPECT_EQ(inStore(QStringLiteral("Inbox")), 4);
    // The deleted folders have left the tree; their records hold nothing.
    EXPECT_EQ(node(QStringLiteral("Projects")), 0);
    const int top = logic.tree.topLevel().front();
    for (int child = logic.tree.Child(top); child != 0; child = logic.tree.Next(child)) {
        EXPECT_FALSE(logic.tree.node(child).Text.startsWith(QLatin1String("Projects")));
    }
}

TEST_F(FolderRun, DeclinedSubFolderKeepsEveryFolderAboveIt) {
    tick("Projects");
    prompter.answerWhen(deleteQuestion(QStringLiteral("Projects\\Alpha\\Old")), Prompter::No);
    clean();

    EXPECT_EQ(inStore(QStringLiteral("Projects/Alpha/Old")), 2);
    EXPECT_EQ(inStore(QStringLiteral("Projects/Alpha")), 5);
    EXPECT_EQ(inStore(QStringLiteral("Projects")), 1);
    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), -1);
    EXPECT_TRUE(shown(QStringLiteral("Not all items could be deleted")));
    EXPECT_EQ(shownStartingWith(QStringLiteral("An processing error has occurred.")), 1)
        << "the first report is answered Yes, which silences the rest of the run";
    EXPECT_TRUE(prompter.texts().filter(QStringLiteral("Delete Folder - Remove")).size() == 1);
    EXPECT_FALSE(checked("Alpha"));
    EXPECT_FALSE(checked("Projects"));
    EXPECT_EQ(run().ProcessedCount, 1);
}

TEST_F(FolderRun, FolderWhoseParentCannotBeHadStaysUnmarked) {
    faults->parentFailsFor = QStringLiteral("Beta");
    tick("Beta");
    clean();

    EXPECT_EQ(inStore(QStringLiteral("Projects/Beta")), 3);
    EXPECT_FALSE(checked("Beta"));
    const QStringList reports = prompter.texts().filter(QStringLiteral("An processing error"));
    ASSERT_EQ(reports.size(), 1);
    EXPECT_TRUE(reports[0].contains(QStringLiteral("Delete Folder - Set Parent")));
    EXPECT_TRUE(reports[0].contains(QStringLiteral("Folder - Beta")));
    const QStringList texts = prompter.texts();
    EXPECT_EQ(texts.indexOf(QStringLiteral("Not all items could be deleted")), texts.size() - 2);
    EXPECT_EQ(prompter.shown()[static_cast<std::size_t>(texts.size() - 2)].buttons,
              Prompter::OkOnly | Prompter::Critical);
    EXPECT_EQ(texts.last(), QStringLiteral("No items were processed."));
}

}  // namespace
}  // namespace tf::testing
