// Reading the databases: what is shown, and that no byte changes.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "tests/support/DatabaseFile.h"
#include "tests/support/LiveHost.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/Trace.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class InspectTest : public testing::Test {
 protected:
    InspectTest() {
        mProgram.write("launches.jsonl", Trace()
                                             .launches("com.a/.Main", 7, 0, 1000)
                                             .launches("com.b", 2, 7 * Trace::MINUTE, 500)
                                             .launches("com.z", 5, 9 * Trace::MINUTE, 700)
                                             .str());
        EXPECT_EQ(mProgram.run("replay --root good launches.jsonl").status, 0);
        fs::create_directory(mProgram.path("tmp"));
    }

    fs::path folder() const { return mProgram.path("root/data/vendor/lm"); }

    // A root that has been learned on, for a case of its own.
    void fresh() const {
        fs::remove_all(mProgram.path("root"));
        fs::copy(mProgram.path("good"), mProgram.path("root"), fs::copy_options::recursive);
    }

    // Every file below the root: its bytes and when it was changed.
    std::map<std::string, std::pair<std::string, timespec>> files() const {
        std::map<std::string, std::pair<std::string, timespec>> found;
        for (const auto& entry : fs::recursive_directory_iterator(mProgram.path("root"))) {
            struct stat status{};
            stat(entry.path().c_str(), &status);
            found[entry.path()] = {entry.is_regular_file() ? mProgram.read(entry.path()) : "",
                                   status.st_mtim};
        }
        return found;
    }

    // Runs a command that only reads, and sees that it did, and left nothing behind.
    ProgramRun::Result readOnly(const std::string& arguments) const {
        const auto before = files();
        auto result = mProgram.run(arguments, "", "tmp");
        const auto after = files();
        EXPECT_TRUE(std::ranges::equal(before, after, [](const auto& a, const auto& b) {
            return a.first == b.first && a.second.first == b.second.first &&
                   a.second.second.tv_sec == b.second.second.tv_sec &&
                   a.second.second.tv_nsec == b.second.second.tv_nsec;
        })) << arguments;
        EXPECT_TRUE(fs::is_empty(mProgram.path("tmp"))) << arguments;
        return result;
    }

    // The apps of `inspect --json`, by name.
    std::map<std::string, Json> inspect(const std::string& root = "root") const {
        std::map<std::string, Json> apps;
        const auto result = readOnly("inspect --json --root " + root);
        const Json shown = Json::parse(result.out);
        for (const Json& app : shown.at("apps")) {
            apps[app.at("app")] = app;
        }
        return apps;
    }

    ProgramRun mProgram;
};

TEST_F(InspectTest, ShowsAppsInATableAndOneInFull) {
    fresh();
    EXPECT_EQ(readOnly("inspect --root root").out,
              "app                             state     learned ms    since  relearn   stored\n"
              "com.a/.Main                     learned         1000    1/100       no      0/5\n"
              "com.b                           learning           -        -        -      2/5\n"
              "com.z                           learning           -        -        -      5/5\n");
    EXPECT_EQ(readOnly("inspect com.b --root root").out,
              "com.b\n"
              "  state            learning\n"
              "  learned          nothing\n"
              "  launches stored  2 of 5\n"
              "  durations in ms, oldest first\n"
              "         500         500\n");
    const auto apps = inspect();
    EXPECT_EQ(apps.at("com.a/.Main").at("learnedMs"), 1000);
    EXPECT_EQ(apps.at("com.a/.Main").at("launchesSince"), 1);
    EXPECT_EQ(apps.at("com.b").at("durationsMs"), (Json{500, 500}));
    EXPECT_EQ(apps.at("com.b").at("learnedMs"), nullptr);
}

