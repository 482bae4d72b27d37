#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "host/LmApi.h"
#include "host/linux/ForwardingVfs.h"

namespace kestrel {

// Where the plug-ins have their databases on the device; below a root, where they are here.
inline constexpr std::string_view DEVICE_DIRECTORY = "/data/vendor/lm/";

// Puts the databases that the plug-ins name by their place on the device below a root of the host's
// choice, and leaves flushing to the disk out when asked to.
class LM_API RelocatingVfs : public ForwardingVfs {
 public:
    // Makes the process's one the default; a second call only changes where files opened from then
    // on are. It stays for the life of the process, as the plug-in's open files do.
    static void install(const std::string& root, bool sync);

    std::optional<int> intercept(VfsCall call, const char* file) noexcept override;

    // Names below the device's directory go below the root, and names that lead out of it nowhere.
    bool mapPath(const char* name, std::size_t size, char* out) noexcept override;

 private:
    RelocatingVfs();

    std::mutex mRootMutex;
    std::string mRoot;
    std::atomic<bool> mSync{true};
};

}  // namespace kestrel
