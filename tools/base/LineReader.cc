#include "tools/base/LineReader.h"

#include <algorithm>

namespace kestrel {

std::optional<std::string_view> LineReader::next() {
    if (mBlock.empty()) {
        mBlock = mSource.read();
    }
    if (mBlock.empty()) {
        return std::nullopt;
    }
    ++mNumber;
    const std::size_t end = mBlock.find('\n');
    if (end == std::string_view::npos) {
        return longLine();
    }
    mIsWhole = true;
    const std::string_view line = mBlock.substr(0, end);
    mBlock.remove_prefix(end + 1);
    return line.substr(0, KS_MAX_LINE);
}

std::string_view LineReader::longLine() {
    mLong.clear();
    std::size_t end = std::string_view::npos;
    do {
        keep(mBlock);
        mBlock = mSource.read();
        end = mBlock.find('\n');
    } while (!mBlock.empty() && end == std::string_view::npos);
    keep(mBlock.substr(0, end));
    mIsWhole = end != std::string_view::npos;
    mBlock.remove_prefix(std::min(end, mBlock.size()) + (mBlock.empty() ? 0 : 1));
    return mLong;
}

void LineReader::keep(std::string_view part) {
    mLong.append(part.substr(0, KS_MAX_LINE - mLong.size()));
}

}  // namespace kestrel
