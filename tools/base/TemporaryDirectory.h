#pragma once

#include <filesystem>

namespace kestrel {

// A new directory that is removed, with all that is in it, at the end of the object's life.
// Errors: throws std::system_error when it cannot be made; failing to remove it is not told.
class TemporaryDirectory {
 public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return mPath; }

 private:
    std::filesystem::path mPath;
};

}  // namespace kestrel
