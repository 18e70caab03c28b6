#include <array>
#include <utility>

#include "common/text.h"
#include "grid/grid_columns.h"
#include "grid/grid_logic.h"

namespace tf {

bool GridLogic::Add_New_Row(int folder, int item, RowMarker marker, bool selected) {
    bool added = false;
    w_.errors.run(QStringLiteral("Add_New_Row"), [&](Procedure&) {
        GridRow row;
        row.folder = folder;
        row.item = item;
        if (on(Control::chkShowAllFolders)) {
            row.marker = marker;
        }
        const ItemData* data = itemOf(row);
        const bool unread = data != nullptr && data->Unread != 0;
        row.bold = unread;
        if (selected) {
            if (unread) {
                row.background = w_.colours.highlight;
            }
            row.mark = kRowMarked;
        }
        added = w_.grid.addRow(row);
        if (!added && !fullShown_) {
            fullShown_ = true;
            w_.prompter.tell(
                QStringLiteral("Insufficient memory to display all selected items.\r\nSelect fewer "
                               "folders or change Screen Options to diplay fewer items."));
        }
    });
    return added;
}

void GridLogic::Add_Folder_Rows(int folder, int node, RowMarker marker) {
    w_.errors.run(QStringLiteral("Add_Folder_Rows"), [&](Procedure&) {
        FolderData& record = w_.records[folder];
        const bool fresh = marker != RowMarker::Selected && marker != RowMarker::Unselected;
        // Fresh rows are the items read since the last call; a show option switched on brings
        // back the kind of rows it had left out, among the items already handed over.
        const int first = fresh ? record.GridCount + 1 : 1;
        const int last = fresh ? record.CachedCount : record.GridCount;
        const int cacheSize = static_cast<int>(record.ItemCache.size());
        const int firstNewRow = w_.grid.Rows();
        // Every selected row stands out, read or unread, however it came into the grid.
        const auto paintNewRows = [&] {
            for (int r = firstNewRow; r < w_.grid.Rows(); ++r) {
                paintRow(r);
            }
        };
        for (int i = first; i <= last && i <= cacheSize; ++i) {
            if (record.ItemCache[static_cast<std::size_t>(i - 1)].isHole()) {
                continue;
            }
            const bool selected = filters_.Check_Filtered_Record(node, folder, i);
            bool show = false;
            if (marker == RowMarker::Selected) {
                show = selected;
            } else if (marker == RowMarker::Unselected) {
                show = !selected;
            } else {
                show = selected ? on(Control::chkShowSelectedItems)
                                : on(Control::chkShowUnselectedItems);
            }
            if (show && !Add_New_Row(folder, i, marker, selected)) {
                if (fresh) {
                    record.GridCount = i - 1;
                }
                paintNewRows();
                return;
            }
        }
        paintNewRows();
        if (fresh) {
            record.GridCount = std::max(record.GridCount, std::min(last, cacheSize));
        }
    });
}

std::vector<int> GridLogic::shownNodes() const {
    std::vector<int> nodes;
    if (on(Control::chkShowAllFolders)) {
        for (int node = 1; node <= w_.tree.count(); ++node) {
            if (w_.tree.node(node).Checked) {
                nodes.push_back(node);
            }
        }
    } else if (w_.flags.CurrentNodeIndex >= 1 && w_.flags.CurrentNodeIndex <= w_.tree.count()) {
        nodes.push_back(w_.flags.CurrentNodeIndex);
    }
    return nodes;
}

void GridLogic::Add_All_Folders_Rows(RowMarker marker) {
    w_.errors.run(QStringLiteral("Add_All_Folders_Rows"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        for (const int node : shownNodes()) {
            const int folder = builder_.Get_Node_Index(node);
            if (!w_.records[folder].Folder) {
                continue;
            }
            Display_Update_Grid_Status(w_.records[folder].Folder->Name());
            Add_Folder_Rows(folder, node, marker);
        }
        w_.status.setText(1, QString());
        Set_Grid_Order();
    });
}

void GridLogic::Remove_All_Rows() {
    w_.grid.setRows(1);
    for (int i = 1; i <= w_.records.upperBoundIndex(); ++i) {
        w_.records[i].GridCount = 0;
    }
    fullShown_ = false;
}

void GridLogic::Remove_Folder_Rows(int folder) {
    w_.grid.removeRowsIf([folder](const GridRow& row) { return row.folder == folder; });
    w_.records[folder].GridCount = 0;
}

void GridLogic::Remove_Filtered_Rows() {
    w_.grid.removeRowsIf([this](const GridRow& row) { return itemOf(row) == nullptr; });
}

void GridLogic::Remove_Nonselected_Folder_Rows() {
    std::vector<bool> unmarked(static_cast<std::size_t>(w_.records.upperBoundIndex()) + 1, false);
    for (int node = 1; node <= w_.tree.count(); ++node) {
        if (!w_.tree.node(node).Checked) {
            const int folder = builder_.Get_Node_Index(node);
            unmarked[static_cast<std::size_t>(folder)] = true;
            w_.records[folder].GridCount = 0;
        }
    }
    w_.grid.removeRowsIf([&](const GridRow& row) {
        return row.folder >= 0 && static_cast<std::size_t>(row.folder) < unmarked.size() &&
               unmarked[static_cast<std::size_t>(row.folder)];
    });
}

void GridLogic::Remove_Selected_Or_Unselected_Rows(RowMarker which) {
    const RowMark mark = which == RowMarker::Selected ? kRowMarked : kRowUnmarked;
    w_.grid.removeRowsIf([mark](const GridRow& row) { return row.mark == mark; });
}

void GridLogic::Change_Filtered_Rows() {
    w_.errors.run(QStringLiteral("Change_Filtered_Rows"), [&](Procedure&) {
        if (on(Control::chkShowSelectedItems) && on(Control::chkShowUnselectedItems)) {
            Mark_Or_Unmark_Filtered_Rows(Marking::ByFilters);
            return;
        }
        Remove_All_Rows();
        Add_All_Folders_Rows(RowMarker::None);
    });
}

void GridLogic::Change_Folder_Rows() {
    w_.errors.run(QStringLiteral("Change_Folder_Rows"), [&](Procedure&) {
        Remove_All_Rows();
        Add_All_Folders_Rows(RowMarker::None);
    });
}

}  // namespace tf
