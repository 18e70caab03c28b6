// A cleaning taken from the window and put back into it: the same marks and options, every tick
// through the marking rules (a refused one with the rule's own message), nothing changed when a
// folder is missing, and a preview that counts what the run then takes.
#include "cleanings/cleaning_in_window.h"

#include <gtest/gtest.h>

#include "tests/clean/clean_fixture.h"
#include "tests/support/qt_printers.h"
#include "tests/support/temp_home.h"

namespace tf::cleanings {
namespace {

using testing::dated;
using testing::MemoryStore;

const QDate kToday(2026, 11, 23);
const QString kStore = QStringLiteral("memory:Personal Folders");

class CleaningInWindowTest : public testing::CleanFixture {
  protected:
    static QStringList path(const char* below) {
        QStringList p{QStringLiteral("Personal Folders")};
        p << QString::fromLatin1(below).split(QLatin1Char('/'));
        return p;
    }
    QStringList marked() const {
        QStringList names;
        for (const OpenFolder& f : openFolders(logic)) {
            if (logic.tree.node(f.node).Checked) {
                names << pathText(f.ref.path);
            }
        }
        return names;
    }
    Cleaning cleaningOf(std::initializer_list<const char*> folders) {
        Cleaning c;
        for (const char* f : folders) {
            c.folders.push_back({kStore, path(f)});
        }
        return c;
    }
    ApplyResult put(const Cleaning& c, MarkMode mode = MarkMode::Exactly, bool anyStore = false) {
        return apply(logic, c, kToday, mode, anyStore);
    }
};

TEST_F(CleaningInWindowTest, FoldersAreNamedByStoreAndPathInTreeOrder) {
    load();
    const std::vector<OpenFolder> open = openFolders(logic);
    QStringList paths;
    for (const OpenFolder& f : open) {
        EXPECT_EQ(f.ref.store, kStore);
        paths << pathText(f.ref.path);
    }
    EXPECT_TRUE(paths.contains(QStringLiteral("Personal Folders/Projects/Alpha/Old")));
    EXPECT_EQ(paths.front(), QStringLiteral("Personal Folders"));
}

TEST_F(CleaningInWindowTest, WhatTheWindowHadComesBackAfterEverythingWasReset) {
    load();
    set(Control::chkPermanentDelete, 1);
    set(Control::chkConfirmFolders, 1);
    set(Control::chkSelectType, 1);
    set(Control::chkType48, 1);
    logic.controls.setCaption(Control::txtSelectSubject, QStringLiteral("Re"));
    set(Control::chkSelectSubject, 1);
    set(Control::chkMatchWord, 1);
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = toOleDate(QDate(2026, 8, 24)); });
    set(Control::chkSelectDate, 1);
    set(Control::chkMarkSubFolders, 1);
    tick("Projects");  // and its sub-folders with it
    tick("Beta");      // unticked again by hand
    tick("Deleted Items");
    const QStringList before = marked();
    ASSERT_EQ(before, QStringList({"Personal Folders/Deleted Items", "Personal Folders/Projects",
                                   "Personal Folders/Projects/Alpha",
                                   "Personal Folders/Projects/Alpha/Old"}));
    const Cleaning saved = capture(logic, true, kToday);
    EXPECT_EQ(saved.cutoff, (Cutoff{Cutoff::Kind::OlderThanDays, 90, {}}));

    logic.processing.mnuResetOptions_Click();
    logic.marking.mnuUnmark_Click();
    logic.controls.setCaption(Control::txtSelectSubject, {});
    ASSERT_TRUE(marked().isEmpty());
    ASSERT_EQ(value(Control::chkSelectSubject), 0);

    const ApplyResult result = put(saved);
    EXPECT_TRUE(result.changed());
    EXPECT_TRUE(result.refused.isEmpty()) << result.refused.join(';').toStdString();
    EXPECT_TRUE(result.overridden.isEmpty());
    // Beta stays unmarked although ticking Projects with its sub-folders carries it along.
    EXPECT_EQ(marked(), before);
    EXPECT_EQ(capture(logic, true, kToday), saved);
    EXPECT_EQ(logic.controls[Control::txtSelectSubject].caption, QStringLiteral("Re"));
    EXPECT_EQ(toQDate(logic.controls[Control::dtpCutoffDate].date), QDate(2026, 8, 24));
}

