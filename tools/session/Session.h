#pragma once

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tools/input/InputSequence.h"
#include "tools/session/SessionObserver.h"

namespace kestrel {

struct SessionOptions {
    std::optional<std::filesystem::path> root;  // none: a temporary one
    bool sync = true;                           // false: SQLite's flushing is left out
};

// Plays inputs in one life of the host, up to their end or an interruption. After each object it
// prints what the observers have put into `text`. Damaged databases and how far an interrupted
// replay came are told on standard error.
// Errors: throws InputError for what arrives wrong on standard input, and std::runtime_error for a
//         database that cannot be used, both once the life has ended in order and the observers
//         know of its end; and std::runtime_error for what cannot go on.
void playSession(InputSequence& inputs, const SessionOptions& options,
                 const std::vector<SessionObserver*>& observers, std::ostringstream& text);

// "interrupted at 43 % of launches.log, after 1234 events".
std::string toText(const Interrupted& interrupted);

// "MAJOR.MINOR" of the feature that the plug-in constructs.
std::string readFeatureVersion();

}  // namespace kestrel
