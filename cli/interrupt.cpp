#include "cli/interrupt.h"

#include <csignal>

namespace tf::cli {

namespace {
volatile std::sig_atomic_t requested = 0;

extern "C" void onInterrupt(int) {
    requested = 1;
}
}  // namespace

void catchInterrupts() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interruptRequested() {
    return requested != 0;
}

}  // namespace tf::cli
