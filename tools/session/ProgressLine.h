#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "tools/base/ReadObserver.h"
#include "tools/input/InputSequence.h"

namespace kestrel {

// The line on a terminal's standard error that tells how far a command is that takes longer: what
// it has read, and then what it has played.
class ProgressLine : public ReadObserver {
 public:
    explicit ProgressLine(bool wanted);
    ~ProgressLine() override { clear(); }

    // Makes way for other output, where both go to the terminal.
    void makeWay();

    void update(const InputSequence& inputs, std::size_t events);

    void onRead(const std::string& name, std::size_t doneBytes, std::size_t totalBytes) override;

    // Makes way for other output on standard error.
    void clear();

 private:
    bool isDue();
    void show(const std::string& text);

    bool mWanted;
    bool mSharesTerminal;
    bool mShown = false;
    std::chrono::steady_clock::time_point mNext;
};

}  // namespace kestrel
