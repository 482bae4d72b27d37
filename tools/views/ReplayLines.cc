#include "tools/views/ReplayLines.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "tools/base/TerminalText.h"
#include "tools/launches/LaunchFold.h"
#include "tools/session/Session.h"
#include "tools/views/Table.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

// What the plug-in logs while all is well.
constexpr std::array<std::string_view, 8> ROUTINE_LINES = {
    "() 60: Major Version", "() 132: KGM Status",        "() 136: Kestrel Startsv",
    "() 855: launchCount",  "() 859: Should  Retrigger", "() 464: deleteDeallocateDR",
    "() 69: Meter aborted", "() 88: no valid triggers",
};

bool isRoutine(std::string_view text) {
    return std::ranges::any_of(ROUTINE_LINES, [&](std::string_view routine) {
        return text.find(routine) != std::string_view::npos;
    });
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

const Table& linesTable() {
    using Kind = Table::Kind;
    static const Table table({{"time", Kind::time, 19},
                              {"app", Kind::name, APP_WIDTH},
                              {"state", Kind::text, STATE_WIDTH},
                              {"default", Kind::number, 8},
                              {"launch", Kind::number, 8}});
    return table;
}

const Table& appsTable() {
    using Kind = Table::Kind;
    static const Table table({{"app", Kind::name, APP_WIDTH},
                              {"launches", Kind::number, 9},
                              {"measured", Kind::number, 9},
                              {"state", Kind::text, STATE_WIDTH},
                              {"learned ms", Kind::number, 12},
                              {"since", Kind::number, 7}});
    return table;
}

std::string noteOf(AppMark::Kind kind) {
    return kind == AppMark::Kind::relearning ? "goes back to learning"
                                             : std::string("is ") + markWord(kind);
}

}  // namespace

void ReplayLines::onRecord(const HostRecord& entry) {
    if (std::holds_alternative<record::Event>(entry.what)) {
        mInObject = true;
    }
    const auto* log = std::get_if<record::Log>(&entry.what);
    if (log != nullptr && (mShowLog || !isRoutine(log->text))) {
        add({entry.t, wrapped("  log: " + printable(log->text), LINE_WIDTH, 7), true});
    }
}

void ReplayLines::onLaunchHandled(const Launch& launch) {
    ++mApps[launch.app].launches;
    addLine(launch.t,
            linesTable().row({timeText(launch.t), launch.app, stateWord(launch.stateAfter),
                              numberText(requestedMs(launch.defaultBoost)),
                              numberText(requestedMs(launch.launchBoost))}));
}

void ReplayLines::onMeasured(const MeasuredRun& run) {
    if (run.aborted) {
        addNote(run.t, run.app, "cut off, not measured");
        return;
    }
    if (run.durationMs > 0) {
        ++mApps[run.app].measured;
    }
    addNote(run.frameT.value_or(run.t), run.app,
            "measured " + std::to_string(run.durationMs) + " ms");
}

void ReplayLines::onMark(const AppMark& mark) {
    addNote(mark.t, mark.app, noteOf(mark.kind));
}

void ReplayLines::onObjectEnd() {
    printLines();
    mInObject = false;
}

void ReplayLines::onInputEnd() {
    printLines();
    mInObject = false;
}

void ReplayLines::onFinish(const LaunchFold& fold) {
    for (auto& [app, totals] : mApps) {
        totals.state = fold.stateOf(app);
    }
    mOff = switchWords(fold.featureSwitch().state());
}

void ReplayLines::addNote(int64_t t, const std::string& app, const std::string& note) {
    addLine(t, linesTable().row({timeText(t), app, note}));
}

void ReplayLines::addLine(int64_t t, std::string text) {
    add({t, std::move(text), false});
}

void ReplayLines::add(Line line) {
    mLines.push_back(std::move(line));
    if (!mInObject) {
        printLines();
    }
}

// What was measured is told when the run is handed over, which is later than its first frame.
void ReplayLines::printLines() {
    std::ranges::stable_sort(mLines, {}, &Line::t);
    for (const Line& line : mLines) {
        if (!line.isLog && !std::exchange(mPrintedHeadings, true)) {
            mOut << paddedLeft("boosts in ms", linesTable().width()) << '\n'
                 << linesTable().headings() << '\n';
        }
        mOut << line.text << '\n';
    }
    mLines.clear();
}

void ReplayLines::onEnd(const SessionEnd& end) {
    printLines();
    if (mApps.empty()) {
        mOut << wrapped(mOff.empty() ? "no launches" : "no launches: " + mOff, LINE_WIDTH, 2)
             << '\n';
    } else {
        printTable(end.stored);
    }
    if (end.interrupted) {
        mOut << wrapped(printable("only a part: " + toText(*end.interrupted)), LINE_WIDTH, 2)
             << '\n';
    }
}

void ReplayLines::printTable(const LearningStore& stored) {
    mOut << '\n' << appsTable().headings() << '\n';
    for (const auto& [app, totals] : mApps) {
        const KSPerfdOutput* record = recordOf(stored, app);
        const auto field = [&](auto member) {
            return numberText(record != nullptr ? std::optional(record->*member) : std::nullopt);
        };
        mOut << appsTable().row({app, std::to_string(totals.launches),
                                 std::to_string(totals.measured), stateWord(totals.state),
                                 field(&KSPerfdOutput::launchDuration),
                                 field(&KSPerfdOutput::launchCount)})
             << '\n';
    }
}

}  // namespace kestrel
