#include "grid/option_handlers.h"

#include "cache/item_filters.h"

namespace tf {

OptionHandlers::OptionHandlers(WindowParts parts, GridLogic& grid, ControlEnabling& enabling)
    : w_(parts), grid_(grid), enabling_(enabling) {
    Controls& c = w_.controls;
    c.onClick(Control::chkMatchCase, [this] { chkMatchCase_Click(); });
    c.onClick(Control::chkMatchWord, [this] { chkMatchWord_Click(); });
    c.onClick(Control::chkSelectUnread, [this] { chkSelectUnread_Click(); });
    for (const TypeBox& box : kTypeBoxes) {
        c.onClick(box.control, [this] { chkType_Click(); });
    }
    c.onClick(Control::chkSelectDate, [this] { chkSelectDate_Click(); });
    c.onClick(Control::chkSelectSubject, [this] { chkSelectSubject_Click(); });
    c.onClick(Control::chkSelectType, [this] { chkSelectType_Click(); });
    c.onClick(Control::chkShowAllFolders, [this] { chkShowAllFolders_Click(); });
    c.onClick(Control::chkShowSelectedItems, [this] { chkShowSelectedItems_Click(); });
    c.onClick(Control::chkShowUnselectedItems, [this] { chkShowUnselectedItems_Click(); });
}

template <typename Work>
void OptionHandlers::withRedrawOff(const QString& name, Work&& work) {
    w_.errors.run(name, [&](Procedure&) {
        w_.grid.setRedraw(false);
        work();
        w_.grid.setRedraw(true);
    });
    // A failure above is reported; the grid must not stay frozen after it.
    w_.grid.setRedraw(true);
}

void OptionHandlers::refilter(const QString& name) {
    withRedrawOff(name, [&] {
        grid_.Change_Filtered_Rows();
        enabling_.Enable_Command_Buttons();
    });
}

void OptionHandlers::dtpCutoffDate_KeyDown(int keyCode) {
    if (keyCode == kEnter) {
        refilter(QStringLiteral("dtpCutoffDate_KeyDown"));
    }
}

void OptionHandlers::dtpCutoffDate_Validate() {
    withRedrawOff(QStringLiteral("dtpCutoffDate_Validate"), [&] { grid_.Change_Filtered_Rows(); });
}

void OptionHandlers::txtSelectSubject_KeyPress(int keyAscii) {
    withRedrawOff(QStringLiteral("txtSelectSubject_KeyPress"), [&] {
        if (keyAscii == kEnter) {
            grid_.Change_Filtered_Rows();
            enabling_.Enable_Command_Buttons();
        }
    });
}

void OptionHandlers::txtSelectSubject_Validate() {
    withRedrawOff(QStringLiteral("txtSelectSubject_Validate"),
                  [&] { grid_.Change_Filtered_Rows(); });
}

void OptionHandlers::chkSelectDate_Click() {
    withRedrawOff(QStringLiteral("chkSelectDate_Click"), [&] {
        enabling_.Enable_Check_Boxes();
        grid_.Change_Filtered_Rows();
        enabling_.Enable_Command_Buttons();
    });
}

void OptionHandlers::chkSelectSubject_Click() {
    withRedrawOff(QStringLiteral("chkSelectSubject_Click"), [&] {
        // The text box, its colour and the two match boxes follow the filter.
        enabling_.Enable_Check_Boxes();
        grid_.Change_Filtered_Rows();
        enabling_.Enable_Command_Buttons();
    });
}

void OptionHandlers::chkSelectType_Click() {
    w_.errors.run(QStringLiteral("chkSelectType_Click"), [&](Procedure&) {
        enabling_.Enable_Check_Boxes();
        grid_.Change_Filtered_Rows();
        enabling_.Enable_Command_Buttons();
    });
}

void OptionHandlers::chkShowAllFolders_Click() {
    const bool on = w_.controls.value(Control::chkShowAllFolders) == 1;
    if (on && w_.controls.value(Control::chkSelectByRow) == 1 && !grid_.Check_Select_By_Row()) {
        // Setting the box back runs this handler again, for the box now off.
        w_.controls.setValue(Control::chkShowAllFolders, 0);
        return;
    }
    withRedrawOff(QStringLiteral("chkShowAllFolders_Click"), [&] {
        // The view gains or loses the folder column, and the rows of every marked folder come
        // or go. Back to one folder, the columns are those of its item type, which may have
        // changed while all folders showed.
        if (!on) {
            w_.errors.attempt([&] { grid_.takeFolderItemType(w_.flags.CurrentNodeIndex); });
            w_.errors.current.clear();
        }
        grid_.Set_Grid_Columns();
        grid_.Remove_All_Rows();
        grid_.Add_All_Folders_Rows(RowMarker::None);
        enabling_.Enable_Command_Buttons();
    });
}

void OptionHandlers::chkShowSelectedItems_Click() {
    showOrHide(Control::chkShowSelectedItems, RowMarker::Selected);
}

void OptionHandlers::chkShowUnselectedItems_Click() {
    showOrHide(Control::chkShowUnselectedItems, RowMarker::Unselected);
}

void OptionHandlers::showOrHide(Control option, RowMarker rows) {
    withRedrawOff(controlName(option) + QStringLiteral("_Click"), [&] {
        // Switched on, the kind of rows the option had left out is added; switched off, it goes.
        if (w_.controls.value(option) == 1) {
            grid_.Add_All_Folders_Rows(rows);
        } else {
            grid_.Remove_Selected_Or_Unselected_Rows(rows);
        }
        enabling_.Enable_Command_Buttons();
    });
}

}  // namespace tf
