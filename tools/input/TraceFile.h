#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "tools/base/FileContent.h"
#include "tools/input/Input.h"

namespace kestrel {

// Reads a trace from its line `number` on, which has been taken off the file.
// Memory: some 100 bytes an object, about what its line takes. So the line is not kept: to read it
//         once more when it is played would take longer and save nothing.
std::unique_ptr<RecognisedInput> readTraceFile(FileReader& file, std::string line,
                                               std::size_t number);

}  // namespace kestrel
