#pragma once

#include <memory>

#include "tools/base/ByteSource.h"
#include "tools/input/Input.h"

namespace kestrel {

// Reads a trace.
// Memory: some 100 bytes an object, about what its line takes. So the line is not kept: to read it
//         once more when it is played would take longer and save nothing.
std::unique_ptr<RecognisedInput> readTraceFile(ByteSource& source);

}  // namespace kestrel
