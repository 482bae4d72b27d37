#pragma once

#include <string>
#include <string_view>

namespace kestrel {

// Bytes that are read once, from the first to the last.
// Errors: read() throws InputError, with the name of what is read, when the bytes cannot be had.
class ByteSource {
 public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // What the bytes are called in messages.
    virtual const std::string& name() const = 0;

    // The next bytes, valid until the next call; empty at the end, and from then on.
    virtual std::string_view read() = 0;
};

}  // namespace kestrel
