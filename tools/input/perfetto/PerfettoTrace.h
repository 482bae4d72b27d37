#pragma once

#include <string_view>

#include "tools/base/ByteSource.h"
#include "tools/input/ImportedInput.h"

namespace kestrel {

// Whether these can be the first bytes of a trace in Perfetto's format: a packet, and then another
// or the end. A text can begin with an empty line, which looks like the beginning of a packet.
bool looksLikePerfettoTrace(std::string_view beginning);

// The launches of such a trace: from the texts that the system writes when it launches an app, and
// app switches from a log in the trace. A packet's number, as the line of an object, counts what
// compressed packets hold, not the compressed ones.
// Units:  t is in ms since the device was started, and counts when it sleeps.
// Errors: throws InputError when nothing can be read as a packet, and what the source throws. A
//         damaged packet is passed over and noted, and so is the end of a trace that was cut short.
ImportedInput readPerfettoTrace(ByteSource& source);

}  // namespace kestrel
