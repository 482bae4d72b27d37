#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// The bytes of a source, taken in pieces whose size is known. Only a piece that reaches over the
// end of one of the source's blocks is copied. Ownership: borrows the source.
class ByteCursor {
 public:
    explicit ByteCursor(ByteSource& source) : mSource(source) {}

    // From here until leave(), only the next `size` bytes can be taken.
    void enter(uint64_t size) { mLeft = size; }

    // Skips what is left of them. False: the source ends before.
    bool leave();

    // Whether nothing can be taken any more.
    bool isAtEnd() { return mLeft == 0 || !fill(); }

    // Each takes all that it is asked for, or says that it is not there.
    std::optional<uint64_t> takeVarint();
    std::optional<std::string_view> take(std::size_t size);  // valid until the next call
    bool skip(uint64_t size);

 private:
    static constexpr uint64_t KS_NO_LIMIT = std::numeric_limits<uint64_t>::max();

    bool fill();
    int takeByte();
    std::string_view takeOfBlock(uint64_t size);

    ByteSource& mSource;
    std::string_view mBlock;  // of the source, what has not been taken
    std::string mPiece;       // one that reaches over the end of a block
    uint64_t mLeft = KS_NO_LIMIT;
};

}  // namespace kestrel
