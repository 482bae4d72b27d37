#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tools/base/TemporaryDirectory.h"

namespace kestrel {

// Runs kestrelhost as a user does, in a directory of its own.
class ProgramRun {
 public:
    struct Result {
        int status;
        std::string out;
        std::string err;
    };

    // Makes a file in the directory and returns its name there.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return name;
    }

    std::filesystem::path path(const std::string& name) const { return mDirectory.path() / name; }

    // `arguments` as for the shell; `input` is what standard input is redirected from; `temporary`
    // is where the program keeps temporary files.
    Result run(const std::string& arguments, const std::string& input = "",
               const std::string& temporary = ".") const {
        write("stdin", input);
        return runInShell("{ TMPDIR=" + temporary + " " + KESTREL_PROGRAM + " " + arguments +
                          "; } <stdin");
    }

    // The same with an input that comes through a pipe.
    Result runPiped(const std::string& arguments, const std::string& input) const {
        write("stdin", input);
        return runInShell("cat stdin | TMPDIR=. " KESTREL_PROGRAM " " + arguments);
    }

    // Within the directory.
    Result runInShell(const std::string& words) const {
        const std::string command =
            "cd '" + mDirectory.path().string() + "' && { " + words + "; } >stdout 2>stderr";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("stdout"), read("stderr")};
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

 private:
    TemporaryDirectory mDirectory;
};

inline std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace kestrel
