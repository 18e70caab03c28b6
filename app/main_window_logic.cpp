#include "app/main_window_logic.h"

#include <QDate>
#include <cmath>
#include <utility>

#include "common/numbers.h"

namespace tf {

RemoveItemsLogic::RemoveItemsLogic(Prompter& prompter, Yield& yield, MessageWindow& messageWindow,
                                   WindowShell& shell, ApplicationSource& source)
    : errors(prompter),
      treeBuilder(parts(prompter, yield), messageWindow),
      deletedItems(errors, tree, records, treeBuilder, controls),
      filters(controls, tree, records),
      gridLogic(parts(prompter, yield), treeBuilder, filters, deletedItems),
      cache(parts(prompter, yield), treeBuilder, gridLogic),
      reload(parts(prompter, yield), treeBuilder, gridLogic),
      enabling(parts(prompter, yield)),
      options(parts(prompter, yield), gridLogic, enabling),
      marking(parts(prompter, yield), treeBuilder, deletedItems, gridLogic, reload, enabling),
      processing(parts(prompter, yield), marking, treeBuilder, deletedItems, gridLogic, enabling),
      rows(parts(prompter, yield), gridLogic, enabling),
      cleaning(parts(prompter, yield), treeBuilder, deletedItems, filters, gridLogic, reload, cache,
               enabling, marking),
      itemDisplay(parts(prompter, yield), treeBuilder),
      splitters(errors, controls),
      help(errors, prompter, controls),
      prompter_(prompter),
      yield_(yield),
      messageWindow_(messageWindow),
      shell_(shell),
      source_(source) {
    setDesignTimeValues();
    // A dragged bar changes the grid's width; its columns share out the new one.
    splitters.resetColumnWidths = [this] { gridLogic.Reset_Column_Widths(); };
}

WindowParts RemoveItemsLogic::parts(Prompter& prompter, Yield& yield) {
    // Takes the interfaces as arguments: the members that keep them are not set yet while the
    // parts are handed out.
    return WindowParts{errors, prompter, yield,   tree,  records,
                       grid,   controls, colours, flags, status};
}

void RemoveItemsLogic::setDesignTimeValues() {
    for (const TypeBox& box : kTypeBoxes) {
        controls.setCaption(box.control, QLatin1String(box.caption));
    }
    enabling.setStartValues();
}

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
        // A store named twice, or a remembered one that is gone, is told once before the window
        // opens on the others.
        for (const QString& note : source_.takeStartNotes()) {
            prompter_.tell(note);
        }

        p.step(QStringLiteral("Set Variables"));
        controls.update(Control::dtpCutoffDate,
                        [](ControlState& c) { c.date = toOleDate(QDate::currentDate()); });
        flags.Processing = false;
        Debug = false;
        controls.setVisible(Control::cmddebug, false);
        enabling.Load_Tooltips();
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
    for (const Control line : {Control::linOptions1, Control::linOptions2}) {
        controls.update(line, [&](ControlState& s) {
            s.x1 = 75;
            s.x2 = c[Control::frmOptions].width - 75;
        });
    }
    p.endSteps();

    p.step(QStringLiteral("Align Options Box"));
    controls.update(Control::frmOptions, [](ControlState& s) {
        s.top -= 85;
        s.height += 85;
    });
    p.endSteps();

    p.step(QStringLiteral("Align Folder Box"));
    const ControlState& gridControl = c[Control::grdItems];
    controls.update(Control::lblCurrentFolder, [&](ControlState& s) {
        s.left = gridControl.left + 75;
        s.width = gridControl.width - 75;
    });
    p.endSteps();

    const ControlState& frame = c[Control::frmOptions];
    p.step(QStringLiteral("Align Command Button"));
    controls.update(Control::cmdRun, [&](ControlState& s) {
        s.left = frame.left;
        s.width = frame.width;
    });
    p.endSteps();

    p.step(QStringLiteral("Align Subject Box"));
    controls.update(Control::txtSelectSubject,
                    [&](ControlState& s) { s.width = frame.width - (s.left + 100); });
    p.endSteps();

    p.step(QStringLiteral("Align Current Folder Label"));
    const double w =
        roundHalfEven(gridControl.width + c[Control::picSlider2].width + frame.width - 75);
    controls.update(Control::lblCurrentFolder, [&](ControlState& s) { s.width = w >= 1 ? w : 0; });
    p.endSteps();
}

