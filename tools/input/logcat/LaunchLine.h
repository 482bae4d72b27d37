#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace kestrel {

// What one entry of an Android log says about launches. All of these borrow the entry's text.

// An activity was started: an intent, or the event that the creation of an activity logs.
struct ActivityStart {
    std::string_view package;
    uint32_t flags = 0;       // of the intent; 0 as well when they cannot be read
    int resultCode = 0;       // 0 when there is none; -1 when it cannot be read
    bool isHome = false;      // with category HOME; a creation: of a home activity
    bool isLauncher = false;  // with category LAUNCHER
    bool isCreation = false;
};

// An activity drew its first frame.
struct FirstFrame {
    std::string_view package;
    int64_t ownMs = 0;                              // since the activity itself was started
    std::optional<int64_t> totalMs = std::nullopt;  // since the first of the starts that led to it
    bool isEvent = false;                           // told by an event, not by a line for people
};

// A package came to the front.
struct AppSwitch {
    std::string_view package;
};

// The processes of a package were stopped.
struct ForceStop {
    enum class Reason { other, removed, installing, deleting };
    std::string_view package;
    Reason reason{};
};

// The logger dropped lines.
struct DroppedLines {
    uint64_t count = 0;
};

// The device was started.
struct Boot {};

using LaunchLine = std::variant<std::monostate, ActivityStart, FirstFrame, AppSwitch, ForceStop,
                                DroppedLines, Boot>;

// What stands between the braces of an intent, as a start. The intent's words before its component
// count, not those of an intent or of clip data inside it. The package is empty when there is none.
ActivityStart parseIntent(std::string_view intent);

// Who wrote an entry, as far as launches go.
enum class LogSource {
    other,
    unknown,  // only a text that is one from its first word on counts
    activityManager,
    createEvent,
    launchTimeEvent,
    frontEvent,
    bootEvent,
    chatty,
};

LogSource logSourceOf(std::string_view tag);

// Three characters as one number.
constexpr uint32_t packed(char a, char b, char c) {
    return static_cast<uint32_t>(static_cast<unsigned char>(a)) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(b)) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(c));
}

// Whether a tag that begins so can be of another source than `other`.
constexpr bool canBeSource(char a, char b, char c) {
    switch (packed(a, b, c)) {
        case packed('A', 'c', 't'):
        case packed('a', 'c', 't'):
        case packed('a', 'm', '_'):
        case packed('w', 'm', '_'):
        case packed('b', 'o', 'o'):
        case packed('c', 'h', 'a'):
        case packed('c', 'r', 'e'):
        case packed('f', 'o', 'c'):
        case packed('r', 'e', 's'):
        case packed('s', 'e', 't'):
            return true;
        default:
            return false;
    }
}

// Takes any bytes; std::monostate when the text is cut short or says nothing about launches.
LaunchLine parseLaunchLine(LogSource source, std::string_view text);

}  // namespace kestrel
