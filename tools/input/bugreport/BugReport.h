#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/base/ByteSource.h"
#include "tools/input/FoundInput.h"
#include "tools/input/exports/StartInfoReader.h"
#include "tools/input/logcat/AndroidLog.h"

namespace kestrel {

// Whether a text that begins so is a bug report.
bool looksLikeBugReport(std::string_view beginning);

// The text of a bug report. Its sections SYSTEM LOG and EVENT LOG are one log; LAST LOGCAT, of the
// boot before, is another that comes before it, as does the system's history of starts, as far as
// neither log tells the same. All other sections may quote log lines of any time.
class BugReport {
 public:
    void readLine(std::string_view line, std::size_t number);

    // What it held, in the order in which it is to be played. Throws NoInput when it held nothing.
    FoundInputs take(const std::string& name) &&;

 private:
    enum class Section { other, systemLog, repeatedSystemLog, eventLog, lastLog, startInfo };

    void readOther(std::string_view line);
    void readHead(std::string_view line);
    Section sectionOf(std::string_view title);

    Section mSection = Section::other;
    bool mSawSystemLog = false;
    std::string mRelease;
    std::optional<PrintedTime> mTime;
    AndroidLog mLog;
    AndroidLog mLastLog;
    StartInfoReader mStartInfo;
    bool mSawStartInfo = false;
};

FoundInputs readBugReport(ByteSource& source);

}  // namespace kestrel
