#include "cache/item_filters.h"

#include "common/text.h"

namespace tf {

bool ItemFilters::on(const char* name) const {
    return controls_[QLatin1String(name)].value == 1;
}

bool ItemFilters::Check_Filtered_Record(int node, int folder, int item) const {
    const FolderData& record = records_[folder];
    if (item < 1 || static_cast<std::size_t>(item) > record.ItemCache.size()) {
        return false;
    }
    const ItemData& r = record.ItemCache[static_cast<std::size_t>(item - 1)];
    // Every term is worked out; none is skipped for an earlier one's answer.
    const bool marked = tree_.node(node).Checked;
    const bool date = Check_Date(r.ItemDate);
    const bool subject = Check_Subject(r.Subject);
    const bool type = Check_Type(r.ItemClass);
    const bool unread = r.Unread == 0 || on("chkSelectUnread");
    return subject && date && marked && type && unread;
}

bool ItemFilters::Check_Type(std::int32_t itemClass) const {
    if (!on("chkSelectType")) {
        return true;
    }
    for (const TypeBox& box : kTypeBoxes) {
        if (box.itemClass == itemClass && on(box.name)) {
            return true;
        }
    }
    return false;
}

bool ItemFilters::Check_Date(OleDate itemDate) const {
    if (!on("chkSelectDate")) {
        return true;
    }
    return datePart(itemDate) <= controls_[QStringLiteral("dtpCutoffDate")].date;
}

bool ItemFilters::Check_Subject(const QString& subject) const {
    if (!on("chkSelectSubject")) {
        return true;
    }
    QString text = RTrim(controls_[QStringLiteral("txtSelectSubject")].caption);
    QString s = RTrim(subject);
    if (!on("chkMatchCase")) {
        text = UCase(Trim(text));
        s = UCase(Trim(s));
    }
    if (!on("chkMatchWord")) {
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
