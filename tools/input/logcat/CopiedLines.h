#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kestrel {

// The lines of a section of which the last ones can stand in a later section again. Of those that
// say nothing only the hashes of the latest are kept: such a line, taken for a copy by chance, does
// no harm.
class CopiedLines {
 public:
    void add(std::string_view line, bool saysSomething) {
        if (saysSomething) {
            mLines.emplace(line);
        } else if (mQuiet.size() < KS_MAX_QUIET) {
            mQuiet.push_back(hashOf(line));
        } else {
            mQuiet[mNext] = hashOf(line);
            mNext = (mNext + 1) % KS_MAX_QUIET;
        }
    }

    // Once all have been added.
    bool contains(std::string_view line, bool saysSomething) {
        if (saysSomething) {
            return mLines.contains(std::string(line));
        }
        if (mQuietSet.empty()) {
            mQuietSet.insert(mQuiet.begin(), mQuiet.end());
        }
        return mQuietSet.contains(hashOf(line));
    }

 private:
    static constexpr std::size_t KS_MAX_QUIET = 65536;

    static std::size_t hashOf(std::string_view line) { return std::hash<std::string_view>()(line); }

    std::unordered_set<std::string> mLines;
    std::vector<std::size_t> mQuiet;
    std::size_t mNext = 0;  // place of the oldest, once there are so many
    std::unordered_set<std::size_t> mQuietSet;
};

}  // namespace kestrel
