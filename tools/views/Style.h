#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrel {

// Emphasis for people who look at a terminal. Anywhere else, and wherever NO_COLOR is set, these
// give their text as it is.

enum class Emphasis { heading, good, warning };

std::string styled(const std::string& text, Emphasis emphasis);

// That of an app's learning state; none for those that are neither.
std::optional<Emphasis> emphasisOfState(std::optional<int32_t> state);

// A text about the state, with its emphasis.
std::string styledState(const std::string& text, std::optional<int32_t> state);

}  // namespace kestrel
