#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// What compressed bytes inflate to, in blocks. One object inflates many pieces, each for itself.
// Errors: where the piece is damaged, or would become larger than is sensible, it ends.
class InflatedBytes : public ByteSource {
 public:
    static constexpr std::size_t KS_MAX_INFLATED = std::size_t{64} << 20;

    // REQUIRES: `compressed` lives until the next call.
    void begin(std::string_view compressed);

    // Whether the piece has been read to its own end.
    bool isWhole() const { return mStep == Step::end; }

    const std::string& name() const override { return mName; }
    std::string_view read() override;

 protected:
    enum class Step { more, end, damaged };

    static constexpr std::size_t KS_BLOCK = std::size_t{128} << 10;

    virtual void reset() = 0;
    // Takes from `compressed` and says how many bytes it wrote to `out`.
    virtual Step inflateBlock(std::string_view& compressed, char* out, std::size_t& written) = 0;

 private:
    std::string mName = "compressed packets";
    std::string_view mCompressed;
    std::unique_ptr<char[]> mBlock;  // KS_BLOCK bytes
    std::size_t mInflated = 0;
    Step mStep = Step::end;
};

std::unique_ptr<InflatedBytes> makeZlibBytes();
std::unique_ptr<InflatedBytes> makeZstdBytes();

}  // namespace kestrel
