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
    switch (role) {
        case Qt::DisplayRole:
            return col == 1 ? QVariant() : QVariant(grid_.TextMatrix(r, col));
        case Qt::CheckStateRole:
            if (col == 1) {
                return row.mark == kRowMarked ? Qt::Checked : Qt::Unchecked;
            }
            return {};
        case Qt::FontRole:
            if (row.bold) {
                QFont font;
                font.setBold(true);
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
