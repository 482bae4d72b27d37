#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

// What is stored of an app whose learning is complete.
struct LearnedApp {
    int32_t launchDuration;  // ms
    int32_t launchCount;     // launches since then
};

// The learned records of a root that the host has entered, by app.
std::map<std::string, LearnedApp> readLearnedApps(const std::filesystem::path& root);
