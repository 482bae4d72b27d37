#include "host/linux/ForwardingVfs.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace kestrel {

namespace {

// What SQLite allocates per file: this, and behind it the file of the system forwarded to.
struct ForwardingFile {
    sqlite3_file base;
    ForwardingVfs* vfs;
    const char* name;  // SQLite's, as long as the file is open
};

constexpr std::size_t PATH_SIZE = 4096;
constexpr std::size_t FILE_SIZE = (sizeof(ForwardingFile) + 15) / 16 * 16;

sqlite3_file* realFile(sqlite3_file* file) {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + FILE_SIZE);
}

ForwardingVfs& self(sqlite3_vfs* vfs) {
    return *static_cast<ForwardingVfs*>(vfs->pAppData);
}

sqlite3_vfs* realVfs(sqlite3_vfs* vfs) {
    return self(vfs).forwardedTo();
}

std::optional<int> intercept(sqlite3_file* file, VfsCall call) {
    const auto* forwarding = reinterpret_cast<ForwardingFile*>(file);
    return forwarding->vfs->intercept(call, forwarding->name);
}

// Passes a call on a file to the method of the same name there, unless `CALL` is intercepted.
template <auto Method, VfsCall CALL, class... Args>
int forwardFile(sqlite3_file* file, Args... args) {
    if (const auto answer = intercept(file, CALL)) {
        return *answer;
    }
    sqlite3_file* real = realFile(file);
    return (real->pMethods->*Method)(real, args...);
}

template <auto Method, class... Args>
auto passFile(sqlite3_file* file, Args... args) {
    sqlite3_file* real = realFile(file);
    return (real->pMethods->*Method)(real, args...);
}

template <auto Method, class... Args>
auto passVfs(sqlite3_vfs* vfs, Args... args) {
    sqlite3_vfs* real = realVfs(vfs);
    return (real->*Method)(real, args...);
}

int lockSharedMemory(sqlite3_file* file, int offset, int count, int flags) {
    const VfsCall call = (flags & SQLITE_SHM_UNLOCK) != 0 ? VfsCall::shmUnlock : VfsCall::shmLock;
    if (const auto answer = intercept(file, call)) {
        return *answer;
    }
    return passFile<&sqlite3_io_methods::xShmLock>(file, offset, count, flags);
}

using IoMethods = sqlite3_io_methods;

// One set of methods for each version that the file forwarded to may have.
IoMethods makeMethods(int version) {
    IoMethods m{};
    m.iVersion = version;
    m.xClose = passFile<&IoMethods::xClose>;
    m.xRead = forwardFile<&IoMethods::xRead, VfsCall::read>;
    m.xWrite = forwardFile<&IoMethods::xWrite, VfsCall::write>;
    m.xTruncate = forwardFile<&IoMethods::xTruncate, VfsCall::truncate>;
    m.xSync = forwardFile<&IoMethods::xSync, VfsCall::sync>;
    m.xFileSize = forwardFile<&IoMethods::xFileSize, VfsCall::fileSize>;
    m.xLock = forwardFile<&IoMethods::xLock, VfsCall::lock>;
    m.xUnlock = forwardFile<&IoMethods::xUnlock, VfsCall::unlock>;
    m.xCheckReservedLock = passFile<&IoMethods::xCheckReservedLock>;
    m.xFileControl = passFile<&IoMethods::xFileControl>;
    m.xSectorSize = passFile<&IoMethods::xSectorSize>;
    m.xDeviceCharacteristics = passFile<&IoMethods::xDeviceCharacteristics>;
    // Without the shared-memory methods, write-ahead logging would quietly turn off.
    m.xShmMap = forwardFile<&IoMethods::xShmMap, VfsCall::shmMap>;
    m.xShmLock = lockSharedMemory;
    m.xShmBarrier = passFile<&IoMethods::xShmBarrier>;
    m.xShmUnmap = passFile<&IoMethods::xShmUnmap>;
    m.xFetch = passFile<&IoMethods::xFetch>;
    m.xUnfetch = passFile<&IoMethods::xUnfetch>;
    return m;
}

const IoMethods* methodsFor(int version) {
    static const IoMethods methods[] = {makeMethods(1), makeMethods(2), makeMethods(3)};
    return &methods[std::clamp(version, 1, 3) - 1];
}

int openFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    // SQLite closes what has methods, also after a failed open.
    file->pMethods = nullptr;
    if (const auto answer = self(vfs).intercept(VfsCall::open, name)) {
        return *answer;
    }
    sqlite3_file* real = realFile(file);
    real->pMethods = nullptr;
    const int code =
        realVfs(vfs)->xOpen(realVfs(vfs), name, real, self(vfs).openFlags(flags), outFlags);
    if (real->pMethods != nullptr) {
        auto* forwarding = reinterpret_cast<ForwardingFile*>(file);
        forwarding->vfs = &self(vfs);
        forwarding->name = name;
        file->pMethods = methodsFor(real->pMethods->iVersion);
    }
    return code;
}

int deleteFile(sqlite3_vfs* vfs, const char* name, int syncDirectory) {
    if (const auto answer = self(vfs).intercept(VfsCall::remove, name)) {
        return *answer;
    }
    return passVfs<&sqlite3_vfs::xDelete>(vfs, name, syncDirectory);
}

int accessFile(sqlite3_vfs* vfs, const char* name, int flags, int* result) {
    if (const auto answer = self(vfs).intercept(VfsCall::access, name)) {
        return *answer;
    }
    return passVfs<&sqlite3_vfs::xAccess>(vfs, name, flags, result);
}

int sleepFor(sqlite3_vfs* vfs, int microseconds) {
    if (const auto answer = self(vfs).intercept(VfsCall::sleep, nullptr)) {
        return *answer;
    }
    return passVfs<&sqlite3_vfs::xSleep>(vfs, microseconds);
}

int fullPathname(sqlite3_vfs* vfs, const char* name, int size, char* out) {
    std::array<char, PATH_SIZE> path;
    if (!self(vfs).mapPath(name, path.size(), path.data())) {
        return SQLITE_CANTOPEN;
    }
    return passVfs<&sqlite3_vfs::xFullPathname>(vfs, path.data(), size, out);
}

}  // namespace

ForwardingVfs::ForwardingVfs(std::string name)
    : mName(std::move(name)), mReal(sqlite3_vfs_find(nullptr)) {
    mVfs.iVersion = 2;
    mVfs.szOsFile = static_cast<int>(FILE_SIZE) + mReal->szOsFile;
    mVfs.mxPathname = mReal->mxPathname;
    mVfs.zName = mName.c_str();
    mVfs.pAppData = this;
    mVfs.xOpen = openFile;
    mVfs.xDelete = deleteFile;
    mVfs.xAccess = accessFile;
    mVfs.xFullPathname = fullPathname;
    mVfs.xDlOpen = passVfs<&sqlite3_vfs::xDlOpen>;
    mVfs.xDlError = passVfs<&sqlite3_vfs::xDlError>;
    mVfs.xDlSym = [](sqlite3_vfs* vfs, void* library, const char* symbol) {
        return realVfs(vfs)->xDlSym(realVfs(vfs), library, symbol);
    };
    mVfs.xDlClose = passVfs<&sqlite3_vfs::xDlClose>;
    mVfs.xRandomness = passVfs<&sqlite3_vfs::xRandomness>;
    mVfs.xSleep = sleepFor;
    mVfs.xCurrentTime = passVfs<&sqlite3_vfs::xCurrentTime>;
    mVfs.xGetLastError = passVfs<&sqlite3_vfs::xGetLastError>;
    mVfs.xCurrentTimeInt64 = passVfs<&sqlite3_vfs::xCurrentTimeInt64>;
    sqlite3_vfs_register(&mVfs, 1);
}

ForwardingVfs::~ForwardingVfs() {
    sqlite3_vfs_unregister(&mVfs);
    sqlite3_vfs_register(mReal, 1);
}

std::optional<int> ForwardingVfs::intercept(VfsCall /*call*/, const char* /*file*/) noexcept {
    return std::nullopt;
}

bool ForwardingVfs::mapPath(const char* name, std::size_t size, char* out) noexcept {
    return static_cast<std::size_t>(std::snprintf(out, size, "%s", name)) < size;
}

}  // namespace kestrel
