#include "tools/base/DescriptorBuffer.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "tools/base/Interruption.h"

namespace kestrel {

namespace {

bool isRegularFile(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

DescriptorBuffer::DescriptorBuffer(int file) : mFile(file), mCanStall(!isRegularFile(file)) {
    empty();
}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type c) {
    if (!writeAll()) {
        return traits_type::eof();
    }
    return traits_type::eq_int_type(c, traits_type::eof()) ? traits_type::not_eof(c)
                                                           : sputc(traits_type::to_char_type(c));
}

int DescriptorBuffer::sync() {
    return writeAll() ? 0 : -1;
}

void DescriptorBuffer::empty() {
    setp(mBuffer.data(), mBuffer.data() + mBuffer.size());
}

bool DescriptorBuffer::writeAll() {
    const char* begin = pbase();
    while (mError == 0 && begin < pptr()) {
        if (!write(begin, pptr()) && errno != EINTR && errno != EAGAIN) {
            mError = errno;
        }
    }
    empty();
    return mError == 0;
}

// Writes some of it, from `begin` on, which moves. A pipe that can take anything takes PIPE_BUF
// bytes without making its writer wait.
bool DescriptorBuffer::write(const char*& begin, const char* end) {
    auto size = static_cast<std::size_t>(end - begin);
    if (mCanStall) {
        if (!waitForOutput(mFile)) {
            errno = ETIMEDOUT;
            return false;
        }
        size = std::min<std::size_t>(size, PIPE_BUF);
    }
    const ssize_t written = ::write(mFile, begin, size);
    begin += std::max<ssize_t>(written, 0);
    return written >= 0;
}

}  // namespace kestrel
