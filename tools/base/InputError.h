#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace kestrel {

// Something wrong in an input or on the command line, in words for the user; ends the program with
// exit status 2.
class InputError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
    InputError(const std::string& file, std::size_t line, const std::string& what)
        : std::runtime_error(file + ":" + std::to_string(line) + ": " + what) {}
};

}  // namespace kestrel
