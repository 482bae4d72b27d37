#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "host/linux/HostSetup.h"

namespace kestrel {

// The set-up that {"host": {...}} says. Throws JsonError.
HostSetup toSetup(const nlohmann::json& object);

// Reads a file that holds such an object, and lines that a trace would skip. Throws InputError.
HostSetup readSetupFile(const std::string& fileName);

// The set-up of a file; the default one for none. Throws InputError.
HostSetup setupOf(const std::optional<std::string>& hostFile);

}  // namespace kestrel
