#include "cache/item_filters.h"

#include "common/text.h"

namespace tf {

bool ItemFilters::on(Control box) const {
    return controls_.isOn(box);
}

bool ItemFilters::Check_Filtered_Record(int node, int folder, int item) const {
    const FolderData& record = records_[folder];
    if (item < 1 || static_cast<std::size_t>(item) > record.ItemCache.size()) {
        return false;
    }
    const ItemData& r = record.ItemCache[static_cast<std::size_t>(item - 1)];
    if (r.isHole()) {
        return false;  // deleted by a run: there is nothing left to select
    }
    return selects(tree_.node(node).Checked, r);
}

bool ItemFilters::selects(bool folderMarked, const ItemData& item) const {
    // Every term is worked out; none is skipped for an earlier one's answer.
    const bool date = Check_Date(item.ItemDate);
    const bool subject = Check_Subject(item.Subject);
    const bool type = Check_Type(item.ItemClass);
    const bool unread = item.Unread == 0 || on(Control::chkSelectUnread);
    return subject && date && folderMarked && type && unread;
}

bool ItemFilters::Check_Type(std::int32_t itemClass) const {
    if (!on(Control::chkSelectType)) {
        return true;
    }
    for (const TypeBox& box : kTypeBoxes) {
        if (box.itemClass == itemClass && on(box.control)) {
            return true;
        }
    }
    return false;
}

bool ItemFilters::Check_Date(OleDate itemDate) const {
    if (!on(Control::chkSelectDate)) {
        return true;
    }
    return datePart(itemDate) <= controls_[Control::dtpCutoffDate].date;
}

bool ItemFilters::Check_Subject(const QString& subject) const {
    if (!on(Control::chkSelectSubject)) {
        return true;
    }
    QString text = RTrim(controls_[Control::txtSelectSubject].caption);
    QString s = RTrim(subject);
    if (!on(Control::chkMatchCase)) {
        text = UCase(Trim(text));
        s = UCase(Trim(s));
    }
    if (!on(Control::chkMatchWord)) {
        return s.left(text.size()) == text;
    }
    return s == text;
}

bool Check_Unread(const outlook::Item& item) {
    try {
        return item.UnRead();
    } catch (...) {
        return false;
    }
}

}  // namespace tf