void RemoveItemsLogic::Load_Interface() {
    const bool wasLoading = std::exchange(flags.Loading, true);
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
            deletedItems.Assigne_Deleted_Items_Folders();
            startFolderIsCurrent();
            gridLogic.Set_Grid_Columns();
            enabling.Enable_All_Controls(true);

            tree.setVisible(true);
            shell_.focusTree();
            messageWindow_.hide();
            shell_.showMain();
            yield_.yield();

            cache.Cache_Folder_Items();
            if (flags.AllFoldersCached) {
                // A Refresh that came before this pass began is answered by it.
                flags.ReloadRequested = false;
                splitters.reapplyInterruptedDrag();
                prompter_.ask(QStringLiteral("All Folders Loaded"), Prompter::OkOnly);
                // Messages the stores passed over are told once, when everything else is in.
                if (session.nameSpace) {
                    if (const QString notes = session.nameSpace->takeReadNotes();
                        !notes.isEmpty()) {
                        prompter_.ask(notes, Prompter::OkOnly);
                    }
                }
                break;
            }
            // Once the windows are unloaded, nothing is loaded again.
            if (!flags.ReloadRequested || Unloaded) {
                break;
            }
            // Cleared before building again, or one Refresh would rebuild for ever.
            flags.ReloadRequested = false;
        }
    });
    flags.Loading = wasLoading;
}

void RemoveItemsLogic::startFolderIsCurrent() {
    // The start folder is the grid's current folder until the user picks another.
    flags.CurrentNodeIndex = tree.selected();
    flags.LastSelectedNode = tree.selected();
    flags.CurrentGridItemType = 0;
    if (flags.CurrentNodeIndex != 0) {
        const outlook::FolderPtr& folder =
            records[treeBuilder.Get_Node_Index(flags.CurrentNodeIndex)].Folder;
        if (folder) {
            errors.attempt([&] { flags.CurrentGridItemType = folder->DefaultItemType(); });
            errors.current.clear();
        }
    }
}

void RemoveItemsLogic::mnuRefresh_Click() {
    // A run holds on to the folder records that a rebuild would replace.
    if (flags.Processing) {
        return;
    }
    if (!flags.Loading) {
        Load_Interface();
        return;
    }
    // Inside a yield of the loading loop: the loop stops, and Load_Interface starts over.
    flags.StopCaching = true;
    flags.InterruptCaching = true;
    flags.ReloadRequested = true;
}

void RemoveItemsLogic::mnuRefreshCurrent_Click() {
    if (flags.Processing) {
        return;
    }
    errors.run(QStringLiteral("mnuRefreshCurrent_Click"), [&](Procedure&) {
        const int node = tree.selected();
        if (node == 0) {
            return;
        }
        FolderData& record = records[treeBuilder.Get_Node_Index(node)];
        if (record.Folder) {
            record.Reload = true;
            grid.setRedraw(false);
            reload.Reload_Marked_Folders();
            grid.setRedraw(true);
        }
        if (!flags.Loading) {
            cache.Cache_Folder_Items();
        } else {
            flags.InterruptCaching = true;
        }
    });
}

void RemoveItemsLogic::mnuOpenStore(const QString& location) {
    if (flags.Processing || openStores == nullptr) {
        return;
    }
    storesChanged(openStores->open(prompter_, location));
}

void RemoveItemsLogic::mnuOpenSampleStore_Click() {
    if (flags.Processing || openStores == nullptr) {
        return;
    }
    storesChanged(openStores->openSample(prompter_));
}

void RemoveItemsLogic::mnuCloseStore_Click() {
    if (flags.Processing || openStores == nullptr) {
        return;
    }
    const QString storeID = selectedStoreTop();
    if (storeID.isEmpty()) {
        prompter_.tell(QStringLiteral("Select the top folder of the store to close in the tree."));
        return;
    }
    storesChanged(openStores->close(prompter_, storeID));
}

QString RemoveItemsLogic::selectedStoreTop() const {
    const int node = tree.selected();
    if (node < 1 || node > tree.count()) {
        return {};
    }
    // With one store the root is its top folder; with several, the root's children are.
    const bool top = treeBuilder.severalStores() ? tree.node(node).parent == 1 : node == 1;
    const outlook::FolderPtr& folder = records[treeBuilder.Get_Node_Index(node)].Folder;
    if (!top || !folder) {
        return {};
    }
    QString storeID;
    try {
        storeID = folder->StoreID();
    } catch (const std::exception&) {
        return {};
    }
    return storeID;
}

void RemoveItemsLogic::storesChanged(bool changed) {
    if (changed) {
        // The stores join or leave the tree as a Refresh rebuilds it, also while loading runs.
        mnuRefresh_Click();
    }
}

void RemoveItemsLogic::mnuQuit_Click() {
    if (prompter_.ask(QStringLiteral("Quit Tidyfold?"), Prompter::YesNo,
                      QStringLiteral("Tidyfold")) != Prompter::Yes) {
        return;
    }
    flags.StopCaching = true;
    flags.InterruptCaching = true;
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
        flags.Closing = true;
        flags.Processing = false;  // a run stops at its next test
        flags.StopCaching = true;
        flags.InterruptCaching = true;
        messageWindow_.unload();
        shell_.unloadAbout();
        shell_.unloadMain();
    });
}

}  // namespace tf
