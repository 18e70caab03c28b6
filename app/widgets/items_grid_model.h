#pragma once

#include <QAbstractTableModel>

#include "grid/row_presentation.h"
#include "window/items_grid.h"

namespace tf {

// Shows the items grid in a QTableView: the cells' text, the mark column as a check mark, unread
// rows in bold and the rows' own background. With a presentation it also names each row's store
// when several are open, and keeps a deleted item's row readable, in grey italics.
class ItemsGridModel : public QAbstractTableModel, private ItemsGridObserver {
    Q_OBJECT
  public:
    explicit ItemsGridModel(ItemsGrid& grid, QObject* parent = nullptr);
    ~ItemsGridModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    void setPresentation(const RowPresentation* presentation) { presentation_ = presentation; }
    // A deleted item's text: grey that still reads at 4.5:1 on white and on the marked colour.
    static QColor removedColour();

  private:
    void aboutToReset() override { beginResetModel(); }
    void reset() override { endResetModel(); }
    void rowsChanged(int first, int last) override;

    QVariant cellText(const GridRow& row, int r, int col) const;

    ItemsGrid& grid_;
    const RowPresentation* presentation_ = nullptr;
};

// A Windows colour value (0x00BBGGRR) as Qt's colour.
QColor toQColor(ColorRef colour);

}  // namespace tf
