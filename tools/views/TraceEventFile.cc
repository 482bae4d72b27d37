#include "tools/views/TraceEventFile.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "host/AppState.h"
#include "tools/launches/PolicyNumbers.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

// The format counts in microseconds. A time beyond its range becomes the last or first one.
int64_t toMicroseconds(int64_t ms) {
    int64_t us = 0;
    if (!__builtin_mul_overflow(ms, int64_t{1000}, &us)) {
        return us;
    }
    using Limits = std::numeric_limits<int64_t>;
    return ms > 0 ? Limits::max() : Limits::min();
}

int64_t differenceUs(int64_t fromUs, int64_t toUs) {
    int64_t difference = 0;
    return __builtin_sub_overflow(toUs, fromUs, &difference) ? std::numeric_limits<int64_t>::max()
                                                             : difference;
}

Json argsOf(const Launch& launch) {
    Json args = {{"phase", phaseWord(launch.phase)},
                 {"durationMs", orNull(launch.durationMs)},
                 {"defaultMs", orNull(requestedMs(launch.defaultBoost))},
                 {"requestedMs", orNull(requestedMs(launch.launchBoost))},
                 {"boostMs", launch.boostMs()}};
    if (launch.durationMs) {
        const BoostedLaunch boosted{*launch.durationMs, launch.boostMs()};
        args["coveredMs"] = boosted.coveredMs();
        args["wastedMs"] = boosted.wastedMs();
    }
    if (launch.isGame) {
        args["game"] = true;
    }
    return args;
}

Json metadata(const char* name, int process, int thread, Json args) {
    return {
        {"name", name}, {"ph", "M"}, {"pid", process}, {"tid", thread}, {"args", std::move(args)}};
}

}  // namespace

TraceEventFile::TraceEventFile(std::ostream& out, const Calendar& calendar)
    : mOut(out), mCalendar(calendar) {
    mOut << "{\"traceEvents\":[";
}

TraceEventFile::~TraceEventFile() {
    complete();
}

void TraceEventFile::complete() {
    if (!mComplete) {
        mComplete = true;
        mOut << "\n],\"displayTimeUnit\":\"ms\"}\n";
    }
}

void TraceEventFile::onFinish(const LaunchFold& /*fold*/) {
    complete();
}

void TraceEventFile::onState(const StateChange& change) {
    writeInstant(change, Track::learning,
                 change.state == APP_STATE_RELEARN ? markWord(AppMark::Kind::relearning)
                                                   : stateWord(change.state),
                 {{"state", change.state}});
}

void TraceEventFile::onStatus(const StatusEntry& entry) {
    writeInstant(entry, Track::learning, entry.text, {{"value", entry.value}});
}

void TraceEventFile::onMeasured(const MeasuredRun& run) {
    writeInstant(run, Track::learning, run.aborted ? "not measured, cut off" : "measured",
                 {{"durationMs", run.durationMs}, {"result", run.result}});
}

void TraceEventFile::onLaunch(const Launch& launch) {
    // What an earlier life has learned is first seen in the boost.
    if (launch.phase == LaunchPhase::learned && launch.launchBoost &&
        !processOf(launch.app).hasCounter) {
        writeLearned(launch.app, launch.t, launch.launchBoost->requestedMs);
    }
    const int64_t to = launch.durationMs ? launch.t + *launch.durationMs : *launch.overT;
    writeSlice(launch.app, Track::launches,
               launch.durationMs ? "launch" : "launch without a first frame",
               {launch.line, launch.t, to}, argsOf(launch));
}

void TraceEventFile::onPassedOver(const Launch& launch) {
    writeInstant(launch, Track::launches, "launch, passed over", Json::object());
}

void TraceEventFile::onBoost(const Boost& boost) {
    if (boost.kind == BoostKind::hardwareProfile && boost.from == boost.to) {
        return;  // the default boost starts the profile, and at once the launch boost anew
    }
    constexpr std::array TRACKS = {Track::defaultBoost, Track::launchBoost, Track::attachBoost,
                                   Track::hardwareProfile};
    const Track track = TRACKS[static_cast<std::size_t>(boost.kind)];
    Json args = {{"requestedMs", boost.requestedMs}, {"end", boostEndWords(boost.end)}};
    if (boost.kind != BoostKind::hardwareProfile) {
        args["handle"] = boost.handle;
    }
    writeSlice(boost.app, track, boostWords(boost.kind), {boost.line, boost.from, boost.to},
               std::move(args));
}

