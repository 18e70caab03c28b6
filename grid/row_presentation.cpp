#include "grid/row_presentation.h"

#include "common/dates.h"

namespace tf {

namespace {
const QString kPathSeparator = QStringLiteral(" \u203A ");
}

bool RowPresentation::removed(const GridRow& row) const {
    if (row.folder < 1 || row.folder > records_.upperBoundIndex() || row.item < 1) {
        return false;
    }
    const FolderData& record = records_[row.folder];
    const auto index = static_cast<std::size_t>(row.item - 1);
    return index < record.ItemCache.size() && record.ItemCache[index].isHole();
}

QString RowPresentation::shownText(const GridRow& row, int column) const {
    if (column < 2) {
        return {};
    }
    const auto field = static_cast<GridField>(grid_.Get_Sort_Field(column));
    if (!removed(row)) {
        return grid_.cell(row, field);
    }
    // The hole keeps the item's texts; only its class is gone.
    const ItemData& item = records_[row.folder].ItemCache[static_cast<std::size_t>(row.item - 1)];
    switch (field) {
        case kFieldFolder:
            return place(row.folder).path.section(kPathSeparator, -1);
        case kFieldType:
            return QStringLiteral("Deleted");
        case kFieldSender:
        case kFieldEntry:
            return item.SenderOrText;
        case kFieldSubject:
            return item.Subject;
        case kFieldDate:
            return formatDate(item.ItemDate);
        default:
            return {};
    }
}

bool RowPresentation::severalStores() const {
    // Several stores hang from a virtual root whose record has no folder.
    for (int folder = 1; folder <= records_.upperBoundIndex(); ++folder) {
        if (!records_[folder].Folder) {
            return true;
        }
    }
    return false;
}

FolderPlace RowPresentation::place(int folder) const {
    if (folder < 1 || folder > records_.upperBoundIndex() || !records_[folder].Folder) {
        return {};
    }
    const outlook::FolderPtr& start = records_[folder].Folder;
    if (const auto found = places_.constFind(start.get());
        found != places_.constEnd() && found->folder.lock() == start) {
        return found->place;
    }
    QStringList names;
    try {
        // A store's top folder has no parent folder; a guard keeps a broken chain finite.
        for (outlook::FolderPtr f = start; f && names.size() < 256; f = f->Parent()) {
            names.prepend(f->Name());
        }
    } catch (...) {
        // A folder gone from the store meanwhile: what was found so far.
    }
    FolderPlace result;
    if (!names.isEmpty()) {
        result.store = names.first();
        result.path = names.join(kPathSeparator);
    }
    places_.insert(start.get(), KnownPlace{start, result});
    return result;
}

}  // namespace tf
