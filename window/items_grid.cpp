#include "window/items_grid.h"

#include <algorithm>
#include <numeric>

#include "common/failure.h"

namespace tf {

QString markerWord(RowMarker marker) {
    switch (marker) {
        case RowMarker::None:
            return QStringLiteral("NONE");
        case RowMarker::Selected:
            return QStringLiteral("SELECTED");
        case RowMarker::Unselected:
            return QStringLiteral("UNSELECTED");
        case RowMarker::Empty:
            break;
    }
    return {};
}

namespace {
[[noreturn]] void outOfRange() {
    throw Failure(381, QStringLiteral("Subscript out of range"));
}
}  // namespace

void ItemsGrid::setRows(int rows) {
    rows_.resize(static_cast<std::size_t>(std::max(rows, 1) - 1));
    changedAll();
}

void ItemsGrid::setCols(int cols) {
    columns_.resize(static_cast<std::size_t>(std::max(cols, 0)));
    changedAll();
}

const ItemsGrid::Column& ItemsGrid::column(int col) const {
    if (col < 0 || col >= Cols()) {
        outOfRange();
    }
    return columns_[static_cast<std::size_t>(col)];
}

void ItemsGrid::setColumn(int col, const QString& header, GridField field) {
    Column& c = const_cast<Column&>(column(col));
    c.header = header;
    c.field = field;
    changedAll();
}

void ItemsGrid::setColWidth(int col, double twips) {
    const_cast<Column&>(column(col)).width = std::max(0.0, twips);
    changedAll();
}

bool ItemsGrid::addRow(const GridRow& row) {
    if (Rows() - 1 >= maxRows_) {
        return false;
    }
    try {
        rows_.push_back(row);
    } catch (const std::bad_alloc&) {
        return false;
    }
    changedAll();
    return true;
}

const GridRow& ItemsGrid::row(int r) const {
    if (r < 1 || r >= Rows()) {
        outOfRange();
    }
    return rows_[static_cast<std::size_t>(r - 1)];
}

GridRow& ItemsGrid::mutableRow(int r) {
    return const_cast<GridRow&>(row(r));
}

QString ItemsGrid::TextMatrix(int r, int col) const {
    const Column& c = column(col);
    if (r == 0) {
        return c.header;
    }
    const GridRow& data = row(r);
    if (col == 0) {
        return rowKey(data.folder, data.item);
    }
    if (col == 1) {
        return QString(QChar::fromLatin1(data.mark));
    }
    if (c.field == kFieldMarker) {
        return markerWord(data.marker);
    }
    return source_ != nullptr && data.item >= 1 ? source_->cell(data, c.field) : QString();
}

void ItemsGrid::setMark(int r, RowMark mark) {
    mutableRow(r).mark = mark;
    changedRow(r);
}

void ItemsGrid::setBold(int r, bool bold) {
    mutableRow(r).bold = bold;
    changedRow(r);
}

void ItemsGrid::setBackground(int r, ColorRef colour) {
    mutableRow(r).background = colour;
    changedRow(r);
}

void ItemsGrid::removeRowsIf(const std::function<bool(const GridRow&)>& remove) {
    const auto end = std::remove_if(rows_.begin(), rows_.end(), remove);
    if (end != rows_.end()) {
        rows_.erase(end, rows_.end());
        changedAll();
    }
}

void ItemsGrid::Sort(int col, int mode) {
    column(col);  // validates
    if (mode != kSortStringAscending && mode != kSortStringDescending) {
        throw Failure(err::kInvalidArgument, QStringLiteral("Invalid property value"));
    }
    std::vector<std::size_t> order(rows_.size());
    std::iota(order.begin(), order.end(), 0);
    const auto sortBy = [&](const auto& keys) {
        if (mode == kSortStringAscending) {
            std::stable_sort(order.begin(), order.end(),
                             [&](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
        } else {
            std::stable_sort(order.begin(), order.end(),
                             [&](std::size_t a, std::size_t b) { return keys[b] < keys[a]; });
        }
    };
    std::vector<double> numbers(rows_.size());
    bool numeric = source_ != nullptr && col >= 2;
    for (std::size_t i = 0; numeric && i < rows_.size(); ++i) {
        numeric = rows_[i].item >= 1 &&
                  source_->sortNumber(rows_[i], columns_[static_cast<std::size_t>(col)].field,
                                      numbers[i]);
    }
    if (numeric) {
        sortBy(numbers);
    } else {
        // Each row's text is made once; the comparisons then work on the texts alone.
        std::vector<QString> texts(rows_.size());
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            texts[i] = TextMatrix(static_cast<int>(i) + 1, col);
        }
        sortBy(texts);
    }
    std::vector<GridRow> sorted;
    sorted.reserve(rows_.size());
    for (const std::size_t i : order) {
        sorted.push_back(rows_[i]);
    }
    rows_ = std::move(sorted);
    changedAll();
}

void ItemsGrid::setRedraw(bool redraw) {
    redraw_ = redraw;
    if (redraw_ && pending_) {
        pending_ = false;
        if (observer_ != nullptr) {
            observer_->aboutToReset();
            observer_->reset();
        }
    }
}

void ItemsGrid::changedAll() {
    if (!redraw_ || observer_ == nullptr) {
        pending_ = true;
        return;
    }
    observer_->aboutToReset();
    observer_->reset();
}

void ItemsGrid::changedRow(int r) {
    if (!redraw_ || observer_ == nullptr) {
        pending_ = true;
        return;
    }
    observer_->rowsChanged(r, r);
}

QString ItemsGrid::rowKey(int folder, int item) {
    const QString folderPart = QStringLiteral("%1").arg(folder, 3, 10, QLatin1Char('0'));
    if (item < 0) {
        return folderPart;
    }
    return folderPart + QLatin1Char('-') + QStringLiteral("%1").arg(item, 5, 10, QLatin1Char('0'));
}

int ItemsGrid::itemOfKey(const QString& key) {
    const qsizetype dash = key.indexOf(QLatin1Char('-'));
    return dash < 0 ? 0 : key.mid(dash + 1).toInt();
}

}  // namespace tf
