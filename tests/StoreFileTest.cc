// The typed store's files: what is in them, and those that cannot be opened, read or closed.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "lmdb/LMDatabaseImpl.h"
#include "tests/support/DatabaseFile.h"
#include "tests/support/StoreFixture.h"

namespace kestrel {

namespace {

using StoreFileTest = StoreTest;

TEST_F(StoreFileTest, FileHasTheSchemaAndTheJournalThatOthersRead) {
    open();
    const DatabaseFile file(mHost.databaseDirectory() / "test.db");
    EXPECT_EQ(file.run("SELECT sql FROM sqlite_master"),
              Lines{"CREATE TABLE launches(intcol1 INTEGER, appName TEXT NOT null, rsvdName TEXT, "
                    "blob BLOB)"});
    EXPECT_EQ(file.run("PRAGMA journal_mode"), Lines{"wal"});
}

TEST_F(StoreFileTest, AMemoryDatabaseTouchesNoFile) {
    InputDb db(0, "", "launches");
    EXPECT_EQ(db.LMDatabaseInit(), LMDB_SUCCESS);
    write(db, {newRow(db, "a", 1)});
    EXPECT_EQ(durations(db), std::vector<int>{1});
    EXPECT_TRUE(std::filesystem::is_empty(mHost.databaseDirectory()));
    EXPECT_EQ(db.closeLMdb() + db.closeLMdb(), 0);
}

// Rights bind anybody but root, for whom another user stands in.
TEST_F(StoreFileTest, AFileThatMayNotBeTouchedStaysAsItIs) {
    write(*open(), {});
    const auto directory = mHost.databaseDirectory();
    const auto file = directory / "test.db";
    DatabaseFile(file).run("INSERT INTO launches VALUES (4225, 'a', NULL, x'0700000000000000')");
    for (const char* path : {".", "data", "data/vendor"}) {
        EXPECT_EQ(chmod(path, 0755), 0);
    }
    const uid_t user = geteuid();
    const struct {
        unsigned rights;
        Lines lines;
    } cases[] = {
        {0,
         {"LMDB: openLMdb() 172: ERROR:Db=/data/vendor/lm/test.db sql open failed, err=14",
          "LMDB: ~LMDBDataTable() 78: ERROR:Dbt=launches blstSz=0, clstSz=1"}},
        // Without a place for the shared memory of its log, not even a read begins.
        {0444,
         {"openLMdb() 179: sql:ERROR:Dbt=/data/vendor/lm/test.db info=attempt to write a readonly "
          "database",
          "createLMdbTables() 203: ERROR:Dbt=launches info=attempt to write a readonly database",
          "writeCachedDRToDisk() 263: ERROR:Dbt=launches info=attempt to write a readonly database",
          "writeCachedDRToDisk() 263: ERROR:Dbt=launches info=attempt to write a readonly database",
          "LMDB: ~LMDBDataTable() 78: ERROR:Dbt=launches blstSz=0, clstSz=1"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rights);
        EXPECT_EQ(chmod(file.c_str(), c.rights), 0);
        EXPECT_EQ(chmod(directory.c_str(), 0555), 0);
        ASSERT_TRUE(user != 0 || seteuid(65534) == 0);
        const bool isReachable = access(directory.c_str(), X_OK) == 0;
        {
            InputDb db(0, "test.db", "launches");
            EXPECT_EQ(db.openLMdb(), LMDB_FAILURE);
            Rows rows = {newRow(db, "b", 2)};
            EXPECT_EQ(db.writeDeallocateDR<KSInputDbData>(rows), -1);
        }
        EXPECT_EQ(seteuid(user), 0);
        EXPECT_EQ(chmod(directory.c_str(), 0755), 0);
        if (!isReachable) {
            GTEST_SKIP() << "temporary files are out of another user's reach";
        }
        EXPECT_EQ(mHost.takeLog(), c.lines);
    }
    EXPECT_EQ(chmod(file.c_str(), 0644), 0);
    EXPECT_EQ(durations(*open()), std::vector<int>{7});
}

TEST_F(StoreFileTest, AFailedTableLeavesTheDatabaseOpen) {
    open()->closeLMdb();
    InputDb db(0, "test.db", "no table");
    EXPECT_EQ(db.openLMdb(), LMDB_FAILURE);
    EXPECT_NE(db.dbHandle, nullptr);
    EXPECT_EQ(
        mHost.takeLog(),
        Lines{"createLMdbTables() 203: ERROR:Dbt=no table info=near \"table\": syntax error"});
}

TEST_F(StoreFileTest, CloseIsRefusedWhileAStatementLives) {
    auto db = open();
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(db->dbHandle, "SELECT 1", -1, &statement, nullptr);
    EXPECT_EQ(db->closeLMdb(), -1);
    EXPECT_NE(db->dbHandle, nullptr);
    EXPECT_EQ(mHost.takeLog(), Lines{"LMDB: closeLMdb() 223: ERROR:Db=/data/vendor/lm/test.db sql "
                                     "close failed, err=5"});
    sqlite3_finalize(statement);
    EXPECT_EQ(db->closeLMdb(), 0);
}

TEST_F(StoreFileTest, RowsOfADatabaseThatWasNeverOpenedAreLostAloud) {
    {
        InputDb db(0, "test.db", "launches");
        Rows rows = db.getRow(3);
        EXPECT_EQ(db.writeDeallocateDR<KSInputDbData>(rows), -1);
        EXPECT_TRUE(rows.empty());
        EXPECT_EQ(db.LMDatabaseWriteCachedToDisk(), -1);
        rows = db.getRow(2);
        EXPECT_EQ(db.deleteDeallocateDR<KSInputDbData>(rows), -1);
        EXPECT_TRUE(rows.empty());
        EXPECT_EQ(db.deleteDeallocateDR<KSInputDbData>(rows), 0);
        EXPECT_EQ(db.writeDeallocateDR<KSInputDbData>(rows), 0);
    }
    EXPECT_EQ(mHost.takeLog(),
              Lines{"LMDB: ~LMDBDataTable() 78: ERROR:Dbt=launches blstSz=0, clstSz=3"});
    EXPECT_TRUE(std::filesystem::is_empty(mHost.databaseDirectory()));
}

}  // namespace

}  // namespace kestrel

// Two payloads in one file: a table each, in the order of the list.
struct OtherPayload {
    int64_t value;
};
using TwoTables = LMDatabase<KSInputDbData, OtherPayload>;
template class LMDBDataTable<OtherPayload>;
template class LMDatabase<KSInputDbData, OtherPayload>;

namespace kestrel {

namespace {

TEST_F(StoreFileTest, TwoPayloadsShareAFile) {
    TwoTables db(0, "two.db", "first", "second");
    ASSERT_EQ(db.openLMdb(), LMDB_SUCCESS);
    LMDBDataTable<OtherPayload>& second = db;
    auto rows = second.getRow(1);
    rows.front()->appName = "a";
    rows.front()->blob.value = 1LL << 40;
    EXPECT_EQ(db.writeDeallocateDR<OtherPayload>(rows), 0);
    LMDBDataRowKey all;
    EXPECT_EQ(db.getCountDR<KSInputDbData>(all), 0);
    rows = db.readAllocateDR<OtherPayload>(all);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.front()->blob.value, 1LL << 40);
    second.freeRow(rows);
}

}  // namespace

}  // namespace kestrel
