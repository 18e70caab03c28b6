#include "app/main_window_logic.h"

#include <gtest/gtest.h>

#include "outlook/session.h"
#include "tests/support/memory_store.h"
#include "tests/support/place_control.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/window_fakes.h"
#include "tests/support/window_fixture.h"

namespace tf::testing {
namespace {

class MainWindowLogic : public WindowFixture {
  protected:
    void useStore(const std::shared_ptr<MemoryStore>& store) { open({store}); }
    static std::shared_ptr<MemoryStore> store() { return storeWithInbox(4); }
    void place(Control control, double left, double top, double width, double height) {
        testing::place(logic.controls, control, left, top, width, height);
    }
    const ControlState& control(Control control) { return logic.controls[control]; }
};

TEST_F(MainWindowLogic, StartsUpOnTheDefaultStoreAndShowsTheTree) {
    useStore(store());
    ASSERT_TRUE(logic.Form_Load());

    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("All Folders Loaded")});
    EXPECT_EQ(log.events(),
              (QStringList{QStringLiteral("message:show"), QStringLiteral("tree:focus"),
                           QStringLiteral("message:hide"), QStringLiteral("main:show")}));
    EXPECT_TRUE(logic.tree.visible());
    EXPECT_EQ(logic.tree.count(), 11);
    EXPECT_EQ(control(Control::lblCurrentFolder).caption, QStringLiteral("Current Folder: Inbox"));
    EXPECT_EQ(toQDate(control(Control::dtpCutoffDate).date), QDate::currentDate());
    EXPECT_EQ(control(Control::dtpCutoffDate).date, datePart(control(Control::dtpCutoffDate).date));
    EXPECT_FALSE(control(Control::cmddebug).visible);
    EXPECT_FALSE(logic.flags.Processing);
    EXPECT_EQ(logic.colours.highlight, 0x00FFFF00u);
    EXPECT_EQ(logic.colours.unloaded, 0x00FF9696u);
    EXPECT_EQ(logic.colours.loaded, 0u);
    // The Inbox's four items are listed; its node is current and no folder is marked.
    EXPECT_EQ(logic.grid.Rows(), 5);
    EXPECT_EQ(logic.flags.CurrentNodeIndex, logic.tree.selected());
    EXPECT_EQ(logic.errors.stack.count(), 0);
    EXPECT_TRUE(logic.flags.AllFoldersCached);
    EXPECT_FALSE(logic.flags.Loading);
}

TEST_F(MainWindowLogic, WhatTheStoresPassedOverIsToldOnceAfterLoading) {
    auto first = store();
    auto second = storeWithInbox(2, QStringLiteral("Mail"), QStringLiteral("M"));
    first->passOver(QStringLiteral("1 message could not be read and is not listed:"));
    second->passOver(QStringLiteral("The folder /m/.a..b is not shown."));
    open({first, second});
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(prompter.texts(),
              (QStringList{QStringLiteral("All Folders Loaded"),
                           QStringLiteral("1 message could not be read and is not listed:\r\n"
                                          "The folder /m/.a..b is not shown.")}));
    logic.Load_Interface();
    EXPECT_EQ(prompter.texts().size(), 3);
    EXPECT_EQ(prompter.texts().last(), QStringLiteral("All Folders Loaded"));
}

TEST_F(MainWindowLogic, EndsStartUpWhenNoSessionCanBeHad) {
    EXPECT_FALSE(logic.Form_Load());
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("Unable to initialize Outlook.  Please try again.")});
    EXPECT_EQ(log.events(),
              (QStringList{QStringLiteral("main:unload"), QStringLiteral("about:unload"),
                           QStringLiteral("message:unload")}));
    EXPECT_EQ(logic.tree.count(), 0);
}

TEST_F(MainWindowLogic, AStoreWithoutFoldersEndsTheProgram) {
    useStore(MemoryStore::create(QStringLiteral("Empty"), QStringLiteral("S")));
    EXPECT_FALSE(logic.Form_Load());

    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().text, QStringLiteral("No folders were loaded."));
    EXPECT_EQ(prompter.last().buttons, Prompter::Critical);
    EXPECT_TRUE(logic.flags.StopCaching);
    EXPECT_TRUE(logic.flags.InterruptCaching);
    EXPECT_TRUE(log.events().endsWith(QStringLiteral("main:unload")));
    EXPECT_FALSE(log.events().contains(QStringLiteral("main:show")));
}

