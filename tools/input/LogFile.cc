#include "tools/input/LogFile.h"

#include <utility>

#include "tools/base/LineReader.h"
#include "tools/base/PeekedSource.h"
#include "tools/input/InputKind.h"
#include "tools/input/ReadInput.h"
#include "tools/input/exports/LogExport.h"

namespace kestrel {

namespace {

class LogFile : public RecognisedInput {
 public:
    LogFile(AndroidLog log, InputSummary known) : mLog(std::move(log)), mKnown(std::move(known)) {}

    const std::optional<HostSetup>& setup() const override { return mNoSetup; }

    std::unique_ptr<CheckedInput> check(const HostSetup& setup) && override {
        TraceObjects objects = mLog.import(importSettings(setup), mKnown);
        return std::make_unique<ReadInput>(std::move(objects), std::move(mKnown));
    }

 private:
    AndroidLog mLog;
    InputSummary mKnown;
    std::optional<HostSetup> mNoSetup;
};

}  // namespace

std::unique_ptr<RecognisedInput> recognised(AndroidLog log, InputSummary known) {
    return std::make_unique<LogFile>(std::move(log), std::move(known));
}

std::unique_ptr<RecognisedInput> readLogFile(ByteSource& source, const std::string& encoding) {
    AndroidLog log;
    PeekedSource ahead(source);
    const std::string beginning(ahead.peek(KS_TELLING_SIZE).substr(0, KS_TELLING_SIZE));
    LineReader lines(ahead);
    while (const auto line = lines.next()) {
        log.addLine(*line, lines.number());
    }
    if (!log.sawLogLine()) {
        throw noInput(source.name(), beginning);
    }
    InputSummary known{.kind = SourceKind::androidLog, .encoding = encoding};
    return recognised(std::move(log), std::move(known));
}

std::unique_ptr<RecognisedInput> readLogExportFile(ByteSource& source) {
    AndroidLog log;
    const LogExportCounts counts = readLogExport(source, [&](const ExportedMessage& message) {
        if (message.isBufferHead) {
            log.addLine(message.text, message.number);
        } else {
            log.addMessage(message.us, message.tag, message.text, message.number);
        }
    });
    InputSummary known{.kind = SourceKind::logExport};
    if (counts.badEntries > 0) {
        known.notes.push_back({InputNote::Kind::badEntries, counts.badEntries});
    }
    return recognised(std::move(log), std::move(known));
}

LogImportSettings importSettings(const HostSetup& setup) {
    return {{setup.games.begin(), setup.games.end()}, setup.removals};
}

}  // namespace kestrel
