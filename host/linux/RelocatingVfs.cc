#include "host/linux/RelocatingVfs.h"

#include <string_view>

namespace {

constexpr std::string_view DEVICE_DIRECTORY = "/data/vendor/lm/";

}  // namespace

RelocatingVfs::RelocatingVfs() : ForwardingVfs("kestrelhost") {}

void RelocatingVfs::install(const std::string& root, bool sync) {
    static RelocatingVfs& vfs = *new RelocatingVfs;
    const std::lock_guard<std::mutex> lock(vfs.mRootMutex);
    vfs.mRoot = root;
    vfs.mSync = sync;
}

std::optional<int> RelocatingVfs::intercept(VfsCall call) {
    return call == VfsCall::sync && !mSync ? std::optional<int>(SQLITE_OK) : std::nullopt;
}

std::optional<std::string> RelocatingVfs::mapPath(const char* path) {
    const std::string_view name = path;
    if (!name.starts_with(DEVICE_DIRECTORY)) {
        return std::string(name);
    }
    if (name.find("/../") != std::string_view::npos || name.ends_with("/..")) {
        return std::nullopt;
    }
    const std::lock_guard<std::mutex> lock(mRootMutex);
    return mRoot + std::string(name);
}
