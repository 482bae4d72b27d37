// Inputs on standard input: through a pipe, redirected from a file, live.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Archive.h"
#include "tests/support/LiveHost.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/Trace.h"

namespace kestrel {

namespace {

const std::string START =
    "03-01 10:00:01.000  7  8 I ActivityManager: START u0 {flg=0x10000000 cmp=com.a/.Main}\n";
const std::string FRAME =
    "03-01 10:00:01.600  7  8 I ActivityManager: Displayed com.a/.Main: "
    "+600ms\n";
const std::string EARLIER =
    "03-01 10:00:00.000  7  8 I ActivityManager: START u0 {flg=0x10000000 cmp=com.b/.Main}\n";

std::string utf16(const std::string& text) {
    std::string units = "\xFF\xFE";
    for (const char c : text) {
        units += c;
        units += '\0';
    }
    return units;
}

class PipedInputTest : public testing::Test {
 protected:
    static std::string example(const std::string& name) {
        return ProgramRun().read(KESTREL_EXAMPLES "/" + name);
    }

    ProgramRun mProgram;
};

}  // namespace

TEST_F(PipedInputTest, WhatIsReadWholeIsTheSameFromAFileAndAPipe) {
    const std::string report = example("bugreport.txt");
    ASSERT_FALSE(report.empty());
    const struct {
        const char* name;
        std::string content;
    } cases[] = {
        {"report", report},
        {"zip", ArchiveMaker::zip({{"version.txt", "2.0"}, {"bugreport-a.txt", report}})},
        {"gzip", ArchiveMaker::compressed(report, ARCHIVE_FILTER_GZIP)},
        {"UTF-16", utf16(START + FRAME)},
        {"perfetto", example("launch.perfetto-trace")},
        {"ftrace", example("launch.ftrace")},
        {"start-info", example("start-info.txt")},
        {"export", example("log-export.logcat")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto file = mProgram.run("import " + mProgram.write("in", c.content));
        EXPECT_EQ(file.status, 0) << file.err;
        EXPECT_NE(file.out.find("\"hintId\":4225"), std::string::npos) << file.err;
        EXPECT_EQ(mProgram.run("import -", c.content).out, file.out);
        EXPECT_EQ(mProgram.runPiped("import -", c.content).out, file.out);
    }
    // Only a file can be sorted.
    const auto sorted = mProgram.run("import " + mProgram.write("in", START + EARLIER));
    EXPECT_TRUE(sorted.out.starts_with(R"({"t":5220000000,)")) << sorted.out;
    EXPECT_EQ(mProgram.run("import -", START + EARLIER).out, sorted.out);
    const auto arrived = mProgram.runPiped("import -", START + EARLIER);
    EXPECT_TRUE(arrived.out.starts_with(R"({"t":5220001000,)")) << arrived.out;
}

TEST_F(PipedInputTest, LinesOfALogAreAnsweredAsTheyArrive) {
    LiveHost host(mProgram, "");
    host.send(START);
    EXPECT_TRUE(host.waitFor("\"hintId\":4225"));
    host.send(FRAME);
    EXPECT_TRUE(host.waitFor("\"hintId\":4103"));
    EXPECT_EQ(host.end(), 0);
}

TEST_F(PipedInputTest, WhatIsNoInputIsToldAsOfAFile) {
    const struct {
        const char* arguments;
        std::string content;
        const char* message;
    } cases[] = {
        {"import", "", ": it is empty; what is read are Android logs"},
        {"import", "\n\nhello\n", ": no line of it is a log line; what is read"},
        {"replay", "\x89PNG\r\n\x1a\n", ": it is a picture; what is read"},
        {"replay", std::string("SQLite format 3\0", 16), ": it is an SQLite database; "},
        {"import", Trace().launch("com.a", 10).str(), ": an event trace, which is what import"},
        {"evaluate", example("startup-benchmarkData.json"), ": benchmark results do not name the"},
        {"replay", ArchiveMaker::compressed(START, ARCHIVE_FILTER_GZIP).substr(0, 30),
         ": the gzip data ends early"},
        {"replay", '{' + std::string((16 << 20), ' ') + "}\n", ":1: the line is too long"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const std::string arguments = c.arguments;
        const auto piped = mProgram.runPiped(arguments + " -", c.content);
        EXPECT_EQ(piped.status, 2);
        EXPECT_NE(piped.err.find(std::string("-") + c.message), std::string::npos) << piped.err;
        const auto file = mProgram.run(arguments + " " + mProgram.write("in", c.content));
        EXPECT_EQ(file.status, 2);
        EXPECT_NE(file.err.find(std::string("in") + c.message), std::string::npos) << file.err;
    }
    EXPECT_EQ(mProgram.runPiped("replay -", "").status, 0);
    EXPECT_EQ(mProgram.run("replay -").status, 0);
}

// The host has started when the pipe's turn comes.
TEST_F(PipedInputTest, AnInterruptionWhileAPipeIsReadWholeEndsInOrder) {
    mProgram.write("host.json", R"({"host":{}})");
    mProgram.write("part", ArchiveMaker::zip({{"a.log", START}}).substr(0, 50));
    mProgram.write("script",
                   "mkfifo in out\n"
                   "env --default-signal=INT " KESTREL_PROGRAM
                   " replay --json --host host.json - <in >out &\n"
                   "exec 3>in 4<out\n"
                   "cat part >&3\n"
                   "read -r line <&4\n"
                   "kill -INT $!\n"
                   "cat <&4\n"
                   "wait $!\n");
    const auto result = mProgram.runInShell("sh script");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(splitLines(result.out).back(), R"({"kind":"stop","t":0})");
}

}  // namespace kestrel
