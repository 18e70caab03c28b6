#include "store/imap/message_list.h"

#include <algorithm>

namespace tf::store::imap {

void MessageList::mark(std::size_t slot, int delta) {
    for (std::size_t i = slot + 1; i < tree_.size(); i += i & (~i + 1)) {
        tree_[i] += delta;
    }
}

void MessageList::rebuild(std::size_t capacity) {
    // Dead slots go, and the tree is made again in O(n).
    std::vector<Slot> kept;
    kept.reserve(std::max(capacity, live_));
    slotOf_.clear();
    for (Slot& slot : slots_) {
        if (slot.live) {
            slotOf_[slot.row.id] = kept.size();
            kept.push_back(std::move(slot));
        }
    }
    slots_ = std::move(kept);
    tree_.assign(slots_.capacity() + 1, 0);
    for (std::size_t i = 1; i < tree_.size(); ++i) {
        tree_[i] += (i - 1 < slots_.size()) ? 1 : 0;
        const std::size_t parent = i + (i & (~i + 1));
        if (parent < tree_.size()) {
            tree_[parent] += tree_[i];
        }
    }
}

std::size_t MessageList::slotAt(long position) const {
    // The slot holding the (position+1)-th live row: a descent of the Fenwick tree.
    std::size_t index = 0;
    long remaining = position + 1;
    std::size_t step = 1;
    while (step * 2 < tree_.size()) {
        step *= 2;
    }
    for (; step > 0; step /= 2) {
        const std::size_t next = index + step;
        if (next < tree_.size() && tree_[next] < remaining) {
            index = next;
            remaining -= tree_[next];
        }
    }
    return index;  // 1-based index + 1 - 1
}

const MessageRow& MessageList::at(long position) const {
    return slots_[slotAt(position)].row;
}

MessageRow& MessageList::at(long position) {
    return slots_[slotAt(position)].row;
}

const MessageRow* MessageList::find(const QString& id) const {
    const auto found = slotOf_.find(id);
    return found == slotOf_.end() ? nullptr : &slots_[found->second].row;
}

MessageRow* MessageList::find(const QString& id) {
    const auto found = slotOf_.find(id);
    return found == slotOf_.end() ? nullptr : &slots_[found->second].row;
}

long MessageList::positionOf(const QString& id) const {
    const auto found = slotOf_.find(id);
    if (found == slotOf_.end()) {
        return -1;
    }
    long before = 0;
    for (std::size_t i = found->second; i > 0; i -= i & (~i + 1)) {
        before += tree_[i];
    }
    return before;
}

void MessageList::reserve(std::size_t rows) {
    if (rows + 1 > tree_.size()) {
        rebuild(rows);
        slotOf_.reserve(rows);
    }
}

void MessageList::append(MessageRow row) {
    if (slotOf_.count(row.id) != 0) {
        return;
    }
    if (slots_.size() + 1 >= tree_.size()) {
        rebuild(live_ * 2 + 16);
    }
    slotOf_[row.id] = slots_.size();
    slots_.push_back({std::move(row), true});
    ++live_;
    mark(slots_.size() - 1, 1);
}

void MessageList::erase(const QString& id) {
    const auto found = slotOf_.find(id);
    if (found == slotOf_.end()) {
        return;
    }
    slots_[found->second].live = false;
    mark(found->second, -1);
    slotOf_.erase(found);
    --live_;
}

void MessageList::clear() {
    slots_.clear();
    tree_.clear();
    slotOf_.clear();
    live_ = 0;
}

std::vector<const MessageRow*> MessageList::rows() const {
    std::vector<const MessageRow*> out;
    out.reserve(live_);
    for (const Slot& slot : slots_) {
        if (slot.live) {
            out.push_back(&slot.row);
        }
    }
    return out;
}

}  // namespace tf::store::imap
