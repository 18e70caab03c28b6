#pragma once

#include <QString>
#include <cstdint>
#include <vector>

namespace tf {

// A Windows colour value: 0x00BBGGRR.
using ColorRef = std::uint32_t;
constexpr ColorRef rgb(int red, int green, int blue) {
    return static_cast<ColorRef>(red) | (static_cast<ColorRef>(green) << 8) |
           (static_cast<ColorRef>(blue) << 16);
}

struct TreeNode {
    QString Key;
    QString Text;
    QString Tag;
    bool Checked = false;
    bool Bold = false;
    bool Expanded = false;
    bool Sorted = false;    // children kept in caption order
    bool Detached = false;  // taken out of the tree with its folder
    ColorRef ForeColor = 0;
    int parent = 0;             // index of the parent node, 0 at the top level
    std::vector<int> children;  // indexes, in display order
};

// Told about changes so that a view can follow them.
class FolderTreeObserver {
  public:
    virtual ~FolderTreeObserver() = default;
    virtual void aboutToReset() = 0;
    virtual void reset() = 0;
    virtual void aboutToInsert(int parent, int row) = 0;
    virtual void inserted() = 0;
    virtual void aboutToReorder() = 0;
    virtual void reordered() = 0;
    virtual void changed(int index) = 0;
    virtual void selectionChanged(int index) = 0;
    // The node should be scrolled into view.
    virtual void scrollTo(int /*index*/) {}
};

// The folder tree's nodes as the window keeps them: a collection indexed from 1 in the order the
// nodes were added, with keys, captions, check marks and parent/child/sibling links. A view renders
// it; the logic reads and changes it without one.
class FolderTree {
  public:
    void setObserver(FolderTreeObserver* observer) { observer_ = observer; }

    // Removes every node.
    void clear();
    // Adds a node under parent (0: at the top level) and returns its index. A key that is already
    // in use is refused, as the tree control refuses it.
    int add(int parent, const QString& key, const QString& text);

    int count() const { return static_cast<int>(nodes_.size()); }
    const TreeNode& node(int index) const;
    // The index of the node with this key, 0 when there is none.
    int find(const QString& key) const;

    int Parent(int index) const { return node(index).parent; }
    // First child and next sibling in display order; 0 when there is none.
    int Child(int index) const;
    int Next(int index) const;
    int Children(int index) const { return static_cast<int>(node(index).children.size()); }
    // Position of a node among its siblings (the top-level nodes for a node without parent).
    int row(int index) const;
    const std::vector<int>& topLevel() const { return topLevel_; }

    void setText(int index, const QString& text);
    void setTag(int index, const QString& tag);
    void setChecked(int index, bool checked);
    void setBold(int index, bool bold);
    void setExpanded(int index, bool expanded);
    void setSorted(int index, bool sorted);
    void setForeColor(int index, ColorRef color);

    // Expands every folder above the node and has the view scroll to it.
    void EnsureVisible(int index);
    // Takes a node and its sub-folders out of the tree, as when their folders have been deleted.
    // Indexes stay as they are, so the records behind the other nodes keep their places; the
    // node is no longer anyone's child. A selection inside the branch moves to the parent.
    void detach(int index);
    bool attached(int index) const { return !node(index).Detached; }

    // The selected node, 0 for none.
    int selected() const { return selected_; }
    void select(int index);

    // The tree control's Visible property.
    bool visible() const { return visible_; }
    void setVisible(bool visible) { visible_ = visible; }

  private:
    TreeNode& mutableNode(int index);
    std::vector<int>& siblingsOf(int parent);
    void sortChildren(int parent);
    void notifyChanged(int index);

    std::vector<TreeNode> nodes_;  // nodes_[i - 1] is node i
    std::vector<int> topLevel_;
    int selected_ = 0;
    bool visible_ = true;
    FolderTreeObserver* observer_ = nullptr;
};

}  // namespace tf
