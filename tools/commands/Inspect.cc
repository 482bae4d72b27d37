#include "tools/commands/Inspect.h"

#include <iostream>

#include "learning/LearningRules.h"
#include "tools/base/Interruption.h"
#include "tools/base/StandardOutput.h"
#include "tools/base/TerminalText.h"
#include "tools/input/HostSetupFile.h"
#include "tools/store/LearningStore.h"
#include "tools/views/ReportText.h"
#include "tools/views/StoreText.h"
#include "tools/views/Style.h"

namespace kestrel {

namespace {

constexpr std::size_t LEARNED_WIDTH = 12;
constexpr std::size_t COUNT_WIDTH = 9;

std::string outOf(int64_t count, int32_t total) {
    return std::to_string(count) + "/" + std::to_string(total);
}

void printRow(const std::string& app, const StoredApp& stored) {
    const KSPerfdOutput* record = stored.records.empty() ? nullptr : &stored.records.front();
    const std::string state = stored.state ? stateText(*stored.state) : stateWords({});
    std::cout << appText(app) << GAP << styledState(padded(state, STATE_WIDTH), stored.state);
    if (record != nullptr) {
        std::cout << right(std::to_string(record->launchDuration), LEARNED_WIDTH)
                  << right(outOf(record->launchCount, KS_LAUNCHES_TO_RELEARN), COUNT_WIDTH)
                  << right(record->retriggered == 1 ? "yes" : "no", COUNT_WIDTH);
    } else {
        std::cout << right("-", LEARNED_WIDTH) << right("-", COUNT_WIDTH)
                  << right("-", COUNT_WIDTH);
    }
    const auto waiting = static_cast<int64_t>(stored.launches.size());
    std::cout << right(outOf(waiting, KS_LAUNCHES_TO_DECIDE), COUNT_WIDTH) << '\n';
}

void printTable(const LearningStore& store) {
    if (store.apps.empty()) {
        std::cout << "no apps\n";
        return;
    }
    std::cout << styled(padded("app", APP_WIDTH) + std::string(GAP) + padded("state", STATE_WIDTH) +
                            right("learned ms", LEARNED_WIDTH) + right("since", COUNT_WIDTH) +
                            right("relearn", COUNT_WIDTH) + right("stored", COUNT_WIDTH),
                        Emphasis::heading)
              << '\n';
    for (const auto& [app, stored] : store.apps) {
        printRow(app, stored);
    }
    for (const auto& [app, stored] : store.apps) {
        if (stored.records.size() > 1) {
            std::cout << wrapped(printable(app) + ": " + tooManyRecords(stored), LINE_WIDTH, 2)
                      << '\n';
        }
    }
}

void printApp(const std::string& app, const StoredApp& stored) {
    std::cout << styled(printable(app), Emphasis::heading) << "\n  state            "
              << styledState(stateWords(stored.state), stored.state) << '\n';
    for (const KSPerfdOutput& record : stored.records) {
        std::cout << "  learned          " << record.launchDuration << " ms\n"
                  << "  launches since   " << record.launchCount << " of " << KS_LAUNCHES_TO_RELEARN
                  << '\n'
                  << "  relearning       "
                  << (record.retriggered == 1 ? "triggered" : "not triggered") << '\n';
    }
    if (stored.records.empty()) {
        std::cout << "  learned          nothing\n";
    }
    if (stored.records.size() > 1) {
        std::cout << "  damage           " << tooManyRecords(stored) << '\n';
    }
    std::cout << "  launches stored  " << stored.launches.size() << " of " << KS_LAUNCHES_TO_DECIDE
              << '\n';
    if (!stored.launches.empty()) {
        std::cout << "  durations in ms, oldest first\n";
        printDurations(std::cout, durationsOf(stored));
    }
}

Json toJson(const LearningStore& store, const std::optional<std::string>& only) {
    Json apps = Json::array();
    for (const auto& [app, stored] : store.apps) {
        if (!only || app == *only) {
            apps.push_back(appJson(app, stored));
        }
    }
    return {{"files", filesJson(store)}, {"apps", std::move(apps)}};
}

}  // namespace

void inspect(const InspectOptions& options) {
    const HostSetup setup = setupOf(options.hostFile);
    catchInterruptions();
    const LearningStore store = readLearningStore(options.root, setup.featureName);
    tellDamage(store);
    const StoredApp* app = options.app ? &findApp(store, *options.app) : nullptr;
    if (options.json) {
        printJson(toJson(store, options.app));
    } else if (app != nullptr) {
        printApp(*options.app, *app);
    } else {
        printTable(store);
    }
    flushOutput();
    expectUndamaged(store);
}

}  // namespace kestrel
