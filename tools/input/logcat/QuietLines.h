#pragma once

#include <cstddef>
#include <string_view>

namespace kestrel {

// Finds the lines of a log in format threadtime that say nothing about launches, by a few of their
// bytes: nearly all lines are such, and in the same columns and the same hour as the one before.
class QuietLines {
 public:
    // Several quiet lines that follow each other. Their times are in ms since the line that was
    // followed.
    struct Run {
        std::size_t sizeBytes = 0;  // with the line ends
        std::size_t lines = 0;
        int earliestMs = 0;
        int latestMs = 0;
        int lastMs = 0;
    };

    // A log line in format threadtime: those to come are compared with its hour and its columns.
    void follow(std::string_view line);

    // The lines are no longer of that format.
    void forget() { mPriorityAt = 0; }

    // The quiet lines with which a text begins.
    Run takeFrom(std::string_view text) const;

 private:
    // Of a quiet line the time since its hour began, else -1.
    int msOfQuiet(std::string_view line) const;

    char mHour[8] = {};           // "MM-DD HH"
    int mMs = 0;                  // since this hour began
    std::size_t mPriorityAt = 0;  // the column of the priority; 0: not known
};

}  // namespace kestrel
