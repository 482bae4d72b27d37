#include "tools/input/exports/BenchmarkResults.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include "tools/base/InputError.h"
#include "tools/base/JsonStream.h"
#include "tools/input/LaunchEvents.h"

namespace kestrel {

namespace {

enum Place : int {
    root = JsonListener::KS_ROOT,
    benchmarks,
    benchmark,
    metrics,
    display,
    runs,
    run,
};

constexpr std::array<JsonStep, 6> KS_STEPS{{{root, "benchmarks", benchmarks},
                                            {benchmarks, std::nullopt, benchmark},
                                            {benchmark, "metrics", metrics},
                                            {metrics, "timeToInitialDisplayMs", display},
                                            {display, "runs", runs},
                                            {runs, std::nullopt, run}}};

// From a first frame to the next launch; half of it the launcher is in front.
constexpr int64_t KS_GAP_MS = 10'000;

// No startup takes longer.
constexpr double KS_MAX_RUN_MS = 3'600'000;

// No benchmark has more. A run is a few bytes of the document, but several events.
constexpr std::size_t KS_MAX_RUNS = 100'000;

std::optional<int64_t> durationMsOf(const JsonScalar& value) {
    double ms = -1;
    if (const auto* fraction = std::get_if<double>(&value)) {
        ms = *fraction;
    } else if (const auto* whole = std::get_if<int64_t>(&value)) {
        ms = static_cast<double>(*whole);
    }
    if (!(ms >= 0 && ms <= KS_MAX_RUN_MS)) {
        return std::nullopt;
    }
    return std::llround(ms);
}

class RunListener : public JsonListener {
 public:
    RunListener(const std::string& inputName, const std::string& package)
        : mInputName(inputName), mPackage(package) {}

    void begin(int place) override {
        if (place == benchmarks) {
            mHasList = true;
        } else if (place == benchmark) {
            mIsStartup = false;
            mHasRuns = false;
        } else if (place == display) {
            mIsStartup = true;
        } else if (place == runs) {
            mHasRuns = true;
        } else if (place == run) {  // a list of numbers, say
            ++mRuns;
            ++mBadEntries;
        }
    }

    void end(int place) override {
        if (place == benchmark && !mIsStartup) {
            ++mOtherEntries;
        } else if (place == benchmark && !mHasRuns) {
            ++mBadEntries;
        }
    }

    void scalar(int place, const JsonScalar& value, std::size_t line) override {
        if (place == run) {
            takeRun(value, line);
        } else if (place == benchmark) {
            ++mBadEntries;
        }
    }

    bool hasList() const { return mHasList; }

    ImportedInput take() {
        ImportedInput result{.objects = std::move(mObjects)};
        InputSummary& summary = result.summary;
        summary.kind = SourceKind::benchmark;
        summary.units = mRuns;
        summary.starts = mStarts;
        if (!result.objects.empty()) {
            summary.firstT = result.objects.front().t;
            summary.lastT = result.objects.back().t;
        }
        if (mOtherEntries > 0) {
            summary.notes.push_back({InputNote::Kind::otherEntries, mOtherEntries});
        }
        if (mBadEntries > 0) {
            summary.notes.push_back({InputNote::Kind::badEntries, mBadEntries});
        }
        return result;
    }

 private:
    void takeRun(const JsonScalar& value, std::size_t line) {
        if (++mRuns > KS_MAX_RUNS) {
            throw InputError(mInputName, line,
                             "more than " + std::to_string(KS_MAX_RUNS) + " runs");
        }
        const auto durationMs = durationMsOf(value);
        if (!durationMs) {
            ++mBadEntries;
            return;
        }
        int64_t t = 0;
        if (!mObjects.empty()) {
            t = mObjects.back().t + KS_GAP_MS;
            mObjects.push_back(appSwitch(t - KS_GAP_MS / 2, line, KS_BENCHMARK_LAUNCHER));
        }
        ++mStarts;
        mObjects.push_back(launchHint(t, line, mPackage));
        mObjects.push_back(firstFrame(t + *durationMs, line, mPackage));
    }

    const std::string& mInputName;
    const std::string& mPackage;
    TraceObjects mObjects;
    std::size_t mRuns = 0;
    std::size_t mStarts = 0;
    std::size_t mOtherEntries = 0;
    std::size_t mBadEntries = 0;
    bool mHasList = false;
    bool mIsStartup = false;  // the entry being read
    bool mHasRuns = false;    // it has a list of them
};

}  // namespace

ImportedInput readBenchmarkResults(ByteSource& source, const std::string& package) {
    RunListener listener(source.name(), package);
    readJson(source, KS_STEPS, listener);
    if (!listener.hasList()) {
        throw InputError(source.name() + ": no list \"benchmarks\", as benchmark results have it");
    }
    ImportedInput result = listener.take();
    result.summary.name = source.name();
    return result;
}

}  // namespace kestrel
