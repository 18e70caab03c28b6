#include "help/help_topics.h"

#include <map>

#include "window/control_ids.h"

namespace tf {

namespace {
// Topic numbers by area: 10xx the window, 11xx screen options, 12xx processing options, 13xx
// filter options, 14xx cleaning, 15xx background pages that no single control owns.
constexpr int kMainWindow = 1000;
}  // namespace

const std::vector<HelpTopic>& helpTopics() {
    static const std::vector<HelpTopic> topics = {
        {kMainWindow, QStringLiteral("index.html")},
        {1010, QStringLiteral("folder-tree.html")},
        {1020, QStringLiteral("item-list.html")},
        {1030, QStringLiteral("splitter-bars.html")},
        {1040, QStringLiteral("current-folder.html")},
        {1050, QStringLiteral("options.html")},
        {1100, QStringLiteral("screen-options.html")},
        {1101, QStringLiteral("mark-sub-folders.html")},
        {1102, QStringLiteral("collapse-folders.html")},
        {1103, QStringLiteral("show-all-folders.html")},
        {1104, QStringLiteral("show-selected-items.html")},
        {1105, QStringLiteral("show-unselected-items.html")},
        {1106, QStringLiteral("select-by-row.html")},
        {1200, QStringLiteral("processing-options.html")},
        {1201, QStringLiteral("turbo.html")},
        {1202, QStringLiteral("permanent-delete.html")},
        {1203, QStringLiteral("confirm-folders.html")},
        {1204, QStringLiteral("confirm-items.html")},
        {1205, QStringLiteral("delete-folders.html")},
        {1300, QStringLiteral("filter-options.html")},
        {1301, QStringLiteral("unread-items.html")},
        {1302, QStringLiteral("older-than.html")},
        {1303, QStringLiteral("subject.html")},
        {1304, QStringLiteral("match-case.html")},
        {1305, QStringLiteral("match-word.html")},
        {1306, QStringLiteral("item-types.html")},
        {1400, QStringLiteral("clean-button.html")},
        {1410, QStringLiteral("status-bar.html")},
        {1500, QStringLiteral("marking-rules.html")},
        {1510, QStringLiteral("safety-checks.html")},
        {1520, QStringLiteral("menus.html")},
        {1530, QStringLiteral("saved-cleanings.html")},
        {1540, QStringLiteral("stores.html")},
    };
    return topics;
}

int designedTopicOf(const QString& name) {
    static const std::map<QString, int> topics = {
        {controlName(Control::trvFolders), 1010},
        {controlName(Control::grdItems), 1020},
        {controlName(Control::picSlider), 1030},
        {controlName(Control::picSlider2), 1030},
        {controlName(Control::lblCurrentFolder), 1040},
        {controlName(Control::frmOptions), 1050},
        {controlName(Control::lblScreenOptions), 1100},
        {controlName(Control::chkMarkSubFolders), 1101},
        {controlName(Control::chkCollapseFolders), 1102},
        {controlName(Control::chkShowAllFolders), 1103},
        {controlName(Control::chkShowSelectedItems), 1104},
        {controlName(Control::chkShowUnselectedItems), 1105},
        {controlName(Control::chkSelectByRow), 1106},
        {controlName(Control::lblProcessingOptions), 1200},
        {controlName(Control::chkTurbo), 1201},
        {controlName(Control::chkPermanentDelete), 1202},
        {controlName(Control::chkConfirmFolders), 1203},
        {controlName(Control::chkConfirmItems), 1204},
        {controlName(Control::chkDeleteFolders), 1205},
        {controlName(Control::lblFilterOptions), 1300},
        {controlName(Control::chkSelectUnread), 1301},
        {controlName(Control::chkSelectDate), 1302},
        {controlName(Control::dtpCutoffDate), 1302},
        {controlName(Control::chkSelectSubject), 1303},
        {controlName(Control::txtSelectSubject), 1303},
        {controlName(Control::chkMatchCase), 1304},
        {controlName(Control::chkMatchWord), 1305},
        {controlName(Control::chkSelectType), 1306},
        {controlName(Control::cmdRun), 1400},
        {controlName(Control::sbStatusBar), 1410},
        {controlName(Control::mnuOpenStore), 1540},
        {controlName(Control::mnuOpenSampleStore), 1540},
        {controlName(Control::mnuCloseStore), 1540},
    };
    const auto it = topics.find(name);
    if (it != topics.end()) {
        return it->second;
    }
    // The type boxes chkType0 to chkType5 share their option's page; menu commands have one page.
    if (name.startsWith(QLatin1String("chkType"))) {
        return 1306;
    }
    return name.startsWith(QLatin1String("mnu")) ? 1520 : 0;
}

int designedTopicOf(Control control) {
    return designedTopicOf(controlName(control));
}

}  // namespace tf
