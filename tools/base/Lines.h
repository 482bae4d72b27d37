#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace kestrel {

// Takes the first line off `rest`, without its line end; the last one may lack it.
inline std::string_view takeLine(std::string_view& rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    return line;
}

}  // namespace kestrel
