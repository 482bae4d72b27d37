#pragma once

#include <unistd.h>

#include <utility>

namespace kestrel {

// A file that is open as long as this lives.
class OpenFile {
 public:
    explicit OpenFile(int descriptor) : mDescriptor(descriptor) {}
    OpenFile(OpenFile&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
    OpenFile& operator=(OpenFile&&) = delete;
    ~OpenFile() {
        if (mDescriptor >= 0) {
            close(mDescriptor);
        }
    }

    int descriptor() const { return mDescriptor; }  // -1: it could not be opened

 private:
    int mDescriptor;
};

}  // namespace kestrel
