#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <optional>
#include <string>

#include "host/LmApi.h"

namespace kestrel {

// The kinds of calls that SQLite makes to a file system.
enum class VfsCall {
    open,
    remove,
    access,
    read,
    write,
    truncate,
    sync,
    fileSize,
    lock,
    unlock,
    shmMap,
    shmLock,
    shmUnlock,
    sleep,
};

// A file system for SQLite that passes every call on to the one that was the default before it.
// Deriving classes change single calls.
// Ownership: registered from its construction to its destruction, which no file that was opened
//            through it may outlive.
// Threads:   any, as SQLite calls it.
class LM_API ForwardingVfs {
 public:
    explicit ForwardingVfs(std::string name);
    virtual ~ForwardingVfs();
    ForwardingVfs(const ForwardingVfs&) = delete;
    ForwardingVfs& operator=(const ForwardingVfs&) = delete;

    // A result here is answered in place of the call; none lets the call through. `file` is the
    // path, borrowed for the call; null for a temporary file without a name. Throws nothing.
    virtual std::optional<int> intercept(VfsCall call, const char* file) noexcept;

    // The flags to open a file with, for those that SQLite gives. Throws nothing.
    virtual int openFlags(int flags) noexcept { return flags; }

    // Writes the path to open for a name that SQLite was given, with its terminating zero, to
    // `out` of `size` bytes. False answers SQLITE_CANTOPEN. Throws nothing: SQLite calls it.
    virtual bool mapPath(const char* name, std::size_t size, char* out) noexcept;

    sqlite3_vfs* forwardedTo() { return mReal; }

 private:
    std::string mName;
    sqlite3_vfs* mReal;  // the default before this one
    sqlite3_vfs mVfs{};
};

}  // namespace kestrel
