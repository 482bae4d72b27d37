#pragma once

#include <cstddef>
#include <optional>

#include "tools/input/ImportedInput.h"
#include "tools/input/perfetto/LaunchMark.h"

namespace kestrel {

// What the marks of a whole trace become, and of its summary what they tell; the rest is the
// reader's. `badEntries` are those that the reader met.
ImportedInput importLaunches(LaunchMarks marks, std::optional<int> apiLevel,
                             std::size_t badEntries);

// Adds a note that something was found so often, unless it was not.
void addNote(InputSummary& summary, InputNote::Kind kind, std::size_t count);

}  // namespace kestrel
