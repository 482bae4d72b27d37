#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tools/input/InputSequence.h"
#include "tools/session/ProgressLine.h"
#include "tools/session/SessionObserver.h"

namespace kestrel {

struct SessionOptions {
    std::optional<std::filesystem::path> root;  // none: a temporary one
    bool sync = true;                           // false: SQLite's flushing is left out
};

// Plays inputs in one life of the host, up to their end or an interruption. After each object it
// prints what the observers have put into `text`. Tells `progress` how far it is. Damaged databases
// and how far an interrupted replay came are told on standard error. Errors: throws InputError for
// what arrives wrong on standard input, and std::runtime_error for a
//         database that cannot be used, both once the life has ended in order and the observers
//         know of its end; and std::runtime_error for what cannot go on.
void playSession(InputSequence& inputs, const SessionOptions& options,
                 const std::vector<SessionObserver*>& observers, std::ostringstream& text,
                 ProgressLine& progress);

// How far a replay came that delivered so many events: nothing if it was played to its end, or if
// it is one of a live input, of which nobody knows how long it would have been.
std::optional<Interrupted> interruptionOf(const InputSequence& inputs, std::size_t delivered);

// On standard error, unless the output's reader has gone.
void tellInterruption(const Interrupted& interrupted);

// "interrupted at 43 % of launches.log, after 1234 events".
std::string toText(const Interrupted& interrupted);

// "MAJOR.MINOR" of the feature that the plug-in constructs.
std::string readFeatureVersion();

}  // namespace kestrel
