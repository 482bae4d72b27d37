#include "tools/base/StandardInput.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/base/LineReader.h"

namespace kestrel {

bool StandardInput::receive() {
    std::array<char, 65536> block;
    while (!mEnded && waitForInput(STDIN_FILENO)) {
        const ssize_t size = ::read(STDIN_FILENO, block.data(), block.size());
        if (size > 0) {
            mText.erase(0, mBegin);
            mBegin = 0;
            mText.append(block.data(), static_cast<std::size_t>(size));
            return true;
        }
        if (size == 0) {
            mEnded = true;
        } else if (errno != EINTR && errno != EAGAIN) {
            throw InputError(std::string("standard input cannot be read: ") + std::strerror(errno));
        }
    }
    return false;
}

bool StandardInput::readLine(std::string& line) {
    std::size_t searched = 0;
    while (true) {
        const std::string_view text = ahead();
        const std::size_t end = text.find('\n', searched);
        if (end != std::string_view::npos || (mEnded && !text.empty())) {
            line = text.substr(0, std::min(end, LineReader::KS_MAX_LINE));
            mBegin += std::min(end, text.size() - 1) + 1;
            return true;
        }
        searched = std::min(text.size(), LineReader::KS_MAX_LINE);
        mText.resize(mBegin + searched);
        if (!receive() && !(mEnded && !ahead().empty())) {
            return false;
        }
    }
}

std::string_view StandardInput::read() {
    if (ahead().empty() && !receive()) {
        return {};
    }
    const std::string_view text = ahead();
    mBegin = mText.size();
    return text;
}

}  // namespace kestrel
