#include "tools/TemporaryDirectory.h"

#include <stdlib.h>

#include <cerrno>
#include <string>
#include <system_error>

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "kestrelhost-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot make " + name);
    }
    mPath = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}
