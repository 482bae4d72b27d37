// kestrelhost on its command line: what it refuses, what it leaves behind, what it prints.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/support/ProgramRun.h"
#include "tests/support/Trace.h"

namespace kestrel {

namespace {

const std::string LAUNCH = Trace().launch("com.a", 10).str();
const std::string FRAME = Trace().frame("com.a", 500).str();
const std::string LEAVE = Trace().leave(600).str();

class ProgramTest : public testing::Test {
 protected:
    // The `t` of every event record.
    static std::vector<int64_t> eventTimes(const std::string& stream) {
        std::vector<int64_t> times;
        for (const std::string& line : splitLines(stream)) {
            const auto record = nlohmann::json::parse(line);
            if (record.at("kind") == "event") {
                times.push_back(record.at("t"));
            }
        }
        return times;
    }

    ProgramRun mProgram;
};

TEST_F(ProgramTest, WrongTracesAreToldByFileAndLineAndChangeNothing) {
    const struct {
        const char* name;
        const char* lines;  // behind a good launch
        const char* message;
    } cases[] = {
        {"no JSON", "{\"t\":1,", "not a JSON object: "},
        {"text behind", R"({"t":11,"hintId":1} x)", "not a JSON object: "},
        {"no object", "[1]", "not a JSON object"},
        {"not UTF-8", "{\"t\":11,\"hintId\":1,\"appName\":\"\xff\"}", "not a JSON object: "},
        {"unknown key", R"({"t":11,"hintId":1,"hintid":2})", "unknown key \"hintid\""},
        {"double key", R"({"t":11,"hintId":1,"t":12})", "the key \"t\" is there twice"},
        {"no t", R"({"hintId":1})", "the key \"t\" is missing"},
        {"no hintId", R"({"t":11})", "the key \"hintId\" is missing"},
        {"fraction", R"({"t":11.0,"hintId":1})", "\"t\" must be a whole number"},
        {"t too large", R"({"t":9223372036854775808,"hintId":1})", "\"t\" must be a whole number"},
        {"hintId too large", R"({"t":11,"hintId":2147483648})", "\"hintId\" must be a whole"},
        {"hintType text", R"({"t":11,"hintId":1,"hintType":"1"})", "\"hintType\" must be a whole"},
        {"version too large", R"({"t":11,"hintId":1,"featureVersion":32768})",
         "\"featureVersion\" must be a whole number from -32768 to 32767"},
        {"negative data version", R"({"t":11,"hintId":1,"dataVersion":-1})",
         "\"dataVersion\" must be a whole number from 0 to 65535"},
        {"appName no text", R"({"t":11,"hintId":1,"appName":null})", "\"appName\" must be a text"},
        {"time goes back", R"({"t":9,"hintId":1})", "\"t\" goes back from 10 to 9"},
        {"late set-up", R"({"host":{}})", "the host's set-up must be the first object"},
        {"query without app", R"({"t":11,"query":3})", "the key \"appName\" is missing"},
        {"query with an event's key", R"({"t":11,"query":3,"appName":"a","hintId":1})",
         "unknown key \"hintId\""},
        {"feedback without type", R"({"t":11,"feedback":{"hintId":1,"appName":"a"}})",
         "the key \"hintType\" is missing"},
        {"feedback no object", R"({"t":11,"feedback":1})", "\"feedback\" must be an object"},
        {"beyond any number", R"({"t":1e999,"hintId":1})", "not a JSON object: number overflow"},
        {"zero byte in a text", R"({"t":11,"hintId":1,"appName":"a\u0000b"})",
         "\"appName\" must not hold a zero byte"},
        {"byte order mark", "\xef\xbb\xbf{\"t\":11,\"hintId\":1}",
         "not a JSON object: a byte order"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string bad = "# comment\n\n";
        bad.append(LAUNCH).append(c.lines).append("\n").append(LEAVE);
        mProgram.write("bad.jsonl", bad);
        mProgram.write("good.jsonl", LAUNCH);
        const auto result = mProgram.run("replay --json --root root good.jsonl bad.jsonl");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err.find(std::string("bad.jsonl:4: ") + c.message), 0U) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(std::filesystem::exists(mProgram.path("root")));
    }
}

TEST_F(ProgramTest, WrongSetUpsAreTold) {
    const struct {
        const char* host;
        const char* message;
    } cases[] = {
        {R"({"knob":[1]})", "unknown key \"knob\""},
        {R"({"knobs":[1.5]})", "\"knobs\" must be a whole number"},
        {R"({"knobs":1})", "\"knobs\" must be a list"},
        {R"({"properties":null})", "\"properties\" must be an object"},
        {R"({"properties":{"ro.a":true}})", "\"ro.a\" must be a text"},
        {R"({"removals":"drop"})", "\"removals\" must be \"forget\", \"keep\" or \"ignore\""},
        {R"({"absent":["hint","hints"]})", "\"absent\" does not know \"hints\""},
        {R"({"failing":["release"]})", "\"failing\" does not know \"release\""},
        {R"({"appClasses":{"a":"1"}})", "\"a\" must be a whole number"},
        {R"({"games":[1]})", "\"games\" must be a text"},
        {R"([])", "\"host\" must be an object"},
        {R"({"featureName":"a\u0000"})", "\"featureName\" must not hold a zero byte"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        const std::string object = std::string("{\"host\":") + c.host + "}";
        mProgram.write("host.json", std::string("# set-up\n").append(object).append("\n"));
        mProgram.write("trace.jsonl", std::string(object).append("\n").append(LAUNCH));
        mProgram.write("good.jsonl", LAUNCH);
        auto result = mProgram.run("replay --host host.json good.jsonl");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err.find(std::string("host.json:2: ") + c.message), 0U) << result.err;
        result = mProgram.run("replay trace.jsonl");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err.find(std::string("trace.jsonl:1: ") + c.message), 0U) << result.err;
    }
    mProgram.write("host.json", "{\n  \"host\": {\n    \"knobs\": [1,,2]\n  }\n}\n");
    const auto result = mProgram.run("replay --host host.json good.jsonl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.find("host.json:3: not a JSON object: "), 0U) << result.err;
}

TEST_F(ProgramTest, WrongCommandLinesAndFiles) {
    mProgram.write("trace.jsonl", LAUNCH);
    mProgram.write("letter.txt", "Dear reader,\nthis is no log.\n");
    mProgram.write("file", "");
    const struct {
        const char* arguments;
        int status;
        const char* message;
    } cases[] = {
        {"", 2, "subcommand is required"},
        {"play trace.jsonl", 2, "play"},
        {"replay", 2, "INPUT"},
        {"replay --sink trace.jsonl", 2, "--sink"},
        {"replay missing.jsonl", 2, "missing.jsonl: No such file"},
        {"replay --host missing.json trace.jsonl", 2, "missing.json: No such file"},
        {"replay letter.txt", 2, "letter.txt: no line of it is a log line; what is read"},
        {"replay - -", 2, "standard input (-) can be an input only once"},
        {"replay --json - </", 2, "standard input cannot be read"},
        {"replay --root '' trace.jsonl", 2, "--root: the name is empty"},
        {"import trace.jsonl", 2, "trace.jsonl: an event trace, which is what"},
        {"import file", 2, "file: it is empty; what is read"},
        {"replay --root file trace.jsonl", 1, "cannot make"},
        {"replay --root /proc/none trace.jsonl", 1, "cannot make"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const auto result = mProgram.run(c.arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    for (const char* arguments : {"--help", "replay --help", "import --help"}) {
        SCOPED_TRACE(arguments);
        const auto result = mProgram.run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.out.find("Example"), std::string::npos);
    }
    EXPECT_EQ(mProgram.run("--version").out, "kestrelhost, feature version 1.0\n");
}

TEST_F(ProgramTest, WhatArrivesLiveBeforeAWrongLineStaysStored) {
    const auto result = mProgram.runPiped("replay --json --root root -",
                                          LAUNCH + FRAME + LEAVE + "{\"t\":700}\n" + LAUNCH);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "-:4: the key \"hintId\" is missing\n");
    EXPECT_EQ(eventTimes(result.out), (std::vector<int64_t>{10, 500, 600}));
    const auto lines = splitLines(result.out);
    EXPECT_EQ(nlohmann::json::parse(lines.front()).at("t"), 0);
    EXPECT_EQ(lines.back(), R"({"kind":"stop","t":600})");
    const auto later =
        mProgram.run("replay --json --root root -", R"({"t":1,"query":3,"appName":"com.a"})");
    EXPECT_NE(later.out.find(R"("result":0,"value":490})"), std::string::npos) << later.out;
}

TEST_F(ProgramTest, InputsFollowEachOtherOnOneClock) {
    mProgram.write("a.jsonl",
                   "{\"host\":{\"ignoredApps\":[\"com.x\"]}}\n" + LAUNCH + FRAME + LEAVE);
    mProgram.write("b.jsonl", LAUNCH + FRAME);
    mProgram.write("none.jsonl", "# nothing\n");
    auto result = mProgram.run("replay --json a.jsonl none.jsonl b.jsonl - a.jsonl", LAUNCH);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(eventTimes(result.out),
              (std::vector<int64_t>{10, 500, 600, 1600, 2090, 3090, 4090, 4580, 4680}));
    mProgram.write("c.jsonl", "{\"host\":{}}\n" + LAUNCH);
    result = mProgram.run("replay a.jsonl c.jsonl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.find("c.jsonl: its host set-up differs from that of a.jsonl"), 0U);
    mProgram.write("host.json", R"({"host":{}})");
    EXPECT_EQ(mProgram.run("replay --host host.json a.jsonl c.jsonl").status, 0);
    mProgram.write("late.jsonl", R"({"t":9223372036854775807,"hintId":1})");
    result = mProgram.run("replay --root root late.jsonl b.jsonl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.find("b.jsonl:1: \"t\" does not fit"), 0U) << result.err;
    EXPECT_FALSE(std::filesystem::exists(mProgram.path("root")));
}

TEST_F(ProgramTest, RunsOnARootContinueAndStayBelowIt) {
    mProgram.write("trace.jsonl", LAUNCH + FRAME + LEAVE);
    const std::string before = mProgram.run("replay --json trace.jsonl").out;
    EXPECT_EQ(mProgram.run("replay --json --root root trace.jsonl").out, before);
    for (int life = 2; life <= 5; ++life) {
        EXPECT_EQ(mProgram.run("replay --json --no-sync --root root/. trace.jsonl").out, before);
    }
    const std::string learned = mProgram.run("replay --json --root root trace.jsonl").out;
    EXPECT_NE(learned.find(R"("text":"Data Complete - Eval Required","value":750)"),
              std::string::npos)
        << learned;
    // A link that leads elsewhere is followed before "..".
    std::filesystem::create_directories(mProgram.path("a/b"));
    std::filesystem::create_directory_symlink(mProgram.path("a/b"), mProgram.path("link"));
    EXPECT_EQ(mProgram.run("replay --json --root link/../new trace.jsonl").out, before);
    EXPECT_TRUE(std::filesystem::exists(mProgram.path("a/new/data")));
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(mProgram.path("root"))) {
        if (entry.is_regular_file() && entry.path().extension() == ".db") {
            files.insert(std::filesystem::relative(entry.path(), mProgram.path("root")));
        }
    }
    EXPECT_EQ(files, (std::set<std::string>{"data/vendor/lm/KestrelStarts.db",
                                            "data/vendor/lm/KestrelStartsAction.db",
                                            "data/vendor/lm/KestrelStartsState.db"}));
}

TEST_F(ProgramTest, NamesAreCutForTheServiceAndPrintedAsText) {
    // The cut at 127 bytes falls into the last letter.
    const std::string name = std::string(126, 'a') + "\u00e4";
    mProgram.write("trace.jsonl", Trace().launch(name, 1).str());
    const std::string out = mProgram.run("replay --json trace.jsonl").out;
    EXPECT_NE(out.find("\"app\":\"" + std::string(126, 'a') + "\ufffd\",\"duration\":15000"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("\"appName\":\"" + name + '"'), std::string::npos);
}

TEST_F(ProgramTest, PeopleSeeLaunchesAndATableWithinEightyColumns) {
    const std::string app = "com.example.an.app.with.a.rather.long.name/.MainActivity";
    mProgram.write("trace.jsonl", Trace().launches(app, 7, 90000000, 1000).str());
    const auto lines = splitLines(mProgram.run("replay trace.jsonl").out);
    ASSERT_GT(lines.size(), 3U);
    for (const std::string& line : lines) {
        EXPECT_LE(line.size(), 80U) << line;
    }
    EXPECT_EQ(lines[2],
              "    1d 01:00:00.000  ..ther.long.name/.MainActivity  learning    2000   15000");
    EXPECT_EQ(lines[3], "    1d 01:00:01.000  ..ther.long.name/.MainActivity  measured 1000 ms");
    EXPECT_EQ(lines.back(),
              "..ther.long.name/.MainActivity        7        5  learned         1000      1");
}

TEST_F(ProgramTest, NamesReachTheTerminalAsText) {
    const std::string app = R"(com.\u001b[2J\u009b)" + std::string(30, 'x') + "\u00e4\u00e4";
    mProgram.write("trace.jsonl",
                   Trace().launch(app, 1).event("a", 2, 1, 0, ",\"dataVersion\":1").str());
    const std::string out = mProgram.run("replay trace.jsonl").out;
    EXPECT_EQ(out.find('\x1b'), std::string::npos);
    EXPECT_NE(out.find("  .." + std::string(26, 'x') + "\u00e4\u00e4  learning"), std::string::npos)
        << out;
    EXPECT_NE(out.find("Payload Data or Version is not compatible.\n"
                       "       Hence, Discarding Request."),
              std::string::npos)
        << out;
}

TEST_F(ProgramTest, AReaderThatHasGoneEndsTheReplayQuietly) {
    Trace trace;
    for (int t = 0; t < 2000; ++t) {
        trace.launch("", t);
    }
    mProgram.write("trace.jsonl", trace.str());
    std::filesystem::create_directory(mProgram.path("tmp"));
    const auto result = mProgram.run("replay --json --no-sync trace.jsonl | head -n 1", "", "tmp");
    EXPECT_EQ(splitLines(result.out).size(), 1U);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(std::filesystem::is_empty(mProgram.path("tmp")));
    EXPECT_EQ(mProgram.run("replay --json trace.jsonl > /dev/full").status, 1);
    EXPECT_EQ(mProgram.run("replay trace.jsonl >&-").status, 1);
}

// A replay whose output nobody takes, once it waits for that.
class StalledReplay {
 public:
    explicit StalledReplay(const ProgramRun& program) {
        std::array<int, 2> output{};
        EXPECT_EQ(pipe(output.data()), 0);
        mOutput = output[0];
        mPid = fork();
        if (mPid == 0) {
            signal(SIGTERM, SIG_DFL);
            dup2(output[1], STDOUT_FILENO);
            const std::string command = "cd '" + program.path(".").string() +
                                        "' && exec " KESTREL_PROGRAM
                                        " replay --json --no-sync trace.jsonl 2>stderr";
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        close(output[1]);
        const int full = fcntl(mOutput, F_GETPIPE_SZ) - PIPE_BUF;
        for (int waiting = 0; waiting < full;) {
            EXPECT_EQ(ioctl(mOutput, FIONREAD, &waiting), 0);
        }
    }
    ~StalledReplay() { close(mOutput); }
    StalledReplay(const StalledReplay&) = delete;
    StalledReplay& operator=(const StalledReplay&) = delete;

    void interrupt() const { kill(mPid, SIGTERM); }

    // What waitpid says once it has ended; `meanwhile` is called until then.
    template <class Meanwhile>
    int wait(Meanwhile meanwhile) const {
        int status = 0;
        while (waitpid(mPid, &status, WNOHANG) == 0) {
            meanwhile();
        }
        return status;
    }

 private:
    int mOutput = -1;
    pid_t mPid = -1;
};

TEST_F(ProgramTest, AnInterruptionEndsAReplayWhoseOutputNobodyTakes) {
    std::string trace;
    for (int t = 0; t < 2000; ++t) {
        trace += "{\"t\":" + std::to_string(t) + ",\"hintId\":4225,\"hintType\":1}\n";
    }
    mProgram.write("trace.jsonl", trace);
    const StalledReplay patient(mProgram);
    patient.interrupt();
    const int status = patient.wait([] {});
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_EQ(mProgram.read("stderr"), "kestrelhost: cannot write to standard output\n");
    // A second one ends it at once; those that come together are one.
    const StalledReplay impatient(mProgram);
    const int killed = impatient.wait([&] { impatient.interrupt(); });
    EXPECT_TRUE(WIFSIGNALED(killed) && WTERMSIG(killed) == SIGTERM) << killed;
}

TEST_F(ProgramTest, LogsAreImportedAsTheyAreReplayed) {
    const std::string log =
        "03-01 10:00:00.000  1000  1001 I ActivityManager: START u0 {flg=0x10000000 "
        "cmp=com.a/.Main} from uid 1\n"
        "03-01 10:00:00.600  1000  1001 I ActivityManager: Displayed com.a/.Main: +550ms\n";
    mProgram.write("log.txt", log);
    mProgram.write("host.json", R"({"host":{"games":["com.a"]}})");
    const auto imported = mProgram.run("import --host host.json log.txt log.txt");
    EXPECT_EQ(imported.out,
              R"({"t":5220000000,"hintId":4225,"hintType":1,"appName":"com.a","launchType":2})"
              "\n"
              R"({"t":5220000550,"hintId":4103,"appName":"com.a"})"
              "\n"
              R"({"t":5220001550,"hintId":4225,"hintType":1,"appName":"com.a","launchType":2})"
              "\n"
              R"({"t":5220002100,"hintId":4103,"appName":"com.a"})"
              "\n");
    EXPECT_EQ(mProgram.run("import --host host.json -", log).out,
              mProgram.run("import --host host.json log.txt").out);
    mProgram.write("events.jsonl", imported.out);
    const auto withoutLines = [](std::string stream) {
        std::string kept;
        for (const std::string& line : splitLines(stream)) {
            auto record = nlohmann::ordered_json::parse(line);
            record.erase("line");
            kept += record.dump() + "\n";
        }
        return kept;
    };
    EXPECT_EQ(withoutLines(mProgram.run("replay --json --host host.json log.txt log.txt").out),
              withoutLines(mProgram.run("replay --json --host host.json events.jsonl").out));
}

TEST_F(ProgramTest, EveryCommandEndsWithWhatItsInputsWereFoundToBe) {
    const std::string told =
        "a.jsonl: event trace, 2 lines, 00:00:00.010 to 00:00:00.500: 1 launch, 1 first frame\n"
        "standard input: event trace, 1 line, 00:00:00.010 to 00:00:00.010: 1 launch, 0 first "
        "frames, 1 launch without one\n"
        "standard input: 1 launch, none with a first frame: nothing can be measured. A first "
        "frame is an event with the hintId 4103\n";
    mProgram.write("a.jsonl", LAUNCH + FRAME);
    for (const std::string command : {"replay", "evaluate", "report --out page.html"}) {
        SCOPED_TRACE(command);
        EXPECT_EQ(mProgram.run(command + " a.jsonl -", LAUNCH).err, told);
        EXPECT_EQ(mProgram.run(command + " --quiet a.jsonl -", LAUNCH).err, "");
    }
    EXPECT_EQ(mProgram.run("replay --json a.jsonl -", LAUNCH).err, "");
    const auto result = mProgram.run("evaluate --json a.jsonl -", LAUNCH);
    EXPECT_EQ(result.err, "");
    const auto inputs = nlohmann::json::parse(result.out)["inputs"];
    EXPECT_EQ(inputs[0]["launches"], 1);
    EXPECT_EQ(inputs[1]["notes"][0]["kind"], "noFirstFrames");
    const std::string line = "10-01 00:00:00.000  1  1 I ActivityManager: nothing\n";
    mProgram.write("log.txt", line);
    EXPECT_NE(mProgram.run("import log.txt").err.find("1 log line, but none tells of a launch."),
              std::string::npos);
    EXPECT_EQ(mProgram.run("import --quiet log.txt").err, "");
    EXPECT_EQ(mProgram.run("replay --quiet -", line).out, "no launch in 1 log line\n");
}

TEST_F(ProgramTest, AFeatureThatIsOffIsToldWithTheReason) {
    const struct {
        const char* host;
        const char* why;
    } cases[] = {
        {R"({"knobs":null})", "the feature was off, since the platform has no knob library"},
        {R"({"knobs":[7]})", "the feature was off, since the knob library reports neither"},
        {R"({"absent":["property"]})", "the feature was off, since the performance service"},
        {R"({"properties":{}})", "the feature was off, since neither ro.vendor.perf.kap nor"},
        {R"({"properties":{"ro.vendor.perf.kgm":"true"}})",
         "the feature was off for apps, since ro.vendor.perf.kap is not"},
    };
    mProgram.write("trace.jsonl", LAUNCH + FRAME);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        mProgram.write("host.json", std::string("{\"host\":") + c.host + "}");
        std::string out = mProgram.run("replay --host host.json trace.jsonl").out;
        std::erase(out, '\n');
        EXPECT_NE(out.find(std::string("no launches: ") + c.why), std::string::npos) << out;
        out = mProgram.run("evaluate --json --host host.json trace.jsonl").out;
        EXPECT_TRUE(nlohmann::json::parse(out)["featureOff"].get<std::string>().starts_with(c.why));
    }
}

TEST_F(ProgramTest, AnInterruptedEvaluationSaysHowFarItCame) {
    mProgram.write("long.jsonl", Trace().launches("com.a", 20000, 0, 900).str());
    for (const std::string command : {"evaluate --json", "evaluate --quiet"}) {
        mProgram.write("script", "env --default-signal=INT " KESTREL_PROGRAM " " + command +
                                     " long.jsonl >result &\n"
                                     "until [ -d kestrelhost-*/data ]; do :; done\n"
                                     "kill -INT $!\nwait $!\necho $?\n");
        const auto result = mProgram.run("--version >version && TMPDIR=. sh script");
        EXPECT_EQ(result.out, "0\n");
        EXPECT_TRUE(result.err.starts_with("interrupted at ")) << result.err;
        const std::string told = mProgram.read("result");
        if (command == "evaluate --quiet") {
            EXPECT_NE(told.find("only a part: " + result.err), std::string::npos) << told;
        } else {
            const auto interrupted = nlohmann::json::parse(told)["interrupted"];
            EXPECT_EQ(interrupted["input"], "long.jsonl");
            EXPECT_LT(interrupted["events"], 60000);
        }
    }
}

// The limit of a file's size stands for a full disk. The thread sanitizer keeps its memory in a
// file, so that too few descriptors stand for one there.
#if __has_feature(thread_sanitizer)
constexpr const char* LIMIT = "ulimit -n 12\n";
#else
constexpr const char* LIMIT = "trap '' XFSZ\nulimit -f 16\n";
#endif

TEST_F(ProgramTest, ADatabaseThatCannotBeUsedIsToldAndNoNumberIsShown) {
    mProgram.write("trace.jsonl", Trace().launches("com.a", 7, 0, 900).str());
    mProgram.write("old.html", "good");
    for (const std::string command :
         {"evaluate", "evaluate --json", "report --out old.html", "replay --root root"}) {
        SCOPED_TRACE(command);
        std::string script = LIMIT;
        script.append("exec " KESTREL_PROGRAM " ").append(command).append(" trace.jsonl\n");
        mProgram.write("script", script);
        const auto result = mProgram.run("--version >version && sh script");
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(
            result.err.starts_with("kestrelhost: a database could not be opened, read or "
                                   "written: "))
            << result.err;
        EXPECT_EQ(splitLines(result.err).size(), 1U) << result.err;
        EXPECT_EQ(result.out.empty(), !command.starts_with("replay")) << result.out;
    }
    EXPECT_EQ(mProgram.read("old.html"), "good");
}

}  // namespace

}  // namespace kestrel
