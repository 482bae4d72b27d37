#include "tools/views/LaunchReport.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "host/AppState.h"
#include "host/KestrelStartsHints.h"
#include "tools/base/TerminalText.h"
#include "tools/views/ReportText.h"

namespace kestrel {

namespace {

constexpr std::size_t TIME_WIDTH = 19;
constexpr std::size_t BOOST_WIDTH = 8;
constexpr std::size_t COUNT_WIDTH = 9;
constexpr std::size_t LEARNED_WIDTH = 12;
constexpr std::size_t SINCE_WIDTH = 7;

// What the plug-in logs while all is well.
constexpr std::array<std::string_view, 8> ROUTINE_LINES = {
    "() 60: Major Version", "() 132: KGM Status",        "() 136: Kestrel Startsv",
    "() 855: launchCount",  "() 859: Should  Retrigger", "() 464: deleteDeallocateDR",
    "() 69: Meter aborted", "() 88: no valid triggers",
};

bool isRoutine(std::string_view text) {
    for (const std::string_view routine : ROUTINE_LINES) {
        if (text.find(routine) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

// [DAYSd ]HH:MM:SS.mmm, as the input's clock says it.
std::string timeText(int64_t t) {
    if (t < 0) {
        return std::to_string(t) + " ms";
    }
    constexpr int64_t DAY_MS = 86400000;
    const int64_t ms = t % DAY_MS;
    std::array<char, 48> text;
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%03d", static_cast<int>(ms / 3600000),
                  static_cast<int>(ms / 60000 % 60), static_cast<int>(ms / 1000 % 60),
                  static_cast<int>(ms % 1000));
    return t < DAY_MS ? text.data() : std::to_string(t / DAY_MS) + "d " + text.data();
}

std::string beginning(int64_t t, const std::string& app) {
    return right(timeText(t), TIME_WIDTH) + std::string(GAP) + appText(app) + std::string(GAP);
}

}  // namespace

void LaunchReport::add(const HostRecord& entry) {
    std::visit([&](const auto& what) { addRecord(entry.t, what); }, entry.what);
}

void LaunchReport::addRecord(int64_t t, const record::Event& event) {
    mLaunch = {};
    if (event.hintId == KS_LAUNCH_HINT && event.hintType == KS_HINT_TYPE_LAUNCH) {
        mLaunch.t = t;
        mLaunch.app = event.appName;
        mLaunch.isLaunch = true;
    }
}

void LaunchReport::addRecord(int64_t, const record::HintAcqRel& boost) {
    if (boost.hintType == KS_HINT_TYPE_DEFAULT_BOOST) {
        mLaunch.defaultBoostMs = boost.duration;
    }
}

void LaunchReport::addRecord(int64_t, const record::Hint& boost) {
    mLaunch.launchBoostMs = boost.duration;
}

void LaunchReport::addRecord(int64_t, const record::Meter&) {
    mLaunch.measuring = true;
}

void LaunchReport::endEvent(int32_t state) {
    // A launch that the feature passed over is neither boosted nor measured.
    if (mLaunch.isLaunch &&
        (mLaunch.defaultBoostMs || mLaunch.launchBoostMs || mLaunch.measuring)) {
        ++mApps[mLaunch.app].launches;
        printHeader();
        mOut << beginning(mLaunch.t, mLaunch.app) << padded(stateText(state), STATE_WIDTH)
             << right(numberText(mLaunch.defaultBoostMs), BOOST_WIDTH)
             << right(numberText(mLaunch.launchBoostMs), BOOST_WIDTH) << '\n';
    }
    mLaunch = {};
}

void LaunchReport::addRecord(int64_t t, const record::Measured& run) {
    if (run.aborted) {
        printNote(t, run.app, "cut off, not measured");
        return;
    }
    if (run.duration > 0) {
        ++mApps[run.app].measured;
    }
    printNote(t, run.app, "measured " + std::to_string(run.duration) + " ms");
}

void LaunchReport::addRecord(int64_t t, const record::State& change) {
    switch (change.state) {
        case APP_STATE_LEARNED:
            printNote(t, change.app, "is learned");
            break;
        case APP_STATE_RELEARN:
            printNote(t, change.app, "goes back to learning");
            break;
        case APP_STATE_DISABLED:
            printNote(t, change.app, "is disabled");
            break;
        default:
            break;
    }
}

void LaunchReport::addRecord(int64_t t, const record::Forget& removal) {
    printNote(t, removal.app, "is forgotten");
}

void LaunchReport::addRecord(int64_t, const record::Log& line) {
    if (mShowLog || !isRoutine(line.text)) {
        mOut << wrapped("  log: " + printable(line.text), LINE_WIDTH, 7) << '\n';
    }
}

void LaunchReport::printNote(int64_t t, const std::string& app, const std::string& note) {
    printHeader();
    mOut << beginning(t, app) << note << '\n';
}

void LaunchReport::printHeader() {
    if (mPrintedHeader) {
        return;
    }
    mPrintedHeader = true;
    const std::size_t boosts =
        TIME_WIDTH + GAP.size() + APP_WIDTH + GAP.size() + STATE_WIDTH + 2 * BOOST_WIDTH;
    mOut << right("boosts in ms", boosts) << '\n'
         << right("time", TIME_WIDTH) << GAP << padded("app", APP_WIDTH) << GAP
         << padded("state", STATE_WIDTH) << right("default", BOOST_WIDTH)
         << right("launch", BOOST_WIDTH) << '\n';
}

void LaunchReport::printTable(const LearningStore& store) {
    if (mApps.empty()) {
        mOut << "no launches\n";
        return;
    }
    mOut << '\n'
         << padded("app", APP_WIDTH) << right("launches", COUNT_WIDTH)
         << right("measured", COUNT_WIDTH) << GAP << padded("state", STATE_WIDTH)
         << right("learned ms", LEARNED_WIDTH) << right("since", SINCE_WIDTH) << '\n';
    for (const auto& [app, totals] : mApps) {
        const auto found = store.apps.find(app);
        std::optional<int32_t> durationMs;
        std::optional<int32_t> launchesSince;
        if (found != store.apps.end() && !found->second.records.empty()) {
            durationMs = found->second.records.front().launchDuration;
            launchesSince = found->second.records.front().launchCount;
        }
        mOut << appText(app) << right(std::to_string(totals.launches), COUNT_WIDTH)
             << right(std::to_string(totals.measured), COUNT_WIDTH) << GAP
             << padded(stateText(totals.state), STATE_WIDTH)
             << right(numberText(durationMs), LEARNED_WIDTH)
             << right(numberText(launchesSince), SINCE_WIDTH) << '\n';
    }
}

}  // namespace kestrel
