// What `explain` says is what the plug-in then does.

#include "tools/store/Explanation.h"

#include <cstring>
#include <random>

#include "tests/support/FeatureFixture.h"

namespace kestrel {

namespace {

constexpr int ROUNDS = 20 / KESTREL_SWEEP_STRIDE + 1;
constexpr int APPS = 200;  // in the stores at the same time

struct App {
    std::string name;
    int32_t launchType;
    int32_t appClass;
};

// Some names are longer than the performance service takes.
std::string nameOf(int number) {
    return "app" + std::to_string(number) + std::string(number % 50 == 0 ? 127 : 0, 'x');
}

int32_t classOf(int number) {
    return number % 6 - 1;
}

std::map<std::string, int32_t> appClasses() {
    std::map<std::string, int32_t> classes;
    for (int i = 0; i < ROUNDS * APPS; ++i) {
        classes[nameOf(i)] = classOf(i);
    }
    return classes;
}

class RandomStores {
 public:
    int among(std::initializer_list<int> values) {
        return values
            .begin()[std::uniform_int_distribution<std::size_t>(0, values.size() - 1)(mRandom)];
    }
    int between(int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(mRandom);
    }

    // Around a centre of the app's own, with what is left out of averages.
    std::vector<int> durations(int centre) {
        std::vector<int> durations(static_cast<std::size_t>(between(0, 14)));
        const bool noneMeasured = between(0, 9) == 0;
        for (int& duration : durations) {
            const int outlier = among({0, 1, centre / 10, centre / 9, centre * 3, -7});
            duration = between(0, 3) == 0 ? outlier : between(centre / 2, centre * 2);
            duration = noneMeasured ? among({0, 0, 0, -1}) : duration;
        }
        return durations;
    }

    KSPerfdOutput record() {
        KSPerfdOutput record{};
        record.boostType = among({0, 8, 9});
        record.launchDuration = between(-1, 20000);
        record.launchCount = among({0, 7, 98, 99, 100, 2147483647, -3});
        record.retriggered = among({0, 0, 0, 1, 2});
        return record;
    }

 private:
    std::mt19937 mRandom{20240611};  // NOLINT: the same stores each time
};

class ExplanationTest : public FeatureTest {
 public:
    ExplanationTest() : FeatureTest({.knobs = std::nullopt, .appClasses = appClasses()}) {}

 protected:
    LearningStore readStore() {
        return readLearningStore(mHost.databaseDirectory(), "KestrelStarts");
    }

    // An app of which anything may be stored.
    App store(RandomStores& random, int number) {
        const App app{nameOf(number), random.among({0, 0, 1, 2, 2, 3}), classOf(number)};
        storeLaunches(app.name, random.durations(random.among({300, 1000, 1800, 5000, 20000})));
        const int state = random.among({-2, 0, 0, 0, 0, 2, 2, 4, 4, 4, 1, 3, 5, 50, 99, -1});
        if (state != -2) {
            mFeature.mFeatureState.writeState(app.name, static_cast<AppState>(state));
        }
        for (int count = random.among({0, 0, 1, 1, 1, 1, 2}); count > 0; --count) {
            storeRecord(app.name, random.record());
        }
        return app;
    }

    void forget(const App& app) {
        std::string name = app.name;
        for (int i = 0; i < 2; ++i) {
            mFeature.removeFromDatabase(action(), name);
        }
    }

    // Each pass leaves what it does not tell as removed.
    static void expectConsistentPasses(const DurationEvaluation& e) {
        for (std::size_t i = 0; i < e.passes.size(); ++i) {
            std::vector<int> left = e.passes[i].values;
            const auto& examined = e.passes[i].seen.examined;
            for (auto one = examined.rbegin(); one != examined.rend(); ++one) {
                if (one->removed) {
                    left.erase(left.begin() + static_cast<std::ptrdiff_t>(one->index));
                }
            }
            EXPECT_EQ(left, i + 1 < e.passes.size() ? e.passes[i + 1].values : e.kept);
        }
    }

    void expectAgreement(const App& app, const Explanation& x) {
        mHost.takeLog();
        AsyncTriggerPayload launch = launchOf(app.name);
        launch.launchType = app.launchType;
        mFeature.runAsync(launch);

        const auto exports = mHost.records<record::Export>();
        if (!exports.empty() && exports.front().text == "Duration is SkewEnforced old ") {
            EXPECT_EQ(exports.front().value, x.evaluation->average);
            EXPECT_NE(x.evaluation->clamped, x.evaluation->average);
        }
        const auto boosts = mHost.records<record::Hint>();
        ASSERT_EQ(boosts.size(), x.launchBoostMs ? 1U : 0U);
        EXPECT_EQ(boosts.empty() ? 0 : boosts.front().duration, x.launchBoostMs.value_or(0));
        const auto defaults = mHost.records<record::HintAcqRel>();
        EXPECT_EQ(defaults.empty() ? 0 : defaults.front().duration, x.defaultBoostMs.value_or(0));
        EXPECT_EQ(x.evaluation && x.evaluation->isUnusable, x.next == NextStep::disables);
        EXPECT_EQ(!mHost.records<record::Meter>().empty(), x.isMeasured);
        EXPECT_EQ(mFeature.mFeatureState.readState(app.name), x.stateAfter);
    }

    static void expectStored(const StoredApp& after, const Explanation& x) {
        EXPECT_EQ(after.launches.size(), x.launchesAfter);
        ASSERT_EQ(after.records.empty(), !x.recordAfter);
        if (x.recordAfter) {
            EXPECT_EQ(std::memcmp(&after.records.front(), &*x.recordAfter, sizeof(KSPerfdOutput)),
                      0);
            EXPECT_EQ(after.records.front().launchDuration, x.recordAfter->launchDuration);
        }
    }
};

TEST_F(ExplanationTest, AgreesWithThePlugInOnRandomStores) {
    RandomStores random;
    std::map<NextStep, int> seen;
    for (int round = 0; round < ROUNDS; ++round) {
        std::vector<App> apps;
        apps.reserve(APPS);
        for (int i = 0; i < APPS; ++i) {
            apps.push_back(store(random, round * APPS + i));
        }
        LearningStore before = readStore();
        ASSERT_FALSE(before.isDamaged());
        const FeatureState started("KestrelStarts");  // as when the host starts
        std::map<std::string, Explanation> explanations;
        for (const App& app : apps) {
            SCOPED_TRACE(app.name);
            const Explanation x =
                explain(app.name, before.apps[app.name], app.launchType, app.appClass);
            ++seen[x.next];
            expectAgreement(app, x);
            expectConsistentPasses(x.evaluation.value_or(DurationEvaluation{}));
            explanations[app.name] = x;
        }
        LearningStore after = readStore();
        for (const App& app : apps) {
            SCOPED_TRACE(app.name);
            expectStored(after.apps[app.name], explanations[app.name]);
            forget(app);
        }
    }
    EXPECT_EQ(seen.size(), 7U) << "every step was seen";
}

}  // namespace

}  // namespace kestrel
