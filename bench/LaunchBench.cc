// From a launch hint to the boosts: the whole road against the SQL on it, in the same order.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>

#include "bench/BenchPhone.h"
#include "lmdb/LMLog.h"

using namespace kestrel;

namespace {

constexpr int APPS_PER_ROUND = 100;  // each is launched once before the tables are filled anew

std::string appName(int n) {
    return "com.example.application" + std::to_string(n) + "/.MainActivity";
}

// ---- The SQL of each road, as the feature runs it.

void readState(BareStores& stores, const char* app) {
    BareRow<AppState> row;
    stores.state.readNewest({app}, row);
}

void writeState(BareStores& stores, const char* app, AppState state) {
    std::vector<BareRow<AppState>> rows(1);
    rows[0].appName = app;
    stores.state.readNewest({app}, rows[0]);
    rows[0].blob = state;
    stores.state.write(rows);
}

BareRow<KSPerfdOutput> readRecord(BareStores& stores, const char* app) {
    BareRow<KSPerfdOutput> row;
    stores.output.read({app, KS_LAUNCH_HINT}, row, [](const auto&) {});
    row.intcol1 = KS_LAUNCH_HINT;
    row.appName = app;
    return row;
}

// Every launch asks for the state again after the evaluation, and for the boost; then for the
// record.
void boost(BareStores& stores, const char* app) {
    readState(stores, app);
    readState(stores, app);
    readRecord(stores, app);
}

void roadOfLearning(BareStores& stores, const char* app) {
    readState(stores, app);
    stores.input.count({app, KS_LAUNCH_HINT});
    boost(stores, app);
}

void evaluate(BareStores& stores, const char* app) {
    stores.input.count({app, KS_LAUNCH_HINT});
    std::vector<BareRow<KSInputDbData>> launches;
    BareRow<KSInputDbData> launch;
    stores.input.read({app, KS_LAUNCH_HINT}, launch,
                      [&](const auto& row) { launches.push_back(row); });
    const std::vector<BareRow<KSPerfdOutput>> record = {readRecord(stores, app)};
    readState(stores, app);
    stores.output.write(record);
    for (const AppState state :
         {APP_STATE_EVALUATING, APP_STATE_EVALUATED, APP_STATE_DECIDING, APP_STATE_LEARNED}) {
        writeState(stores, app, state);
    }
    stores.input.erase(launches);
}

void roadOfEvaluation(BareStores& stores, const char* app) {
    readState(stores, app);
    evaluate(stores, app);
    boost(stores, app);
}

void roadOfLearned(BareStores& stores, const char* app) {
    readState(stores, app);
    std::vector<BareRow<KSPerfdOutput>> record = {readRecord(stores, app)};
    ++record[0].blob.launchCount;  // what does not change is not written to the file
    stores.output.write(record);
    boost(stores, app);
}

void roadOfRelearning(BareStores& stores, const char* app) {
    readState(stores, app);
    std::vector<BareRow<KSPerfdOutput>> record = {readRecord(stores, app)};
    ++record[0].blob.launchCount;
    writeState(stores, app, APP_STATE_RELEARN);
    writeState(stores, app, APP_STATE_LEARNING);
    stores.output.write(record);
    boost(stores, app);
}

void roadOfDisabled(BareStores& stores, const char* app) {
    readState(stores, app);
    readState(stores, app);
    readRecord(stores, app);
}

void roadOfAttach(BareStores& stores, const char* app) {
    const std::string name = app;
    readRecord(stores, name.substr(0, name.find('/')).c_str());
}

void roadOfRemoval(BareStores& stores, const char* app) {
    std::vector<BareRow<KSPerfdOutput>> records(1);
    stores.output.read({app}, records[0], [](const auto&) {});
    stores.output.erase(records);
    std::vector<BareRow<AppState>> states(1);
    stores.state.readNewest({app}, states[0]);
    stores.state.erase(states);
}

// An app without a record loses its stored launches.
void roadOfRemovalWhileLearning(BareStores& stores, const char* app) {
    BareRow<KSPerfdOutput> record;
    stores.output.read({app}, record, [](const auto&) {});
    std::vector<BareRow<KSInputDbData>> launches;
    BareRow<KSInputDbData> launch;
    stores.input.read({app}, launch, [&](const auto& row) { launches.push_back(row); });
    stores.input.erase(launches);
    std::vector<BareRow<AppState>> states(1);
    stores.state.readNewest({app}, states[0]);
    stores.state.erase(states);
}

// ---- The cases.

struct Scenario {
    const char* name;
    int32_t hintId;
    int32_t hintType;
    AppState state;   // of all known apps
    int launches;     // stored, of each of them
    int launchCount;  // in the record of each of them; -1: there is none
    bool known;       // is the launched app one of them?
    void (*road)(BareStores& stores, const char* app);
};

constexpr Scenario UNKNOWN = {"unknown", KS_LAUNCH_HINT, 1, APP_STATE_LEARNED, 0, 1,
                              false,     &roadOfLearning};
constexpr Scenario LEARNING = {"learning", KS_LAUNCH_HINT, 1, APP_STATE_LEARNING, 3, -1,
                               true,       &roadOfLearning};
constexpr Scenario EVALUATION = {"evaluation", KS_LAUNCH_HINT,   1, APP_STATE_LEARNING, 5, -1,
                                 true,         &roadOfEvaluation};
constexpr Scenario LEARNED = {"learned", KS_LAUNCH_HINT, 1, APP_STATE_LEARNED, 0, 1,
                              true,      &roadOfLearned};
constexpr Scenario RELEARNING = {"relearning", KS_LAUNCH_HINT,   1, APP_STATE_LEARNED, 0, 99,
                                 true,         &roadOfRelearning};
constexpr Scenario DISABLED = {"disabled", KS_LAUNCH_HINT, 1, APP_STATE_DISABLED, 0, -1,
                               true,       &roadOfDisabled};
constexpr Scenario ATTACH = {"attach", 0,    KS_HINT_TYPE_ATTACH, APP_STATE_LEARNED, 0,
                             1,        true, &roadOfAttach};
constexpr Scenario REMOVAL = {"removal", KS_HINT_APP_REMOVED, 0, APP_STATE_LEARNED, 0, 1,
                              true,      &roadOfRemoval};
constexpr Scenario REMOVAL_WHILE_LEARNING = {
    "removal", KS_HINT_APP_REMOVED,        0, APP_STATE_LEARNING, 5, -1,
    true,      &roadOfRemovalWhileLearning};
// The evaluation alone: checkWriteOutputDB, not an event.
constexpr Scenario EVALUATION_ALONE = {"evaluation-alone", 0, 0, APP_STATE_LEARNING, 5, -1, true,
                                       &evaluate};

struct Size {
    int apps;      // known
    int launches;  // stored, of each app that has some; 0: as the scenario says
};

// Puts the apps into the databases, in place of what is there.
void fill(BareStores& stores, const Scenario& scenario, const Size& size) {
    runSql(stores.inputDb, "DELETE FROM KestrelStarts");
    runSql(stores.outputDb, "DELETE FROM output_table");
    runSql(stores.stateDb, "DELETE FROM app_state");
    const int launches = size.launches > 0 ? size.launches : scenario.launches;
    std::vector<BareRow<KSInputDbData>> input;
    std::vector<BareRow<KSPerfdOutput>> output;
    std::vector<BareRow<AppState>> states;
    for (int n = 0; n < size.apps; ++n) {
        states.emplace_back().appName = appName(n);
        states.back().blob = scenario.state;
        for (int i = 0; i < launches; ++i) {
            auto& row = input.emplace_back();
            row.intcol1 = KS_LAUNCH_HINT;
            row.appName = appName(n);
            // Some lie far out.
            row.blob = {i % 5 == 4 ? 20000 : 800 + i % 97, 0};
        }
        if (scenario.launchCount >= 0) {
            auto& row = output.emplace_back();
            row.intcol1 = KS_LAUNCH_HINT;
            row.appName = appName(n);
            row.blob.launchDuration = 1350;
            row.blob.launchCount = scenario.launchCount;
        }
    }
    stores.input.write(input);
    stores.output.write(output);
    stores.state.write(states);
}

// The feature and the bare SQL take turns, app by app.
class LaunchPair {
 public:
    LaunchPair(bool onFile, const Scenario& scenario, const Size& size)
        : mScenario(scenario), mSize(size), mPhone(onFile), mFiller(""), mBare("bare-") {}

