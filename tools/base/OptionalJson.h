#pragma once

#include <nlohmann/json.hpp>
#include <optional>

namespace kestrel {

// The value, or null where there is none.
template <class Value>
nlohmann::ordered_json orNull(const std::optional<Value>& value) {
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

}  // namespace kestrel
