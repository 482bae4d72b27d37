#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tools/base/DescriptorBuffer.h"

namespace kestrel {

// A file that a command writes beside what it prints. It appears, or replaces an older one, when it
// is closed, and only whole: until then it is written beside its place, and removed if it is not
// closed. What is there and no regular file, a device or a pipe, is written in place.
// Errors: throws InputError for a file that is one of those that are read, and std::runtime_error
//         for one that cannot be written, at once as far as one can know.
class OutputFile {
 public:
    // "-" among the inputs is standard input.
    OutputFile(const std::string& name, const std::vector<std::string>& inputs,
               const std::optional<std::string>& hostFile);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // REQUIRES: not closed.
    std::ostream& out() { return mOut; }

    // Throws if not all could be written. To be called once.
    void close();

    // The same of a command that failed: an older file stays.
    void closeUnlessOlder();

 private:
    void openInPlace();
    void openBeside();

    std::string mName;
    std::filesystem::path mPlace;  // what the name leads to; absolute, as the host moves elsewhere
    std::string mTemporary;        // written instead of it; empty: none
    int mFile = -1;
    std::optional<DescriptorBuffer> mBuffer;
    std::ostream mOut{nullptr};
};

}  // namespace kestrel
