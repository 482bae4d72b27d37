#pragma once

#include <memory>
#include <string>

#include "tools/input/Input.h"
#include "tools/input/InputKind.h"

namespace kestrel {

// Opens a file and recognises it. A trace is read then, all of it; a log needs the host's set-up
// for that.
std::unique_ptr<RecognisedInput> recogniseFile(const std::string& name, InputKinds kinds);

}  // namespace kestrel
