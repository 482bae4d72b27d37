#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kestrel {

// An event as its bytes lie in the memory of a host that was built elsewhere: fields at the offsets
// of the contract, texts as libc++ lays them out, and noise in what the plug-in must not read.
class EventImage {
 public:
    EventImage(std::string_view app, int32_t hintId, int32_t hintType) {
        mBytes.fill(std::byte{0xA5});
        put<int32_t>(0, hintId);
        put<int32_t>(4, hintType);
        putText(8, app);
        put<int32_t>(32, 0);
        put<int32_t>(60, 0);
        put<int32_t>(64, 0);
        put<int16_t>(72, 1);
        put<uint16_t>(74, 112);
        std::memset(&mBytes[80], 0, 24);  // a vector without elements
    }

    template <class T>
    void put(std::size_t offset, T value) {
        std::memcpy(&mBytes[offset], &value, sizeof(value));
    }

    // A text of up to 22 bytes lies in the object, behind its doubled size; a longer one, which is
    // borrowed, behind its capacity with the lowest bit set, its size and its address.
    void putText(std::size_t offset, std::string_view text) {
        std::memset(&mBytes[offset], 0, 24);
        if (text.size() <= 22) {
            put<uint8_t>(offset, static_cast<uint8_t>(text.size() * 2));
            std::memcpy(&mBytes[offset + 1], text.data(), text.size());
            return;
        }
        put<uint64_t>(offset, (text.size() + 1) | 1);
        put<uint64_t>(offset + 8, text.size());
        put(offset + 16, reinterpret_cast<uintptr_t>(text.data()));
    }

    void* data() { return mBytes.data(); }

 private:
    alignas(8) std::array<std::byte, 120> mBytes;
};

}  // namespace kestrel
