// What evaluate, report and --trace-out tell of a replay, against the record stream of the same
// replay: everything that is expected is found here by searching the stream's text.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

#include "tests/support/ProgramRun.h"
#include "tests/support/RecordStream.h"
#include "tests/support/Trace.h"

namespace kestrel {

namespace {

using Json = nlohmann::json;

// Some apps, a launcher and an ignored app, in any order; many things at the same time. Most frames
// are of the app that was launched last.
std::string randomTrace(unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&](std::size_t n) { return random() % n; };
    const std::vector<std::string> apps = {"com.a/.Main", "com.b", "com.a", "com.keyboard",
                                           "com.android.launcher3"};
    const struct {
        int hintId;
        int hintType = 0;
        const char* more = "";
    } kinds[] = {{4225, 1}, {4225, 1}, {4225, 1, R"(,"launchType":2)"},  {4103},
                 {4103},    {4103},    {4103, 0, R"(,"dataVersion":1)"}, {4097},
                 {4160},    {1, 103}};
    const std::string setUp =
        R"({"host":{"ignoredApps":["com.keyboard"],"properties":{)"
        R"("ro.vendor.perf.kap":"true","ro.vendor.perf.kgm":"true",)"
        R"("ro.vendor.perf.attach.hint.ks":"true","ro.vendor.perf.kplh":"true"}}})"
        "\n";
    Trace trace;
    int64_t t = 0;
    std::string launched;
    for (int i = 0; i < 1000; ++i) {
        t += static_cast<int64_t>(below(3) * below(below(4) == 0 ? 10000 : 400));
        const auto& kind = kinds[below(std::size(kinds))];
        const bool ofLaunched = kind.hintId == 4103 && below(4) != 0;
        const std::string& app = ofLaunched ? launched : apps[below(apps.size())];
        launched = kind.hintId == 4225 ? app : launched;
        if (i % 400 == 399) {
            trace.event(app, t, 4164);
        } else {
            trace.event(app, t, kind.hintId, kind.hintType, kind.more);
        }
    }
    return setUp + trace.str();
}

class EvaluationTest : public testing::TestWithParam<std::string> {
 protected:
    // The parameter is a trace's name or the seed of a random one.
    std::string trace() {
        const std::string name = GetParam();
        if (std::isdigit(name[0]) != 0) {
            return mProgram.write("random.jsonl",
                                  randomTrace(static_cast<unsigned>(std::stoul(name))));
        }
        return "'" KESTREL_TRACES "/" + name + ".jsonl'";
    }

    std::string output(const std::string& arguments) {
        const auto result = mProgram.run(arguments + " --quiet");
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    // What a report shows.
    Json pageData() {
        output("report --out page.html " + trace());
        const std::string page = mProgram.read("page.html");
        const std::string element = R"(<script type="application/json" id="data">)";
        const std::size_t begin = page.find(element) + element.size();
        return Json::parse(page.substr(begin, page.find("</script>", begin) - begin));
    }

    ProgramRun mProgram;
};

TEST_P(EvaluationTest, ListsEveryLaunchAndMark) {
    const RecordStream stream(output("replay --json --no-sync " + trace()));
    const Json data = pageData();
    EXPECT_EQ(data["summary"]["launches"], stream.launches(true).size());
    EXPECT_EQ(data["summary"]["passedOver"], stream.launches(false).size());
    for (const Json& app : data["apps"]) {
        SCOPED_TRACE(app["app"]);
        Json series = Json::array();
        for (const auto& l : stream.launches(true)) {
            if (app["app"] == l.app) {
                const char* phase = l.state < 4    ? "learning"
                                    : l.state == 4 ? "learned"
                                                   : "disabled";
                series.push_back({{"t", l.t},
                                  {"durationMs", l.durationMs},
                                  {"boostMs", l.boostMs},
                                  {"requestedMs", stream.requested(l, "hint")},
                                  {"defaultMs", stream.requested(l, "hintAcqRel")},
                                  {"phase", phase}});
            }
        }
        EXPECT_EQ(app["series"], series);
        EXPECT_EQ(app["marks"], stream.marks(app["app"]));
    }
}

TEST_P(EvaluationTest, DrawsEveryLaunchAndBoostOnceAndInOrder) {
    const RecordStream stream(output("replay --json --no-sync --trace-out trace.json " + trace()));
    std::multiset<std::string> expected;
    for (const bool actedOn : {true, false}) {
        for (const auto& launch : stream.launches(actedOn)) {
            expected.insert(launch.app + " " + std::to_string(launch.t * 1000));
        }
    }
    for (std::size_t i = 0; i < stream.records().size(); ++i) {
        if (stream.isBoost(i)) {
            const Json& r = stream.records()[i];
            expected.insert(r["handle"].dump() + ": " +
                            std::to_string(r["t"].get<int64_t>() * 1000) + " to " +
                            std::to_string(stream.endOfBoost(i) * 1000));
        }
    }
    const Json file = Json::parse(mProgram.read("trace.json"));
    EXPECT_EQ(file["displayTimeUnit"], "ms");
    std::multiset<std::string> drawn;
    std::map<int, std::string> apps;  // by process
    std::map<int, int64_t> lastEnd;   // of a thread's slices, in us
    for (const Json& event : file["traceEvents"]) {
        const std::string name = event["name"];
        if (name == "process_name") {
            apps[event["pid"]] = event["args"]["name"];
        }
        if (name.starts_with("launch") && name != "launch boost") {
            drawn.insert(apps.at(event["pid"]) + " " + event["ts"].dump());
        }
        if (event["ph"] != "X") {
            continue;
        }
        const int64_t from = event["ts"];
        const int64_t to = from + event["dur"].get<int64_t>();
        int64_t& last = lastEnd.try_emplace(event["tid"], from).first->second;
        EXPECT_LE(last, from) << event;
        EXPECT_LE(from, to) << event;
        last = to;
        if (event["args"].contains("handle")) {
            drawn.insert(event["args"]["handle"].dump() + ": " + std::to_string(from) + " to " +
                         std::to_string(to));
        }
    }
    EXPECT_EQ(drawn, expected);
}

// A real log, and what it does not hold: a disabled app, a service that refuses, and any order.
INSTANTIATE_TEST_SUITE_P(Traces, EvaluationTest,
                         testing::Values("../../traces/avd-android7.0-28-runs",
                                         "AppsWithoutDurations", "FailingService", "1"),
                         [](const auto& info) {
                             std::string name = info.param.substr(info.param.rfind('/') + 1);
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](char c) { return std::isalnum(c) == 0; }, '_');
                             return name;
                         });

