#include "grid/row_selection.h"

#include <algorithm>

#include "window/option_rules.h"

namespace tf {

RowSelection::RowSelection(WindowParts parts, GridLogic& grid, ControlEnabling& enabling)
    : w_(parts), grid_(grid), enabling_(enabling) {
    w_.controls.onClick(Control::chkSelectByRow, [this] { chkSelectByRow_Click(); });
}

void RowSelection::chkSelectByRow_Click() {
    w_.errors.run(QStringLiteral("chkSelectByRow_Click"), [&](Procedure&) {
        anchor_ = 0;  // the rows are about to change
        // Switching off needs nobody's leave; only switching on is asked about.
        if (w_.controls.isOn(Control::chkSelectByRow)) {
            if (grid_.Check_Select_By_Row()) {
                for (const ForcedValue& f : kSelectByRowForces) {
                    w_.controls.setValue(f.box, f.value);
                }
                grid_.Set_Grid_Order();
            } else {
                // Runs this handler again, for the box now off.
                w_.controls.setValue(Control::chkSelectByRow, 0);
                return;
            }
        }
        if (!w_.controls.isOn(Control::chkSelectByRow)) {
            // The hand-picked marks give way to the filters' again.
            RedrawOff redrawOff(w_.grid);
            grid_.Mark_Or_Unmark_Filtered_Rows(GridLogic::Marking::ByFilters);
        }
        enabling_.Enable_Check_Boxes();
        enabling_.Enable_Command_Buttons();
    });
}

void RowSelection::grdItems_MouseUp(int button, int shift, int mouseRow) {
    w_.errors.run(QStringLiteral("grdItems_MouseUp"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        const bool dataRow =
            mouseRow >= 1 && mouseRow < w_.grid.Rows() && w_.grid.RowData(mouseRow) >= 1;
        if (button == kLeftButton && dataRow && w_.controls.isOn(Control::chkSelectByRow) &&
            grid_.Check_Select_By_Row()) {
            if (!grid_.inDeletedItems(w_.grid.row(mouseRow)) ||
                w_.controls.isOn(Control::chkPermanentDelete)) {
                // Shift wins over Ctrl when both are held: the range is what a user means.
                if ((shift & kShift) != 0 && anchor_ >= 1) {
                    selectRange(std::min(anchor_, mouseRow), std::max(anchor_, mouseRow));
                } else if ((shift & kCtrl) != 0 && (shift & kShift) == 0) {
                    Select_Or_Unselect(mouseRow);
                    anchor_ = mouseRow;
                } else {
                    selectRange(mouseRow, mouseRow);
                    anchor_ = mouseRow;
                }
            } else {
                w_.prompter.tell(
                    QStringLiteral("Cannot select \"Deleted Items\" items unless "
                                   "Permanent Delete is marked"));
            }
        }
        enabling_.Enable_Command_Buttons();
    });
}

void RowSelection::Select_Or_Unselect(int row) {
    w_.errors.run(QStringLiteral("Select_Or_Unselect"), [&](Procedure&) {
        const bool select = w_.grid.row(row).mark == kRowUnmarked;
        w_.grid.setMark(row, select ? kRowMarked : kRowUnmarked);
        // An unselected row goes back to the grid's own background, as unselected rows have.
        w_.grid.setBackground(row, select ? w_.colours.highlight : GridRow::kNoBackground);
        enabling_.Enable_Command_Buttons();
    });
}

}  // namespace tf
