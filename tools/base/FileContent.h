#pragma once

#include <string>

namespace kestrel {

// The whole content of a file, or of a pipe. Throws InputError when it cannot be read.
std::string readFile(const std::string& fileName);

}  // namespace kestrel
