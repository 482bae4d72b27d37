#include "tools/input/archive/DecompressedSource.h"

#include <archive.h>

#include <algorithm>
#include <array>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"

namespace kestrel {

namespace {

struct Compression {
    std::string_view beginning;
    std::string_view name;
    int filter;
};

constexpr std::array<Compression, 4> COMPRESSIONS = {{
    {"\x1F\x8B", "gzip", ARCHIVE_FILTER_GZIP},
    {{"\xFD\x37zXZ\0", 6}, "xz", ARCHIVE_FILTER_XZ},
    {"BZh", "bzip2", ARCHIVE_FILTER_BZIP2},
    {"\x28\xB5\x2F\xFD", "zstd", ARCHIVE_FILTER_ZSTD},
}};

// COMPRESSIONS.end() when it is none.
auto compressionOf(std::string_view beginning) {
    return std::ranges::find_if(
        COMPRESSIONS, [&](const Compression& c) { return beginning.starts_with(c.beginning); });
}

}  // namespace

bool looksCompressed(std::string_view beginning) {
    return compressionOf(beginning) != COMPRESSIONS.end();
}

DecompressedSource::DecompressedSource(ByteSource& source, std::string_view beginning)
    : mSource(source),
      mFormat(compressionOf(beginning)->name),
      mFilter(compressionOf(beginning)->filter),
      mHandle(source) {}

std::string_view DecompressedSource::read() {
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
        throw InputError(name() + ": the " + mFormat + " data " + mHandle.reason());
    }
    return block;
}

// Exactly this filter and no format: left to itself, the library would undo one compression after
// the other.
bool DecompressedSource::open() {
    mIsOpen = true;
    archive* const archive = mHandle.get();
    archive_entry* entry = nullptr;
    return archive_read_append_filter(archive, mFilter) == ARCHIVE_OK &&
           archive_read_set_format(archive, ARCHIVE_FORMAT_RAW) == ARCHIVE_OK && mHandle.open() &&
           mHandle.checked(archive_read_next_header(archive, &entry)) == ARCHIVE_OK;
}

}  // namespace kestrel
