#pragma once

#include <array>
#include <streambuf>

namespace kestrel {

// The buffer of a stream that writes to an open file. It never hangs for good: when the user wants
// no more and nobody takes what is written, it gives up (see waitForOutput).
// Ownership: borrows the file. Its destruction writes nothing.
// Errors:    what cannot be written is dropped, the stream goes bad, and error() says why.
class DescriptorBuffer : public std::streambuf {
 public:
    explicit DescriptorBuffer(int file);

    int error() const { return mError; }  // errno; 0: none so far

 protected:
    int_type overflow(int_type c) override;
    int sync() override;

 private:
    void empty();
    bool writeAll();
    bool write(const char*& begin, const char* end);

    int mFile;
    bool mCanStall;
    int mError = 0;
    std::array<char, 65536> mBuffer;
};

}  // namespace kestrel
