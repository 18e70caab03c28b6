#include "cache/item_filters.h"

#include "common/text.h"

namespace tf {

bool ItemFilters::on(const QString& name) const {
    return controls_[name].value == 1;
}

namespace {
// The type boxes' names as strings, made once: the filters look them up for every item.
const std::array<QString, kTypeBoxes.size()>& typeBoxNames() {
    static const std::array<QString, kTypeBoxes.size()> names = [] {
        std::array<QString, kTypeBoxes.size()> all;
        for (std::size_t i = 0; i < kTypeBoxes.size(); ++i) {
            all[i] = QLatin1String(kTypeBoxes[i].name);
        }
        return all;
    }();
    return names;
}
}  // namespace

bool ItemFilters::Check_Filtered_Record(int node, int folder, int item) const {
    const FolderData& record = records_[folder];
    if (item < 1 || static_cast<std::size_t>(item) > record.ItemCache.size()) {
        return false;
    }
    const ItemData& r = record.ItemCache[static_cast<std::size_t>(item - 1)];
    if (r.isHole()) {
        return false;  // deleted by a run: there is nothing left to select
    }
    // Every term is worked out; none is skipped for an earlier one's answer.
    const bool marked = tree_.node(node).Checked;
    const bool date = Check_Date(r.ItemDate);
    const bool subject = Check_Subject(r.Subject);
    const bool type = Check_Type(r.ItemClass);
    const bool unread = r.Unread == 0 || on(QStringLiteral("chkSelectUnread"));
    return subject && date && marked && type && unread;
}

bool ItemFilters::Check_Type(std::int32_t itemClass) const {
    if (!on(QStringLiteral("chkSelectType"))) {
        return true;
    }
    for (std::size_t i = 0; i < kTypeBoxes.size(); ++i) {
        if (kTypeBoxes[i].itemClass == itemClass && on(typeBoxNames()[i])) {
            return true;
        }
    }
    return false;
}

bool ItemFilters::Check_Date(OleDate itemDate) const {
    if (!on(QStringLiteral("chkSelectDate"))) {
        return true;
    }
    return datePart(itemDate) <= controls_[QStringLiteral("dtpCutoffDate")].date;
}

bool ItemFilters::Check_Subject(const QString& subject) const {
    if (!on(QStringLiteral("chkSelectSubject"))) {
        return true;
    }
    QString text = RTrim(controls_[QStringLiteral("txtSelectSubject")].caption);
    QString s = RTrim(subject);
    if (!on(QStringLiteral("chkMatchCase"))) {
        text = UCase(Trim(text));
        s = UCase(Trim(s));
    }
    if (!on(QStringLiteral("chkMatchWord"))) {
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
