#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tools/base/Json.h"
#include "tools/launches/LaunchObserver.h"

namespace kestrel {

// Writes what happens in a replay in the Trace Event Format, which trace viewers open. An
// app is a process; its threads hold its launches, its learning, and each kind of boost. Slices are
// written when they end, so the file grows as the replay goes on.
// Ownership: borrows the stream.
// Errors:    those of writing are left in the stream's state.
class TraceEventFile : public LaunchObserver {
 public:
    explicit TraceEventFile(std::ostream& out);
    // Completes the file where the replay did not reach its end.
    ~TraceEventFile() override;

    void onLaunch(const Launch& launch) override;
    void onPassedOver(int64_t t, const std::string& app) override;
    void onBoost(const Boost& boost) override;
    void onMeasured(const MeasuredRun& run) override;
    void onMark(const AppMark& mark) override;
    void onState(const StateChange& change) override;
    void onStatus(const StatusEntry& entry) override;
    void onFinish(const LaunchFold& fold) override;

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

    static std::string nameOf(Track track);
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
    std::map<std::string, Process> mProcesses;  // by app
    int mLastId = 0;                            // of a process or a thread
    bool mWroteEvent = false;
    bool mComplete = false;
};

}  // namespace kestrel
