#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace tf::store::maildir {

// One message file as a folder's index knows it.
struct IndexEntry {
    std::string unique;  // the EntryID
    std::string info;    // ":2,FLAGS" or empty
    bool inNew = false;  // lies in new/ rather than cur/
};

// The messages of one folder in their stable order. Positions change only by removal; messages
// that arrive are added at the end. Finding, adding and removing a message by name is O(1), so a
// run that deletes item after item never rescans the folder; removals in the middle leave holes
// that are closed once, the next time a position is asked for.
class MessageIndex {
  public:
    long count() const { return static_cast<long>(live_); }
    // The message at a 0-based position; position must be below count().
    const IndexEntry& at(long position);
    const IndexEntry* find(const std::string& unique) const;
    void append(IndexEntry entry);
    void erase(const std::string& unique);
    // Takes a fresh listing of the folder: known messages keep their places (with their flags
    // updated), vanished ones are dropped, and new ones are added at the end in delivery order.
    void merge(std::vector<IndexEntry> listing);

  private:
    struct Slot {
        IndexEntry entry;
        bool live = true;
    };
    void compact();

    std::vector<Slot> slots_;
    std::unordered_map<std::string, std::size_t> slotOf_;
    std::size_t head_ = 0;  // slots before head_ are all dead
    std::size_t live_ = 0;
    bool holes_ = false;  // a dead slot between head_ and the end
};

}  // namespace tf::store::maildir