const std::string LAUNCH = Trace().launch("com.a", 10).str();

TEST(EvaluateTest, TablesFitEightyColumns) {
    const ProgramRun program;
    const auto result =
        program.run("evaluate '" KESTREL_TRACES "/../../traces/avd-android7.0-28-runs.jsonl'");
    EXPECT_EQ(result.status, 0) << result.err;
    for (const std::string& line : splitLines(result.out)) {
        EXPECT_LE(line.size(), 80U) << line;
    }
    for (const char* line :
         {"..ag.gifreduxsample      247  60.3 100.0  90.2   166   317   788   510    330141\n",
          "2000 ms for all          247 100.0 100.0  97.8   225   759  1597   828    443442\n",
          "5000 ms for all          247 100.0 100.0 100.0   247  1668  4376  2062    764799\n",
          "15000 ms for all         247 100.0 100.0 100.0   247  1708 14376  5072   1508461\n",
          "KestrelStarts            247  60.3 100.0  90.2   166   317   788   510    330141\n",
          "  while learning          16  86.7 100.0  95.9    11   720 13390  3038     66668\n",
          "  once learned           231  60.2 100.0  89.8   155   309   770   335    263473\n",
          "ideal                    247 100.0 100.0 100.0   247     0     0     0    255586\n",
          "not counted: 1 without a first frame, 0 passed over by the feature\n"}) {
        EXPECT_NE(result.out.find(line), std::string::npos) << line << result.out;
    }
    EXPECT_EQ(program.run("evaluate -", "# nothing\n").out,
              "no launches\nnot counted: 0 without a first frame, 0 passed over by the feature\n");
}

