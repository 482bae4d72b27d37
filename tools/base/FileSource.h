#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"
#include "tools/base/OpenFile.h"
#include "tools/base/ReadObserver.h"

namespace kestrel {

// The bytes of a file or a pipe. A pipe ends where the user wants no more, too: wasInterrupted()
// tells that from its end.
// Ownership: borrows the observer.
// Errors:    every operation throws InputError.
class FileSource : public ByteSource {
 public:
    static constexpr std::size_t KS_BLOCK_SIZE = std::size_t{64} << 10;

    explicit FileSource(const std::string& name);

    // Takes over an open file. Where it stands now is its beginning.
    FileSource(OpenFile file, const std::string& name);

    // Null: nobody is told.
    void setObserver(ReadObserver* observer) { mObserver = observer; }

    const std::string& name() const override { return mName; }
    std::string_view read() override;

    // Whether it can be read again.
    bool isRegular() const { return mIsRegular; }

    // As it was when it was opened; 0 when it is not regular.
    std::size_t size() const { return mSize; }

    std::size_t position() const { return mPosition; }

    // REQUIRES: isRegular(). A position behind the end is one at the end.
    void seek(std::size_t position);
    void rewind() { seek(0); }

 private:
    [[noreturn]] void fail(int error) const;

    std::string mName;
    OpenFile mFile;
    bool mIsRegular = false;
    std::size_t mBegin = 0;  // the place in the file that is position 0
    std::size_t mSize = 0;
    std::size_t mPosition = 0;
    bool mEnded = false;
    std::unique_ptr<char[]> mBlock;
    ReadObserver* mObserver = nullptr;
};

// What a source still holds, copied into a temporary file without a name, so that it can be read
// again.
// Errors: std::runtime_error when the file cannot be made or written.
std::unique_ptr<FileSource> spooled(ByteSource& rest, const std::string& name);

}  // namespace kestrel
