#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>

#include "host/linux/HostRecord.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

// What a person sees of a replay: a line for each launch, for what was measured and for what was
// decided, and a table per app at the end. Fits 80 columns.
class LaunchReport {
 public:
    // `showLog`: every log line too, else only those that do not belong to every day.
    LaunchReport(std::ostream& out, bool showLog) : mOut(out), mShowLog(showLog) {}

    void add(const HostRecord& entry);

    // The event that the last records belong to has been handled; `state` is that of its app now.
    void endEvent(int32_t state);

    // The app of the launch that is being handled; empty for any other event.
    const std::string& launchingApp() const { return mLaunch.app; }

    // Takes the apps' states for the table.
    template <class StateOf>
    void readStates(StateOf stateOf) {
        for (auto& [app, totals] : mApps) {
            totals.state = stateOf(app);
        }
    }

    // The table, with what is stored of the apps in the end.
    void printTable(const LearningStore& store);

 private:
    struct Launch {
        bool isLaunch = false;  // the event being handled is one
        int64_t t = 0;
        std::string app;
        std::optional<int32_t> defaultBoostMs;
        std::optional<int32_t> launchBoostMs;
        bool measuring = false;
    };
    struct Totals {
        int launches = 0;
        int measured = 0;
        int32_t state = 0;
    };

    void addRecord(int64_t t, const record::Event& event);
    void addRecord(int64_t t, const record::HintAcqRel& boost);
    void addRecord(int64_t t, const record::Hint& boost);
    void addRecord(int64_t t, const record::Meter& event);
    void addRecord(int64_t t, const record::Measured& run);
    void addRecord(int64_t t, const record::State& change);
    void addRecord(int64_t t, const record::Forget& removal);
    void addRecord(int64_t t, const record::Log& line);
    template <class Other>
    void addRecord(int64_t, const Other&) {}

    void printNote(int64_t t, const std::string& app, const std::string& note);
    void printHeader();

    std::ostream& mOut;
    bool mShowLog;
    bool mPrintedHeader = false;
    Launch mLaunch;
    std::map<std::string, Totals> mApps;
};

}  // namespace kestrel
