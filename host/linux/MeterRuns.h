#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "host/LaunchMeter.h"
#include "host/linux/LaunchRun.h"
#include "host/linux/Worker.h"

class MetaMeter;

namespace kestrel {

// The launch meter of one meta meter: one run at a time, from a launch hint to its end.
// Threads: handleEvent and endInput on the event worker, handOver by the host between two events;
// the meter
//          thread works only while handOver waits for it.
class MeterRuns {
 public:
    void handleEvent(AsyncTriggerPayload const& payload);
    void endInput();
    void handOver(MetaMeter& metaMeter);

 private:
    struct Measurement {
        explicit Measurement(LaunchRun begun) : run(std::move(begun)) {}

        LaunchMeter meter;
        LaunchRun run;
    };

    void start(AsyncTriggerPayload const& payload);
    void finish();

    std::unique_ptr<Measurement> mOpen;                   // null: no launch is being measured
    std::vector<std::unique_ptr<Measurement>> mFinished;  // not yet handed over
    Worker mMeterThread;
};

}  // namespace kestrel
