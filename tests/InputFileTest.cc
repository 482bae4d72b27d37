// How inputs are found in what a name leads to, and told apart by their bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Archive.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNames.h"
#include "tools/base/TemporaryDirectory.h"
#include "tools/input/InputFile.h"
#include "tools/input/InputKind.h"
#include "tools/input/InputSequence.h"

namespace kestrel {

namespace {

using namespace std::string_literals;

using Lines = std::vector<std::string>;

const std::string MARK = "\xEF\xBB\xBF";
const std::string TRACE = "{\"t\":1,\"hintId\":4225,\"hintType\":1,\"appName\":\"com.t\"}\n";
const std::string LOG =
    "03-01 10:00:00.000  7  8 I ActivityManager: START u0 {flg=0x10000000 cmp=com.l/.Main}\n";

std::string example(const std::string& name) {
    std::ifstream file(KESTREL_EXAMPLES "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string utf16(std::string_view text, bool isBigEndian = false) {
    std::string units;
    for (const char c : text) {
        units += isBigEndian ? "\0"s + c : c + "\0"s;
    }
    return units;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const std::size_t place = text.find(what);
    EXPECT_NE(place, std::string::npos) << what;
    return text.replace(place, what.size(), with);
}

// A folder with files, by their paths in it.
class Folder {
 public:
    explicit Folder(const std::vector<std::pair<std::string, std::string>>& files) {
        for (const auto& [name, content] : files) {
            std::filesystem::create_directories((mDirectory.path() / name).parent_path());
            std::ofstream(mDirectory.path() / name, std::ios::binary) << content;
        }
    }
    std::string path(const std::string& name = "") const { return mDirectory.path() / name; }

 private:
    TemporaryDirectory mDirectory;
};

// "T WHAT PACKAGE" of each event, with "NAME" before those of each input.
Lines eventsOf(FoundInputs found, std::vector<InputSummary>* summaries = nullptr) {
    Lines events;
    for (FoundInput& input : found) {
        events.push_back(std::filesystem::path(input.name).filename());
        const auto checked = std::move(*input.recognised).check({});
        while (const auto object = checked->next()) {
            events.push_back(nameOf(*object));
        }
        if (summaries != nullptr) {
            summaries->push_back(checked->summary());
        }
    }
    return events;
}

Lines eventsIn(const std::string& bytes, const InputOptions& options = {}) {
    FileSource file(fileHolding(bytes), "in");
    return eventsOf(findInputs(file, options));
}

// What the user is told of bytes, in place of their events.
std::string told(const std::string& bytes, const InputOptions& options = {}) {
    return errorOf<InputError>([&] { eventsIn(bytes, options); });
}

// Every event but the names of the inputs, as they are played one behind the other.
Lines played(const Lines& names) {
    InputSequence inputs(names, std::nullopt, {});
    Lines events;
    while (const auto object = inputs.next()) {
        events.push_back(nameOf(*object));
    }
    return events;
}

const Lines LAST_BOOT = {"in", "10530000000 launch org.example.camera",
                         "10530000700 frame org.example.camera"};
const Lines HISTORY = {"in", "1000000 launch org.example.camera",
                       "1000640 frame org.example.camera", "2000000 launch org.example.maps"};
const Lines REPORT = {"in",
                      "10569610100 launch org.example.camera",
                      "10569610710 frame org.example.camera",
                      "10569640000 switch org.example.home",
                      "10569660000 launch org.example.diary",
                      "10569660440 frame org.example.diary",
                      "10569690000 switch org.example.mail",
                      "10569720000 launch org.example.music",
                      "10569720300 frame org.example.music"};

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::vector<StoredMember> reportMembers(const std::string& name, const std::string& mainEntry) {
    return {{"version.txt", "2.0"},
            {"FS/data/misc/logd/logcat", LOG},
            {"FS/data/anr/trace_00", "----- pid 1 -----\n"},
            {name, example("bugreport.txt"), false},
            {"main_entry.txt", mainEntry},
            {"dumpstate_log.txt", LOG}};
}

}  // namespace

TEST(InputFileTest, KindsAreToldByTheFirstBytesHoweverTheyArrive) {
    using enum InputKind;
    const std::string report = example("bugreport.txt");
    const std::string perfetto = example("launch.perfetto-trace");
    const std::string json = example("log-export.logcat");
    const std::string rule(56, '=');
    const struct {
        const char* name;
        std::string bytes;
        InputKind kind;
        std::size_t toldAfter = 0;  // 0: whenever
    } cases[] = {
        {"trace", TRACE + TRACE, eventTrace, TRACE.size()},
        {"trace behind comments", MARK + "\n# {\n \t\r\n " + TRACE + TRACE, eventTrace,
         MARK.size() + 10 + TRACE.size()},
        {"trace on several lines", "{\n\"t\":1}", eventTrace},
        {"log", LOG + LOG, logText, LOG.size()},
        {"log behind comments", "# x\n\n" + LOG + LOG, logText, LOG.size() + 5},
        {"log behind an empty line", "\n" + LOG + LOG + LOG + LOG + LOG + LOG, logText},
        {"short lines", "I/A: \nx\n", logText, 6},
        {"rule without a report", rule + "\nx\n", logText},
        {"nothing", "", logText},
        {"export", json, logExport},
        {"export behind a mark", MARK + "\n" + json, logExport},
        {"benchmark", example("startup-benchmarkData.json"), benchmark},
        {"report", report, bugReport},
        {"report behind blanks", MARK + std::string(600, '\n') + report, bugReport},
        {"report with CRLF", rule + "\r\n== dumpstate: 2026", bugReport},
        {"start-info", "\n" + example("start-info.txt"), startInfo},
        {"perfetto", perfetto, perfettoTrace},
        {"ftrace", example("launch.ftrace"), ftrace},
        {"ftrace behind a mark", MARK + "TRACE:\nx\n", ftrace},
        {"page", "<!DOCTYPE html>\n<html>", ftrace},
        {"zip", ArchiveMaker::zip({{"\n", LOG}}), archive},
        {"tar", ArchiveMaker::tar({{"ab", LOG}}), archive},
        {"gzip", ArchiveMaker::compressed(LOG, ARCHIVE_FILTER_GZIP), compressed},
        {"bzip2", "BZh91AY&SY\n123\n", compressed},
        {"xz", ArchiveMaker::compressed(LOG, ARCHIVE_FILTER_XZ), compressed},
        {"zstd", ArchiveMaker::compressed(LOG, ARCHIVE_FILTER_ZSTD), compressed},
        {"UTF-16LE", "\xFF\xFE" + utf16(LOG), utf16Text},
        {"UTF-16BE", "\xFE\xFF" + utf16(LOG, true), utf16Text},
        {"UTF-16LE without a mark", utf16("\n\n" + LOG), utf16Text},
        {"zeros that end", utf16("\n1234567890\n").substr(0, 23) + LOG, logText},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(inputKindOf(c.bytes.substr(0, KS_TELLING_SIZE)), c.kind);
        std::size_t size = 0;
        std::optional<InputKind> kind;
        while (!kind && size < c.bytes.size()) {
            kind = arrivingKindOf(std::string_view(c.bytes).substr(0, ++size));
        }
        EXPECT_EQ(kind.value_or(c.kind), c.kind) << "after " << size;
        EXPECT_TRUE(c.toldAfter == 0 || c.toldAfter == size) << "after " << size;
    }
}

TEST(InputFileTest, ABugReportIsThreeInputs) {
    const std::string report = example("bugreport.txt");
    const Lines all = joined({LAST_BOOT, HISTORY, REPORT});
    EXPECT_EQ(eventsIn(report), all);
    FileSource file(fileHolding(report), "in");
    std::vector<InputSummary> summaries;
    eventsOf(findInputs(file, {}), &summaries);
    ASSERT_EQ(summaries.size(), 3U);
    EXPECT_EQ(summaries[0].units, 4U);
    const InputClock clock{InputClock::Kind::yearless, 2026};
    EXPECT_EQ(summaries[0].clock, clock);
    EXPECT_EQ(summaries[2].clock, clock);
    EXPECT_EQ(summaries[2].androidRelease, "16");
    const auto countOf = [](const InputSummary& summary, InputNote::Kind kind) {
        const auto note = std::ranges::find(summary.notes, kind, &InputNote::kind);
        return note != summary.notes.end() ? note->count : 0;
    };
    EXPECT_EQ(countOf(summaries[1], InputNote::Kind::toldTwice), 3U);
    EXPECT_EQ(countOf(summaries[2], InputNote::Kind::repeatedLines), 2U);

    const std::string end = "------ 0.218s was the duration of 'SYSTEM LOG' ------";
    EXPECT_EQ(eventsIn(replaced(report, end, "[logcat: 1.6s elapsed]")), all);
    const std::size_t history = report.find("ACTIVITY MANAGER LRU PROCESSES");
    EXPECT_EQ(eventsIn(report + report.substr(history)), all) << "a history told twice";
    std::string carriage = report;
    for (std::size_t i = carriage.size(); i-- > 0;) {
        if (carriage[i] == '\n') {
            carriage.insert(i, "\r");
        }
    }
    EXPECT_EQ(eventsIn(carriage), all);
    // Older ones have less.
    const std::string cut = report.substr(0, report.find("------ LAST LOGCAT"));
    EXPECT_EQ(eventsIn(cut), joined({{REPORT.begin(), REPORT.begin() + 7}}));
    EXPECT_EQ(told(cut.substr(0, cut.find("------ SYSTEM LOG"))),
              "in: a bug report without log lines in SYSTEM LOG and EVENT LOG: it may be one of "
              "telephony or Wi-Fi; take a full one with adb bugreport");
}

TEST(InputFileTest, ABugReportIsTheSameHoweverItIsPacked) {
    const Lines all = eventsIn(example("bugreport.txt"));
    const int filters[] = {ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_XZ, ARCHIVE_FILTER_BZIP2,
                           ARCHIVE_FILTER_ZSTD};
    for (const int filter : filters) {
        EXPECT_EQ(eventsIn(ArchiveMaker::compressed(example("bugreport.txt"), filter)), all);
    }
    EXPECT_EQ(eventsIn(utf16(example("bugreport.txt"))), all);
    const struct {
        std::string report;
        std::string mainEntry;
    } names[] = {
        {"bugreport-d2-DEMO-2026-05-02-08-02-10.txt", "bugreport-d2-DEMO-2026-05-02-08-02-10.txt"},
        {"bugreport-d2-DEMO-mine.txt", "bugreport-d2-DEMO-2026-05-02-08-02-10.txt"},
        {"mine.txt", "mine.txt\n"},
        {"bugreport-2015-01-02.txt", ""},
    };
    for (const auto& n : names) {
        SCOPED_TRACE(n.report);
        const std::string zip = ArchiveMaker::zip(reportMembers(n.report, n.mainEntry));
        Lines packed = eventsIn(zip);
        for (std::string& event : packed) {
            event = event == n.report ? "in" : event;
        }
        EXPECT_EQ(packed, all);
    }
}

TEST(InputFileTest, OtherArchivesAndFoldersGiveAllThatTheyHold) {
    const std::string setup = R"({"host":{"games":["com.t"]}})"
                              "\n";
    const Lines expected = {"a.log", "5220000000 launch com.l", "b.jsonl", "1 launch com.t"};
    const Lines passedOver = {"README"};
    const std::string packed = ArchiveMaker::compressed(LOG, ARCHIVE_FILTER_GZIP);
    const std::string zip =
        ArchiveMaker::zip({{"README", "x"}, {"logs/b.jsonl", TRACE}, {"logs/a.log", packed}});
    EXPECT_EQ(eventsIn(zip), joined({expected, passedOver}));
    EXPECT_EQ(eventsIn(ArchiveMaker::tar({{"b.jsonl", TRACE}, {"a.log", LOG}})), expected);
    // Traces are none for import.
    EXPECT_EQ(eventsIn(zip, {.takesTraces = false}),
              (Lines{"a.log", "5220000000 launch com.l", "README", "b.jsonl"}));
    const Folder folder({{"README", "x"}, {"1/a.log", packed}, {"2.zip", zip}, {"b.jsonl", TRACE}});
    EXPECT_EQ(eventsOf(findInputs(folder.path(), {}, nullptr)),
              joined({{"a.log", "5220000000 launch com.l"},
                      expected,
                      passedOver,
                      {"b.jsonl", "1 launch com.t"},
                      passedOver}));
    // What is no input has no say about the set-up.
    const Folder games({{"a.log", ""}, {"README", "x"}, {"b.jsonl", setup + TRACE}});
    EXPECT_EQ(InputSequence({games.path()}, std::nullopt, {}).setup().games.size(), 1U);
    EXPECT_EQ(played({games.path()}), Lines{"1 launch com.t"});
    EXPECT_EQ(errorOf<InputError>([&] {
                  findInputs(Folder({{"a", "x"}}).path(), {}, nullptr);
              }).substr(0, 5),
              "/tmp/");
}

TEST(InputFileTest, WhatALogWindowCopiesIsALog) {
    const Lines first{"in", "10482005120 launch org.example.radio",
                      "10482005702 frame org.example.radio",
                      "10482031007 switch org.example.launcher"};
    EXPECT_EQ(eventsIn(example("log-window-old.txt")), first);
    EXPECT_EQ(
        eventsIn(example("log-window.txt")),
        joined({first,
                {"10482062450 launch org.example.notes", "10482062955 frame org.example.notes"}}));
}

TEST(InputFileTest, WhatIsNoInputIsToldInASentence) {
    const std::string none =
        "what is read are Android logs, bug reports, event traces, log exports, start-info, "
        "Perfetto and ftrace traces, and benchmark results";
    const std::string gzip = ArchiveMaker::compressed(LOG, ARCHIVE_FILTER_GZIP);
    const std::string zip = ArchiveMaker::zip({{"a.log", LOG}});
    const std::string noFile = "in: an archive in which no file is an input";
    const auto noMember = [&](const std::string& name, const std::string& why) {
        return noFile + "; in/" + name + ": " + why;
    };
    const InputOptions import{.takesTraces = false};
    const struct {
        const char* name;
        std::string bytes;
        std::string told;
        InputOptions options = {};
    } cases[] = {
        {"empty", "", "in: it is empty; " + none, import},
        {"blank", MARK + "\n \r\n", "in: it is empty; " + none, import},
        {"text", "\n\nhello\n", "in: no line of it is a log line; " + none, import},
        {"picture", "\x89PNG\r\n\x1a\n\0\0"s, "in: it is a picture; " + none},
        {"database", "SQLite format 3\0\x10\0"s,
         "in: it is an SQLite database; `inspect --root` reads those of the feature; " + none},
        {"code", "dex\n035\0"s, "in: it is an app's code; " + none},
        {"binary", "ab\n\x01\0\x02"s, "in: it is a binary file; " + none},
        {"trace", TRACE, "in: an event trace, which is what import prints", import},
        {"benchmark", example("startup-benchmarkData.json"),
         "in: benchmark results do not name the app; give it with --package NAME"},
        {"twice", ArchiveMaker::compressed(gzip, ARCHIVE_FILTER_XZ),
         "in: compressed more than once; decompress it first"},
        {"zip in zip", ArchiveMaker::zip({{"b.zip", zip}}),
         noMember("b.zip", "an archive inside another is not read; unpack it")},
        {"tar.gz", ArchiveMaker::compressed(ArchiveMaker::tar({{"a", LOG}}), ARCHIVE_FILTER_GZIP),
         "in: an archive that is compressed as a whole is not read; decompress it first"},
        {"absolute", ArchiveMaker::zip({{"/a.log", LOG}}),
         noMember("/a.log", "its name leads out of the archive")},
        {"folder up", ArchiveMaker::zip({{"../a.log", LOG}}),
         noMember("../a.log", "its name leads out of the archive")},
        {"link", ArchiveMaker::zip({{"a.log", "/etc/passwd", true, AE_IFLNK}}),
         noMember("a.log", "it is a link, which is not followed")},
        {"encrypted", ArchiveMaker::zip({{"a.log", LOG}}, "zip:encryption=zipcrypt"),
         noMember("a.log", "it is encrypted")},
        {"no member", ArchiveMaker::zip({}), noFile},
        {"cut zip", zip.substr(0, 60), "in: the archive ends early"},
        {"cut gzip", gzip.substr(0, gzip.size() - 9), "in: the gzip data ends early"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(told(c.bytes, c.options), c.told) << c.name;
    }
    // Where traces are taken, what says nothing is one without objects.
    for (const std::string& nothing : {""s, MARK, "# x\n\n"s, std::string(100'000, '\n')}) {
        EXPECT_EQ(eventsIn(nothing), Lines{"in"});
    }
    EXPECT_EQ(eventsIn(std::string(100'000, '\n') + TRACE), (Lines{"in", "1 launch com.t"}));
}

TEST(InputFileTest, InputsOfSeveralKindsFollowEachOther) {
    const Folder folder({{"a.log", LOG}, {"b.txt", example("bugreport.txt")}});
    const Lines trace = played({KESTREL_EXAMPLES "/launch.perfetto-trace"});
    const Lines events = played({folder.path("a.log"), KESTREL_EXAMPLES "/launch.perfetto-trace"});
    ASSERT_EQ(events.size(), trace.size() + 1);
    EXPECT_EQ(events[0], "5220000000 launch com.l");
    EXPECT_TRUE(events[1].starts_with("5220001000 ")) << events[1];
    // The history behind the log of the last boot, the log of this one where it was.
    const Lines report = played({folder.path("b.txt")});
    EXPECT_EQ(report.size(), 2U + 3U + 8U);
    EXPECT_EQ(report[2], "10530001700 launch org.example.camera");
    EXPECT_EQ(report[5], REPORT[1]);
}

TEST(InputFileTest, HostileBytesAreReadOrToldInShortTime) {
    std::string marks;
    for (int i = 0; i < 500'000; ++i) {
        marks += MARK;
    }
    EXPECT_TRUE(told(marks).starts_with("in: no line")) << told(marks);
    // Every cut of a report ends as a report, or with a sentence.
    const std::string report = example("bugreport.txt");
    const std::string zip = ArchiveMaker::zip(reportMembers("bugreport-a.txt", "bugreport-a.txt"));
    for (const std::string& whole : {report, zip}) {
        for (std::size_t size = 0; size < whole.size(); size += 1 + size / 500) {
            static_cast<void>(told(whole.substr(0, size)));
        }
    }
}

}  // namespace kestrel
