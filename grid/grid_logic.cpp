#include "grid/grid_logic.h"

#include <array>
#include <utility>

#include "common/text.h"

namespace tf {

namespace {

constexpr int kNoColumn = 999;
constexpr int kFirstFieldColumn = 2;
// Room kept for the vertical scroll bar when the columns share out the grid's width.
constexpr double kScrollBarTwips = 480;
constexpr double kMarkColumnTwips = 330;
// "yyyy-mm-dd" in bold with room to spare; the other columns share what is left.
constexpr double kDateColumnTwips = 1500;

struct ColumnSpec {
    const char* header;
    GridField field;
};

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

// How much of the grid's width each field's column takes, relative to the others.
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

}  // namespace

GridLogic::GridLogic(WindowParts parts, FolderTreeBuilder& builder, const ItemFilters& filters,
                     const DeletedItemsFolders& deletedItems)
    : w_(parts), builder_(builder), filters_(filters), deletedItems_(deletedItems) {
    w_.grid.setCellSource(this);
}

GridLogic::~GridLogic() {
    w_.grid.setCellSource(nullptr);
}

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

bool GridLogic::Add_New_Row(int folder, int item, RowMarker marker, bool selected) {
    bool added = false;
    w_.errors.run(QStringLiteral("Add_New_Row"), [&](Procedure&) {
        GridRow row;
        row.folder = folder;
        row.item = item;
        if (on(Control::chkShowAllFolders)) {
            row.marker = marker;
        }
        const ItemData* data = itemOf(row);
        const bool unread = data != nullptr && data->Unread != 0;
        row.bold = unread;
        if (selected) {
            if (unread) {
                row.background = w_.colours.highlight;
            }
            row.mark = '1';
        }
        added = w_.grid.addRow(row);
        if (!added && !fullShown_) {
            fullShown_ = true;
            w_.prompter.tell(
                QStringLiteral("Insufficient memory to display all selected items.\r\nSelect fewer "
                               "folders or change Screen Options to diplay fewer items."));
        }
    });
    return added;
}

void GridLogic::Add_Folder_Rows(int folder, int node, RowMarker marker) {
    w_.errors.run(QStringLiteral("Add_Folder_Rows"), [&](Procedure&) {
        FolderData& record = w_.records[folder];
        const bool fresh = marker != RowMarker::Selected && marker != RowMarker::Unselected;
        // Fresh rows are the items read since the last call; a show option switched on brings
        // back the kind of rows it had left out, among the items already handed over.
        const int first = fresh ? record.GridCount + 1 : 1;
        const int last = fresh ? record.CachedCount : record.GridCount;
        const int cacheSize = static_cast<int>(record.ItemCache.size());
        const int firstNewRow = w_.grid.Rows();
        // Every selected row stands out, read or unread, however it came into the grid.
        const auto paintNewRows = [&] {
            for (int r = firstNewRow; r < w_.grid.Rows(); ++r) {
                paintRow(r);
            }
        };
        for (int i = first; i <= last && i <= cacheSize; ++i) {
            if (record.ItemCache[static_cast<std::size_t>(i - 1)].isHole()) {
                continue;
            }
            const bool selected = filters_.Check_Filtered_Record(node, folder, i);
            bool show = false;
            if (marker == RowMarker::Selected) {
                show = selected;
            } else if (marker == RowMarker::Unselected) {
                show = !selected;
            } else {
                show = selected ? on(Control::chkShowSelectedItems)
                                : on(Control::chkShowUnselectedItems);
            }
            if (show && !Add_New_Row(folder, i, marker, selected)) {
                if (fresh) {
                    record.GridCount = i - 1;
                }
                paintNewRows();
                return;
            }
        }
        paintNewRows();
        if (fresh) {
            record.GridCount = std::max(record.GridCount, std::min(last, cacheSize));
        }
    });
}

std::vector<int> GridLogic::shownNodes() const {
    std::vector<int> nodes;
    if (on(Control::chkShowAllFolders)) {
        for (int node = 1; node <= w_.tree.count(); ++node) {
            if (w_.tree.node(node).Checked) {
                nodes.push_back(node);
            }
        }
    } else if (w_.flags.CurrentNodeIndex >= 1 && w_.flags.CurrentNodeIndex <= w_.tree.count()) {
        nodes.push_back(w_.flags.CurrentNodeIndex);
    }
    return nodes;
}

void GridLogic::Add_All_Folders_Rows(RowMarker marker) {
    w_.errors.run(QStringLiteral("Add_All_Folders_Rows"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        for (const int node : shownNodes()) {
            const int folder = builder_.Get_Node_Index(node);
            if (!w_.records[folder].Folder) {
                continue;
            }
            Display_Update_Grid_Status(w_.records[folder].Folder->Name());
            Add_Folder_Rows(folder, node, marker);
        }
        w_.status.setText(1, QString());
        Set_Grid_Order();
    });
}

void GridLogic::Remove_All_Rows() {
    w_.grid.setRows(1);
    for (int i = 1; i <= w_.records.upperBoundIndex(); ++i) {
        w_.records[i].GridCount = 0;
    }
    fullShown_ = false;
}

void GridLogic::Remove_Folder_Rows(int folder) {
    w_.grid.removeRowsIf([folder](const GridRow& row) { return row.folder == folder; });
    w_.records[folder].GridCount = 0;
}

void GridLogic::Remove_Filtered_Rows() {
    w_.grid.removeRowsIf([this](const GridRow& row) { return itemOf(row) == nullptr; });
}

void GridLogic::Remove_Nonselected_Folder_Rows() {
    std::vector<bool> unmarked(static_cast<std::size_t>(w_.records.upperBoundIndex()) + 1, false);
    for (int node = 1; node <= w_.tree.count(); ++node) {
        if (!w_.tree.node(node).Checked) {
            const int folder = builder_.Get_Node_Index(node);
            unmarked[static_cast<std::size_t>(folder)] = true;
            w_.records[folder].GridCount = 0;
        }
    }
    w_.grid.removeRowsIf([&](const GridRow& row) {
        return row.folder >= 0 && static_cast<std::size_t>(row.folder) < unmarked.size() &&
               unmarked[static_cast<std::size_t>(row.folder)];
    });
}

void GridLogic::Remove_Selected_Or_Unselected_Rows(RowMarker which) {
    const char mark = which == RowMarker::Selected ? '1' : '0';
    w_.grid.removeRowsIf([mark](const GridRow& row) { return row.mark == mark; });
}

void GridLogic::Change_Filtered_Rows() {
    w_.errors.run(QStringLiteral("Change_Filtered_Rows"), [&](Procedure&) {
        if (on(Control::chkShowSelectedItems) && on(Control::chkShowUnselectedItems)) {
            Mark_Or_Unmark_Filtered_Rows(false, false);
            return;
        }
        Remove_All_Rows();
        Add_All_Folders_Rows(RowMarker::None);
    });
}

void GridLogic::Change_Folder_Rows(int /*node*/) {
    w_.errors.run(QStringLiteral("Change_Folder_Rows"), [&](Procedure&) {
        // The grid follows the marks and the current folder as a whole: every shown folder's
        // rows are added afresh.
        Remove_All_Rows();
        Add_All_Folders_Rows(RowMarker::None);
    });
}

int GridLogic::Get_Sort_Column(int field) const {
    const std::vector<ColumnSpec> columns = columnsOf(view());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].field == field) {
            return kFirstFieldColumn + static_cast<int>(i);
        }
    }
    return kNoColumn;
}

