#pragma once

#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace kestrel {

// A file that a command writes beside what it prints. It is opened, and emptied, at once, before
// there is something to lose.
// Errors: throws InputError for a file that is one of those that are read, and std::runtime_error
//         for one that cannot be written.
class OutputFile {
 public:
    OutputFile(const std::string& name, const std::vector<std::string>& inputs,
               const std::optional<std::string>& hostFile);

    std::ostream& out() { return mFile; }

    // Throws if not all could be written.
    void close();

 private:
    std::string mName;
    std::ofstream mFile;
};

}  // namespace kestrel
