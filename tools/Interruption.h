#pragma once

// Ending in order when the user (SIGINT, SIGTERM) or the reader of the output (SIGPIPE) wants no
// more.

// From now on these signals only make a note, and a read that waits returns.
void catchInterruptions();

bool wasInterrupted();

// Flushes standard output. Throws std::runtime_error when it cannot be written, unless its reader
// has gone, which is an interruption.
void flushOutput();