TEST_F(MainWindowLogic, AlignsTheControlsAtStartUp) {
    useStore(store());
    // The panes meet their bars, as the window lays them out; the splitter bars' set-up lines
    // the options frame up with the grid before it is raised.
    place(Control::trvFolders, 0, 1200, 3925, 7000);
    place(Control::picSlider, 3925, 1200, 75, 7000);
    place(Control::grdItems, 4000, 1200, 6925, 7000);
    place(Control::picSlider2, 10925, 1200, 75, 7000);
    place(Control::frmOptions, 11000, 1000, 3000, 5000);
    place(Control::txtSelectSubject, 200, 3000, 999, 300);
    ASSERT_TRUE(logic.Form_Load());

    EXPECT_EQ(control(Control::frmOptions).top, 1115);
    EXPECT_EQ(control(Control::frmOptions).height, 7085);
    EXPECT_EQ(control(Control::linOptions1).x1, 75);
    EXPECT_EQ(control(Control::linOptions2).x2, 2925);
    EXPECT_EQ(control(Control::lblCurrentFolder).left, 4075);
    EXPECT_EQ(control(Control::lblCurrentFolder).width, 9925);
    EXPECT_EQ(control(Control::cmdRun).left, 11000);
    EXPECT_EQ(control(Control::cmdRun).width, 3000);
    EXPECT_EQ(control(Control::txtSelectSubject).width, 2700);
}

TEST_F(MainWindowLogic, TheCurrentFolderLabelIsNeverNarrowerThanNothing) {
    useStore(store());
    struct Case {
        double gridWidth;
        double expected;
    } cases[] = {{0, 0}, {75.5, 0}, {76, 1}, {112.5, 38}, {113.5, 38}, {114.5, 40}};
    for (const Case& c : cases) {
        RemoveItemsLogic fresh(prompter, yield, messageWindow, shell, source);
        fresh.controls.update(Control::grdItems, [&](ControlState& s) { s.width = c.gridWidth; });
        // The second bar and the options frame, both without width, where the grid ends.
        for (const Control name : {Control::picSlider2, Control::frmOptions}) {
            fresh.controls.update(name, [&](ControlState& s) { s.left = c.gridWidth; });
        }
        ASSERT_TRUE(fresh.Form_Load());
        EXPECT_EQ(fresh.controls[Control::lblCurrentFolder].width, c.expected)
            << "grid width " << c.gridWidth;
    }
}

TEST_F(MainWindowLogic, QuitAnsweredNoChangesNothing) {
    useStore(store());
    ASSERT_TRUE(logic.Form_Load());
    prompter.forget();
    const int eventsBefore = static_cast<int>(log.events().size());
    prompter.answer(Prompter::No);
    logic.mnuQuit_Click();

    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.last().text, QStringLiteral("Quit Tidyfold?"));
    EXPECT_EQ(prompter.last().buttons, Prompter::YesNo);
    EXPECT_EQ(prompter.last().title, QStringLiteral("Tidyfold"));
    EXPECT_FALSE(logic.flags.StopCaching);
    EXPECT_FALSE(logic.flags.InterruptCaching);
    EXPECT_EQ(log.events().size(), eventsBefore);
}

TEST_F(MainWindowLogic, QuitAnsweredYesStopsTheLoopsThenUnloadsEveryWindow) {
    useStore(store());
    ASSERT_TRUE(logic.Form_Load());
    bool flagsSetBeforeUnload = false;
    shell.onUnloadMain = [&] {
        flagsSetBeforeUnload = logic.flags.StopCaching && logic.flags.InterruptCaching;
        logic.Form_Unload();
    };
    const int eventsBefore = static_cast<int>(log.events().size());
    prompter.answer(Prompter::Yes);
    logic.mnuQuit_Click();

    EXPECT_TRUE(flagsSetBeforeUnload);
    // Closing the main window runs its unload handler, which unloads the others first.
    EXPECT_EQ(log.events().mid(eventsBefore),
              (QStringList{QStringLiteral("main:unload"), QStringLiteral("message:unload"),
                           QStringLiteral("about:unload"), QStringLiteral("main:unload"),
                           QStringLiteral("message:unload"), QStringLiteral("about:unload")}));
}

