#include "tools/views/StoreTable.h"

#include "learning/LearningRules.h"
#include "tools/base/TerminalText.h"
#include "tools/views/Table.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

constexpr std::size_t COUNT_WIDTH = 9;

const Table& appsTable() {
    using Kind = Table::Kind;
    static const Table table({{"app", Kind::name, APP_WIDTH},
                              {"state", Kind::text, STATE_WIDTH},
                              {"learned ms", Kind::number, 12},
                              {"since", Kind::number, COUNT_WIDTH},
                              {"relearn", Kind::number, COUNT_WIDTH},
                              {"stored", Kind::number, COUNT_WIDTH}});
    return table;
}

std::string outOf(int64_t count, int32_t total) {
    return std::to_string(count) + "/" + std::to_string(total);
}

std::string rowOf(const std::string& app, const StoredApp& stored) {
    const KSPerfdOutput* record = recordOf(stored);
    const auto ifLearned = [&](const std::string& text) { return record != nullptr ? text : "-"; };
    const KSPerfdOutput known = record != nullptr ? *record : KSPerfdOutput{};
    return appsTable().row(
        {app,
         {stored.state ? stateWord(*stored.state) : stateWords({}), emphasisOfState(stored.state)},
         ifLearned(std::to_string(known.launchDuration)),
         ifLearned(outOf(known.launchCount, KS_LAUNCHES_TO_RELEARN)),
         ifLearned(known.retriggered == 1 ? "yes" : "no"),
         outOf(static_cast<int64_t>(stored.launches.size()), KS_LAUNCHES_TO_DECIDE)});
}

// What becomes of an app that has several learned records.
std::string tooManyRecords(const StoredApp& stored) {
    return std::to_string(stored.records.size()) +
           " learned records instead of one; the next count or decision deletes them";
}

}  // namespace

void printApps(std::ostream& out, const LearningStore& store) {
    if (store.apps.empty()) {
        out << "no apps\n";
        return;
    }
    out << styled(appsTable().headings(), Emphasis::heading) << '\n';
    for (const auto& [app, stored] : store.apps) {
        out << rowOf(app, stored) << '\n';
    }
    for (const auto& [app, stored] : store.apps) {
        if (stored.records.size() > 1) {
            out << wrapped(printable(app) + ": " + tooManyRecords(stored), LINE_WIDTH, 2) << '\n';
        }
    }
}

void printApp(std::ostream& out, const std::string& app, const StoredApp& stored) {
    out << styled(printable(app), Emphasis::heading) << "\n  state            "
        << styledState(stateWords(stored.state), stored.state) << '\n';
    for (const KSPerfdOutput& record : stored.records) {
        out << "  learned          " << record.launchDuration << " ms\n"
            << "  launches since   " << record.launchCount << " of " << KS_LAUNCHES_TO_RELEARN
            << '\n'
            << "  relearning       " << (record.retriggered == 1 ? "triggered" : "not triggered")
            << '\n';
    }
    if (stored.records.empty()) {
        out << "  learned          nothing\n";
    }
    if (stored.records.size() > 1) {
        out << "  damage           " << tooManyRecords(stored) << '\n';
    }
    out << "  launches stored  " << stored.launches.size() << " of " << KS_LAUNCHES_TO_DECIDE
        << '\n';
    if (!stored.launches.empty()) {
        out << "  durations in ms, oldest first\n" << durationColumns(durationsOf(stored));
    }
}

}  // namespace kestrel