TEST_F(InspectTest, ExplainsWithTheSetUpsClassesAndGames) {
    fresh();
    const auto next = [&](const std::string& options) {
        return Json::parse(readOnly("explain --json --root root com.z " + options).out);
    };
    mProgram.write("host.json", R"({"host":{"appClasses":{"com.z":3},"games":["com.a"],)"
                                R"("disabledApps":["com.b"]}})");
    mProgram.write("game.json", R"({"host":{"games":["com.z"]}})");
    const struct {
        const char* options;
        int learnedMs;
    } cases[] = {
        {"", 750},
        {"--class 2", 1500},
        {"--host host.json", 2000},
        {"--host host.json --class 1", 1200},
        {"--game --class 1", 15000},
        {"--host game.json", 2000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options);
        EXPECT_EQ(next(c.options).at("after").at("learnedMs"), c.learnedMs);
    }
    const std::string text = readOnly("explain --root root com.z").out;
    for (const char* words :
         {"5 of 5 launches stored", "the mean of the larger 2 of 5 is 700 ms",
          "clamp of an ordinary app of class 0: 750 to 1350 ms, raised", "learned, with 750 ms"}) {
        EXPECT_NE(text.find(words), std::string::npos) << text;
    }
    EXPECT_NE(readOnly("explain --root root com.b").out.find("2 of 5 launches stored"),
              std::string::npos);
    EXPECT_NE(readOnly("explain --root root --host host.json com.b")
                  .out.find("configuration asks for that"),
              std::string::npos);
    EXPECT_NE(readOnly("explain --root root com.a/.Main").out.find("number 2 of 100"),
              std::string::npos);
}

