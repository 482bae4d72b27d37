// Damaged, foreign and missing files, and names that nobody expects: the host and its plug-in
// start, say what is wrong, and go on as far as they can.

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "tests/support/DatabaseFile.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/Trace.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

// Launches of 400 ms, each with a query, while another app is removed. `t` goes on from call to
// call.
std::string launches(const std::string& app, int count, int& t) {
    Trace trace;
    for (int i = 0; i < count; ++i, t += 1000) {
        trace.launch(app, t).query(app, t).frame(app, t + 400).leave(t + 500);
        trace.event("com.b", t + 500, 4164);
    }
    return trace.str();
}

class DamageTest : public testing::Test {
 protected:
    DamageTest() {
        // One app is learned, and one has the launches that it needs.
        int t = 0;
        mProgram.write("before.jsonl", launches(LEARNED, 7, t) + launches(WAITING, 5, t));
        mProgram.write("launches.jsonl", launches(LEARNED, 7, t) + launches(WAITING, 7, t));
        mProgram.write("home.jsonl", R"({"t":0,"hintId":4097,"appName":"com.home"})");
        EXPECT_EQ(mProgram.run("replay --root good home.jsonl").status, 0);
        // Of one database the log stays, as a crash leaves it.
        const LogKeeper log(below(mProgram.path("good")) / "KestrelStartsAction.db");
        EXPECT_EQ(mProgram.run("replay --root good before.jsonl").status, 0);
    }

    static fs::path below(const fs::path& root) { return root / "data/vendor/lm"; }

    // A root that has been learned on, for a case of its own.
    fs::path fresh() {
        const fs::path root = mProgram.path("root");
        fs::remove_all(root);
        fs::copy(mProgram.path("good"), root, fs::copy_options::recursive);
        return root;
    }

    // Plays on, and gives what was logged. Damage is told by the status 1 and on standard error; a
    // crash has other statuses, and so has a sanitizer.
    ProgramRun::Result play() {
        auto result = mProgram.run("replay --json --no-sync --root root launches.jsonl");
        EXPECT_EQ(result.status, result.err.empty() ? 0 : 1) << result.err;
        return result;
    }

    // The lengths of the boosts that the two apps get, each once.
    static std::string boosts(const std::string& records) {
        std::set<std::string> lengths;
        std::istringstream lines(records);
        for (std::string line; std::getline(lines, line);) {
            const auto record = nlohmann::json::parse(line);
            if (record.at("kind") == "hint" || record.at("kind") == "hintAcqRel") {
                lengths.insert(record.at("app").get<std::string>()[4] +
                               std::string(record.at("kind") == "hint" ? " " : " default ") +
                               record.at("duration").dump());
            }
        }
        std::string text;
        for (const std::string& length : lengths) {
            text += (text.empty() ? "" : ", ") + length;
        }
        return text;
    }

    static std::string read(const fs::path& file) {
        std::ifstream content(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(content), {}};
    }

    static void write(const fs::path& file, const std::string& content) {
        std::ofstream(file, std::ios::binary) << content;
    }

    static constexpr const char* LEARNED = "com.a/.Main";
    static constexpr const char* WAITING = "com.c/.Main";

    ProgramRun mProgram;
};

constexpr const char* FILES[] = {"KestrelStarts.db", "KestrelStartsAction.db",
                                 "KestrelStartsState.db"};

TEST_F(DamageTest, EveryPageFlippedAndEveryFileCut) {
    for (const char* name : {FILES[0], FILES[1], FILES[2], "KestrelStartsAction.db-wal"}) {
        const std::string whole = read(below(mProgram.path("good")) / name);
        ASSERT_GT(whole.size(), 0U);
        constexpr std::size_t STEP = std::size_t{512} * KESTREL_SWEEP_STRIDE;
        for (std::size_t at = 0; at < whole.size(); at += STEP) {
            SCOPED_TRACE(std::string(name) + " at " + std::to_string(at));
            const fs::path file = below(fresh()) / name;
            std::string flipped = whole;
            for (std::size_t i = at; i < std::min(at + 512, whole.size()); i += 3) {
                flipped[i] = static_cast<char>(~flipped[i]);
            }
            write(file, flipped);
            play();
            fresh();
            write(file, whole.substr(0, at));
            play();
        }
    }
}

