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
    uint32_t flags = 0;   // of the intent; 0 as well when they cannot be read
    int resultCode = 0;   // 0 when there is none; -1 when it cannot be read
    bool isHome = false;  // with category HOME; a creation: of a home activity
    bool isLauncher = false;  // with category LAUNCHER
    bool isCreation = false;
};

// An activity drew its first frame.
struct FirstFrame {
    std::string_view package;
    int64_t ownMs = 0;                              // since the activity itself was started
    std::optional<int64_t> totalMs = std::nullopt;  // since the first of the starts that led to it
    bool isEvent = false;  // told by an event, not by a line for people
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

// Whether a tag that begins so can be of another source than `other`. Few do.
inline bool canBeSource(char firstOfTag) {
    return std::string_view("Aacwsrfb").find(firstOfTag) != std::string_view::npos;
}

// Takes any bytes; std::monostate when the text is cut short or says nothing about launches.
LaunchLine parseLaunchLine(LogSource source, std::string_view text);

}  // namespace kestrel
