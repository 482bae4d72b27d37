#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <utility>

#include "tests/support/TestHost.h"

namespace kestrel {

// Whether all that was told stands in NAME.lines of the faults, in blocks that a blank line ends.
// If not, a file is left of what came. Not all that is there comes with every build: how much is
// allocated differs.
inline void expectKnown(const std::set<Lines>& told, const std::string& name) {
    std::ifstream file(std::string(KESTREL_FAULT_LINES) + "/" + name + ".lines");
    std::set<Lines> known;
    Lines block;
    for (std::string line; std::getline(file, line);) {
        if (line.empty()) {
            known.insert(std::exchange(block, {}));
        } else {
            block.push_back(line);
        }
    }
    if (std::ranges::includes(known, told)) {
        return;
    }
    const std::string path = testing::TempDir() + name + ".lines";
    std::ofstream came(path);
    for (const Lines& lines : told) {
        for (const std::string& line : lines) {
            came << line << '\n';
        }
        came << '\n';
    }
    ADD_FAILURE() << "what came is in " << path;
}

}  // namespace kestrel
