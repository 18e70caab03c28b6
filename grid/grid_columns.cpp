#include "grid/grid_columns.h"

#include <array>
#include <utility>

#include "common/text.h"
#include "grid/grid_logic.h"

namespace tf {

using namespace grid_columns;

namespace grid_columns {

std::vector<ColumnSpec> columnsOf(GridView view) {
    switch (view) {
        case GridView::AllFolders:
            return {{"Folder", kFieldFolder},
                    {"Type", kFieldType},
                    {"Sender", kFieldSender},
                    {"Subject", kFieldSubject},
                    {"Date", kFieldDate}};
        case GridView::Mail:
            return {{"Type", kFieldType},
                    {"Sender", kFieldSender},
                    {"Subject", kFieldSubject},
                    {"Date", kFieldDate}};
        case GridView::Journal:
            return {{"Type", kFieldType},
                    {"Subject", kFieldSubject},
                    {"Entry", kFieldEntry},
                    {"Date", kFieldDate}};
        case GridView::Other:
            break;
    }
    return {{"Type", kFieldType}, {"Subject", kFieldSubject}, {"Date", kFieldDate}};
}

double weightOf(GridField field) {
    switch (field) {
        case kFieldFolder:
            return 1.3;
        case kFieldType:
            return 1.5;
        case kFieldSender:
            return 1.8;
        case kFieldSubject:
            return 3.4;
        case kFieldEntry:
            return 2.0;
        case kFieldDate:
        case kFieldMarker:
            break;
    }
    return 0;
}

}  // namespace grid_columns

GridView GridLogic::view() const {
    if (on(Control::chkShowAllFolders)) {
        return GridView::AllFolders;
    }
    switch (w_.flags.CurrentGridItemType) {
        case 0:
            return GridView::Mail;
        case 4:
            return GridView::Journal;
        default:
            return GridView::Other;
    }
}

bool GridLogic::takeFolderItemType(int node) {
    if (node < 1 || node > w_.tree.count()) {
        return false;
    }
    const outlook::FolderPtr& folder = w_.records[builder_.Get_Node_Index(node)].Folder;
    if (!folder) {
        return false;
    }
    const std::int32_t type = folder->DefaultItemType();
    if (type == w_.flags.CurrentGridItemType) {
        return false;
    }
    w_.flags.CurrentGridItemType = type;
    return true;
}

void GridLogic::Set_Grid_Columns() {
    w_.errors.run(QStringLiteral("Set_Grid_Columns"), [&](Procedure&) {
        const std::vector<ColumnSpec> columns = columnsOf(view());
        const int cols = kFirstFieldColumn + static_cast<int>(columns.size()) + 1;
        w_.grid.setCols(cols);
        w_.grid.setColumn(0, QString(), kFieldMarker);
        w_.grid.setColumn(1, QString(), kFieldMarker);
        // The last column is headed "TYPE" before the view's own words are written; it carries
        // the marker word of rows added while all folders show.
        w_.grid.setColumn(cols - 1, QStringLiteral("TYPE"), kFieldMarker);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            w_.grid.setColumn(kFirstFieldColumn + static_cast<int>(i),
                              QLatin1String(columns[i].header), columns[i].field);
        }
        Set_Column_Widths();
    });
}

void GridLogic::Set_Column_Widths() {
    w_.errors.run(QStringLiteral("Set_Column_Widths"), [&](Procedure&) {
        if (w_.grid.Cols() <= kFirstFieldColumn) {
            return;  // no view chosen yet: nothing to share out
        }
        const double available = sharedWidth();
        double total = 0;
        for (int col = kFirstFieldColumn; col < w_.grid.Cols(); ++col) {
            total += weightOf(w_.grid.columnField(col));
        }
        w_.grid.setColWidth(0, 0);
        w_.grid.setColWidth(1, kMarkColumnTwips);
        for (int col = kFirstFieldColumn; col < w_.grid.Cols(); ++col) {
            const GridField field = w_.grid.columnField(col);
            const double share = total > 0 ? weightOf(field) / total : 0;
            w_.grid.setColWidth(col, field == kFieldDate ? kDateColumnTwips : available * share);
        }
    });
}

void GridLogic::Reset_Column_Widths() {
    w_.errors.run(QStringLiteral("Reset_Column_Widths"), [&](Procedure&) {
        // Columns the user has widened or narrowed keep their share of the new width.
        double used = 0;
        for (int col = kFirstFieldColumn; col < w_.grid.Cols(); ++col) {
            if (w_.grid.columnField(col) != kFieldDate) {
                used += w_.grid.ColWidth(col);
            }
        }
        if (used <= 0) {
            Set_Column_Widths();
            return;
        }
        const double available = sharedWidth();
        for (int col = kFirstFieldColumn; col < w_.grid.Cols(); ++col) {
            if (w_.grid.columnField(col) != kFieldDate) {
                w_.grid.setColWidth(col, available * w_.grid.ColWidth(col) / used);
            }
        }
    });
}

double GridLogic::sharedWidth() const {
    const double left = w_.controls[Control::grdItems].width - kMarkColumnTwips - kScrollBarTwips -
                        kDateColumnTwips;
    return std::max(0.0, left);
}

QString GridLogic::typeName(std::int32_t itemClass) {
    switch (itemClass) {
        case 43:
            return QStringLiteral("Mail");
        case 26:
            return QStringLiteral("Appointment");
        case 40:
            return QStringLiteral("Contact");
        case 48:
            return QStringLiteral("Task");
        case 69:
            return QStringLiteral("Distribution List");
        case 42:
            return QStringLiteral("Journal Entry");
        case 44:
            return QStringLiteral("Note");
        default:
            break;
    }
    if (itemClass >= 49 && itemClass <= 52) {
        return QStringLiteral("Task Request");
    }
    if (itemClass == 53 || itemClass == 54) {
        return QStringLiteral("Meeting Notice");
    }
    if (itemClass >= 55 && itemClass <= 57) {
        return QStringLiteral("Meeting Response");
    }
    return QStringLiteral("Undefined - ") + QString::number(itemClass);
}

QString GridLogic::cell(const GridRow& row, GridField field) const {
    const ItemData* item = itemOf(row);
    if (item == nullptr) {
        return {};
    }
    switch (field) {
        case kFieldFolder: {
            const outlook::FolderPtr& folder = w_.records[row.folder].Folder;
            try {
                return folder ? folder->Name() : QString();
            } catch (...) {
                return {};  // a folder gone from the store shows no name until the refresh
            }
        }
        case kFieldType:
            return typeName(item->ItemClass);
        case kFieldSender:
        case kFieldEntry:
            return item->SenderOrText;
        case kFieldSubject:
            return item->Subject;
        case kFieldDate:
            return formatDate(item->ItemDate);
        case kFieldMarker:
            break;
    }
    return {};
}

bool GridLogic::sortNumber(const GridRow& row, GridField field, double& number) const {
    const ItemData* item = field == kFieldDate ? itemOf(row) : nullptr;
    if (item == nullptr) {
        return false;
    }
    number = datePart(item->ItemDate);
    return true;
}

}  // namespace tf
