#include "tools/input/exports/LogExport.h"

#include <array>
#include <limits>
#include <optional>
#include <string>

#include "tools/base/InputError.h"
#include "tools/base/JsonStream.h"

namespace kestrel {

namespace {

enum Place : int {
    root = JsonListener::KS_ROOT,
    messages,
    message,
    text,
    header,
    tag,
    pid,
    timestamp,
    seconds,
    nanos,
};

constexpr std::array<JsonStep, 9> KS_STEPS{{{root, "logcatMessages", messages},
                                            {messages, std::nullopt, message},
                                            {message, "message", text},
                                            {message, "header", header},
                                            {header, "tag", tag},
                                            {header, "pid", pid},
                                            {header, "timestamp", timestamp},
                                            {timestamp, "seconds", seconds},
                                            {timestamp, "nanos", nanos}}};

constexpr std::int64_t KS_US_PER_SECOND = 1'000'000;
constexpr std::int64_t KS_NANOS_PER_SECOND = 1'000'000'000;

// Since 1970; none when the parts are no time, or do not fit.
std::optional<std::int64_t> usOf(std::int64_t wholeSeconds, std::int64_t moreNanos) {
    constexpr std::int64_t KS_MAX_SECONDS =
        std::numeric_limits<std::int64_t>::max() / KS_US_PER_SECOND - 1;
    if (wholeSeconds < 0 || wholeSeconds > KS_MAX_SECONDS || moreNanos < 0 ||
        moreNanos >= KS_NANOS_PER_SECOND) {
        return std::nullopt;
    }
    return wholeSeconds * KS_US_PER_SECOND + moreNanos / 1000;
}

// What has been read of a message: its parts come in any order.
struct Parts {
    std::optional<std::string> text;
    std::optional<std::string> tag;
    std::optional<std::int64_t> pid;
    std::optional<std::int64_t> seconds;
    std::optional<std::int64_t> nanos;
};

class MessageListener : public JsonListener {
 public:
    explicit MessageListener(const std::function<void(const ExportedMessage&)>& take)
        : mTake(take) {}

    void begin(int place) override {
        if (place == messages) {
            mHasList = true;
        } else if (place == message) {
            mParts = {};
        }
    }

    void end(int place) override {
        if (place == message && !handOver()) {
            ++mCounts.badEntries;
        }
    }

    void scalar(int place, const JsonScalar& value, std::size_t /*line*/) override {
        if (place == message) {  // that is none
            ++mNumber;
            ++mCounts.badEntries;
        } else if (const auto* string = std::get_if<std::string_view>(&value)) {
            setText(place, *string);
        } else if (const auto* number = std::get_if<std::int64_t>(&value)) {
            setNumber(place, *number);
        }
    }

    bool hasList() const { return mHasList; }
    const LogExportCounts& counts() const { return mCounts; }

 private:
    void setText(int place, std::string_view value) {
        if (place == text) {
            mParts.text = value;
        } else if (place == tag) {
            mParts.tag = value;
        }
    }

    void setNumber(int place, std::int64_t value) {
        if (place == pid) {
            mParts.pid = value;
        } else if (place == seconds) {
            mParts.seconds = value;
        } else if (place == nanos) {
            mParts.nanos = value;
        }
    }

    bool handOver() {
        ++mNumber;
        if (!mParts.text || !mParts.tag || !mParts.seconds || !mParts.nanos) {
            return false;
        }
        const auto us = usOf(*mParts.seconds, *mParts.nanos);
        if (!us) {
            return false;
        }
        ++mCounts.messages;
        const bool isHead = mParts.pid == 0 && mParts.tag->empty() && mParts.seconds == 0;
        mTake({*us, *mParts.tag, *mParts.text, isHead, mNumber});
        return true;
    }

    const std::function<void(const ExportedMessage&)>& mTake;
    Parts mParts;
    std::size_t mNumber = 0;
    bool mHasList = false;
    LogExportCounts mCounts;
};

}  // namespace

LogExportCounts readLogExport(ByteSource& source,
                              const std::function<void(const ExportedMessage&)>& take) {
    MessageListener listener(take);
    readJson(source, KS_STEPS, listener);
    if (!listener.hasList()) {
        throw InputError(source.name() + ": no list \"logcatMessages\", as a log export has it");
    }
    return listener.counts();
}

}  // namespace kestrel
