#include "tools/LaunchReport.h"

#include <iomanip>
#include <sstream>

namespace {

constexpr int32_t LAUNCH_HINT = 4225;
constexpr int32_t LAUNCH_HINT_TYPE = 1;
constexpr int32_t DEFAULT_BOOST_TYPE = 7;

constexpr int32_t STATE_LEARNING = 0;
constexpr int32_t STATE_LEARNED = 4;
constexpr int32_t STATE_RELEARN = 5;
constexpr int32_t STATE_DISABLED = 99;

constexpr int TIME_WIDTH = 17;
constexpr std::size_t APP_WIDTH = 30;
constexpr int STATE_WIDTH = 8;
constexpr int NUMBER_WIDTH = 8;

std::string stateText(int32_t state) {
    switch (state) {
        case STATE_LEARNING:
            return "learning";
        case STATE_LEARNED:
            return "learned";
        case STATE_DISABLED:
            return "disabled";
        default:
            return "state " + std::to_string(state);
    }
}

// DDDd HH:MM:SS.mmm, as the input's clock says it.
std::string timeText(int64_t t) {
    if (t < 0) {
        return std::to_string(t) + " ms";
    }
    std::ostringstream text;
    text << std::setfill('0');
    if (t >= 86400000) {
        text << t / 86400000 << "d ";
    }
    text << std::setw(2) << t / 3600000 % 24 << ':' << std::setw(2) << t / 60000 % 60 << ':'
         << std::setw(2) << t / 1000 % 60 << '.' << std::setw(3) << t % 1000;
    return text.str();
}

// Fits a column: a long name loses its beginning, which packages have in common; what a terminal
// would not print becomes "?".
std::string appText(const std::string& app) {
    std::string text;
    for (const char c :
         app.size() > APP_WIDTH ? ".." + app.substr(app.size() - APP_WIDTH + 2) : app) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x20 || byte == 0x7f ? '?' : c;
    }
    return text;
}

std::string durationText(std::optional<int32_t> durationMs) {
    return durationMs ? std::to_string(*durationMs) : "-";
}

// A log line that tells of something that did not work.
bool tellsOfFailure(const std::string& text) {
    for (const char* sign : {"ERROR", "xception", "NULL", "nullptr", "fail", "Fail", "not compat",
                             "not found", "Error"}) {
        if (text.find(sign) != std::string::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

void LaunchReport::add(const HostRecord& entry) {
    std::visit([&](const auto& what) { addRecord(entry.t, what); }, entry.what);
}

void LaunchReport::addRecord(int64_t t, const record::Event& event) {
    mLaunch = {};
    if (event.hintId == LAUNCH_HINT && event.hintType == LAUNCH_HINT_TYPE) {
        mLaunch.t = t;
        mLaunch.app = event.appName;
    }
}

void LaunchReport::addRecord(int64_t, const record::HintAcqRel& boost) {
    if (boost.hintType == DEFAULT_BOOST_TYPE) {
        mLaunch.defaultBoost = boost.duration;
    }
}

void LaunchReport::addRecord(int64_t, const record::Hint& boost) {
    mLaunch.launchBoost = boost.duration;
}

void LaunchReport::addRecord(int64_t, const record::Meter&) {
    mLaunch.measuring = true;
}

void LaunchReport::endEvent(int32_t state) {
    // A launch that the feature passed over is neither boosted nor measured.
    if (mLaunch.app.empty() ||
        !(mLaunch.defaultBoost || mLaunch.launchBoost || mLaunch.measuring)) {
        mLaunch = {};
        return;
    }
    ++mApps[mLaunch.app].launches;
    printHeader();
    mOut << std::right << std::setw(TIME_WIDTH) << timeText(mLaunch.t) << "  " << std::left
         << std::setw(static_cast<int>(APP_WIDTH)) << appText(mLaunch.app) << "  "
         << std::setw(STATE_WIDTH) << stateText(state) << std::right << std::setw(NUMBER_WIDTH)
         << durationText(mLaunch.defaultBoost) << std::setw(NUMBER_WIDTH)
         << durationText(mLaunch.launchBoost) << '\n';
    mLaunch = {};
}

void LaunchReport::addRecord(int64_t t, const record::Measured& run) {
    if (run.aborted) {
        printNote(t, run.app, "launch cut off, not measured");
        return;
    }
    if (run.duration > 0) {
        ++mApps[run.app].measured;
        printNote(t, run.app, "measured " + std::to_string(run.duration) + " ms");
    } else {
        printNote(t, run.app, "no first frame seen");
    }
}

void LaunchReport::addRecord(int64_t t, const record::State& change) {
    switch (change.state) {
        case STATE_LEARNED:
            printNote(t, change.app, "is learned");
            break;
        case STATE_RELEARN:
            printNote(t, change.app, "goes back to learning");
            break;
        case STATE_DISABLED:
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
    if (mShowLog || tellsOfFailure(line.text)) {
        mOut << "  log: " << line.text << '\n';
    }
}

void LaunchReport::printNote(int64_t t, const std::string& app, const std::string& note) {
    mOut << std::right << std::setw(TIME_WIDTH) << timeText(t) << "  " << std::left
         << std::setw(static_cast<int>(APP_WIDTH)) << appText(app) << "  " << note << '\n';
}

void LaunchReport::printHeader() {
    if (mPrintedHeader) {
        return;
    }
    mPrintedHeader = true;
    mOut << std::right << std::setw(TIME_WIDTH) << "time" << "  " << std::left
         << std::setw(static_cast<int>(APP_WIDTH)) << "launch" << "  " << std::setw(STATE_WIDTH)
         << "state" << std::right << std::setw(NUMBER_WIDTH) << "default" << std::setw(NUMBER_WIDTH)
         << "launch" << '\n'
         << std::setw(TIME_WIDTH + 2 + static_cast<int>(APP_WIDTH) + 2 + STATE_WIDTH) << ""
         << std::setw(NUMBER_WIDTH) << "ms" << std::setw(NUMBER_WIDTH) << "ms" << '\n';
}

void LaunchReport::printTable(const std::map<std::string, LearnedApp>& learned) {
    if (mApps.empty()) {
        mOut << "no launches\n";
        return;
    }
    mOut << '\n'
         << std::left << std::setw(static_cast<int>(APP_WIDTH)) << "app" << std::right
         << std::setw(9) << "launches" << std::setw(9) << "measured" << "  " << std::left
         << std::setw(STATE_WIDTH) << "state" << std::right << std::setw(12) << "learned ms"
         << std::setw(7) << "since" << '\n';
    for (const auto& [app, totals] : mApps) {
        const auto record = learned.find(app);
        const bool known = record != learned.end();
        mOut << std::left << std::setw(static_cast<int>(APP_WIDTH)) << appText(app) << std::right
             << std::setw(9) << totals.launches << std::setw(9) << totals.measured << "  "
             << std::left << std::setw(STATE_WIDTH) << stateText(totals.state) << std::right
             << std::setw(12) << (known ? std::to_string(record->second.launchDuration) : "-")
             << std::setw(7) << (known ? std::to_string(record->second.launchCount) : "-") << '\n';
    }
}
