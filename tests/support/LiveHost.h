#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

#include "tests/support/ProgramRun.h"

namespace kestrel {

// A replay that runs while the test goes on: its input is what is sent, its records are read as
// they come.
class LiveHost {
 public:
    // `arguments` are those of `replay --json`, without an input.
    LiveHost(const ProgramRun& program, const std::string& arguments) {
        const std::string command = "cd '" + program.path(".").string() + "' && exec " +
                                    KESTREL_PROGRAM + " replay --json " + arguments + " -";
        const char* words[] = {"sh", "-c", command.c_str(), nullptr};
        // Others that the test starts must not keep the pipes open.
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        EXPECT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        EXPECT_EQ(posix_spawn(&mProcess, "/bin/sh", &actions, nullptr, const_cast<char**>(words),
                              environ),
                  0);
        posix_spawn_file_actions_destroy(&actions);
        close(input[0]);
        close(output[1]);
        mInput = input[1];
        mOutput = output[0];
    }
    ~LiveHost() {
        end();
        close(mOutput);
    }
    LiveHost(const LiveHost&) = delete;
    LiveHost& operator=(const LiveHost&) = delete;

    void send(const std::string& lines) const {
        EXPECT_EQ(write(mInput, lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    }

    // Reads the records up to one that holds `text`. False: the host has ended.
    bool waitFor(const std::string& text) {
        for (std::string line = nextLine(); !line.empty(); line = nextLine()) {
            EXPECT_EQ(line.find("ERROR"), std::string::npos) << line;
            if (line.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    void killNow() const { kill(mProcess, SIGKILL); }

    // Ends the input and returns the exit status; -1 when a signal ended the host.
    int end() {
        if (mProcess == 0) {
            return -1;
        }
        close(mInput);
        while (!nextLine().empty()) {
        }
        int status = 0;
        waitpid(std::exchange(mProcess, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

 private:
    // With its end; empty when there is none.
    std::string nextLine() {
        std::size_t end = 0;
        while ((end = mRead.find('\n')) == std::string::npos) {
            std::array<char, 4096> more;
            const ssize_t size = read(mOutput, more.data(), more.size());
            if (size <= 0) {
                return {};
            }
            mRead.append(more.data(), static_cast<std::size_t>(size));
        }
        std::string line = mRead.substr(0, end + 1);
        mRead.erase(0, end + 1);
        return line;
    }

    pid_t mProcess = 0;
    int mInput = -1;
    int mOutput = -1;
    std::string mRead;  // and not yet taken
};

}  // namespace kestrel
