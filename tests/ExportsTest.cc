// Launches that other programs wrote down: histories of starts, log exports, benchmark results.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/EventNames.h"
#include "tools/base/InputError.h"
#include "tools/base/JsonStream.h"
#include "tools/base/MemorySource.h"
#include "tools/input/JsonKind.h"
#include "tools/input/exports/BenchmarkResults.h"
#include "tools/input/exports/LogExport.h"
#include "tools/input/exports/StartInfoReader.h"

namespace kestrel {

namespace {

using Lines = std::vector<std::string>;

std::string example(const std::string& name) {
    std::ifstream file(std::string(KESTREL_EXAMPLES "/") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// "firstT..lastT starts/units", and the notes by their kind.
std::string summaryOf(const InputSummary& summary) {
    std::string text = std::to_string(summary.firstT.value_or(-1)) + ".." +
                       std::to_string(summary.lastT.value_or(-1)) + " " +
                       std::to_string(summary.starts) + "/" + std::to_string(summary.units);
    for (const InputNote& note : summary.notes) {
        const bool isBackground = note.kind == InputNote::Kind::backgroundStarts;
        text += isBackground                                 ? " background "
                : note.kind == InputNote::Kind::failedStarts ? " failed "
                : note.kind == InputNote::Kind::otherEntries ? " other "
                                                             : " bad ";
        text += std::to_string(note.count);
    }
    return text;
}

// ---- Histories of starts.

constexpr std::string_view KS_HEAD = "ACTIVITY MANAGER LRU PROCESSES (dumpsys activity start-info)";

ImportedInput startInfo(const std::string& text) {
    MemorySource source("starts.txt", text);
    return readStartInfo(source);
}

TEST(StartInfoTest, ReadsTheExample) {
    const ImportedInput imported = startInfo(example("start-info.txt"));
    EXPECT_EQ(namesOf(imported.objects),
              (Lines{"31000000 launch org.example.radio", "31001202 frame org.example.radio",
                     "500480000 switch org.example.home", "500490000 launch org.example.camera",
                     "500520000 launch org.example.notes", "500540000 launch org.example.camera",
                     "500610500 launch org.example.camera", "500610900 launch org.example.notes",
                     "500611080 frame org.example.notes", "500611124 frame org.example.camera",
                     "500630000 switch org.example.home"}));
    EXPECT_EQ(imported.objects[6].line, 13U);
    EXPECT_EQ(imported.objects[9].line, 13U);
    EXPECT_EQ(summaryOf(imported.summary), "31000000..500900000 8/13 background 4 failed 1 bad 1");
}

TEST(StartInfoTest, TakesOfARecordWhatIsGood) {
    const std::string ACTIVITY = " package=com.a reason=START ACTIVITY startType=COLD\n";
    const std::string HOME =
        " intent=Intent { cat=[a,android.intent.category.HOME] cmp=com.h/.H }\n";
    const struct {
        const char* name;
        std::string record;
        Lines events;
        const char* summary;
    } cases[] = {
        {"nothing", "", {}, "-1..-1 0/1 bad 1"},
        {"no time", ACTIVITY, {}, "-1..-1 0/1 bad 1"},
        {"negative time", " monotonicCreationTimeMs=-1\n" + ACTIVITY, {}, "-1..-1 0/1 bad 1"},
        {"time without room",
         " monotonicCreationTimeMs=9223372036854775807\n" + ACTIVITY + " timestamps: 0=0 4=1 \n",
         {},
         "-1..-1 0/1 bad 1"},
        {"no package of its own, carriage returns",
         "reason=LAUNCHER startType=UNSET\r\r\n  timestamps:\n  timestamps: 0=7999999 "
         "4=60007999999\r\n",
         {"7 launch com.section", "60007 frame com.section"},
         "7..60007 1/1"},
        {"one nanosecond too late",
         ACTIVITY + " timestamps: 0=7999999 4=60008000000 \n",
         {"7 launch com.a"},
         "7..7 1/1"},
        {"package that is none",
         ACTIVITY + " timestamps: 0=1\n package=" + std::string(256, 'a'),
         {},
         "-1..-1 0/1 bad 1"},
        {"frame without launch",
         " monotonicCreationTimeMs=5\n" + ACTIVITY + " timestamps: 4=1000000\n",
         {"5 launch com.a"},
         "5..5 1/1"},
        {"numbers that are none",
         " monotonicCreationTimeMs=5x\n" + ACTIVITY +
             " timestamps: 0=9000000 4=99999999999999999999 \n",
         {"9 launch com.a"},
         "9..9 1/1"},
        {"given up, with a frame after all",
         " monotonicCreationTimeMs=5\n startupState=1\n" + ACTIVITY + " timestamps: 0=0 4=0",
         {"5 launch com.a", "5 frame com.a"},
         "5..5 1/1"},
        {"home",
         ACTIVITY + HOME + " timestamps: 0=1000000 4=2000000",
         {"1 switch com.a"},
         "1..1 1/1"},
        {"home in the background",
         " startComponent=CONTENT PROVIDER monotonicCreationTimeMs=3\n" + ACTIVITY + HOME,
         {},
         "3..3 0/1 background 1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string text = "reason=LAUNCHER 0=1\n" + std::string(KS_HEAD);
        text += "\n  package: com.section\nApplicationStartInfo #0:\n" + c.record;
        text +=
            "\nACTIVITY MANAGER LRU PROCESSES (dumpsys activity lru)\nApplicationStartInfo #0:\n";
        const ImportedInput imported = startInfo(text);
        EXPECT_EQ(namesOf(imported.objects), c.events);
        EXPECT_EQ(summaryOf(imported.summary), c.summary);
    }
    EXPECT_THROW(startInfo("ACTIVITY MANAGER LRU PROCESSES (dumpsys activity lru)"), InputError);
}

TEST(StartInfoTest, KeepsTheOrderOfTheDumpAtEqualTimes) {
    std::string text(KS_HEAD);
    for (const std::string app : {"com.c", "com.a", "com.b"}) {
        text += "\n ApplicationStartInfo #0:\n monotonicCreationTimeMs=" +
                std::string(app == "com.a" ? "4" : "5") + "\n package=" + app +
                " reason=LAUNCHER\n timestamps: 0=0 4=1000000 ";
    }
    EXPECT_EQ(namesOf(startInfo(text).objects),
              (Lines{"4 launch com.a", "5 frame com.a", "5 launch com.c", "5 launch com.b",
                     "6 frame com.c", "6 frame com.b"}));
}

// ---- Log exports.

// "NUMBER US TAG|TEXT" of each message, then the counts.
Lines exported(const std::string& text) {
    MemorySource source("log.logcat", text);
    Lines lines;
    const LogExportCounts counts = readLogExport(source, [&](const ExportedMessage& message) {
        lines.push_back(std::to_string(message.number) + " " + std::to_string(message.us) +
                        (message.isBufferHead ? " head " : " ") + std::string(message.tag) + "|" +
                        std::string(message.text));
    });
    lines.push_back(std::to_string(counts.messages) + "+" + std::to_string(counts.badEntries));
    return lines;
}

TEST(LogExportTest, ReadsTheExample) {
    const Lines lines = exported(example("log-export.logcat"));
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "1 0 head |--------- beginning of system");
    EXPECT_EQ(
        lines[1].substr(0, 85),
        "2 1777700405120999 ActivityTaskManager|START u0 {act=android.intent.action.MAIN cat=[");
    EXPECT_EQ(lines[3], "4 1777700405480000 Pages|opened late:\n  at Pages.open\n  at Today.show");
    EXPECT_EQ(lines[6], "6+0");
}

TEST(LogExportTest, PassesOverWhatIsNoMessage) {
    const auto entry = [](const std::string& tag, const std::string& time) {
        return R"({"message":"m","header":{"timestamp":)" + time + R"(,"pid":0,"tag":)" + tag +
               "}}";
    };
    const std::string GOOD = entry("\"t\"", R"({"nanos":999999999,"seconds":0})");
    Lines bad = {"5", "[]", "[[1]]", "{}", "null", R"({"message":"m","header":[]})"};
    bad.push_back(entry("7", R"({"nanos":0,"seconds":0})"));
    bad.push_back(entry("[\"t\"]", R"({"nanos":0,"seconds":0})"));
    for (const char* time : {"0", "{}", R"({"seconds":1})", R"({"seconds":-1,"nanos":0})",
                             R"({"seconds":1.5,"nanos":0})", R"({"seconds":1,"nanos":1000000000})",
                             R"({"seconds":9223372036854,"nanos":0})",
                             R"({"seconds":18446744073709551615,"nanos":0})"}) {
        bad.push_back(entry("\"t\"", time));
    }
    for (const std::string& other : bad) {
        SCOPED_TRACE(other);
        std::string text = R"({"logcatMessages":[)" + other;
        text += "," + GOOD + "]}";
        EXPECT_EQ(exported(text), (Lines{"2 999999 t|m", "1+1"}));
    }
}

TEST(LogExportTest, RefusesWhatIsNoExport) {
    const std::string LONG(KS_MAX_JSON_VALUE, 'x');
    for (const std::string& text : Lines{
             "", "[]", "5", "{\"logcatMessages\":5}", "{\"metadata\":{}}", "{\"logcatMessages\":[",
             "{\"logcatMessages\":[]} {}", std::string("{\"logcatMessages\":[]}\0", 22),
             "{\"a\":\"\xff\",\"logcatMessages\":[]}",
             "{\"a\":\"" + LONG + "\",\"logcatMessages\":[]}",
             "{\"logcatMessages\":" + std::string(100000, '[')}) {
        SCOPED_TRACE(text.substr(0, 50));
        EXPECT_THROW(exported(text), InputError);
    }
    EXPECT_EQ(exported("\xef\xbb\xbf{\"logcatMessages\":[]}"), Lines{"0+0"});
    try {
        exported("{\n \"logcatMessages\": [\n  nil]}");
        ADD_FAILURE();
    } catch (const InputError& error) {
        EXPECT_STREQ(error.what(), "log.logcat:3: not JSON, from byte 27 on");
    }
}

// ---- Benchmark results.

ImportedInput benchmark(const std::string& text) {
    MemorySource source("benchmarkData.json", text);
    return readBenchmarkResults(source, "com.a");
}

TEST(BenchmarkResultsTest, ReadsTheExample) {
    const ImportedInput imported = benchmark(example("startup-benchmarkData.json"));
    EXPECT_EQ(namesOf(imported.objects),
              (Lines{"0 launch com.a", "514 frame com.a", "5514 switch launcher",
                     "10514 launch com.a", "10916 frame com.a", "15916 switch launcher",
                     "20916 launch com.a", "21346 frame com.a", "26346 switch launcher",
                     "31346 launch com.a", "31468 frame com.a", "36468 switch launcher",
                     "41468 launch com.a", "41588 frame com.a"}));
    EXPECT_EQ(imported.objects.front().line, 24U);
    EXPECT_EQ(imported.objects[7].line, 26U);  // its number ends with the line
    EXPECT_EQ(summaryOf(imported.summary), "0..41588 5/5 other 1");
}

TEST(BenchmarkResultsTest, TakesOnlyRunsThatAreDurations) {
    const ImportedInput imported = benchmark(
        R"({"benchmarks":[{"metrics":{"timeToInitialDisplayMs":{"runs":[-0.1,3600000.5,1e300,)"
        R"("5",null,[7],0,18446744073709551615,-9223372036854775808]}}},)"
        R"({"metrics":{"timeToInitialDisplayMs":{}}},{},3]})");
    EXPECT_EQ(namesOf(imported.objects), (Lines{"0 launch com.a", "0 frame com.a"}));
    EXPECT_EQ(summaryOf(imported.summary), "0..0 1/9 other 1 bad 10");
    EXPECT_EQ(summaryOf(benchmark("{\"benchmarks\":[]}").summary), "-1..-1 0/0");
    EXPECT_THROW(benchmark("{\"context\":{}}"), InputError);
    std::string many = R"({"benchmarks":[{"metrics":{"timeToInitialDisplayMs":{"runs":[0)";
    for (int i = 0; i < 100'000; ++i) {
        many += ",0";
    }
    EXPECT_THROW(benchmark(many + "]}}}]}"), InputError);
    EXPECT_THROW(benchmark("{\"benchmarks\":[{\"a\":NaN}]}"), InputError);
}

// ---- Which of them it is.

TEST(JsonKindTest, IsToldByTheKeysOfTheFirstObject) {
    const struct {
        std::string text;
        JsonKind kind;
    } cases[] = {
        {example("log-export.logcat").substr(0, 50), JsonKind::logExport},
        {example("startup-benchmarkData.json"), JsonKind::benchmark},
        {" \n{\"logcatMessages\":[{", JsonKind::logExport},
        {R"({"x\"{":"}\\","logcat\u004dessages":[]})", JsonKind::logExport},
        {R"({"x":{"metadata":1},"benchmarks":[]})", JsonKind::benchmark},
        {R"({"context":{"build":"ab)", JsonKind::benchmark},
        {R"({"context":{},"t":1})", JsonKind::trace},
        {R"({"t":1,"metadata":{}})", JsonKind::trace},
        {R"({"host":{"metadata":{},"benchmarks":[]}})", JsonKind::trace},
        {"{\"t\":1,\"hintId\":2}\n{\"metadata\":1}", JsonKind::trace},
        {"{}\n{\"metadata\":1}", JsonKind::trace},
        {R"({"a" "metadata":1})", JsonKind::trace},
        {"{\"a\":\"" + std::string(KS_JSON_KIND_SIZE, ' ') + "\",\"metadata\":1}", JsonKind::trace},
        {"{", JsonKind::trace},
        {"", JsonKind::trace},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 60));
        EXPECT_EQ(jsonKindOf(c.text), c.kind);
    }
}

}  // namespace

}  // namespace kestrel
