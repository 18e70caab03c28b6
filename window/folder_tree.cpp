#include "window/folder_tree.h"

#include <algorithm>

#include "common/failure.h"

namespace tf {

namespace {
bool captionLess(const QString& a, const QString& b) {
    return QString::compare(a, b, Qt::CaseInsensitive) < 0;
}
}  // namespace

void FolderTree::clear() {
    if (observer_ != nullptr) {
        observer_->aboutToReset();
    }
    nodes_.clear();
    topLevel_.clear();
    selected_ = 0;
    if (observer_ != nullptr) {
        observer_->reset();
    }
}

const TreeNode& FolderTree::node(int index) const {
    if (index < 1 || index > count()) {
        throw Failure(err::kAutomation, QStringLiteral("Index out of bounds"));
    }
    return nodes_[static_cast<std::size_t>(index - 1)];
}

TreeNode& FolderTree::mutableNode(int index) {
    return const_cast<TreeNode&>(node(index));
}

std::vector<int>& FolderTree::siblingsOf(int parent) {
    return parent == 0 ? topLevel_ : mutableNode(parent).children;
}

int FolderTree::add(int parent, const QString& key, const QString& text) {
    if (!key.isEmpty() && find(key) != 0) {
        throw Failure(35602, QStringLiteral("Key is not unique in collection"));
    }
    std::vector<int>& siblings = siblingsOf(parent);
    const bool sorted = parent != 0 && node(parent).Sorted;
    auto position = siblings.end();
    if (sorted) {
        position = std::upper_bound(
            siblings.begin(), siblings.end(), text,
            [this](const QString& t, int sibling) { return captionLess(t, node(sibling).Text); });
    }
    const int row = static_cast<int>(position - siblings.begin());
    if (observer_ != nullptr) {
        observer_->aboutToInsert(parent, row);
    }
    TreeNode added;
    added.Key = key;
    added.Text = text;
    added.parent = parent;
    nodes_.push_back(std::move(added));
    const int index = count();
    // nodes_ may have moved, so look the sibling list up again before inserting.
    std::vector<int>& list = siblingsOf(parent);
    list.insert(list.begin() + row, index);
    if (observer_ != nullptr) {
        observer_->inserted();
    }
    return index;
}

int FolderTree::find(const QString& key) const {
    for (int i = 1; i <= count(); ++i) {
        if (nodes_[static_cast<std::size_t>(i - 1)].Key == key) {
            return i;
        }
    }
    return 0;
}

int FolderTree::Child(int index) const {
    const TreeNode& n = node(index);
    return n.children.empty() ? 0 : n.children.front();
}

int FolderTree::Next(int index) const {
    const TreeNode& n = node(index);
    const std::vector<int>& siblings = n.parent == 0 ? topLevel_ : node(n.parent).children;
    const auto it = std::find(siblings.begin(), siblings.end(), index);
    return it == siblings.end() || it + 1 == siblings.end() ? 0 : *(it + 1);
}

int FolderTree::row(int index) const {
    const TreeNode& n = node(index);
    const std::vector<int>& siblings = n.parent == 0 ? topLevel_ : node(n.parent).children;
    return static_cast<int>(std::find(siblings.begin(), siblings.end(), index) - siblings.begin());
}

void FolderTree::notifyChanged(int index) {
    if (observer_ != nullptr) {
        observer_->changed(index);
    }
}

void FolderTree::sortChildren(int parent) {
    std::vector<int>& siblings = siblingsOf(parent);
    const bool ordered = std::is_sorted(siblings.begin(), siblings.end(), [this](int a, int b) {
        return captionLess(node(a).Text, node(b).Text);
    });
    if (ordered) {
        return;
    }
    if (observer_ != nullptr) {
        observer_->aboutToReorder();
    }
    std::stable_sort(siblings.begin(), siblings.end(),
                     [this](int a, int b) { return captionLess(node(a).Text, node(b).Text); });
    if (observer_ != nullptr) {
        observer_->reordered();
    }
}

void FolderTree::setText(int index, const QString& text) {
    TreeNode& n = mutableNode(index);
    if (n.Text == text) {
        return;
    }
    n.Text = text;
    notifyChanged(index);
    if (n.parent != 0 && node(n.parent).Sorted) {
        sortChildren(n.parent);
    }
}

void FolderTree::setTag(int index, const QString& tag) {
    mutableNode(index).Tag = tag;
}

void FolderTree::setChecked(int index, bool checked) {
    mutableNode(index).Checked = checked;
    notifyChanged(index);
}

void FolderTree::setBold(int index, bool bold) {
    mutableNode(index).Bold = bold;
    notifyChanged(index);
}

void FolderTree::setExpanded(int index, bool expanded) {
    mutableNode(index).Expanded = expanded;
    notifyChanged(index);
}

void FolderTree::setSorted(int index, bool sorted) {
    mutableNode(index).Sorted = sorted;
    if (sorted) {
        sortChildren(index);
    }
}

void FolderTree::setForeColor(int index, ColorRef color) {
    mutableNode(index).ForeColor = color;
    notifyChanged(index);
}

void FolderTree::EnsureVisible(int index) {
    for (int above = Parent(index); above != 0; above = Parent(above)) {
        if (!node(above).Expanded) {
            setExpanded(above, true);
        }
    }
    if (observer_ != nullptr) {
        observer_->scrollTo(index);
    }
}

void FolderTree::detach(int index) {
    const int parent = Parent(index);
    bool selectionInside = false;
    for (int n = selected_; n != 0; n = Parent(n)) {
        selectionInside = selectionInside || n == index;
    }
    if (observer_ != nullptr) {
        observer_->aboutToReset();
    }
    std::vector<int>& siblings = siblingsOf(parent);
    siblings.erase(std::remove(siblings.begin(), siblings.end(), index), siblings.end());
    // The whole branch goes; its nodes must not be marked or walked any more.
    std::vector<int> branch{index};
    while (!branch.empty()) {
        TreeNode& n = mutableNode(branch.back());
        branch.pop_back();
        n.Detached = true;
        n.Checked = false;
        branch.insert(branch.end(), n.children.begin(), n.children.end());
    }
    if (observer_ != nullptr) {
        observer_->reset();
    }
    if (selectionInside) {
        select(parent);
    }
}

void FolderTree::select(int index) {
    if (index != 0) {
        node(index);  // validates
    }
    selected_ = index;
    if (observer_ != nullptr) {
        observer_->selectionChanged(index);
    }
}

}  // namespace tf
