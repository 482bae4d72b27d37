#pragma once

#include <string>
#include <string_view>

#include "tools/input/archive/ArchiveHandle.h"

namespace kestrel {

// Whether bytes that begin so are a compressed stream: gzip, xz, bzip2 or Zstandard.
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

    const std::string& name() const override { return mSource.name(); }
    std::string_view read() override;

 private:
    bool open();

    ByteSource& mSource;
    std::string mFormat;  // for people
    int mFilter;          // the library's number of it
    ArchiveHandle mHandle;
    bool mIsOpen = false;
    bool mEnded = false;
};

}  // namespace kestrel
