#include "tools/input/AndroidRelease.h"

#include <cstddef>
#include <iterator>

namespace kestrel {

std::string androidReleaseOf(int apiLevel) {
    constexpr int KS_FIRST_LEVEL = 28;
    constexpr const char* KS_RELEASES[] = {"9", "10", "11", "12", "12L", "13", "14", "15", "16"};
    if (apiLevel < KS_FIRST_LEVEL ||
        static_cast<std::size_t>(apiLevel - KS_FIRST_LEVEL) >= std::size(KS_RELEASES)) {
        return "";
    }
    return KS_RELEASES[apiLevel - KS_FIRST_LEVEL];
}

}  // namespace kestrel
