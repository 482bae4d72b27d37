#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "host/linux/HostRecord.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

// How far a replay of files came that was interrupted.
struct Interrupted {
    std::string input;      // that was being read
    std::size_t percent;    // of this input
    std::size_t delivered;  // objects of all inputs
};

// How a replay ended.
struct SessionEnd {
    const LearningStore& stored;  // below the root, after the feature's end
    std::string featureVersion;   // "MAJOR.MINOR"
    std::optional<Interrupted> interrupted;
    std::string storeFailure;  // what was logged of it; empty: every database could be used
    bool failed;               // for any reason: the exit status will tell
};

// Follows one replay: prints, draws or counts what happens.
// Threads: onRecord from any of the host's threads, one record at a time and while the others wait;
//          the rest from the thread that runs the session.
class SessionObserver {
 public:
    SessionObserver() = default;
    virtual ~SessionObserver() = default;
    SessionObserver(const SessionObserver&) = delete;
    SessionObserver& operator=(const SessionObserver&) = delete;

    // What is stored below the root before the host opens it.
    virtual void onStart(const LearningStore& /*stored*/) {}

    virtual void onRecord(const HostRecord& entry) = 0;

    // One object of the input has been handled, its records are complete.
    virtual void onObjectEnd() {}

    // Nothing more is delivered, and the last run has been handed over; the feature is deleted
    // next.
    virtual void onInputEnd() {}

    virtual void onEnd(const SessionEnd& /*end*/) {}
};

}  // namespace kestrel
