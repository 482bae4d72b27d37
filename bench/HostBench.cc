// What the Linux host costs beside the feature, and what the plug-in takes up. Prints one JSON
// object to the file that it is given.
//   HostBench replay TRACE EVENTS OUT    a replay with its report, as `kestrelhost replay
//   --no-sync` HostBench silent TRACE EVENTS OUT    the same events, and nobody listens HostBench
//   footprint OUT

#include <time.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <variant>

#include "bench/BenchPhone.h"
#include "host/Registry.h"
#include "host/linux/LinuxHost.h"
#include "learning/KestrelStartsMetaMeter.h"
#include "tools/base/TemporaryDirectory.h"
#include "tools/commands/Replay.h"
#include "tools/input/InputSequence.h"

using namespace kestrel;

namespace {

// What the process has asked of the heap so far: by operator new, and SQLite.
std::size_t gAllocations = 0;
std::size_t gAllocatedBytes = 0;

}  // namespace

extern "C" void* __libc_malloc(std::size_t size);

extern "C" LM_API void* malloc(std::size_t size) {
    ++gAllocations;
    gAllocatedBytes += size;
    return __libc_malloc(size);
}

namespace {

using Json = nlohmann::ordered_json;

// A field of the process's memory, in KiB.
long memoryKib(const std::string& field) {
    std::ifstream file("/proc/self/smaps_rollup");
    for (std::string word; file >> word;) {
        if (long value = 0; word == field + ":" && file >> value) {
            return value;
        }
    }
    return 0;
}

// The time that the processor has spent on this thread, or on the process: others that are busy at
// the same time do not count.
double cpuSeconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// ---- The feature with a clock at its boundary.

struct Boundary {
    double inside = 0;  // s of the processor, in the feature and what it calls
    std::size_t events = 0;
    std::size_t expectedEvents = 0;
    std::vector<long> memory;  // KiB after a thousandth, half and all of the events

    void endEvent() {
        ++events;
        if (events == expectedEvents / 1000 || events == expectedEvents / 2 ||
            events == expectedEvents) {
            memory.push_back(memoryKib("Rss"));
        }
    }
};

Boundary gBoundary;

class TimedMeter : public KestrelStartsMetaMeter {
 public:
    using KestrelStartsMetaMeter::KestrelStartsMetaMeter;

    int writeToDataBase(std::vector<Meter*> meters) override {
        const double begin = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        const int result = KestrelStartsMetaMeter::writeToDataBase(std::move(meters));
        gBoundary.inside += cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - begin;
        return result;
    }
};

class TimedFeature : public KestrelStartsFeature {
 public:
    explicit TimedFeature(FeatureInfo info) : KestrelStartsFeature(std::move(info)) {
        delete mMetaMeter;
        mMetaMeter = new TimedMeter(mFeatureInfo, mFeatureInputDb, mFeatureState);
    }

    void runAsync(AsyncTriggerPayload event) override {
        const double begin = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        KestrelStartsFeature::runAsync(std::move(event));
        gBoundary.inside += cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - begin;
        gBoundary.endEvent();
    }
};

// The plug-in's factory comes second, so this one makes the feature.
void registerTimedFeature() {
    static const Registry<Feature, FeatureInfo, TimedFeature> registration("KestrelStarts");
}

void deliverSilently(const std::string& trace) {
    const TemporaryDirectory root;
    InputSequence inputs({trace}, std::nullopt, {});
    LinuxHost host(inputs.setup(), {.root = root.path(), .sync = false}, [](const HostRecord&) {});
    host.start(inputs.firstT());
    while (const auto object = inputs.next()) {
        if (const auto* hint = std::get_if<HintEvent>(&object->what)) {
            AsyncTriggerPayload event =
                kestrel::eventOf(hint->appName, hint->hintId, hint->hintType);
            event.launchType = hint->launchType;
            host.deliver(object->t, object->line, std::move(event));
        }
    }
    host.endInput();
    host.stop();
}

Json play(const std::string& trace, std::size_t events, bool silent) {
    registerTimedFeature();
    gBoundary.expectedEvents = events;
    const auto begin = BenchClock::now();
    if (silent) {
        deliverSilently(trace);
    } else {
        replay({.inputs = {trace}, .sync = false});
    }
    return {{"events", gBoundary.events},
            {"seconds", nanoseconds(BenchClock::now() - begin) * 1e-9},
            {"cpuSeconds", cpuSeconds(CLOCK_PROCESS_CPUTIME_ID)},
            {"featureCpuSeconds", gBoundary.inside},
            {"memoryKib", gBoundary.memory}};
}

// ---- What the plug-in takes up.

Json loadedMemory(const std::string& root) {
    LinuxHost host({}, {.root = root, .sync = false}, [](const HostRecord&) {});
    const long before = memoryKib("Rss");
    const long dirtyBefore = memoryKib("Private_Dirty");
    host.start(0);
    // The output store opens with the first event.
    host.deliver(1, 1, kestrel::eventOf("com.example.a", KS_HINT_APP_SWITCH, 0));
    const Json memory = {{"residentKib", memoryKib("Rss") - before},
                         {"dirtyKib", memoryKib("Private_Dirty") - dirtyBefore}};
    host.stop();
    return memory;
}

template <class Call>
Json countAllocations(Call call) {
    call();  // what is made once
    const std::size_t before = gAllocations;
    const std::size_t bytesBefore = gAllocatedBytes;
    call();
    const std::size_t count = gAllocations - before;  // the answer allocates too
    const std::size_t bytes = gAllocatedBytes - bytesBefore;
    return {{"count", count}, {"bytes", bytes}};
}

Json footprint() {
    const TemporaryDirectory root;
    Json result = {{"loading", loadedMemory(root.path())}};
    BenchPhone phone(true);
    BareStores stores("");
    const std::string app = "com.example.application/.MainActivity";
    std::vector<BareRow<KSPerfdOutput>> record(1);
    std::vector<BareRow<AppState>> state(1);
    record[0].appName = state[0].appName = app;
    record[0].intcol1 = KS_LAUNCH_HINT;
    state[0].blob = APP_STATE_LEARNED;
    stores.output.write(record);
    stores.state.write(state);
    const AsyncTriggerPayload launch = kestrel::eventOf(app, KS_LAUNCH_HINT, KS_HINT_TYPE_LAUNCH);
    result["learnedLaunch"] = countAllocations([&] { phone.feature().runAsync(launch); });
    KestrelStartsAction& action = *KestrelStartsAction::getInstance(&phone.feature());
    result["boostRequest"] =
        countAllocations([&] { action.applyDefaultKSBoost(0, launch.appName, 0, 1350); });
    return result;
}

Json run(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "footprint" && argc == 3) {
        return footprint();
    }
    if ((mode == "replay" || mode == "silent") && argc == 5) {
        return play(argv[2], std::strtoul(argv[3], nullptr, 10), mode == "silent");
    }
    std::cerr << "usage: HostBench replay|silent TRACE EVENTS OUT, or HostBench footprint OUT\n";
    std::exit(2);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Json result = run(argc, argv);
        std::ofstream(argv[argc - 1]) << result.dump() << '\n';
    } catch (const std::exception& e) {
        std::cerr << "HostBench: " << e.what() << '\n';
        return 1;
    }
}
