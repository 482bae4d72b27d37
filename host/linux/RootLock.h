#pragma once

#include <filesystem>

namespace kestrel {

// Keeps a directory of databases for one host, for as long as this object and its process live. No
// file is made for it, and roots that reach one directory by links exclude each other.
// Errors: throws std::runtime_error that names `root` when another host has the directory, and one
//         that names the directory when it cannot be locked.
class RootLock {
 public:
    RootLock(const std::filesystem::path& directory, const std::filesystem::path& root);
    ~RootLock();
    RootLock(const RootLock&) = delete;
    RootLock& operator=(const RootLock&) = delete;

 private:
    int mDescriptor;
};

}  // namespace kestrel
