#pragma once

namespace kestrel {

// Ending in order when the user (SIGINT, SIGTERM, SIGHUP) or the reader of the output (SIGPIPE)
// wants no more.

// From now on these signals only make a note; those of the user that are ignored stay so. Reads and
// writes go on; only waitForInput returns for them.
void catchInterruptions();

bool wasInterrupted();
inline bool readerHasGone() {
    return false;
}

// Waits until a read of the file would not block. False: interrupted, now or before.
bool waitForInput(int file);

// Flushes standard output. Throws std::runtime_error when it cannot be written, unless its reader
// has gone, which is an interruption.
void flushOutput();

}  // namespace kestrel
