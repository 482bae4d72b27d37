#include "tools/input/exports/StartInfoReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "tools/base/InputError.h"
#include "tools/base/LineReader.h"
#include "tools/base/TextScanner.h"
#include "tools/input/LaunchEvents.h"
#include "tools/input/logcat/LaunchLine.h"

namespace kestrel {

namespace {

constexpr int64_t KS_NS_PER_MS = 1'000'000;

// A first frame that comes later is one of something else.
constexpr int64_t KS_MAX_LAUNCH_MS = 60'000;

// A record's first frame can still be told behind it.
constexpr int64_t KS_MAX_T = std::numeric_limits<int64_t>::max() - KS_MAX_LAUNCH_MS;

std::string_view withoutBlanks(std::string_view line) {
    while (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return trimmed(line);
}

std::optional<int64_t> wholeCount(std::string_view text) {
    const auto count = wholeNumber<int64_t>(text);
    return count && *count >= 0 ? count : std::nullopt;
}

// Empty for what is none. A section's stays with each of its records, so that it must be short.
std::string_view packageName(std::string_view text) {
    constexpr std::size_t KS_MAX_PACKAGE = 255;
    const bool isName = text.size() <= KS_MAX_PACKAGE && text.find('\0') == std::string_view::npos;
    return isName ? text : std::string_view();
}

// "Intent { ... }"
bool isHomeIntent(std::string_view text) {
    const std::size_t brace = text.find('{');
    return brace != std::string_view::npos && parseIntent(text.substr(brace + 1)).isHome;
}

void addNote(InputSummary& summary, InputNote::Kind kind, std::size_t count) {
    if (count > 0) {
        summary.notes.push_back({kind, count});
    }
}

}  // namespace

bool isStartInfoHead(std::string_view line) {
    return line.starts_with("ACTIVITY MANAGER ") &&
           line.find("(dumpsys activity start-info)") != std::string_view::npos;
}

bool endsStartInfo(std::string_view line) {
    return line.starts_with("ACTIVITY MANAGER ") || line.starts_with("---");
}

void StartInfoReader::readLine(std::string_view line, std::size_t number) {
    TextScanner scanner{withoutBlanks(line)};
    if (scanner.take("package: ")) {
        endRecord();
        mPackage = packageName(scanner.takeWord());
    } else if (scanner.take("Historical Process Start for ")) {
        endRecord();
    } else if (scanner.take("ApplicationStartInfo #")) {
        endRecord();
        mRecord = Record{.line = number, .package = mPackage};
    } else if (!mRecord) {
        return;
    } else if (scanner.take("intent=")) {
        mRecord->isHome = isHomeIntent(scanner.rest);
    } else {
        scanner.take("timestamps: ");
        readFields(scanner.rest);
    }
}

// "KEY=VALUE KEY=VALUE". A value can hold blanks, so it goes on up to the next word with a '='.
void StartInfoReader::readFields(std::string_view fields) {
    TextScanner scanner{fields};
    std::string_view key;
    std::size_t valueBegin = 0;  // in `fields`
    std::size_t valueEnd = 0;
    for (auto word = scanner.takeWord(); !word.empty(); word = scanner.takeWord()) {
        const std::size_t wordEnd = fields.size() - scanner.rest.size();
        const std::size_t sign = word.find('=');
        if (sign != std::string_view::npos) {
            setField(key, fields.substr(valueBegin, valueEnd - valueBegin));
            key = word.substr(0, sign);
            valueBegin = wordEnd - word.size() + sign + 1;
        }
        valueEnd = wordEnd;
    }
    setField(key, fields.substr(valueBegin, valueEnd - valueBegin));
}

void StartInfoReader::setField(std::string_view key, std::string_view value) {
    if (key == "monotonicCreationTimeMs") {
        mRecord->createdMs = wholeCount(value);
    } else if (key == "package") {
        mRecord->package = packageName(value);
    } else if (key == "reason") {
        mRecord->reason = value;
    } else if (key == "startComponent") {
        mRecord->component = value;
    } else if (key == "startupState") {
        mRecord->isGivenUp = value == "1";
    } else if (key == "0") {
        mRecord->launchNs = wholeCount(value);
    } else if (key == "4") {
        mRecord->frameNs = wholeCount(value);
    }
}

bool StartInfoReader::isOfActivity(const Record& record) {
    if (!record.component.empty()) {
        return record.component == "ACTIVITY";
    }
    return record.reason == "LAUNCHER" || record.reason == "START ACTIVITY";
}

std::optional<int64_t> StartInfoReader::timeMsOf(const Record& record) {
    if (record.createdMs) {
        return *record.createdMs <= KS_MAX_T ? record.createdMs : std::nullopt;
    }
    return record.launchNs ? std::optional(*record.launchNs / KS_NS_PER_MS) : std::nullopt;
}

// None when the record has no frame, or one that cannot be its own.
std::optional<int64_t> StartInfoReader::durationMsOf(const Record& record) {
    if (!record.launchNs || !record.frameNs) {
        return std::nullopt;
    }
    const int64_t durationNs = *record.frameNs - *record.launchNs;  // neither is negative
    if (durationNs < 0 || durationNs > KS_MAX_LAUNCH_MS * KS_NS_PER_MS) {
        return std::nullopt;
    }
    return durationNs / KS_NS_PER_MS;
}

void StartInfoReader::endRecord() {
    if (!mRecord) {
        return;
    }
    ++mSummary.units;
    if (mRecord->reason.empty() && mRecord->component.empty()) {
        ++mBadEntries;
    } else if (isOfActivity(*mRecord)) {
        addStart(*mRecord);
    } else {
        ++mBackgroundStarts;
        if (mRecord->createdMs) {  // its launch time may be wrong
            extendSpan(*mRecord->createdMs);
        }
    }
    mRecord.reset();
}

void StartInfoReader::addStart(const Record& record) {
    const auto t = timeMsOf(record);
    if (!t || record.package.empty()) {
        ++mBadEntries;
        return;
    }
    const auto durationMs = record.isHome ? std::nullopt : durationMsOf(record);
    mStarts.push_back({*t, record.line, record.package, record.isHome, durationMs});
    if (!record.isHome && !durationMs && record.isGivenUp) {
        ++mFailedStarts;
    }
    extendSpan(*t + durationMs.value_or(0));
    extendSpan(*t);
}

void StartInfoReader::extendSpan(int64_t t) {
    mSummary.firstT = std::min(mSummary.firstT.value_or(t), t);
    mSummary.lastT = std::max(mSummary.lastT.value_or(t), t);
}

ImportedInput StartInfoReader::take() {
    endRecord();
    std::stable_sort(mStarts.begin(), mStarts.end(),
                     [](const Start& a, const Start& b) { return a.t < b.t; });
    ImportedInput result{.summary = std::move(mSummary)};
    TraceObjects& objects = result.objects;
    for (const Start& start : mStarts) {
        objects.push_back(start.isHome ? appSwitch(start.t, start.line, start.package)
                                       : launchHint(start.t, start.line, start.package));
        if (start.durationMs) {
            const int64_t frameT = start.t + *start.durationMs;
            objects.push_back(firstFrame(frameT, start.line, start.package));
        }
    }
    // A launch can begin before the first frame of the one before it.
    std::stable_sort(objects.begin(), objects.end(),
                     [](const TraceObject& a, const TraceObject& b) { return a.t < b.t; });
    result.summary.starts = mStarts.size();
    addNote(result.summary, InputNote::Kind::backgroundStarts, mBackgroundStarts);
    addNote(result.summary, InputNote::Kind::failedStarts, mFailedStarts);
    addNote(result.summary, InputNote::Kind::badEntries, mBadEntries);
    return result;
}

ImportedInput readStartInfo(ByteSource& source) {
    StartInfoReader reader;
    LineReader lines(source);
    bool isInside = false;
    bool sawHead = false;
    while (const auto line = lines.next()) {
        if (isStartInfoHead(*line)) {
            isInside = true;
            sawHead = true;
        } else if (isInside && endsStartInfo(*line)) {
            isInside = false;
        } else if (isInside) {
            reader.readLine(*line, lines.number());
        }
    }
    if (!sawHead) {
        throw InputError(source.name() + ": no history of starts (dumpsys activity start-info)");
    }
    ImportedInput result = reader.take();
    result.summary.name = source.name();
    return result;
}

}  // namespace kestrel
