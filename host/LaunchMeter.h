#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "host/AsyncTriggerPayload.h"
#include "host/LmApi.h"

// One of the host's meters. The order of the virtual operations is a binary contract.
class LM_API Meter {
 public:
    virtual ~Meter();

    // Appends the events that the meter recorded during its run, in order.
    virtual void getTriggerPayloads(std::vector<AsyncTriggerPayload>& payloads);
};

// Measures one launch, from its hint to its first drawn frame.
// Ownership: the MetaMeter's; lent to writeToDataBase for the call.
class LM_API LaunchMeter : public Meter {
 public:
    ~LaunchMeter() override;
    void getTriggerPayloads(std::vector<AsyncTriggerPayload>& payloads) override;

    // By how many per cent `value` differs from `mean`, without sign; not a number or infinite for
    // a mean of 0.
    static float calcDiffPercentage(float mean, float value);

    std::atomic<int32_t> measuredDuration{0};  // ms; 0: no frame was seen
    bool aborted = false;                      // the run was cut off or has no data
    std::vector<AsyncTriggerPayload> mTriggerPayloads;
};
