#pragma once

#include <QAbstractItemModel>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTest>
#include <QTreeView>

namespace tf::testing {

// The tree's index whose caption starts with "name - (", searched depth first.
inline QModelIndex folderIndex(const QAbstractItemModel& model, const QString& name,
                               const QModelIndex& parent = {}) {
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data().toString().startsWith(name + QStringLiteral(" - ("))) {
            return index;
        }
        const QModelIndex below = folderIndex(model, name, index);
        if (below.isValid()) {
            return below;
        }
    }
    return {};
}

// Clicks the check box of a tree node, where the view's style draws it.
inline void tickInView(QTreeView& view, const QModelIndex& index) {
    view.scrollTo(index);
    QStyleOptionViewItem option;
    option.initFrom(&view);
    option.rect = view.visualRect(index);
    option.features |= QStyleOptionViewItem::HasCheckIndicator;
    const QRect box =
        view.style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &view);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, box.center());
}

}  // namespace tf::testing
