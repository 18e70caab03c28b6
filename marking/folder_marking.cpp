#include "marking/folder_marking.h"

namespace tf {

namespace {
const QString kQuote = QStringLiteral("\"");
}  // namespace

void FolderMarking::trvFolder_NodeCheck(int node, bool checked) {
    w_.tree.setChecked(node, checked);
    w_.tree.select(node);
    NodeClicked_ = true;
    NodeChecked_ = true;
}

void FolderMarking::trvFolders_NodeClick(int node) {
    if (node != w_.tree.selected()) {
        w_.tree.select(node);
    }
    NodeClicked_ = true;
}

void FolderMarking::trvFolders_MouseUp() {
    // One click makes at most one marking decision, and the grid is repainted once for it.
    RedrawOff redrawOff(w_.grid);
    if (w_.tree.selected() != 0) {
        Node_Click_Or_Check(w_.tree.selected());
    }
    NodeChecked_ = false;
    NodeClicked_ = false;
}

void FolderMarking::trvFolders_Expand(int node) {
    w_.tree.setExpanded(node, true);
    builder_.Set_Node_Text(node);
}

void FolderMarking::trvFolders_Collapse(int node) {
    // A collapsed node's caption counts the items below it as well.
    w_.tree.setExpanded(node, false);
    builder_.Set_Node_Text(node);
}

FolderMarking::Refusal FolderMarking::refusalOf(int node) const {
    const outlook::FolderPtr& folder = w_.records[builder_.Get_Node_Index(node)].Folder;
    if (!folder) {
        return Refusal::None;  // a node that stands for no folder: nothing to clean or delete
    }
    const bool checked = w_.tree.node(node).Checked;
    const bool deleteFolders = w_.controls.isOn(Control::chkDeleteFolders);
    if (deleteFolders && checked && FolderTreeBuilder::Check_Default_Folder(folder)) {
        return Refusal::DefaultFolder;
    }
    if (deleteFolders && Check_Root_Node(node)) {
        return Refusal::RootFolder;
    }
    if (!deletedItems_.Allow_Deleted_Items_Folder(node)) {
        return Refusal::DeletedItems;
    }
    const int parent = w_.tree.Parent(node);
    if (deleteFolders && !checked && parent != 0 && w_.tree.node(parent).Checked) {
        return Refusal::MarkedParent;
    }
    return Refusal::None;
}

void FolderMarking::tellRefusal(Refusal refusal) {
    QString text;
    switch (refusal) {
        case Refusal::DefaultFolder:
            text = QStringLiteral("Cannot mark a default folder while ") + kQuote +
                   QStringLiteral(" Delete Folders") + kQuote + QStringLiteral(" is marked.");
            break;
        case Refusal::RootFolder:
            text = QStringLiteral("Cannot select a root folder while ") + kQuote +
                   QStringLiteral(" Delete Folders") + kQuote + QStringLiteral(" is marked.");
            break;
        case Refusal::DeletedItems:
            text = QStringLiteral("Cannot marked ") + kQuote + QStringLiteral("Deleted Items") +
                   kQuote + QStringLiteral(" folder if Permanent Delete box is unchecked.");
            break;
        case Refusal::MarkedParent:
            text = QStringLiteral("Cannot unmark a folder while its parent folder ") +
                   QStringLiteral("is marked and ") + kQuote + QStringLiteral("Delete Folders") +
                   kQuote + QStringLiteral(" is also marked.");
            break;
        case Refusal::None:
            return;
    }
    w_.prompter.ask(text, Prompter::OkOnly | Prompter::Critical);
}

bool FolderMarking::Check_Node_Click(int node) {
    if (!NodeClicked_) {
        return false;
    }
    bool stands = true;
    const bool checked = w_.tree.node(node).Checked;
    const bool ran = w_.errors.run(QStringLiteral("Check_Node_Click"), [&](Procedure&) {
        const Refusal refusal = refusalOf(node);
        if (refusal == Refusal::None) {
            return;
        }
        stands = false;
        // Only an untick under a marked parent is put back; every other refusal unmarks.
        w_.tree.setChecked(node, refusal == Refusal::MarkedParent);
        tellRefusal(refusal);
    });
    if (!ran) {
        // Rules that could not be applied do not let the change stand.
        w_.tree.setChecked(node, !checked);
        return false;
    }
    return stands;
}

void FolderMarking::Node_Click_Or_Check(int node) {
    w_.errors.run(QStringLiteral("Node_Click_Or_Check"), [&](Procedure&) {
        if (node < 1 || node > w_.tree.count() || !Check_Node_Click(node)) {
            return;
        }
        const bool checked = w_.tree.node(node).Checked;
        if (checked && w_.controls.isOn(Control::chkMarkSubFolders) &&
            w_.tree.Children(node) >= 1) {
            markSubFolders(node);
        }
        if (checked) {
            trvFolders_Expand(node);
        }
        w_.tree.setBold(node, checked);

        if (node == w_.flags.CurrentNodeIndex) {
            grid_.Change_Folder_Rows();
            enabling_.Enable_Command_Buttons();
            return;
        }
        changeCurrentFolder(node);
    });
}

void FolderMarking::markSubFolders(int node) {
    // The stores under the virtual root are root folders, which Delete Folders may never take:
    // ticking the root marks nothing below it then.
    if (w_.controls.isOn(Control::chkDeleteFolders) &&
        !w_.records[builder_.Get_Node_Index(node)].Folder) {
        return;
    }
    reload_.Set_Children_Nodes_Checkboxes(w_.tree.Child(node), true);
    // Items in "Deleted Items" can only go for good; a folder ticked with its sub-folders must
    // not take them there unless Permanent Delete says so.
    if (unmarkDeletedItemsBelow(node)) {
        tellRefusal(Refusal::DeletedItems);
    }
}

bool FolderMarking::unmarkDeletedItemsBelow(int node) {
    bool found = false;
    for (int child = w_.tree.Child(node); child != 0; child = w_.tree.Next(child)) {
        if (!deletedItems_.Allow_Deleted_Items_Folder(child)) {
            w_.tree.setChecked(child, false);
            builder_.Set_Node_Text(child);
            found = true;
        }
        found = unmarkDeletedItemsBelow(child) || found;
    }
    return found;
}

void FolderMarking::changeCurrentFolder(int node) {
    const int old = w_.flags.CurrentNodeIndex;
    // Select By Row with one folder shown picks rows in the current folder alone. The folder
    // left behind is unmarked, so that no mark reaches further than the grid shows.
    if (old >= 1 && old <= w_.tree.count() && w_.controls.isOn(Control::chkSelectByRow) &&
        !w_.controls.isOn(Control::chkShowAllFolders)) {
        w_.tree.setChecked(old, false);
        builder_.Set_Node_Text(old);
    }

    const int index = builder_.Get_Node_Index(node);
    if (!w_.controls.isOn(Control::chkShowAllFolders) && w_.records[index].Folder) {
        // A folder whose item type cannot be read keeps the columns as they are; the failure is
        // reported and the folder still becomes current.
        w_.errors.run(QStringLiteral("Node_Click_Or_Check - changing folder types"),
                      [&](Procedure&) {
                          if (grid_.takeFolderItemType(node)) {
                              grid_.Set_Grid_Columns();
                          }
                      });
    }

    w_.flags.CurrentNodeIndex = node;
    builder_.Set_Folder_Label(index);
    grid_.Change_Folder_Rows();
    enabling_.Enable_Command_Buttons();
}

bool FolderMarking::Check_Root_Node(int node) const {
    const int parent = w_.tree.Parent(node);
    if (parent == 0) {
        return true;
    }
    return TopLevelIsRoot() && w_.tree.Parent(parent) == 0;
}

bool FolderMarking::Check_For_Unmarked_Child(int node) const {
    const bool marked = w_.tree.node(node).Checked;
    for (int child = w_.tree.Child(node); child != 0; child = w_.tree.Next(child)) {
        if ((marked && !w_.tree.node(child).Checked) || Check_For_Unmarked_Child(child)) {
            return true;
        }
    }
    return false;
}

bool FolderMarking::Check_Selected_Folders() const {
    for (int node = 1; node <= w_.tree.count(); ++node) {
        if (!w_.tree.node(node).Checked) {
            continue;
        }
        const FolderData& record = w_.records[builder_.Get_Node_Index(node)];
        if (record.Folder && !record.Loaded) {
            return false;
        }
    }
    return true;
}

int FolderMarking::Count_Selected_Nodes() const {
    return enabling_.markedNodes();
}

void FolderMarking::Deselect_Folder_Nodes(int keep) {
    for (int node = 1; node <= w_.tree.count(); ++node) {
        if (node != keep && w_.tree.node(node).Checked) {
            w_.tree.setChecked(node, false);
            w_.tree.setBold(node, false);
        }
    }
}

void FolderMarking::Unmark_Nodes(int node) {
    w_.errors.run(QStringLiteral("Unmark_Nodes"), [&](Procedure&) {
        const int parent = w_.tree.Parent(node);
        const int first = parent != 0 ? w_.tree.Child(parent) : w_.tree.topLevel().front();
        for (int n = first; n != 0; n = w_.tree.Next(n)) {
            if (w_.tree.Child(n) != 0) {
                Unmark_Nodes(w_.tree.Child(n));
            }
            w_.tree.setChecked(n, false);
            if (Check_Root_Node(n)) {
                // The tree comes to rest with every store open, its folders in view.
                w_.tree.setExpanded(n, true);
            }
            builder_.Set_Node_Text(n);
        }
    });
}

void FolderMarking::mnuUnmark_Click() {
    w_.errors.run(QStringLiteral("mnuUnmark_Click"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        if (w_.tree.count() >= 1) {
            Unmark_Nodes(w_.tree.topLevel().front());
        }
        grid_.Remove_All_Rows();
        grid_.Mark_Or_Unmark_Filtered_Rows(GridLogic::Marking::None);
        enabling_.Enable_Command_Buttons();
    });
}

}  // namespace tf
