// The typed store's rows: flushing, reading, deleting.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/support/DatabaseFile.h"
#include "tests/support/StoreFixture.h"

namespace kestrel {

namespace {

TEST_F(StoreTest, RowsSurviveClosingAndKeepTheirBytes) {
    auto db = open();
    Rows rows = db->getRow(1);
    rows.front()->appName = std::string("com.a\0b/.Ünïcode'", 18);
    rows.front()->rsvdName = "second";
    rows.front()->intcol1 = -5;
    rows.front()->blob = {123, 456};
    write(*db, rows);
    db.reset();
    EXPECT_TRUE(std::filesystem::exists(mHost.databaseDirectory() / "test.db"));

    db = open();
    rows = read(*db);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.front()->rowid, 1);
    EXPECT_EQ(rows.front()->appName, std::string("com.a\0b/.Ünïcode'", 18));
    EXPECT_EQ(rows.front()->rsvdName, "second");
    EXPECT_EQ(rows.front()->intcol1, -5);
    EXPECT_EQ(rows.front()->blob.launchDuration, 123);
    EXPECT_EQ(rows.front()->blob.secondMetric, 456);
    db->freeRow(rows);
    EXPECT_EQ(mHost.takeLog(), Lines{});
}

TEST_F(StoreTest, FlushInsertsNewRowsAndUpdatesStoredOnesInPlace) {
    auto db = open();
    write(*db, {newRow(*db, "a", 1), newRow(*db, "b", 2)});
    Rows rows = read(*db, keyOf("a"));
    ASSERT_EQ(rows.size(), 1U);
    rows.front()->blob.launchDuration = 11;
    rows.push_back(nullptr);
    rows.push_back(newRow(*db, "c", 3));
    write(*db, rows);
    EXPECT_EQ(durations(*db), (std::vector<int>{11, 2, 3}));
}

TEST_F(StoreTest, UnsetColumnsAreNullWhateverTheRowBeforeHad) {
    auto db = open();
    Rows rows = {newRow(*db, "a", 1), newRow(*db, "b", 2)};
    rows[0]->rsvdName = "x";
    rows[1]->intcol1 = LMDB_UNSET_INT;
    write(*db, rows);
    rows = read(*db, keyOf("b"));
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.front()->intcol1, LMDB_UNSET_INT);
    EXPECT_EQ(rows.front()->rsvdName, "");
    db->freeRow(rows);
    LMDBDataRowKey key;
    key.rsvdName = "x";
    EXPECT_EQ(db->getCountDR<KSInputDbData>(key), 1);
}

TEST_F(StoreTest, RowsThatCannotBeWrittenYetAreWhenItCloses) {
    auto db = open();
    exec(*db, "DROP TABLE launches");
    Rows rows = {newRow(*db, "a", 1)};
    EXPECT_EQ(db->writeDeallocateDR<KSInputDbData>(rows), -1);
    rows = db->getRow(1);
    EXPECT_EQ(db->deleteDeallocateDR<KSInputDbData>(rows), -1);
    exec(*db, "CREATE TABLE launches(intcol1 INTEGER, appName TEXT, rsvdName TEXT, blob BLOB)");
    db.reset();
    EXPECT_EQ(durations(*open()), std::vector<int>{1});
}

TEST_F(StoreTest, AnErrorIsToldInFull) {
    const std::string table(5000, 't');
    InputDb db(0, "", table);
    ASSERT_EQ(db.openLMdb(), LMDB_SUCCESS);
    exec(db, "DROP TABLE " + table);
    LMDBDataRowKey all;
    EXPECT_EQ(db.getCountDR<KSInputDbData>(all), 0);
    EXPECT_EQ(mHost.takeLog(),
              Lines{"getCountDR() 390: sql:ERROR:Dbt=" + table + " info=no such table: " + table});
}

TEST_F(StoreTest, DeleteRemovesStoredRowsAndOnlyFreesOthers) {
    auto db = open();
    write(*db, {newRow(*db, "a", 1), newRow(*db, "b", 2), newRow(*db, "a", 3)});
    Rows rows = read(*db, keyOf("a"));
    rows.insert(rows.begin() + 1, nullptr);
    rows.push_back(newRow(*db, "b", 4));
    EXPECT_EQ(db->deleteDeallocateDR<KSInputDbData>(rows), 0);
    EXPECT_TRUE(rows.empty());
    EXPECT_EQ(durations(*db), std::vector<int>{2});
    EXPECT_EQ(mHost.takeLog(), Lines{});
}

