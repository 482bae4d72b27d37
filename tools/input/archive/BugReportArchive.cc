#include "tools/input/archive/BugReportArchive.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "tools/base/PeekedSource.h"
#include "tools/input/archive/ArchiveReader.h"

namespace kestrel {

namespace {

constexpr std::size_t MAX_NAME = 255;

// Whether a report's text can have this name; it stands at the top.
bool canBeReport(std::string_view name) {
    return name.size() <= MAX_NAME && name.ends_with(".txt") && name.find('/') == name.npos;
}

// The first line; empty when it is too long to be a name.
std::string nameIn(ByteSource& content) {
    PeekedSource peeked(content);
    const std::string_view text = peeked.peek(MAX_NAME + 2);
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    return std::string(line.size() <= MAX_NAME ? line : "");
}

}  // namespace

std::optional<std::string> bugReportMember(FileSource& archive) {
    ArchiveReader reader(archive);
    ArchiveMember member;
    std::vector<std::string> reports;
    std::string mainEntry;
    while (reader.next(member)) {
        if (!member.obstacle.empty() || !canBeReport(member.name)) {
            continue;
        }
        if (member.name == "main_entry.txt") {
            mainEntry = nameIn(reader.content());
        } else {
            reports.push_back(member.name);
        }
    }
    auto report = std::ranges::find(reports, mainEntry);
    if (report == reports.end()) {
        report = std::ranges::find_if(
            reports, [](const std::string& name) { return name.starts_with("bugreport-"); });
    }
    return report != reports.end() ? std::optional(*report) : std::nullopt;
}

}  // namespace kestrel