TEST_F(DamageTest, WhatStandsInADatabasesPlaceIsTold) {
    // Without the database; with an empty one; with one that cannot be written.
    enum { OFF, ANEW, UNWRITTEN };
    const std::string usual = "a 750, a default 750, c 750, c default 750";
    const std::string withoutRecord = "c 15000, c default 2000";
    const std::array<std::string, 3> boostsWithout[] = {
        // The launches: nothing is boosted; one learns anew; one is never learned.
        {"", "a 750, a default 750, c 15000, c 750, c default 2000, c default 750",
         "a 750, a default 750, " + withoutRecord},
        // The records: the service knows no length; a learned app's new one says 0; there are none.
        {"a default 0, c default 0", "a 0, a default 0, c 750, c default 750",
         "a 15000, a default 2000, " + withoutRecord},
        // The states: boosts go by the records.
        {usual, usual, usual}};
    const struct {
        const char* name;
        std::function<void(const fs::path& file)> put;
        const char* told;
        std::size_t then;  // what is left of the feature
    } cases[] = {
        {"garbage", [](const fs::path& f) { write(f, std::string(5000, '\xA5')); }, "ERROR", OFF},
        {"text", [](const fs::path& f) { write(f, "this is no database\n"); }, "ERROR", OFF},
        {"empty", [](const fs::path& f) { write(f, ""); }, "", ANEW},
        {"directory", [](const fs::path& f) { fs::create_directory(f); }, "sql open failed, err=14",
         OFF},
        {"dangling link", [](const fs::path& f) { fs::create_symlink("/nowhere/x", f); },
         "sql open failed, err=14", OFF},
        {"other columns",
         [](const fs::path& f) {
             write(f, "");
             for (const char* table : {"KestrelStarts", "output_table", "app_state"}) {
                 DatabaseFile(f).run("CREATE TABLE " + std::string(table) + "(a, b)");
             }
         },
         "no column named intcol1", UNWRITTEN},
        {"a view",
         [](const fs::path& f) {
             write(f, "");
             for (const char* table : {"KestrelStarts", "output_table", "app_state"}) {
                 DatabaseFile(f).run("CREATE VIEW " + std::string(table) +
                                     " AS SELECT 1 AS intcol1, 'com.a/.Main' AS appName,"
                                     " NULL AS rsvdName, x'00' AS blob");
             }
         },
         "ERROR", UNWRITTEN},
    };
    for (std::size_t i = 0; i < std::size(FILES); ++i) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(FILES[i]) + ": " + c.name);
            const fs::path file = below(fresh()) / FILES[i];
            for (const char* suffix : {"", "-wal", "-shm"}) {
                fs::remove(file.string() + suffix);
            }
            c.put(file);
            const auto result = play();
            EXPECT_NE(result.out.find(c.told), std::string::npos);
            EXPECT_EQ(boosts(result.out), boostsWithout[i][c.then]);
            EXPECT_EQ(result.err.empty(), c.then == ANEW);
            // A view can be read, and is told when it is to be written.
            const bool isToldBefore = c.then != ANEW && std::string_view(c.name) != "a view";
            EXPECT_EQ(result.err.starts_with(FILES[i] + std::string(": ")), isToldBefore)
                << result.err;
        }
    }
}

TEST_F(DamageTest, StrangeRowsAreReadAsFarAsTheyGo) {
    const char* rows[] = {
        "(NULL, ?, NULL, NULL)",
        "(4225, ?, 7, x'')",
        "(4225, ?, NULL, x'01')",
        "(4225, ?, NULL, zeroblob(100000))",
        "(4225, ?, NULL, x'FFFFFF7F' || zeroblob(532))",
        "(4225, ?, NULL, replace(hex(zeroblob(268)), '00', x'FF'))",
        "(4225, 17, 2.5, 'text')",
        "('text', ?, NULL, 99)",
    };
    const struct {
        const char* file;
        const char* table;
        const char* app;
    } tables[] = {{FILES[0], "KestrelStarts", WAITING},
                  {FILES[1], "output_table", LEARNED},
                  {FILES[2], "app_state", LEARNED}};
    for (const auto& t : tables) {
        const std::string insert = std::string("INSERT INTO ") + t.table;
        const std::string app = std::string("'") + t.app + "'";
        std::vector<std::string> changes;
        for (std::string row : rows) {
            if (const auto place = row.find('?'); place != std::string::npos) {
                row.replace(place, 1, app);
            }
            changes.push_back(joined({insert, " VALUES", row, ",", row, ",", row}));
        }
        changes.push_back(joined({insert,
                                  "(rowid, intcol1, appName, blob) VALUES (9223372036854775807,"
                                  " 4225, ",
                                  app, ", zeroblob(4))"}));
        changes.push_back(
            joined({"WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i+1 FROM n"
                    " WHERE i < 10001) ",
                    insert, " SELECT 4225, ", app, ", NULL, zeroblob(536) FROM n"}));
        // Of a table without types, names can be missing or numbers.
        changes.push_back(joined({"DROP TABLE ", t.table, "; CREATE TABLE ", t.table,
                                  "(intcol1, appName, rsvdName, blob); ", insert,
                                  " VALUES (4225, NULL, NULL, NULL), (4225, 17, 17, 17), ('x', ",
                                  app, ", NULL, 'text')"}));
        for (const std::string& change : changes) {
            SCOPED_TRACE(change);
            DatabaseFile(below(fresh()) / t.file).run(change);
            play();
            if (t.file != FILES[2]) {
                EXPECT_EQ(DatabaseFile(below(mProgram.path("root")) / FILES[2])
                              .run("SELECT DISTINCT hex(blob) FROM app_state"),
                          std::vector<std::string>{"04000000"});
            }
        }
    }
}

TEST_F(DamageTest, AnyNameIsOnlyAName) {
    const std::string names[] = {
        "x'); DROP TABLE output_table; --", "\\u0001\\u001b[2J\\n\\t", "%s%n%d",         "/", "//",
        std::string(100000, 'n'),           "..//../etc/passwd",       "\\ud83d\\ude00",
    };
    const char* extreme =
        R"(,"hintArg":-2147483648,"launchType":2147483647,"launchArg":-2147483648)";
    std::string lines;
    for (const std::string& name : names) {
        for (const auto& [id, type] : std::initializer_list<std::pair<int, int>>{
                 {4225, 1}, {4225, 1}, {4103, 0}, {4097, 0}, {4225, 103}, {4164, 0}}) {
            lines += Trace().event(name, 1, id, type, extreme).str();
        }
        lines += R"({"t":1,"feedback":{"hintId":4225,"hintType":8,"appName":")" + name + "\"}}\n";
    }
    fresh();
    mProgram.write("names.jsonl", lines);
    const auto result = mProgram.run("replay --no-sync --root root names.jsonl");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(DatabaseFile(below(mProgram.path("root")) / FILES[1])
                  .run("SELECT COUNT(*) FROM output_table WHERE appName = 'com.a/.Main'"),
              std::vector<std::string>{"1"});
}

}  // namespace

}  // namespace kestrel
