#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/input/InputSummary.h"

namespace kestrel {

// A `t` of the host's clock, on which several inputs are played one after the other, as the time
// that the input prints: 11-22 13:45:08.388, with the year where the input has one.
class Calendar {
 public:
    struct Input {
        int64_t firstT;
        int64_t shift;
        InputClock clock;
    };

    // The next input: its first `t` on the host's clock, and how far it was moved to get there.
    // REQUIRES: `firstT` is not before that of the input before.
    void add(int64_t firstT, int64_t shift, InputClock clock) {
        mInputs.push_back({firstT, shift, clock});
    }

    // Any `t`: one before the first input is on the clock of that. Where the input has no date,
    // HH:MM:SS.mmm, with the days in front that have gone by: 1d 00:00:07.250.
    std::string text(int64_t t) const;

    const std::vector<Input>& inputs() const { return mInputs; }

 private:
    std::vector<Input> mInputs;
};

// The same for a `t` of the input itself.
std::string calendarText(int64_t t, InputClock clock);

}  // namespace kestrel
