#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tools/base/Json.h"
#include "tools/launches/LaunchTimeline.h"
#include "tools/session/HostLife.h"

namespace kestrel {

// Writes what happens in a life of the host in the Trace Event Format, which trace viewers open. An
// app is a process; its threads hold its launches, its learning, and each kind of boost. Slices are
// written when they end, so the file grows as the life goes on.
// Ownership: borrows the stream.
// Errors:    those of writing are left in the stream's state.
class TraceEventFile : public LifeWatcher, private LaunchTimeline::Listener {
 public:
    explicit TraceEventFile(std::ostream& out);
    // Completes the file where the life did not reach its end.
    ~TraceEventFile() override;

    void add(const HostRecord& entry) override;
    void endObject(Feature& feature) override { mTimeline.endObject(feature); }
    void endInput(Feature& feature) override;

 private:
    enum class Track {
        launches,
        learning,
        defaultBoost,
        launchBoost,
        attachBoost,
        hardwareProfile
    };
    // Slices of one thread must not overlap; where boosts of a kind do, each further one has a
    // thread of its own.
    struct Lane {
        int thread;
        int64_t busyUntil;
    };
    struct Process {
        int id = 0;
        std::map<Track, std::vector<Lane>> tracks;
        bool hasCounter = false;  // of the learned duration
    };

    void onLaunch(const Launch& launch) override;
    void onPassedOver(int64_t t, const std::string& app) override;
    void onBoost(const Boost& boost) override;
    void onMark(const AppMark& mark) override;

    void addRecord(int64_t t, const record::State& change);
    void addRecord(int64_t t, const record::Forget& removal);
    void addRecord(int64_t t, const record::Export& status);
    void addRecord(int64_t t, const record::Measured& run);
    template <class Other>
    void addRecord(int64_t, const Other&) {}

    Process& processOf(const std::string& app);
    Lane& addLane(Process& process, Track track);
    Lane& freeLane(Process& process, Track track, int64_t from);
    void writeSlice(const std::string& app, Track track, const std::string& name, int64_t from,
                    int64_t to, Json args);
    // REQUIRES: the track is that of launches or of learning, which every process has.
    void writeInstant(const std::string& app, Track track, const std::string& name, int64_t t,
                      Json args);
    void writeLearned(const std::string& app, int64_t t, int32_t durationMs);
    void write(const Json& event);
    void complete();

    std::ostream& mOut;
    LaunchTimeline mTimeline{*this};
    std::map<std::string, Process> mProcesses;  // by app
    int mLastId = 0;                            // of a process or a thread
    bool mWroteEvent = false;
    bool mComplete = false;
};

}  // namespace kestrel
