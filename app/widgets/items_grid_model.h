#pragma once

#include <QAbstractTableModel>

#include "window/items_grid.h"

namespace tf {

// Shows the items grid in a QTableView: the cells' text, the mark column as a check mark, unread
// rows in bold and the rows' own background.
class ItemsGridModel : public QAbstractTableModel, private ItemsGridObserver {
    Q_OBJECT
  public:
    explicit ItemsGridModel(ItemsGrid& grid, QObject* parent = nullptr);
    ~ItemsGridModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    void aboutToReset() override { beginResetModel(); }
    void reset() override { endResetModel(); }
    void rowsChanged(int first, int last) override;

    ItemsGrid& grid_;
};

// A Windows colour value (0x00BBGGRR) as Qt's colour.
QColor toQColor(ColorRef colour);

}  // namespace tf
