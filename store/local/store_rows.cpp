#include "store/local/store_rows.h"

#include "common/dates.h"

namespace tf::store::local {

namespace {

OleDate dateAt(const Statement& s, int column) {
    return s.isNull(column) ? kNoDate : s.real(column);
}

}  // namespace

ItemRowPtr readItemRow(const Statement& s, int first) {
    auto row = std::make_shared<ItemRow>();
    row->id = s.int64(first);
    row->store = s.int64(first + 1);
    row->folder = s.int64(first + 2);
    row->entryId = s.text(first + 3);
    row->itemClass = static_cast<long>(s.int64(first + 4));
    row->subject = s.text(first + 5);
    row->body = s.text(first + 6);
    row->hasSender = !s.isNull(first + 7);
    row->sender = s.text(first + 7);
    row->received = dateAt(s, first + 8);
    row->modified = dateAt(s, first + 9);
    row->due = dateAt(s, first + 10);
    row->completed = dateAt(s, first + 11);
    row->end = dateAt(s, first + 12);
    // An appointment has no received time; the file keeps its start in that column.
    if (row->itemClass == outlook::olAppointment) {
        row->start = row->received;
        row->received = kNoDate;
    }
    row->unread = s.int64(first + 13) != 0;
    return row;
}

FolderRow readFolderRow(const Statement& s) {
    FolderRow f;
    f.id = s.int64(0);
    f.store = s.int64(1);
    f.parent = s.int64(2);
    f.name = s.text(3);
    f.entryId = s.text(4);
    f.defaultType = static_cast<long>(s.int64(5));
    f.defaultFolder = static_cast<long>(s.int64(6));
    return f;
}

}  // namespace tf::store::local
