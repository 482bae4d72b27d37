#pragma once

#include <filesystem>

namespace kestrel {

// Moves what the write-ahead logs of the host's databases hold into the databases, so that these
// are complete without them. `directory` is where the relocating file system puts the device's.
// Errors: none are told: what cannot be moved soon, as somebody reads it or it is damaged, stays in
//         its log.
void checkpointDatabases(const std::filesystem::path& directory);

}  // namespace kestrel
