#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "tools/base/ByteSource.h"

namespace kestrel {

// A source of given bytes, which arrive in blocks of at most a given size.
class BlockSource : public ByteSource {
 public:
    explicit BlockSource(std::string bytes, std::size_t blockSize = std::string::npos)
        : mBytes(std::move(bytes)), mBlockSize(blockSize) {}

    const std::string& name() const override { return mName; }

    std::string_view read() override {
        const std::string_view block = std::string_view(mBytes).substr(mNext, mBlockSize);
        mNext += block.size();
        return block;
    }

 private:
    std::string mName = "blocks";
    std::string mBytes;
    std::size_t mBlockSize;
    std::size_t mNext = 0;
};

}  // namespace kestrel
