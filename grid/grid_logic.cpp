#include "grid/grid_logic.h"

#include <array>
#include <utility>

#include "common/text.h"
#include "grid/grid_columns.h"

namespace tf {

GridLogic::GridLogic(WindowParts parts, FolderTreeBuilder& builder, const ItemFilters& filters,
                     const DeletedItemsFolders& deletedItems)
    : w_(parts), builder_(builder), filters_(filters), deletedItems_(deletedItems) {
    w_.grid.setCellSource(this);
}

GridLogic::~GridLogic() {
    w_.grid.setCellSource(nullptr);
}

void GridLogic::Display_Update_Grid_Status(const QString& folderName) {
    w_.status.setText(1, QStringLiteral("Displaying Folder Items - ") + Trim(folderName));
}

void GridLogic::Display_Selected_Items_Total(long total) {
    w_.status.setText(1, QStringLiteral("Total Selected:  ") + LTrim(Str(total)));
}

bool GridLogic::Check_Select_By_Row() {
    if (on(Control::chkShowAllFolders)) {
        for (int node = 1; node <= w_.tree.count(); ++node) {
            if (w_.tree.node(node).Checked && !w_.records[builder_.Get_Node_Index(node)].Loaded) {
                w_.prompter.tell(QStringLiteral("Cannot select or use ") +
                                 QStringLiteral("Show All Seleted Folders") +
                                 QStringLiteral(" and ") + QStringLiteral("Select By Row") +
                                 QStringLiteral(" until all selected folders have been loaded."));
                return false;
            }
        }
        return true;
    }
    const int current = w_.flags.CurrentNodeIndex;
    if (current >= 1 && current <= w_.tree.count() && w_.tree.node(current).Checked &&
        !w_.records[builder_.Get_Node_Index(current)].Loaded) {
        w_.prompter.tell(QStringLiteral("Cannot use ") + QStringLiteral("Select By Row") +
                         QStringLiteral(" until folder is completely loaded (appears black in "
                                        "the Folder Tree)."));
        return false;
    }
    return true;
}

}  // namespace tf
