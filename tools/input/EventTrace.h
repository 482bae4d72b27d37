#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "host/linux/HostSetup.h"
#include "tools/input/TraceObject.h"

namespace kestrel {

// Reading the event trace: JSON Lines, one object a line, times never going back.

// Reads the lines of one trace in order.
// Errors: throws InputError that names the file and the line.
class EventTraceReader {
 public:
    explicit EventTraceReader(std::string fileName) : mFileName(std::move(fileName)) {}

    // The object of a line; none for a skipped line and for the host's set-up.
    std::optional<TraceObject> readLine(std::string_view line, std::size_t number);

    // The host's set-up, once its line has been read.
    const std::optional<HostSetup>& setup() const { return mSetup; }

 private:
    TraceObject toTraceObject(const nlohmann::json& object);

    std::string mFileName;
    bool mSawObject = false;
    std::optional<int64_t> mLastT;
    std::optional<HostSetup> mSetup;
};

// The line of a trace that stands for a hint event; fields that have their default are left out,
// but for the launch type of a launch.
std::string toTraceLine(const TraceObject& object);

}  // namespace kestrel
