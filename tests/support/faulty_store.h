#pragma once

#include <QString>
#include <memory>

#include "outlook/object_model.h"

namespace tf::testing {

// Where a FaultyStore fails, and what it has counted so far.
struct Faults {
    int failDeleteAt = 0;    // the n-th Item::Delete fails (1-based); 0: none
    int failRemoveAt = 0;    // the n-th Items::Remove fails
    QString parentFailsFor;  // MAPIFolder::Parent fails for folders of this name
    int deletes = 0;
    int removes = 0;
};

// Wraps a real store and fails where the test says, before the store is touched, so that a
// failed call changes nothing, as a refused call on a real store does.
outlook::StorePtr faultyStore(outlook::StorePtr inner, std::shared_ptr<Faults> faults);

}  // namespace tf::testing
