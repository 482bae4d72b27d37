#include "tools/input/logcat/AndroidLog.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tests/support/EventNames.h"
#include "tools/base/Lines.h"
#include "tools/base/MemorySource.h"

namespace kestrel {

namespace {

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines, std::string_view lineEnd = "\n") {
    std::string content;
    for (const std::string& line : lines) {
        content.append(line).append(lineEnd);
    }
    return content;
}

AndroidLog logOf(std::string_view content) {
    AndroidLog log;
    for (size_t number = 1; !content.empty(); ++number) {
        log.addLine(takeLine(content), number);
    }
    return log;
}

Lines imported(std::string_view content, const LogImportSettings& settings = {}) {
    AndroidLog log = logOf(content);
    EXPECT_TRUE(log.sawLogLine());
    InputSummary summary;
    return namesOf(log.import(settings, summary));
}

// Importing line by line, as from a pipe.
Lines streamed(const Lines& lines) {
    AndroidLogReader reader;
    AndroidLogImporter importer({});
    TraceObjects trace;
    for (size_t i = 0; i < lines.size(); ++i) {
        importer.play(reader.read(lines[i]), i + 1, trace);
    }
    return namesOf(trace);
}

// A line of January 1st: "SS.mmm" and the text.
std::string at(const std::string& seconds, const std::string& text,
               const std::string& tag = "ActivityManager") {
    return "01-01 00:00:" + seconds + "  7  8 I " + tag + ": " + text;
}

std::string start(const std::string& package, const std::string& flags = "0x10000000") {
    return "START u0 {act=x flg=" + flags + " cmp=" + package + "/.Main} from uid 1";
}

std::string home(const std::string& package) {
    return "START u0 {cat=[a,android.intent.category.HOME] cmp=" + package + "/.Home} from uid 1";
}

std::string icon(const std::string& package, const std::string& flags = "0x10000000") {
    return "START u0 {cat=[android.intent.category.LAUNCHER] flg=" + flags + " cmp=" + package +
           "/.Main}";
}

std::string brief(const std::string& text, const std::string& tag = "ActivityManager") {
    return "I/" + tag + "(  7): " + text;
}

TEST(AndroidLogImporter, ReadsEveryFormat) {
    const std::string text = start("com.a");
    const Lines formats[] = {
        {"01-02 00:00:03.004  7  8 I ActivityManager: " + text},
        {"01-02 00:00:03.004  1000  7  8 I ActivityManager: " + text},
        {"01-02 00:00:03.004 shell  7  8 I ActivityTaskManager: " + text},
        {"01-02 00:00:03.004999 +0530 root  7  8 I ActivityManager: " + text},
        {"01-02 00:00:03.004 I/ActivityManager(    7): " + text},
        {"2024-01-02 00:00:03.004 -0800 I/ActivityManager( 1000:    7): " + text},
        {"[ 01-02 00:00:03.004     7:0x1f I/ActivityManager ]", "first", text, ""},
        {"[ 2023-01-02 00:00:03.004000 +0000  root:    7:    8 I/ActivityManager ]", text},
        {"              86403.004  7  8 I ActivityManager: " + text},
        {"[  86403.004123  1000:    7:    8 I/ActivityManager ]", text},
        {"01-02 00:00:03.004999999  7  8 I ActivityManager: " + text},
        {"01-02 00:00:03.004: I/ActivityManager( 7): " + text},
        {"\x1b[38;5;40m01-02 00:00:03.004  7  8 I ActivityManager: " + text + "\x1b[0m"},
        {"\x1b[32m[ 01-02 00:00:03.004  7: 8 I/ActivityManager ]", text + "\x1b[0m"},
        {"2024-01-02 00:00:03.004  7-8     ActivityTaskManager     system_server      I  " + text},
        {"2024-01-02 00:00:03.004  7-8     Activ...kManager   app     E  " + text},
        {"2024-01-02 00:00:03.004  pid-7   I  " + text},
        {"2024-01-02 00:00:03.004  I  " + text},
        {"2024-01-02 00:00:03.004 7-8/system_process I/ActivityManager: " + text},
        {"01-02 00:00:03.004          7-8/? I/ActivityManager: " + text},
        {"01-02 00:00:03.004 7-8 I/ActivityManager: " + text},
        {"01-02 00:00:03.004 system_process I/ActivityManager: " + text},
        {"01-02 00:00:03.004 7-8/system_process I: " + text},
        {"86403.004 7-8/? I/ActivityManager: " + text},
    };
    for (const Lines& lines : formats) {
        SCOPED_TRACE(lines[0]);
        EXPECT_EQ(imported(joined(lines)), Lines{"86403004 launch com.a"});
        EXPECT_EQ(imported(joined(lines, "\r\r\n")), Lines{"86403004 launch com.a"});
        EXPECT_EQ(streamed(lines), Lines{"86403004 launch com.a"});
    }
}

TEST(AndroidLogImporter, ReadsFormatsWithoutTime) {
    const std::string text = start("com.a");
    const struct {
        const char* name;
        Lines lines;
        Lines events;
    } cases[] = {
        {"tag", {"I/ActivityManager: " + text}, {"1000 launch com.a"}},
        {"a tag with a bracket in the text",
         {"I/ActivityManager: " + start("com.b(7): x/y com.a"), "I/Other: " + text},
         {}},
        {"process", {"I(  7) " + text + "  (ActivityManager)"}, {"1000 launch com.a"}},
        {"process with a user", {"I( root:  7) " + text + "  (Other)"}, {}},
        {"thread", {"I(  7:    8) " + text}, {"1000 launch com.a"}},
        {"thread with a user", {"I( 1000:  7:    8) " + text}, {"1000 launch com.a"}},
        {"thread: an event is nothing", {"I(  7:  8) [0,1,com.a/.Main,x,0]"}, {}},
        {"raw",
         {"some text", text, "[0,1,com.b/.Main,x,0]", "Displayed com.a/.Main: +5ms"},
         {"1000 launch com.a", "1005 frame com.a"}},
        {"raw with nothing but a head", {"--------- beginning of crash", "what fell"}, {}},
        {"colours before the tag",
         {"\x1b[32mI(  7) " + text + "\x1b[0m  (ActivityManager)"},
         {"1000 launch com.a"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(imported(joined(c.lines)), c.events);
        EXPECT_EQ(streamed(c.lines), c.events);
    }
    // A line in another format says that the log is not raw.
    const Lines mixed{text, "01-01 00:00:01.000  7  8 I Other: x", start("com.b")};
    EXPECT_EQ(imported(joined(mixed)), Lines{});
    EXPECT_EQ(streamed(mixed), Lines{"1000 launch com.a"});
}

TEST(AndroidLogImporter, CountsTimesOfDayFromMidnight) {
    const auto line = [](const char* time, const char* package) {
        return std::string(time) + "  I  " + start(package);
    };
    EXPECT_EQ(imported(joined({line("23:59:59.000", "a"), line("11:59:59.000", "b"),
                               line("12:00:02.000", "c"), line("00:00:01.999", "d")})),
              (Lines{"43199000 launch b", "43202000 launch c", "86399000 launch a",
                     "86401999 launch d"}));
}

TEST(AndroidLogImporter, PassesOverWhatIsNoLogLine) {
    const std::string text = start("com.a");
    const std::string lines[] = {
        "",
        " " + text,
        "I( 7) " + text,
        "01-02 00:00:03.004  7-8  ActivityManager  I " + text,
        "---------- beginning of main",
        "01-02 00:00:03.004 ActivityManager: " + text,
        "02-30 00:00:03.004  7  8 I ActivityManager: " + text,
        "01-02 24:00:03.004  7  8 I ActivityManager: " + text,
        "99999999999999999999999.004  7  8 I ActivityManager: " + text,
        "01-02 00:00:03.004  7 root I ActivityManager: " + text,
        "01-02 00:00:03.004  7  8 X ActivityManager: " + text,
        "[ 01-02 00:00:03.004 7:8 I/ActivityManager",
        std::string("I/\0(7", 5),
    };
    for (const std::string& line : lines) {
        SCOPED_TRACE(line);
        EXPECT_FALSE(logOf(line).sawLogLine());
    }
}

TEST(AndroidLogImporter, ReadsStarts) {
    const struct {
        const char* text;
        bool isLaunch;
        const char* tag = "ActivityManager";
    } cases[] = {
        {"START {act=x cmp=com.a/.Main u=0} from pid 1", true},
        {"Starting: Intent { cmp=com.a/.Main } from pid 1", true},
        {"Starting activity: Intent { cmp=com.a/.Main }", true},
        {"START u-10 {cmp=com.a/b.C$D} from", true},
        {"START u0 {clip={text/plain {x}} cmp=com.a/.Main (has extras)} with", true},
        {"START u0 {sel={cmp=com.b/.Main cat=[android.intent.category.HOME]} cmp=com.a/.Main}",
         true},
        {"START u0 {dat=x?cmp=com.b/.Main cmp=com.a/.Main}", true},
        {"START u0 {cat=[android.intent.category.HOME_MAIN] cmp=com.a/.Main}", true},
        {"START u0 {cmp=com.a/.Main cat=[android.intent.category.HOME]}", true},
        {"START u0 {cmp=com.a/.Main} with X result code=0", true},
        {"START u0 {cmp=com.a/.Main} with X result code=2", true},
        {"START u0 {cmp=com.a/.Main} with X result code=3", false},
        {"START u0 {cmp=com.a/.Main} with X result code=99999999999999999999", false},
        {"START u0 {cmp=com.a/.Main} with X result code=", true},
        {"START u0 {cmp=com.a/.Main} result: 3", false},
        {"START u0 {cmp=com.a/.Main} result: 2", true},
        {"START u0 {clip={text/plain} cmp=com.a/.Main", false},
        {"START u0 {sel={cmp=com.a/.Main}}", false},
        {"START u0 {cmp=com.a/}", false},
        {"START u {cmp=com.a/.Main}", false},
        {"Starting u0 {cmp=com.a/.Main}", false},
        {"START u0 {cmp=com.a/.Main}", false, "ActivityManagerService"},
        {"[0,1,com.a/.Main,act,NULL,a,b,268435456]", true, "am_create_activity"},
        {"[0,1,com.a/.Main,act,NULL,NULL,-1]", true, "wm_create_activity"},
        {"[com.a/.Main,act,0]", true, "create_activity"},
        {"[0,1,7,com.a/.Main,act,NULL,NULL,-1,name]", true, "wm_create_activity"},
        {"[User=0,Token=3,Task ID=7,Component Name=com.a/.Main,Action=x=y,NULL,NULL,Flags=1]", true,
         "wm_create_activity"},
        {"[0,1,com.a/.Main,act,2684354560]", false, "am_create_activity"},
        {"[0,1,com.a/.Main,act,268435456", false, "am_create_activity"},
        {"[0,1,com.a/,/.Main,268435456]", false, "am_create_activity"},
        {"[0,1,com.a/.Main,act,0]", false, "am_recreate_activity"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(imported(at("01.000", c.text, c.tag)),
                  c.isLaunch ? Lines{"1000 launch com.a"} : Lines{});
    }
}

TEST(AndroidLogImporter, FollowsTheFrontAndTheOpenLaunch) {
    const struct {
        const char* name;
        Lines lines;
        Lines events;
    } cases[] = {
        {"a start of the open package is part of its launch",
         {at("01.000", start("com.a")), at("02.000", start("com.a")), at("03.000", start("com.b"))},
         {"1000 launch com.a", "3000 launch com.b"}},
        {"in front only a new task is a launch",
         {at("01.000", "[0,com.a/.Main]", "am_focused_activity"),
          at("02.000", start("com.a", "0x1fffffff")), at("03.000", "[com.a/.Main,5]", "am_x"),
          at("03.000", "Displayed com.a/.Main: +1s0ms"),
          at("04.000", start("com.a", "0x20000000"))},
         {"1000 switch com.a", "2000 launch com.a", "3000 frame com.a"}},
        {"a home start is an app switch, its creation nothing",
         {at("01.000", home("com.h")),
          at("01.100", "[1,com.h/.Home,x,268435456]", "am_create_activity"),
          at("02.000", home("com.h") + " result code=3"), at("03.000", start("com.a")),
          at("04.000", home("com.h") + " result code=102"), at("05.000", home("com.h"))},
         {"1000 switch com.h", "3000 launch com.a", "5000 switch com.h"}},
        {"a switch away ends the launch, a switch to it does not",
         {at("01.000", start("com.a")), at("02.000", "[0,com.a/.X,why]", "wm_set_resumed_activity"),
          at("02.500", "[0,com.a/.X,why]", "wm_set_resumed_activity"),
          at("03.000", "Displayed com.a/.X for user 10: +2s3ms"), at("04.000", start("com.b")),
          at("05.000", "[0,1,com.a/.X]", "am_resume_activity"),
          at("06.000", "Displayed com.b/.X: +2s")},
         {"1000 launch com.a", "2000 switch com.a", "3003 frame com.a", "4000 launch com.b",
          "5000 switch com.a"}},
        {"only a removal takes a package from the front",
         {at("01.000", "[0,com.a/.X]", "am_focused_activity"),
          at("02.000", "Force stopping com.a appid=1 user=0: from pid 9"),
          at("03.000", start("com.a", "0x0")),
          at("04.000", "Force stopping com.a appid=1 user=0: pkg removed"),
          at("05.000", start("com.a", "0x0")),
          at("05.500", "Force stopping com.a appid=1 user=0: pkg removed"),
          at("06.000", "Displayed com.a/.X: +1s")},
         {"1000 switch com.a", "4000 forget com.a", "5000 launch com.a", "5500 forget com.a"}},
        {"a frame can lie after its line, and the next launch begins no earlier",
         {at("01.000", start("com.a")), at("02.000", "Displayed com.a/.X: +1s300ms"),
          at("02.100", start("com.b")), at("02.900", "Displayed com.b/.X: +400ms")},
         {"1000 launch com.a", "2300 frame com.a", "2300 launch com.b", "2700 frame com.b"}},
        {"without times there is a clock all the same",
         {brief("[0,com.h/.Home]", "am_focused_activity"), brief(start("com.a")),
          brief("Displayed com.a/.Main: +1h (total +2h)"),
          brief("[0,com.h/.Home]", "am_focused_activity"), brief(start("com.b")),
          brief("Displayed com.c/.Main: +1h"), brief(start("com.c"))},
         {"0 switch com.h", "1000 launch com.a", "7201000 frame com.a", "7201000 switch com.h",
          "7202000 launch com.b", "7203000 launch com.c"}},
        {"the creation of a home activity is a switch, the first time",
         {at("01.000", "[0,1,7,com.h/.Home,android.intent.action.MAIN,NULL,NULL,268435712]",
             "wm_create_activity"),
          at("02.000", start("com.a")),
          at("03.000", "[0,1,7,com.h/.Home,android.intent.action.MAIN,NULL,NULL,268435712]",
             "wm_create_activity"),
          at("04.000", "[0,1,7,com.i/.Main,android.intent.action.VIEW,NULL,NULL,268435712]",
             "wm_create_activity")},
         {"1000 switch com.h", "2000 launch com.a", "4000 launch com.i"}},
        {"a later tap on the icon is a launch of its own",
         {at("01.000", icon("com.a")), at("02.999", icon("com.a")), at("03.000", start("com.a")),
          at("03.001", icon("com.a", "0x20000000")), at("03.002", icon("com.a")),
          at("05.001", icon("com.a")), at("05.500", "Displayed com.a/.Main: +2s498ms")},
         {"1000 launch com.a", "3002 launch com.a", "5500 frame com.a"}},
        {"in a long entry, what looks like a log line is text",
         {"[ 01-01 00:00:01.000  7: 8 I/ActivityManager ]", start("com.a"),
          at("02.000", start("com.b")), "", "[ 01-01 00:00:03.000  7: 8 I/Other ]", start("com.c")},
         {"1000 launch com.a"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(imported(joined(c.lines)), c.events);
        EXPECT_EQ(streamed(c.lines), c.events);
    }
}

TEST(AndroidLogImporter, TakesTheDurationThatFits) {
    const struct {
        const char* seconds;  // of the line; the launch began at 01.000
        const char* text;
        int64_t t;  // of the frame; 0: there is none
        const char* tag = "ActivityManager";
    } cases[] = {
        {"01.500", "Displayed com.a/.Main: +1s", 2000},
        {"01.499", "Displayed com.a/.Main: +1s", 0},
        {"06.000", "Displayed com.a/.Main: +1s", 2000},
        {"06.001", "Displayed com.a/.Main: +1s", 0},
        {"02.000", "Displayed com.a/.Main: +800ms (total +1s10ms)", 2010},
        {"02.000", "Displayed com.a/.Main: +800ms (total +2m33s700ms)", 1800},
        {"02.000", "Displayed com.a/.Main: +5s (total +6s)", 0},
        {"02.000", "Displayed activity com.a/.Main: 800 ms (total 900 ms)", 1900},
        {"02.000", "Displayed activity com.a/.Main: 800 ms", 1800},
        {"02.000", "[0,1,com.a/.Main,800]", 1800, "wm_activity_launch_time"},
        // Both fit: the nearer one, and the total of two that are as near.
        {"02.000", "Displayed com.a/.Main: +1s1ms (total +1s2ms)", 2001},
        {"02.000", "Displayed com.a/.Main: +999ms (total +1s1ms)", 2001},
        {"02.000", "Displayed com.a/.Main: +998ms (total +1s1ms)", 2001},
        {"02.000", "[User=0,Component Name=com.a/.Main,time=1.01s,1200]", 2010,
         "am_activity_launch_time"},
        {"02.000", "[User=0,Component Name=com.a/.Main,time=850ms,2s]", 1850,
         "am_activity_launch_time"},
        {"02.000", "[1,com.a/.Main,800,900]", 1900, "activity_launch_time"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Lines events{"1000 launch com.a"};
        if (c.t != 0) {
            events.push_back(std::to_string(c.t) + " frame com.a");
        }
        events.push_back("10000 launch com.b");
        // The launch is over in any case, and com.a in front.
        EXPECT_EQ(
            imported(joined({at("01.000", start("com.a")), at(c.seconds, c.text, c.tag),
                             at("09.000", start("com.a", "0x0")), at("10.000", start("com.b"))})),
            events);
    }
}

TEST(AndroidLogImporter, ReadsDurations) {
    const struct {
        const char* text;
        int64_t ms;  // -1: says nothing
        const char* tag = "ActivityManager";
    } cases[] = {
        {"Displayed com.a/.Main: +0ms", 0},
        {"Displayed com.a/.Main: +1d2h3m4s5ms", 93784005},
        {"Displayed com.a/.Main: +1s10", -1},
        {"Displayed com.a/.Main: +", -1},
        {"Displayed com.a/.Main: 5ms", -1},
        {"Displayed com.a/.Main: +99999999999999999999ms", -1},
        {"Displayed com.a/.Main: +834ms (total +1s1", -1},
        {"Displayed com.a/.Main for user: +834ms", -1},
        {"Displayed activity com.a/.Main: 834", -1},
        {"Displayed com.a: +834ms", -1},
        {"[1,com.a/.Main,-5]", -1, "am_activity_launch_time"},
        {"[1,com.a/.Main,5,6", -1, "am_activity_launch_time"},
        {"[1,com.a/.Main,5,6,7]", -1, "am_activity_launch_time"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Lines events{"1000 launch com.a"};
        if (c.ms >= 0) {
            events.push_back(std::to_string(1000 + c.ms) + " frame com.a");
        }
        EXPECT_EQ(imported(joined({brief(start("com.a")), brief(c.text, c.tag)})), events);
    }
}

TEST(AndroidLogImporter, KnowsUpdatesFromRemovals) {
    const std::string removal = at("09.000", "Force stopping com.a appid=1 user=0: pkg removed");
    const std::string update =
        at("05.000", "Force stopping com.a appid=1 user=-1: installPackageLI");
    const std::string other = at("06.000", "Force stopping com.a appid=1 user=-1: deletePackageX");
    const std::string elsewhere =
        at("06.000", "Force stopping com.b appid=2 user=-1: deletePackageX");
    const struct {
        const char* name;
        RemovalPolicy policy;
        Lines lines;
        Lines events;
    } cases[] = {
        {"removal", RemovalPolicy::forget, {other, removal}, {"9000 forget com.a"}},
        {"kept", RemovalPolicy::keep, {removal}, {"9000 keep com.a"}},
        {"ignored", RemovalPolicy::ignore, {update, removal}, {}},
        {"update", RemovalPolicy::forget, {update, elsewhere, removal}, {"9000 keep com.a"}},
        {"update, then removal",
         RemovalPolicy::forget,
         {update, other, removal},
         {"9000 forget com.a"}},
        {"update for two users",
         RemovalPolicy::forget,
         {update, removal, removal},
         {"9000 keep com.a", "9000 keep com.a"}},
        {"another reason", RemovalPolicy::forget, {removal + " twice"}, {}},
        {"a stop between update and removal",
         RemovalPolicy::forget,
         {update, at("06.000", "Force stopping com.a appid=1 user=0: from pid 9"), removal},
         {"9000 keep com.a"}},
        {"old text",
         RemovalPolicy::forget,
         {at("01.000", "Force stopping package com.a uid=1")},
         {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(imported(joined(c.lines), {.games = {}, .removals = c.policy}), c.events);
    }
}

TEST(AndroidLogImporter, CountsYears) {
    const auto launchAt = [](const std::string& day, const std::string& package) {
        return day + " 00:00:00.000  7  8 I ActivityManager: " + start(package);
    };
    const struct {
        const char* name;
        Lines lines;
        Lines events;
    } cases[] = {
        {"an unprinted year has 366 days",
         {launchAt("12-31", "a"), launchAt("01-01", "b")},
         {"31536000000 launch a", "31622400000 launch b"}},
        {"a printed one has its own",
         {launchAt("2023-12-31", "a"), launchAt("2024-01-01", "b")},
         {"31449600000 launch a", "31536000000 launch b"}},
        {"the second buffer goes back over the turn",
         {launchAt("12-31", "a"), launchAt("01-02", "d"), launchAt("12-31", "b"),
          launchAt("01-01", "c")},
         {"31536000000 launch a", "31536000000 launch b", "31622400000 launch c",
          "31708800000 launch d"}},
        {"180 days back are no turn",
         {launchAt("06-29", "b"), launchAt("01-01", "a")},
         {"0 launch a", "15552000000 launch b"}},
        {"181 are",
         {launchAt("06-30", "a"), launchAt("01-01", "b")},
         {"15638400000 launch a", "31622400000 launch b"}},
        {"without a turn there is no year before",
         {launchAt("01-01", "a"), launchAt("11-01", "b")},
         {"0 launch a", "26352000000 launch b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(imported(joined(c.lines)), c.events);
    }
}

TEST(AndroidLogImporter, SortsFilesAndKeepsTheirLineNumbers) {
    const Lines lines{at("05.000", start("com.b")), "no log line", at("01.000002", start("com.a")),
                      at("01.000001", start("com.c")), at("05.000", start("com.d"))};
    InputSummary summary;
    const TraceObjects trace = logOf(joined(lines)).import({.games = {"com.a"}}, summary);
    EXPECT_EQ(namesOf(trace), (Lines{"1000 launch com.c", "1000 game com.a", "5000 launch com.b",
                                     "5000 launch com.d"}));
    EXPECT_EQ(trace[0].line, 4U);
    EXPECT_EQ(trace[1].line, 3U);
    EXPECT_EQ(trace[2].line, 1U);
    // Line by line, older lines take their predecessor's time.
    EXPECT_EQ(streamed(lines), (Lines{"5000 launch com.b", "5000 launch com.a", "5000 launch com.c",
                                      "5000 launch com.d"}));
}

TEST(AndroidLogImporter, LeavesOutLaunchesWhoseFramesTheLogCannotHold) {
    const std::string head = "--------- beginning of main";
    const std::string frame = at("04.500", "Displayed com.c/.Main: +500ms");
    const Lines before{at("01.000", start("com.a")), at("02.000", home("com.h")),
                       at("03.000", start("com.b")), at("04.000", start("com.c"))};
    const auto with = [&](Lines lines, std::initializer_list<std::string> more) {
        lines.insert(lines.end(), more);
        return joined(lines);
    };
    const Lines none{"2000 switch com.h", "4000 launch com.c", "4500 frame com.c"};
    const Lines all{"1000 launch com.a", "2000 switch com.h", "3000 launch com.b",
                    "4000 launch com.c", "4500 frame com.c"};
    EXPECT_EQ(imported(with(before, {head, frame})), none);
    EXPECT_EQ(imported(with(before, {"--------- beginning of /dev/log/main", frame})), none);
    // The head has the place of the line behind it, wherever it stands in the file.
    EXPECT_EQ(imported(joined({head, frame}) + joined(before)), none);
    EXPECT_EQ(imported(with(before, {head, at("05.000", "x", "Other")})),
              (Lines{"2000 switch com.h", "4000 launch com.c"}));
    EXPECT_EQ(imported(with(before, {"--------- beginning of crash", frame})), all);
    EXPECT_EQ(imported(with(before, {frame, head})), all);
    EXPECT_EQ(imported(with(before, {at("03.500", "Displayed com.x/.Main: +1s"), head, frame})),
              all);
    EXPECT_EQ(imported(joined({head, at("00.500", "x", "Other")}) + with(before, {frame})), all);

    InputSummary summary;
    logOf(with(before, {head, frame})).import({}, summary);
    ASSERT_FALSE(summary.notes.empty());
    EXPECT_EQ(summary.notes.front().kind, InputNote::Kind::framesNotHeld);
    EXPECT_EQ(summary.notes.front().count, 2U);
}

TEST(AndroidLogImporter, TellsLaunchesFromFramesWhereThereAreNoStarts) {
    const Lines frames{at("01.000", "Displayed com.a/.Main: +1s500ms"),
                       at("02.000", "Displayed com.a/.Second: +300ms"),
                       at("02.100", "Displayed com.b/.Main: +200ms (total +400ms)"),
                       at("03.000", "[0,1,com.c/.Main,100]", "am_activity_launch_time"),
                       at("04.000", "Displayed com.a/.Main: +100ms")};
    EXPECT_EQ(imported(joined(frames)),
              (Lines{"0 launch com.a", "1000 frame com.a", "1700 launch com.b", "2100 frame com.b",
                     "3900 launch com.a", "4000 frame com.a"}));
    EXPECT_EQ(streamed(frames), Lines{});
    Lines withStart = frames;
    withStart.push_back(at("09.000", start("com.x") + " result code=102"));
    EXPECT_EQ(imported(joined(withStart)), Lines{});
    EXPECT_EQ(
        imported(joined({brief("Displayed com.a/.Main: +1s (total +2s)"),
                         brief("Displayed com.b/.Main: +1s")})),
        (Lines{"1000 launch com.a", "3000 frame com.a", "4000 launch com.b", "5000 frame com.b"}));
}

// Lines that say nothing are passed over by a few of their bytes.
TEST(AndroidLogImporter, PassesOverQuietLinesWithoutMissingAnything) {
    std::minstd_rand random(7);
    const auto pick = [&](const Lines& lines) { return lines[random() % lines.size()]; };
    const Lines rests{"  1000  2000 I Other: x",
                      "   100   200 D Audio: --------- beginning of main",
                      "   100   200 W cha: x",
                      "  1000  2000 I chatty: uid=1 a expire 3 lines",
                      "  1000  2000 I Ac: x",
                      "12345 67890 E \x1b[0mActivityManager: " + start("com.e"),
                      "  1000   100  2000 I Other: y",
                      "  1000  2000 I Other",
                      "  1000  2000 X Other: z",
                      " I/Other(  7): time",
                      " garbage",
                      "  1000  2000 I ActivityManager: " + start("com.a"),
                      "  1000  2000 I wm_set_resumed_activity: [0,com.h/.Home]",
                      "  1000  2000 I ActivityManager: Displayed com.a/.Main: +200ms",
                      "  1000  2000 I ActivityTaskManager: " + start("com.b", "0x0")};
    for (int i = 0; i < 400; ++i) {
        std::string text = i % 3 == 0 ? "--------- beginning of main\n" : "";
        std::string time = "03-14 09:59:58.000";
        for (int line = 0; line < 60; ++line) {
            switch (random() % 12) {
                case 0:
                    text.append(pick({"--------- beginning of main", "", "no log line"})) += '\n';
                    break;
                case 1:
                    time = pick({"03-14 10:00:00.", "03-14 09:59:58.", "12-31 23:00:00.",
                                 "01-01 00:00:01."}) +
                           "100";
                    break;
                default:
                    time.replace(16, 2, pick({"00", "07", "42", "99"}));
                    text.append(time).append(random() % 2 == 0 ? rests[random() % 3] : pick(rests));
                    text += random() % 9 == 0 ? "\r\n" : "\n";
                    break;
            }
        }
        SCOPED_TRACE(text);
        AndroidLog quick;
        MemorySource source("log", text);
        quick.addLines(source);
        InputSummary got;
        InputSummary want;
        EXPECT_EQ(namesOf(quick.import({}, got)), namesOf(logOf(text).import({}, want)));
        EXPECT_EQ(std::tie(got.units, got.firstT, got.lastT),
                  std::tie(want.units, want.firstT, want.lastT));
        EXPECT_EQ(got.notes.size(), want.notes.size());
    }
}

TEST(AndroidLogImporter, SurvivesLongLines) {
    const size_t size = 1'000'000;
    const std::string prefix = "01-01 00:00:01.000  7  8 I ActivityManager: START u0 ";
    for (const std::string& line :
         {"I/" + std::string(size, '('), prefix + std::string(size, '{'), std::string(size, '9'),
          prefix + "{flg=0x" + std::string(size, '9') + " cmp=a/b" + std::string(size, '}'),
          "01-01 00:00:01.000" + std::string(size, ' '), std::string(size, ':')}) {
        SCOPED_TRACE(line.substr(0, 80));
        InputSummary summary;
        EXPECT_LE(logOf(line).import({}, summary).size(), 1U);
    }
}

}  // namespace

}  // namespace kestrel
