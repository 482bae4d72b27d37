#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace kestrel {

// What is written as JSON: an object's keys stay in the order in which they were set.
using Json = nlohmann::ordered_json;

// The value, or null where there is none.
template <class Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

// One line, or lines that are indented by so many blanks a level. Bytes that are not UTF-8 become
// U+FFFD.
std::string toText(const Json& value, int indent = -1);

}  // namespace kestrel
