#include "tools/base/PeekedSource.h"

namespace kestrel {

std::string_view PeekedSource::peek(std::size_t size) {
    if (mHandedOut) {
        mAhead.clear();
        mHandedOut = false;
    }
    while (mAhead.size() < size) {
        const std::string_view block = mSource.read();
        if (block.empty()) {
            break;
        }
        mAhead.append(block);
    }
    return mAhead;
}

std::string_view PeekedSource::read() {
    if (mHandedOut || mAhead.empty()) {
        mHandedOut = true;
        return mSource.read();
    }
    mHandedOut = true;
    return mAhead;
}

}  // namespace kestrel
