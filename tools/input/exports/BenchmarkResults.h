#pragma once

#include <string>

#include "tools/base/ByteSource.h"
#include "tools/input/ImportedInput.h"

namespace kestrel {

// The results of startup benchmarks, a JSON document, as launches of `package`, which the document
// does not name. It has durations only: when the launches were is made up.
// Errors: InputError when it is not JSON, has no list of benchmarks or too many runs.
ImportedInput readBenchmarkResults(ByteSource& source, const std::string& package);

// What comes to the front between the launches.
inline constexpr const char* KS_BENCHMARK_LAUNCHER = "launcher";

}  // namespace kestrel