    struct Turn {
        BenchPhone::Times feature;
        double sql;
    };

    Turn next() {
        const int perRound = mSize.launches > 100 ? 1 : std::min(APPS_PER_ROUND, mSize.apps);
        if (mTurn % perRound == 0) {
            fill(mFiller, mScenario, mSize);
            fill(mBare, mScenario, mSize);
        }
        // Of all places in the tables.
        const int n = mTurn++ % perRound * (mSize.apps / perRound);
        const std::string app = appName(mScenario.known ? n : mSize.apps + n);
        return {deliver(app), runRoad(app)};
    }

    BenchPhone::Times deliver(const std::string& app) {
        if (mScenario.hintId != 0 || mScenario.hintType != 0) {
            return mPhone.deliver(kestrel::eventOf(app, mScenario.hintId, mScenario.hintType));
        }
        KestrelStartsFeature& feature = mPhone.feature();
        const AsyncTriggerPayload event = kestrel::eventOf(app, KS_LAUNCH_HINT, 1);
        const auto begin = BenchClock::now();
        feature.checkWriteOutputDB(KestrelStartsAction::getInstance(&feature), event);
        return {0, 0, nanoseconds(BenchClock::now() - begin)};
    }

    double runRoad(const std::string& app) {
        const auto begin = BenchClock::now();
        mScenario.road(mBare, app.c_str());
        return nanoseconds(BenchClock::now() - begin);
    }

