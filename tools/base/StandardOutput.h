#pragma once

namespace kestrel {

// From now on std::cout writes to standard output so that an interruption is noticed also while its
// reader takes nothing. To be called once, before anything is written.
void openStandardOutput();

// Flushes standard output. Throws std::runtime_error when it cannot be written, unless its reader
// has gone, which is an interruption.
void flushOutput();

}  // namespace kestrel