int GridLogic::Get_Sort_Field(int column) const {
    for (int field = kFieldFolder; field <= kFieldDate; ++field) {
        if (Get_Sort_Column(field) == column) {
            return field;
        }
    }
    return kFieldType;
}

void GridLogic::Set_Grid_Order() {
    w_.errors.run(QStringLiteral("Set_Grid_Order"), [&](Procedure&) {
        const int col = Get_Sort_Column(sortField_);
        if (col < w_.grid.Cols()) {
            w_.grid.Sort(col, ascending_ ? ItemsGrid::kSortStringAscending
                                         : ItemsGrid::kSortStringDescending);
        }
    });
}

void GridLogic::sortByColumn(int column) {
    const int field = Get_Sort_Field(column);
    if (field == sortField_ && Get_Sort_Column(field) == column) {
        ascending_ = !ascending_;
    } else {
        sortField_ = field;
        ascending_ = true;
    }
    Set_Grid_Order();
}

void GridLogic::Display_Update_Grid_Status(const QString& folderName) {
    w_.status.setText(1, QStringLiteral("Displaying Folder Items - ") + Trim(folderName));
}

const ItemData* GridLogic::itemOf(const GridRow& row) const {
    return cachedItemOf(w_.records, row);
}

int GridLogic::Get_Rows_Selected_Count() const {
    return Get_Rows_Selected_Count(-1);
}