    // Until the last request or, without one, until the feature returns.
    static double duration(const BenchPhone::Times& times) {
        return times.lastRequest > 0 ? times.lastRequest : times.end;
    }

 private:
    Scenario mScenario;
    Size mSize;
    BenchPhone mPhone;
    BareStores mFiller;
    BareStores mBare;
    int mTurn = 0;
};

std::string gRoot;

void setSync(bool sync) {
    RelocatingVfs::install(gRoot, sync);
}

void measureLaunch(benchmark::State& state, bool onFile, const Scenario& scenario,
                   const Size& size) {
    setSync(false);
    LaunchPair pair(onFile, scenario, size);
    std::vector<double> first, last, sql, ratios, undisturbed;
    for ([[maybe_unused]] auto iteration : state) {
        setSync(onFile);
        const LaunchPair::Turn turn = pair.next();
        const double time = LaunchPair::duration(turn.feature);
        first.push_back(turn.feature.firstRequest);
        last.push_back(time);
        sql.push_back(turn.sql);
        ratios.push_back(time / turn.sql);
        if (onFile) {
            setSync(false);
            undisturbed.push_back(LaunchPair::duration(pair.next().feature));
        }
        state.SetIterationTime((time + turn.sql) * 1e-9);
    }
    state.counters["first"] = quantile(first, 0.5);
    state.counters["p50"] = quantile(last, 0.5);
    state.counters["p90"] = quantile(last, 0.9);
    state.counters["p99"] = quantile(last, 0.99);
    state.counters["sql"] = quantile(sql, 0.5);
    state.counters["ratio"] = quantile(ratios, 0.5);
    if (onFile) {
        state.counters["disk"] = 1 - quantile(undisturbed, 0.5) / quantile(last, 0.5);
    }
}

void addLaunch(const std::string& group, bool onFile, const Scenario& scenario, const Size& size) {
    benchmark::RegisterBenchmark((group + scenario.name).c_str(), [=](benchmark::State& state) {
        measureLaunch(state, onFile, scenario, size);
    })->UseManualTime();
}

void registerLaunches() {
    for (const bool onFile : {true, false}) {
        for (const Scenario& scenario : {UNKNOWN, LEARNING, EVALUATION, LEARNED, RELEARNING,
                                         DISABLED, ATTACH, EVALUATION_ALONE}) {
            addLaunch(onFile ? "launch/file/" : "launch/memory/", onFile, scenario, {100, 0});
        }
    }
    for (const int apps : {10, 100, 1000, 10000}) {
        for (const Scenario& scenario : {LEARNED, EVALUATION_ALONE, REMOVAL}) {
            addLaunch("growth/apps/" + std::to_string(apps) + "/", false, scenario, {apps, 0});
        }
    }
    for (const int launches : {5, 10, 100, 1000, 10000}) {
        for (const Scenario& scenario : {EVALUATION, EVALUATION_ALONE, REMOVAL_WHILE_LEARNING}) {
            addLaunch("growth/rows/" + std::to_string(launches) + "/", false, scenario,
                      {1, launches});
        }
    }
}

void registerEvents() {
    AsyncTriggerPayload wrongVersion = kestrel::eventOf(appName(1), KS_LAUNCH_HINT, 1);
    wrongVersion.dataVersion = KS_DATA_VERSION - 1;
    const struct {
        const char* name;
        AsyncTriggerPayload event;
    } cases[] = {
        {"other-identifier", kestrel::eventOf(appName(1), 4242, 0)},
        {"other-type", kestrel::eventOf(appName(1), KS_LAUNCH_HINT, 2)},
        {"ignored-app", kestrel::eventOf("com.example.ignored.by.the.feature/.Main", 4097, 0)},
        {"launcher",
         kestrel::eventOf("com.android.launcher3/.uioverrides.Launcher", KS_LAUNCH_HINT, 1)},
        {"wrong-version", wrongVersion},
    };
    for (const auto& c : cases) {
        benchmark::RegisterBenchmark((std::string("event/") + c.name).c_str(),
                                     [event = c.event](benchmark::State& state) {
                                         BenchPhone phone(false);
                                         for ([[maybe_unused]] auto iteration : state) {
                                             phone.feature().runAsync(event);
                                         }
                                     });
    }
}

// What the log line of a wrong version costs by itself, in the host.
void measureLogLine(benchmark::State& state) {
    const BenchPhone phone(false);
    for ([[maybe_unused]] auto iteration : state) {
        LM_LOG("KestrelStarts", "runAsync", 555,
               "Payload Data or Version is not compatible. Hence, Discarding Request.\n");
    }
}

// ---- The proof that both sides run the same SQL.

std::vector<std::string> gStatements;

int noteStatements(sqlite3* db, char**, const void*) {
    const auto note = [](unsigned, void* connection, void*, void* text) {
        const std::string file = sqlite3_db_filename(static_cast<sqlite3*>(connection), "main");
        const std::size_t base = file.find("KestrelStarts");
        gStatements.push_back(file.substr(base) + ": " + static_cast<const char*>(text));
        return 0;
    };
    return sqlite3_trace_v2(db, SQLITE_TRACE_STMT, note, db);
}

void expectSameStatements(const Scenario& scenario) {
    LaunchPair pair(false, scenario, {3, 0});
    pair.next();
    const std::string app = appName(scenario.known ? 2 : 4);
    gStatements.clear();
    pair.deliver(app);
    const std::vector<std::string> feature = std::exchange(gStatements, {});
    pair.runRoad(app);
    if (feature != gStatements || feature.empty()) {
        std::cerr << "the bare SQL of " << scenario.name << " is not the feature's:\n";
        for (const auto& side : {feature, gStatements}) {
            for (const std::string& statement : side) {
                std::cerr << "  " << statement << '\n';
            }
            std::cerr << '\n';
        }
        std::exit(1);
    }
}

void proveRoads() {
    const auto hook = reinterpret_cast<void (*)()>(&noteStatements);
    sqlite3_auto_extension(hook);
    for (const Scenario& scenario : {UNKNOWN, LEARNING, EVALUATION, LEARNED, RELEARNING, DISABLED,
                                     ATTACH, REMOVAL, REMOVAL_WHILE_LEARNING, EVALUATION_ALONE}) {
        expectSameStatements(scenario);
    }
    sqlite3_cancel_auto_extension(hook);
}

// ---- What SQLite can be built with or told, as far as it can be chosen while running.

struct Setting {
    const char* name;
    int (*configure)();  // before SQLite is used; null: nothing
    const char* pragma;  // for each connection; null: none
};

constexpr Setting SETTINGS[] = {
    {"default", nullptr, nullptr},
    {"synchronous=NORMAL", nullptr, "PRAGMA synchronous=NORMAL"},
    {"no lookaside", [] { return sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0); }, nullptr},
    {"lookaside 1200 x 400", [] { return sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 1200, 400); },
     nullptr},
    {"cache of 10 pages", nullptr, "PRAGMA cache_size=10"},
    {"cache of 20000 pages", nullptr, "PRAGMA cache_size=20000"},
    {"mapped 64 MiB", nullptr, "PRAGMA mmap_size=67108864"},
    {"multi-thread", [] { return sqlite3_config(SQLITE_CONFIG_MULTITHREAD); }, nullptr},
    {"single-thread", [] { return sqlite3_config(SQLITE_CONFIG_SINGLETHREAD); }, nullptr},
    {"no memory statistics", [] { return sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0); }, nullptr},
};

