#pragma once

#include <QString>
#include <array>
#include <optional>

namespace tf {

// Every control of the main window that the logic reads or sets, in the window's own order. The
// names are the controls' names in the window (and their Qt object names), so one list gives
// both the typed ids and the names.
// clang-format off
#define TIDYFOLD_CONTROLS(X) \
    X(trvFolders) \
    X(grdItems) \
    X(picSlider) \
    X(picSlider2) \
    X(frmOptions) \
    X(lblCurrentFolder) \
    X(lblScreenOptions) \
    X(chkMarkSubFolders) \
    X(chkCollapseFolders) \
    X(chkShowAllFolders) \
    X(chkShowSelectedItems) \
    X(chkShowUnselectedItems) \
    X(chkSelectByRow) \
    X(lblProcessingOptions) \
    X(chkTurbo) \
    X(chkPermanentDelete) \
    X(chkConfirmFolders) \
    X(chkConfirmItems) \
    X(chkDeleteFolders) \
    X(lblFilterOptions) \
    X(chkSelectUnread) \
    X(chkSelectDate) \
    X(chkSelectSubject) \
    X(chkSelectType) \
    X(chkType43) \
    X(chkType26) \
    X(chkType40) \
    X(chkType42) \
    X(chkType48) \
    X(chkType44) \
    X(txtSelectSubject) \
    X(dtpCutoffDate) \
    X(chkMatchCase) \
    X(chkMatchWord) \
    X(cmdRun) \
    X(cmddebug) \
    X(linOptions1) \
    X(linOptions2) \
    X(sbStatusBar) \
    X(mnuRun) \
    X(mnuRefresh) \
    X(mnuRefreshCurrent) \
    X(mnuUnmark) \
    X(mnuResetOptions) \
    X(mnuOpenStore) \
    X(mnuOpenSampleStore) \
    X(mnuCloseStore)
// clang-format on

enum class Control : int {
#define TIDYFOLD_CONTROL_ID(name) name,
    TIDYFOLD_CONTROLS(TIDYFOLD_CONTROL_ID)
#undef TIDYFOLD_CONTROL_ID
};

inline constexpr std::array kControlNames = {
#define TIDYFOLD_CONTROL_NAME(name) #name,
    TIDYFOLD_CONTROLS(TIDYFOLD_CONTROL_NAME)
#undef TIDYFOLD_CONTROL_NAME
};
inline constexpr int kControlCount = static_cast<int>(kControlNames.size());

// The control's name in the window: "chkTurbo".
inline QString controlName(Control control) {
    return QLatin1String(kControlNames[static_cast<std::size_t>(control)]);
}

// The control a name stands for, for names that come from outside the code (the widgets'
// object names, the help file's topics); none for an unknown name.
std::optional<Control> controlNamed(const QString& name);

// Every control, in the window's order.
const std::array<Control, kControlCount>& allControls();

}  // namespace tf
