#pragma once

#include "tools/base/ReadObserver.h"
#include "tools/input/FoundInput.h"
#include "tools/input/InputKind.h"

namespace kestrel {

inline constexpr const char* LIVE_INPUT = "-";  // the name of standard input

// Whether standard input is a file, and is read as one.
bool isStandardInputAFile();

// Waits for what standard input begins with. Log lines and traces are taken as they arrive.
// Whatever else comes is read to its end and then is as of a file. Errors: as of findInputs.
FoundInputs findLive(const InputOptions& options);

// Standard input that is a file. Errors: as of findInputs.
FoundInputs findInStandardFile(const InputOptions& options, ReadObserver* observer);

}  // namespace kestrel
