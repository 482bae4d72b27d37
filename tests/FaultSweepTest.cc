// Every operation with every call that can fail failing, one after the other: of the file system,
// of SQLite's memory, of our own. Nothing crashes or leaks, what is lost is what was told, and the
// next operation works. Each case in a process of its own: the singleton keeps the first root.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <set>

#include "host/Registry.h"
#include "lmdb/LMDBRows.h"
#include "tests/support/DatabaseFile.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FailingSqliteMemory.h"
#include "tests/support/FaultVfs.h"
#include "tests/support/FeatureFixture.h"
#include "tests/support/KnownLines.h"

namespace kestrel {

namespace {

// Too long to fit into a string object: each copy of a name is memory that can fail.
const std::string APP = "com.example.one.with.a.long.name/.MainActivity";
const std::string OTHER = "com.example.other.with.a.long.name";
const std::string COUNTED = "com.example.counted.with.a.long.name";
const std::string ADDED = "com.example.added.with.a.long.name";

// ---- what can fail

struct Fault {
    enum class Source { files, sqliteMemory, newReturnsNull, newThrows };

    const char* name;
    Source source;
    VfsCall call = VfsCall::open;
    int code = 0;
};

constexpr Fault FAULTS[] = {
    {"open", Fault::Source::files, VfsCall::open, SQLITE_CANTOPEN},
    {"read", Fault::Source::files, VfsCall::read, SQLITE_IOERR_READ},
    {"write", Fault::Source::files, VfsCall::write, SQLITE_IOERR_WRITE},
    {"disk full", Fault::Source::files, VfsCall::write, SQLITE_FULL},
    {"sync", Fault::Source::files, VfsCall::sync, SQLITE_IOERR_FSYNC},
    {"truncate", Fault::Source::files, VfsCall::truncate, SQLITE_IOERR_TRUNCATE},
    {"delete", Fault::Source::files, VfsCall::remove, SQLITE_IOERR_DELETE},
    {"access", Fault::Source::files, VfsCall::access, SQLITE_IOERR_ACCESS},
    {"file size", Fault::Source::files, VfsCall::fileSize, SQLITE_IOERR_FSTAT},
    {"lock", Fault::Source::files, VfsCall::lock, SQLITE_IOERR_LOCK},
    {"busy lock", Fault::Source::files, VfsCall::lock, SQLITE_BUSY},
    {"shared memory", Fault::Source::files, VfsCall::shmMap, SQLITE_IOERR_SHMMAP},
    {"shared lock", Fault::Source::files, VfsCall::shmLock, SQLITE_IOERR_SHMLOCK},
    {"busy shared lock", Fault::Source::files, VfsCall::shmLock, SQLITE_BUSY},
    {"SQLite's memory", Fault::Source::sqliteMemory},
    {"new that returns null", Fault::Source::newReturnsNull},
    {"new that throws", Fault::Source::newThrows},
};

// ---- what is done

class FaultSweepTest;

struct Operation {
    const char* name;
    bool changes;
    bool mayThrow;
    // What it tells is one store operation's, and compared as a whole; else line by line.
    bool isSimple;
    void (*run)(FaultSweepTest& test);

    friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

class FaultSweepTest : public FeatureTest, public testing::WithParamInterface<Operation> {
 public:
    // Above the one that relocates files, before the first database opens, and never destroyed: the
    // singleton's stays open.
    static void SetUpTestSuite() {
        RelocatingVfs::install("", false);
        vfs();
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(&noteStates));
    }

    static FaultVfs& vfs() {
        static FaultVfs& vfs = *new FaultVfs;
        return vfs;
    }

