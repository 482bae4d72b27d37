#pragma once

#include <string>

class CpPLHController;
class KestrelStartsFeature;

inline constexpr int PLH_CMD_START = 0;
inline constexpr int PLH_CMD_STOP = 1;

// The hardware profile: configures the host's PLH controller once, from the feature's cluster
// entries, and then only starts and stops it.
// Ownership: owns the controller; borrows the feature, and reads it only while being constructed.
// Threads:   as the boost operations; no lock of its own.
// Errors:    without a controller, starting and stopping do nothing.
class KestrelStartsFeatureHw {
 public:
    explicit KestrelStartsFeatureHw(KestrelStartsFeature& feature);
    ~KestrelStartsFeatureHw();
    KestrelStartsFeatureHw(const KestrelStartsFeatureHw&) = delete;
    KestrelStartsFeatureHw& operator=(const KestrelStartsFeatureHw&) = delete;

    // `duration` is in ms, as decimal text.
    void Start(std::string& duration);
    void Stop();

    KestrelStartsFeature& mFeature;
    CpPLHController* mCpController = nullptr;  // owned; null when there is none
};
