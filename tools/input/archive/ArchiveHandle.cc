#include "tools/input/archive/ArchiveHandle.h"

#include <archive.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

namespace kestrel {

void ArchiveHandle::Free::operator()(archive* archive) const {
    archive_read_free(archive);
}

ArchiveHandle::ArchiveHandle(ByteSource& source) : mSource(source), mArchive(archive_read_new()) {
    if (mArchive == nullptr) {
        throw std::bad_alloc();
    }
}

ArchiveHandle::ArchiveHandle(FileSource& file) : ArchiveHandle(static_cast<ByteSource&>(file)) {
    mFile = &file;
}

bool ArchiveHandle::open() {
    archive_read_set_callback_data(get(), this);
    archive_read_set_read_callback(get(), onRead);
    if (mFile != nullptr) {
        archive_read_set_skip_callback(get(), onSkip);
        archive_read_set_seek_callback(get(), onSeek);
    }
    return checked(archive_read_open1(get())) == ARCHIVE_OK;
}

int ArchiveHandle::checked(int result) {
    if (mThrown != nullptr) {
        std::rethrow_exception(std::exchange(mThrown, nullptr));
    }
    return result;
}

std::string_view ArchiveHandle::readBlock(bool& failed) {
    const void* block = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    int result = ARCHIVE_OK;
    while (result == ARCHIVE_OK && size == 0) {
        result = checked(archive_read_data_block(get(), &block, &size, &offset));
    }
    failed = result != ARCHIVE_OK && result != ARCHIVE_EOF;
    if (result != ARCHIVE_OK) {
        return {};
    }
    return {static_cast<const char*>(block), size};
}

std::string ArchiveHandle::reason() const {
    const char* const words = archive_error_string(get());
    std::string reason = words != nullptr ? words : "";
    reason.resize(reason.find_last_not_of('\n') + 1);
    if (mSourceEnded || reason.find("runcated") != std::string::npos) {
        return "ends early";
    }
    return reason.empty() ? "is damaged" : "is damaged (" + reason + ")";
}

// Nothing may be thrown through the library.
std::ptrdiff_t ArchiveHandle::onRead(archive* archive, void* self, const void** block) {
    auto& handle = *static_cast<ArchiveHandle*>(self);
    try {
        const std::string_view bytes = handle.mSource.read();
        if (bytes.size() > handle.mReadLimit) {
            archive_set_error(archive, EFBIG, "its directory is too large");
            return ARCHIVE_FATAL;
        }
        handle.mReadLimit -= handle.mReadLimit == SIZE_MAX ? 0 : bytes.size();
        handle.mSourceEnded = bytes.empty();
        *block = bytes.data();
        return static_cast<std::ptrdiff_t>(bytes.size());
    } catch (...) {
        handle.mThrown = std::current_exception();
        return ARCHIVE_FATAL;
    }
}

int64_t ArchiveHandle::onSkip(archive* /*archive*/, void* self, int64_t size) {
    FileSource& file = *static_cast<ArchiveHandle*>(self)->mFile;
    const auto left = static_cast<int64_t>(file.size() - std::min(file.position(), file.size()));
    const int64_t skipped = std::clamp<int64_t>(size, 0, left);
    return onSeek(nullptr, self, skipped, SEEK_CUR) < 0 ? ARCHIVE_FATAL : skipped;
}

int64_t ArchiveHandle::onSeek(archive* /*archive*/, void* self, int64_t offset, int whence) {
    auto& handle = *static_cast<ArchiveHandle*>(self);
    FileSource& file = *handle.mFile;
    const std::size_t base = whence == SEEK_CUR   ? file.position()
                             : whence == SEEK_END ? file.size()
                                                  : 0;
    int64_t position = 0;
    if (__builtin_add_overflow(static_cast<int64_t>(base), offset, &position) || position < 0) {
        return ARCHIVE_FATAL;
    }
    try {
        file.seek(static_cast<std::size_t>(position));
        handle.mSourceEnded = false;
        return static_cast<int64_t>(file.position());
    } catch (...) {
        handle.mThrown = std::current_exception();
        return ARCHIVE_FATAL;
    }
}

}  // namespace kestrel
