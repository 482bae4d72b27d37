#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kestrel {

// `kestrelhost import`: prints the event trace that a replay of these Android logs would deliver.
// Throws InputError for wrong inputs.
void importLogs(const std::vector<std::string>& logs, const std::optional<std::string>& hostFile);

}  // namespace kestrel
