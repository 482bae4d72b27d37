#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace kestrel {

// From one time to a later one, in ms: no longer than a duration can say. REQUIRES: from <= to.
inline int32_t elapsedMs(int64_t from, int64_t to) {
    const uint64_t elapsed = static_cast<uint64_t>(to) - static_cast<uint64_t>(from);
    constexpr uint64_t LONGEST = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::min(elapsed, LONGEST));
}

}  // namespace kestrel
