#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string_view>
#include <system_error>

namespace kestrel {

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a text from left to right. An operation takes what it names, or it leaves the rest as it
// is and says so. Every operation is linear in what it takes.
// Ownership: borrows the text, and so does everything it hands out.
struct TextScanner {
    std::string_view rest;

    bool take(std::string_view expected) {
        if (!rest.starts_with(expected)) {
            return false;
        }
        rest.remove_prefix(expected.size());
        return true;
    }

    void skipBlanks() {
        while (!rest.empty() && rest.front() == ' ') {
            rest.remove_prefix(1);
        }
    }

    // Up to the first of `ends`, which stays; all of the rest when there is none.
    std::string_view takeUntil(std::string_view ends) {
        const std::string_view taken = rest.substr(0, rest.find_first_of(ends));
        rest.remove_prefix(taken.size());
        return taken;
    }

    // The next word between blanks; empty at the end.
    std::string_view takeWord() {
        skipBlanks();
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(word.size());
        return word;
    }

    // Nothing when there is no number or it does not fit. A '-' is read for signed types only.
    template <std::integral Number>
    std::optional<Number> takeNumber(int base = 10) {
        Number number = 0;
        const char* const begin = rest.data();
        const auto [next, error] = std::from_chars(begin, begin + rest.size(), number, base);
        if (error != std::errc()) {
            return std::nullopt;
        }
        rest.remove_prefix(static_cast<size_t>(next - begin));
        return number;
    }
};

// The text as one number, nothing else before or behind it.
template <std::integral Number>
std::optional<Number> wholeNumber(std::string_view text, int base = 10) {
    TextScanner scanner{text};
    const auto number = scanner.takeNumber<Number>(base);
    return scanner.rest.empty() ? number : std::nullopt;
}

// The text without the blanks around it.
inline std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace kestrel
