#include "tools/base/FolderContent.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

bool isHidden(const fs::path& path) {
    return path.filename().string().starts_with('.');
}

// Adds what is directly in the folder.
void look(const std::string& folder, std::vector<std::string>& files,
          std::vector<std::string>& folders) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code ignored;  // a link that leads nowhere
        if (isHidden(entry->path())) {
            continue;
        }
        if (entry->is_regular_file(ignored)) {
            files.push_back(entry->path().string());
        } else if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            folders.push_back(entry->path().string());
        }
    }
    if (error) {
        throw InputError(folder + ": " + error.message());
    }
}

}  // namespace

std::vector<std::string> filesIn(const std::string& folder) {
    std::vector<std::string> files;
    std::vector<std::string> folders = {folder};
    while (!folders.empty()) {
        const std::string next = std::move(folders.back());
        folders.pop_back();
        look(next, files, folders);
    }
    std::ranges::sort(files);
    return files;
}

}  // namespace kestrel
