#include "tools/base/Utf16Source.h"

#include <utility>

namespace kestrel {

namespace {

constexpr char32_t NO_CHARACTER = 0xFFFD;
constexpr char16_t MARK = 0xFEFF;

bool isHighSurrogate(char16_t unit) {
    return (unit & 0xFC00U) == 0xD800U;
}

bool isLowSurrogate(char16_t unit) {
    return (unit & 0xFC00U) == 0xDC00U;
}

char continuation(char32_t character, int shift) {
    return static_cast<char>(0x80U | (character >> shift & 0x3FU));
}

void appendUtf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    if (character < 0x800) {
        text += static_cast<char>(0xC0U | character >> 6U);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0U | character >> 12U);
        text += continuation(character, 6);
    } else {
        text += static_cast<char>(0xF0U | character >> 18U);
        text += continuation(character, 12);
        text += continuation(character, 6);
    }
    text += continuation(character, 0);
}

// Whether exactly the bytes at `first`, `first` + 2, ... are zero.
bool isEverySecondZero(std::string_view bytes, std::size_t first) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if ((bytes[i] == '\0') != (i % 2 == first)) {
            return false;
        }
    }
    return bytes.size() >= 2;
}

}  // namespace

TextEncoding encodingOf(std::string_view beginning) {
    constexpr std::size_t LOOKED_AT = 50;
    if (beginning.starts_with("\xEF\xBB\xBF")) {
        return TextEncoding::utf8WithMark;
    }
    const std::string_view bytes = beginning.substr(0, LOOKED_AT);
    if (beginning.starts_with("\xFF\xFE") || isEverySecondZero(bytes, 1)) {
        return TextEncoding::utf16le;
    }
    if (beginning.starts_with("\xFE\xFF") || isEverySecondZero(bytes, 0)) {
        return TextEncoding::utf16be;
    }
    return TextEncoding::utf8;
}

std::string_view Utf16Source::read() {
    mText.clear();
    while (mText.empty() && !mEnded) {
        const std::string_view block = mSource.read();
        if (block.empty()) {
            finish();
        } else {
            decode(block);
        }
    }
    return mText;
}

void Utf16Source::decode(std::string_view block) {
    if (mHalf) {
        add(unit(*mHalf, block.front()));
        mHalf.reset();
        block.remove_prefix(1);
    }
    while (block.size() >= 2) {
        // Logs are nearly all ASCII.
        std::size_t count = mHighSurrogate == 0 ? asciiUnits(block) : 0;
        if (count > 0) {
            addAscii(block, count);
        } else {
            add(unit(block[0], block[1]));
            count = 1;
        }
        block.remove_prefix(2 * count);
    }
    if (!block.empty()) {
        mHalf = block.front();
    }
}

void Utf16Source::finish() {
    mEnded = true;
    if (mHighSurrogate != 0) {
        appendUtf8(mText, NO_CHARACTER);
    }
}

// How many units at the beginning of the block are ASCII.
std::size_t Utf16Source::asciiUnits(std::string_view block) const {
    std::size_t count = 0;
    while (2 * count + 1 < block.size() && unit(block[2 * count], block[2 * count + 1]) < 0x80) {
        ++count;
    }
    return count;
}

void Utf16Source::addAscii(std::string_view block, std::size_t count) {
    const std::size_t begin = mText.size();
    mText.resize(begin + count);
    for (std::size_t i = 0; i < count; ++i) {
        mText[begin + i] = block[2 * i + (mFirstByteIsHigh ? 1 : 0)];
    }
    mAtBeginning = false;
}

char16_t Utf16Source::unit(char first, char second) const {
    const auto high = static_cast<unsigned char>(mFirstByteIsHigh ? first : second);
    const auto low = static_cast<unsigned char>(mFirstByteIsHigh ? second : first);
    return static_cast<char16_t>(high << 8U | low);
}

void Utf16Source::add(char16_t unit) {
    const bool isMark = mAtBeginning && unit == MARK;
    mAtBeginning = false;
    const char16_t high = std::exchange(mHighSurrogate, u'\0');
    if (high != 0 && isLowSurrogate(unit)) {
        appendUtf8(mText, 0x10000U + ((high & 0x3FFU) << 10U) + (unit & 0x3FFU));
        return;
    }
    if (high != 0) {
        appendUtf8(mText, NO_CHARACTER);
    }
    if (isHighSurrogate(unit)) {
        mHighSurrogate = unit;
    } else if (!isMark) {
        appendUtf8(mText, isLowSurrogate(unit) ? NO_CHARACTER : unit);
    }
}

}  // namespace kestrel
