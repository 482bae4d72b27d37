#pragma once

#include <memory>

#include "tools/base/ByteSource.h"
#include "tools/base/InputError.h"
#include "tools/input/Input.h"
#include "tools/input/InputSummary.h"
#include "tools/input/logcat/AndroidLog.h"
#include "tools/input/logcat/AndroidLogImporter.h"

namespace kestrel {

// A log that has been read, as an input of the host. The summary has what the log does not know.
std::unique_ptr<RecognisedInput> recognised(AndroidLog log, InputSummary known);

// Reads the text of a log, in UTF-8. `encoding` is what it was before, if that is to be told.
// Throws NoInput when no line is a log line.
std::unique_ptr<RecognisedInput> readLogFile(ByteSource& source, const std::string& encoding);

// Reads the log that an IDE exports as JSON.
std::unique_ptr<RecognisedInput> readLogExportFile(ByteSource& source);

LogImportSettings importSettings(const HostSetup& setup);

}  // namespace kestrel
