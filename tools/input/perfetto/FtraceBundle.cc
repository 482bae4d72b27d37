#include "tools/input/perfetto/FtraceBundle.h"

#include <optional>

#include "tools/input/perfetto/ProtobufReader.h"

namespace kestrel {

namespace {

// Fields of FtraceEventBundle.
constexpr uint64_t KS_EVENT = 2;
constexpr uint64_t KS_FTRACE_CLOCK = 5;
constexpr uint64_t KS_FTRACE_TIMESTAMP = 6;
constexpr uint64_t KS_BOOT_TIMESTAMP = 7;

// Of FtraceEvent.
constexpr uint64_t KS_TIMESTAMP = 1;
constexpr uint64_t KS_PRINT = 3;

// Of PrintFtraceEvent.
constexpr uint64_t KS_TEXT = 2;

}  // namespace

bool FtraceBundles::readPrint(std::string_view print, uint64_t timeNs) {
    ProtobufReader fields(print);
    std::string_view text;
    while (fields.next()) {
        if (fields.number() == KS_TEXT) {
            text = fields.bytes();
        }
    }
    auto mark = parseLaunchMark(text);
    if (mark && mFound.size() == LaunchMarks::KS_MAX_MARKS) {
        return false;
    }
    if (mark) {
        mFound.emplace_back(timeNs, std::move(*mark));
    }
    return fields.isWellFormed();
}

bool FtraceBundles::readEvent(std::string_view event) {
    ProtobufReader fields(event);
    uint64_t timeNs = 0;
    std::string_view print;
    while (fields.next()) {
        if (fields.number() == KS_TIMESTAMP) {
            timeNs = fields.value();
        } else if (fields.number() == KS_PRINT) {
            print = fields.bytes();
        }
    }
    return fields.isWellFormed() && (print.empty() || readPrint(print, timeNs));
}

bool FtraceBundles::read(std::string_view bundle, std::size_t packet, LaunchMarks& marks) {
    mFound.clear();
    bool isGood = true;
    bool hasOwnClock = false;
    std::optional<uint64_t> ftraceNs;
    std::optional<uint64_t> bootNs;
    ProtobufReader fields(bundle);
    while (fields.next()) {
        switch (fields.number()) {
            case KS_EVENT:
                isGood = readEvent(fields.bytes()) && isGood;
                break;
            case KS_FTRACE_CLOCK:
                hasOwnClock = fields.value() != 0;  // 0: not said
                break;
            case KS_FTRACE_TIMESTAMP:
                ftraceNs = fields.value();
                break;
            case KS_BOOT_TIMESTAMP:
                bootNs = fields.value();
                break;
            default:
                break;
        }
    }
    if (ftraceNs && bootNs) {
        mToBootNs = *bootNs - *ftraceNs;
    }
    for (auto& [timeNs, mark] : mFound) {
        isGood =
            marks.add(std::move(mark), timeNs + (hasOwnClock ? mToBootNs : 0), packet) && isGood;
    }
    return isGood && fields.isWellFormed();
}

}  // namespace kestrel
