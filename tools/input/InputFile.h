#pragma once

#include <string>

#include "tools/base/FileSource.h"
#include "tools/base/ReadObserver.h"
#include "tools/input/FoundInput.h"
#include "tools/input/InputKind.h"

namespace kestrel {

// Reads a file, or all files in a folder, and finds the inputs in it: a bug report has several, an
// archive has those of its members. What a log becomes needs the host's set-up, and is made later.
// Errors: InputError; NoInput for a file that is none. In a folder or an archive one that is none
// is
//         passed over, with an input in its place that only says so.
// `observer`: is told of the reading; null: nobody is.
FoundInputs findInputs(const std::string& name, const InputOptions& options,
                       ReadObserver* observer);

// The same for a file that is open.
FoundInputs findInputs(FileSource& file, const InputOptions& options);

}  // namespace kestrel
