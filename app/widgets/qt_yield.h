#pragma once

#include <QElapsedTimer>

#include "window/yield.h"

namespace tf {

// Runs the window's pending events, at most once every few milliseconds: a loop that yields after
// every one of 100,000 items must not spend its time in the event loop.
class QtYield : public Yield {
  public:
    void yield() override;

  private:
    QElapsedTimer sinceLast_;
};

}  // namespace tf
