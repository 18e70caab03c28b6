#include "app/control_enabling.h"

#include <set>

#include "cache/item_filters.h"
#include "marking/option_rules.h"

namespace tf {

const std::vector<OptionDefault>& defaultOptions() {
    static const std::vector<OptionDefault> defaults = {{"chkDeleteFolders", 0},
                                                        {"chkTurbo", 0},
                                                        {"chkSelectByRow", 0},
                                                        {"chkMarkSubFolders", 0},
                                                        {"chkCollapseFolders", 0},
                                                        {"chkShowAllFolders", 0},
                                                        {"chkShowSelectedItems", 1},
                                                        {"chkShowUnselectedItems", 1},
                                                        {"chkPermanentDelete", 0},
                                                        {"chkConfirmFolders", 1},
                                                        {"chkConfirmItems", 0},
                                                        {"chkSelectUnread", 0},
                                                        {"chkSelectDate", 0},
                                                        {"chkSelectSubject", 0},
                                                        {"chkMatchCase", 0},
                                                        {"chkMatchWord", 0},
                                                        {"chkSelectType", 0},
                                                        {"chkType43", 1},
                                                        {"chkType26", 1},
                                                        {"chkType40", 1},
                                                        {"chkType42", 1},
                                                        {"chkType48", 1},
                                                        {"chkType44", 1}};
    return defaults;
}

const std::vector<ControlTooltip>& controlTooltips() {
    static const std::vector<ControlTooltip> tooltips = {
        {"trvFolders", "Folder Tree - Click on check boxes to select folders"},
        {"grdItems", "Items List - check Select By Row to enable"},
        {"picSlider", "Re-sizing bar - click, hold and drag"},
        {"picSlider2", "Re-sizing bar - click, hold and drag"},
        {"lblCurrentFolder", "Current Folder"},
        {"lblScreenOptions", "Options controlling screen behaviour"},
        {"chkMarkSubFolders", "Mark all sub folders."},
        {"chkCollapseFolders", "Allow marked sub folders to be collapsed and hidden."},
        {"chkShowAllFolders", "Show items from all selected folders"},
        {"chkShowSelectedItems", "Show selected items"},
        {"chkShowUnselectedItems", "Show unselected items"},
        {"chkSelectByRow", "Enable select by row"},
        {"lblProcessingOptions", "Options controlling how records are processed"},
        {"chkTurbo", "Specify maximum processing speed."},
        {"chkPermanentDelete", "Permanently remove items."},
        {"chkConfirmFolders", "Confirm each folder before processing."},
        {"chkConfirmItems", "Confirm each item before removal."},
        {"chkDeleteFolders", "Permanently delete selected folders."},
        {"lblFilterOptions", "Options controlling which records are deleted."},
        {"chkSelectUnread", "Remove unread items."},
        {"chkSelectDate", "Remove only items as old or older than the indicated date."},
        {"chkSelectSubject", "Remove only items matching indicated subject line."},
        {"chkSelectType", "Remove only items of selected type(s)."},
        {"txtSelectSubject", "Enter text then press <Tab> or <Enter> to change filter."},
        {"dtpCutoffDate",
         "Click drop down box to pick date or \r\nuse arrow keys to change date then press <Tab> "
         "or <Enter> to change filter."},
        {"chkMatchCase", "Case must match to select item."},
        {"chkMatchWord", "Entire subject line must be entered to select item."},
        {"cmdRun", "Start cleaning."}};
    return tooltips;
}

void ControlEnabling::Enable_All_Controls(bool enable) {
    w_.errors.run(QStringLiteral("Enable_All_Controls"), [&](Procedure&) {
        for (const QString& name : w_.controls.names()) {
            if (w_.controls[name].enabled != enable) {
                w_.controls.setEnabled(name, enable);
            }
        }
        const QString run = QStringLiteral("cmdRun");
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
        std::set<QString> forced;
        const auto forcedBy = [&](const char* mode, const auto& forces) {
            if (w_.controls.isOn(mode)) {
                for (const ForcedValue& f : forces) {
                    forced.insert(QLatin1String(f.box));
                }
            }
        };
        forcedBy("chkDeleteFolders", kDeleteFoldersForces);
        forcedBy("chkTurbo", kTurboForces);
        forcedBy("chkSelectByRow", kSelectByRowForces);

        const auto enable = [&](const QString& name, bool enabled) {
            if (w_.controls[name].enabled != enabled) {
                w_.controls.setEnabled(name, enabled);
            }
        };
        for (const char* box :
             {"chkMarkSubFolders", "chkCollapseFolders", "chkShowAllFolders",
              "chkShowSelectedItems", "chkShowUnselectedItems", "chkSelectByRow", "chkTurbo",
              "chkPermanentDelete", "chkConfirmFolders", "chkConfirmItems", "chkDeleteFolders",
              "chkSelectUnread", "chkSelectDate", "chkSelectSubject", "chkSelectType"}) {
            const QString name = QLatin1String(box);
            enable(name, forced.count(name) == 0);
        }

        // A filter's own controls work while the filter is on.
        enable(QStringLiteral("dtpCutoffDate"), w_.controls.isOn("chkSelectDate"));
        const bool subject = w_.controls.isOn("chkSelectSubject");
        for (const char* name : {"txtSelectSubject", "chkMatchCase", "chkMatchWord"}) {
            enable(QLatin1String(name), subject);
        }
        const std::uint32_t back =
            subject ? ControlState::kWindowBackground : ControlState::kFormBackground;
        if (w_.controls[QStringLiteral("txtSelectSubject")].backColor != back) {
            w_.controls.update(QStringLiteral("txtSelectSubject"),
                               [back](ControlState& c) { c.backColor = back; });
        }
        for (const TypeBox& box : kTypeBoxes) {
            enable(QLatin1String(box.name), w_.controls.isOn("chkSelectType"));
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
        w_.controls.setEnabled(QStringLiteral("cmdRun"), true);
        return;
    }
    const int marked = markedNodes();
    const int count = w_.controls.isOn("chkSelectByRow") ? grid_.Get_Rows_Selected_Count() : marked;
    w_.controls.setEnabled(QStringLiteral("cmdRun"), count >= 1);
    w_.controls.setEnabled(QStringLiteral("mnuRun"), count >= 1);
    w_.controls.setEnabled(QStringLiteral("mnuUnmark"), marked >= 1);
}

void ControlEnabling::Load_Tooltips() {
    for (const ControlTooltip& tip : controlTooltips()) {
        w_.controls.update(QLatin1String(tip.control),
                           [&](ControlState& c) { c.toolTip = QLatin1String(tip.text); });
    }
}

void ControlEnabling::Set_Checkbox_Values() {
    w_.errors.run(QStringLiteral("Set_Checkbox_Values"), [&](Procedure&) {
        for (const OptionDefault& option : defaultOptions()) {
            w_.controls.setValue(QLatin1String(option.box), option.value);
        }
        Enable_Check_Boxes();
    });
}

void ControlEnabling::setStartValues() {
    for (const OptionDefault& option : defaultOptions()) {
        w_.controls.update(QLatin1String(option.box),
                           [&](ControlState& c) { c.value = option.value; });
    }
    Enable_Check_Boxes();
}

}  // namespace tf
