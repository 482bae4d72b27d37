#pragma once

#include <memory>

#include "tools/input/Input.h"
#include "tools/input/InputSummary.h"

namespace kestrel {

// What an input that tells launches by itself, not in log lines, was turned into: launch hints
// (without a launch type), first frames and app switches, `t` never going back.
struct ImportedInput {
    TraceObjects objects = {};
    InputSummary summary = {};  // without the counts of what `objects` holds
};

// As an input of the host: the launches of the set-up's games get their type, and the summary its
// counts.
std::unique_ptr<RecognisedInput> recognised(ImportedInput imported);

}  // namespace kestrel