TEST_F(InspectTest, ReadsWhateverStateTheFilesWereLeftIn) {
    fresh();
    const std::string output = folder() / "KestrelStartsAction.db";
    {
        const LogKeeper log(output);
        EXPECT_EQ(mProgram.run("replay --root root launches.jsonl").status, 0);
    }
    ASSERT_GT(fs::file_size(output + "-wal"), 0U);
    const auto all = inspect();
    EXPECT_EQ(all.at("com.a/.Main").at("launchesSince"), 8);  // which the log alone says
    EXPECT_EQ(inspect("root/data/vendor/lm"), all);
    // As it is pulled from a device, and as nobody may write to it.
    fs::remove(output + "-shm");
    EXPECT_EQ(inspect(), all);
    fs::permissions(folder(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(inspect(), all);
    fs::permissions(folder(), fs::perms::owner_all);
    DatabaseFile(output).run("PRAGMA wal_checkpoint(TRUNCATE)");
    EXPECT_EQ(inspect(), all);
    const std::ofstream emptyLog(output + "-wal");
    EXPECT_EQ(inspect(), all);
    // A name that SQLite would take for options.
    fs::rename(mProgram.path("root"), mProgram.path("root?mode=rw#%41"));
    const auto result = mProgram.run("inspect --json --root 'root?mode=rw#%41'");
    EXPECT_EQ(Json::parse(result.out).at("apps").size(), all.size());
}

// A host that is killed as it begins leaves a log without a frame, and an index that is not filled.
TEST_F(InspectTest, ReadsAtOnceWhatAHostLeftThatWasKilledAsItBegan) {
    fresh();
    const auto all = inspect();
    std::string header;
    {
        LiveHost host(mProgram, "--root other");
        host.send(Trace().leave(0).str());
        ASSERT_TRUE(host.waitFor(R"("kind":"event")"));
        header = mProgram.read("other/data/vendor/lm/KestrelStartsState.db-wal").substr(0, 32);
        ASSERT_EQ(header.size(), 32U);
    }
    for (const std::string& log : {std::string(), header.substr(0, 20), header}) {
        for (const std::size_t indexSize : {0UL, 32768UL}) {
            SCOPED_TRACE(std::to_string(log.size()) + ", " + std::to_string(indexSize));
            const std::string file = folder() / "KestrelStarts.db";
            std::ofstream(file + "-wal", std::ios::binary) << log;
            std::ofstream(file + "-shm", std::ios::binary) << std::string(indexSize, '\0');
            const auto begin = std::chrono::steady_clock::now();
            EXPECT_EQ(inspect(), all);
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
        }
    }
}

TEST_F(InspectTest, AViewThatNeverEndsEndsWithTheUsersPatience) {
    fresh();
    DatabaseFile(folder() / "KestrelStarts.db")
        .run(
            "DROP TABLE KestrelStarts; CREATE VIEW KestrelStarts AS WITH RECURSIVE n(i) AS"
            " (VALUES(1) UNION ALL SELECT i+1 FROM n) SELECT 4225 AS intcol1, '' AS appName,"
            " x'' AS blob, i AS rowid FROM n WHERE i < 0");
    mProgram.write("script", "env --default-signal=INT " KESTREL_PROGRAM
                             " inspect --root root &\n"
                             "until [ \"$(cut -d ' ' -f 14 /proc/$!/stat)\" -gt 100 ]; do :; done\n"
                             "kill -INT $!\n"
                             "wait $!\n"
                             "echo $?\n");
    const auto result = mProgram.run("--version && sh script");
    EXPECT_NE(result.err.find("KestrelStarts.db: interrupted\n"), std::string::npos) << result.err;
    EXPECT_NE(result.out.find("com.a/.Main"), std::string::npos) << result.out;
    EXPECT_TRUE(result.out.ends_with("\n1\n")) << result.out;
}

TEST_F(InspectTest, ReplayAndInspectTellTheSameRecord) {
    fresh();
    // A foreign row, whose duration is 9999 ms.
    DatabaseFile(folder() / "KestrelStartsAction.db")
        .run(
            "INSERT INTO output_table VALUES (7, 'com.a/.Main', NULL, "
            "x'00000000000000000f270000')");
    EXPECT_EQ(inspect().at("com.a/.Main").at("learnedMs"), 1000);
    mProgram.write("again.jsonl", Trace().launches("com.a/.Main", 1, 0, 1000).str());
    const std::string out = mProgram.run("replay --root root again.jsonl").out;
    EXPECT_TRUE(
        out.ends_with("com.a/.Main                           1        0  learned         "
                      "1000      2\n"))
        << out;
}

TEST_F(InspectTest, ReadsUnderARunningHost) {
    fresh();
    LiveHost host(mProgram, "--root root");
    int64_t t = 0;
    const auto launch = [&](int count) {
        host.send(Trace().launches("com.live", count, t, 300).str());
        t += count * Trace::MINUTE;
    };
    for (int stored = 1; stored <= 4; ++stored) {
        launch(1);
        ASSERT_TRUE(host.waitFor(R"("kind":"measured")"));
        EXPECT_EQ(inspect()["com.live"]["launchesStored"], stored);
        EXPECT_EQ(inspect()["com.a/.Main"]["launchesSince"], 1);
    }
    // The host has noticed nothing.
    launch(2);
    ASSERT_TRUE(host.waitFor(R"("app":"com.live","state":4)"));
    EXPECT_EQ(host.end(), 0);
    EXPECT_EQ(inspect()["com.live"]["learnedMs"], 750);
}

TEST_F(InspectTest, DamageIsToldPerFileAndTheRestIsShown) {
    const struct {
        const char* name;
        const char* file;
        std::function<void(const fs::path& file)> put;
        int status;
        const char* message;
        std::size_t apps;  // that are shown
    } cases[] = {
        {"garbage", "KestrelStarts.db",
         [](const fs::path& f) { std::ofstream(f) << std::string(5000, '\xA5'); }, 1,
         "KestrelStarts.db: file is not a database", 1},
        {"empty", "KestrelStartsState.db", [](const fs::path& f) { std::ofstream{f}; }, 1,
         "KestrelStartsState.db: no such table: app_state", 3},
        {"directory", "KestrelStartsState.db", [](const fs::path& f) { fs::create_directory(f); },
         1, "KestrelStartsState.db: not a regular file", 3},
        {"dangling link", "KestrelStarts.db",
         [](const fs::path& f) { fs::create_symlink("/nowhere/x", f); }, 1,
         "KestrelStarts.db: unable to open database file: No such file", 1},
        {"cut", "KestrelStarts.db",
         [this](const fs::path& f) {
             fs::copy(mProgram.path("good/data/vendor/lm/KestrelStarts.db"), f);
             fs::resize_file(f, 4096);
         },
         1, "KestrelStarts.db: database disk image is malformed", 1},
        {"other columns", "KestrelStartsState.db",
         [](const fs::path& f) {
             std::ofstream{f};
             DatabaseFile(f).run("CREATE TABLE app_state(a, b)");
         },
         1, "KestrelStartsState.db: no such column: appName", 3},
        {"missing", "KestrelStarts.db", [](const fs::path&) {}, 0, "", 1},
        {"missing states", "KestrelStartsState.db", [](const fs::path&) {}, 0, "", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fresh();
        const fs::path file = folder() / c.file;
        fs::remove(file);
        c.put(file);
        const auto result = readOnly("inspect --json --root root");
        EXPECT_EQ(result.status, c.status) << result.err;
        EXPECT_EQ(result.err.find(c.message), 0U) << result.err;
        const Json shown = Json::parse(result.out);
        EXPECT_EQ(shown.at("apps").size(), c.apps);
        const bool knowsStates = std::string_view(c.file) != "KestrelStartsState.db";
        EXPECT_EQ(shown.at("apps").front().at("state"), knowsStates ? Json(4) : Json());
        for (const Json& told : shown.at("files")) {
            EXPECT_EQ(told.at("damage").is_null(), c.status == 0 || told.at("file") != c.file);
        }
    }
}

TEST_F(InspectTest, WhatIsNotThereIsTold) {
    fresh();
    mProgram.write("other.json", R"({"host":{"featureName":"Other"}})");
    fs::create_directory(mProgram.path("empty"));
    const struct {
        const char* arguments;
        const char* message;
    } cases[] = {
        {"inspect --root nowhere", "nowhere: No such file or directory"},
        {"inspect --root launches.jsonl", "launches.jsonl: Not a directory"},
        {"inspect --root empty", "empty: none of KestrelStarts.db, "},
        {"inspect --root root com.none", "com.none: nothing is stored of it\n"},
        {"explain --root root com.a", "com.a: nothing is stored of it; there is com.a/.Main\n"},
        {"explain --root root", "APP is required"},
        {"inspect", "--root is required"},
        {"explain --root root --class x com.b", "x"},
        {"inspect --root root --host missing.json", "missing.json: No such file"},
        {"explain --root root --host other.json com.b", "com.b: nothing is stored of it\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const auto result = readOnly(c.arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(InspectTest, SeveralRecordsAndOddRowsAreShown) {
    fresh();
    DatabaseFile(folder() / "KestrelStartsAction.db")
        .run(
            "INSERT INTO output_table VALUES (4225, 'com.a/.Main', NULL, zeroblob(4)),"
            " (4225, 'com.new', NULL, x''), (7, 'com.other', NULL, zeroblob(536))");
    DatabaseFile(folder() / "KestrelStartsState.db")
        .run("INSERT INTO app_state(rowid, appName, blob) VALUES (5000000000, 'com.b', x'63')");
    DatabaseFile(folder() / "KestrelStarts.db")
        .run(
            "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i+1 FROM n WHERE i < 12000)"
            " INSERT INTO KestrelStarts SELECT 4225, x'ff' || 'many', NULL, x'0a' FROM n");
    const auto apps = inspect();
    EXPECT_EQ(apps.size(), 5U);
    EXPECT_EQ(apps.at("com.a/.Main").at("records"), 2);
    EXPECT_EQ(apps.at("com.new").at("learnedMs"), 0);
    EXPECT_EQ(apps.at("com.b").at("state"), 99);
    EXPECT_EQ(apps.at("\ufffdmany").at("launchesStored"), 12000);
    EXPECT_EQ(apps.at("\ufffdmany").at("durationsMs").back(), 10);
    const std::string table = readOnly("inspect --root root").out;
    EXPECT_NE(table.find("?many  "), std::string::npos);
    EXPECT_TRUE(
        table.ends_with("com.a/.Main: 2 learned records instead of one; the next count or"
                        " decision\n  deletes them\n"))
        << table;
    EXPECT_NE(readOnly("explain --root root com.a/.Main").out.find("2 learned records instead"),
              std::string::npos);
}

// Names every option that --help names.
TEST_F(InspectTest, ManPageAndCompletionsKnowEveryOption) {
    const fs::path texts = KESTREL_COMMAND_TEXTS;
    const std::string page = mProgram.read(texts / "man/man1/kestrelhost.1");
    const std::string bash = mProgram.read(texts / "bash-completion/completions/kestrelhost");
    const std::string zsh = mProgram.read(texts / "zsh/site-functions/_kestrelhost");
    const std::string help = mProgram.run("--help").out;
    std::size_t options = 0;
    std::istringstream commands(help.substr(help.find("Subcommands:")));
    std::string line;
    std::getline(commands, line);
    while (std::getline(commands, line) && line.starts_with("  ")) {
        const std::string command = line.substr(2, line.find(' ', 2) - 2);
        SCOPED_TRACE(command);
        std::istringstream words(mProgram.run(command + " --help").out);
        for (std::string word; words >> word;) {
            if (!word.starts_with("--") && !word.starts_with("-h,--")) {
                continue;
            }
            std::string option = word.substr(word.find("--"));
            option = option.substr(0, option.find_first_of(",{"));
            ++options;
            std::string roff;
            for (const char c : option) {
                roff += c == '-' ? "\\-" : std::string(1, c);
            }
            EXPECT_NE(page.find("\\fB" + roff + "\\fR"), std::string::npos) << option;
            EXPECT_NE(bash.find(' ' + option), std::string::npos) << option;
            EXPECT_NE(zsh.find('\'' + option), std::string::npos) << option;
        }
        EXPECT_NE(page.find(".SS " + command), std::string::npos);
    }
    EXPECT_GT(options, 10U);
}

}  // namespace

}  // namespace kestrel
