#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrel {

// Text that comes from inputs, made fit for a terminal: what is not UTF-8, and control characters,
// become "?". Widths count code points.
std::string printable(std::string_view text);

// The end of a printable text that fits `width`, with ".." for what was cut off in front.
// REQUIRES: width is at least 2.
std::string endWithin(const std::string& text, std::size_t width);

// A printable text, filled up with blanks to `width`.
std::string padded(const std::string& text, std::size_t width);

// The same with the blanks in front.
std::string paddedLeft(const std::string& text, std::size_t width);

// A printable text in lines of at most `width`, broken at blanks where it can be; all but the first
// begin with `indent` blanks, and the first is not broken before them. REQUIRES: indent < width.
std::string wrapped(const std::string& text, std::size_t width, std::size_t indent);

}  // namespace kestrel
