#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

#include "tools/base/ByteSource.h"

namespace kestrel {

// JSON that is read value by value and never held as a whole, for documents of other programs: of
// what they hold, only the places that are asked for are told.

// A value that holds no others: null, true or false; a text; a number. A number is whole where it
// is written so and fits.
using JsonScalar = std::variant<std::monostate, std::string_view, std::int64_t, double>;

// A step from a place of the document to one inside it. The places are the caller's numbers;
// those that no step leads to are passed over.
struct JsonStep {
    int from = 0;
    std::optional<std::string_view> key;  // none: every element of a list
    int to = 0;
};

class JsonListener {
 public:
    static constexpr int KS_ROOT = 0;  // the document itself

    JsonListener() = default;
    virtual ~JsonListener() = default;
    JsonListener(const JsonListener&) = delete;
    JsonListener& operator=(const JsonListener&) = delete;

    // An object or a list, before and after what it holds.
    virtual void begin(int /*place*/) {}
    virtual void end(int /*place*/) {}

    // `line` is the line that the value ends in, from 1. A text is valid during the call only.
    virtual void scalar(int place, const JsonScalar& value, std::size_t line) = 0;
};

// Reads one document. Needs memory for its longest text, which must be below KS_MAX_JSON_VALUE.
// Errors: InputError when it is not JSON, or nested too deeply.
inline constexpr std::size_t KS_MAX_JSON_VALUE = std::size_t{4} << 20;  // bytes, with blanks
inline constexpr std::size_t KS_MAX_JSON_DEPTH = 100;
void readJson(ByteSource& source, std::span<const JsonStep> steps, JsonListener& listener);

}  // namespace kestrel
