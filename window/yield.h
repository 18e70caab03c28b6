#pragma once

namespace tf {

// Lets the window run its pending events in the middle of a long loop (the classic DoEvents).
// Handlers that run inside a yield only set flags; the loop reads them right after.
class Yield {
  public:
    virtual ~Yield() = default;
    virtual void yield() = 0;
};

}  // namespace tf
