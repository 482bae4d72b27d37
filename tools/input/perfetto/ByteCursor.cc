#include "tools/input/perfetto/ByteCursor.h"

#include <algorithm>

#include "tools/input/perfetto/ProtobufReader.h"

namespace kestrel {

bool ByteCursor::fill() {
    if (mBlock.empty()) {
        mBlock = mSource.read();
    }
    return !mBlock.empty();
}

int ByteCursor::takeByte() {
    if (isAtEnd()) {
        return -1;
    }
    return static_cast<uint8_t>(takeOfBlock(1)[0]);
}

// As much of it as the block has.
std::string_view ByteCursor::takeOfBlock(uint64_t size) {
    const std::string_view taken =
        mBlock.substr(0, static_cast<std::size_t>(std::min<uint64_t>(size, mBlock.size())));
    mBlock.remove_prefix(taken.size());
    mLeft -= taken.size();
    return taken;
}

bool ByteCursor::leave() {
    const bool isThere = skip(mLeft);
    mLeft = KS_NO_LIMIT;
    return isThere;
}

std::optional<uint64_t> ByteCursor::takeVarint() {
    return kestrel::takeVarint([this] { return takeByte(); });
}

// Whatever size is asked for, no more memory is taken than there are bytes.
std::optional<std::string_view> ByteCursor::take(std::size_t size) {
    if (size > mLeft) {
        return std::nullopt;
    }
    if (size <= mBlock.size()) {
        return takeOfBlock(size);
    }
    mPiece.clear();
    while (mPiece.size() < size && fill()) {
        mPiece.append(takeOfBlock(size - mPiece.size()));
    }
    return mPiece.size() == size ? std::optional<std::string_view>(mPiece) : std::nullopt;
}

bool ByteCursor::skip(uint64_t size) {
    if (size > mLeft) {
        return false;
    }
    while (size > 0 && fill()) {
        size -= takeOfBlock(size).size();
    }
    return size == 0;
}

}  // namespace kestrel
