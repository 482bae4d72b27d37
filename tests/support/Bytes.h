#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"
#include "tools/base/OpenFile.h"

namespace kestrel {

// Hands out a text in blocks of one size.
class ChunkedSource : public ByteSource {
 public:
    ChunkedSource(std::string_view text, std::size_t blockSize)
        : mRest(text), mBlockSize(blockSize) {}

    const std::string& name() const override { return mName; }
    std::string_view read() override {
        const std::string_view block = mRest.substr(0, mBlockSize);
        mRest.remove_prefix(block.size());
        mBlock = std::make_unique<std::string>(block);  // so that a use of an older one shows
        return *mBlock;
    }

 private:
    std::string mName = "input";
    std::string_view mRest;
    std::size_t mBlockSize;
    std::unique_ptr<std::string> mBlock;
};

inline std::string allOf(ByteSource& source) {
    std::string all;
    for (std::string_view block = source.read(); !block.empty(); block = source.read()) {
        all.append(block);
    }
    return all;
}

// What the call throws, in words.
template <typename Error, typename Call>
std::string errorOf(const Call& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "no error";
}

// A file that holds the bytes, and has no place.
inline OpenFile fileHolding(const std::string& bytes) {
    OpenFile file(memfd_create("content", MFD_CLOEXEC));
    static_cast<void>(!write(file.descriptor(), bytes.data(), bytes.size()));
    lseek(file.descriptor(), 0, SEEK_SET);
    return file;
}

}  // namespace kestrel
