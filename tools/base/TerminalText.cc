#include "tools/base/TerminalText.h"

#include <algorithm>

namespace kestrel {

namespace {

// The length of the UTF-8 sequence that `text` begins with; 0 when it begins with none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    std::size_t length = 1;
    if (lead >= 0xf0 && lead < 0xf5) {
        length = 4;
    } else if (lead >= 0xe0) {
        length = 3;
    } else if (lead >= 0xc2) {
        length = 2;
    }
    if ((lead >= 0x80 && lead < 0xc2) || lead >= 0xf5 || text.size() < length) {
        return 0;
    }
    // Longer than need be, a surrogate, or beyond the last code point.
    if ((lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xed && byte(1) >= 0xa0) ||
        (lead == 0xf0 && byte(1) < 0x90) || (lead == 0xf4 && byte(1) >= 0x90)) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80) {
            return 0;
        }
    }
    return length;
}

bool isControl(std::string_view sequence) {
    const auto first = static_cast<unsigned char>(sequence[0]);
    if (sequence.size() == 1) {
        return first < 0x20 || first == 0x7f;
    }
    // U+0080 to U+009F, which terminals obey too.
    return first == 0xc2 && static_cast<unsigned char>(sequence[1]) < 0xa0;
}

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

// How many bytes the first `count` code points take.
std::size_t bytesOf(std::string_view text, std::size_t count) {
    std::size_t i = 0;
    for (; i < text.size(); ++i) {
        if (!isContinuation(text[i])) {
            if (count == 0) {
                break;
            }
            --count;
        }
    }
    return i;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        const std::string_view sequence = text.substr(0, std::max<std::size_t>(length, 1));
        if (length == 0 || isControl(sequence)) {
            result += '?';
        } else {
            result += sequence;
        }
        text.remove_prefix(sequence.size());
    }
    return result;
}

std::string endWithin(const std::string& text, std::size_t width) {
    const std::size_t length = widthOf(text);
    if (length <= width) {
        return text;
    }
    return ".." + text.substr(bytesOf(text, length - width + 2));
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, widthOf(text)), ' ');
}

std::string paddedLeft(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, widthOf(text)), ' ') + text;
}

std::string wrapped(const std::string& text, std::size_t width, std::size_t indent) {
    std::string result;
    std::string_view rest = text;
    rest = rest.substr(0, rest.find_last_not_of(' ') + 1);
    std::size_t room = width;
    std::size_t earliest = indent;  // no break within what the first line begins with
    while (widthOf(rest) > room) {
        const std::size_t fits = bytesOf(rest, room);
        const std::size_t blank = rest.substr(0, fits + 1).rfind(' ');
        const std::size_t end = blank != std::string_view::npos && blank > earliest ? blank : fits;
        result += rest.substr(0, end);
        result += '\n' + std::string(indent, ' ');
        rest.remove_prefix(end);
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        room = width - indent;
        earliest = 0;
    }
    return result += rest;
}

}  // namespace kestrel
