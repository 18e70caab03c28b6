#include "tree/folder_reload.h"

namespace tf {

void FolderReload::Reset_Folder_Node(int index) {
    w_.records.reset(index);
}

void FolderReload::Reload_Marked_Folders() {
    w_.errors.run(QStringLiteral("Reload_Marked_Folders"), [&](Procedure&) {
        for (int node = 1; node <= w_.tree.count(); ++node) {
            const int index = builder_.Get_Node_Index(node);
            if (!w_.records[index].Reload) {
                continue;
            }
            grid_.Remove_Folder_Rows(index);
            Reset_Folder_Node(index);
            builder_.Set_Node_Text(node);
            w_.tree.setForeColor(node, w_.colours.unloaded);
        }
    });
}

void FolderReload::Set_Children_Nodes_Checkboxes(int node, bool checked) {
    w_.errors.run(QStringLiteral("Set_Children_Nodes_Checkboxes"), [&](Procedure&) {
        if (node == 0) {
            return;
        }
        if (checked && w_.tree.Parent(node) != 0) {
            w_.tree.setExpanded(w_.tree.Parent(node), true);
        }
        for (int n = node; n != 0; n = w_.tree.Next(n)) {
            if (!w_.tree.node(n).Checked) {
                w_.tree.setChecked(n, checked);
                if (w_.controls.value(Control::chkShowAllFolders) == 1) {
                    const int index = builder_.Get_Node_Index(n);
                    w_.records[index].GridCount = 0;
                    grid_.Add_Folder_Rows(index, n, RowMarker::None);
                }
            }
            w_.tree.setBold(n, checked);
            if (w_.tree.Child(n) != 0) {
                Set_Children_Nodes_Checkboxes(w_.tree.Child(n), checked);
            }
        }
    });
}

}  // namespace tf
