#include <array>
#include <utility>

#include "common/text.h"
#include "grid/grid_columns.h"
#include "grid/grid_logic.h"

namespace tf {

const ItemData* GridLogic::itemOf(const GridRow& row) const {
    return cachedItemOf(w_.records, row);
}

int GridLogic::Get_Rows_Selected_Count() const {
    return Get_Rows_Selected_Count(-1);
}

int GridLogic::Get_Rows_Selected_Count(int deletedItemsIndex) const {
    return markedRowCount(w_.grid, w_.records, deletedItemsIndex);
}

void GridLogic::Mark_Or_Unmark_Filtered_Rows(Marking marking) {
    w_.errors.run(QStringLiteral("Mark_Or_Unmark_Filtered_Rows"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        for (int r = 1; r < w_.grid.Rows(); ++r) {
            const GridRow& row = w_.grid.row(r);
            bool selected = marking == Marking::All;
            if (marking == Marking::ByFilters) {
                const int node = row.folder;  // the tree gives each record its node's index
                selected = row.folder >= 1 && row.folder <= w_.tree.count() &&
                           filters_.Check_Filtered_Record(node, row.folder, row.item);
            }
            w_.grid.setMark(r, selected ? kRowMarked : kRowUnmarked);
        }
        Paint_Entire_Grid();
    });
}

void GridLogic::Mark_And_Unmark_Selected_Range(int first, int last) {
    w_.errors.run(QStringLiteral("Mark_And_Unmark_Selected_Range"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        bool told = false;
        const bool permanent = on(Control::chkPermanentDelete);
        for (int r = 1; r < w_.grid.Rows(); ++r) {
            const RowMark mark = w_.grid.row(r).mark;
            if (r < first || r > last) {
                if (mark == kRowMarked) {
                    w_.grid.setMark(r, kRowUnmarked);
                }
                continue;
            }
            if (mark != kRowUnmarked) {
                continue;
            }
            if (!permanent && inDeletedItems(w_.grid.row(r))) {
                if (!told) {
                    told = true;
                    w_.prompter.tell(
                        QStringLiteral("Cannot select items in \"Deleted Items\" "
                                       "folder unless Permanent delete is marked."));
                }
                continue;
            }
            w_.grid.setMark(r, kRowMarked);
        }
        Paint_Entire_Grid();
        Set_Grid_Order();
    });
}

bool GridLogic::inDeletedItems(const GridRow& row) const {
    // The folder column says the same in the all-folders view; the folder itself says it in
    // every view. The tree gives each record its node's index.
    return row.folder >= 1 && row.folder <= w_.tree.count() &&
           deletedItems_.Is_Deleted_Items_Folder(row.folder);
}

void GridLogic::paintRow(int r) {
    const bool selected = w_.grid.row(r).mark == kRowMarked;
    w_.grid.setBackground(r, selected ? w_.colours.highlight : GridRow::kNoBackground);
}

void GridLogic::Paint_Entire_Grid() {
    RedrawOff redrawOff(w_.grid);
    for (int r = 1; r < w_.grid.Rows(); ++r) {
        paintRow(r);
    }
}

}  // namespace tf
