// The power goes, or the process is killed, at any point: what was committed is there, and the app
// ends up learned again.

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "host/linux/LinuxHost.h"
#include "tests/support/DatabaseFile.h"
#include "tests/support/Payload.h"
#include "tests/support/PowerCutVfs.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/Trace.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

using Story = std::vector<AsyncTriggerPayload>;

const std::string APP = "com.a/.Main";
const fs::path DIRECTORY = "data/vendor/lm";
const std::map<std::string, std::string> TABLES = {{"KestrelStarts.db", "KestrelStarts"},
                                                   {"KestrelStartsAction.db", "output_table"},
                                                   {"KestrelStartsState.db", "app_state"}};

Story operator+(Story first, const Story& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Story launches(int count, const std::string& app = APP) {
    Story story;
    for (int i = 0; i < count; ++i) {
        story = story + Story{launchOf(app), eventOf(app, 4103, 0), eventOf("com.home", 4097, 0)};
    }
    return story;
}

const Story REMOVAL = {eventOf(APP, 4164, 0)};
const Story UNTIL_LEARNED = launches(12);

std::string toTrace(const Story& story) {
    Trace trace;
    int64_t t = 0;
    for (const AsyncTriggerPayload& event : story) {
        trace.event(event.appName, t, event.hintId, event.hintType);
        t += 400;
    }
    return trace.str();
}

// All rows of the databases that are there.
std::set<std::string> dumpAll(const fs::path& root) {
    std::set<std::string> rows;
    for (const auto& [file, table] : TABLES) {
        const fs::path path = root / DIRECTORY / file;
        if (!fs::exists(path) || DatabaseFile(path).run("SELECT 1 FROM sqlite_master").empty()) {
            continue;
        }
        for (const std::string& row : DatabaseFile(path).dump(table)) {
            rows.insert(std::string(table).append("|").append(row));
        }
    }
    return rows;
}

std::set<std::string> common(const std::set<std::string>& some,
                             const std::set<std::string>& others) {
    std::set<std::string> rows;
    std::ranges::set_intersection(some, others, std::inserter(rows, rows.end()));
    return rows;
}

// What holds of the databases whenever a host has been at work.
void expectSound(const fs::path& root) {
    for (const auto& [file, table] : TABLES) {
        const fs::path path = root / DIRECTORY / file;
        if (fs::exists(path)) {
            EXPECT_EQ(DatabaseFile(path).run("PRAGMA integrity_check"),
                      std::vector<std::string>{"ok"});
        }
    }
    const fs::path records = root / DIRECTORY / "KestrelStartsAction.db";
    if (fs::exists(records) && !DatabaseFile(records).run("SELECT 1 FROM sqlite_master").empty()) {
        EXPECT_EQ(DatabaseFile(records).run(
                      "SELECT appName FROM output_table GROUP BY appName HAVING COUNT(*) > 1"),
                  std::vector<std::string>{});
    }
}

void expectLearned(const fs::path& root, const std::string& app) {
    const std::string ofApp = " WHERE appName = '" + app + "'";
    EXPECT_EQ(DatabaseFile(root / DIRECTORY / "KestrelStartsState.db")
                  .run("SELECT hex(blob) FROM app_state" + ofApp),
              std::vector<std::string>{"04000000"});
    // 400 ms, raised to the least.
    EXPECT_EQ(DatabaseFile(root / DIRECTORY / "KestrelStartsAction.db")
                  .run("SELECT hex(substr(blob, 9, 4)) FROM output_table" + ofApp),
              std::vector<std::string>{"EE020000"});
}

// An app is called learned only after its record has been committed. REQUIRES: it is never removed.
void expectRecordOnceLearned(const fs::path& root, const std::string& app) {
    const fs::path states = root / DIRECTORY / "KestrelStartsState.db";
    if (fs::exists(states) && !DatabaseFile(states).run("SELECT 1 FROM sqlite_master").empty() &&
        !DatabaseFile(states)
             .run("SELECT 1 FROM app_state WHERE blob = x'04000000' AND appName = '" + app + "'")
             .empty()) {
        expectLearned(root, app);
    }
}

class PowerCutTest : public testing::Test {
 protected:
    // What is left when the event behind the first `count` was under way: rows that are there
    // before and after it, and no others than these but for states in between.
    void expectBetween(const std::set<std::string>& left, const Story& story, std::size_t count) {
        std::set<std::string> rows[2];
        for (const std::size_t more : {0U, 1U}) {
            fs::remove_all(mProgram.path("played"));
            auto size = static_cast<std::ptrdiff_t>(std::min(count + more, story.size()));
            // A frame stores nothing, but the end of the input would measure its launch.
            size -= size > 0 && story[static_cast<std::size_t>(size) - 1].hintId == 4103 ? 1 : 0;
            mProgram.write("part.jsonl", toTrace(Story(story.begin(), story.begin() + size)));
            EXPECT_EQ(mProgram.run("replay --no-sync --root played part.jsonl").status, 0);
            rows[more] = dumpAll(mProgram.path("played"));
        }
        EXPECT_TRUE(std::ranges::includes(left, common(rows[0], rows[1])));
        for (const std::string& row : left) {
            EXPECT_TRUE(rows[0].contains(row) || rows[1].contains(row) ||
                        row.starts_with("app_state|"))
                << row;
        }
    }

    // Plays the story with all its flushes and cuts the power at each point; restarts on what is
    // left and plays the rest.
    void cutEverywhere(const Story& story) {
        const fs::path root = mProgram.path("root");
        std::vector<std::set<std::string>> before = {dumpAll(root)};  // each event
        LinuxHost host(
            {}, {.root = root, .plugin = KESTREL_PLUGIN, .knobLibrary = KESTREL_KNOB_LIBRARY},
            [](const HostRecord&) {});
        PowerCutVfs& vfs = *new PowerCutVfs(root / DIRECTORY);  // as long as the open databases
        host.start(0);
        for (std::size_t i = 0; i < story.size(); ++i) {
            vfs.event = i;
            host.deliver(static_cast<int64_t>(400 * i), i, story[i]);
            before.push_back(dumpAll(root));
            vfs.images.push_back(vfs.take());
        }
        vfs.event = story.size();
        before.push_back(before.back());
        host.stop();
        const std::vector<PowerCutVfs::Image> images = std::exchange(vfs.images, {});
        ASSERT_GT(images.size(), story.size());
        std::cout << images.size() << " points\n";
        for (std::size_t i = 0; i < images.size() && !HasFailure(); i += KESTREL_SWEEP_STRIDE) {
            SCOPED_TRACE("point " + std::to_string(i) + " in event " +
                         std::to_string(images[i].event));
            const auto committed = common(before[images[i].event], before[images[i].event + 1]);
            const std::size_t next = std::min(images[i].event + 1, story.size());
            // A removal deletes the record, then the state. An app that is left without a record
            // begins one that says 0 ms, and learns when it has been launched 100 times.
            const bool inRemoval = next < story.size() && story[next - 1].hintId == 4164;
            const Story rest =
                Story(story.begin() + static_cast<std::ptrdiff_t>(next), story.end()) +
                (inRemoval ? launches(100) : Story{}) + UNTIL_LEARNED;
            restartOn(images[i].durable, committed, rest);
            restartOn(images[i].written, committed, rest);
            restartOn(PowerCutVfs::torn(images[i], i), committed, rest);
        }
    }

    void restartOn(const PowerCutVfs::Files& files, const std::set<std::string>& committed,
                   const Story& rest) {
        const fs::path root = restore("restarted", files);
        // Looked at in a copy: reading repairs a log that is torn.
        EXPECT_TRUE(std::ranges::includes(dumpAll(restore("left", files)), committed));
        mProgram.write("rest.jsonl", toTrace(rest));
        const auto result = mProgram.run("replay --no-sync --root restarted rest.jsonl");
        EXPECT_EQ(result.status, 0) << result.err;
        expectSound(root);
        expectLearned(root, APP);
    }

    fs::path restore(const std::string& name, const PowerCutVfs::Files& files) {
        const fs::path root = mProgram.path(name);
        fs::remove_all(root);
        fs::create_directories(root / DIRECTORY);
        for (const auto& [file, content] : files) {
            std::ofstream(root / DIRECTORY / file, std::ios::binary) << content;
        }
        return root;
    }

    ProgramRun mProgram;
};

TEST_F(PowerCutTest, LearningAndRemoval) {
    cutEverywhere(launches(7) + REMOVAL + launches(6));
}

TEST_F(PowerCutTest, Relearning) {
    mProgram.write("learned.jsonl", toTrace(launches(7)));
    ASSERT_EQ(mProgram.run("replay --root root learned.jsonl").status, 0);
    // 98 launches since, of 100.
    DatabaseFile(mProgram.path("root") / DIRECTORY / "KestrelStartsAction.db")
        .run(
            "UPDATE output_table SET blob = CAST(substr(blob, 1, 528) || x'62000000' ||"
            " x'00000000' AS BLOB)");
    cutEverywhere(launches(9));
}

// A real process, at points that nobody chose: when it has said so much.
TEST_F(PowerCutTest, KilledAgainAndAgain) {
    Story story;
    for (int i = 0; i < 40; ++i) {
        story = story + launches(9) + launches(8, "com.b/.Main") + REMOVAL;
    }
    mProgram.write("story.jsonl", toTrace(story));
    mProgram.write("rest.jsonl", toTrace(UNTIL_LEARNED + launches(12, "com.b/.Main")));
    const fs::path root = mProgram.path("root");
    const fs::path said = mProgram.path("said.txt");
    ASSERT_EQ(mProgram.run("replay --json --root root story.jsonl >said.txt").status, 0);
    const std::size_t all = fs::file_size(said);
    std::minstd_rand random(1);
    int killed = 0;
    for (int i = 0; i < 200; i += KESTREL_SWEEP_STRIDE) {
        SCOPED_TRACE(i);
        const bool isNew = i % 20 < KESTREL_SWEEP_STRIDE;
        if (isNew) {
            fs::remove_all(root);
        }
        fs::remove(said);
        const std::size_t enough = random() % (all / 3);
        // From a pipe, as it says each thing at once then.
        const std::string command = "cd '" + mProgram.path("").string() +
                                    "' && rm -f pipe && mkfifo pipe && { cat story.jsonl >pipe & } "
                                    "&& exec " KESTREL_PROGRAM
                                    " replay --json --root root - <pipe >said.txt 2>&1";
        const char* words[] = {"sh", "-c", command.c_str(), nullptr};
        pid_t child = 0;
        ASSERT_EQ(
            posix_spawn(&child, "/bin/sh", nullptr, nullptr, const_cast<char**>(words), environ),
            0);
        int status = 0;
        std::error_code notYet;
        while (waitpid(child, &status, WNOHANG) == 0) {
            const std::size_t size = fs::exists(said) ? fs::file_size(said, notYet) : 0;
            if (size > enough && size <= all) {
                kill(child, SIGKILL);
                ASSERT_EQ(waitpid(child, &status, 0), child);
                break;
            }
            usleep(300);
        }
        killed += WIFSIGNALED(status) ? 1 : 0;
        // Looked at in a copy, so that the next one begins on what this one left.
        const fs::path left = mProgram.path("left");
        fs::remove_all(left);
        fs::copy(root, left, fs::copy_options::recursive);
        expectSound(left);
        expectRecordOnceLearned(left, "com.b/.Main");
        if (isNew) {
            // What arrives live is told when it has been done.
            std::size_t told = 0;
            for (const std::string& line : splitLines(mProgram.read("said.txt"))) {
                told += line.starts_with(R"({"kind":"event")") ? 1 : 0;
            }
            EXPECT_GT(told, 0U);
            expectBetween(dumpAll(left), story, told);
        }
    }
    EXPECT_GT(killed, 100 / KESTREL_SWEEP_STRIDE);
    ASSERT_EQ(mProgram.run("replay --no-sync --root root rest.jsonl").status, 0);
    expectSound(root);
    expectLearned(root, APP);
    expectLearned(root, "com.b/.Main");
}

}  // namespace

}  // namespace kestrel
