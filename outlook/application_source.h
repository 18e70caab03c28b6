#pragma once

#include "outlook/object_model.h"

namespace tf {

// Where the session comes from: the stores that are already open (named on the command line),
// or a new session on the default store.
class ApplicationSource {
  public:
    virtual ~ApplicationSource() = default;
    // Attaches to the stores named at start. Empty when none was named. A named store that cannot
    // be opened throws a Failure whose description says which store and why.
    virtual outlook::ApplicationPtr GetObject() = 0;
    // Opens the default store, making it with sample content on first run. Throws when it cannot.
    virtual outlook::ApplicationPtr CreateObject() = 0;
};

}  // namespace tf
