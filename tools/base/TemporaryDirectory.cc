#include "tools/base/TemporaryDirectory.h"

#include <stdlib.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace kestrel {

TemporaryDirectory::TemporaryDirectory() {
    // Absolute: the working directory may change before the end.
    const std::filesystem::path parent =
        std::filesystem::absolute(std::filesystem::temp_directory_path());
    std::string name = (parent / "kestrelhost-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot make " + name);
    }
    mPath = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

}  // namespace kestrel
