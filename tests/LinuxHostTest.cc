// The host's own life: whose root it is, how it ends, and what it cannot get.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/linux/LinuxHost.h"
#include "tests/support/DatabaseFile.h"
#include "tests/support/LiveHost.h"
#include "tests/support/ProgramRun.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

const std::string LAUNCH = R"({"t":10,"hintId":4225,"hintType":1,"appName":"com.a/.Main"})"
                           "\n";
const std::string FRAME = R"({"t":500,"hintId":4103,"appName":"com.a"})"
                          "\n";
const std::string LEAVE = R"({"t":600,"hintId":4097,"appName":"com.b"})"
                          "\n";
const std::string QUERY = R"({"t":900,"query":3,"appName":"com.a/.Main"})"
                          "\n";

class LinuxHostTest : public testing::Test {
 protected:
    // When everything below a directory was changed.
    std::map<fs::path, fs::file_time_type> changes(const std::string& root) const {
        std::map<fs::path, fs::file_time_type> times;
        for (const auto& entry : fs::recursive_directory_iterator(mProgram.path(root))) {
            times[entry.path()] = entry.last_write_time();
        }
        return times;
    }

    std::vector<std::string> stored(const std::string& root) const {
        return DatabaseFile(mProgram.path(root) / "data/vendor/lm/KestrelStarts.db")
            .run("SELECT appName, hex(blob) FROM KestrelStarts");
    }

    ProgramRun mProgram;
};

TEST_F(LinuxHostTest, ARootIsOneHostsAtATime) {
    mProgram.write("trace.jsonl", LAUNCH + FRAME + LEAVE);
    fs::create_directory_symlink("root", mProgram.path("link"));
    fs::create_directory(mProgram.path("other"));
    fs::create_directory_symlink("../root/data", mProgram.path("other/data"));
    LiveHost host(mProgram, "--root root");
    host.send(LAUNCH);
    ASSERT_TRUE(host.waitFor(R"("kind":"meter")"));
    const auto before = changes("root");
    for (const std::string root : {"root", "root/.", "link", "other"}) {
        SCOPED_TRACE(root);
        const auto result = mProgram.run("replay --json --root " + root + " trace.jsonl");
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "kestrelhost: " + root + ": another host is running on it\n");
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(mProgram.run("inspect --root root").status, 0);
    EXPECT_EQ(changes("root"), before);
    EXPECT_EQ(mProgram.run("replay --root elsewhere trace.jsonl").status, 0);
    host.send(FRAME + LEAVE);
    ASSERT_TRUE(host.waitFor(R"("kind":"measured")"));
    host.killNow();
    EXPECT_EQ(host.end(), -1);
    EXPECT_EQ(mProgram.run("replay --root root trace.jsonl").status, 0);
    EXPECT_EQ(stored("root").size(), 2U);
}

TEST_F(LinuxHostTest, ALaunchThatHasDrawnItsFirstFrameIsMeasuredAtTheEnd) {
    const std::string measured =
        R"({"kind":"measured","t":900,"app":"com.a/.Main","duration":490,"aborted":false,"result":1})";
    const struct {
        const char* name;
        std::string events;
        std::string before;  // the record before that of the stop
        std::size_t stored;
        int status = 0;
    } cases[] = {
        {"open", LAUNCH + FRAME + QUERY, measured, 1},
        {"open at a wrong line", LAUNCH + FRAME + QUERY + "{}\n", measured, 1, 2},
        {"without a frame", LAUNCH + QUERY, "", 0},
        {"frame of another app",
         LAUNCH + R"({"t":20,"hintId":4103,"appName":"com.b"})" + "\n" + QUERY, "", 0},
        {"ended before", LAUNCH + FRAME + LEAVE + QUERY, "", 1},
        {"nothing", "", "", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(mProgram.path("root"));
        const auto result = mProgram.runPiped("replay --json --root root -", c.events);
        EXPECT_EQ(result.status, c.status) << result.err;
        const auto lines = splitLines(result.out);
        ASSERT_GE(lines.size(), 2U);
        EXPECT_TRUE(lines.back().starts_with(R"({"kind":"stop")"));
        const std::string& last = lines[lines.size() - 2];
        EXPECT_EQ(last.starts_with(R"({"kind":"measured")") ? last : "", c.before);
        EXPECT_EQ(stored("root"),
                  std::vector<std::string>(c.stored, "com.a/.Main|EA01000000000000"));
    }
}

TEST_F(LinuxHostTest, TheDatabasesAreCompleteWithoutTheirLogs) {
    std::ostringstream launches;
    for (int t = 1000; t <= 7000; t += 1000) {
        launches << R"({"t":)" << t << R"(,"hintId":4225,"hintType":1,"appName":"com.a"})"
                 << "\n"
                 << R"({"t":)" << t + 900 << R"(,"hintId":4103,"appName":"com.a"})"
                 << "\n";
    }
    for (const std::string option : {"--sync", "--no-sync"}) {
        SCOPED_TRACE(option);
        fs::remove_all(mProgram.path("root"));
        fs::remove_all(mProgram.path("copy"));
        EXPECT_EQ(mProgram.run("replay --root root " + option + " -", launches.str()).status, 0);
        fs::create_directory(mProgram.path("copy"));
        for (const auto& file : fs::directory_iterator(mProgram.path("root/data/vendor/lm"))) {
            if (file.path().extension() == ".db") {
                fs::copy(file, mProgram.path("copy"));
            }
        }
        const std::string shown = mProgram.run("inspect --root root").out;
        EXPECT_NE(shown.find("learned          900"), std::string::npos) << shown;
        EXPECT_EQ(mProgram.run("inspect --root copy").out, shown);
    }
}

// What a process whose user may have so many threads in all says of it.
[[noreturn]] void startWithThreads(const fs::path& root, rlim_t most) {
    alarm(60);
    const rlimit limit{most, most};
    constexpr uid_t NOBODY_ELSE = 54321;
    if (setrlimit(RLIMIT_NPROC, &limit) != 0 || (getuid() == 0 && setuid(NOBODY_ELSE) != 0)) {
        std::perror("cannot be limited");
        _exit(2);
    }
    try {
        LinuxHost host({},
                       {.root = root,
                        .sync = false,
                        .plugin = KESTREL_PLUGIN,
                        .knobLibrary = KESTREL_KNOB_LIBRARY},
                       [](const HostRecord&) {});
        host.start(0);
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        _exit(std::string_view(error.what()).starts_with("cannot start a thread: ") ? 0 : 2);
    }
    _exit(1);
}

// The thread that constructs the feature, and the meter's.
TEST_F(LinuxHostTest, AThreadThatCannotBeMadeEndsTheHost) {
    // Another user may not be able to read them.
    ASSERT_NE(dlopen(KESTREL_KNOB_LIBRARY, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    ASSERT_NE(dlopen(KESTREL_PLUGIN, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    const fs::path root = mProgram.path("root");
    fs::create_directory(root);
    fs::permissions(root.parent_path(), fs::perms::all);
    fs::permissions(root, fs::perms::all);
    for (const rlim_t most : {1U, 2U}) {
        SCOPED_TRACE(most);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            startWithThreads(root, most);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
}

}  // namespace

}  // namespace kestrel
