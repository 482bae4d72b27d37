#pragma once

#include <cstddef>
#include <string_view>

namespace kestrel {

// How inputs that begin with a JSON object are told apart: by the keys of that object itself.
enum class JsonKind { trace, logExport, benchmark };

// How much of an input is enough.
inline constexpr std::size_t KS_JSON_KIND_SIZE = std::size_t{64} << 10;

// Of an input whose first character that is no blank is '{', by its beginning, which may end
// anywhere. Takes any bytes; what cannot be told is a trace, whose reader says what is wrong.
JsonKind jsonKindOf(std::string_view beginning);

}  // namespace kestrel
