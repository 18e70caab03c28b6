#include "window/control_enabling.h"

#include <set>

#include "window/grid_rows.h"
#include "window/option_rules.h"
#include "window/type_boxes.h"

namespace tf {

const std::vector<OptionDefault>& defaultOptions() {
    static const std::vector<OptionDefault> defaults = {{Control::chkDeleteFolders, 0},
                                                        {Control::chkTurbo, 0},
                                                        {Control::chkSelectByRow, 0},
                                                        {Control::chkMarkSubFolders, 0},
                                                        {Control::chkCollapseFolders, 0},
                                                        {Control::chkShowAllFolders, 0},
                                                        {Control::chkShowSelectedItems, 1},
                                                        {Control::chkShowUnselectedItems, 1},
                                                        {Control::chkPermanentDelete, 0},
                                                        {Control::chkConfirmFolders, 1},
                                                        {Control::chkConfirmItems, 0},
                                                        {Control::chkSelectUnread, 0},
                                                        {Control::chkSelectDate, 0},
                                                        {Control::chkSelectSubject, 0},
                                                        {Control::chkMatchCase, 0},
                                                        {Control::chkMatchWord, 0},
                                                        {Control::chkSelectType, 0},
                                                        {Control::chkType43, 1},
                                                        {Control::chkType26, 1},
                                                        {Control::chkType40, 1},
                                                        {Control::chkType42, 1},
                                                        {Control::chkType48, 1},
                                                        {Control::chkType44, 1}};
    return defaults;
}

const std::vector<ControlTooltip>& controlTooltips() {
    static const std::vector<ControlTooltip> tooltips = {
        {Control::trvFolders, "Folder Tree - Click on check boxes to select folders"},
        {Control::grdItems, "Items List - check Select By Row to enable"},
        {Control::picSlider, "Re-sizing bar - click, hold and drag"},
        {Control::picSlider2, "Re-sizing bar - click, hold and drag"},
        {Control::lblCurrentFolder, "Current Folder"},
        {Control::lblScreenOptions, "Options controlling screen behaviour"},
        {Control::chkMarkSubFolders, "Mark all sub folders."},
        {Control::chkCollapseFolders, "Allow marked sub folders to be collapsed and hidden."},
        {Control::chkShowAllFolders, "Show items from all selected folders"},
        {Control::chkShowSelectedItems, "Show selected items"},
        {Control::chkShowUnselectedItems, "Show unselected items"},
        {Control::chkSelectByRow, "Enable select by row"},
        {Control::lblProcessingOptions, "Options controlling how records are processed"},
        {Control::chkTurbo, "Specify maximum processing speed."},
        {Control::chkPermanentDelete, "Permanently remove items."},
        {Control::chkConfirmFolders, "Confirm each folder before processing."},
        {Control::chkConfirmItems, "Confirm each item before removal."},
        {Control::chkDeleteFolders, "Permanently delete selected folders."},
        {Control::lblFilterOptions, "Options controlling which records are deleted."},
        {Control::chkSelectUnread, "Remove unread items."},
        {Control::chkSelectDate, "Remove only items as old or older than the indicated date."},
        {Control::chkSelectSubject, "Remove only items matching indicated subject line."},
        {Control::chkSelectType, "Remove only items of selected type(s)."},
        {Control::txtSelectSubject, "Enter text then press <Tab> or <Enter> to change filter."},
        {Control::dtpCutoffDate,
         "Click drop down box to pick date or \r\nuse arrow keys to change date then press <Tab> "
         "or <Enter> to change filter."},
        {Control::chkMatchCase, "Case must match to select item."},
        {Control::chkMatchWord, "Entire subject line must be entered to select item."},
        {Control::cmdRun, "Start cleaning."}};
    return tooltips;
}

void ControlEnabling::Enable_All_Controls(bool enable) {
    w_.errors.run(QStringLiteral("Enable_All_Controls"), [&](Procedure&) {
        for (const Control name : allControls()) {
            if (w_.controls[name].enabled != enable) {
                w_.controls.setEnabled(name, enable);
            }
        }
        const Control run = Control::cmdRun;
        if (w_.flags.Processing) {
            w_.controls.setEnabled(run, true);
            w_.controls.setCaption(run, QStringLiteral("&Cancel"));
        } else {
            w_.controls.setCaption(run, QStringLiteral("&Clean"));
        }
        Enable_Check_Boxes();
        Enable_Command_Buttons();
    });
}

void ControlEnabling::Enable_Check_Boxes() {
    if (w_.flags.Processing) {
        return;
    }
    w_.errors.run(QStringLiteral("Enable_Check_Boxes"), [&](Procedure&) {
        std::set<Control> forced;
        const auto forcedBy = [&](Control mode, const auto& forces) {
            if (w_.controls.isOn(mode)) {
                for (const ForcedValue& f : forces) {
                    forced.insert(f.box);
                }
            }
        };
        forcedBy(Control::chkDeleteFolders, kDeleteFoldersForces);
        forcedBy(Control::chkTurbo, kTurboForces);
        forcedBy(Control::chkSelectByRow, kSelectByRowForces);

        const auto enable = [&](Control name, bool enabled) {
            if (w_.controls[name].enabled != enabled) {
                w_.controls.setEnabled(name, enabled);
            }
        };
        for (const Control box :
             {Control::chkMarkSubFolders, Control::chkCollapseFolders, Control::chkShowAllFolders,
              Control::chkShowSelectedItems, Control::chkShowUnselectedItems,
              Control::chkSelectByRow, Control::chkTurbo, Control::chkPermanentDelete,
              Control::chkConfirmFolders, Control::chkConfirmItems, Control::chkDeleteFolders,
              Control::chkSelectUnread, Control::chkSelectDate, Control::chkSelectSubject,
              Control::chkSelectType}) {
            enable(box, forced.count(box) == 0);
        }

        // A filter's own controls work while the filter is on.
        enable(Control::dtpCutoffDate, w_.controls.isOn(Control::chkSelectDate));
        const bool subject = w_.controls.isOn(Control::chkSelectSubject);
        for (const Control name :
             {Control::txtSelectSubject, Control::chkMatchCase, Control::chkMatchWord}) {
            enable(name, subject);
        }
        const std::uint32_t back =
            subject ? ControlState::kWindowBackground : ControlState::kFormBackground;
        if (w_.controls[Control::txtSelectSubject].backColor != back) {
            w_.controls.update(Control::txtSelectSubject,
                               [back](ControlState& c) { c.backColor = back; });
        }
        for (const TypeBox& box : kTypeBoxes) {
            enable(box.control, w_.controls.isOn(Control::chkSelectType));
        }
    });
}

int ControlEnabling::markedNodes() const {
    int marked = 0;
    for (int node = 1; node <= w_.tree.count(); ++node) {
        marked += w_.tree.node(node).Checked ? 1 : 0;
    }
    return marked;
}

void ControlEnabling::Enable_Command_Buttons() {
    if (w_.flags.Processing) {
        // The only way to stop a run: never taken away while it goes on.
        w_.controls.setEnabled(Control::cmdRun, true);
        return;
    }
    const int marked = markedNodes();
    const int count =
        w_.controls.isOn(Control::chkSelectByRow) ? markedRowCount(w_.grid, w_.records) : marked;
    w_.controls.setEnabled(Control::cmdRun, count >= 1);
    w_.controls.setEnabled(Control::mnuRun, count >= 1);
    w_.controls.setEnabled(Control::mnuUnmark, marked >= 1);
}

void ControlEnabling::Load_Tooltips() {
    for (const ControlTooltip& tip : controlTooltips()) {
        w_.controls.update(tip.control,
                           [&](ControlState& c) { c.toolTip = QLatin1String(tip.text); });
    }
}

void ControlEnabling::Set_Checkbox_Values() {
    w_.errors.run(QStringLiteral("Set_Checkbox_Values"), [&](Procedure&) {
        for (const OptionDefault& option : defaultOptions()) {
            w_.controls.setValue(option.box, option.value);
        }
        Enable_Check_Boxes();
    });
}

void ControlEnabling::setStartValues() {
    for (const OptionDefault& option : defaultOptions()) {
        w_.controls.update(option.box, [&](ControlState& c) { c.value = option.value; });
    }
    Enable_Check_Boxes();
}

}  // namespace tf
