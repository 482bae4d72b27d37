// What the cases on reading inputs need: the inputs, and the cost of a program that reads one.
//   InputBench log|trace BYTES OUT LAUNCHES_OUT   a log, or a Perfetto trace, of that size; and
//   what
//                                                 in it tells of launches as an input of its own
//   InputBench run OUT COMMAND...                 runs it with its output to OUT, and prints one
//   JSON
//                                                 object: the time, and the most memory it had

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "bench/BenchTools.h"
#include "bench/GeneratedLog.h"
#include "tests/support/PerfettoTrace.h"

using namespace kestrel;

namespace {

// The marks of a launch that lasts 400 ms.
void addLaunch(FtraceBundle& bundle, uint64_t timeUs, std::size_t number) {
    const std::string name = std::format("launchingActivity#{}", number);
    bundle.print(timeUs, std::format("S|1500|{}|0", name));
    bundle.print(timeUs + 400'000, std::format("F|1500|{}|0", name));
    bundle.print(timeUs + 400'001,
                 std::format("I|1500|{}:completed-cold:org.example.app{}", name, number % 60));
}

// Mostly switches of threads, as recorders write them; at every 200,000th of them a launch.
void writeTrace(std::size_t sizeBytes, std::ostream& trace, std::ostream& launches) {
    const std::string head =
        PerfettoTrace().apiLevel(34).clocks(1'773'480'413'000'000, 1'000'000).str();
    trace << head;
    launches << head;
    uint64_t timeUs = 1'000'000;
    std::size_t written = head.size();
    for (std::size_t n = 0; written < sizeBytes; ++n) {
        FtraceBundle bundle;
        for (int i = 0; i < 400; ++i, timeUs += 25) {
            bundle.schedSwitch(timeUs);
            if (i % 100 == 0) {
                bundle.print(timeUs, "B|4711|Choreographer#doFrame 12345");
            }
        }
        if (n % 500 == 0) {
            FtraceBundle alone;
            addLaunch(bundle, timeUs, n / 500);
            addLaunch(alone, timeUs, n / 500);
            launches << PerfettoTrace().packet(alone.packet()).str();
        }
        const std::string packet = PerfettoTrace().packet(bundle.packet()).str();
        trace << packet;
        written += packet.size();
    }
}

void writeInput(const std::string& kind, std::size_t sizeBytes, const char* out,
                const char* launchesOut) {
    std::ofstream file(out, std::ios::binary);
    std::ofstream launches(launchesOut, std::ios::binary);
    if (kind == "log") {
        GeneratedLog(file, launches).write(sizeBytes);
    } else {
        writeTrace(sizeBytes, file, launches);
    }
    if (!file.flush() || !launches.flush()) {
        throw std::runtime_error("the input cannot be written");
    }
}

pid_t spawn(const char* out, char** command) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out, O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    pid_t child = 0;
    const int error = posix_spawnp(&child, *command, &actions, nullptr, command, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error(std::format("{} cannot be started", *command));
    }
    return child;
}

// A child's memory counts from what its parent has when it starts, so the parent must be small.
void run(const char* out, char** command) {
    const auto begin = BenchClock::now();
    const pid_t child = spawn(out, command);
    int status = 0;
    rusage used{};
    if (wait4(child, &status, 0, &used) != child || status != 0) {
        throw std::runtime_error(std::format("{} failed", *command));
    }
    std::cout << std::format("{{\"ns\":{},\"kib\":{}}}\n", nanoseconds(BenchClock::now() - begin),
                             used.ru_maxrss);
}

int runMode(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if ((mode == "log" || mode == "trace") && argc == 5) {
        writeInput(mode, std::strtoul(argv[2], nullptr, 10), argv[3], argv[4]);
    } else if (mode == "run" && argc > 3) {
        run(argv[2], argv + 3);
    } else {
        std::cerr << "usage: InputBench log|trace BYTES OUT LAUNCHES_OUT, or InputBench run OUT "
                     "COMMAND...\n";
        return 2;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return runMode(argc, argv);
    } catch (const std::exception& e) {
        std::cerr << "InputBench: " << e.what() << '\n';
        return 1;
    }
}
