#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/input/Input.h"

namespace kestrel {

// One of the inputs that a name on the command line led to: a file can hold several.
struct FoundInput {
    std::string name;
    std::unique_ptr<RecognisedInput> recognised;
};

// In the order in which they are played.
using FoundInputs = std::vector<FoundInput>;

}  // namespace kestrel
