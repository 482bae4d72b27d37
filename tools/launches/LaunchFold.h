#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/linux/HostRecord.h"
#include "host/linux/LaunchRun.h"
#include "tools/launches/FeatureSwitch.h"
#include "tools/launches/Launch.h"
#include "tools/launches/LaunchObserver.h"
#include "tools/session/SessionObserver.h"

namespace kestrel {

// Folds the record stream of a replay into launches, boosts and decisions: the one place that
// recognises them. Of what is stored it looks once at the states, before the replay. Keeps no more
// than the launches that may still change.
//
// A launch lasts until its first frame, by the meter's rule (LaunchRun), applied to every launch,
// whether the plug-in measures it or not. A launch that the feature passed over (no boost
// requested, not measured) is no launch here and ends none. Boosts hold by the rules of the
// performance service; those that hold when the input ends run out in their time.
//
// Ownership: borrows the observers.
// Threads:   as SessionObserver.
class LaunchFold : public SessionObserver {
 public:
    explicit LaunchFold(std::vector<LaunchObserver*> observers)
        : mObservers(std::move(observers)) {}

    void onStart(const LearningStore& stored) override;
    void onRecord(const HostRecord& entry) override;
    void onObjectEnd() override;
    // What comes behind this is of the host's own end, and is passed by.
    void onInputEnd() override;

    // The learning state that an app has by now.
    int32_t stateOf(const std::string& app) const;

    const FeatureSwitch& featureSwitch() const { return mSwitch; }

    // `t` of the first and the last event; 0 without any.
    int64_t firstT() const { return mFirstT.value_or(0); }
    int64_t lastT() const { return mLastT; }

 private:
    struct OpenLaunch {
        Launch launch;
        LaunchRun run;
        bool actedOn = false;  // not passed over; known once its event has been handled
        int boosts = 0;        // that hold
    };
    struct Held {
        Boost boost;                        // `to` is when it would run out
        std::optional<std::size_t> launch;  // its number; none: it belongs to no launch
    };

    void add(const record::Knob& knob) { mSwitch.add(knob); }
    void add(const record::Property& property) { mSwitch.add(property); }
    void add(const record::Event& event);
    void add(const record::Meter& event);
    void add(const record::Measured& run);
    void add(const record::Hint& request);
    void add(const record::HintAcqRel& request);
    void add(const record::Release& release);
    void add(const record::PlhCommand& command);
    void add(const record::State& change);
    void add(const record::Forget& removal);
    void add(const record::Export& status);
    template <class Other>
    void add(const Other&) {}

    void followMeter(const record::Meter& event);
    void mark(const std::string& app, AppMark::Kind kind,
              std::optional<int32_t> durationMs = std::nullopt);
    void hold(BoostKind kind, int handle, int32_t durationMs);
    void end(int handle, BoostEnd how);
    void runOutUntil(int64_t t);
    void passOn();

    template <class Call>
    void tell(Call call) const {
        for (LaunchObserver* observer : mObservers) {
            call(*observer);
        }
    }

    std::vector<LaunchObserver*> mObservers;
    std::map<std::string, int32_t> mStates;  // other than learning
    FeatureSwitch mSwitch;
    int64_t mT = 0;
    std::optional<int64_t> mFirstT;
    int64_t mLastT = 0;
    std::string mApp;        // of the event being handled
    std::size_t mLine = 0;   // where it stands in its input
    bool mInLaunch = false;  // the event being handled is a launch, the last of mLaunches
    bool mFinished = false;
    std::deque<OpenLaunch> mLaunches;         // that may still change, in order
    std::size_t mPassedOn = 0;                // how many launches came before them
    std::map<int, Held> mHeld;                // boosts that hold, by handle
    std::set<std::pair<int64_t, int>> mEnds;  // when they would run out, and their handles
    std::set<std::string> mRelearning;        // apps
    std::deque<LaunchRun> mMeterRuns;         // the host's, that have not been handed over
};

}  // namespace kestrel
