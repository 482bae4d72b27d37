#pragma once

#include "tools/launches/Launch.h"

namespace kestrel {

class LaunchFold;

// Is told what a LaunchFold recognises: prints, draws or counts it. What it does not want to know
// it leaves out. Threads: as LaunchFold, one call at a time.
class LaunchObserver {
 public:
    LaunchObserver() = default;
    virtual ~LaunchObserver() = default;
    LaunchObserver(const LaunchObserver&) = delete;
    LaunchObserver& operator=(const LaunchObserver&) = delete;

    // The launch has been handled: what was asked for is known, but not yet what became of it.
    virtual void onLaunchHandled(const Launch& /*launch*/) {}
    // All is known of a launch; in the order of the launches.
    virtual void onLaunch(const Launch& /*launch*/) {}
    // A launch for which nothing was requested and which was not measured.
    virtual void onPassedOver(const Launch& /*launch*/) {}
    // A boost has ended; in the order of the ends.
    virtual void onBoost(const Boost& /*boost*/) {}
    virtual void onMeasured(const MeasuredRun& /*run*/) {}
    virtual void onMark(const AppMark& /*mark*/) {}
    virtual void onState(const StateChange& /*change*/) {}
    virtual void onStatus(const StatusEntry& /*entry*/) {}
    // The input has ended, and all of the above has been told.
    virtual void onFinish(const LaunchFold& /*fold*/) {}
};

}  // namespace kestrel
