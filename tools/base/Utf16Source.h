#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

inline constexpr std::string_view KS_UTF8_MARK = "\xEF\xBB\xBF";

enum class TextEncoding { utf8, utf8WithMark, utf16le, utf16be };

// How a text is encoded, by its beginning: by its mark, else UTF-16 if every second one of the
// first 50 bytes is zero and no other, else UTF-8.
TextEncoding encodingOf(std::string_view beginning);

// A text in UTF-16, without the mark at its beginning, as UTF-8. Half a pair becomes U+FFFD;
// half a unit at the end, where a file was cut, is dropped.
// Ownership: borrows the source.
class Utf16Source : public ByteSource {
 public:
    // REQUIRES: `encoding` is one of UTF-16.
    Utf16Source(ByteSource& source, TextEncoding encoding)
        : mSource(source), mFirstByteIsHigh(encoding == TextEncoding::utf16be) {}

    const std::string& name() const override { return mSource.name(); }
    std::string_view read() override;

 private:
    void decode(std::string_view block);
    void finish();
    std::size_t asciiUnits(std::string_view block) const;
    void addAscii(std::string_view block, std::size_t count);
    char16_t unit(char first, char second) const;
    void add(char16_t unit);

    ByteSource& mSource;
    bool mFirstByteIsHigh;
    bool mAtBeginning = true;
    bool mEnded = false;
    std::optional<char> mHalf;    // the first byte of a unit, at the end of a block
    char16_t mHighSurrogate = 0;  // waits for its other half; 0: none
    std::string mText;
};

}  // namespace kestrel
