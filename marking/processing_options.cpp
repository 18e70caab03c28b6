#include "marking/processing_options.h"

#include "window/option_rules.h"

namespace tf {

namespace {
const QString kQuote = QStringLiteral("\"");
}  // namespace

ProcessingOptions::ProcessingOptions(WindowParts parts, FolderMarking& marking,
                                     FolderTreeBuilder& builder,
                                     const DeletedItemsFolders& deletedItems, GridLogic& grid,
                                     ControlEnabling& enabling)
    : w_(parts),
      marking_(marking),
      builder_(builder),
      deletedItems_(deletedItems),
      grid_(grid),
      enabling_(enabling) {
    Controls& c = w_.controls;
    c.onClick(Control::chkDeleteFolders, [this] { chkDeleteFolders_Click(); });
    c.onClick(Control::chkPermanentDelete, [this] { chkPermanentDelete_Click(); });
    c.onClick(Control::chkTurbo, [this] { chkTurbo_Click(); });
    c.onClick(Control::chkCollapseFolders, [this] { chkCollapseFolders_Click(); });
}

template <typename Forces>
void ProcessingOptions::force(const Forces& forces) {
    for (const ForcedValue& f : forces) {
        w_.controls.setValue(f.box, f.value);
    }
}

void ProcessingOptions::chkDeleteFolders_Click() {
    w_.errors.run(QStringLiteral("chkDeleteFolders_Click"), [&](Procedure&) {
        if (w_.controls.isOn(Control::chkDeleteFolders)) {
            if (!deleteFoldersAllowed()) {
                return;
            }
            force(kDeleteFoldersForces);
        }
        enabling_.Enable_Check_Boxes();
    });
}

bool ProcessingOptions::deleteFoldersAllowed() {
    const int marked = marking_.Count_Selected_Nodes();
    if (marked >= 1) {
        const QString question =
            marked == 1 ? QStringLiteral(
                              "There is currently 1 marked folder that will be "
                              "deleted.  Unmark it?")
                        : QStringLiteral("There are currently ") + QString::number(marked) +
                              QStringLiteral(" marked folders that will be deleted.  Unmark them?");
        if (w_.prompter.ask(question, Prompter::YesNo) == Prompter::Yes) {
            marking_.mnuUnmark_Click();
        }
    }

    const auto refuse = [&](const QString& why) {
        w_.prompter.ask(QStringLiteral("Cannot mark ") + kQuote + QStringLiteral("Delete Folders") +
                            kQuote + why,
                        Prompter::OkOnly | Prompter::Critical);
        // Runs this handler again, for the box now off.
        w_.controls.setValue(Control::chkDeleteFolders, 0);
        return false;
    };
    for (int node = 1; node <= w_.tree.count(); ++node) {
        if (!w_.tree.node(node).Checked) {
            continue;
        }
        const outlook::FolderPtr& folder = w_.records[builder_.Get_Node_Index(node)].Folder;
        if (FolderTreeBuilder::Check_Default_Folder(folder) || marking_.Check_Root_Node(node)) {
            return refuse(QStringLiteral(" while default folders are selected."));
        }
    }
    if (w_.tree.count() >= 1 && marking_.Check_For_Unmarked_Child(1)) {
        return refuse(
            QStringLiteral(" while there is any unmarked child folder of a marked parent folder."));
    }
    return true;
}

void ProcessingOptions::chkPermanentDelete_Click() {
    w_.errors.run(QStringLiteral("chkPermanentDelete_Click"), [&](Procedure&) {
        if (!w_.controls.isOn(Control::chkPermanentDelete)) {
            for (int node = 1; node <= w_.tree.count(); ++node) {
                if (!deletedItems_.Allow_Deleted_Items_Folder(node)) {
                    w_.prompter.ask(QStringLiteral("Cannot unckeck Permanent Delete box while ") +
                                        kQuote + QStringLiteral("Deleted Items") + kQuote +
                                        QStringLiteral(" is selected."),
                                    Prompter::OkOnly | Prompter::Critical);
                    w_.controls.setValue(Control::chkPermanentDelete, 1);
                    return;
                }
            }
            if (w_.controls.isOn(Control::chkSelectByRow)) {
                // Rows picked in "Deleted Items" could now go nowhere: they are let go.
                RedrawOff redrawOff(w_.grid);
                for (int r = 1; r < w_.grid.Rows(); ++r) {
                    if (w_.grid.row(r).mark == kRowMarked && grid_.inDeletedItems(w_.grid.row(r))) {
                        w_.grid.setMark(r, kRowUnmarked);
                    }
                }
                grid_.Paint_Entire_Grid();
            }
        }
        enabling_.Enable_Command_Buttons();
    });
}

void ProcessingOptions::chkTurbo_Click() {
    w_.errors.run(QStringLiteral("chkTurbo_Click"), [&](Procedure&) {
        if (w_.controls.isOn(Control::chkTurbo)) {
            force(kTurboForces);
        }
        enabling_.Enable_Check_Boxes();
    });
}

void ProcessingOptions::chkCollapseFolders_Click() {
    w_.errors.run(QStringLiteral("chkCollapseFolders_Click"), [&](Procedure&) {
        if (!w_.controls.isOn(Control::chkCollapseFolders)) {
            return;
        }
        for (int node = 1; node <= w_.tree.count(); ++node) {
            if (builder_.Get_Folder_Item_Count(node, true, false) >= 1) {
                marking_.trvFolders_Expand(node);
            }
        }
    });
}

void ProcessingOptions::mnuResetOptions_Click() {
    RedrawOff redrawOff(w_.grid);
    enabling_.Set_Checkbox_Values();
}

}  // namespace tf
