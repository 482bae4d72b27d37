#pragma once

#include <optional>
#include <string>

#include "tools/base/FileSource.h"

namespace kestrel {

// The name of the member that is the text of a bug report, if the archive is one.
// Errors: as of ArchiveReader.
std::optional<std::string> bugReportMember(FileSource& archive);

}  // namespace kestrel
