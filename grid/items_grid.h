#pragma once

#include <algorithm>

namespace tf {

// The items grid as the window's logic sees it. Row 0 is the header row; data rows follow.
class ItemsGrid {
  public:
    int Rows() const { return rows_; }
    // Sets the number of rows, header included; never fewer than the header row.
    void setRows(int rows) { rows_ = std::max(rows, 1); }

  private:
    int rows_ = 1;
};

}  // namespace tf