TEST_F(MainWindowLogic, UnloadRunsOnceAndInItsOwnOrder) {
    logic.Form_Unload();
    logic.Form_Unload();
    EXPECT_TRUE(logic.flags.StopCaching);
    EXPECT_TRUE(logic.flags.InterruptCaching);
    EXPECT_EQ(log.events(),
              (QStringList{QStringLiteral("message:unload"), QStringLiteral("about:unload"),
                           QStringLiteral("main:unload")}));
    EXPECT_EQ(logic.errors.stack.count(), 0);
}

TEST_F(MainWindowLogic, RefreshWhileLoadingStartsTheLoadOverWithoutAnnouncingTheBrokenPass) {
    auto s = store();
    useStore(s);
    // Yield 1 is the tree build's, 2 the one before loading, 3 the first folder's status; 4 is
    // the yield after the first item read.
    yield.at(4, [&] {
        s->addFolder(s->top(), QStringLiteral("Arrived Meanwhile"));
        logic.mnuRefresh_Click();
    });
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_EQ(log.events().count(QStringLiteral("message:show")), 2);
    EXPECT_EQ(logic.tree.count(), 12);
    EXPECT_FALSE(logic.flags.ReloadRequested);
    // One announcement, for the pass that finished.
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("All Folders Loaded")});
    EXPECT_TRUE(logic.flags.AllFoldersCached);
}

TEST_F(MainWindowLogic, OnceQuitHasUnloadedTheWindowsNothingIsLoadedAgain) {
    useStore(store());
    // Yield 2 is the one just before loading: a Refresh pressed while start-up is under way is
    // answered by the pass that follows, and is not left standing.
    yield.at(2, [&] { logic.mnuRefresh_Click(); });
    ASSERT_TRUE(logic.Form_Load());
    EXPECT_FALSE(logic.flags.ReloadRequested);
    ASSERT_EQ(log.events().count(QStringLiteral("message:show")), 1);

    // A later load is interrupted by a confirmed Quit.
    shell.onUnloadMain = [&] { logic.Form_Unload(); };
    prompter.forget();
    prompter.answer(Prompter::Yes);
    yield.at(yield.count() + 4, [&] { logic.mnuQuit_Click(); });
    logic.mnuRefresh_Click();

    EXPECT_TRUE(logic.Unloaded);
    EXPECT_EQ(log.events().count(QStringLiteral("message:show")), 2);  // no third tree build
    EXPECT_FALSE(logic.flags.AllFoldersCached);                        // and no load to the end
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("Quit Tidyfold?")});
}

TEST_F(MainWindowLogic, ARefreshDuringAnInterruptedLoadStillStartsOver) {
    auto s = store();
    useStore(s);
    ASSERT_TRUE(logic.Form_Load());
    prompter.forget();
    const int builds = static_cast<int>(log.events().count(QStringLiteral("message:show")));
    // Inside the loading of a Refresh, the user presses Refresh again.
    yield.at(yield.count() + 4, [&] { logic.mnuRefresh_Click(); });
    logic.mnuRefresh_Click();
    EXPECT_EQ(log.events().count(QStringLiteral("message:show")), builds + 2);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("All Folders Loaded")});
    EXPECT_FALSE(logic.flags.ReloadRequested);
}

TEST_F(MainWindowLogic, RefreshAfterLoadingRebuildsAtOnce) {
    auto s = store();
    useStore(s);
    ASSERT_TRUE(logic.Form_Load());
    s->addItems(s->folder(QStringLiteral("Inbox")), 3);
    prompter.forget();
    logic.mnuRefresh_Click();
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("All Folders Loaded")});
    EXPECT_EQ(logic.grid.Rows(), 8);
    EXPECT_FALSE(logic.flags.Loading);
}

}  // namespace
}  // namespace tf::testing
