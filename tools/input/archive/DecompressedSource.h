#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// Whether bytes that begin so are a compressed stream: gzip, xz, Zstandard, or, if there are 14 of
// them, bzip2.
bool looksCompressed(std::string_view beginning);

// What is in a compressed stream, or in several that follow each other. What is compressed twice is
// decompressed once.
// Ownership: borrows the source.
// Errors:    also for a stream that is damaged or ends early. One that ends because the user wants
//            no more just ends.
class DecompressedSource : public ByteSource {
 public:
    // `beginning`: of the source's bytes, which have not been read yet.
    // REQUIRES: looksCompressed(beginning).
    DecompressedSource(ByteSource& source, std::string_view beginning);

    const std::string& name() const override { return mStream->name(); }
    std::string_view read() override { return mStream->read(); }

 private:
    std::unique_ptr<ByteSource> mStream;
};

}  // namespace kestrel
