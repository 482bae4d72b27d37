#pragma once

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "host/Feature.h"
#include "host/linux/HostRecord.h"
#include "tools/input/InputSequence.h"

namespace kestrel {

// Follows one life of the host: prints, draws or counts what happens.
// Threads: add from any of the host's threads, one record at a time and while the others wait; the
//          rest from the thread that runs the life.
class LifeWatcher {
 public:
    LifeWatcher() = default;
    virtual ~LifeWatcher() = default;
    LifeWatcher(const LifeWatcher&) = delete;
    LifeWatcher& operator=(const LifeWatcher&) = delete;

    virtual void add(const HostRecord& entry) = 0;

    // One object of the input has been handled, its records are complete.
    virtual void endObject(Feature& /*feature*/) {}

    // Nothing more is delivered; the feature is deleted next.
    virtual void endInput(Feature& /*feature*/) {}

    // The feature has been deleted; what it stored is complete below `root`.
    virtual void endLife(const std::filesystem::path& /*root*/) {}
};

struct LifeOptions {
    std::filesystem::path root;
    bool sync = true;  // false: SQLite's flushing to the disk is left out
};

// Plays inputs in one life of the host, up to their end or an interruption. After each object it
// prints what the watchers have put into `text`.
// Errors: throws InputError for what arrives wrong on standard input, once the life has ended in
//         order, and std::runtime_error for what fails while running.
void playLife(InputSequence& inputs, const LifeOptions& options,
              const std::vector<LifeWatcher*>& watchers, std::ostringstream& text);

// "MAJOR.MINOR" of a feature.
std::string versionText(const Feature& feature);

}  // namespace kestrel
