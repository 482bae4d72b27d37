#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "tools/views/InputConditions.h"
#include "tools/views/InputSummaryJson.h"
#include "tools/views/InputSummaryText.h"

namespace kestrel {
namespace {

using Note = InputNote::Kind;

constexpr int64_t DAY_MS = 86'400'000;

// 17 launches, all with their first frame.
InputSummary clean() {
    return {.name = "launches.log",
            .kind = SourceKind::androidLog,
            .format = "threadtime",
            .units = 4711,
            .clock = {InputClock::Kind::yearless},
            .firstT = 326 * DAY_MS,
            .lastT = 328 * DAY_MS + 1,
            .androidRelease = "7.0",
            .starts = 20,
            .launches = 17,
            .firstFrames = 17,
            .appSwitches = 9};
}

std::string printed(const InputSummary& summary, RemovalPolicy removals = RemovalPolicy::forget) {
    std::ostringstream out;
    printSummaries({summary}, removals, out);
    return out.str();
}

TEST(InputSummaryTest, ACleanInputGetsOneLine) {
    EXPECT_EQ(printed(clean()),
              "launches.log: Android log (threadtime), 4711 lines, 11-22 00:00:00.000 to 11-24 "
              "00:00:00.001, Android 7.0: 20 starts, 17 launches, 17 first frames\n");
    EXPECT_EQ(printed({.name = "-",
                       .kind = SourceKind::eventTrace,
                       .units = 2,
                       .firstT = 10,
                       .lastT = 500,
                       .launches = 1,
                       .firstFrames = 1,
                       .removals = 2,
                       .updates = 1}),
              "standard input: event trace, 2 lines, 00:00:00.010 to 00:00:00.500: 1 launch, 1 "
              "first frame, 2 removals, 1 update\n");
    EXPECT_EQ(printed({.name = "\x1b[2J",
                       .kind = SourceKind::startInfo,
                       .format = "\x1b",
                       .units = 1,
                       .androidRelease = "\n",
                       .launches = 1,
                       .firstFrames = 1}),
              "?[2J: start-info dump (?), 1 record, Android ?: 1 launch, 1 first frame\n");
}

TEST(InputSummaryTest, WhatWasLeftOutIsOneLine) {
    InputSummary summary = clean();
    summary.notes = {{Note::failedStarts, 1},
                     {Note::otherEntries, 2},
                     {Note::badEntries, 1},
                     {Note::toldTwice, 2},
                     {Note::repeatedLines, 3},
                     {Note::backgroundStarts, 4},
                     {Note::passedOver, 1, "a.png: a picture\n"}};
    EXPECT_NE(printed(summary).find(
                  "\nlaunches.log: left out: 1 start that failed or came to nothing, 2 entries "
                  "about something else, 1 entry that could not be read, 2 launches that the log "
                  "of the same report has too, 3 lines that stood there twice, 4 starts in the "
                  "background, a.png: a picture?\n"),
              std::string::npos)
        << printed(summary);
}

struct Condition {
    const char* name;
    void (*make)(InputSummary&);
    const char* key;
    const char* line;
    RemovalPolicy removals = RemovalPolicy::forget;
};

TEST(InputSummaryTest, WhatIsMissingIsSaidWithTheRemedy) {
    const Condition CASES[] = {
        {"no frames", [](InputSummary& s) { s.firstFrames = 0; }, "noFirstFrames",
         "17 launches, none with a first frame: the log has no \"Displayed\" line. Capture the "
         "events buffer too: adb logcat -b main,system,events"},
        {"one launch, no frame",
         [](InputSummary& s) {
             s.launches = 1;
             s.firstFrames = 0;
             s.kind = SourceKind::eventTrace;
         },
         "noFirstFrames",
         "1 launch, none with a first frame: nothing can be measured. A first frame is an event "
         "with the hintId 4103"},
        {"most without", [](InputSummary& s) { s.firstFrames = 8; }, "fewFirstFrames",
         "17 launches, most without a first frame (9): they cannot be measured. Capture all "
         "buffers together: adb logcat -b main,system,events"},
        {"half without",
         [](InputSummary& s) {
             s.launches = 16;
             s.firstFrames = 8;
         },
         nullptr, nullptr},
        {"no launch", [](InputSummary& s) { s.starts = s.launches = s.firstFrames = 0; },
         "noLaunches",
         "4711 log lines, but none tells of a launch. Capture all buffers while apps are "
         "launched: adb logcat -b main,system,events"},
        {"starts only", [](InputSummary& s) { s.launches = s.firstFrames = 0; }, "noLaunches",
         "4711 log lines and 20 starts, but none became a launch: it failed, was of the app in "
         "front, or went home"},
        {"nothing at all",
         [](InputSummary& s) { s.units = s.starts = s.launches = s.firstFrames = 0; }, nullptr,
         nullptr},
        {"all left out",
         [](InputSummary& s) {
             s.launches = s.firstFrames = 0;
             s.notes = {{Note::framesNotHeld, 1}};
         },
         "framesNotHeld",
         "1 launch left out: the log has no first frames of that time, since its buffer main "
         "begins later. Enlarge the buffers before the next capture: adb logcat -G 16M"},
        {"chatty", [](InputSummary& s) { s.notes = {{Note::chatty, 42}}; }, "chatty",
         "the logger dropped 42 lines to save room (\"chatty\"), so launches can be missing. "
         "Enlarge the buffers before the next capture: adb logcat -G 16M"},
        {"boots", [](InputSummary& s) { s.notes = {{Note::boots, 1}}; }, "boots",
         "the device was started again 1 time, and launches that were under way then have no "
         "first frame. Capture each boot by itself"},
        {"jumps", [](InputSummary& s) { s.notes = {{Note::timeJumps, 2, "line 7\x1b"}}; },
         "timeJumps",
         "the clock was set 2 times (first: line 7?), so what was under way then cannot be "
         "measured. Capture with a clock that nobody sets: adb logcat -v monotonic -b "
         "main,system,events"},
        {"cut off", [](InputSummary& s) { s.notes = {{Note::cutOff, 1}}; }, "cutOff",
         "1 first frame whose start is not in the log: the ring buffer no longer held it. Enlarge "
         "the buffers before the next capture: adb logcat -G 16M"},
        {"only main", [](InputSummary& s) { s.notes = {{Note::onlyMain, 17}}; }, "onlyMain",
         "the log has first frames but no starts, so each launch was told from its first frame. "
         "Capture the buffers system and events too: adb logcat -b main,system,events"},
        {"cut short", [](InputSummary& s) { s.notes = {{Note::cutShort, 1}}; }, "cutShort",
         "it ends in the middle of something: the rest is missing. Copy or capture it anew"},
        {"forgotten", [](InputSummary& s) { s.removals = 2; }, "removalsForgotten",
         "2 removals, and what was learned of the removed apps was forgotten. To keep it, give a "
         "set-up with --host: {\"host\":{\"removals\":\"keep\"}}"},
        {"kept", [](InputSummary& s) { s.removals = 1; }, "removalsKept",
         "1 removal, but what was learned of the removed apps was kept, as the set-up says",
         RemovalPolicy::keep},
        {"ignored", [](InputSummary& s) { s.removals = 1; }, "removalsIgnored",
         "1 removal, ignored as the set-up says", RemovalPolicy::ignore},
    };
    for (const Condition& c : CASES) {
        SCOPED_TRACE(c.name);
        InputSummary summary = clean();
        c.make(summary);
        const std::string text = printed(summary, c.removals);
        const Json notes = toJson({summary}, c.removals)[0]["notes"];
        if (c.line == nullptr) {
            EXPECT_EQ(std::ranges::count(text, '\n'), 1) << text;
            EXPECT_TRUE(notes.empty()) << notes;
            continue;
        }
        EXPECT_TRUE(text.ends_with("\nlaunches.log: " + std::string(c.line) + "\n")) << text;
        ASSERT_EQ(notes.size(), 1U) << notes;
        EXPECT_EQ(notes[0]["kind"], c.key);
        EXPECT_EQ(notes[0]["text"], c.line);
    }
    InputSummary few = clean();
    few.firstFrames = 5;
    EXPECT_NE(printed(few).find("5 first frames, 12 launches without one\n"), std::string::npos);
    EXPECT_EQ(noLaunchWords({clean(), {.units = 3}}), "no launch in 4711 log lines");
    EXPECT_EQ(noLaunchWords({{.units = 3}}), "no launches");
}

TEST(InputSummaryTest, ProgramsGetTheSameAsAnObject) {
    EXPECT_EQ(toText(toJson({clean()}, RemovalPolicy::forget)),
              R"([{"name":"launches.log","kind":"androidLog","format":"threadtime",)"
              R"("encoding":null,"unit":"line",)"
              R"("units":4711,"clock":"yearless","from":"11-22 00:00:00.000",)"
              R"("to":"11-24 00:00:00.001","androidRelease":"7.0","starts":20,"launches":17,)"
              R"("firstFrames":17,"withoutFirstFrame":0,"appSwitches":9,"removals":0,)"
              R"("updates":0,"notes":[]}])");
}

}  // namespace
}  // namespace kestrel