int GridLogic::Get_Rows_Selected_Count(int deletedItemsIndex) const {
    return markedRowCount(w_.grid, w_.records, deletedItemsIndex);
}

void GridLogic::Mark_Or_Unmark_Filtered_Rows(bool markAll, bool unmarkAll) {
    w_.errors.run(QStringLiteral("Mark_Or_Unmark_Filtered_Rows"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        for (int r = 1; r < w_.grid.Rows(); ++r) {
            const GridRow& row = w_.grid.row(r);
            bool selected = markAll;
            if (!markAll && !unmarkAll) {
                const int node = row.folder;  // the tree gives each record its node's index
                selected = row.folder >= 1 && row.folder <= w_.tree.count() &&
                           filters_.Check_Filtered_Record(node, row.folder, row.item);
            }
            w_.grid.setMark(r, selected ? '1' : '0');
        }
        Paint_Entire_Grid();
    });
}

void GridLogic::Mark_And_Unmark_Selected_Range(int first, int last) {
    w_.errors.run(QStringLiteral("Mark_And_Unmark_Selected_Range"), [&](Procedure&) {
        RedrawOff redrawOff(w_.grid);
        bool told = false;
        const bool permanent = on(Control::chkPermanentDelete);
        for (int r = 1; r < w_.grid.Rows(); ++r) {
            const char mark = w_.grid.row(r).mark;
            if (r < first || r > last) {
                if (mark == '1') {
                    w_.grid.setMark(r, '0');
                }
                continue;
            }
            if (mark != '0') {
                continue;
            }
            if (!permanent && inDeletedItems(w_.grid.row(r))) {
                if (!told) {
                    told = true;
                    w_.prompter.tell(
                        QStringLiteral("Cannot select items in \"Deleted Items\" "
                                       "folder unless Permanent delete is marked."));
                }
                continue;
            }
            w_.grid.setMark(r, '1');
        }
        Paint_Entire_Grid();
        Set_Grid_Order();
    });
}

bool GridLogic::inDeletedItems(const GridRow& row) const {
    // The folder column says the same in the all-folders view; the folder itself says it in
    // every view. The tree gives each record its node's index.
    return row.folder >= 1 && row.folder <= w_.tree.count() &&
           deletedItems_.Is_Deleted_Items_Folder(row.folder);
}

void GridLogic::paintRow(int r) {
    const bool selected = w_.grid.row(r).mark == '1';
    w_.grid.setBackground(r, selected ? w_.colours.highlight : GridRow::kNoBackground);
}

void GridLogic::Paint_Entire_Grid() {
    RedrawOff redrawOff(w_.grid);
    for (int r = 1; r < w_.grid.Rows(); ++r) {
        paintRow(r);
    }
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

bool GridLogic::sortNumber(const GridRow& row, GridField field, double& number) const {
    const ItemData* item = field == kFieldDate ? itemOf(row) : nullptr;
    if (item == nullptr) {
        return false;
    }
    number = datePart(item->ItemDate);
    return true;
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

}  // namespace tf
