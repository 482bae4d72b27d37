#include "tools/input/InputKind.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "tools/base/Lines.h"
#include "tools/base/Utf16Source.h"
#include "tools/input/JsonKind.h"
#include "tools/input/archive/ArchiveReader.h"
#include "tools/input/archive/DecompressedSource.h"
#include "tools/input/bugreport/BugReport.h"
#include "tools/input/exports/StartInfoReader.h"
#include "tools/input/perfetto/FtraceText.h"
#include "tools/input/perfetto/PerfettoTrace.h"

namespace kestrel {

namespace {

constexpr std::string_view KS_ACTIVITY_MANAGER = "ACTIVITY MANAGER ";  // what its dumps begin with

std::string_view withoutLeadingBlanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
}

std::string_view withoutMark(std::string_view text) {
    return text.substr(text.starts_with(KS_UTF8_MARK) ? KS_UTF8_MARK.size() : 0);
}

// From the first line that says something on.
std::string_view fromFirstLine(std::string_view text) {
    std::string_view rest = text;
    while (!rest.empty() && isSkippedTraceLine(takeLine(rest))) {
        text = rest;
    }
    return text;
}

InputKind kindOfJson(std::string_view text) {
    switch (jsonKindOf(text)) {
        case JsonKind::logExport:
            return InputKind::logExport;
        case JsonKind::benchmark:
            return InputKind::benchmark;
        case JsonKind::trace:
            break;
    }
    return InputKind::eventTrace;
}

// Whether the object in a first line goes on in the next one: it may be another kind of document.
bool goesOn(std::string_view line) {
    const std::size_t last = line.find_last_not_of(" \t\r");
    return std::string_view("{[,:").find(line[last]) != std::string_view::npos &&
           !nlohmann::json::accept(line.begin(), line.end());
}

// Whether more bytes may show that what has a first line is no text: an archive is known by what
// stands 262 bytes behind its beginning, and a binary trace can begin with an empty line.
bool mayBeBinary(std::string_view arrived, InputKind kind) {
    constexpr std::size_t KS_TELLING_BINARY = 512;
    return (kind == InputKind::logText || kind == InputKind::utf16Text) &&
           arrived.size() < KS_TELLING_BINARY &&
           (arrived.starts_with('\n') || arrived.starts_with("BZh") ||
            arrived.find('\0') != std::string_view::npos);
}

// The head of a bug report has two lines.
bool mayBeHeadOfReport(std::string_view line, std::string_view rest, InputKind kind) {
    return kind == InputKind::logText && line.starts_with("=====") &&
           rest.find('\n') == std::string_view::npos;
}

struct Signature {
    std::string_view bytes;
    const char* what;
};

// What people take for a log now and then.
constexpr std::array<Signature, 9> KS_SIGNATURES{{
    {"\x89PNG", "a picture"},
    {"\xFF\xD8\xFF", "a picture"},
    {"%PDF-", "a PDF document"},
    {"\x7F"
     "ELF",
     "a program or library"},
    {"SQLite format 3", "an SQLite database; `inspect --root` reads those of the feature"},
    {"dex\n", "an app's code"},
    {"Rar!", "a RAR archive, which is not read; a zip is"},
    {"7z\xBC\xAF", "a 7z archive, which is not read; a zip is"},
    {"<?xml", "an XML document"},
}};

std::string whatItIs(std::string_view beginning) {
    if (withoutLeadingBlanks(withoutMark(beginning)).empty()) {
        return "it is empty";
    }
    for (const Signature& signature : KS_SIGNATURES) {
        if (beginning.starts_with(signature.bytes)) {
            return std::string("it is ") + signature.what;
        }
    }
    return beginning.find('\0') != std::string_view::npos ? "it is a binary file" : "";
}

}  // namespace

InputKind inputKindOf(std::string_view beginning) {
    if (looksLikeArchive(beginning)) {
        return InputKind::archive;
    }
    if (looksCompressed(beginning)) {
        return InputKind::compressed;
    }
    const TextEncoding encoding = encodingOf(beginning);
    if (encoding == TextEncoding::utf16le || encoding == TextEncoding::utf16be) {
        return InputKind::utf16Text;
    }
    if (looksLikePerfettoTrace(beginning)) {
        return InputKind::perfettoTrace;
    }
    beginning = withoutMark(beginning);
    if (looksLikeFtrace(beginning)) {
        return InputKind::ftrace;
    }
    if (looksLikeBugReport(beginning)) {
        return InputKind::bugReport;
    }
    const std::string_view text = withoutLeadingBlanks(fromFirstLine(beginning));
    if (text.starts_with('{')) {
        return kindOfJson(text);
    }
    std::string_view rest = text;
    return takeLine(rest).starts_with(KS_ACTIVITY_MANAGER) ? InputKind::startInfo
                                                           : InputKind::logText;
}

std::optional<InputKind> arrivingKindOf(std::string_view arrived) {
    if (arrived.size() >= KS_TELLING_SIZE) {
        return inputKindOf(arrived);
    }
    const std::string_view text = fromFirstLine(withoutMark(arrived));
    const std::size_t lineEnd = text.find('\n');
    if (lineEnd == std::string_view::npos) {
        return std::nullopt;
    }
    const InputKind kind = inputKindOf(arrived);
    const std::string_view line = text.substr(0, lineEnd);
    const bool isUndecided =
        kind == InputKind::eventTrace
            ? goesOn(line)
            : mayBeBinary(arrived, kind) || mayBeHeadOfReport(line, text.substr(lineEnd + 1), kind);
    return isUndecided ? std::nullopt : std::optional(kind);
}

bool saysNothing(std::string_view beginning) {
    return fromFirstLine(withoutMark(beginning)).empty();
}

bool isSkippedTraceLine(std::string_view line) {
    return withoutLeadingBlanks(line).empty() || line.starts_with('#');
}

NoInput noInput(const std::string& name, std::string_view beginning) {
    const std::string what = whatItIs(beginning);
    return {name, (what.empty() ? "no line of it is a log line" : what) +
                      "; what is read are Android logs, bug reports, event traces, log exports, "
                      "start-info, Perfetto and ftrace traces, and benchmark results"};
}

}  // namespace kestrel
