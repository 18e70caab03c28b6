#include "app/widgets/items_grid_model.h"

#include <QBrush>
#include <QColor>
#include <QFont>

namespace tf {

QColor toQColor(ColorRef colour) {
    return QColor(static_cast<int>(colour & 0xFF), static_cast<int>((colour >> 8) & 0xFF),
                  static_cast<int>((colour >> 16) & 0xFF));
}

ItemsGridModel::ItemsGridModel(ItemsGrid& grid, QObject* parent)
    : QAbstractTableModel(parent), grid_(grid) {
    grid_.setObserver(this);
}

ItemsGridModel::~ItemsGridModel() {
    grid_.setObserver(nullptr);
}

int ItemsGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : grid_.Rows() - 1;
}

int ItemsGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : grid_.Cols();
}

QVariant ItemsGridModel::data(const QModelIndex& index, int role) const {
    const int r = index.row() + 1;
    const int col = index.column();
    // The view may ask while the logic has changed the rows with redraw off.
    if (!index.isValid() || r >= grid_.Rows() || col >= grid_.Cols()) {
        return {};
    }
    const GridRow& row = grid_.row(r);
    const bool removed = presentation_ != nullptr && presentation_->removed(row);
    switch (role) {
        case Qt::DisplayRole:
            return cellText(row, r, col);
        case Qt::ToolTipRole:
            if (presentation_ != nullptr && col >= 2 &&
                grid_.header(col) == QLatin1String("Folder")) {
                return presentation_->place(row.folder).path;
            }
            return {};
        case Qt::ForegroundRole:
            if (removed) {
                return QBrush(removedColour());
            }
            return {};
        case Qt::CheckStateRole:
            if (col == 1) {
                return row.mark == kRowMarked ? Qt::Checked : Qt::Unchecked;
            }
            return {};
        case Qt::FontRole:
            if (row.bold || removed) {
                QFont font;
                font.setBold(row.bold);
                font.setItalic(removed);
                return font;
            }
            return {};
        case Qt::BackgroundRole:
            if (row.background != GridRow::kNoBackground) {
                return QBrush(toQColor(row.background));
            }
            return {};
        default:
            return {};
    }
}

QVariant ItemsGridModel::cellText(const GridRow& row, int r, int col) const {
    if (col == 1) {
        return {};
    }
    if (presentation_ == nullptr || col < 2) {
        return grid_.TextMatrix(r, col);
    }
    QString text =
        presentation_->removed(row) ? presentation_->shownText(row, col) : grid_.TextMatrix(r, col);
    // Two stores each have an Inbox: the folder's store goes beside its name.
    if (grid_.header(col) == QLatin1String("Folder") && presentation_->severalStores()) {
        const QString store = presentation_->place(row.folder).store;
        if (!store.isEmpty()) {
            text += QStringLiteral("  (") + store + QLatin1Char(')');
        }
    }
    return text;
}

QColor ItemsGridModel::removedColour() {
    return QColor(0x59, 0x59, 0x59);
}

QVariant ItemsGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section >= grid_.Cols()) {
        return {};
    }
    return grid_.header(section);
}

void ItemsGridModel::rowsChanged(int first, int last) {
    emit dataChanged(index(first - 1, 0), index(last - 1, std::max(0, grid_.Cols() - 1)));
}

}  // namespace tf
