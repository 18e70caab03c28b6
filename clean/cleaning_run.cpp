#include "clean/cleaning_run.h"

#include "common/text.h"

namespace tf {

namespace {
constexpr Control kRun = Control::cmdRun;
const QString kCancelCaption = QStringLiteral("&Cancel");
const QString kMarker = QStringLiteral(" <<<<");
}  // namespace

CleaningRun::CleaningRun(WindowParts parts, FolderTreeBuilder& builder,
                         DeletedItemsFolders& deletedItems, const ItemFilters& filters,
                         GridLogic& grid, FolderReload& reload, ItemCacheLoader& cache,
                         ControlEnabling& enabling, const FolderMarking& marking)
    : status(parts.errors.stack, parts.status),
      checks(parts, builder, grid, filters, marking, state),
      strategies(parts, builder, filters, grid, checks, status, state),
      w_(parts),
      builder_(builder),
      deletedItems_(deletedItems),
      grid_(grid),
      reload_(reload),
      cache_(cache),
      enabling_(enabling) {}

void CleaningRun::cmdRun_Click() {
    if (w_.controls[kRun].caption == kCancelCaption) {
        // Pressed inside one of the run's yields: the loops see the flag at their next test.
        w_.errors.run(QStringLiteral("cmdRun_Click"), [&](Procedure& p) {
            p.step(QStringLiteral("Cancel"));
            if (w_.prompter.ask(QStringLiteral("Quit processing records?"), Prompter::YesNo) ==
                Prompter::Yes) {
                w_.flags.Processing = false;
            }
        });
        return;
    }
    bool started = false;
    w_.errors.run(QStringLiteral("cmdRun_Click"), [&](Procedure&) {
        state.ProcessedCount = 0;
        if (!checks.Check_Screen()) {
            return;
        }
        w_.flags.Processing = true;
        state.NotAllDeleted = false;
        state.ItemsDeleted = false;
        state.RunTrace = QStringLiteral("START");
        started = true;
        strategies.beginRun();
        w_.controls.setCaption(kRun, kCancelCaption);
        grid_.Display_Selected_Items_Total(state.SelectedTotal);
        enabling_.Enable_All_Controls(false);
        const int first = w_.tree.count() >= 1 ? 1 : 0;
        deletedItems_.Assigne_Deleted_Items_Folders();
        if (on(Control::chkSelectByRow)) {
            strategies.Delete_Filtered_Items_By_Row();
        } else if (first != 0) {
            Process_Each_Node(first, 0);
        }
    });
    if (started) {
        finishRun();
    }
}

void CleaningRun::Process_Each_Node(int node, int depth) {
    ErrorStack& stack = w_.errors.stack;
    const QString text = w_.tree.node(node).Text;
    stack.PUSH(QStringLiteral("Process_Each_Node - ") + text);
    stack.PUSH(text + QStringLiteral(" - Processing Children"));
    for (int child = w_.tree.Child(node); child != 0 && w_.flags.Processing;) {
        // Taken first: the child's folder, and with it its node, may be gone after the call.
        const int next = w_.tree.Next(child);
        Process_Each_Node(child, depth + 1);
        child = next;
    }
    stack.POP(1);
    state.RunTrace += QStringLiteral("\r\n") + QString(depth + 1, QLatin1Char('*')) + text;
    // Once cancelled, folders not reached keep their marks.
    if (w_.tree.node(node).Checked && w_.flags.Processing) {
        const int index = builder_.Get_Node_Index(node);
        bool reached = true;
        if (w_.records[index].Folder) {
            reached = cleanFolder(node, index);
        }
        if (w_.tree.attached(node)) {
            if (reached && !on(Control::chkDeleteFolders) && !on(Control::chkShowAllFolders)) {
                w_.tree.setChecked(node, false);  // a cleaned folder is unmarked
            }
            // Also takes the marker away.
            builder_.Set_Node_Text(node);
        }
    }
    stack.POP(1);
}

bool CleaningRun::cleanFolder(int node, int index) {
    w_.tree.EnsureVisible(node);
    w_.tree.setText(node, w_.tree.node(node).Text + kMarker);
    if (!on(Control::chkPermanentDelete)) {
        // Moved items arrive there; the refresh after the run reads it again.
        const int deletedItems = w_.records[index].DeletedItemsIndex;
        if (deletedItems > 0) {
            w_.records[deletedItems].Reload = true;
        }
    }
    w_.yield.yield();
    if (!w_.flags.Processing) {
        return false;  // cancelled: nothing more is asked or touched
    }
    if (!checks.Confirm_Current_Folder(node)) {
        w_.tree.setChecked(node, false);
        return true;
    }
    const outlook::FolderPtr folder = w_.records[index].Folder;
    if (on(Control::chkDeleteFolders)) {
        strategies.Delete_Selected_Folder(folder, node);
    } else if (on(Control::chkTurbo)) {
        strategies.Delete_All_Items(folder, index);
        state.ItemsDeleted = true;
        w_.records[index].Reload = true;  // its cache no longer matches the folder
    } else if (!w_.records[index].Loaded) {
        strategies.Delete_Selected_Items_By_MAPIFolder(folder, index, node);
        state.ItemsDeleted = true;
        w_.records[index].Reload = true;  // its cache no longer matches the folder
    } else {
        strategies.Delete_Filtered_Items_By_FolderData_Array(node, index);
        state.ItemsDeleted = true;
        Pack_Items_Array(w_.records[index]);
    }
    return true;
}

void CleaningRun::finishRun() {
    const bool closing = w_.flags.Closing;
    w_.errors.run(QStringLiteral("cmdRun_Click - Rebuild"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        if (!on(Control::chkDeleteFolders)) {
            if (state.ItemsDeleted) {
                grid_.Remove_All_Rows();
                grid_.Add_All_Folders_Rows(RowMarker::None);
            }
            reload_.Reload_Marked_Folders();
        } else {
            // The current folder may have been deleted; the selection has moved up from it.
            if (w_.flags.CurrentNodeIndex < 1 || !w_.tree.attached(w_.flags.CurrentNodeIndex)) {
                w_.flags.CurrentNodeIndex = w_.tree.selected();
            }
            grid_.Remove_All_Rows();
            grid_.Add_All_Folders_Rows(RowMarker::None);
            // The option does not outlast the run.
            w_.controls.setValue(Control::chkDeleteFolders, 0);
            if (w_.tree.selected() != 0) {
                builder_.Set_Folder_Label(builder_.Get_Node_Index(w_.tree.selected()));
            }
        }
    });
    if (state.NotAllDeleted && !closing) {
        w_.prompter.ask(QStringLiteral("Not all items could be deleted"),
                        Prompter::OkOnly | Prompter::Critical);
    }
    w_.status.setText(2, QStringLiteral("Total Processed:  ") + LTrim(Str(state.ProcessedCount)));
    // Read again here: a Delete Folders run has just switched the option off, so it ends with
    // the item form of the summary.
    if (!closing) {
        w_.prompter.ask(summaryText(on(Control::chkDeleteFolders), on(Control::chkPermanentDelete),
                                    state.ProcessedCount),
                        Prompter::OkOnly);
    }
    w_.status.setText(1, QString());
    w_.status.setText(2, QString());
    w_.flags.Processing = false;
    enabling_.Enable_All_Controls(true);
    const bool ascending = grid_.sortAscending();
    grid_.setSortAscending(false);
    grid_.Set_Grid_Order();
    grid_.setSortAscending(ascending);
    grid_.Set_Grid_Order();
    if (closing) {
        w_.flags.StopCaching = true;
    } else if (w_.flags.Loading) {
        // The run came inside a loading pass; that pass starts over on the changed folders.
        w_.flags.InterruptCaching = true;
    } else {
        cache_.Cache_Folder_Items();
    }
}

QString CleaningRun::summaryText(bool deleteFolders, bool permanentDelete, long processed) {
    if (deleteFolders) {
        if (processed == 0) {
            return QStringLiteral("No folders were deleted.");
        }
        return processed == 1 ? QStringLiteral("1 folder was deleted.")
                              : Str(processed) + QStringLiteral(" folders were deleted.");
    }
    if (processed == 0) {
        return QStringLiteral("No items were processed.");
    }
    const QString ending = permanentDelete
                               ? QStringLiteral("deleted.")
                               : QStringLiteral("moved to the \"Deleted Items\" folder.");
    return processed == 1 ? QStringLiteral("1 item was ") + ending
                          : Str(processed) + QStringLiteral(" items were ") + ending;
}

bool CleaningRun::Check_For_Marked_Rows() const {
    for (int r = 1; r < w_.grid.Rows(); ++r) {
        if (w_.grid.row(r).mark == kRowMarked) {
            return true;
        }
    }
    return false;
}

}  // namespace tf
