#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// One of the meters that a feature is configured with; read by the host's MetaMeter only.
struct MeterInfo {
    std::string name;
};

// The configuration of one feature, passed by value to its factory. What is named reserved is the
// host's own.
struct FeatureInfo {
    std::string featureName;
    std::unordered_map<uint32_t, std::unordered_set<int>> reservedTriggers;
    int64_t reservedPlain = 0;
    std::vector<MeterInfo> meters;
    std::vector<std::string> disabledApps;
    std::vector<std::string> ignoredApps;
    std::vector<std::vector<int>> reservedLists;
    std::unordered_map<std::string, std::vector<std::vector<int>>> reservedNamedLists;
    std::unordered_map<std::string, std::string> configMap;
    std::string reservedText;
    std::unordered_map<std::string, std::unordered_map<int, int>> reservedMaps;
};
