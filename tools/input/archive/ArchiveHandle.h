#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"
#include "tools/base/FileSource.h"

struct archive;

namespace kestrel {

// The library's reader of archives and compressed streams, on a source.
// Ownership: borrows the source.
// Errors:    what goes wrong inside the library is told by reason(); what the source throws is
//            thrown by the next operation here.
class ArchiveHandle {
 public:
    explicit ArchiveHandle(ByteSource& source);

    // With seeking, which the library needs for a directory at the end.
    explicit ArchiveHandle(FileSource& file);

    archive* get() const { return mArchive.get(); }

    // To be called once the formats have been chosen. False: it cannot be read.
    bool open();

    // What an operation of the library returned, once nothing that the source threw is waiting.
    int checked(int result);

    // The next bytes of the entry, valid until the next call; empty at its end, and when it is
    // damaged, which `failed` tells.
    std::string_view readBlock(bool& failed);

    // What is wrong, after something failed: "ends early", or "is damaged" and the library's words.
    std::string reason() const;

    // From now on the source gives at most so many bytes, then it fails.
    void limitReading(std::size_t size) { mReadLimit = size; }

 private:
    struct Free {
        void operator()(archive* archive) const;
    };

    static std::ptrdiff_t onRead(archive* archive, void* self, const void** block);
    static int64_t onSkip(archive* archive, void* self, int64_t size);
    static int64_t onSeek(archive* archive, void* self, int64_t offset, int whence);

    ByteSource& mSource;
    FileSource* mFile = nullptr;  // the source, if it can seek
    std::size_t mReadLimit = SIZE_MAX;
    bool mSourceEnded = false;
    std::exception_ptr mThrown;  // by the source, inside the library
    std::unique_ptr<archive, Free> mArchive;
};

}  // namespace kestrel
