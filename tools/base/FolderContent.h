#pragma once

#include <string>
#include <vector>

namespace kestrel {

// The regular files in a folder and in those below it, in the order of their paths' bytes. Links
// count as the files that they lead to; hidden files and folders, and links to folders, do not.
// Throws InputError for a folder that cannot be read.
std::vector<std::string> filesIn(const std::string& folder);

}  // namespace kestrel
