#pragma once

#include <vector>

#include "grid/grid_logic.h"

// The grid's column layouts, shared by the parts of the grid's rules that lay out, fill and sort
// the columns.
namespace tf::grid_columns {

inline constexpr int kNoColumn = 999;
inline constexpr int kFirstFieldColumn = 2;
// Room kept for the vertical scroll bar when the columns share out the grid's width.
inline constexpr double kScrollBarTwips = 480;
inline constexpr double kMarkColumnTwips = 330;
// "yyyy-mm-dd" in bold with room to spare; the other columns share what is left.
inline constexpr double kDateColumnTwips = 1500;

struct ColumnSpec {
    const char* header;
    GridField field;
};

// The columns of a view, after the mark column, left to right.
std::vector<ColumnSpec> columnsOf(GridView view);
// How much of the grid's width each field's column takes, relative to the others.
double weightOf(GridField field);

}  // namespace tf::grid_columns
