#include "tools/base/FileContent.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/base/InputError.h"

namespace kestrel {

std::string readFile(const std::string& fileName) {
    const auto fail = [&] { throw InputError(fileName + ": " + std::strerror(errno)); };
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(fileName.c_str(), "rb"), [](std::FILE* open) { return std::fclose(open); });
    if (file == nullptr) {
        fail();
    }
    std::string content;
    std::array<char, 65536> block;
    while (std::feof(file.get()) == 0 && std::ferror(file.get()) == 0) {
        const std::size_t size = std::fread(block.data(), 1, block.size(), file.get());
        content.append(block.data(), size);
    }
    if (std::ferror(file.get()) != 0) {
        fail();
    }
    return content;
}

}  // namespace kestrel
