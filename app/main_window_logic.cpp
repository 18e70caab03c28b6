#include "app/main_window_logic.h"

#include <QDate>
#include <cmath>

#include "common/numbers.h"

namespace tf {

QStringList mainWindowControlNames() {
    return {QStringLiteral("trvFolders"),
            QStringLiteral("grdItems"),
            QStringLiteral("picSlider"),
            QStringLiteral("picSlider2"),
            QStringLiteral("frmOptions"),
            QStringLiteral("lblCurrentFolder"),
            QStringLiteral("lblScreenOptions"),
            QStringLiteral("chkMarkSubFolders"),
            QStringLiteral("chkCollapseFolders"),
            QStringLiteral("chkShowAllFolders"),
            QStringLiteral("chkShowSelectedItems"),
            QStringLiteral("chkShowUnselectedItems"),
            QStringLiteral("chkSelectByRow"),
            QStringLiteral("lblProcessingOptions"),
            QStringLiteral("chkTurbo"),
            QStringLiteral("chkPermanentDelete"),
            QStringLiteral("chkConfirmFolders"),
            QStringLiteral("chkConfirmItems"),
            QStringLiteral("chkDeleteFolders"),
            QStringLiteral("lblFilterOptions"),
            QStringLiteral("chkSelectUnread"),
            QStringLiteral("chkSelectDate"),
            QStringLiteral("chkSelectSubject"),
            QStringLiteral("chkSelectType"),
            QStringLiteral("chkType0"),
            QStringLiteral("chkType1"),
            QStringLiteral("chkType2"),
            QStringLiteral("chkType3"),
            QStringLiteral("chkType4"),
            QStringLiteral("chkType5"),
            QStringLiteral("txtSelectSubject"),
            QStringLiteral("dtpCutoffDate"),
            QStringLiteral("chkMatchCase"),
            QStringLiteral("chkMatchWord"),
            QStringLiteral("cmdRun"),
            QStringLiteral("cmddebug"),
            QStringLiteral("linOptions1"),
            QStringLiteral("linOptions2"),
            QStringLiteral("sbStatusBar")};
}

RemoveItemsLogic::RemoveItemsLogic(Prompter& prompter, Yield& yield, MessageWindow& messageWindow,
                                   WindowShell& shell, ApplicationSource& source)
    : errors(prompter),
      controls(mainWindowControlNames()),
      treeBuilder(FolderTreeWindow{errors, prompter, yield, messageWindow, tree, records, grid,
                                   controls, colours}),
      splitters(errors, controls),
      help(errors, prompter, controls, mainWindowControlNames()),
      prompter_(prompter),
      yield_(yield),
      messageWindow_(messageWindow),
      shell_(shell),
      source_(source) {}

bool RemoveItemsLogic::Form_Load() {
    errors.Trap_Errors = true;
    bool started = true;
    errors.run(QStringLiteral("Form_Load"), [&](Procedure& p) {
        p.step(QStringLiteral("Set HTML URLs"));
        companyName = QStringLiteral("Tidyfold");
        homePage = helpSiteAddress();
        productPage = onlineHelpAddress(homePage);
        p.endSteps();

        if (!Start_Outlook(errors, prompter_, messageWindow_, source_, Debug, session)) {
            started = false;
            shell_.unloadMain();
            shell_.unloadAbout();
            messageWindow_.unload();
            return;
        }
        treeBuilder.setNameSpace(session.nameSpace);

        p.step(QStringLiteral("Set Variables"));
        controls.update(QStringLiteral("dtpCutoffDate"),
                        [](ControlState& c) { c.date = toOleDate(QDate::currentDate()); });
        Processing = false;
        Debug = false;
        controls.setVisible(QStringLiteral("cmddebug"), false);
        p.endSteps();

        p.step(QStringLiteral("Initialize Help"));
        help.initialize();
        p.endSteps();

        p.step(QStringLiteral("Set Initialize Slide Bars"));
        splitters.setUp();
        p.endSteps();

        alignControls(p);

        p.step(QStringLiteral("Set Color Values"));
        colours = WindowColours{0x00FFFF00, rgb(150, 150, 255), 0};
        p.endSteps();

        p.step(QStringLiteral("Load Interface"));
        Load_Interface();
        p.endSteps();
    });
    return started && !Unloaded;
}

void RemoveItemsLogic::alignControls(Procedure& p) {
    const auto& c = controls;
    p.step(QStringLiteral("Align Lines"));
    for (const QString& line : {QStringLiteral("linOptions1"), QStringLiteral("linOptions2")}) {
        controls.update(line, [&](ControlState& s) {
            s.x1 = 75;
            s.x2 = c[QStringLiteral("frmOptions")].width - 75;
        });
    }
    p.endSteps();

    p.step(QStringLiteral("Align Options Box"));
    controls.update(QStringLiteral("frmOptions"), [](ControlState& s) {
        s.top -= 85;
        s.height += 85;
    });
    p.endSteps();

    p.step(QStringLiteral("Align Folder Box"));
    const ControlState& gridControl = c[QStringLiteral("grdItems")];
    controls.update(QStringLiteral("lblCurrentFolder"), [&](ControlState& s) {
        s.left = gridControl.left + 75;
        s.width = gridControl.width - 75;
    });
    p.endSteps();

    const ControlState& options = c[QStringLiteral("frmOptions")];
    p.step(QStringLiteral("Align Command Button"));
    controls.update(QStringLiteral("cmdRun"), [&](ControlState& s) {
        s.left = options.left;
        s.width = options.width;
    });
    p.endSteps();

    p.step(QStringLiteral("Align Subject Box"));
    controls.update(QStringLiteral("txtSelectSubject"),
                    [&](ControlState& s) { s.width = options.width - (s.left + 100); });
    p.endSteps();

    p.step(QStringLiteral("Align Current Folder Label"));
    const double w = roundHalfEven(gridControl.width + c[QStringLiteral("picSlider2")].width +
                                   options.width - 75);
    controls.update(QStringLiteral("lblCurrentFolder"),
                    [&](ControlState& s) { s.width = w >= 1 ? w : 0; });
    p.endSteps();
}

void RemoveItemsLogic::Load_Interface() {
    errors.run(QStringLiteral("Load_Interface"), [&](Procedure&) {
        grid.setRows(1);
        for (;;) {
            treeBuilder.Build_Folder_Tree();
            if (tree.count() < 2) {
                prompter_.ask(QStringLiteral("No folders were loaded."),
                              Prompter::OkOnly | Prompter::Critical);
                Form_Unload();
                return;
            }
            treeBuilder.Set_Start_Folder();

            tree.setVisible(true);
            shell_.focusTree();
            messageWindow_.hide();
            shell_.showMain();
            yield_.yield();

            if (LoadingComplete) {
                splitters.reapplyInterruptedDrag();
                prompter_.ask(QStringLiteral("All Folders Loaded"), Prompter::OkOnly);
                break;
            }
            if (!ReloadRequested) {
                break;
            }
            ReloadRequested = false;
        }
    });
}

void RemoveItemsLogic::mnuQuit_Click() {
    if (prompter_.ask(QStringLiteral("Quit Tidyfold?"), Prompter::YesNo,
                      QStringLiteral("Tidyfold")) != Prompter::Yes) {
        return;
    }
    StopCaching = true;
    InterruptCaching = true;
    shell_.unloadMain();
    messageWindow_.unload();
    shell_.unloadAbout();
}

void RemoveItemsLogic::Form_Unload() {
    if (Unloaded) {
        return;
    }
    Unloaded = true;
    errors.run(QStringLiteral("Form_Unload"), [&](Procedure&) {
        StopCaching = true;
        InterruptCaching = true;
        messageWindow_.unload();
        shell_.unloadAbout();
        shell_.unloadMain();
    });
}

}  // namespace tf
