#include "tools/input/bugreport/BugReport.h"

#include <utility>

#include "tools/base/LineReader.h"
#include "tools/base/Lines.h"
#include "tools/base/TextScanner.h"
#include "tools/input/AndroidRelease.h"
#include "tools/input/ImportedInput.h"
#include "tools/input/InputKind.h"
#include "tools/input/LogFile.h"
#include "tools/input/bugreport/ToldTwice.h"

namespace kestrel {

namespace {

constexpr std::string_view KS_HEAD = "== dumpstate: ";
constexpr std::string_view KS_TITLE = "------ ";

// "TITLE (COMMAND) ------", "TITLE: Skipped. ------"
std::string_view titleOf(std::string_view line) {
    for (const std::string_view end : {" (", ": ", " ------"}) {
        line = line.substr(0, line.find(end));
    }
    return line;
}

// The end of a section, before it had a title's form.
bool isOldEnd(std::string_view line) {
    return line.starts_with("[") && line.ends_with("s elapsed]");
}

InputSummary summaryOf(SourceKind kind, const std::string& release) {
    return {.kind = kind, .androidRelease = release};
}

}  // namespace

bool looksLikeBugReport(std::string_view beginning) {
    constexpr int KS_LINES_BEFORE_HEAD = 10;  // a user can have put something there
    int lines = 0;
    while (lines <= KS_LINES_BEFORE_HEAD && !beginning.empty()) {
        const std::string_view line = takeLine(beginning);
        if (line.starts_with(KS_HEAD)) {
            return true;
        }
        lines += line.find_first_not_of(" \t\r") == std::string_view::npos ? 0 : 1;
    }
    return false;
}

void BugReport::readLine(std::string_view line, std::size_t number) {
    if (line.starts_with(KS_TITLE)) {
        mSection = sectionOf(titleOf(line.substr(KS_TITLE.size())));
        return;
    }
    switch (mSection) {
        case Section::systemLog:
            mLog.addLine(line, number, AndroidLog::Copy::first);
            break;
        case Section::repeatedSystemLog:
            mLog.addLine(line, number, AndroidLog::Copy::second);
            break;
        case Section::eventLog:
            mLog.addLine(line, number);
            break;
        case Section::lastLog:
            mLastLog.addLine(line, number);
            break;
        case Section::startInfo:
            if (!endsStartInfo(line)) {
                mStartInfo.readLine(line, number);
                break;
            }
            mSection = Section::other;
            [[fallthrough]];
        case Section::other:
            readOther(line);
            break;
    }
    if (isOldEnd(line)) {
        mSection = Section::other;
    }
}

void BugReport::readOther(std::string_view line) {
    if (isStartInfoHead(line) && !mSawStartInfo) {
        mSection = Section::startInfo;
        mSawStartInfo = true;
    } else if (line.starts_with(KS_HEAD) || line.starts_with("Android SDK version: ")) {
        readHead(line);
    }
}

void BugReport::readHead(std::string_view line) {
    TextScanner scanner{line};
    if (scanner.take("Android SDK version: ")) {
        const auto version = scanner.takeNumber<int>();
        mRelease = version && mRelease.empty() ? androidReleaseOf(*version) : mRelease;
    } else if (scanner.take(KS_HEAD) && !mTime) {
        std::string time(scanner.rest.substr(0, std::string_view("0000-00-00 00:00:00").size()));
        time += ".0 ";  // as a log line has it
        TextScanner digits{time};
        mTime = PrintedTimeReader().take(digits);
    }
}

BugReport::Section BugReport::sectionOf(std::string_view title) {
    if (title == "SYSTEM LOG") {
        mLog.beginSection();
        return std::exchange(mSawSystemLog, true) ? Section::repeatedSystemLog : Section::systemLog;
    }
    if (title == "EVENT LOG") {
        mLog.beginSection();
        return Section::eventLog;
    }
    return title == "LAST LOGCAT" ? Section::lastLog : Section::other;
}

FoundInputs BugReport::take(const std::string& name) && {
    FoundInputs found;
    if (mTime && mTime->kind == PrintedTime::Kind::date) {
        mLog.setReportTime(*mTime);
        mLastLog.setReportTime(*mTime);
    }
    if (mLastLog.sawLogLine()) {
        found.push_back({name, nullptr});
    }
    if (mSawStartInfo) {
        ImportedInput starts = mStartInfo.take();
        // The newest starts are those of this boot.
        leaveOutToldTwice(starts, mLog);
        leaveOutToldTwice(starts, mLastLog);
        starts.summary.androidRelease = mRelease;
        found.push_back({name, recognised(std::move(starts))});
    }
    if (mLastLog.sawLogLine()) {
        found.front().recognised =
            recognised(std::move(mLastLog), summaryOf(SourceKind::lastBootLog, mRelease));
    }
    if (mLog.sawLogLine()) {
        found.push_back(
            {name, recognised(std::move(mLog), summaryOf(SourceKind::bugReport, mRelease))});
    }
    if (found.empty()) {
        throw NoInput(
            name,
            "a bug report without log lines in SYSTEM LOG and EVENT LOG: it may be one of "
            "telephony or Wi-Fi; take a full one with adb bugreport");
    }
    return found;
}

FoundInputs readBugReport(ByteSource& source) {
    BugReport report;
    LineReader lines(source);
    while (auto line = lines.next()) {
        while (line->ends_with('\r')) {
            line->remove_suffix(1);
        }
        report.readLine(*line, lines.number());
    }
    return std::move(report).take(source.name());
}

}  // namespace kestrel
