#pragma once

#include <QString>

#include "cache/item_filters.h"
#include "tree/deleted_items.h"
#include "tree/folder_tree_builder.h"
#include "window/folder_rows.h"
#include "window/grid_rows.h"
#include "window/items_grid.h"
#include "window/window_parts.h"

namespace tf {

// The grid's views: which item fields its columns show.
enum class GridView { AllFolders, Mail, Journal, Other };

// The items grid's rules: its columns for the current view, the rows of the marked folders'
// cached items that the filters and the show options let through, the sort order, and the row
// marks.
class GridLogic : public GridCellSource, public FolderRows {
  public:
    GridLogic(WindowParts parts, FolderTreeBuilder& builder, const ItemFilters& filters,
              const DeletedItemsFolders& deletedItems);
    ~GridLogic() override;
    GridLogic(const GridLogic&) = delete;
    GridLogic& operator=(const GridLogic&) = delete;

    GridView view() const;
    // Takes the default item type of the node's folder as the one the grid's columns are laid
    // out for; true when it changed. A folder whose type cannot be read throws, and the type
    // stays.
    bool takeFolderItemType(int node);
    void Set_Grid_Columns();
    void Set_Column_Widths();
    void Reset_Column_Widths();

    // False when the grid could take no more rows.
    bool Add_New_Row(int folder, int item, RowMarker marker, bool selected);
    void Add_Folder_Rows(int folder, int node, RowMarker marker) override;
    void Add_All_Folders_Rows(RowMarker marker);
    void Remove_All_Rows();
    void Remove_Folder_Rows(int folder) override;
    // Removes the rows whose items a run has deleted.
    void Remove_Filtered_Rows();
    // Removes the rows of folders that are not marked.
    void Remove_Nonselected_Folder_Rows();
    // Removes the selected rows (Selected) or the unselected ones (Unselected).
    void Remove_Selected_Or_Unselected_Rows(RowMarker which);
    void Change_Filtered_Rows();
    // The grid follows the marks and the current folder: every shown folder's rows afresh.
    void Change_Folder_Rows();

    void Set_Grid_Order() override;
    int Get_Sort_Column(int field) const;
    int Get_Sort_Field(int column) const;
    // A click on a column header: sorts by it, and reverses the order on a second click.
    void sortByColumn(int column);
    int sortField() const { return sortField_; }
    bool sortAscending() const { return ascending_; }
    void setSortAscending(bool ascending) { ascending_ = ascending; }

    void Display_Update_Grid_Status(const QString& folderName);

    int Get_Rows_Selected_Count() const;
    // The selected rows of one store: those whose folder moves its items to this "Deleted Items".
    int Get_Rows_Selected_Count(int deletedItemsIndex) const;
    // How Mark_Or_Unmark_Filtered_Rows sets the marks.
    enum class Marking { ByFilters, All, None };
    void Mark_Or_Unmark_Filtered_Rows(Marking marking);
    void Mark_And_Unmark_Selected_Range(int first, int last);
    void Paint_Entire_Grid();
    void Display_Selected_Items_Total(long total);
    // Whether select-by-row may be used now; says why not.
    bool Check_Select_By_Row();

    // The nodes whose rows the grid shows: every marked node with all folders shown, otherwise
    // the current folder's node.
    std::vector<int> shownNodes() const;

    static QString typeName(std::int32_t itemClass);
    // True for a row of a "Deleted Items" folder: its items can go nowhere but for good.
    bool inDeletedItems(const GridRow& row) const;

    // GridCellSource
    QString cell(const GridRow& row, GridField field) const override;
    // Dates: the day number orders as "yyyy-mm-dd" does.
    bool sortNumber(const GridRow& row, GridField field, double& number) const override;

  private:
    const ItemData* itemOf(const GridRow& row) const;
    // The grid's width less the columns of fixed width, for the others to share.
    double sharedWidth() const;
    bool on(Control box) const { return w_.controls.isOn(box); }
    void paintRow(int r);

    WindowParts w_;
    FolderTreeBuilder& builder_;
    const ItemFilters& filters_;
    const DeletedItemsFolders& deletedItems_;
    int sortField_ = kFieldDate;
    bool ascending_ = false;  // newest first
    bool fullShown_ = false;  // the grid-full message was shown since the grid was emptied
};

}  // namespace tf
