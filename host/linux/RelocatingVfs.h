#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "host/LmApi.h"
#include "host/linux/ForwardingVfs.h"

// Puts the databases that the plug-ins name by their place on the device below a root of the host's
// choice, and leaves flushing to the disk out when asked to.
class LM_API RelocatingVfs : public ForwardingVfs {
 public:
    // Makes the process's one the default; a second call only changes where files opened from then
    // on are. It stays for the life of the process, as the plug-in's open files do.
    static void install(const std::string& root, bool sync);

    std::optional<int> intercept(VfsCall call) override;

    // Names below the device's directory go below the root; none that leads out of it goes
    // anywhere.
    std::optional<std::string> mapPath(const char* path) override;

 private:
    RelocatingVfs();

    std::mutex mRootMutex;
    std::string mRoot;
    std::atomic<bool> mSync{true};
};
