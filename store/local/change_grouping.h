#pragma once

#include <QElapsedTimer>
#include <QtGlobal>
#include <functional>

#include "store/local/sqlite_db.h"

namespace tf::store::local {

// Turns the store file's changes into transactions. Alone, each change is a transaction of its
// own; inside a group (NameSpace::beginChanges), changes are savepoints of one transaction that
// is committed every so often, so that a failed change is undone alone either way.
class ChangeGrouping {
  public:
    // groupUndone runs when a group's commit fails and the group is rolled back.
    ChangeGrouping(Database& db, std::function<void()> groupUndone)
        : db_(db), groupUndone_(std::move(groupUndone)) {}

    // Calls nest; the outermost endGroup commits what is left and may throw.
    void beginGroup() { ++depth_; }
    void endGroup();

    void beginChange();
    void endChange();
    void undoChange() noexcept;

  private:
    // A group is committed after this many changes or this long, whichever comes first: a killed
    // run then has at most this much undone, and undone changes leave items where they were.
    static constexpr int kGroupChanges = 256;
    static constexpr qint64 kGroupMs = 200;

    void commitGroup();

    Database& db_;
    std::function<void()> groupUndone_;
    int depth_ = 0;
    bool open_ = false;
    int changes_ = 0;
    QElapsedTimer timer_;
};

// One change: committed by commit(), undone when left without it.
class Change {
  public:
    explicit Change(ChangeGrouping& grouping) : grouping_(grouping) { grouping_.beginChange(); }
    ~Change() {
        if (!done_) {
            grouping_.undoChange();
        }
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    void commit() {
        grouping_.endChange();
        done_ = true;
    }

  private:
    ChangeGrouping& grouping_;
    bool done_ = false;
};

}  // namespace tf::store::local
