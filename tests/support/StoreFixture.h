#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "learning/LearningRecords.h"
#include "tests/support/TestHost.h"

namespace kestrel {

using InputDb = LMDatabase<KSInputDbData>;
using Rows = LMDBDataTable<KSInputDbData>::vecT;

// A store of launches on a real file.
class StoreTest : public testing::Test {
 protected:
    std::unique_ptr<InputDb> open() {
        auto db = std::make_unique<InputDb>(0, "test.db", "launches");
        EXPECT_EQ(db->openLMdb(), LMDB_SUCCESS);
        return db;
    }

    static LMDBDataRow<KSInputDbData>* newRow(InputDb& db, const std::string& app,
                                              int32_t durationMs) {
        LMDBDataRow<KSInputDbData>* row = db.getRow(1).front();
        row->appName = app;
        row->intcol1 = 4225;
        row->blob.launchDuration = durationMs;
        return row;
    }

    static void write(InputDb& db, Rows rows) {
        EXPECT_EQ(db.writeDeallocateDR<KSInputDbData>(rows), 0);
        EXPECT_TRUE(rows.empty());
    }

    static Rows read(InputDb& db, LMDBDataRowKey key = {}) {
        return db.readAllocateDR<KSInputDbData>(key);
    }

    // The durations that match `key`, in the order of the read.
    static std::vector<int> durations(InputDb& db, LMDBDataRowKey key = {}) {
        Rows rows = read(db, key);
        std::vector<int> values;
        for (const auto* row : rows) {
            values.push_back(row->blob.launchDuration);
        }
        db.freeRow(rows);
        return values;
    }

    static void exec(InputDb& db, const std::string& sql) {
        ASSERT_EQ(sqlite3_exec(db.dbHandle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db.dbHandle);
    }

    static LMDBDataRowKey keyOf(const std::string& app) {
        LMDBDataRowKey key;
        key.appName = app;
        return key;
    }

    TestHost mHost;
};

}  // namespace kestrel
