#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrel {

// One thing that a trace tells about launches: mostly a text that the system wrote into it.
struct LaunchMark {
    enum class Kind {
        // From Android 13 on, each of one launch, which `number` tells.
        launchBegan,
        launchEnded,
        completed,
        sameProcess,  // a step inside the app in front
        cancelled,
        failed,
        // From Android 10 on.
        requested,
        requestFinished,
        requestGivenUp,
        // A package's activity is being launched; `number` is the slice's cookie.
        packageBegan,
        packageEnded,
        // Told by a log in the trace.
        cameToFront,
    };
    Kind kind{};
    int32_t pid = 0;
    int64_t number = 0;
    std::string package = {};  // empty: not told by this mark
    int64_t bootNs = 0;        // never negative
    std::size_t line = 0;      // of the input, or its packet; from 1
};

// No package has a longer name.
inline constexpr std::size_t KS_MAX_PACKAGE = 255;

// What a text of ftrace's trace_marker says, without its time and line. Takes any bytes.
std::optional<LaunchMark> parseLaunchMark(std::string_view text);

// The marks of a trace, in the order in which they are found.
class LaunchMarks {
 public:
    // Far more than a device can write; what is beyond is dropped, so that no input takes all
    // memory.
    static constexpr std::size_t KS_MAX_MARKS = 200'000;

    // False: dropped, as there are too many or the time cannot be.
    bool add(LaunchMark mark, uint64_t bootNs, std::size_t line);

    // In order of time; of the same time as they were found.
    std::vector<LaunchMark> sorted() &&;

 private:
    std::vector<LaunchMark> mMarks;
};

}  // namespace kestrel
