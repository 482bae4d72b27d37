#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kestrel {

// What the records of a replay are folded into. Times are on the host's clock, in ms; a line is
// that of the event, in its input, which was handled when it happened.

// What the feature did with an app when it was launched. Relearning is learning anew, after a
// relearning that this replay has seen.
enum class LaunchPhase { learning, relearning, learned, disabled };

// The phase that a learning state stands for; never relearning, which is in the history.
LaunchPhase phaseOfState(int32_t state);

enum class BoostKind { defaultBoost, launchBoost, attachBoost, hardwareProfile };
enum class BoostEnd { ranOut, released, replaced };

// A boost that held, or a run of the hardware profile, from `from` to `to`.
struct Boost {
    BoostKind kind;
    std::string app;  // of the event that led to it
    int handle;       // the service's; means nothing for the hardware profile
    int64_t from;
    int32_t requestedMs;
    int64_t to;
    BoostEnd end;
    std::size_t line = 0;  // of that event
};

// A boost as part of its launch, ms.
struct LaunchBoost {
    int32_t requestedMs;
    int32_t heldMs = 0;  // 0 too when the service refused it
};

inline std::optional<int32_t> requestedMs(const std::optional<LaunchBoost>& boost) {
    return boost ? std::optional(boost->requestedMs) : std::nullopt;
}

struct Launch {
    int64_t t;
    std::string app;
    std::size_t line = 0;
    bool isGame = false;     // known of launches that were boosted
    int32_t stateAfter = 0;  // of the app, once the launch had been handled
    LaunchPhase phase = LaunchPhase::learning;
    std::optional<int32_t> durationMs;  // to the first frame; none: not seen
    std::optional<LaunchBoost> defaultBoost;
    std::optional<LaunchBoost> launchBoost;
    std::optional<int64_t> overT;  // the first of its end, the next launch and the input's end
    std::optional<int64_t> nextT;  // the next launch; none: it was the last

    // How long there was a boost: both begin with the launch.
    int32_t boostMs() const {
        const auto heldMs = [](const auto& boost) { return boost ? boost->heldMs : 0; };
        return std::max(heldMs(defaultBoost), heldMs(launchBoost));
    }
};

// A run of the host's meter that was handed to the feature.
struct MeasuredRun {
    int64_t t;  // of the handing over
    std::string app;
    std::optional<int64_t> frameT;  // of the first frame; none: none was seen
    int32_t durationMs;             // 0: nothing was measured
    bool aborted;
    int result;
    std::size_t line = 0;
};

// Something that was decided about an app.
struct AppMark {
    enum class Kind { learned, relearning, disabled, removed };
    int64_t t;
    std::string app;
    Kind kind;
    std::optional<int32_t> durationMs;  // that was learned
    std::size_t line = 0;
};

// A learning state that was written, or an entry of the feature's status export.
struct StateChange {
    int64_t t;
    std::string app;
    int32_t state;
    std::size_t line = 0;
};
struct StatusEntry {
    int64_t t;
    std::string app;
    std::string text;
    int value;
    std::size_t line = 0;
};

}  // namespace kestrel