TEST_F(CleaningInWindowTest, AMarkTheRulesForbidIsRefusedWithTheRulesOwnMessage) {
    load();
    Cleaning c = cleaningOf({"Inbox", "Projects"});
    c.setOption(Control::chkDeleteFolders, 1);
    const ApplyResult result = put(c);
    EXPECT_EQ(result.refused, QStringList({"Personal Folders/Inbox"}));
    EXPECT_FALSE(checked("Inbox"));
    EXPECT_TRUE(checked("Projects"));
    EXPECT_TRUE(
        shown(QStringLiteral("Cannot mark a default folder while \" Delete Folders\" is marked.")));

    // Sub-folders carried along by Delete Folders are not unticked again: they go with their
    // parent whatever the marks say, and the rules would refuse it.
    EXPECT_TRUE(checked("Alpha"));
    EXPECT_FALSE(
        shown(QStringLiteral("Cannot unmark a folder while its parent folder is marked "
                             "and \"Delete Folders\" is also marked.")));

    Cleaning moving = cleaningOf({"Deleted Items"});
    moving.setOption(Control::chkPermanentDelete, 0);
    const ApplyResult deleted = put(moving);
    EXPECT_EQ(deleted.refused, QStringList({"Personal Folders/Deleted Items"}));
    EXPECT_EQ(prompter.last().text,
              QStringLiteral(
                  "Cannot marked \"Deleted Items\" folder if Permanent Delete box is unchecked."));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);
}

TEST_F(CleaningInWindowTest, AMissingFolderChangesNothing) {
    load();
    tick("Inbox");
    set(Control::chkTurbo, 1);
    const auto options = optionValues();
    prompter.forget();
    Cleaning c = cleaningOf({"Projects", "Gone"});
    c.setOption(Control::chkTurbo, 0);
    const ApplyResult result = put(c);
    EXPECT_FALSE(result.changed());
    EXPECT_EQ(result.missing, QStringList({"Personal Folders/Gone"}));
    EXPECT_EQ(marked(), QStringList({"Personal Folders/Inbox"}));
    EXPECT_EQ(optionValues(), options);
    EXPECT_TRUE(prompter.texts().isEmpty());
}

TEST_F(CleaningInWindowTest, ExactlyUnticksWhatSubFoldersCarriedAlongAndAsTickedKeepsIt) {
    load();
    Cleaning c = cleaningOf({"Projects"});
    c.setOption(Control::chkMarkSubFolders, 1);
    put(c, MarkMode::Exactly);
    EXPECT_EQ(marked(), QStringList({"Personal Folders/Projects"}));
    put(c, MarkMode::AsTicked);
    EXPECT_EQ(marked(), QStringList({"Personal Folders/Projects", "Personal Folders/Projects/Alpha",
                                     "Personal Folders/Projects/Alpha/Old",
                                     "Personal Folders/Projects/Beta"}));
}

TEST_F(CleaningInWindowTest, OtherStoresAreSearchedByPathOnlyWhenAsked) {
    load();
    Cleaning c;
    c.folders = {{QStringLiteral("local:/elsewhere.tidystore"), {"Mailbox", "Projects", "Beta"}}};
    EXPECT_FALSE(put(c).changed());
    const ApplyResult result = put(c, MarkMode::Exactly, true);
    EXPECT_TRUE(result.changed());
    EXPECT_EQ(marked(), QStringList({"Personal Folders/Projects/Beta"}));
}

TEST_F(CleaningInWindowTest, OptionsTheInterlocksSwitchOffAreNamed) {
    load();
    Cleaning c = cleaningOf({"Projects"});
    c.setOption(Control::chkSelectDate, 1);
    c.setOption(Control::chkDeleteFolders, 1);
    EXPECT_EQ(put(c).overridden, QStringList({"selectDate"}));
}

