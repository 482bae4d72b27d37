#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/input/perfetto/LaunchMark.h"

namespace kestrel {

// Reads the bundles of ftrace events, in the order of the trace, for the launch marks among them.
class FtraceBundles {
 public:
    // False: not all of it can be read, or not all of its marks can be kept.
    bool read(std::string_view bundle, std::size_t packet, LaunchMarks& marks);

 private:
    bool readEvent(std::string_view event);
    bool readPrint(std::string_view print, uint64_t timeNs);

    std::vector<std::pair<uint64_t, LaunchMark>> mFound;  // in one bundle, by its own clock
    // What takes another clock's time to boot time; the latest that was told. Modulo 2^64.
    uint64_t mToBootNs = 0;
};

}  // namespace kestrel
