#include "tools/input/archive/GzipSource.h"

#include <zlib.h>

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"

namespace kestrel {

namespace {

constexpr std::size_t BLOCK_SIZE = std::size_t{256} << 10;
constexpr int GZIP_WINDOW = 16 + MAX_WBITS;  // as zlib wants to be told that it is gzip

class GzipSource : public ByteSource {
 public:
    explicit GzipSource(ByteSource& source);
    ~GzipSource() override;
    GzipSource(const GzipSource&) = delete;
    GzipSource& operator=(const GzipSource&) = delete;

    const std::string& name() const override { return mSource.name(); }
    std::string_view read() override;

 private:
    bool hasInput();
    void inflateSome();
    void endStream();

    ByteSource& mSource;
    z_stream mStream = {};
    std::string_view mInput;  // what has been read and not yet been used
    std::unique_ptr<char[]> mBlock;
    bool mEnded = false;
};

GzipSource::GzipSource(ByteSource& source)
    : mSource(source), mBlock(std::make_unique_for_overwrite<char[]>(BLOCK_SIZE)) {
    if (inflateInit2(&mStream, GZIP_WINDOW) != Z_OK) {
        throw std::bad_alloc();
    }
}

GzipSource::~GzipSource() {
    inflateEnd(&mStream);
}

std::string_view GzipSource::read() {
    mStream.next_out = reinterpret_cast<Bytef*>(mBlock.get());
    mStream.avail_out = BLOCK_SIZE;
    while (!mEnded && mStream.avail_out == BLOCK_SIZE) {
        if (hasInput()) {
            inflateSome();
            continue;
        }
        mEnded = true;
        if (!wasInterrupted()) {
            throw InputError(name() + ": the gzip data ends early");
        }
    }
    return {mBlock.get(), BLOCK_SIZE - mStream.avail_out};
}

bool GzipSource::hasInput() {
    if (mInput.empty()) {
        mInput = mSource.read();
    }
    return !mInput.empty();
}

void GzipSource::inflateSome() {
    const std::size_t size = std::min(mInput.size(), BLOCK_SIZE);
    // It is only read from; the type is older than const.
    mStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(mInput.data()));
    mStream.avail_in = static_cast<uInt>(size);
    const int result = inflate(&mStream, Z_NO_FLUSH);
    mInput.remove_prefix(size - mStream.avail_in);
    if (result == Z_STREAM_END) {
        endStream();
    } else if (result != Z_OK) {
        mEnded = true;
        throw InputError(name() + ": the gzip data is damaged" +
                         (mStream.msg != nullptr ? std::string(" (") + mStream.msg + ")" : ""));
    }
}

void GzipSource::endStream() {
    constexpr char FIRST_BYTE = '\x1F';
    mEnded = !hasInput() || mInput.front() != FIRST_BYTE;
    inflateReset(&mStream);
}

}  // namespace

std::unique_ptr<ByteSource> gzipSource(ByteSource& source) {
    return std::make_unique<GzipSource>(source);
}

}  // namespace kestrel
