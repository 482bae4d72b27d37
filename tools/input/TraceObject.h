#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <variant>

#include "host/KestrelStartsHints.h"

namespace kestrel {

// The type of a removal (KS_HINT_APP_REMOVED) that keeps what is learned, as of an update.
inline constexpr int32_t KS_HINT_TYPE_KEEPS_DATA = 0x1000000;

// An event for the feature, with the defaults of the trace format.
struct HintEvent {
    int32_t hintId = 0;
    int32_t hintType = 0;
    std::string appName;
    int32_t hintArg = 0;
    int32_t launchType = 0;
    int32_t launchArg = 0;
    int16_t featureVersion = 1;
    uint16_t dataVersion = KS_DATA_VERSION;
};

// A question to the feature's getData.
struct DataQuery {
    int32_t type = 0;
    std::string appName;
};

// A message to the exported feedback callback.
struct FeedbackCall {
    int32_t hintId = 0;
    int32_t hintType = 0;
    std::string appName;
};

// One object of an event trace: what the host does, and when.
struct TraceObject {
    int64_t t = 0;    // ms on the input's clock
    size_t line = 0;  // line of the input that it came from, from 1
    std::variant<HintEvent, DataQuery, FeedbackCall> what;
};

// As they wait to be delivered: each leaves the memory when it is.
using TraceObjects = std::deque<TraceObject>;

}  // namespace kestrel
