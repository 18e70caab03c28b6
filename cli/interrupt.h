#pragma once

namespace tf::cli {

// Turns SIGINT and SIGTERM into a request that the run's loops read at their next yield, as the
// window's Cancel button is read: the item under way is finished, nothing is cut off half done.
void catchInterrupts();
bool interruptRequested();

}  // namespace tf::cli
