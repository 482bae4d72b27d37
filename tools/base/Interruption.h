#pragma once

namespace kestrel {

// Ending in order when the user (SIGINT, SIGTERM, SIGHUP) or the reader of the output (SIGPIPE)
// wants no more.

// From now on these signals only make a note; those of the user that are ignored stay so. Reads and
// writes go on; only the waiting below returns for them. A second signal of the user's ends the
// process at once, whatever it waits for.
void catchInterruptions();

bool wasInterrupted();

// Whether the reader of an output has gone.
bool hasReaderGone();

// Waits until a read of the file would not block. False: interrupted, now or before.
bool waitForInput(int file);

// Waits until a write to the file would not block. False: interrupted, and for two seconds, in all
// such waits together, nobody has taken what is written.
bool waitForOutput(int file);

}  // namespace kestrel
