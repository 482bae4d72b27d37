#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "host/Feature.h"
#include "host/linux/HostRecord.h"

namespace kestrel {

// What the feature did with an app when it was launched. Relearning is learning anew, after a
// relearning that this life has seen.
enum class LaunchPhase { learning, relearning, learned, disabled };

// The phase that a learning state stands for; never relearning, which is in the history.
LaunchPhase phaseOfState(int32_t state);

const char* phaseText(LaunchPhase phase);

enum class BoostKind { defaultBoost, launchBoost, attachBoost, hardwareProfile };
enum class BoostEnd { ranOut, released, replaced };

// A boost that held, or a run of the hardware profile, from `from` to `to` on the input's clock.
struct Boost {
    BoostKind kind;
    std::string app;  // of the event that led to it
    int handle;       // the service's; means nothing for the hardware profile
    int64_t from;
    int32_t requestedMs;
    int64_t to;
    BoostEnd end;
};

// A boost as part of its launch, ms.
struct LaunchBoost {
    int32_t requestedMs;
    int32_t heldMs = 0;  // 0 too when the service refused it
};

inline std::optional<int32_t> requestedMs(const std::optional<LaunchBoost>& boost) {
    return boost ? std::optional(boost->requestedMs) : std::nullopt;
}

struct Launch {
    int64_t t;
    std::string app;
    bool isGame = false;  // known of launches that were boosted
    LaunchPhase phase = LaunchPhase::learning;
    std::optional<int32_t> durationMs;  // to the first frame; none: not seen
    std::optional<LaunchBoost> defaultBoost;
    std::optional<LaunchBoost> launchBoost;
    std::optional<int64_t> overT;  // the first of its end, the next launch and the input's end
    std::optional<int64_t> nextT;  // the next launch; none: it was the last

    // How long there was a boost: both begin with the launch.
    int32_t boostMs() const;
};

struct AppMark {
    enum class Kind { learned, relearning, disabled, removed };
    int64_t t;
    std::string app;
    Kind kind;
    std::optional<int32_t> durationMs;  // that was learned
};

// Rebuilds from the records of a life of the host which launches there were, when their first frame
// came, and how long their boosts held by the rules of the performance service. Keeps no more than
// the launches that may still change.
//
// A launch lasts until the first frame of its package that is delivered before the launch ends (the
// feature hands a launch end to its meter) and before the next launch. These are the meter's rules,
// applied to every launch, whether the plug-in measures it or not. A launch that the feature passed
// over (no boost requested, not measured) is no launch here and ends none. Boosts that hold when
// the input ends run out in their time.
//
// Threads: one call at a time.
class LaunchTimeline {
 public:
    class Listener {
     public:
        virtual ~Listener() = default;
        // All is known of a launch; in order of the launches.
        virtual void onLaunch(const Launch& launch) = 0;
        virtual void onPassedOver(int64_t t, const std::string& app) = 0;
        // It has ended; in order of the ends.
        virtual void onBoost(const Boost& /*boost*/) {}
        virtual void onMark(const AppMark& mark) = 0;
    };

    // Ownership: borrows the listener.
    explicit LaunchTimeline(Listener& listener) : mListener(listener) {}

    void add(const HostRecord& entry);

    // The records of one object are complete.
    void endObject(Feature& feature);

    // The input has ended. What comes now is of the host's own end, and is passed by.
    void finish();

 private:
    struct OpenLaunch {
        Launch launch;
        bool actedOn = false;  // not passed over; known once its event has been handled
        int boosts = 0;        // that hold
    };
    struct Held {
        Boost boost;                        // `to` is when it would run out
        std::optional<std::size_t> launch;  // its number; none: it belongs to no launch
    };

    void addRecord(const record::Event& event);
    void addRecord(const record::Meter& event);
    void addRecord(const record::Hint& request);
    void addRecord(const record::HintAcqRel& request);
    void addRecord(const record::Release& release);
    void addRecord(const record::PlhCommand& command);
    void addRecord(const record::State& change);
    void addRecord(const record::Forget& removal);
    void addRecord(const record::Export& status);
    template <class Other>
    void addRecord(const Other&) {}

    void hold(BoostKind kind, int handle, int32_t durationMs);
    void end(int handle, BoostEnd how);
    void runOutUntil(int64_t t);
    void passOn();

    Listener& mListener;
    int64_t mT = 0;
    std::string mApp;        // of the event being handled
    bool mInLaunch = false;  // the event being handled is a launch, the last of mLaunches
    bool mFinished = false;
    std::deque<OpenLaunch> mLaunches;         // that may still change, in order
    std::size_t mPassedOn = 0;                // how many launches came before them
    std::map<int, Held> mHeld;                // boosts that hold, by handle
    std::set<std::pair<int64_t, int>> mEnds;  // when they would run out, and their handles
    std::set<std::string> mRelearning;        // apps
};

}  // namespace kestrel
