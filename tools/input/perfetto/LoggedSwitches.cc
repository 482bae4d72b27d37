#include "tools/input/perfetto/LoggedSwitches.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>
#include <variant>

#include "tools/input/logcat/LaunchLine.h"
#include "tools/input/perfetto/ProtobufReader.h"

namespace kestrel {

namespace {

// Fields of ClockSnapshot and of its clocks, and the ids of clocks.
constexpr uint64_t KS_CLOCKS = 1;
constexpr uint64_t KS_CLOCK_ID = 1;
constexpr uint64_t KS_CLOCK_TIME = 2;
constexpr uint64_t KS_REALTIME = 1;
constexpr uint64_t KS_BOOTTIME = 6;

// Of AndroidLogPacket, of its events, and of the arguments of those that have no text.
constexpr uint64_t KS_EVENTS = 1;
constexpr uint64_t KS_TIMESTAMP = 5;
constexpr uint64_t KS_TAG = 6;
constexpr uint64_t KS_MESSAGE = 8;
constexpr uint64_t KS_ARGS = 9;
constexpr uint64_t KS_INT_VALUE = 2;
constexpr uint64_t KS_STRING_VALUE = 4;

// No device writes longer messages.
constexpr std::size_t KS_MAX_MESSAGE = 64 << 10;

std::string valueOf(std::string_view arg) {
    std::string value;
    ProtobufReader fields(arg);
    while (fields.next()) {
        if (fields.number() == KS_INT_VALUE) {
            value = std::to_string(static_cast<int64_t>(fields.value()));
        } else if (fields.number() == KS_STRING_VALUE) {
            value = fields.bytes();
        }
    }
    return value;
}

// As a log prints an event: "[VALUE,VALUE]".
std::string messageOf(std::string_view event) {
    std::string message;
    ProtobufReader fields(event);
    while (fields.next() && message.size() < KS_MAX_MESSAGE) {
        if (fields.number() == KS_ARGS) {
            message += (message.empty() ? '[' : ',') + valueOf(fields.bytes());
        }
    }
    return message + ']';
}

// The package that came to the front; empty: none did. A home activity was shown when its start
// went well, or its task came to the front, or the intent went to the activity on top.
std::string_view frontOf(const LaunchLine& line) {
    if (const auto* const appSwitch = std::get_if<AppSwitch>(&line)) {
        return appSwitch->package;
    }
    const auto* const start = std::get_if<ActivityStart>(&line);
    const bool isHomeShown =
        start != nullptr && start->isHome &&
        (start->resultCode == 0 || start->resultCode == 2 || start->resultCode == 3);
    return isHomeShown ? start->package : "";
}

}  // namespace

bool LoggedSwitches::readClockSnapshot(std::string_view snapshot) {
    std::optional<uint64_t> wallNs;
    std::optional<uint64_t> bootNs;
    ProtobufReader fields(snapshot);
    while (fields.next()) {
        if (fields.number() != KS_CLOCKS) {
            continue;
        }
        uint64_t id = 0;
        uint64_t timeNs = 0;
        for (ProtobufReader clock(fields.bytes()); clock.next();) {
            if (clock.number() == KS_CLOCK_ID) {
                id = clock.value();
            } else if (clock.number() == KS_CLOCK_TIME) {
                timeNs = clock.value();
            }
        }
        if (id == KS_REALTIME) {
            wallNs = timeNs;
        } else if (id == KS_BOOTTIME) {
            bootNs = timeNs;
        }
    }
    if (wallNs && bootNs && mSnapshots.size() < LaunchMarks::KS_MAX_MARKS) {
        mSnapshots.push_back({*wallNs, *bootNs});
    }
    return fields.isWellFormed();
}

bool LoggedSwitches::readEvent(std::string_view event, std::size_t packet) {
    uint64_t wallNs = 0;
    LogSource source = LogSource::other;
    std::string_view message;
    ProtobufReader fields(event);
    while (fields.next()) {
        if (fields.number() == KS_TIMESTAMP) {
            wallNs = fields.value();
        } else if (fields.number() == KS_TAG) {
            source = logSourceOf(fields.bytes());
        } else if (fields.number() == KS_MESSAGE) {
            message = fields.bytes();
        }
    }
    if (!fields.isWellFormed() || source == LogSource::other) {
        return fields.isWellFormed();
    }
    const std::string made = message.empty() ? messageOf(event) : "";
    const LaunchLine line = parseLaunchLine(
        source, (message.empty() ? std::string_view(made) : message).substr(0, KS_MAX_MESSAGE));
    const std::string_view package = frontOf(line);
    const bool isKept =
        package.size() <= KS_MAX_PACKAGE && mSwitches.size() < LaunchMarks::KS_MAX_MARKS;
    if (!package.empty() && isKept) {
        mSwitches.push_back({wallNs, packet, std::string(package)});
    }
    return package.empty() || isKept;
}

bool LoggedSwitches::readLogPacket(std::string_view log, std::size_t packet) {
    bool isGood = true;
    ProtobufReader fields(log);
    while (fields.next()) {
        if (fields.number() == KS_EVENTS) {
            isGood = readEvent(fields.bytes(), packet) && isGood;
        }
    }
    return isGood && fields.isWellFormed();
}

// By the last snapshot at or before it, else by the first.
uint64_t LoggedSwitches::bootTimeOf(uint64_t wallNs) const {
    const auto after = std::upper_bound(
        mSnapshots.begin(), mSnapshots.end(), wallNs,
        [](uint64_t ns, const Snapshot& snapshot) { return ns < snapshot.wallNs; });
    const Snapshot& snapshot = after == mSnapshots.begin() ? *after : *std::prev(after);
    return wallNs - snapshot.wallNs + snapshot.bootNs;
}

std::size_t LoggedSwitches::addTo(LaunchMarks& marks) && {
    if (mSnapshots.empty()) {
        return mSwitches.size();
    }
    std::stable_sort(mSnapshots.begin(), mSnapshots.end(),
                     [](const Snapshot& a, const Snapshot& b) { return a.wallNs < b.wallNs; });
    std::size_t lost = 0;
    for (Switch& s : mSwitches) {
        LaunchMark mark{.kind = LaunchMark::Kind::cameToFront, .package = std::move(s.package)};
        lost += marks.add(std::move(mark), bootTimeOf(s.wallNs), s.packet) ? 0 : 1;
    }
    return lost;
}

}  // namespace kestrel
