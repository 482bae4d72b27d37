#include "tools/input/perfetto/PerfettoTrace.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/BlockSource.h"
#include "tests/support/EventNames.h"
#include "tests/support/PerfettoTrace.h"
#include "tools/base/InputError.h"
#include "tools/input/perfetto/FtraceText.h"

namespace kestrel {

namespace {

using Lines = std::vector<std::string>;

// A text that was written at a time in µs.
struct Print {
    uint64_t timeUs;
    std::string text;
};
using Prints = std::vector<Print>;

const std::string INTENT_STARTED = "B|1500|MetricsLogger:launchObserverNotifyIntentStarted";
const std::string FINISHED = "B|1500|MetricsLogger:launchObserverNotifyActivityLaunchFinished";

Prints operator+(Prints a, const Prints& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A launch as it is written from Android 13 on; an outcome of "" is none.
Prints numbered(uint64_t beganMs, uint64_t endMs, int number, const std::string& outcome) {
    const std::string name = "launchingActivity#" + std::to_string(number);
    Prints prints{{beganMs * 1000, "S|1500|" + name + "|0"}};
    if (endMs > 0) {
        prints.push_back({endMs * 1000, "F|1500|" + name + "|0"});
    }
    if (!outcome.empty()) {
        prints.push_back({endMs * 1000 + 7, "I|1500|" + name + ":" + outcome});
    }
    return prints;
}

Print slice(uint64_t ms, char type, const std::string& package, int cookie = 0) {
    return {ms * 1000,
            std::string(1, type) + "|1500|launching: " + package + "|" + std::to_string(cookie)};
}

// Read from its middle, as the buffers of two processors follow each other.
std::string traceOf(const Prints& prints, uint64_t apiLevel = 0) {
    PerfettoTrace trace;
    if (apiLevel > 0) {
        trace.apiLevel(apiLevel);
    }
    for (std::size_t i = 0; i < prints.size(); ++i) {
        const Print& print = prints[(i + prints.size() / 2) % prints.size()];
        trace.print(print.timeUs, print.text);
    }
    return trace.str();
}

ImportedInput read(const std::string& trace, std::size_t blockSize = std::string::npos) {
    BlockSource source(trace, blockSize);
    return readPerfettoTrace(source);
}

Lines launchesOf(const std::string& trace) {
    return namesOf(read(trace).objects);
}

// "KIND COUNT" of each note.
Lines notesOf(const InputSummary& summary) {
    Lines notes;
    for (const InputNote& note : summary.notes) {
        using Kind = InputNote::Kind;
        const std::string name = note.kind == Kind::framesNotHeld  ? "no frame "
                                 : note.kind == Kind::cutOff       ? "no start "
                                 : note.kind == Kind::failedStarts ? "failed "
                                 : note.kind == Kind::badEntries   ? "bad "
                                 : note.kind == Kind::cutShort     ? "cut "
                                                                   : "? ";
        notes.push_back(name + std::to_string(note.count));
    }
    return notes;
}

const Prints TWO_LAUNCHES = numbered(1000, 1450, 7, "completed-cold:org.example.notes") +
                            numbered(3000, 3090, 8, "completed-hot:org.example.mail");
const Lines TWO_LAUNCHED{"1000 launch org.example.notes", "1450 frame org.example.notes",
                         "3000 launch org.example.mail", "3090 frame org.example.mail"};

TEST(PerfettoTrace, FollowsTheRulesOfEachVersion) {
    const struct {
        const char* name;
        Prints prints;
        Lines launches;
        std::size_t starts;
        Lines notes = {};
        uint64_t apiLevel = 0;
    } cases[] = {
        {"numbers join the marks", TWO_LAUNCHES, TWO_LAUNCHED, 2},
        {"launches may overlap",
         numbered(1000, 1900, -3, "completed:com.a") +
             numbered(1200, 1400, 4, "completed-relaunch:com.b"),
         {"1000 launch com.a", "1200 launch com.b", "1400 frame com.b", "1900 frame com.a"},
         2},
        {"outcomes",
         numbered(1000, 1100, 1, "completed-warm:com.a") +
             numbered(2000, 2100, 2, "completed-same-process:com.a") +
             numbered(3000, 3100, 3, "canceled:com.b") +
             numbered(4000, 4100, 4, "completed-same-process:com.a") +
             numbered(5000, 5100, 5, "failed") + numbered(6000, 6100, 6, "later:com.c") +
             numbered(7000, 7100, 7, "") + numbered(8000, 0, 8, ""),
         {"1000 launch com.a", "1100 frame com.a", "3000 launch com.b", "4100 switch com.a"},
         8,
         {"failed 1"}},
        {"of a launch that succeeded, something is missing",
         Prints{{500, "F|1500|launchingActivity#1|0"},
                {600, "I|1500|launchingActivity#1:completed-hot:com.a"}} +
             Prints{{700, "S|1500|launchingActivity#2|0"},
                    {900, "I|1500|launchingActivity#2:completed-hot:com.a"},
                    {950, "F|1499|launchingActivity#2|0"}},
         {},
         1,
         {"no frame 1", "no start 1"}},
        {"spans between requests: one package that begins, ends and finishes",
         Prints{{1000000, INTENT_STARTED},
                slice(1020, 'S', "com.a", -5),
                slice(1400, 'F', "com.a", -5),
                {1401000, FINISHED}} +
             Prints{{2000000, INTENT_STARTED},
                    slice(2010, 'S', "com.b"),
                    slice(2015, 'S', "com.c"),
                    slice(2100, 'F', "com.b"),
                    slice(2200, 'F', "com.c"),
                    {2201000, FINISHED}} +
             Prints{{3000000, INTENT_STARTED}, slice(3010, 'S', "com.d")} +
             Prints{{4000000, INTENT_STARTED}, slice(4010, 'F', "com.d"), {4011000, FINISHED}} +
             Prints{{5000000, INTENT_STARTED},
                    slice(5010, 'S', "com.e"),
                    slice(5100, 'F', "com.e"),
                    {5200000, "B|1500|MetricsLogger:launchObserverNotifyActivityLaunchCancelled"}},
         {"1000 launch com.a", "1400 frame com.a"},
         5,
         {"failed 1"}},
        {"every slice of a package",
         {slice(100, 'F', "com.a"), slice(200, 'S', "com.a"), slice(250, 'S', "com.b"),
          slice(300, 'F', "com.b"), slice(400, 'F', "com.a"), slice(500, 'S', "com.c")},
         {"200 launch com.a", "250 launch com.b", "300 frame com.b", "400 frame com.a",
          "500 launch com.c"},
         3,
         {"no start 1"}},
        {"the version decides, not the marks",
         TWO_LAUNCHES + Prints{slice(5000, 'S', "com.a"), slice(5100, 'F', "com.a")},
         {"5000 launch com.a", "5100 frame com.a"},
         1,
         {},
         28},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ImportedInput imported = read(traceOf(c.prints, c.apiLevel));
        EXPECT_EQ(namesOf(imported.objects), c.launches);
        EXPECT_EQ(imported.summary.starts, c.starts);
        EXPECT_EQ(notesOf(imported.summary), c.notes);
    }
}

TEST(PerfettoTrace, SaysWhatItRead) {
    const auto [objects, summary] = read(traceOf(TWO_LAUNCHES, 32));
    EXPECT_EQ(summary.androidRelease, "12L");
    const auto imported = read(traceOf(TWO_LAUNCHES, 34));
    EXPECT_EQ(imported.summary.kind, SourceKind::perfettoTrace);
    EXPECT_EQ(imported.summary.androidRelease, "14");
    EXPECT_EQ(imported.summary.clock.kind, InputClock::Kind::uptime);
    EXPECT_EQ(imported.summary.units, 7U);
    EXPECT_EQ(imported.summary.firstT, 1000);
    EXPECT_EQ(imported.summary.lastT, 3090);
    ASSERT_EQ(imported.objects.size(), 4U);
    EXPECT_EQ(imported.objects[0].line, 5U);  // the version, then the second half
    EXPECT_EQ(imported.objects[3].line, 2U);
}

TEST(PerfettoTrace, ReadsTheSameHoweverItIsPacked) {
    const std::string trace = traceOf(TWO_LAUNCHES);
    for (const std::string& packed : {zlibPacked(trace), zstdPacked(trace)}) {
        const ImportedInput imported = read(packed + packed.substr(0, packed.size() - 1), 3);
        EXPECT_EQ(namesOf(imported.objects), TWO_LAUNCHED);
        EXPECT_EQ(imported.summary.units, 6U);
        EXPECT_EQ(imported.objects[3].line, 1U);
        EXPECT_EQ(notesOf(imported.summary), Lines{"cut 1"});
    }
    // What comes before a damaged place counts. A packed packet holds no packed ones.
    std::string damaged = zlibPacked(trace + traceOf({{1, std::string(3000, 'x')}}));
    damaged[damaged.size() - 2] ^= 1;
    EXPECT_EQ(launchesOf(damaged), TWO_LAUNCHED);
    EXPECT_EQ(notesOf(read(damaged).summary), Lines{"bad 1"});
    EXPECT_EQ(notesOf(read(zstdPacked(trace + zlibPacked(trace))).summary), Lines{"bad 1"});
    const ProtobufMessage large = ProtobufMessage().bytes(11, std::string(70 << 20, '\0'));
    const std::string bomb = zstdPacked(PerfettoTrace().packet(large).str());
    EXPECT_LT(bomb.size(), 100000U);
    EXPECT_EQ(notesOf(read(trace + bomb).summary), Lines{"bad 1"});
}

TEST(PerfettoTrace, UsesWhatComesBeforeTheEnd) {
    const std::string trace = traceOf(TWO_LAUNCHES);
    const std::string more = traceOf({{9000000, INTENT_STARTED}});
    for (std::size_t size = 0; size <= more.size(); ++size) {
        SCOPED_TRACE(size);
        const ImportedInput imported = read(trace + more.substr(0, size), 50);
        EXPECT_EQ(namesOf(imported.objects), TWO_LAUNCHED);
        const bool isCut = size > 0 && size < more.size();
        EXPECT_EQ(notesOf(imported.summary), isCut ? Lines{"cut 1"} : Lines{});
    }
}

TEST(PerfettoTrace, SurvivesDamage) {
    const std::string long10(9, '\x80');
    const struct {
        const char* name;
        std::string bytes;  // between two halves of a trace
        Lines notes;
        bool isLost = false;  // what comes behind
    } cases[] = {
        {"an unknown field of each type",
         "\x10\x81\x01\x19"
         "12345678"
         "\x22\x02hi\x2d"
         "1234",
         {}},
        {"over-long numbers", std::string("\x8a\x80\x80\0\x82\0", 6) + "\x10\x05", {}},
        {"an event that ends early",
         PerfettoTrace().packet(ProtobufMessage().bytes(1, "\x12\x05x")).str(),
         {"bad 1"}},
        {"a group inside a packet", std::string("\x0a\x02\x0b\x01", 4), {"bad 1"}},
        {"a field that is larger than its packet",
         std::string("\x0a\x03\x0a\x7f\x01", 5),
         {"bad 1"}},
        {"a field that is too large",
         std::string("\x0a\x08\x0a\xff\xff\xff\xff\x7f") + "12",
         {"bad 1"}},
        {"a time that cannot be",
         PerfettoTrace().print(uint64_t{1} << 62, INTENT_STARTED).str(),
         {}},
        {"a tag of 11 bytes", long10 + "\x80\x01", {"bad 1"}, true},
        {"a field of number 0", std::string("\x02\0", 2), {"bad 1"}, true},
        {"a packet as large as can be", "\x0a" + std::string(9, '\xff') + "\x01", {"cut 1"}, true},
    };
    const std::string trace = traceOf(TWO_LAUNCHES);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ImportedInput imported =
            read(trace + c.bytes + traceOf({{5000000, "S|1500|launchingActivity#9|0"}}), 7);
        EXPECT_EQ(namesOf(imported.objects), TWO_LAUNCHED);
        EXPECT_EQ(notesOf(imported.summary), c.notes);
        EXPECT_EQ(imported.summary.starts, c.isLost ? 2U : 3U);
    }
    for (const std::string& none : Lines{"", "\n", "\nHello, this is a text.\n", "text",
                                         std::string(50, '\0'), "\x0a\x30\x0a\x2e", long10}) {
        EXPECT_THROW(read(none), InputError) << none;
    }
    EXPECT_TRUE(launchesOf(PerfettoTrace().print(5, "B|1|launch|x").str()).empty());
}

TEST(PerfettoTrace, TakesOtherClocksToBootTime) {
    PerfettoTrace trace;
    trace.packet(
        FtraceBundle().print(400000, "S|1|launching: com.a|0").ownClock(100, 600100).packet());
    FtraceBundle later;
    trace.packet(later.print(500000, "F|1|launching: com.a|0").packet());
    trace.print(1300000, "S|1|launching: com.b|0");
    EXPECT_EQ(launchesOf(trace.str()), (Lines{"1000 launch com.a", "1300 launch com.b"}));
}

TEST(PerfettoTrace, TakesAppSwitchesFromItsLog) {
    const uint64_t wallUs = 1788000000000000;
    const std::string home =
        "START u0 {cat=[android.intent.category.HOME] cmp=com.h/.Home} from uid 1";
    PerfettoTrace trace;
    trace.log(wallUs + 500000, "wm_set_resumed_activity", "", "com.h/.Home")
        .log(wallUs + 1200000, "wm_set_resumed_activity", "", "org.example.notes/.Main")
        .log(wallUs + 1300000, "ActivityTaskManager", "START u0 {cmp=com.x/.Main} from uid 1")
        .clocks(wallUs + 2000000, 2500000)
        .clocks(wallUs, 0)
        .log(wallUs + 2000000, "ActivityTaskManager", home)
        .log(wallUs + 2000001, "Other", home);
    Lines expected = TWO_LAUNCHED;
    expected.insert(expected.begin(), "500 switch com.h");
    expected.insert(expected.begin() + 3, "2500 switch com.h");
    EXPECT_EQ(launchesOf(trace.str() + traceOf(TWO_LAUNCHES)), expected);
    const std::string clockless =
        PerfettoTrace().log(wallUs, "wm_set_resumed_activity", "", "a/b").str();
    EXPECT_EQ(notesOf(read(clockless).summary), Lines{"bad 1"});
}

TEST(PerfettoTrace, IsRecognisedByItsFirstBytes) {
    const std::string trace = traceOf(TWO_LAUNCHES);
    for (const std::size_t size : {trace.size(), std::size_t{60}, std::size_t{20}}) {
        EXPECT_TRUE(looksLikePerfettoTrace(trace.substr(0, size))) << size;
    }
    const std::string texts[] = {"",
                                 "\n",
                                 "x",
                                 "\n\n\n",
                                 "\n01-02 00:00:03.004  7  8 I ActivityManager: START u0 {}",
                                 "\n{\"t\":1}\n",
                                 std::string("\x0a\x02\x08\x01\x12\x00", 6),
                                 std::string("\x0a\x01\x08\x0a", 4)};
    for (const std::string& text : texts) {
        EXPECT_FALSE(looksLikePerfettoTrace(text)) << text;
    }
}

// ---- The same as text.

std::string ftraceOf(const Prints& prints, const std::string& lineEnd = "\n") {
    std::string text =
        "# tracer: nop" + lineEnd + "#      TASK-PID  CPU#  TIMESTAMP  FUNCTION" + lineEnd;
    for (const Print& print : prints) {
        std::string micros = std::to_string(1000000 + print.timeUs % 1000000);
        micros[0] = '.';
        text.append(" a b: [c]-17  (-----) [004] .... ")
            .append(std::to_string(print.timeUs / 1000000))
            .append(micros)
            .append(": tracing_mark_write: ")
            .append(print.text)
            .append(lineEnd);
    }
    return text;
}

TEST(Ftrace, ReadsTextAndPages) {
    const std::string script = "<script class=\"trace-data\" type=\"application/text\">\n";
    const std::string other = ftraceOf({{1, "S|1500|launchingActivity#99|0"}});
    const std::string text = ftraceOf(TWO_LAUNCHES);
    const std::string texts[] = {text, ftraceOf(TWO_LAUNCHES, "\r\n"), "TRACE:\n" + text,
                                 "<!DOCTYPE html>\n<html>\n<script>\n" + other + "</script>\n" +
                                     script + other.substr(other.rfind(" a b")) + text +
                                     "</script>\n" + other + "</html>\n"};
    for (const std::string& t : texts) {
        SCOPED_TRACE(t);
        EXPECT_TRUE(looksLikeFtrace(t));
        BlockSource source(t, 11);
        const ImportedInput imported = readFtrace(source);
        EXPECT_EQ(namesOf(imported.objects), TWO_LAUNCHED);
        EXPECT_EQ(imported.summary.kind, SourceKind::ftrace);
        EXPECT_EQ(imported.summary.starts, 2U);
        EXPECT_TRUE(imported.summary.notes.empty());
    }
    for (const char* const none : {"TRACE: x", "<htm", "", "#tracer"}) {
        EXPECT_FALSE(looksLikeFtrace(none)) << none;
    }
    for (const std::string& none : Lines{"<html>\n" + text, "some text\n", ""}) {
        BlockSource source(none);
        EXPECT_THROW(readFtrace(source), InputError) << none;
    }
}

TEST(Ftrace, PassesOverLinesWithoutATime) {
    BlockSource source(ftraceOf(TWO_LAUNCHES) +
                       "x 99999999999.000001: tracing_mark_write: S|1|launching: a|0\n"
                       "x 1: tracing_mark_write: S|1|launching: a|0\n"
                       ": tracing_mark_write: S|1|launching: a|0\n");
    const ImportedInput imported = readFtrace(source);
    EXPECT_EQ(namesOf(imported.objects), TWO_LAUNCHED);
    EXPECT_EQ(notesOf(imported.summary), Lines{"bad 3"});
}

std::string contentOf(const std::string& example) {
    std::ifstream file(KESTREL_EXAMPLES "/" + example, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(PerfettoTrace, ReadsItsExamples) {
    const Lines launches{"81235123 launch org.example.camera", "81235540 frame org.example.camera",
                         "81239004 launch org.example.notes", "81239091 frame org.example.notes"};
    EXPECT_EQ(launchesOf(contentOf("launch.perfetto-trace")), launches);
    BlockSource text(contentOf("launch.ftrace"));
    EXPECT_EQ(namesOf(readFtrace(text).objects), launches);
}

}  // namespace

}  // namespace kestrel
