#pragma once

#include <QtGlobal>
#include <unordered_map>
#include <vector>

#include "store/local/store_rows.h"

namespace tf::store::local {

// The positions of one folder's items: their seq numbers in order, and the rows of the pages
// read last. Removing the first or the last item is O(1), so deleting a folder's items one by
// one from either end stays linear.
struct FolderPositions {
    std::vector<qint64> seqs;
    std::size_t head = 0;
    std::unordered_map<qint64, ItemRowPtr> rows;  // seq -> row, a few pages at most

    long count() const { return static_cast<long>(seqs.size() - head); }
    // position counts from 0.
    qint64 at(long position) const { return seqs[head + static_cast<std::size_t>(position)]; }
    void erase(qint64 seq);
};

}  // namespace tf::store::local
