#include "tools/base/FileContent.h"

#include <string_view>

#include "tools/base/FileSource.h"

namespace kestrel {

std::string readFile(const std::string& fileName) {
    FileSource file(fileName);
    std::string content;
    for (std::string_view block = file.read(); !block.empty(); block = file.read()) {
        content.append(block);
    }
    return content;
}

}  // namespace kestrel
