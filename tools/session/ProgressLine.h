#pragma once

#include <chrono>
#include <cstddef>

#include "tools/input/InputSequence.h"

namespace kestrel {

// The line on a terminal's standard error that tells how far a long replay is.
class ProgressLine {
 public:
    explicit ProgressLine(bool wanted);
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Makes way for other output, where both go to the terminal.
    void makeWay();

    void update(const InputSequence& inputs, std::size_t events);

 private:
    void clear();

    bool mWanted;
    bool mSharesTerminal;
    bool mShown = false;
    std::chrono::steady_clock::time_point mNext;
};

}  // namespace kestrel
