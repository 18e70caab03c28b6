#include "store/maildir/message_index.h"

#include <algorithm>

#include "store/maildir/maildir_names.h"

namespace tf::store::maildir {

const IndexEntry& MessageIndex::at(long position) {
    if (holes_) {
        compact();
    }
    return slots_[head_ + static_cast<std::size_t>(position)].entry;
}

const IndexEntry* MessageIndex::find(const std::string& unique) const {
    auto found = slotOf_.find(unique);
    return found == slotOf_.end() ? nullptr : &slots_[found->second].entry;
}

void MessageIndex::append(IndexEntry entry) {
    if (slotOf_.count(entry.unique) != 0) {
        return;
    }
    slotOf_.emplace(entry.unique, slots_.size());
    slots_.push_back({std::move(entry), true});
    ++live_;
}

void MessageIndex::erase(const std::string& unique) {
    auto found = slotOf_.find(unique);
    if (found == slotOf_.end()) {
        return;
    }
    const std::size_t slot = found->second;
    slotOf_.erase(found);
    slots_[slot].live = false;
    --live_;
    if (slot == head_) {
        while (head_ < slots_.size() && !slots_[head_].live) {
            ++head_;
        }
    } else if (slot + 1 == slots_.size()) {
        while (slots_.size() > head_ && !slots_.back().live) {
            slots_.pop_back();
        }
    } else {
        holes_ = true;
    }
    if (live_ == 0) {
        slots_.clear();
        head_ = 0;
        holes_ = false;
    }
}

void MessageIndex::compact() {
    std::vector<Slot> kept;
    kept.reserve(live_);
    for (std::size_t i = head_; i < slots_.size(); ++i) {
        if (slots_[i].live) {
            slotOf_[slots_[i].entry.unique] = kept.size();
            kept.push_back(std::move(slots_[i]));
        }
    }
    slots_ = std::move(kept);
    head_ = 0;
    holes_ = false;
}

void MessageIndex::merge(std::vector<IndexEntry> listing) {
    std::vector<bool> seen(slots_.size(), false);
    std::vector<IndexEntry> arrived;
    for (IndexEntry& entry : listing) {
        auto found = slotOf_.find(entry.unique);
        if (found == slotOf_.end()) {
            arrived.push_back(std::move(entry));
            continue;
        }
        seen[found->second] = true;
        slots_[found->second].entry = std::move(entry);
    }
    std::vector<std::string> vanished;
    for (std::size_t i = head_; i < slots_.size(); ++i) {
        if (slots_[i].live && !seen[i]) {
            vanished.push_back(slots_[i].entry.unique);
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
    slots_.reserve(slots_.size() + arrived.size());
    for (const auto& [key, i] : order) {
        append(std::move(arrived[i]));
    }
}

}  // namespace tf::store::maildir
