#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrel {

// What the tables for people have in common. They fit 80 columns.

inline constexpr std::size_t LINE_WIDTH = 80;
inline constexpr std::size_t APP_WIDTH = 30;
inline constexpr std::size_t STATE_WIDTH = 8;
inline constexpr std::string_view GAP = "  ";

// A learning state in a word, or "state N"; fits STATE_WIDTH for the states that exist.
std::string stateText(int32_t state);

// A printable text, filled up with blanks on the left.
std::string right(const std::string& text, std::size_t width);

// An app's name in its column. A long one loses its beginning, which packages have in common.
std::string appText(const std::string& app);

std::string numberText(std::optional<int32_t> number);

}  // namespace kestrel
