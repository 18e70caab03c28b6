#pragma once

#include <QString>
#include <vector>

#include "outlook/object_model.h"

namespace tf::outlook {

// Opens stores by their locations ("local:FILE", "maildir:FOLDER#NAME"), for the stores the
// user opens and closes from the window.
class StoreOpener {
  public:
    virtual ~StoreOpener() = default;
    // The stores at the location (a store file may hold several). Throws a Failure whose
    // description says why, in words for the user.
    virtual std::vector<StorePtr> open(const QString& location) = 0;
    // The location written one way for all the ways to name it: absolute, links resolved. The
    // same text for the same file or folder, so that it can be recognised before it is opened.
    virtual QString canonical(const QString& location) const = 0;
    // The sample store's location; opening it makes it, with sample content, when it is missing.
    virtual QString sampleLocation() const = 0;
};

}  // namespace tf::outlook
