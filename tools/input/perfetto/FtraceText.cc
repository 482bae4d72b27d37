#include "tools/input/perfetto/FtraceText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "tools/base/LineReader.h"
#include "tools/base/TextScanner.h"
#include "tools/input/InputKind.h"
#include "tools/input/perfetto/LaunchImport.h"
#include "tools/input/perfetto/LaunchMark.h"

namespace kestrel {

namespace {

// Of the comment above the columns.
constexpr std::string_view KS_COLUMNS = "TASK-PID";

constexpr uint64_t KS_NS_PER_S = 1'000'000'000;

std::string_view withoutCr(std::string_view line) {
    return line.substr(0, line.find_last_not_of('\r') + 1);
}

bool isTextHead(std::string_view line) {
    return line.starts_with("# tracer") || withoutCr(line) == "TRACE:" ||
           line.starts_with("capturing trace...");
}

bool isHtmlHead(std::string_view line) {
    constexpr std::array<std::string_view, 2> KS_HEADS{"<!doctype html", "<html"};
    const auto isSame = [](char a, char b) {
        return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b);
    };
    return std::any_of(KS_HEADS.begin(), KS_HEADS.end(), [&](std::string_view head) {
        return line.size() >= head.size() &&
               std::equal(head.begin(), head.end(), line.begin(), isSame);
    });
}

// "SECONDS.FRACTION"
std::optional<uint64_t> parseTimeNs(std::string_view text) {
    const std::size_t point = text.find('.');
    const auto seconds = wholeNumber<uint64_t>(text.substr(0, point));
    if (!seconds || *seconds > INT64_MAX / KS_NS_PER_S - 1 || point == std::string_view::npos) {
        return std::nullopt;
    }
    std::string fraction(text.substr(point + 1, 9));
    fraction.resize(9, '0');
    const auto ns = wholeNumber<uint64_t>(fraction);
    return ns ? std::optional(*seconds * KS_NS_PER_S + *ns) : std::nullopt;
}

class TextReader {
 public:
    void readLine(std::string_view line, std::size_t number);
    ImportedInput take(const std::string& name, std::size_t lines) &&;

 private:
    void readHtmlLine(std::string_view line, std::size_t number);
    void readTraceLine(std::string_view line, std::size_t number);

    LaunchMarks mMarks;
    bool mIsFirst = true;
    bool mIsHtml = false;
    bool mIsInData = false;     // of the page
    bool mIsBelowHead = false;  // within the data
    bool mIsTrace = false;
    std::size_t mBad = 0;
};

void TextReader::readLine(std::string_view line, std::size_t number) {
    if (std::exchange(mIsFirst, false)) {
        mIsHtml = isHtmlHead(line);
    }
    if (mIsHtml) {
        readHtmlLine(line, number);
        return;
    }
    mIsTrace = mIsTrace || isTextHead(line) || line.find(KS_COLUMNS) != std::string_view::npos;
    readTraceLine(line, number);
}

// A page also holds the program that shows it, and other data than the trace.
void TextReader::readHtmlLine(std::string_view line, std::size_t number) {
    if (line.find("<script") != std::string_view::npos) {
        mIsInData = line.find("class=\"trace-data\"") != std::string_view::npos;
        mIsBelowHead = false;
    }
    if (!mIsInData) {
        return;
    }
    if (line.find(KS_COLUMNS) != std::string_view::npos) {
        mIsBelowHead = true;
        mIsTrace = true;
    } else if (mIsBelowHead) {
        readTraceLine(line, number);
    }
    mIsInData = line.find("</script>") == std::string_view::npos;
}

// "TASK-PID (TGID) [CPU] FLAGS TIME: tracing_mark_write: TEXT"
void TextReader::readTraceLine(std::string_view line, std::size_t number) {
    constexpr std::string_view KS_WRITE = ": tracing_mark_write: ";
    const std::size_t write = line.find(KS_WRITE);
    if (write == std::string_view::npos || line.starts_with('#')) {
        return;
    }
    auto mark = parseLaunchMark(line.substr(write + KS_WRITE.size()));
    if (!mark) {
        return;
    }
    const std::string_view columns = line.substr(0, write);
    const auto timeNs = parseTimeNs(columns.substr(columns.rfind(' ') + 1));
    const bool isKept = timeNs && mMarks.add(std::move(*mark), *timeNs, number);
    mBad += isKept ? 0 : 1;
    mIsTrace = mIsTrace || isKept;
}

ImportedInput TextReader::take(const std::string& name, std::size_t lines) && {
    if (!mIsTrace) {
        throw NoInput(name, mIsHtml ? "a page without a trace in it"
                                    : "no trace of ftrace: no line of it is one");
    }
    ImportedInput imported = importLaunches(std::move(mMarks), std::nullopt, mBad);
    imported.summary.name = name;
    imported.summary.kind = SourceKind::ftrace;
    imported.summary.format = mIsHtml ? "HTML" : "";
    imported.summary.units = lines;
    return imported;
}

}  // namespace

bool looksLikeFtrace(std::string_view beginning) {
    const std::string_view line = beginning.substr(0, beginning.find('\n'));
    return isHtmlHead(line) ||
           (isTextHead(line) && (line.size() < beginning.size() || line.starts_with('#')));
}

ImportedInput readFtrace(ByteSource& source) {
    LineReader lines(source);
    TextReader reader;
    while (const auto line = lines.next()) {
        reader.readLine(*line, lines.number());
    }
    return std::move(reader).take(source.name(), lines.number());
}

}  // namespace kestrel
