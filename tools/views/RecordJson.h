#pragma once

#include <string>

#include "host/linux/HostRecord.h"

namespace kestrel {

// The line of the record stream that a record becomes, without its line end. Bytes that are not
// UTF-8 become U+FFFD.
std::string toJsonLine(const HostRecord& entry);

}  // namespace kestrel