TEST_F(StoreTest, ReadsAreLimitedAndOrderedAsAsked) {
    auto db = open();
    write(*db, {newRow(*db, "b", 1), newRow(*db, "a", 2), newRow(*db, "c", 3)});
    LMDBDataRowKey all;
    Rows rows = db->readAllocateDR<KSInputDbData>(all, 2, lmdbOrderByCol::appName,
                                                  lmdbOrderByDir::descending);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0]->appName + rows[1]->appName, "cb");
    db->freeRow(rows);

    exec(*db,
         "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i+1 FROM n WHERE i < 10001) "
         "INSERT INTO launches SELECT 1, 'many', NULL, x'0100000002000000' FROM n");
    rows = read(*db, keyOf("many"));
    EXPECT_EQ(rows.size(), 10000U);
    EXPECT_EQ(rows.back()->blob.secondMetric, 2);
    db->freeRow(rows);
    LMDBDataRowKey many = keyOf("many");
    EXPECT_EQ(db->getCountDR<KSInputDbData>(many), 10001);
    EXPECT_EQ(mHost.takeLog(), Lines{});
}

TEST_F(StoreTest, ForeignRowsAreReadAsFarAsTheyGo) {
    auto db = open();
    exec(*db,
         "INSERT INTO launches VALUES (NULL, 17, NULL, x'01'), (7, 'long', 'r', "
         "x'010000000200000003'), ('text', 'n', NULL, NULL)");
    Rows rows = read(*db);
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0]->appName, "17");
    EXPECT_EQ(rows[0]->intcol1, LMDB_UNSET_INT);
    EXPECT_EQ(rows[0]->blob.launchDuration, 1);
    EXPECT_EQ(rows[1]->blob.secondMetric, 2);
    EXPECT_EQ(rows[2]->intcol1, 0);
    EXPECT_EQ(rows[2]->blob.launchDuration, 0);
    db->freeRow(rows);
}

TEST_F(StoreTest, ARowBeyondThirtyTwoBitsIsLeftAloneAndSoAreOthers) {
    auto db = open();
    write(*db, {newRow(*db, "a", 1)});
    exec(
        *db,
        "INSERT INTO launches(rowid, appName, blob) VALUES (4294967297, 'b', x'0200000000000000')");
    Rows rows = read(*db, keyOf("b"));
    ASSERT_EQ(rows.size(), 1U);
    rows.front()->blob.launchDuration = 3;
    write(*db, rows);
    // A row that comes back when it is deleted is deleted once, and not for the one behind it.
    exec(*db,
         "CREATE TABLE deleted(id); CREATE TRIGGER comes_back AFTER DELETE ON launches BEGIN "
         "INSERT INTO deleted VALUES (OLD.rowid); "
         "INSERT INTO launches(rowid, appName, blob) VALUES (OLD.rowid, OLD.appName, OLD.blob); "
         "END");
    rows = read(*db);
    EXPECT_EQ(db->deleteDeallocateDR<KSInputDbData>(rows), 0);
    EXPECT_EQ(durations(*db), (std::vector<int>{1, 2}));
    EXPECT_EQ(DatabaseFile("/data/vendor/lm/test.db").run("SELECT id FROM deleted"), Lines{"1"});
    EXPECT_EQ(mHost.takeLog(), (Lines{"writeCachedDRToDisk() 317: sql:ERROR:Dbt=launches info=25",
                                      "deleteDeallocateDR() 565: sql:ERROR:Dbt=launches info=25"}));
}

TEST_F(StoreTest, KeyTexts) {
    const struct {
        const char* name;
        LMDBDataRowKey key;
        const char* text;
    } cases[] = {
        {"nothing set", {}, ""},
        {"app", {LMDB_UNSET_INT, "demo", ""}, "WHERE (appName) = ('demo') "},
        {"app and number", {3, "demo", ""}, "WHERE (appName,intcol1) = ('demo',3) "},
        {"second name and negative", {-1, "", "x"}, "WHERE (rsvdName,intcol1) = ('x',-1) "},
        {"all", {7, "demo", "x"}, "WHERE (appName,rsvdName,intcol1) = ('demo','x',7) "},
        {"quotes", {LMDB_UNSET_INT, "a'b''", ""}, "WHERE (appName) = ('a''b''''') "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LMDBDataRowKey key = c.key;
        std::string query = "x ";
        InputDb::build_query_for_where_clause(key, query);
        EXPECT_EQ(query, std::string("x ") + c.text);
    }
}

}  // namespace

}  // namespace kestrel