    // The same contents for every round.
    void prepare() {
        // What a failed flush has left waiting comes first, and goes.
        EXPECT_EQ(mFeature.mFeatureInputDb->LMDatabaseWriteCachedToDisk(), LMDB_SUCCESS);
        EXPECT_EQ(action()->mOutputDb->LMDatabaseWriteCachedToDisk(), LMDB_SUCCESS);
        EXPECT_EQ(cachedRows(*mFeature.mFeatureInputDb) + cachedRows(*action()->mOutputDb), 0U);
        mFeature.mFeatureState.writeState(COUNTED, APP_STATE_LEARNED);
        for (const auto& [file, table] : TABLES) {
            DatabaseFile(file).run("DELETE FROM " + table);
        }
        for (const auto& file : std::filesystem::directory_iterator(mHost.databaseDirectory())) {
            if (file.path().filename().string().starts_with("Other")) {
                std::filesystem::remove(file);
            }
        }
        // Raised to 750, as is the 0 of an average that failed.
        storeLaunches(APP, {700, 700, 700, 700, 700});
        storeLaunches(OTHER, {7, 8});
        storeRecord(OTHER, {.launchDuration = 7});
        storeRecord(COUNTED, {.launchDuration = 1350, .launchCount = 99});
        mFeature.mFeatureState.writeState(COUNTED, APP_STATE_LEARNED);
        mFeature.mPerfLockHandle = -1;
        mFeature.mLastLaunchedApp.clear();
        learning = launchOf(APP);
        counted = launchOf(COUNTED);
        removal = eventOf(APP, 4164, 0);
        learnedRemoval = eventOf(COUNTED, 4164, 0);
        meter.mTriggerPayloads = {launchOf(ADDED)};
        meter.measuredDuration = 500;
        meters = {&meter};
        LMDBDataRowKey others{4225, OTHER, ""};
        LMDatabase<KSInputDbData>& db = *mFeature.mFeatureInputDb;
        db.freeRow(stored);
        stored = db.readAllocateDR<KSInputDbData>(others);
        db.freeRow(waiting);
        waiting = db.getRow(2);
        waiting.front()->appName = waiting.back()->appName = ADDED;
        toCache = {waiting.begin(), waiting.end()};
        mHost.takeLog();
    }

    // What the host hands over: made before anything fails.
    AsyncTriggerPayload learning, counted, removal, learnedRemoval;
    LaunchMeter meter;
    std::vector<Meter*> meters;
    LMDBDataTable<KSInputDbData>::vecT stored;       // rows to delete
    LMDBDataTable<KSInputDbData>::vecT waiting;      // rows to cache, and
    std::list<LMDBDataRow<KSInputDbData>*> toCache;  // their places
    bool mThrew = false;
    static inline sqlite3* mStates = nullptr;  // the state store's connection, the first to open

    static int noteStates(sqlite3* db, char** /*error*/, const void* /*api*/) {
        mStates = mStates != nullptr ? mStates : db;
        return SQLITE_OK;
    }

    // All rows, without their identities.
    static std::multiset<std::string> contents() {
        std::multiset<std::string> rows;
        for (const auto& [file, table] : TABLES) {
            for (const std::string& row :
                 DatabaseFile(file).run("SELECT intcol1, appName, hex(blob) FROM " + table)) {
                rows.insert(std::string(table).append("|").append(row));
            }
        }
        return rows;
    }

    // True when the n-th call of its kind came, and failed.
    bool runWith(const Fault& fault, int n, bool lasting) {
        mThrew = false;
        const auto run = [this] {
            try {
                GetParam().run(*this);
            } catch (const std::bad_alloc&) {
                mThrew = true;
            }
        };
        switch (fault.source) {
            case Fault::Source::files:
                vfs().arm(fault.call, fault.code, n, lasting);
                run();
                return vfs().disarm() > 0;
            case Fault::Source::sqliteMemory:
                FailingSqliteMemory::arm(n, lasting);
                run();
                return FailingSqliteMemory::disarm() > 0;
            default: {
                const FailingAllocator failing(n, fault.source == Fault::Source::newThrows
                                                      ? FailingAllocator::Kind::throws
                                                      : FailingAllocator::Kind::returnsNull);
                run();
                return FailingAllocator::hasFailed();
            }
        }
    }

    // No statement lives and no transaction is open. Only when SQLite has no memory for as much as
    // a ROLLBACK one stays, and the next flush ends it.
    template <class Flush>
    static void expectAtRest(sqlite3* db, bool withoutMemory, Flush flush) {
        if (withoutMemory && sqlite3_get_autocommit(db) == 0) {
            flush();
        }
        EXPECT_EQ(sqlite3_get_autocommit(db), 1);
        EXPECT_EQ(sqlite3_next_stmt(db, nullptr), nullptr);
    }

    // Rows stay cached only when their flush could not be prepared or did not come, and then until
    // the next one.
    template <class T>
    void expectCached(LMDatabase<T>& db, const std::string& table, const Lines& lines,
                      bool noNextOne) {
        const auto told = [&lines](const std::string& beginning) {
            return std::ranges::any_of(
                lines, [&](const std::string& line) { return line.starts_with(beginning); });
        };
        const bool unprepared = told("writeCachedDRToDisk() 263: ERROR:Dbt=" + table) ||
                                told("writeCachedDRToDisk() 269: ERROR:Dbt=" + table);
        const bool cached = cachedRows(db) > 0;
        EXPECT_TRUE(!cached || unprepared || told("LMDB: writeCachedDRToDisk() 335: ") || mThrew);
        EXPECT_TRUE(cached || !unprepared || !noNextOne);
    }

