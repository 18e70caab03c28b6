#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "common/dates.h"

namespace tf::store::imap {

// What the list shows of one message, fetched in bulk.
struct MessageRow {
    std::uint32_t uid = 0;  // 0 while a move to this folder waits for the server's answer
    QString id;             // the EntryID
    QString subject;
    QString sender;
    OleDate received = kNoDate;
    bool unread = false;
};

// One folder's messages in their stable order, each found by its EntryID in O(1). Positions
// change only by removal, and messages are added at the end; reaching a position, adding and
// removing are O(log n), so a run that deletes message after message never shifts the list.
class MessageList {
  public:
    long count() const { return static_cast<long>(live_); }
    // position: 0-based, below count().
    const MessageRow& at(long position) const;
    MessageRow& at(long position);
    const MessageRow* find(const QString& id) const;
    MessageRow* find(const QString& id);
    // The 0-based position of a listed message; -1 when it is not listed.
    long positionOf(const QString& id) const;
    // Room for this many rows in all, so that a folder read at once takes no more memory than
    // its rows need.
    void reserve(std::size_t rows);
    void append(MessageRow row);
    void erase(const QString& id);
    void clear();
    // Every live row, in order.
    std::vector<const MessageRow*> rows() const;

  private:
    void mark(std::size_t slot, int delta);
    std::size_t slotAt(long position) const;
    // Drops dead slots and makes the tree again, with room for at least `capacity` slots.
    void rebuild(std::size_t capacity);

    struct Slot {
        MessageRow row;
        bool live = true;
    };
    std::vector<Slot> slots_;
    std::vector<int> tree_;  // Fenwick tree over the live flags, 1-based
    std::unordered_map<QString, std::size_t> slotOf_;
    std::size_t live_ = 0;
};

}  // namespace tf::store::imap
