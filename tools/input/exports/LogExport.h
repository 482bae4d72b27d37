#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "tools/base/ByteSource.h"

namespace kestrel {

// A message of the log export of an IDE, a JSON document.
// Ownership: borrows its texts, which are valid during the call that hands it over.
struct ExportedMessage {
    std::int64_t us = 0;  // since 1970, in UTC; never negative
    std::string_view tag;
    std::string_view text;      // of one line or several
    bool isBufferHead = false;  // a line of the program itself, "--------- beginning of main", say
    std::size_t number = 0;     // in the document, from 1
};

struct LogExportCounts {
    std::size_t messages = 0;    // that were handed over
    std::size_t badEntries = 0;  // that lack something, or hold it as another type
};

// Hands the messages over as the document has them, one after the other.
// Errors: InputError when it is not JSON or has no list of messages.
LogExportCounts readLogExport(ByteSource& source,
                              const std::function<void(const ExportedMessage&)>& take);

}  // namespace kestrel
