#include "tools/base/Interruption.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <iostream>
#include <stdexcept>

namespace kestrel {

namespace {

std::atomic<bool> gInterrupted{false};
std::atomic<bool> gReaderGone{false};
static_assert(std::atomic<bool>::is_always_lock_free);

// A byte in this pipe wakes waitForInput, also when the signal came just before it waited. -1: not
// made.
int gWakeRead = -1;
int gWakeWrite = -1;

void noteInterruption(int /*signal*/) {
    const int error = errno;
    gInterrupted = true;
    const char byte = 0;
    static_cast<void>(!write(gWakeWrite, &byte, 1));  // a full pipe wakes as well
    errno = error;
}

void noteReaderGone(int /*signal*/) {
    gReaderGone = true;
}

bool isIgnored(int signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

void catchSignal(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

}  // namespace

void catchInterruptions() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
        gWakeRead = ends[0];
        gWakeWrite = ends[1];
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!isIgnored(signal)) {
            catchSignal(signal, noteInterruption);
        }
    }
    // Ignored or not: a reader that has gone is no error.
    catchSignal(SIGPIPE, noteReaderGone);
}

bool wasInterrupted() {
    return gInterrupted || gReaderGone;
}

bool waitForInput(int file) {
    std::array<pollfd, 2> files = {{{file, POLLIN, 0}, {gWakeRead, POLLIN, 0}}};
    while (!wasInterrupted()) {
        if (poll(files.data(), files.size(), -1) >= 0 && files[0].revents != 0) {
            break;
        }
    }
    return !wasInterrupted();
}

void flushOutput() {
    if (!std::cout.flush() && !gReaderGone) {
        throw std::runtime_error("cannot write to standard output");
    }
}

}  // namespace kestrel
