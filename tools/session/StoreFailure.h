#pragma once

#include <string>

#include "host/linux/HostRecord.h"

namespace kestrel {

// Watches the log for databases that could not be opened, read or written: a replay goes on then,
// as a device does, but what it shows and stores is not what the input would have led to.
class StoreFailure {
 public:
    void add(const HostRecord& entry);

    // The first line that told of one; empty: none did.
    const std::string& firstLine() const { return mFirstLine; }

 private:
    std::string mFirstLine;
};

}  // namespace kestrel
