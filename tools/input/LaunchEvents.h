#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "host/KestrelStartsHints.h"
#include "tools/input/TraceObject.h"

namespace kestrel {

// The events that launches are made of, as the platform sends them; the type of a launch is not
// among what is known here.

inline TraceObject launchHint(int64_t t, std::size_t line, std::string package) {
    return {t, line,
            HintEvent{.hintId = KS_LAUNCH_HINT,
                      .hintType = KS_HINT_TYPE_LAUNCH,
                      .appName = std::move(package)}};
}

inline TraceObject firstFrame(int64_t t, std::size_t line, std::string package) {
    return {t, line, HintEvent{.hintId = KS_HINT_METER_EVENT, .appName = std::move(package)}};
}

inline TraceObject appSwitch(int64_t t, std::size_t line, std::string package) {
    return {t, line, HintEvent{.hintId = KS_HINT_APP_SWITCH, .appName = std::move(package)}};
}

}  // namespace kestrel
