#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// A source whose beginning can be looked at before it is read.
// Ownership: borrows the source.
class PeekedSource : public ByteSource {
 public:
    explicit PeekedSource(ByteSource& source) : mSource(source) {}

    // The first `size` bytes of what has not been read yet, or more; all of it where that is less.
    // Valid until the next call of any operation.
    std::string_view peek(std::size_t size);

    // REQUIRES: the latest call was a peek() that gave as many bytes.
    void skip(std::size_t size) { mAhead.erase(0, size); }

    const std::string& name() const override { return mSource.name(); }
    std::string_view read() override;

 private:
    ByteSource& mSource;
    std::string mAhead;  // has been looked at
    bool mHandedOut = false;
};

}  // namespace kestrel
