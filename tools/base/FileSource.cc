#include "tools/base/FileSource.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"

namespace kestrel {

namespace {

std::runtime_error cannotSpool(const std::filesystem::path& folder, int error) {
    return std::runtime_error("cannot write a temporary file in " + folder.string() + ": " +
                              std::strerror(error));
}

std::filesystem::path temporaryFolder() {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) {
        throw std::runtime_error("there is no folder for temporary files (TMPDIR): " +
                                 error.message());
    }
    return folder;
}

OpenFile openTemporary(const std::filesystem::path& folder) {
    std::string name = (folder / "kestrelhost-XXXXXX").string();
    OpenFile file(mkostemp(name.data(), O_CLOEXEC));
    if (file.descriptor() < 0) {
        throw cannotSpool(folder, errno);
    }
    unlink(name.c_str());
    return file;
}

// 0, or what kept it from being written.
int writeAll(int file, std::string_view block) {
    while (!block.empty()) {
        const ssize_t written = write(file, block.data(), block.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        block.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return 0;
}

}  // namespace

FileSource::FileSource(const std::string& name)
    : FileSource(OpenFile(open(name.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC)), name) {}

FileSource::FileSource(OpenFile file, const std::string& name)
    : mName(name), mFile(std::move(file)) {
    struct stat status = {};
    if (mFile.descriptor() < 0 || fstat(mFile.descriptor(), &status) != 0) {
        fail(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        fail(EISDIR);
    }
    mIsRegular = S_ISREG(status.st_mode);
    if (mIsRegular) {
        mBegin =
            static_cast<std::size_t>(std::max<off_t>(lseek(mFile.descriptor(), 0, SEEK_CUR), 0));
        const auto end = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
        mSize = end - std::min(mBegin, end);
    }
}

std::string_view FileSource::read() {
    if (mBlock == nullptr) {
        mBlock = std::make_unique_for_overwrite<char[]>(KS_BLOCK_SIZE);
    }
    ssize_t size = -1;
    while (size < 0 && !mEnded) {
        if (!mIsRegular && !waitForInput(mFile.descriptor())) {
            mEnded = true;
            break;
        }
        size = ::read(mFile.descriptor(), mBlock.get(), KS_BLOCK_SIZE);
        if (size < 0 && errno != EINTR && errno != EAGAIN) {
            fail(errno);
        }
    }
    if (size <= 0) {
        mEnded = true;
        return {};
    }
    mPosition += static_cast<std::size_t>(size);
    if (mObserver != nullptr) {
        mObserver->onRead(mName, mPosition, mSize);
    }
    return {mBlock.get(), static_cast<std::size_t>(size)};
}

void FileSource::seek(std::size_t position) {
    mPosition = std::min(position, mSize);
    if (lseek(mFile.descriptor(), static_cast<off_t>(mBegin + mPosition), SEEK_SET) < 0) {
        fail(errno);
    }
    mEnded = false;
}

void FileSource::fail(int error) const {
    const std::string what = mName == "-" ? "standard input cannot be read" : mName;
    throw InputError(what + ": " + std::strerror(error));
}

std::unique_ptr<FileSource> spooled(ByteSource& rest, const std::string& name) {
    const std::filesystem::path folder = temporaryFolder();
    OpenFile file = openTemporary(folder);
    for (std::string_view block = rest.read(); !block.empty(); block = rest.read()) {
        if (const int error = writeAll(file.descriptor(), block); error != 0) {
            throw cannotSpool(folder, error);
        }
    }
    lseek(file.descriptor(), 0, SEEK_SET);
    return std::make_unique<FileSource>(std::move(file), name);
}

}  // namespace kestrel
