#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "window/folder_tree.h"

namespace tf {

// The six things a grid column can show of an item.
enum GridField : int {
    kFieldFolder = 0,
    kFieldType = 1,
    kFieldSender = 2,
    kFieldSubject = 3,
    kFieldEntry = 4,
    kFieldDate = 5,
    kFieldMarker = -1,  // the hidden column headed "TYPE" that carries a row's marker word
};

// The words that say why a row was added; written into the row while all marked folders show.
enum class RowMarker : std::uint8_t { None, Empty, Selected, Unselected };
QString markerWord(RowMarker marker);

// A row's mark in the grid's first column: picked for cleaning or not. The characters are the
// ones the column shows.
enum RowMark : char { kRowUnmarked = '0', kRowMarked = '1' };

// One data row. It refers to its item by position instead of copying the item's text, so a
// million rows cost a few bytes each; the text is read from the cache when it is shown.
struct GridRow {
    std::int32_t folder = 0;  // RowData: the FolderData index of the item's folder
    std::int32_t item = -1;   // the item's index in its folder's cache; negative for none
    RowMark mark = kRowUnmarked;
    RowMarker marker = RowMarker::Empty;
    bool bold = false;
    ColorRef background = kNoBackground;

    static constexpr ColorRef kNoBackground = 0xFFFFFFFF;
};

// Gives the text of an item's field for a row.
class GridCellSource {
  public:
    virtual ~GridCellSource() = default;
    virtual QString cell(const GridRow& row, GridField field) const = 0;
    // A number that orders rows exactly as the field's text does, where the field has one; the
    // sort then compares numbers instead of making and comparing every row's text.
    virtual bool sortNumber(const GridRow& /*row*/, GridField /*field*/, double& /*number*/) const {
        return false;
    }
};

// Told about changes so that a view can follow them. While redraw is off nothing is told; turning
// it on again tells a reset if anything changed.
class ItemsGridObserver {
  public:
    virtual ~ItemsGridObserver() = default;
    virtual void aboutToReset() = 0;
    virtual void reset() = 0;
    virtual void rowsChanged(int first, int last) = 0;
};

// The items grid as the window's logic sees it: a header row 0, data rows from 1, columns with
// header words and widths in twips, and the grid's own string sort.
class ItemsGrid {
  public:
    // The grid's string sorts: ascending and descending, case-sensitive.
    static constexpr int kSortStringAscending = 7;
    static constexpr int kSortStringDescending = 8;

    int Rows() const { return static_cast<int>(rows_.size()) + 1; }
    // Sets the number of rows, header included; never fewer than the header row. New rows are
    // empty.
    void setRows(int rows);
    int Cols() const { return static_cast<int>(columns_.size()); }
    // Sets the number of columns; new ones show nothing until given a field.
    void setCols(int cols);
    void setColumn(int col, const QString& header, GridField field);
    const QString& header(int col) const { return column(col).header; }
    GridField columnField(int col) const { return column(col).field; }
    double ColWidth(int col) const { return column(col).width; }
    void setColWidth(int col, double twips);

    // Appends a row; false when the grid can take no more.
    bool addRow(const GridRow& row);
    const GridRow& row(int r) const;
    int RowData(int r) const { return row(r).folder; }
    QString TextMatrix(int r, int col) const;
    void setMark(int r, RowMark mark);
    void setBold(int r, bool bold);
    void setBackground(int r, ColorRef colour);
    // Removes every data row for which remove(row) is true; keeps the others in order.
    void removeRowsIf(const std::function<bool(const GridRow&)>& remove);
    // Sorts the data rows by the text of one column, in one of the two string modes.
    void Sort(int col, int mode);

    bool Redraw() const { return redraw_; }
    void setRedraw(bool redraw);

    // The most data rows the grid holds; a test lowers it to reach the limit.
    void setMaxRows(int maxRows) { maxRows_ = maxRows; }

    void setCellSource(const GridCellSource* source) { source_ = source; }
    void setObserver(ItemsGridObserver* observer) { observer_ = observer; }

    // "005-00123": the folder index in three digits and the item index in five; the folder part
    // alone for a negative item index. Wider numbers keep all their digits.
    static QString rowKey(int folder, int item);
    // The item index of a key: the number after the dash.
    static int itemOfKey(const QString& key);

  private:
    struct Column {
        QString header;
        GridField field = kFieldMarker;
        double width = 0;
    };
    const Column& column(int col) const;
    GridRow& mutableRow(int r);
    void changedAll();
    void changedRow(int r);

    std::vector<GridRow> rows_;  // rows_[r - 1] is data row r
    std::vector<Column> columns_;
    const GridCellSource* source_ = nullptr;
    ItemsGridObserver* observer_ = nullptr;
    bool redraw_ = true;
    bool pending_ = false;  // changed while redraw was off
    int maxRows_ = std::numeric_limits<int>::max() - 1;
};

// Switches the grid's redraw off for a scope and back to what it was.
class RedrawOff {
  public:
    explicit RedrawOff(ItemsGrid& grid) : grid_(grid), was_(grid.Redraw()) {
        grid_.setRedraw(false);
    }
    ~RedrawOff() { grid_.setRedraw(was_); }
    RedrawOff(const RedrawOff&) = delete;
    RedrawOff& operator=(const RedrawOff&) = delete;

  private:
    ItemsGrid& grid_;
    bool was_;
};

}  // namespace tf
