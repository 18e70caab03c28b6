#include <array>
#include <utility>

#include "common/text.h"
#include "grid/grid_columns.h"
#include "grid/grid_logic.h"

namespace tf {

using namespace grid_columns;

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

}  // namespace tf
