#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "tools/base/ByteSource.h"

namespace kestrel {

// Bytes that are in memory already.
// Ownership: borrows them.
class MemorySource : public ByteSource {
 public:
    MemorySource(std::string name, std::string_view bytes)
        : mName(std::move(name)), mBytes(bytes) {}

    const std::string& name() const override { return mName; }
    std::string_view read() override { return std::exchange(mBytes, {}); }

 private:
    std::string mName;
    std::string_view mBytes;
};

}  // namespace kestrel
