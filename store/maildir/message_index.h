#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tf::store::maildir {

// One message file as a folder's index knows it.
struct IndexEntry {
    std::string unique;  // the file name's part before the info
    std::string info;    // ":2,FLAGS" or empty
    bool inNew = false;  // lies in new/ rather than cur/
    // The EntryID when it is not the stem: a copy whose name another folder holds too, or a
    // message we moved under a new name, keeps the EntryID it was first listed with.
    std::string id;
    std::int64_t size = 0;
    std::int64_t mtime = 0;  // nanoseconds since 1970
};

// The messages of one folder in their stable order, each known by its stem (stemOf). Positions
// change only by removal; messages that arrive are added at the end. Finding a message by name is
// O(1); reaching a position, adding and removing are O(log n) wherever the message lies, so a run
// that deletes item after item, in any order, never rescans the folder or shifts the whole list.
class MessageIndex {
  public:
    long count() const { return static_cast<long>(live_); }
    // The message at a 0-based position; position must be below count().
    const IndexEntry& at(long position) const;
    const IndexEntry* find(const std::string& stem) const;
    // Adds a message at the end; false when a message with the same stem is listed already.
    bool append(IndexEntry entry);
    void erase(const std::string& stem);
    // Takes a fresh listing of the folder: known messages keep their places and EntryIDs (with
    // their names and flags updated), vanished ones are dropped, and new ones are added at the
    // end in delivery order, each shown to arriving first.
    void merge(std::vector<IndexEntry> listing,
               const std::function<void(IndexEntry&)>& arriving = nullptr);

  private:
    struct Slot {
        IndexEntry entry;
        bool live = true;
    };
    // A Fenwick tree over the slots' live flags: the count of live slots up to a slot, and the
    // slot holding the n-th live message.
    void mark(std::size_t slot, int delta);
    // Drops dead slots and makes room for at least room slots.
    void rebuild(std::size_t room = 0);

    std::vector<Slot> slots_;  // in order; dead slots stay until the next rebuild
    std::vector<int> live_tree_;
    std::unordered_map<std::string, std::size_t> slotOf_;
    std::size_t live_ = 0;
};

}  // namespace tf::store::maildir
