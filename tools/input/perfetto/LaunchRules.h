#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/perfetto/LaunchMark.h"

namespace kestrel {

// How marks become launches, which the versions of Android write differently.

// What happened to a package, as the marks tell.
struct LaunchEvent {
    enum class Kind { launch, cancelledLaunch, frame, appSwitch };
    Kind kind{};
    int64_t bootNs = 0;
    std::size_t line = 0;  // of the mark that began the launch
    std::string package;
};

struct RuledLaunches {
    std::vector<LaunchEvent> events = {};  // in no order of time
    std::size_t starts = 0;                // launches that were asked for
    std::size_t failedStarts = 0;
    std::size_t cutOff = 0;         // ends of launches whose beginnings are missing
    std::size_t framesNotHeld = 0;  // launches that succeeded, but their end is missing
};

// By the API level or, where it is not known, by the marks that occur.
// REQUIRES: the marks are in order of time.
RuledLaunches ruledLaunches(const std::vector<LaunchMark>& marks, std::optional<int> apiLevel);

}  // namespace kestrel
