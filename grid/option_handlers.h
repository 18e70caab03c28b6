#pragma once

#include "grid/grid_logic.h"
#include "window/control_enabling.h"
#include "window/window_parts.h"

namespace tf {

// The click handlers of the filter and show options: each keeps its dependent controls in step
// and brings the grid up to date. They run when the user changes an option and when the code
// sets one, so the interlocks hold either way.
class OptionHandlers {
  public:
    // Registers the handlers with the controls.
    OptionHandlers(WindowParts parts, GridLogic& grid, ControlEnabling& enabling);

    void chkMatchCase_Click() { refilter(QStringLiteral("chkMatchCase_Click")); }
    void chkMatchWord_Click() { refilter(QStringLiteral("chkMatchWord_Click")); }
    void chkSelectUnread_Click() { refilter(QStringLiteral("chkSelectUnread_Click")); }
    void chkType_Click() { refilter(QStringLiteral("chkType_Click")); }
    void dtpCutoffDate_CloseUp() { refilter(QStringLiteral("dtpCutoffDate_CloseUp")); }
    // Only Enter (13) filters; other keys leave the grid alone.
    void dtpCutoffDate_KeyDown(int keyCode);
    void dtpCutoffDate_Validate();
    // The grid's redraw goes off and on for every key; Enter (13) filters.
    void txtSelectSubject_KeyPress(int keyAscii);
    void txtSelectSubject_Validate();
    void chkSelectDate_Click();
    void chkSelectSubject_Click();
    void chkSelectType_Click();

    void chkShowAllFolders_Click();
    void chkShowSelectedItems_Click();
    void chkShowUnselectedItems_Click();

    static constexpr int kEnter = 13;

  private:
    // The common work: the grid follows the filters, then the buttons follow the grid.
    void refilter(const QString& name);
    // A show option: adds or removes the rows it stands for.
    void showOrHide(Control option, RowMarker rows);
    // Runs work as the procedure name with the grid's redraw off around it.
    template <typename Work>
    void withRedrawOff(const QString& name, Work&& work);

    WindowParts w_;
    GridLogic& grid_;
    ControlEnabling& enabling_;
};

}  // namespace tf
