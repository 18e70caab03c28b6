#pragma once

#include <QAbstractItemModel>
#include <functional>

#include "window/folder_tree.h"

namespace tf {

// Shows the folder tree in a QTreeView: caption, check box, bold and fore colour per node.
class FolderTreeModel : public QAbstractItemModel, private FolderTreeObserver {
    Q_OBJECT
  public:
    explicit FolderTreeModel(FolderTree& tree, QObject* parent = nullptr);
    ~FolderTreeModel() override;

    // Called when the user ticks or unticks a node; the logic decides whether the mark stands.
    void setCheckHandler(std::function<void(int node, bool checked)> handler) {
        checkHandler_ = std::move(handler);
    }

    QModelIndex indexOfNode(int node) const;
    int nodeOf(const QModelIndex& index) const { return static_cast<int>(index.internalId()); }

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

  signals:
    void nodeSelected(int node);
    void nodeToShow(int node);

  private:
    void aboutToReset() override { beginResetModel(); }
    void reset() override { endResetModel(); }
    void aboutToInsert(int parent, int row) override;
    void inserted() override { endInsertRows(); }
    void aboutToReorder() override { emit layoutAboutToBeChanged(); }
    void reordered() override;
    void changed(int node) override;
    void selectionChanged(int node) override { emit nodeSelected(node); }
    void scrollTo(int node) override { emit nodeToShow(node); }

    FolderTree& tree_;
    std::function<void(int, bool)> checkHandler_;
};

}  // namespace tf
