#include "tools/input/archive/DecompressedSource.h"

#include <archive.h>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/input/archive/ArchiveHandle.h"
#include "tools/input/archive/GzipSource.h"

namespace kestrel {

namespace {

struct Compression {
    std::string name;
    int filter;  // the library's number of it; ARCHIVE_FILTER_NONE: it is no compression
};

// The library takes a bzip2 stream that begins otherwise for an empty one.
bool isBzip2(std::string_view beginning) {
    constexpr std::size_t SHORTEST = 14;
    if (beginning.size() < SHORTEST || !beginning.starts_with("BZh")) {
        return false;
    }
    const std::string_view behindLevel = beginning.substr(4);
    return behindLevel.starts_with("1AY&SY") || behindLevel.starts_with("\x17\x72\x45\x38\x50\x90");
}

Compression compressionOf(std::string_view beginning) {
    using namespace std::string_view_literals;
    if (beginning.starts_with("\x1F\x8B")) {
        return {"gzip", ARCHIVE_FILTER_GZIP};
    }
    if (beginning.starts_with("\xFD\x37zXZ\0"sv)) {
        return {"xz", ARCHIVE_FILTER_XZ};
    }
    if (beginning.starts_with("\x28\xB5\x2F\xFD")) {
        return {"zstd", ARCHIVE_FILTER_ZSTD};
    }
    return isBzip2(beginning) ? Compression{"bzip2", ARCHIVE_FILTER_BZIP2}
                              : Compression{"", ARCHIVE_FILTER_NONE};
}

// A stream that the library decompresses.
class FilteredSource : public ByteSource {
 public:
    FilteredSource(ByteSource& source, Compression compression)
        : mSource(source), mCompression(std::move(compression)), mHandle(source) {}

    const std::string& name() const override { return mSource.name(); }

    std::string_view read() override {
        if (mEnded) {
            return {};
        }
        bool failed = !mIsOpen && !open();
        std::string_view block;
        if (!failed) {
            block = mHandle.readBlock(failed);
        }
        mEnded = block.empty();
        if (failed && !wasInterrupted()) {
            throw InputError(name() + ": the " + mCompression.name + " data " + mHandle.reason());
        }
        return block;
    }

 private:
    // Exactly this filter and no format: left to itself, the library would undo one compression
    // after the other.
    bool open() {
        mIsOpen = true;
        archive* const archive = mHandle.get();
        archive_entry* entry = nullptr;
        return archive_read_append_filter(archive, mCompression.filter) == ARCHIVE_OK &&
               archive_read_set_format(archive, ARCHIVE_FORMAT_RAW) == ARCHIVE_OK &&
               mHandle.open() &&
               mHandle.checked(archive_read_next_header(archive, &entry)) == ARCHIVE_OK;
    }

    ByteSource& mSource;
    Compression mCompression;
    ArchiveHandle mHandle;
    bool mIsOpen = false;
    bool mEnded = false;
};

}  // namespace

bool looksCompressed(std::string_view beginning) {
    return compressionOf(beginning).filter != ARCHIVE_FILTER_NONE;
}

DecompressedSource::DecompressedSource(ByteSource& source, std::string_view beginning) {
    Compression compression = compressionOf(beginning);
    if (compression.filter == ARCHIVE_FILTER_GZIP) {
        mStream = gzipSource(source);
    } else {
        mStream = std::make_unique<FilteredSource>(source, std::move(compression));
    }
}

}  // namespace kestrel
