#include "host/linux/RelocatingVfs.h"

#include <cstdio>

namespace kestrel {

RelocatingVfs::RelocatingVfs() : ForwardingVfs("kestrelhost") {}

void RelocatingVfs::install(const std::string& root, bool sync) {
    static RelocatingVfs& vfs = *new RelocatingVfs;
    const std::lock_guard<std::mutex> lock(vfs.mRootMutex);
    vfs.mRoot = root;
    vfs.mSync = sync;
}

std::optional<int> RelocatingVfs::intercept(VfsCall call, const char* /*file*/) noexcept {
    return call == VfsCall::sync && !mSync ? std::optional<int>(SQLITE_OK) : std::nullopt;
}

bool RelocatingVfs::mapPath(const char* name, std::size_t size, char* out) noexcept {
    const std::string_view path = name;
    if (!path.starts_with(DEVICE_DIRECTORY)) {
        return ForwardingVfs::mapPath(name, size, out);
    }
    if (path.find("/../") != std::string_view::npos || path.ends_with("/..")) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mRootMutex);
    const int length = std::snprintf(out, size, "%s%s", mRoot.c_str(), name);
    return static_cast<std::size_t>(length) < size;
}

}  // namespace kestrel
