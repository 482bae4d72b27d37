#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace kestrel {

// What is stored of an app whose learning is complete.
struct LearnedApp {
    int32_t launchDuration;  // ms
    int32_t launchCount;     // launches since then
};

// The learned records of the root that the host plays on, by app.
// REQUIRES: `root` is that of the host, which has been made.
std::map<std::string, LearnedApp> readLearnedApps(const std::filesystem::path& root);

}  // namespace kestrel
