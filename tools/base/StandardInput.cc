#include "tools/base/StandardInput.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"

namespace kestrel {

bool StandardInput::readLine(std::string& line) {
    std::size_t searched = mBegin;
    while (true) {
        const std::size_t end = mText.find('\n', searched);
        if (end != std::string::npos || (mEnded && mBegin < mText.size())) {
            line = mText.substr(mBegin, end - mBegin);
            mBegin = end == std::string::npos ? mText.size() : end + 1;
            return true;
        }
        if (mEnded || !waitForInput(STDIN_FILENO)) {
            return false;
        }
        mText.erase(0, mBegin);
        mBegin = 0;
        searched = mText.size();
        std::array<char, 65536> block;
        const ssize_t size = read(STDIN_FILENO, block.data(), block.size());
        if (size > 0) {
            mText.append(block.data(), static_cast<std::size_t>(size));
        } else if (size == 0) {
            mEnded = true;
        } else if (errno != EINTR && errno != EAGAIN) {
            throw InputError(std::string("standard input cannot be read: ") + std::strerror(errno));
        }
    }
}

}  // namespace kestrel
