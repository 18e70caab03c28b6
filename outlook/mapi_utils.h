#pragma once

#include <QString>
#include <cstdint>

#include "outlook/object_model.h"

namespace tf::outlook {

// The companion utility object: reads one property straight from an item's message.
class TidyMAPIUtils {
  public:
    // The property's value as text. A message without the property gives empty text, as does a
    // tag of a type other than a string; an empty message object is a failure.
    QString HrGetOneProp(const MapiObjectPtr& mapiObject, std::uint32_t propertyTag) const;
};

}  // namespace tf::outlook