    template <class T>
    static std::size_t cachedRows(LMDatabase<T>& db) {
        const std::lock_guard<std::mutex> lock(db.clstMutex);
        return db.clst.size();
    }

    static inline const std::pair<std::string, std::string> TABLES[] = {
        {"/data/vendor/lm/KestrelStarts.db", "KestrelStarts"},
        {"/data/vendor/lm/KestrelStartsAction.db", "output_table"},
        {"/data/vendor/lm/KestrelStartsState.db", "app_state"}};
};

TEST_P(FaultSweepTest, LosesWhatItTellsAndGoesOn) {
    ASSERT_TRUE(FailingSqliteMemory::isInstalled());
    ASSERT_TRUE(std::string(sqlite3_db_filename(mStates, "main")).ends_with("State.db"));
    prepare();
    for (const auto& [file, table] : TABLES) {
        ASSERT_EQ(DatabaseFile(file).run("PRAGMA journal_mode"), Lines{"wal"});
    }
    const auto before = contents();
    GetParam().run(*this);
    const auto wanted = contents();
    EXPECT_EQ(wanted != before, GetParam().changes);
    std::multiset<std::string> untouched;
    std::ranges::set_intersection(before, wanted, std::inserter(untouched, untouched.end()));
    // A row is as it was, as it is to be or, of a state, one that it passes through.
    std::multiset<std::string> whole = wanted;
    whole.insert(before.begin(), before.end());
    for (const auto& state : mHost.records<record::State>()) {
        whole.insert("app_state|NULL|" + state.app + "|0" + std::to_string(state.state) + "000000");
    }
    // A failed read counts as no record, and a launch that is counted then begins a new one.
    whole.insert("output_table|4225|" + COUNTED + "|" + std::string(1056, '0') +
                 "0100000000000000");
    const Lines wantedLines = mHost.takeLog();
    std::map<Fault::Source, int> points;
    std::set<Lines> told;
    for (const Fault& fault : FAULTS) {
        const bool ofOurOwn = fault.source == Fault::Source::newReturnsNull ||
                              fault.source == Fault::Source::newThrows;
        for (const bool lasting : {false, true}) {
            bool hit = !(ofOurOwn && lasting);
            for (int n = 1; hit && !HasFailure(); n += KESTREL_SWEEP_STRIDE) {
                SCOPED_TRACE(testing::Message()
                             << fault.name << " number " << n << (lasting ? " and all later" : ""));
                prepare();
                hit = runWith(fault, n, lasting);
                EXPECT_TRUE(GetParam().mayThrow || !mThrew);
                points[fault.source] += hit ? 1 : 0;
                const Lines lines = mHost.takeLog();
                const bool withoutMemory = lasting && fault.source == Fault::Source::sqliteMemory;
                expectCached(*mFeature.mFeatureInputDb, "KestrelStarts", lines,
                             lasting && GetParam().changes);
                expectCached(*action()->mOutputDb, "output_table", lines,
                             lasting && GetParam().changes);
                LMDatabase<KSInputDbData>& input = *mFeature.mFeatureInputDb;
                LMDatabase<KSPerfdOutput>& output = *action()->mOutputDb;
                expectAtRest(input.dbHandle, withoutMemory,
                             [&] { input.LMDatabaseWriteCachedToDisk(); });
                expectAtRest(output.dbHandle, withoutMemory,
                             [&] { output.LMDatabaseWriteCachedToDisk(); });
                expectAtRest(mStates, withoutMemory, [&] {
                    mFeature.mFeatureState.writeState(COUNTED, APP_STATE_LEARNED);
                });
                const auto left = contents();
                EXPECT_TRUE(std::ranges::includes(left, untouched)) << "others' rows are gone";
                if (left != wanted && !mThrew) {
                    EXPECT_NE(lines, wantedLines) << "lost without a word";
                }
                for (const std::string& row : left) {
                    EXPECT_TRUE(whole.contains(row)) << row;
                }
                if (GetParam().isSimple) {
                    told.insert(lines);
                } else {
                    std::ranges::transform(lines, std::inserter(told, told.end()),
                                           [](const std::string& line) { return Lines{line}; });
                }
                ASSERT_LT(n, 5000);
            }
        }
    }
    expectKnown(told, GetParam().name);
    std::cout << "points: " << points[Fault::Source::files] << " of files, "
              << points[Fault::Source::sqliteMemory] << " of SQLite's memory, "
              << points[Fault::Source::newReturnsNull] + points[Fault::Source::newThrows]
              << " of our own\n";
    EXPECT_GT(points[Fault::Source::sqliteMemory], 0);
    EXPECT_GT(points[Fault::Source::files], 0);
    prepare();
    GetParam().run(*this);
    EXPECT_EQ(contents(), wanted);
    mFeature.mFeatureInputDb->freeRow(stored);
    mFeature.mFeatureInputDb->freeRow(waiting);
}

const Operation OPERATIONS[] = {
    {"Flush", true, true, true,
     [](auto& test) {
         LMDatabase<KSInputDbData>& db = *test.mFeature.mFeatureInputDb;
         LMDBDataRowKey key{4225, OTHER, ""};
         LMDBRows<KSInputDbData> stored(db, db.template readAllocateDR<KSInputDbData>(key));
         LMDBRows<KSInputDbData> added(db, db.getRow(2));
         for (auto* rows : {&stored.rows, &added.rows}) {
             for (auto* row : *rows) {
                 row->appName = ADDED;
             }
             db.template writeDeallocateDR<KSInputDbData>(*rows);
             EXPECT_TRUE(rows->empty());
         }
     }},
    {"FlushCached", true, false, true,
     [](auto& test) {
         LMDatabase<KSInputDbData>& db = *test.mFeature.mFeatureInputDb;
         {
             const std::lock_guard<std::mutex> lock(db.clstMutex);
             db.clst.splice(db.clst.end(), test.toCache);
             test.waiting.clear();
         }
         db.LMDatabaseWriteCachedToDisk();
     }},
    {"Delete", true, false, true,
     [](auto& test) {
         test.mFeature.mFeatureInputDb->template deleteDeallocateDR<KSInputDbData>(test.stored);
         EXPECT_TRUE(test.stored.empty());
     }},
    {"Open", false, true, true,
     [](auto&) {
         LMDatabase<KSInputDbData> db(0, "opened.db", "launches");
         if (db.openLMdb() != LMDB_SUCCESS && db.dbHandle != nullptr) {
             EXPECT_EQ(sqlite3_next_stmt(db.dbHandle, nullptr), nullptr);
         }
     }},
    {"Learn", true, false, false,
     [](auto& test) { test.mFeature.runAsync(std::move(test.learning)); }},
    {"Relearn", true, false, false,
     [](auto& test) { test.mFeature.runAsync(std::move(test.counted)); }},
    {"Remove", true, false, false,
     [](auto& test) { test.mFeature.runAsync(std::move(test.removal)); }},
    {"RemoveLearned", true, false, false,
     [](auto& test) { test.mFeature.runAsync(std::move(test.learnedRemoval)); }},
    {"Measure", true, false, true,
     [](auto& test) { test.mFeature.mMetaMeter->writeToDataBase(std::move(test.meters)); }},
    {"Query", false, true, true,
     [](auto& test) {
         std::string app = APP;
         featureData data;
         test.mFeature.getData(app, data, 3);
     }},
    {"Feedback", false, false, true,
     [](auto&) {
         mpctl_msg_t message{};
         message.hintId = 4225;
         OTHER.copy(message.appName, sizeof(message.appName) - 1);
         const int result = KestrelStartsAction::FeedbackCB(&message);
         EXPECT_EQ(result == 0, message.duration != 0);
     }},
    {"Construct", false, true, false,
     [](auto&) {
         const std::unique_ptr<Feature> feature(
             createClassObj<Feature, FeatureInfo, KestrelStartsFeature>(
                 FeatureInfo{.featureName = "Other", .disabledApps = {ADDED}}));
     }},
    {"MakeSingleton", false, false, true,
     [](auto&) {
         struct Other {
             ~Other() {
                 delete KestrelStartsAction::mKSFbInstance;
                 KestrelStartsAction::mKSFbInstance = kept;
             }
             KestrelStartsAction* kept = std::exchange(KestrelStartsAction::mKSFbInstance, nullptr);
         } other;
         KestrelStartsAction::getInstance(nullptr);
     }},
};

INSTANTIATE_TEST_SUITE_P(Operations, FaultSweepTest, testing::ValuesIn(OPERATIONS),
                         [](const auto& info) { return info.param.name; });

}  // namespace

}  // namespace kestrel
