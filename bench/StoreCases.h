#pragma once

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "bench/BareTable.h"
#include "bench/BenchTools.h"

// The store's cases, the same for every contender. A contender is a class template over the
// payload:
//   explicit Contender(std::string path)   opens; an empty path stands for memory
//   sqlite3* db()
//   void make(int n, const char* app)      n new rows in hand
//   void load(const BareKey& key)          the stored rows that match in hand
//   void change()                          other payloads in the rows in hand
//   void write()                           stores the rows in hand and gives them up
//   void erase()                           deletes the rows in hand and gives them up
//   int read(const BareKey& key)           reads rows and gives them up; how many
//   int count(const BareKey& key)
// Rows carry what fill() puts into them.

struct SmallPayload {
    int32_t values[2];
};
struct LargePayload {
    int32_t values[134];
};
static_assert(sizeof(SmallPayload) == 8 && sizeof(LargePayload) == 536);

inline constexpr const char* BENCH_TABLE = "launches";
inline constexpr int32_t BENCH_INT = 4225;
inline constexpr const char* BENCH_APP = "com.example.gallery.viewer/.MainActivity";
inline constexpr const char* OTHER_APP = "com.example.mail.client.app/.InboxActivity";

// The same in every contender's rows.
template <class Row>
void fillRow(Row& row, int n, const char* app) {
    row.intcol1 = BENCH_INT;
    row.appName = app;
    for (int32_t& value : row.blob.values) {
        value = n;
    }
}

template <class Row>
void changeRow(Row& row) {
    for (int32_t& value : row.blob.values) {
        ++value;
    }
}

enum class StoreCall { write, update, readKey, readAll, count, erase };

struct StoreCase {
    const char* name;
    StoreCall call;
    int rows;
};

// Reads by key and counts find as many rows of another app in the table as of the one they select.
inline constexpr StoreCase STORE_CASES[] = {
    {"write/1", StoreCall::write, 1},
    {"write/10", StoreCall::write, 10},
    {"write/100", StoreCall::write, 100},
    {"write/10000", StoreCall::write, 10000},
    {"update/1", StoreCall::update, 1},
    {"update/100", StoreCall::update, 100},
    {"read-key/1", StoreCall::readKey, 1},
    {"read-key/100", StoreCall::readKey, 100},
    {"read-key/10000", StoreCall::readKey, 10000},
    {"read-all/1", StoreCall::readAll, 1},
    {"read-all/100", StoreCall::readAll, 100},
    {"read-all/10000", StoreCall::readAll, 10000},
    {"count/1", StoreCall::count, 1},
    {"count/100", StoreCall::count, 100},
    {"delete/1", StoreCall::erase, 1},
    {"delete/100", StoreCall::erase, 100},
};

template <class Contender>
void storeRows(Contender& contender, int n, const char* app) {
    contender.make(n, app);
    contender.write();
}

// One timed call and, not timed, what it needs before and what takes its traces away.
template <class Contender, class Timed>
void runCase(Contender& contender, const StoreCase& c, Timed timed) {
    const BareKey key{BENCH_APP, BENCH_INT};
    int found = c.rows;
    switch (c.call) {
        case StoreCall::write:
            contender.make(c.rows, BENCH_APP);
            timed([&] { contender.write(); });
            runSql(contender.db(), "DELETE FROM launches");
            break;
        case StoreCall::update:
            contender.load(key);
            contender.change();  // what stays the same does not reach the file
            timed([&] { contender.write(); });
            break;
        case StoreCall::readKey:
            timed([&] { found = contender.read(key); });
            break;
        case StoreCall::readAll:
            timed([&] { found = contender.read({}); });
            break;
        case StoreCall::count:
            timed([&] { found = contender.count(key); });
            break;
        case StoreCall::erase:
            contender.load(key);
            timed([&] { contender.erase(); });
            storeRows(contender, c.rows, BENCH_APP);
            break;
    }
    if (found != c.rows) {
        std::fprintf(stderr, "%s: found %d rows\n", c.name, found);
        std::exit(1);
    }
}

// The rows that a case begins with.
template <class Contender>
void prepareCase(Contender& contender, const StoreCase& c) {
    if (c.call == StoreCall::write) {
        return;
    }
    storeRows(contender, c.rows, BENCH_APP);
    if (c.call == StoreCall::readKey || c.call == StoreCall::count) {
        storeRows(contender, c.rows, OTHER_APP);
    }
}

// A path at which nothing is, in the working directory; nobody removes the files.
inline std::string newPath() {
    static int number = 0;
    const std::string name = std::to_string(getpid()) + "-" + std::to_string(++number) + ".db";
    return std::filesystem::current_path() / name;
}

template <class Contender>
std::string placeFor(bool onFile) {
    return onFile ? newPath() : std::string();
}

