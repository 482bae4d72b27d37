#include "tools/base/StandardOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>
#include <stdexcept>

#include "tools/base/DescriptorBuffer.h"
#include "tools/base/Interruption.h"

namespace kestrel {

namespace {

// A descriptor that is closed would be the next file's or pipe's. Instead, what is written to it,
// or read from it, fails.
void holdStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

}  // namespace

void openStandardOutput() {
    holdStandardDescriptors();
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
