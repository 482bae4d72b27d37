#pragma once

#include <memory>
#include <string>

#include "tools/base/FileContent.h"
#include "tools/base/InputError.h"
#include "tools/input/Input.h"
#include "tools/input/logcat/AndroidLogImporter.h"

namespace kestrel {

// Reads the rest of a log behind `beginning`, which has been taken off the file.
std::unique_ptr<RecognisedInput> readLogFile(FileReader& file, std::string beginning);

// ---- What a log file and a live one have in common.

LogImportSettings importSettings(const HostSetup& setup);

// No line of the input is a log line.
InputError noLog(const std::string& inputName);

}  // namespace kestrel
