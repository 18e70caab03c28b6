#pragma once

#include "grid/grid_logic.h"
#include "window/control_enabling.h"
#include "window/window_parts.h"

namespace tf {

// Select By Row: the user picks the rows a run takes by clicking them. The marks live in the grid
// itself, so the grid is the only record of the user's choice.
class RowSelection {
  public:
    // The mouse button and key state of a click, as the grid reports them.
    static constexpr int kLeftButton = 1;
    static constexpr int kShift = 1;
    static constexpr int kCtrl = 2;

    // Registers the option's handler with the controls.
    RowSelection(WindowParts parts, GridLogic& grid, ControlEnabling& enabling);

    void chkSelectByRow_Click();
    // The only place where a click changes marks: a plain click selects one row, Shift selects
    // from the anchor to the row, Ctrl toggles the row.
    void grdItems_MouseUp(int button, int shift, int mouseRow);
    // Toggles one row's mark and paints it.
    void Select_Or_Unselect(int row);

    // The row of the last plain click or Ctrl-click; below 1 for none.
    int anchor() const { return anchor_; }

  private:
    void selectRange(int first, int last) { grid_.Mark_And_Unmark_Selected_Range(first, last); }

    WindowParts w_;
    GridLogic& grid_;
    ControlEnabling& enabling_;
    int anchor_ = 0;
};

}  // namespace tf
