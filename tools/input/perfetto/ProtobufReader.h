#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kestrel {

// Protobuf's encoding: a message is a sequence of fields, each a tag and what its type says.

enum class WireType : uint8_t { varint = 0, fixed64 = 1, bytes = 2, fixed32 = 5 };

// A field's tag: which field it is and, by its type, how long.
struct FieldTag {
    uint64_t number = 0;
    WireType type{};
};

// Nothing when the tag is none that occurs.
inline std::optional<FieldTag> fieldTagOf(uint64_t tag) {
    constexpr uint64_t KS_TYPES = 1U << 0 | 1U << 1 | 1U << 2 | 1U << 5;
    if (tag >> 3 == 0 || (KS_TYPES >> (tag & 7) & 1) == 0) {
        return std::nullopt;
    }
    return FieldTag{tag >> 3, static_cast<WireType>(tag & 7)};
}

// A number of at most 10 bytes, which may be more than it needs. `nextByte` hands the bytes over,
// and less than 0 when there is none.
template <typename NextByte>
std::optional<uint64_t> takeVarint(NextByte nextByte) {
    uint64_t value = 0;
    for (unsigned shift = 0; shift < 70; shift += 7) {
        const int byte = nextByte();
        if (byte < 0) {
            return std::nullopt;
        }
        value |= (static_cast<uint64_t>(byte) & 0x7f) << shift;
        if (byte < 0x80) {
            return value;
        }
    }
    return std::nullopt;
}

// The fields of one message that is in memory.
// Ownership: borrows the message, and so does everything it hands out.
class ProtobufReader {
 public:
    explicit ProtobufReader(std::string_view message)
        : mNext(message.data()), mEnd(message.data() + message.size()) {}

    // Goes to the next field. False at the end, and where the message cannot be read any further.
    bool next();

    // False: what has been handed out so far is all that can be read.
    bool isWellFormed() const { return mIsWellFormed; }

    // Of the field.
    uint64_t number() const { return mTag.number; }
    uint64_t value() const { return mValue; }          // 0 unless its type is varint
    std::string_view bytes() const { return mBytes; }  // empty unless its type is bytes

 private:
    std::optional<uint64_t> varint();
    bool takeContent();
    bool takeBytes(uint64_t size);

    const char* mNext;
    const char* mEnd;
    bool mIsWellFormed = true;
    FieldTag mTag;
    uint64_t mValue = 0;
    std::string_view mBytes;
};

// These stand here because a trace has millions of fields for each that is wanted.

inline std::optional<uint64_t> ProtobufReader::varint() {
    return takeVarint([this] { return mNext == mEnd ? -1 : static_cast<uint8_t>(*mNext++); });
}

inline bool ProtobufReader::takeBytes(uint64_t size) {
    if (size > static_cast<uint64_t>(mEnd - mNext)) {
        return false;
    }
    mBytes = {mNext, static_cast<std::size_t>(size)};
    mNext += size;
    return true;
}

inline bool ProtobufReader::takeContent() {
    mValue = 0;
    mBytes = {};
    if (mTag.type == WireType::varint || mTag.type == WireType::bytes) {
        const auto number = varint();
        if (!number || mTag.type == WireType::bytes) {
            return number && takeBytes(*number);
        }
        mValue = *number;
        return true;
    }
    const bool isThere = takeBytes(mTag.type == WireType::fixed64 ? 8 : 4);
    mBytes = {};
    return isThere;
}

inline bool ProtobufReader::next() {
    if (mNext == mEnd) {
        return false;
    }
    const auto tag = varint();
    const auto field = tag ? fieldTagOf(*tag) : std::nullopt;
    mTag = field.value_or(FieldTag{});
    mIsWellFormed = field && takeContent();
    if (!mIsWellFormed) {
        mNext = mEnd;
    }
    return mIsWellFormed;
}

}  // namespace kestrel
