#include "tools/base/Interruption.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>

namespace kestrel {

namespace {

std::atomic<bool> gInterrupted{false};
std::atomic<int64_t> gInterruptedMs{0};  // when, if it was
std::atomic<bool> gReaderGone{false};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int64_t>::is_always_lock_free);

// A byte in this pipe wakes waitForInput, also when the signal came just before it waited. -1: not
// made.
int gWakeRead = -1;
int gWakeWrite = -1;

int64_t nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

// Some send one signal twice, to the process and to its group; that counts as one.
void noteInterruption(int signal) {
    constexpr int64_t SAME_MS = 250;
    const int error = errno;
    const int64_t now = nowMs();
    if (!gInterrupted) {
        gInterruptedMs = now;
        gInterrupted = true;
        const char byte = 0;
        static_cast<void>(!write(gWakeWrite, &byte, 1));  // a full pipe wakes as well
    } else if (now - gInterruptedMs > SAME_MS) {
        struct sigaction action = {};
        action.sa_handler = SIG_DFL;
        sigaction(signal, &action, nullptr);
        raise(signal);  // ends the process once this returns
    }
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

bool hasReaderGone() {
    return gReaderGone;
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

bool waitForOutput(int file) {
    constexpr std::chrono::milliseconds PATIENCE(2000);
    static std::chrono::nanoseconds waited{0};  // since the interruption
    std::array<pollfd, 2> files = {{{file, POLLOUT, 0}, {gWakeRead, POLLIN, 0}}};
    while (files[0].revents == 0) {
        // The pipe stays readable, so it is left out from then on.
        const bool interrupted = wasInterrupted();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(PATIENCE - waited);
        if (interrupted && left <= left.zero()) {
            return false;
        }
        const auto begin = std::chrono::steady_clock::now();
        poll(files.data(), interrupted ? 1 : 2, interrupted ? static_cast<int>(left.count()) : -1);
        if (interrupted) {
            waited += std::chrono::steady_clock::now() - begin;
        }
    }
    return true;
}

}  // namespace kestrel
