#pragma once

#include <QStringList>

#include "outlook/object_model.h"

namespace tf {

// Where the session comes from. Attaching takes the stores named at start; starting opens a new
// session, on those same stores when some were named, else on the default store.
class ApplicationSource {
  public:
    virtual ~ApplicationSource() = default;
    // Attaches to the stores named at start. Empty when none was named. A named store that cannot
    // be opened throws a Failure whose description says which store and why.
    virtual outlook::ApplicationPtr GetObject() = 0;
    // Opens the stores named at start, or, when none was named, the default store, making it with
    // sample content on first run. Never opens the default store in place of a named one. Throws
    // when it cannot.
    virtual outlook::ApplicationPtr CreateObject() = 0;
    // What the window tells once the session is had: stores named twice, stores that could not
    // be opened again. Each note is taken once.
    virtual QStringList takeStartNotes() { return {}; }
};

}  // namespace tf
