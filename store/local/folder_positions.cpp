#include "store/local/folder_positions.h"

#include <algorithm>

namespace tf::store::local {

void FolderPositions::erase(qint64 seq) {
    rows.erase(seq);
    if (count() == 0) {
        return;
    }
    if (seqs[head] == seq) {
        ++head;
        if (head >= 4096 && head * 2 >= seqs.size()) {
            seqs.erase(seqs.begin(), seqs.begin() + static_cast<std::ptrdiff_t>(head));
            head = 0;
        }
    } else if (seqs.back() == seq) {
        seqs.pop_back();
    } else {
        auto found =
            std::lower_bound(seqs.begin() + static_cast<std::ptrdiff_t>(head), seqs.end(), seq);
        if (found != seqs.end() && *found == seq) {
            seqs.erase(found);
        }
    }
}

}  // namespace tf::store::local
