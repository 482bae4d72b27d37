#pragma once

#include "tools/input/InputSequence.h"

namespace kestrel {

// Tells people on standard error what the inputs of a command were found to be: its last words,
// once its results have been printed. Nothing to a user whose output's reader has gone.
void tellInputs(const InputSequence& inputs);

}  // namespace kestrel
