#include "tools/base/StandardOutput.h"

#include <unistd.h>

#include <iostream>
#include <stdexcept>

#include "tools/base/DescriptorBuffer.h"
#include "tools/base/Interruption.h"

namespace kestrel {

void openStandardOutput() {
    // Never deleted: the stream is flushed once more when the process ends.
    static auto& buffer = *new DescriptorBuffer(STDOUT_FILENO);
    std::cout.rdbuf(&buffer);
}

void flushOutput() {
    if (!std::cout.flush() && !hasReaderGone()) {
        throw std::runtime_error("cannot write to standard output");
    }
}

}  // namespace kestrel
