#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tools/base/Json.h"
#include "tools/input/Calendar.h"
#include "tools/launches/LaunchObserver.h"

namespace kestrel {

// Writes what happens in a replay in the Trace Event Format, which trace viewers open. An
// app is a process; its threads hold its launches, its learning, and each kind of boost. Slices are
// written when they end, so the file grows as the replay goes on.
// Ownership: borrows the stream and the calendar.
// Errors:    those of writing are left in the stream's state.
class TraceEventFile : public LaunchObserver {
 public:
    TraceEventFile(std::ostream& out, const Calendar& calendar);
    // Completes the file where the replay did not reach its end.
    ~TraceEventFile() override;

    void onLaunch(const Launch& launch) override;
    void onPassedOver(const Launch& launch) override;
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
    // What happened when a line of an input was handled: from when to when.
    struct Span {
        std::size_t line;
        int64_t from;
        int64_t to;
    };
    void writeSlice(const std::string& app, Track track, const std::string& name, const Span& span,
                    Json args);
    // REQUIRES: the track is that of launches or of learning, which every process has.
    template <class Happened>
    void writeInstant(const Happened& happened, Track track, const std::string& name, Json args);
    // The arguments, with where and when it is found in the input.
    Json placed(std::size_t line, int64_t t, Json args) const;
    void writeLearned(const std::string& app, int64_t t, int32_t durationMs);
    void write(const Json& event);
    void complete();

    std::ostream& mOut;
    const Calendar& mCalendar;
    std::map<std::string, Process> mProcesses;  // by app
    int mLastId = 0;                            // of a process or a thread
    bool mWroteEvent = false;
    bool mComplete = false;
};

}  // namespace kestrel
