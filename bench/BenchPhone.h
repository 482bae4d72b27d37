#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "action/KestrelStartsAction.h"
#include "bench/BareTable.h"
#include "bench/BenchTools.h"
#include "feature/KestrelStartsFeature.h"
#include "host/DynamicLoader.h"
#include "host/linux/HostRuntime.h"
#include "host/linux/RelocatingVfs.h"
#include "tests/support/Payload.h"

inline constexpr const char* DEVICE_DIRECTORY = "/data/vendor/lm/";

// The three databases of the feature, by bare SQL.
struct BareStores {
    // `prefix` tells the files from those of the feature, or is empty and opens just these.
    explicit BareStores(const std::string& prefix)
        : inputDb(openBare(DEVICE_DIRECTORY + prefix + "KestrelStarts.db", "KestrelStarts")),
          outputDb(openBare(DEVICE_DIRECTORY + prefix + KS_OUTPUT_DB_FILE, KS_OUTPUT_TABLE)),
          stateDb(openBare(DEVICE_DIRECTORY + prefix + "KestrelStartsState.db", "app_state")),
          input(inputDb, "KestrelStarts"),
          output(outputDb, KS_OUTPUT_TABLE),
          state(stateDb, "app_state") {}
    ~BareStores() {
        for (sqlite3* db : {inputDb, outputDb, stateDb}) {
            sqlite3_close(db);
        }
    }
    BareStores(const BareStores&) = delete;
    BareStores& operator=(const BareStores&) = delete;

    sqlite3* inputDb;
    sqlite3* outputDb;
    sqlite3* stateDb;
    BareTable<KSInputDbData> input;
    BareTable<KSPerfdOutput> output;
    BareTable<AppState> state;
};

// The performance service: notes when it was asked, and keeps nothing.
struct BenchService {
    static inline BenchClock::time_point first;
    static inline BenchClock::time_point last;
    static inline int requests = 0;

    static int request() {
        last = BenchClock::now();
        if (++requests == 1) {
            first = last;
        }
        return 1;
    }

    static void connect() {
        DynamicLoader& loader = DynamicLoader::getInstance();
        loader.mPerfHint = [](int, const char*, int, int) { return request(); };
        loader.mPerfHintAcqRel = [](int, int, const char*, int, int, int, int*) {
            return request();
        };
        loader.mPerfLockRel = [](int) { return 0; };
    }
};

// The feature with its stores, on files or in memory, and nobody who reads its records.
class BenchPhone {
 public:
    explicit BenchPhone(bool onFile) {
        static sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);  // those below the root
        sqlite3_vfs_register(onFile ? files : sqlite3_vfs_find("memdb"), 1);
        kestrel::HostRuntime::instance().configure({.knobs = std::nullopt},
                                                   [](const kestrel::HostRecord&) {});
        BenchService::connect();
        delete std::exchange(KestrelStartsAction::mKSFbInstance, nullptr);
        FeatureInfo info{.featureName = "KestrelStarts"};
        info.ignoredApps = {"com.example.ignored.by.the.feature"};
        mFeature = std::make_unique<KestrelStartsFeature>(info);
        mFeature->mKapStatus = mFeature->mKgmStatus = KS_STATUS_ON;
        mFeature->mAttachHintEnabled = true;
        KestrelStartsAction::getInstance(mFeature.get());
    }

    struct Times {  // from the event, in ns; 0: there was no request
        double firstRequest;
        double lastRequest;
        double end;
    };

    Times deliver(AsyncTriggerPayload event) {
        BenchService::requests = 0;
        const auto begin = BenchClock::now();
        mFeature->runAsync(std::move(event));
        const auto end = BenchClock::now();
        mFeature->mMetaMeter->handOverFinishedRuns();
        if (BenchService::requests == 0) {
            return {0, 0, nanoseconds(end - begin)};
        }
        return {nanoseconds(BenchService::first - begin), nanoseconds(BenchService::last - begin),
                nanoseconds(end - begin)};
    }

    KestrelStartsFeature& feature() { return *mFeature; }

 private:
    std::unique_ptr<KestrelStartsFeature> mFeature;
};
