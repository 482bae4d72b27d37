#include "tools/input/perfetto/InflatedBytes.h"

#include <zlib.h>
#include <zstd.h>

#include <new>

namespace kestrel {

namespace {

// The reach of back references is memory that a frame asks for.
constexpr int KS_MAX_WINDOW_LOG = 26;

class ZlibBytes : public InflatedBytes {
 public:
    ZlibBytes() {
        if (inflateInit(&mStream) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~ZlibBytes() override { inflateEnd(&mStream); }

 protected:
    void reset() override { inflateReset(&mStream); }

    Step inflateBlock(std::string_view& compressed, char* out, std::size_t& written) override {
        // zlib's interface has no const.
        mStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
        mStream.avail_in = static_cast<uInt>(compressed.size());
        mStream.next_out = reinterpret_cast<Bytef*>(out);
        mStream.avail_out = KS_BLOCK;
        const int result = inflate(&mStream, Z_NO_FLUSH);
        compressed.remove_prefix(compressed.size() - mStream.avail_in);
        written = KS_BLOCK - mStream.avail_out;
        if (result == Z_STREAM_END) {
            return Step::end;
        }
        return result == Z_OK ? Step::more : Step::damaged;
    }

 private:
    z_stream mStream{};
};

class ZstdBytes : public InflatedBytes {
 public:
    ZstdBytes() : mContext(ZSTD_createDCtx()) {
        if (mContext == nullptr) {
            throw std::bad_alloc();
        }
        ZSTD_DCtx_setParameter(mContext, ZSTD_d_windowLogMax, KS_MAX_WINDOW_LOG);
    }
    ~ZstdBytes() override { ZSTD_freeDCtx(mContext); }

 protected:
    void reset() override { ZSTD_DCtx_reset(mContext, ZSTD_reset_session_only); }

    Step inflateBlock(std::string_view& compressed, char* out, std::size_t& written) override {
        ZSTD_inBuffer in{compressed.data(), compressed.size(), 0};
        ZSTD_outBuffer made{out, KS_BLOCK, 0};
        const std::size_t result = ZSTD_decompressStream(mContext, &made, &in);
        compressed.remove_prefix(in.pos);
        written = made.pos;
        if (result == 0) {
            return Step::end;
        }
        const bool isStuck = in.pos == 0 && made.pos == 0;
        return ZSTD_isError(result) != 0 || isStuck ? Step::damaged : Step::more;
    }

 private:
    ZSTD_DCtx* mContext;  // never null
};

}  // namespace

void InflatedBytes::begin(std::string_view compressed) {
    if (!mBlock) {
        mBlock = std::make_unique_for_overwrite<char[]>(KS_BLOCK);
    }
    mCompressed = compressed;
    mInflated = 0;
    mStep = Step::more;
    reset();
}

std::string_view InflatedBytes::read() {
    std::size_t written = 0;
    while (written == 0 && mStep == Step::more) {
        mStep = inflateBlock(mCompressed, mBlock.get(), written);
    }
    mInflated += written;
    if (mInflated > KS_MAX_INFLATED) {
        mStep = Step::damaged;
    }
    return {mBlock.get(), written};
}

std::unique_ptr<InflatedBytes> makeZlibBytes() {
    return std::make_unique<ZlibBytes>();
}

std::unique_ptr<InflatedBytes> makeZstdBytes() {
    return std::make_unique<ZstdBytes>();
}

}  // namespace kestrel
