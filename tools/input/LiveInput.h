#pragma once

#include <memory>

#include "tools/input/Input.h"
#include "tools/input/InputKind.h"

namespace kestrel {

inline constexpr const char* LIVE_INPUT = "-";  // the name of standard input

// Waits for the first line on standard input that says something.
std::unique_ptr<RecognisedInput> recogniseLive(InputKinds kinds);

}  // namespace kestrel
