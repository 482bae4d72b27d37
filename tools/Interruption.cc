#include "tools/Interruption.h"

#include <signal.h>

#include <atomic>
#include <iostream>
#include <stdexcept>

namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void noteInterruption(int /*signal*/) {
    gInterrupted = true;
}

}  // namespace

void catchInterruptions() {
    struct sigaction action = {};
    action.sa_handler = noteInterruption;  // without SA_RESTART: reads end
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGPIPE, &action, nullptr);  // the write fails, too
}

bool wasInterrupted() {
    return gInterrupted;
}

void flushOutput() {
    if (!std::cout.flush() && !gInterrupted) {
        throw std::runtime_error("cannot write to standard output");
    }
}
