#pragma once

#include <memory>
#include <vector>

#include "host/AsyncTriggerPayload.h"
#include "host/FeatureInfo.h"
#include "host/FeatureState.h"
#include "host/LaunchMeter.h"
#include "host/LmApi.h"

namespace kestrel {
class MeterRuns;
}

// Base of a feature's meta meter: measures what the feature hands to handleAsync and gives each
// finished run back through writeToDataBase. The order of the virtual operations is a binary
// contract.
// Threads: handleAsync on the event worker; writeToDataBase on the host's meter thread, between two
//          events.
class LM_API MetaMeter {
 public:
    MetaMeter(FeatureInfo const& info, FeatureState& state);
    virtual ~MetaMeter();
    MetaMeter(const MetaMeter&) = delete;
    MetaMeter& operator=(const MetaMeter&) = delete;

    // Takes one finished run. The meters stay the host's.
    virtual int writeToDataBase(std::vector<Meter*> meters);
    virtual int getSyncData(std::vector<Meter*> meters);

    // Feeds one event to the meters.
    void handleAsync(AsyncTriggerPayload const& payload);

    // The host's own: gives the runs finished so far to writeToDataBase on the meter thread, and
    // returns when that is done.
    void handOverFinishedRuns();

    // The host's own: no more events come. Ends a run that has seen its first frame, drops one that
    // has not, and hands over as above.
    void endInput();

 private:
    std::unique_ptr<kestrel::MeterRuns> mRuns;
};