// The contenders' turns at one case follow each other closely, so that what disturbs the machine
// disturbs all of them: the time of each turn in ns, and of each against the same turn of the
// first.
template <class... Contenders>
void measureCase(benchmark::State& state, const StoreCase& c, bool onFile,
                 const std::vector<const char*>& names) {
    std::tuple<Contenders...> contenders{placeFor<Contenders>(onFile)...};
    std::vector<std::vector<double>> times(names.size());
    const auto takeTurn = [&](auto& contender, std::vector<double>& turns) {
        runCase(contender, c, [&](auto call) {
            const auto begin = BenchClock::now();
            call();
            turns.push_back(nanoseconds(BenchClock::now() - begin));
        });
    };
    std::apply([&](auto&... each) { (prepareCase(each, c), ...); }, contenders);
    for ([[maybe_unused]] auto iteration : state) {
        std::size_t i = 0;
        std::apply([&](auto&... each) { (takeTurn(each, times[i++]), ...); }, contenders);
        double all = 0;
        for (const auto& turns : times) {
            all += turns.back();
        }
        state.SetIterationTime(all * 1e-9);
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::vector<double> ratios(times[i].size());
        std::transform(times[i].begin(), times[i].end(), times[0].begin(), ratios.begin(),
                       std::divides<>());
        state.counters[names[i]] = quantile(times[i], 0.5);
        state.counters[std::string(names[i]) + "/" + names[0]] = quantile(ratios, 0.5);
    }
}

// Registers the cases as PLACE/SIZE/CASE. The first contender is what the others are compared with.
template <template <class> class... Contenders>
void registerCases(const std::vector<const char*>& names) {
    const auto add = [&](const std::string& name, auto measure) {
        benchmark::RegisterBenchmark(name.c_str(), measure)->UseManualTime();
    };
    for (const StoreCase& c : STORE_CASES) {
        for (const bool onFile : {false, true}) {
            const std::string place = onFile ? "file/" : "memory/";
            add(place + "8/" + c.name, [=, &c](benchmark::State& state) {
                measureCase<Contenders<SmallPayload>...>(state, c, onFile, names);
            });
            add(place + "536/" + c.name, [=, &c](benchmark::State& state) {
                measureCase<Contenders<LargePayload>...>(state, c, onFile, names);
            });
        }
    }
}

// All rows of the table as text.
inline std::string dumpTable(sqlite3* db) {
    std::string text;
    const auto add = [](void* out, int count, char** columns, char**) {
        for (int i = 0; i < count; ++i) {
            *static_cast<std::string*>(out) += columns[i] != nullptr ? columns[i] : "NULL";
            *static_cast<std::string*>(out) += i + 1 < count ? '|' : '\n';
        }
        return 0;
    };
    expectSql(db,
              sqlite3_exec(db, "SELECT rowid, intcol1, appName, rsvdName, hex(blob) FROM launches",
                           add, &text, nullptr));
    return text;
}

// What every case leaves behind, in one text.
template <class Contender>
std::string outcome() {
    std::string text;
    for (const StoreCase& c : STORE_CASES) {
        Contender contender{std::string()};
        prepareCase(contender, c);
        runCase(contender, c, [&](auto call) {
            call();
            text += dumpTable(contender.db());
        });
    }
    return text;
}

// Ends the program unless both contenders do the same.
template <class Contender, class Reference>
void expectSameOutcome(const char* name) {
    if (outcome<Contender>() != outcome<Reference>()) {
        std::fprintf(stderr, "%s does not leave the rows that bare SQL leaves\n", name);
        std::exit(1);
    }
}

// The rows of a contender that are to be written or deleted.
template <class Payload>
class RowsInHand {
 public:
    using Row = BareRow<Payload>;

    void make(int n, const char* app) {
        mRows.clear();
        for (int i = 0; i < n; ++i) {
            fillRow(newRow(), i, app);
        }
    }

    void change() {
        for (const auto& row : mRows) {
            changeRow(*row);
        }
    }

 protected:
    Row& newRow() { return *mRows.emplace_back(std::make_unique<Row>()); }

    std::vector<std::unique_ptr<Row>> mRows;
};

// Bare SQL, which keeps the rows that it has written, and reads into one row that is used again.
template <class Payload>
class Bare : public RowsInHand<Payload> {
 public:
    using Row = BareRow<Payload>;

    explicit Bare(const std::string& path)
        : mDb(openBare(path, BENCH_TABLE)), mTable(mDb, BENCH_TABLE) {}
    ~Bare() { sqlite3_close(mDb); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    sqlite3* db() { return mDb; }

    void load(const BareKey& key) {
        this->mRows.clear();
        mTable.readInto(key, [&]() -> Row& { return this->newRow(); }, [](const Row&) {});
    }

    void write() {
        mTable.writeEach(each(), [] {});
    }
    void erase() { mTable.eraseEach(each()); }
    int count(const BareKey& key) { return mTable.count(key); }

    int read(const BareKey& key) {
        int rows = 0;
        mTable.read(key, mRow, [&](const Row& row) {
            benchmark::DoNotOptimize(&row);
            ++rows;
        });
        return rows;
    }

 protected:
    auto each() {
        return [row = this->mRows.begin(), end = this->mRows.end()]() mutable -> const Row* {
            return row != end ? (row++)->get() : nullptr;
        };
    }

    sqlite3* mDb;
    BareTable<Payload> mTable;
    Row mRow;
};
