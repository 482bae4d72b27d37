#include "host/linux/RootLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace kestrel {

RootLock::RootLock(const std::filesystem::path& directory, const std::filesystem::path& root)
    : mDescriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (mDescriptor >= 0 && flock(mDescriptor, LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    const int error = errno;
    if (mDescriptor >= 0) {
        close(mDescriptor);
        if (error == EWOULDBLOCK) {
            throw std::runtime_error(root.string() + ": another host is running on it");
        }
    }
    throw std::runtime_error("cannot lock " + directory.string() + ": " + std::strerror(error));
}

RootLock::~RootLock() {
    close(mDescriptor);
}

}  // namespace kestrel
