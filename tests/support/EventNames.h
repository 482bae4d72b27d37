#pragma once

#include <string>
#include <variant>
#include <vector>

#include "tools/input/TraceObject.h"

namespace kestrel {

// "T WHAT PACKAGE": launch (game: type 2), frame, switch, forget, or keep (removed, data stays).
inline std::string nameOf(const TraceObject& object) {
    const auto& event = std::get<HintEvent>(object.what);
    std::string what = std::to_string(event.hintId) + "?";
    if (event.hintId == 4225 && event.hintType == 1) {
        what = event.launchType == 2 ? "game" : "launch";
    } else if (event.hintId == 4103 && event.hintType == 0) {
        what = "frame";
    } else if (event.hintId == 4097 && event.hintType == 0) {
        what = "switch";
    } else if (event.hintId == 4164) {
        what = event.hintType == 16777216 ? "keep" : "forget";
    }
    return std::to_string(object.t) + " " + what + " " + event.appName;
}

inline std::vector<std::string> namesOf(const TraceObjects& trace) {
    std::vector<std::string> names;
    for (const TraceObject& object : trace) {
        names.push_back(nameOf(object));
    }
    return names;
}

}  // namespace kestrel