const char* gPragma = nullptr;

int runPragma(sqlite3* db, char**, const void*) {
    return sqlite3_exec(db, gPragma, nullptr, nullptr, nullptr);
}

// Chooses the setting of that name; false: there is none.
bool choose(std::string_view name) {
    for (const Setting& setting : SETTINGS) {
        if (name != setting.name) {
            continue;
        }
        gPragma = setting.pragma;
        if (gPragma != nullptr) {
            sqlite3_auto_extension(reinterpret_cast<void (*)()>(&runPragma));
        }
        return setting.configure == nullptr || setting.configure() == SQLITE_OK;
    }
    return false;
}

}  // namespace

// LaunchBench [--sqlite=SETTING] [Google Benchmark's options]
int main(int argc, char** argv) {
    keepFreedMemory();
    constexpr std::string_view SETTING_FLAG = "--sqlite=";
    const std::string_view flag = argc > 1 ? argv[1] : "";
    if (flag.starts_with(SETTING_FLAG)) {
        if (!choose(flag.substr(SETTING_FLAG.size()))) {
            std::cerr << "LaunchBench: SQLite cannot be set to " << flag << '\n';
            return 2;
        }
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    gRoot = std::filesystem::current_path() / std::to_string(getpid());
    std::filesystem::create_directories(gRoot + DEVICE_DIRECTORY);
    setSync(false);
    proveRoads();
    registerLaunches();
    registerEvents();
    benchmark::RegisterBenchmark("event/log-line", measureLogLine);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
}
