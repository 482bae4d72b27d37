#include "tools/session/ProgressLine.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <utility>

#include "tools/base/TerminalText.h"

namespace kestrel {

namespace {

constexpr std::size_t NAME_WIDTH = 50;  // the line must not be wrapped

std::string percentText(std::size_t done, std::size_t total) {
    const double part = static_cast<double>(done) / static_cast<double>(total);
    return std::to_string(static_cast<int>(std::min(part, 1.0) * 100)) + " %";
}

}  // namespace

// Short commands end before the line is shown.
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
    if (!isDue() || inputs.hasLiveInput()) {
        return;  // what waits for a live input is not on its way to an end
    }
    const InputProgress progress = inputs.progress();
    if (progress.total > 0) {
        std::cout.flush();
        show(std::to_string(events) + " events, " + percentText(progress.done, progress.total));
    }
}

void ProgressLine::onRead(const std::string& name, std::size_t doneBytes, std::size_t totalBytes) {
    if (isDue()) {
        show("reading " + endWithin(printable(name), NAME_WIDTH) + ", " +
             (totalBytes > 0 ? percentText(doneBytes, totalBytes)
                             : std::to_string(doneBytes / 1'000'000) + " MB"));
    }
}

bool ProgressLine::isDue() {
    if (!mWanted) {
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now < mNext) {
        return false;
    }
    mNext = now + std::chrono::milliseconds(250);
    return true;
}

void ProgressLine::show(const std::string& text) {
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    mShown = true;
}

void ProgressLine::clear() {
    if (std::exchange(mShown, false)) {
        std::fputs("\r\033[K", stderr);
    }
}

}  // namespace kestrel