void TraceEventFile::onMark(const AppMark& mark) {
    if (mark.kind == AppMark::Kind::removed) {
        writeInstant(mark, Track::learning, markWord(mark.kind), Json::object());
    }
    if (mark.kind == AppMark::Kind::learned || mark.kind == AppMark::Kind::removed) {
        writeLearned(mark.app, mark.t, mark.durationMs.value_or(0));
    }
}

void TraceEventFile::writeLearned(const std::string& app, int64_t t, int32_t durationMs) {
    Process& process = processOf(app);
    process.hasCounter = true;
    write({{"name", "learned duration"},
           {"ph", "C"},
           {"ts", toMicroseconds(t)},
           {"pid", process.id},
           {"args", {{"ms", durationMs}}}});
}

TraceEventFile::Process& TraceEventFile::processOf(const std::string& app) {
    Process& process = mProcesses[app];
    if (process.id == 0) {
        process.id = ++mLastId;
        write(metadata("process_name", process.id, 0, {{"name", app}}));
        for (const Track track : {Track::launches, Track::learning}) {
            addLane(process, track);
        }
    }
    return process;
}

std::string TraceEventFile::nameOf(Track track) {
    switch (track) {
        case Track::launches:
            return "launches";
        case Track::learning:
            return "learning";
        case Track::defaultBoost:
            return boostWords(BoostKind::defaultBoost);
        case Track::launchBoost:
            return boostWords(BoostKind::launchBoost);
        case Track::attachBoost:
            return boostWords(BoostKind::attachBoost);
        case Track::hardwareProfile:
            break;
    }
    return boostWords(BoostKind::hardwareProfile);
}

TraceEventFile::Lane& TraceEventFile::addLane(Process& process, Track track) {
    std::vector<Lane>& lanes = process.tracks[track];
    const int thread = ++mLastId;
    lanes.push_back({thread, std::numeric_limits<int64_t>::min()});
    const auto index = static_cast<std::size_t>(track);
    std::string name = nameOf(track);
    if (lanes.size() > 1) {
        name += " " + std::to_string(lanes.size());
    }
    write(metadata("thread_name", process.id, thread, {{"name", name}}));
    write(metadata("thread_sort_index", process.id, thread, {{"sort_index", index}}));
    return lanes.back();
}

TraceEventFile::Lane& TraceEventFile::freeLane(Process& process, Track track, int64_t from) {
    for (Lane& lane : process.tracks[track]) {
        if (lane.busyUntil <= from) {
            return lane;
        }
    }
    return addLane(process, track);
}

void TraceEventFile::writeSlice(const std::string& app, Track track, const std::string& name,
                                const Span& span, Json args) {
    Process& process = processOf(app);
    Lane& lane = freeLane(process, track, span.from);
    lane.busyUntil = span.to;
    const int64_t fromUs = toMicroseconds(span.from);
    write({{"name", name},
           {"ph", "X"},
           {"ts", fromUs},
           {"dur", differenceUs(fromUs, toMicroseconds(span.to))},
           {"pid", process.id},
           {"tid", lane.thread},
           {"args", placed(span.line, span.from, std::move(args))}});
}

template <class Happened>
void TraceEventFile::writeInstant(const Happened& happened, Track track, const std::string& name,
                                  Json args) {
    Process& process = processOf(happened.app);
    write({{"name", name},
           {"ph", "i"},
           {"ts", toMicroseconds(happened.t)},
           {"pid", process.id},
           {"tid", process.tracks[track].front().thread},
           {"s", "t"},
           {"args", placed(happened.line, happened.t, std::move(args))}});
}

Json TraceEventFile::placed(std::size_t line, int64_t t, Json args) const {
    args["line"] = line;
    args["time"] = mCalendar.text(t);
    return args;
}

void TraceEventFile::write(const Json& event) {
    mOut << (std::exchange(mWroteEvent, true) ? ",\n" : "\n") << toText(event);
}

}  // namespace kestrel