TEST(EvaluateTest, FilesThatCannotBeWrittenAreToldBeforeAnythingIsPlayed) {
    const ProgramRun program;
    program.write("trace.jsonl", LAUNCH);
    program.write("host.json", R"({"host":{}})");
    const struct {
        const char* arguments;
        int status;
        const char* message;
    } cases[] = {
        {"replay --trace-out no/file trace.jsonl", 1, "cannot write no/file: No such file"},
        {"replay --trace-out . trace.jsonl", 1, "cannot write .: Is a directory"},
        {"report --out - trace.jsonl", 2, "-: a file is needed here"},
        {"replay --trace-out ./trace.jsonl trace.jsonl", 2, "./trace.jsonl: it is also read"},
        {"report --out host.json --host host.json trace.jsonl", 2, "host.json: it is also read"},
        {"report --out no/file trace.jsonl", 1, "cannot write no/file: No such file"},
        {"report --out /dev/full trace.jsonl", 1, "cannot write /dev/full: No space left"},
        {"report --out new.html missing.jsonl", 2, "missing.jsonl: No such file"},
        {"report trace.jsonl", 2, "--out is required"},
        {"replay --trace-out new.json missing.jsonl", 2, "missing.jsonl: No such file"},
        {"evaluate", 2, "INPUT is required"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const auto result = program.run(c.arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(program.path("new.html")));
    EXPECT_FALSE(std::filesystem::exists(program.path("new.json")));
    EXPECT_EQ(program.read("trace.jsonl"), LAUNCH);
}

TEST(EvaluateTest, FilesAppearWholeOrNotAtAll) {
    using std::filesystem::perms;
    constexpr perms MODE = perms::owner_read | perms::owner_write | perms::others_read;
    const ProgramRun program;
    program.write("trace.jsonl", LAUNCH);
    program.write("old.json", "good");
    std::filesystem::permissions(program.path("old.json"), MODE);
    std::filesystem::create_symlink("old.json", program.path("link.json"));
    EXPECT_EQ(program.run("replay --trace-out link.json --root /proc/none trace.jsonl").status, 1);
    EXPECT_EQ(program.read("old.json"), "good");
    EXPECT_EQ(program.run("replay --trace-out link.json trace.jsonl").status, 0);
    EXPECT_FALSE(Json::parse(program.read("old.json"))["traceEvents"].empty());
    EXPECT_EQ(std::filesystem::status(program.path("old.json")).permissions(), MODE);
    EXPECT_TRUE(std::filesystem::is_symlink(program.path("link.json")));
    EXPECT_EQ(program.run("report --out new.html trace.jsonl").status, 0);
    EXPECT_EQ(std::filesystem::status(program.path("new.html")).permissions(),
              std::filesystem::status(program.path("trace.jsonl")).permissions());
    for (const auto& entry : std::filesystem::directory_iterator(program.path("."))) {
        EXPECT_FALSE(entry.path().filename().string().starts_with(".kestrelhost")) << entry;
    }
}

TEST(EvaluateTest, WhatIsNoRegularFileIsWrittenInPlace) {
    const ProgramRun program;
    program.write("trace.jsonl", LAUNCH);
    ASSERT_EQ(mkfifo(program.path("pipe").c_str(), 0600), 0);
    const auto unread = program.run("report --out pipe trace.jsonl");
    EXPECT_EQ(unread.status, 1);
    EXPECT_EQ(unread.err, "kestrelhost: cannot write pipe: nobody reads it\n");
    program.write("script", "exec 3<>pipe 4<pipe 3>&-\n" KESTREL_PROGRAM
                            " replay --json --trace-out pipe trace.jsonl >records && cat <&4\n");
    const auto read = program.run("--version >version && sh script");
    EXPECT_FALSE(Json::parse(read.out)["traceEvents"].empty()) << read.err;
    EXPECT_EQ(program.run("report --out /dev/null trace.jsonl").status, 0);
    EXPECT_TRUE(program.run("report --out /dev/stdout trace.jsonl").out.starts_with("<!"));
}

TEST(EvaluateTest, WhatComesOnStandardInputIsNotOverwritten) {
    const ProgramRun program;
    program.write("trace.jsonl", LAUNCH);
    const auto result = program.run("report --out trace.jsonl - <trace.jsonl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "trace.jsonl: it is also read, so it cannot be written\n");
    EXPECT_EQ(program.read("trace.jsonl"), LAUNCH);
}

TEST(EvaluateTest, WhatArrivesLiveBeforeAWrongLineIsTold) {
    const ProgramRun program;
    const std::string input =
        Trace().launch("com.a", 10).frame("com.a", 500).str() + "{\"t\":700}\n";
    auto result = program.runPiped("evaluate --json -", input);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "-:3: the key \"hintId\" is missing\n");
    EXPECT_EQ(Json::parse(result.out)["policies"][6]["boostedMs"], 490);
    result = program.runPiped("replay --trace-out trace.json -", input);
    EXPECT_EQ(result.status, 2);
    const Json launch = Json::parse(program.read("trace.json"))["traceEvents"].back();
    EXPECT_EQ(launch["dur"], 490000);
    EXPECT_EQ(launch["args"]["line"], 1);
    EXPECT_EQ(launch["args"]["time"], "00:00:00.010");
}

// A live replay is answered line by line, and then interrupted.
TEST(EvaluateTest, AnInterruptedReplayLeavesACompletePicture) {
    const ProgramRun program;
    program.write("script",
                  "mkfifo in out\n"
                  "env --default-signal=INT " KESTREL_PROGRAM
                  " replay --json --trace-out trace.json - <in >out &\n"
                  "exec 3>in 4<out\n"
                  "head -n 1 stdin >&3\n"
                  "while read -r line <&4 && [ \"${line#*4225*15100}\" = \"$line\" ]; do :; done\n"
                  "kill -INT $!\n"
                  "cat <&4\n"
                  "wait $!\n"
                  "echo $?\n");
    const auto result = program.run("--version && sh script", LAUNCH);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out.ends_with("{\"kind\":\"stop\",\"t\":10}\n0\n")) << result.out;
    EXPECT_EQ(Json::parse(program.read("trace.json"))["traceEvents"].back()["name"],
              "launch without a first frame");
}

}  // namespace

}  // namespace kestrel
