#include "tools/session/ProgressLine.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <utility>

namespace kestrel {

// Short replays end before the line is shown.
ProgressLine::ProgressLine(bool wanted)
    : mWanted(wanted && isatty(STDERR_FILENO) != 0),
      mSharesTerminal(isatty(STDOUT_FILENO) != 0),
      mNext(std::chrono::steady_clock::now() + std::chrono::seconds(1)) {}

void ProgressLine::makeWay() {
    if (mSharesTerminal) {
        clear();
    }
}

void ProgressLine::update(const InputSequence& inputs, std::size_t events) {
    const auto now = std::chrono::steady_clock::now();
    if (!mWanted || now < mNext) {
        return;
    }
    mNext = now + std::chrono::milliseconds(250);
    const InputProgress progress = inputs.progress();
    if (progress.total > 0) {
        std::cout.flush();
        std::fprintf(stderr, "\r%zu events, %zu %%\033[K", events,
                     progress.done * 100 / progress.total);
        mShown = true;
    }
}

void ProgressLine::clear() {
    if (std::exchange(mShown, false)) {
        std::fputs("\r\033[K", stderr);
    }
}

}  // namespace kestrel
