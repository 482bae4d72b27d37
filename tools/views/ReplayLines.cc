#include "tools/views/ReplayLines.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "tools/base/TerminalText.h"
#include "tools/launches/LaunchFold.h"
#include "tools/session/Session.h"
#include "tools/views/InputConditions.h"
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

Table linesTableOf(std::size_t timeWidth, std::size_t appWidth) {
    using Kind = Table::Kind;
    return Table({{"time", Kind::time, timeWidth},
                  {"app", Kind::name, appWidth},
                  {"state", Kind::text, STATE_WIDTH},
                  {"default", Kind::number, 8},
                  {"launch", Kind::number, 8}});
}

// A time with its year needs room, which names can spare.
const Table& linesTable(const std::string& time) {
    constexpr std::size_t TIME_WIDTH = 19;
    constexpr std::size_t YEAR_WIDTH = 4;
    static const Table usual = linesTableOf(TIME_WIDTH, APP_WIDTH);
    static const Table withYear = linesTableOf(TIME_WIDTH + YEAR_WIDTH, APP_WIDTH - YEAR_WIDTH);
    return time.size() <= TIME_WIDTH ? usual : withYear;
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
        add({entry.t, wrapped("  log: " + printable(log->text), LINE_WIDTH, 7), nullptr});
    }
}

void ReplayLines::onLaunchHandled(const Launch& launch) {
    ++mApps[launch.app].launches;
    addLine(launch.t,
            {launch.app, stateWord(launch.stateAfter), numberText(requestedMs(launch.defaultBoost)),
             numberText(requestedMs(launch.launchBoost))});
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
    addLine(t, {app, note});
}

void ReplayLines::addLine(int64_t t, std::vector<Table::Cell> cells) {
    cells.insert(cells.begin(), mInputs.calendar().text(t));
    const Table& table = linesTable(cells.front().text);
    add({t, table.row(cells), &table});
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
        if (line.table != nullptr && !std::exchange(mPrintedHeadings, true)) {
            mOut << paddedLeft("boosts in ms", line.table->width()) << '\n'
                 << line.table->headings() << '\n';
        }
        mOut << line.text << '\n';
    }
    mLines.clear();
}

void ReplayLines::onEnd(const SessionEnd& end) {
    printLines();
    if (mApps.empty()) {
        mOut << wrapped(mOff.empty() ? noLaunchWords(mInputs.summaries()) : "no launches: " + mOff,
                        LINE_WIDTH, 2)
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
