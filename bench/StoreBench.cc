// The store against SQLite's C interface: what the one costs on top of the other.

#include <list>
#include <memory>
#include <mutex>

#include "bench/StoreCases.h"
#include "lmdb/LMDatabaseImpl.h"

LMDB_INSTANTIATE(SmallPayload);
LMDB_INSTANTIATE(LargePayload);

namespace {

template <class Payload>
class Store {
 public:
    explicit Store(const std::string& path) : mStore(0, path, BENCH_TABLE) {
        mStore.dbDir.clear();
        if (mStore.openLMdb() != LMDB_SUCCESS) {
            std::exit(1);
        }
    }

    sqlite3* db() { return mStore.dbHandle; }

    void make(int n, const char* app) {
        mRows.clear();
        while (mRows.size() < static_cast<std::size_t>(n)) {
            const auto some = mStore.getRow(static_cast<std::size_t>(n) - mRows.size());
            mRows.insert(mRows.end(), some.begin(), some.end());
        }
        for (int i = 0; i < n; ++i) {
            fillRow(*mRows[static_cast<std::size_t>(i)], i, app);
        }
    }

    void load(const BareKey& key) { mRows = mStore.template readAllocateDR<Payload>(toKey(key)); }
    void change() {
        for (const auto& row : mRows) {
            changeRow(*row);
        }
    }

    void write() { mStore.template writeDeallocateDR<Payload>(mRows); }
    void erase() { mStore.template deleteDeallocateDR<Payload>(mRows); }
    int count(const BareKey& key) { return mStore.template getCountDR<Payload>(toKey(key)); }

    int read(const BareKey& key) {
        auto rows = mStore.template readAllocateDR<Payload>(toKey(key));
        const int found = static_cast<int>(rows.size());
        mStore.freeRow(rows);
        return found;
    }

 private:
    LMDBDataRowKey& toKey(const BareKey& key) {
        mKey.intcol1 = key.intcol1;
        mKey.appName = key.appName != nullptr ? key.appName : "";
        return mKey;
    }

    LMDatabase<Payload> mStore;
    typename LMDBDataTable<Payload>::vecT mRows;
    LMDBDataRowKey mKey;
};

// Bare SQL on rows as the store's contract wants them: each in a memory of its own, and written by
// way of a list, which takes and gives each row under a lock, and freed between the last row and
// the commit.
template <class Payload>
class OwningBare : public Bare<Payload> {
 public:
    using Row = BareRow<Payload>;
    using Bare<Payload>::Bare;

    void write() {
        for (std::unique_ptr<Row>& row : this->mRows) {
            const std::lock_guard<std::mutex> lock(mMutex);
            mCached.push_back(std::move(row));
        }
        this->mRows.clear();
        std::list<std::unique_ptr<Row>> taken;
        const auto next = [&]() -> const Row* {
            const std::lock_guard<std::mutex> lock(mMutex);
            if (mCached.empty()) {
                return nullptr;
            }
            taken.splice(taken.end(), mCached, mCached.begin());
            return taken.back().get();
        };
        this->mTable.writeEach(next, [&] { taken.clear(); });
    }

    void erase() {
        Bare<Payload>::erase();
        this->mRows.clear();
    }

    int read(const BareKey& key) {
        std::vector<std::unique_ptr<Row>>().swap(this->mRows);  // a vector of each call's own
        this->load(key);
        const int found = static_cast<int>(this->mRows.size());
        this->mRows.clear();
        return found;
    }

 private:
    std::list<std::unique_ptr<Row>> mCached;
    std::mutex mMutex;
};

}  // namespace

int main(int argc, char** argv) {
    keepFreedMemory();
    expectSameOutcome<Store<SmallPayload>, Bare<SmallPayload>>("the store");
    expectSameOutcome<OwningBare<SmallPayload>, Bare<SmallPayload>>("bare SQL that owns its rows");
    expectSameOutcome<Store<LargePayload>, Bare<LargePayload>>("the store");
    registerCases<Bare, OwningBare, Store>({"bare", "owning", "store"});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
}
