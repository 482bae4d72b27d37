#pragma once

#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/base/Json.h"
#include "tools/input/InputSummary.h"

namespace kestrel {

// What an evaluation's JSON says of its inputs: a list of one object for each, in their order;
// docs/kestrelhost.md lists the keys.
Json toJson(const std::vector<InputSummary>& summaries, RemovalPolicy removals);

}  // namespace kestrel
