#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/base/ByteSource.h"
#include "tools/input/ImportedInput.h"

namespace kestrel {

// Whether a line begins the system's history of starts, `dumpsys activity start-info`.
bool isStartInfoHead(std::string_view line);

// Whether a line behind the head belongs to something else.
bool endsStartInfo(std::string_view line);

// The activity starts in such a history, a line at a time: the dump of a command, or a section of
// a bug report.
// Units:  t is the creation time of a record, which goes on over boots and counts in sleep; of a
//         record without one, the time since the boot that its launch tells. That is never more
//         than the former would be, so that records of before an update, which have none, come
//         before those of after it.
// Errors: none; a record that cannot be read is counted.
class StartInfoReader {
 public:
    // A line behind the head, with its number in the input.
    void readLine(std::string_view line, std::size_t number);

    // All that the lines held, once.
    ImportedInput take();

 private:
    // What has been read of a record; every part of it can be missing.
    struct Record {
        std::size_t line = 0;
        std::string package = {};
        std::string reason = {};
        std::string component = {};
        bool isHome = false;
        bool isGivenUp = false;
        std::optional<int64_t> createdMs = std::nullopt;
        std::optional<int64_t> launchNs = std::nullopt;
        std::optional<int64_t> frameNs = std::nullopt;
    };

    // One of an activity.
    struct Start {
        int64_t t = 0;
        std::size_t line = 0;
        std::string package = {};
        bool isHome = false;
        std::optional<int64_t> durationMs = std::nullopt;  // to the first frame
    };

    void readFields(std::string_view fields);
    void setField(std::string_view key, std::string_view value);
    void endRecord();
    void addStart(const Record& record);
    void extendSpan(int64_t t);
    static std::optional<int64_t> timeMsOf(const Record& record);
    static std::optional<int64_t> durationMsOf(const Record& record);
    static bool isOfActivity(const Record& record);

    std::string mPackage;           // of the section being read
    std::optional<Record> mRecord;  // that is being read
    std::vector<Start> mStarts;     // in the order of the lines
    InputSummary mSummary = {.kind = SourceKind::startInfo,
                             .clock = {.kind = InputClock::Kind::uptime}};
    std::size_t mBackgroundStarts = 0;
    std::size_t mFailedStarts = 0;
    std::size_t mBadEntries = 0;
};

// The history in a dump of the command alone, or of all that the activity service tells.
// Errors: InputError when there is none.
ImportedInput readStartInfo(ByteSource& source);

}  // namespace kestrel
