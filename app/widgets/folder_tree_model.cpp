#include "app/widgets/folder_tree_model.h"

#include <QColor>
#include <QFont>

namespace tf {

FolderTreeModel::FolderTreeModel(FolderTree& tree, QObject* parent)
    : QAbstractItemModel(parent), tree_(tree) {
    tree_.setObserver(this);
}

FolderTreeModel::~FolderTreeModel() {
    tree_.setObserver(nullptr);
}

QModelIndex FolderTreeModel::indexOfNode(int node) const {
    if (node < 1 || node > tree_.count() || !tree_.attached(node)) {
        return {};
    }
    return createIndex(tree_.row(node), 0, static_cast<quintptr>(node));
}

QModelIndex FolderTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) {
        return {};
    }
    const std::vector<int>& siblings =
        parent.isValid() ? tree_.node(nodeOf(parent)).children : tree_.topLevel();
    if (row >= static_cast<int>(siblings.size())) {
        return {};
    }
    return createIndex(row, 0, static_cast<quintptr>(siblings[static_cast<std::size_t>(row)]));
}

QModelIndex FolderTreeModel::parent(const QModelIndex& child) const {
    if (!child.isValid()) {
        return {};
    }
    return indexOfNode(tree_.Parent(nodeOf(child)));
}

int FolderTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > 0) {
        return 0;
    }
    return parent.isValid() ? tree_.Children(nodeOf(parent))
                            : static_cast<int>(tree_.topLevel().size());
}

int FolderTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant FolderTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const TreeNode& node = tree_.node(nodeOf(index));
    switch (role) {
        case Qt::DisplayRole:
            return node.Text;
        case Qt::CheckStateRole:
            return node.Checked ? Qt::Checked : Qt::Unchecked;
        case Qt::FontRole: {
            QFont font;
            font.setBold(node.Bold);
            return font;
        }
        case Qt::ForegroundRole:
            return QColor(static_cast<int>(node.ForeColor & 0xFF),
                          static_cast<int>((node.ForeColor >> 8) & 0xFF),
                          static_cast<int>((node.ForeColor >> 16) & 0xFF));
        default:
            return {};
    }
}

bool FolderTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::CheckStateRole || !checkHandler_) {
        return false;
    }
    checkHandler_(nodeOf(index), value.toInt() == Qt::Checked);
    return true;
}

Qt::ItemFlags FolderTreeModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
}

void FolderTreeModel::aboutToInsert(int parent, int row) {
    beginInsertRows(indexOfNode(parent), row, row);
}

void FolderTreeModel::reordered() {
    // Rows moved among siblings: refresh every persistent index from the nodes they stand for.
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before) {
        after << indexOfNode(nodeOf(index));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged();
}

void FolderTreeModel::changed(int node) {
    const QModelIndex index = indexOfNode(node);
    emit dataChanged(index, index);
}

}  // namespace tf
