#pragma once

#include "tools/input/ImportedInput.h"
#include "tools/input/logcat/AndroidLog.h"

namespace kestrel {

// Takes out of a history of starts what a log of the same device tells too, since the log tells
// more. Their clocks have nothing in common, so they are laid over each other: where most starts of
// the history meet a start of the same package in the log within two seconds, these are the same.
// The summary gets how many launches that were.
void leaveOutToldTwice(ImportedInput& history, AndroidLog& log);

}  // namespace kestrel
