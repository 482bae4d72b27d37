#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/launches/FeatureSwitch.h"
#include "tools/launches/LaunchObserver.h"
#include "tools/launches/Policies.h"
#include "tools/launches/PolicyNumbers.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

// What becomes of the launches of one replay, for comparing policies on them.
// Memory: some 60 bytes per launch.
class Evaluation : public LaunchObserver {
 public:
    struct App {
        std::vector<std::size_t> launches;          // in launches()
        std::size_t measured = 0;                   // of these, with a first frame
        LaunchPhase state = LaunchPhase::learning;  // in the end
        std::optional<int32_t> learnedMs;           // stored in the end
        std::vector<AppMark> marks;
    };

    // What is stored of the apps in the end.
    void addStored(const LearningStore& stored);

    // Launches that were boosted or measured, in their order, and their apps.
    const std::vector<ComparedLaunch>& launches() const { return mLaunches; }
    const std::map<std::string, App>& apps() const { return mApps; }

    std::size_t measured() const;
    std::size_t passedOver() const { return mPassedOver; }
    int64_t firstT() const { return mFirstT; }
    int64_t lastT() const { return mLastT; }
    const FeatureSwitch& featureSwitch() const { return mSwitch; }

    // Of the launches with a first frame: all, or those of one app.
    PolicyNumbers numbers(const Policy& policy) const;
    PolicyNumbers numbers(const Policy& policy, const App& app) const;

    void onLaunch(const Launch& launch) override;
    void onPassedOver(const Launch& launch) override;
    void onMark(const AppMark& mark) override;
    void onFinish(const LaunchFold& fold) override;

 private:
    std::vector<ComparedLaunch> mLaunches;
    std::map<std::string, App> mApps;
    std::size_t mPassedOver = 0;
    int64_t mFirstT = 0;
    int64_t mLastT = 0;
    FeatureSwitch mSwitch;
};

}  // namespace kestrel
