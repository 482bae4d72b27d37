#pragma once

#include "tools/input/InputSummary.h"
#include "tools/input/TraceObject.h"

namespace kestrel {

// Adds one more object of an input to what the summary counts and to the times that it spans.
void countObject(const TraceObject& object, InputSummary& summary);

}  // namespace kestrel
