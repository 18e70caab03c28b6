#include "store/maildir/message_index.h"

#include <algorithm>

#include "store/maildir/maildir_names.h"

namespace tf::store::maildir {

const IndexEntry& MessageIndex::at(long position) const {
    // Walk down the tree to the slot with exactly position live slots before it.
    std::size_t slot = 0;
    auto remaining = static_cast<int>(position);
    std::size_t step = 1;
    while (step * 2 < live_tree_.size()) {
        step *= 2;
    }
    for (; step > 0; step /= 2) {
        if (slot + step < live_tree_.size() && live_tree_[slot + step] <= remaining) {
            slot += step;
            remaining -= live_tree_[slot];
        }
    }
    return slots_[slot].entry;
}

const IndexEntry* MessageIndex::find(const std::string& stem) const {
    auto found = slotOf_.find(stem);
    return found == slotOf_.end() ? nullptr : &slots_[found->second].entry;
}

void MessageIndex::mark(std::size_t slot, int delta) {
    for (std::size_t i = slot + 1; i < live_tree_.size(); i += i & (~i + 1)) {
        live_tree_[i] += delta;
    }
}

void MessageIndex::rebuild(std::size_t room) {
    std::vector<Slot> kept;
    kept.reserve(std::max(room, live_ * 2 + 16));
    for (Slot& slot : slots_) {
        if (slot.live) {
            slotOf_[stemOf(slot.entry.unique)] = kept.size();
            kept.push_back(std::move(slot));
        }
    }
    slots_ = std::move(kept);
    live_tree_.assign(slots_.capacity() + 1, 0);
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        mark(i, 1);
    }
}

bool MessageIndex::append(IndexEntry entry) {
    std::string stem = stemOf(entry.unique);
    if (slotOf_.count(stem) != 0) {
        return false;
    }
    if (slots_.size() + 1 >= live_tree_.size()) {
        rebuild();  // the tree covers the slots' capacity: grow both together
    }
    slotOf_.emplace(std::move(stem), slots_.size());
    slots_.push_back({std::move(entry), true});
    mark(slots_.size() - 1, 1);
    ++live_;
    return true;
}

void MessageIndex::erase(const std::string& stem) {
    auto found = slotOf_.find(stem);
    if (found == slotOf_.end()) {
        return;
    }
    const std::size_t slot = found->second;
    slotOf_.erase(found);
    slots_[slot] = {};
    slots_[slot].live = false;
    mark(slot, -1);
    --live_;
    // Dead slots are dropped once they outnumber the live ones, which keeps removal O(1)
    // amortised on top of the tree's O(log n).
    if (slots_.size() > 4096 && live_ * 2 < slots_.size()) {
        rebuild();
    }
}

void MessageIndex::merge(std::vector<IndexEntry> listing,
                         const std::function<void(IndexEntry&)>& arriving) {
    std::vector<bool> seen(slots_.size(), false);  // by slot
    std::vector<IndexEntry> arrived;
    if (slotOf_.empty()) {
        arrived = std::move(listing);  // a first listing: everything is new
        listing.clear();
    }
    for (IndexEntry& entry : listing) {
        auto found = slotOf_.find(stemOf(entry.unique));
        if (found == slotOf_.end()) {
            arrived.push_back(std::move(entry));
            continue;
        }
        seen[found->second] = true;
        IndexEntry& known = slots_[found->second].entry;
        entry.id = std::move(known.id);
        known = std::move(entry);
    }
    std::vector<std::string> vanished;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (slots_[i].live && !seen[i]) {
            vanished.push_back(stemOf(slots_[i].entry.unique));
        }
    }
    for (const std::string& unique : vanished) {
        erase(unique);
    }
    std::vector<std::pair<DeliveryKey, std::size_t>> order;
    order.reserve(arrived.size());
    for (std::size_t i = 0; i < arrived.size(); ++i) {
        order.emplace_back(deliveryKey(arrived[i].unique), i);
    }
    std::sort(order.begin(), order.end(), [&arrived](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first
                                  : arrived[a.second].unique < arrived[b.second].unique;
    });
    slotOf_.reserve(slotOf_.size() + arrived.size());
    // Room for all that arrived at once, instead of growing slot by slot: a folder read for the
    // first time would otherwise be copied and indexed again at every doubling.
    if (slots_.size() + arrived.size() + 1 >= live_tree_.size()) {
        rebuild(slots_.size() + arrived.size() + arrived.size() / 2 + 16);
    }
    for (const auto& [key, i] : order) {
        if (arriving) {
            arriving(arrived[i]);
        }
        append(std::move(arrived[i]));
    }
}

}  // namespace tf::store::maildir
