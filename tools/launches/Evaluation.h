#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/launches/LaunchTimeline.h"
#include "tools/launches/PolicyNumbers.h"
#include "tools/session/HostLife.h"

namespace kestrel {

// How long launches are boosted. The fixed policies boost every launch from its hint, until the
// next launch's boost replaces theirs; KestrelStarts as it was replayed, its default and its launch
// boost together; the ideal knows when the first frame comes.
enum class Policy {
    fixed2000,
    fixed5000,
    fixed15000,
    kestrel,
    kestrelLearning,
    kestrelLearned,
    ideal
};

struct PolicyName {
    Policy policy;
    const char* id;
    const char* name;
    const char* shortName;  // for a table
};

inline constexpr std::array<PolicyName, 7> POLICIES = {{
    {Policy::fixed2000, "fixed2000", "2000 ms for all", "2000 ms for all"},
    {Policy::fixed5000, "fixed5000", "5000 ms for all", "5000 ms for all"},
    {Policy::fixed15000, "fixed15000", "15000 ms for all", "15000 ms for all"},
    {Policy::kestrel, "kestrel", "KestrelStarts", "KestrelStarts"},
    {Policy::kestrelLearning, "kestrelLearning", "KestrelStarts, while learning",
     "  while learning"},
    {Policy::kestrelLearned, "kestrelLearned", "KestrelStarts, once learned", "  once learned"},
    {Policy::ideal, "ideal", "ideal", "ideal"},
}};

// What becomes of the launches of one life of the host, for comparing policies on them.
// Memory: some 60 bytes per launch.
class Evaluation : public LifeWatcher, private LaunchTimeline::Listener {
 public:
    struct AppLaunch {
        int64_t t;
        LaunchPhase phase;
        std::optional<int32_t> durationMs;   // to the first frame; none: not seen
        int32_t boostMs;                     // how long the boosts held
        int32_t untilNextMs;                 // to the next launch
        std::optional<int32_t> requestedMs;  // of the launch boost; none: not asked for
        std::optional<int32_t> defaultMs;    // of the default boost; none: not asked for
    };
    struct App {
        std::vector<std::size_t> launches;          // in launches()
        std::size_t measured = 0;                   // of these, with a first frame
        LaunchPhase state = LaunchPhase::learning;  // in the end
        std::optional<int32_t> learnedMs;           // stored in the end
        std::vector<AppMark> marks;
    };

    void add(const HostRecord& entry) override;
    void endObject(Feature& feature) override;
    void endInput(Feature& feature) override;
    void endLife(const std::filesystem::path& root) override;

    // Launches that were boosted or measured, in their order, and their apps.
    const std::vector<AppLaunch>& launches() const { return mLaunches; }
    const std::map<std::string, App>& apps() const { return mApps; }

    std::size_t measured() const;
    std::size_t passedOver() const { return mPassedOver; }
    int64_t firstT() const { return mFirstT.value_or(0); }
    int64_t lastT() const { return mLastT; }
    const std::string& featureVersion() const { return mFeatureVersion; }

    // Of the launches with a first frame: all, or those of one app.
    PolicyNumbers numbers(Policy policy) const;
    PolicyNumbers numbers(Policy policy, const App& app) const;

 private:
    void onLaunch(const Launch& launch) override;
    void onPassedOver(int64_t t, const std::string& app) override;
    void onMark(const AppMark& mark) override;

    LaunchTimeline mTimeline{*this};
    std::vector<AppLaunch> mLaunches;
    std::map<std::string, App> mApps;
    std::size_t mPassedOver = 0;
    std::optional<int64_t> mFirstT;
    int64_t mLastT = 0;
    std::string mFeatureVersion;
    std::string mFeatureName;
};

}  // namespace kestrel
