#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/KestrelStartsHints.h"

namespace kestrel {

// What a package removal in a log becomes: the plain event, the event that keeps the app's data,
// or nothing.
enum class RemovalPolicy { forget, keep, ignore };

// The platform that the host plays, as a trace sets it up. Fixed for the host's life.
struct HostSetup {
    std::string featureName = "KestrelStarts";
    std::map<std::string, std::string> properties = {{KS_PROPERTY_APPS, "true"},
                                                     {KS_PROPERTY_GAMES, "true"}};
    std::optional<std::set<int32_t>> knobs = {{10, 11}};  // none: there is no knob library
    std::vector<std::string> disabledApps;
    std::vector<std::string> ignoredApps;
    std::map<std::string, std::string> config;
    std::optional<std::map<std::string, int32_t>> appClasses = {{}};  // none: no feature locator
    std::set<std::string> games;
    RemovalPolicy removals = RemovalPolicy::forget;
    std::map<std::string, int32_t> pids;
    std::set<std::string> absent;   // of "property", "hint", "hintAcqRel", "release"
    std::set<std::string> failing;  // of "hint", "hintAcqRel"

    bool operator==(const HostSetup&) const = default;
};

}  // namespace kestrel
