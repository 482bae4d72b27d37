#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/input/perfetto/LaunchMark.h"

namespace kestrel {

// The app switches that a log in a trace tells. Its times are wall times, and the snapshots of the
// clocks, which may come later in the trace, tell the boot times.
class LoggedSwitches {
 public:
    // Each takes one packet's part. False: not all of it can be read or kept.
    bool readClockSnapshot(std::string_view snapshot);
    bool readLogPacket(std::string_view log, std::size_t packet);

    // Returns how many have no boot time, or are too many.
    std::size_t addTo(LaunchMarks& marks) &&;

 private:
    struct Snapshot {
        uint64_t wallNs;
        uint64_t bootNs;
    };
    struct Switch {
        uint64_t wallNs;
        std::size_t packet;
        std::string package;
    };

    bool readEvent(std::string_view event, std::size_t packet);
    uint64_t bootTimeOf(uint64_t wallNs) const;

    std::vector<Snapshot> mSnapshots;
    std::vector<Switch> mSwitches;
};

}  // namespace kestrel