TEST_F(CleaningInWindowTest, ThePreviewCountsWhatTheGateCountsAndTheRunTakes) {
    auto s =
        MemoryStore::withDefaultFolders(QStringLiteral("Personal Folders"), QStringLiteral("S"));
    const auto inbox = s->folder(QStringLiteral("Inbox"));
    for (int day = 1; day <= 28; ++day) {
        s->addItem(inbox, dated(2020 + day % 3, 6, day, day % 2 ? "Re: a" : "Fw: b"));
    }
    const auto lists = s->addFolder(s->top(), QStringLiteral("Lists"));
    for (int day = 1; day <= 9; ++day) {
        s->addItem(lists, dated(2021, 1, day, "Re: list"));
    }
    loadLocal({s});
    Cleaning c = cleaningOf({"Inbox", "Lists"});
    c.subject = QStringLiteral("re");
    c.setOption(Control::chkSelectSubject, 1);
    c.cutoff = Cutoff{Cutoff::Kind::FixedDate, 0, QDate(2021, 6, 30)};
    c.setOption(Control::chkSelectDate, 1);
    c.setOption(Control::chkPermanentDelete, 1);
    ASSERT_TRUE(apply(logic, c, kToday, MarkMode::Exactly, true).changed());

    const std::vector<FolderPreview> preview = previewRun(logic);
    ASSERT_EQ(preview.size(), 2u);
    EXPECT_EQ(preview[0].items, 28);
    EXPECT_EQ(preview[1].items, 9);
    // Odd days are "Re: a"; of those, years 2020 and 2021 (day % 3 of 0 and 1) are old enough.
    long expectedInbox = 0;
    for (int day = 1; day <= 28; day += 2) {
        expectedInbox += (day % 3 != 2) ? 1 : 0;
    }
    EXPECT_EQ(preview[0].selected, expectedInbox);
    EXPECT_EQ(preview[1].selected, 9);

    clean();
    const long total = preview[0].selected + preview[1].selected;
    EXPECT_EQ(prompter.texts().front(),
              QStringLiteral("%1 items in 2 folders identified for cleaning.").arg(total));
    EXPECT_EQ(run().ProcessedCount, total);
    EXPECT_EQ(inStore(QStringLiteral("Inbox")), 28 - preview[0].selected);
    EXPECT_EQ(inStore(QStringLiteral("Lists")), 0);
}

TEST_F(CleaningInWindowTest, SaveAsksWhetherTheCutoffIsAnAgeAndOpenPutsItBack) {
    const testing::TempHome home;
    load();
    tick("Projects");
    logic.controls.update(Control::dtpCutoffDate,
                          [](ControlState& c) { c.date = toOleDate(QDate(2026, 8, 24)); });
    set(Control::chkSelectDate, 1);
    prompter.answer(Prompter::Yes);
    const QString file = cleaningFile(QStringLiteral("monthly"));
    ASSERT_TRUE(Save_Cleaning(logic, prompter, file, kToday));
    EXPECT_EQ(prompter.last().text,
              QStringLiteral("Keep the cut-off as an age, \"older than 90 days\", so that it "
                             "moves on with the day the cleaning runs?\r\n\r\nNo keeps the "
                             "fixed date 2026-08-24."));
    EXPECT_EQ(cleanings::load(file).cutoff, (Cutoff{Cutoff::Kind::OlderThanDays, 90, {}}));

    logic.marking.mnuUnmark_Click();
    set(Control::chkSelectDate, 0);
    // Thirty days later the same age reaches thirty days further.
    ASSERT_TRUE(Open_Cleaning(logic, prompter, file, kToday.addDays(30)));
    EXPECT_EQ(marked(), QStringList({"Personal Folders/Projects"}));
    EXPECT_EQ(value(Control::chkSelectDate), 1);
    EXPECT_EQ(toQDate(logic.controls[Control::dtpCutoffDate].date), QDate(2026, 9, 23));
}

TEST_F(CleaningInWindowTest, ADamagedOrStaleCleaningIsToldOnceAndChangesNothing) {
    const testing::TempHome home;
    load();
    tick("Inbox");
    const auto options = optionValues();
    const QString damaged = home.file(QStringLiteral("damaged.json"));
    QFile out(damaged);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write("{\"format\": \"Tidyfold cleaning\", \"version\": 7}");
    out.close();
    prompter.forget();
    EXPECT_FALSE(Open_Cleaning(logic, prompter, damaged, kToday));
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_TRUE(prompter.last().text.contains(QStringLiteral("saved by a newer Tidyfold")));
    EXPECT_EQ(prompter.last().buttons, Prompter::OkOnly | Prompter::Critical);

    const QString stale = home.file(QStringLiteral("stale.json"));
    save(cleaningOf({"Projects", "Gone"}), stale);
    prompter.forget();
    EXPECT_FALSE(Open_Cleaning(logic, prompter, stale, kToday));
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_TRUE(prompter.last().text.contains(QStringLiteral("Personal Folders/Gone")));
    EXPECT_EQ(marked(), QStringList({"Personal Folders/Inbox"}));
    EXPECT_EQ(optionValues(), options);
}

}  // namespace
}  // namespace tf::cleanings
