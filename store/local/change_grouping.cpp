#include "store/local/change_grouping.h"

namespace tf::store::local {

void ChangeGrouping::endGroup() {
    if (depth_ > 0 && --depth_ == 0) {
        commitGroup();
    }
}

void ChangeGrouping::beginChange() {
    if (depth_ == 0) {
        db_.exec("BEGIN IMMEDIATE");
        return;
    }
    if (!open_) {
        db_.exec("BEGIN IMMEDIATE");
        open_ = true;
        changes_ = 0;
        timer_.start();
    }
    db_.exec("SAVEPOINT change");
}

void ChangeGrouping::endChange() {
    if (!open_) {
        db_.exec("COMMIT");
        return;
    }
    db_.exec("RELEASE change");
    if (++changes_ >= kGroupChanges || timer_.elapsed() >= kGroupMs) {
        commitGroup();
    }
}

void ChangeGrouping::undoChange() noexcept {
    if (!open_) {
        db_.execQuietly("ROLLBACK");
        return;
    }
    db_.execQuietly("ROLLBACK TO change; RELEASE change");
}

void ChangeGrouping::commitGroup() {
    if (!open_) {
        return;
    }
    open_ = false;
    try {
        db_.exec("COMMIT");
    } catch (...) {
        db_.execQuietly("ROLLBACK");
        groupUndone_();
        throw;
    }
}

}  // namespace tf::store::local
