// Everybody at once, within what the contract promises: the thread sanitizer tells what races.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>

#include "tests/support/FeatureFixture.h"

namespace kestrel {

namespace {

using ThreadTest = FeatureTest;

// Starts all bodies together and waits for their ends.
void together(const std::vector<std::function<void()>>& bodies) {
    std::latch start(static_cast<std::ptrdiff_t>(bodies.size()));
    std::vector<std::thread> threads;
    threads.reserve(bodies.size());
    for (const auto& body : bodies) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            body();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// The event worker and the meter thread take turns, as the host lets them; queries and feedback
// calls come from anywhere at any time.
TEST_F(ThreadTest, QueriesAndFeedbackWhileLaunchesAreLearned) {
    const std::string app = "com.a/.Main";
    std::atomic<bool> done{false};
    const auto query = [&] {
        while (!done) {
            std::string name = app;
            featureData data;
            mFeature.getData(name, data, 3);
            EXPECT_GE(data.value, 0);
        }
    };
    const auto feedback = [&] {
        while (!done) {
            mpctl_msg_t message{};
            message.hintId = 4225;
            app.copy(message.appName, sizeof(message.appName) - 1);
            EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), 0);
            EXPECT_TRUE(message.duration == 15000 || message.duration == 750) << message.duration;
        }
    };
    const auto events = [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        for (int64_t t = 0; std::chrono::steady_clock::now() < end; t += 1000) {
            for (const auto& event :
                 {launchOf(app), eventOf(app, 4103, 0), eventOf("com.home", 4097, 0)}) {
                HostRuntime::instance().setTime(t += 100);
                mFeature.runAsync(event);
                mFeature.mMetaMeter->handOverFinishedRuns();
            }
            if (t % 7 == 0) {
                mFeature.runAsync(eventOf(app, 4164, 0));
            }
        }
        done = true;
    };
    together({events, query, query, feedback, feedback});
}

TEST_F(ThreadTest, TheFirstInstanceIsTheOnlyOne) {
    std::vector<KestrelStartsAction*> instances(4);
    std::vector<std::function<void()>> bodies;
    bodies.reserve(instances.size());
    for (KestrelStartsAction*& instance : instances) {
        bodies.emplace_back([&] { instance = KestrelStartsAction::getInstance(nullptr); });
    }
    together(bodies);
    EXPECT_NE(instances.front(), nullptr);
    EXPECT_EQ(instances, std::vector(4, instances.front()));
}

LMDBDataTable<KSInputDbData>::vecT newRows(LMDatabase<KSInputDbData>& db, std::size_t count) {
    auto rows = db.getRow(count);
    for (auto* row : rows) {
        row->appName = "com.a";
    }
    return rows;
}

TEST_F(ThreadTest, AFlushTakesWhatOthersCacheMeanwhile) {
    LMDatabase<KSInputDbData>& db = *mFeature.mFeatureInputDb;
    constexpr int ROWS = 2000;
    const auto cache = [&] {
        for (int i = 0; i < ROWS; ++i) {
            auto rows = newRows(db, 1);
            const std::lock_guard<std::mutex> lock(db.clstMutex);
            db.clst.push_back(rows.front());
        }
    };
    const auto flush = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(db.LMDatabaseWriteCachedToDisk(), LMDB_SUCCESS);
        }
    };
    together({cache, cache, flush});
    EXPECT_EQ(db.LMDatabaseWriteCachedToDisk(), LMDB_SUCCESS);
    LMDBDataRowKey all;
    EXPECT_EQ(db.getCountDR<KSInputDbData>(all), 2 * ROWS);
    EXPECT_EQ(mHost.takeLog(), Lines{});
}

// Not promised: two flushes at once share the connection's one transaction. Then a BEGIN or a
// COMMIT fails and says so; a rollback may take rows of the other flush with it; the store stays
// usable.
TEST_F(ThreadTest, TwoFlushesAtOnceLoseNothingInSilence) {
    LMDatabase<KSInputDbData>& db = *mFeature.mFeatureInputDb;
    constexpr int ROUNDS = 300;
    const auto flush = [&] {
        for (int i = 0; i < ROUNDS; ++i) {
            auto rows = newRows(db, 3);
            db.writeDeallocateDR<KSInputDbData>(rows);
        }
    };
    together({flush, flush});
    const Lines lines = mHost.takeLog();
    LMDBDataRowKey all;
    const int stored = db.getCountDR<KSInputDbData>(all);
    EXPECT_LE(stored, 2 * 3 * ROUNDS);
    EXPECT_TRUE(stored == 2 * 3 * ROUNDS || !lines.empty());
    EXPECT_EQ(sqlite3_get_autocommit(db.dbHandle), 1);
    auto rows = newRows(db, 1);
    EXPECT_EQ(db.writeDeallocateDR<KSInputDbData>(rows), LMDB_SUCCESS);
    EXPECT_EQ(db.getCountDR<KSInputDbData>(all), stored + 1);
    std::cout << stored << " of " << 2 * 3 * ROUNDS << " rows stored, " << lines.size()
              << " lines\n";
}

}  // namespace

}  // namespace kestrel
