#include "help/help_topics.h"

#include <map>

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
    };
    return topics;
}

int designedTopicOf(const QString& controlName) {
    static const std::map<QString, int> topics = {
        {QStringLiteral("trvFolders"), 1010},
        {QStringLiteral("grdItems"), 1020},
        {QStringLiteral("picSlider"), 1030},
        {QStringLiteral("picSlider2"), 1030},
        {QStringLiteral("lblCurrentFolder"), 1040},
        {QStringLiteral("frmOptions"), 1050},
        {QStringLiteral("lblScreenOptions"), 1100},
        {QStringLiteral("chkMarkSubFolders"), 1101},
        {QStringLiteral("chkCollapseFolders"), 1102},
        {QStringLiteral("chkShowAllFolders"), 1103},
        {QStringLiteral("chkShowSelectedItems"), 1104},
        {QStringLiteral("chkShowUnselectedItems"), 1105},
        {QStringLiteral("chkSelectByRow"), 1106},
        {QStringLiteral("lblProcessingOptions"), 1200},
        {QStringLiteral("chkTurbo"), 1201},
        {QStringLiteral("chkPermanentDelete"), 1202},
        {QStringLiteral("chkConfirmFolders"), 1203},
        {QStringLiteral("chkConfirmItems"), 1204},
        {QStringLiteral("chkDeleteFolders"), 1205},
        {QStringLiteral("lblFilterOptions"), 1300},
        {QStringLiteral("chkSelectUnread"), 1301},
        {QStringLiteral("chkSelectDate"), 1302},
        {QStringLiteral("dtpCutoffDate"), 1302},
        {QStringLiteral("chkSelectSubject"), 1303},
        {QStringLiteral("txtSelectSubject"), 1303},
        {QStringLiteral("chkMatchCase"), 1304},
        {QStringLiteral("chkMatchWord"), 1305},
        {QStringLiteral("chkSelectType"), 1306},
        {QStringLiteral("cmdRun"), 1400},
        {QStringLiteral("sbStatusBar"), 1410},
    };
    const auto it = topics.find(controlName);
    if (it != topics.end()) {
        return it->second;
    }
    // The type boxes chkType0 to chkType5 share their option's page; menu commands have one page.
    if (controlName.startsWith(QLatin1String("chkType"))) {
        return 1306;
    }
    return controlName.startsWith(QLatin1String("mnu")) ? 1520 : 0;
}

}  // namespace tf
